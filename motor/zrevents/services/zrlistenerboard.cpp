#include "zrevents/services/zrlistenerboard.h"

#include <algorithm>
#include <utility>

void ZRListenerBoard::Show(const std::vector<std::unique_ptr<ZREventListener>>& listeners,
                           const ZRDateTime& now) {
  const ZRMutexLock lock(mutex);
  std::vector<tagRow> shown;
  shown.reserve(listeners.size());
  for (const auto& listener : listeners) {
    const tagRow* const before = Find(listener->driverId);
    shown.push_back({listener->driverId, listener->driverName, listener->user, listener->host,
                     listener->port, listener->isUser, listener->needsAll,
                     before != nullptr ? before->since : now,
                     before != nullptr ? before->lastStatus : -1});
  }
  rows = std::move(shown);
}

void ZRListenerBoard::Answered(const ZRWString& driverId, int status) {
  const ZRMutexLock lock(mutex);
  tagRow* const row = Find(driverId);
  if (row != nullptr) row->lastStatus = status;
}

std::vector<ZRListenerBoard::tagRow> ZRListenerBoard::Rows() {
  const ZRMutexLock lock(mutex);
  return rows;
}

ZRListenerBoard::tagRow* ZRListenerBoard::Find(const ZRWString& driverId) {
  const auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const tagRow& row) { return row.driverId == driverId; });
  return found != rows.end() ? &*found : nullptr;
}

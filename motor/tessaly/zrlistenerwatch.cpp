#include "tessaly/zrlistenerwatch.h"

#include <algorithm>
#include <string>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"

void ZRListenerWatch::Look(const std::vector<ZRListenerBoard::tagRow>& listeners) {
  for (const ZRListenerBoard::tagRow& one : before) {
    const bool isThere = std::any_of(listeners.begin(), listeners.end(), [&one](const auto& row) {
      return row.driverId == one.driverId;
    });
    const std::string subject(Utf16ToUtf8(one.driverId.View()).View());
    if (isThere || !told.IsNews(subject, std::to_string(one.lastStatus))) continue;
    logger(kLogDelivery,
           L"listener '%ls' at %s:%d doesn't take its events and is dropped: last status %d",
           one.driverId.Text(), one.host.Text(), one.port, one.lastStatus);
  }
  before = listeners;
}

#include "zrevents/zreventservergroup.h"

#include <algorithm>

#include "zrevents/zreventservergrouppartial.h"

ZREventServerGroup::ZREventServerGroup() = default;

ZREventServerGroup::~ZREventServerGroup() {
  Stop();
}

void ZREventServerGroup::AddEvent(ZREventDriver* event) {
  events.push_back(event);
}

bool ZREventServerGroup::Start() {
  const ZRMutexLock lock(mutex);
  if (started) return true;
  const int count = NumEvents();
  if (count == 0) return false;
  // One piece takes them all: the capacity of a piece is the number of events.
  const int pieces = (count - 1) / count + 1;
  for (int piece = 0; piece < pieces; ++piece) {
    const auto first = events.begin() + std::ptrdiff_t{piece} * count;
    const auto last = events.begin() + std::min((piece + 1) * count, count);
    partials.push_back(
        std::make_unique<ZREventServerGroupPartial>(std::vector<ZREventDriver*>(first, last)));
  }
  for (const auto& partial : partials) {
    if (!partial->Start()) {
      partials.clear();
      return false;
    }
  }
  started = true;
  return true;
}

void ZREventServerGroup::Stop() {
  const ZRMutexLock lock(mutex);
  if (!started) return;
  for (auto& partial : partials) {
    partial->Stop();
    partial.reset();
  }
  partials.clear();
  started = false;
}

bool ZREventServerGroup::GetLastEventClientActionsDateTime(ZRDateTime& out) {
  const ZRMutexLock lock(mutex);
  if (!started) return true;
  out.Invalidate();
  for (const auto& partial : partials)
    partial->KeepNewestTimes(out);
  return true;
}

std::uint32_t ZREventServerGroup::LongestPass() {
  const ZRMutexLock lock(mutex);
  std::uint32_t longest = 0;
  for (const auto& partial : partials)
    longest = std::max(longest, partial->LastPass());
  return longest;
}

#include "tessaly/zreventcounts.h"

#include <algorithm>

#include "zrevents/zreventstatus.h"

namespace {

constexpr std::int64_t kMillisecondsInSecond = 1000;

}  // namespace

void ZREventCounts::Note(int mark, std::int64_t utc) {
  const bool isWithin = utc >= begin;
  switch (mark) {
    case kActivated:
      since = std::max(utc, begin);
      if (isWithin) ++activations;
      return;
    case kDeactivated:
      if (isWithin) ++deactivations;
      seconds += Running(utc);
      since = ZRCountPeriod::kNever;
      return;
    case kAcknowledged:
      if (isWithin) ++acknowledgements;
      return;
    default:
      return;
  }
}

void ZREventCounts::Add(const ZREventCounts& earlier) {
  seconds += earlier.seconds;
  activations += earlier.activations;
  deactivations += earlier.deactivations;
  acknowledgements += earlier.acknowledgements;
}

void ZREventCounts::Restart(std::int64_t periodBegin) {
  const bool isActive = since != ZRCountPeriod::kNever;
  *this = ZREventCounts(periodBegin);
  if (isActive) since = periodBegin;
}

// Whole seconds of what is active; a clock that was set back makes none.
std::int64_t ZREventCounts::Running(std::int64_t utc) const {
  if (since == ZRCountPeriod::kNever) return 0;
  return std::max<std::int64_t>(utc - since, 0) / kMillisecondsInSecond;
}

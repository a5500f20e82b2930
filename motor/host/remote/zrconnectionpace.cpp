#include "host/remote/zrconnectionpace.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint64_t kThousandths = 1000;

std::uint64_t MostCredit(const ZRPaceLimits& limits) {
  return std::uint64_t{limits.graceMilliseconds} * limits.bytesPerSecond;
}

}  // namespace

void ZRConnectionPace::Begin(ZRConnectionStep next, const ZRPaceLimits& limits, std::uint32_t now,
                             const ZRSocketBytes& bytes) {
  step = next;
  since = lastLook = now;
  lastBytes = bytes;
  credit = MostCredit(limits);
}

bool ZRConnectionPace::IsTooSlow(const ZRPaceLimits& limits, std::uint32_t now,
                                 const ZRSocketBytes& bytes) {
  const std::uint32_t passed = now - std::exchange(lastLook, now);
  const ZRSocketBytes before = std::exchange(lastBytes, bytes);
  switch (step) {
    case ZRConnectionStep::kWaits:
      if (bytes.received != before.received) Begin(ZRConnectionStep::kHead, limits, now, bytes);
      return false;
    case ZRConnectionStep::kHead:
      return bytes.unread == 0 && now - since >= limits.headMilliseconds;
    case ZRConnectionStep::kBody:
      return bytes.unread == 0 && IsInDebt(limits, passed, bytes.received - before.received);
    case ZRConnectionStep::kAnswer:
      return bytes.untaken != 0 && IsInDebt(limits, passed, bytes.taken - before.taken);
    case ZRConnectionStep::kRoute:
      break;
  }
  return false;
}

bool ZRConnectionPace::IsInDebt(const ZRPaceLimits& limits, std::uint32_t passed,
                                std::uint64_t moved) {
  const std::uint64_t cost = std::uint64_t{passed} * limits.bytesPerSecond;
  credit += moved * kThousandths;
  if (cost > credit) return true;
  credit = std::min(credit - cost, MostCredit(limits));
  return false;
}

#include "zrevents/zrpasspace.h"

#include "host/platform/zrplatform.h"

void ZRPassPace::Begin() {
  quiet = 0;
  since = ZRPlatform::Get().TickCount();
}

bool ZRPassPace::IsDue(bool busy) {
  if (!busy && ++quiet < kQuietEvents) return false;
  quiet = 0;
  const std::uint32_t now = ZRPlatform::Get().TickCount();
  if (now == since) return false;
  since = now;
  return true;
}

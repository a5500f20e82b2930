// Tells in the log what the engine passes over in silence: listeners that it has dropped.
#pragma once

#include <vector>

#include "tessaly/zrtoldcauses.h"
#include "zrevents/services/zrlistenerboard.h"

// Threads   one, the host's.
class ZRListenerWatch {
 public:
  // A look at who listens, for every second.
  void Look(const std::vector<ZRListenerBoard::tagRow>& listeners);

 private:
  std::vector<ZRListenerBoard::tagRow> before;
  ZRToldCauses told;
};

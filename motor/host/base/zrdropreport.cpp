#include "host/base/zrdropreport.h"

#include <utility>

#include "host/base/zrlogger.h"

void ZRDropReport::Tell(const std::string& who, std::size_t waiting, std::uint64_t dropped) {
  if (dropped == droppedTold) return;
  if (waiting != 0) {
    if (std::exchange(saidDropping, true)) return;
    logger(kLogDelivery, L"%s: %zu messages wait: the oldest are dropped", who.c_str(), waiting);
    return;
  }
  logger(kLogDelivery, L"%s: %llu messages were dropped", who.c_str(),
         static_cast<unsigned long long>(dropped - droppedTold));
  droppedTold = dropped;
  saidDropping = false;
}

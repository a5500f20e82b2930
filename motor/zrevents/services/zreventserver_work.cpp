// The listener thread. No listener can register yet: it keeps its state, and gives back what the
// actions have started and what has ended since.

#include "zrevents/actions/zrstartedprocesses.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr std::uint32_t kPause = 1000;  // ms between two cycles

}  // namespace

void ZREventServer::Work() {
  state.Set(kThreadRunning);
  while (state.Get() != kThreadStopRequested) {
    ZRStartedProcesses::Get().Reap();
    ZRPlatform::Get().Sleep(kPause);
  }
  state.Set(kThreadStopped);
}

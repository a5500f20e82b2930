#include "zrevents/actions/zrstartedprocesses.h"

ZRStartedProcesses& ZRStartedProcesses::Get() {
  static ZRStartedProcesses processes;
  return processes;
}

bool ZRStartedProcesses::Start(const ZRProcessStart& start) {
  // More than one for each that is started: the list shrinks as soon as they end.
  constexpr std::size_t kEachTime = 16;
  {
    const ZRMutexLock lock(mutex);
    ReapSome(running.size() < kMost ? kEachTime : kMost);
    if (running.size() >= kMost) return false;
  }
  const int process = ZRPlatform::Get().StartProcess(start);
  if (process == 0) return false;
  const ZRMutexLock lock(mutex);
  running.push_back(process);
  return true;
}

void ZRStartedProcesses::Reap() {
  const ZRMutexLock lock(mutex);
  ReapSome(running.size());
}

std::size_t ZRStartedProcesses::Size() {
  const ZRMutexLock lock(mutex);
  return running.size();
}

void ZRStartedProcesses::ReapSome(std::size_t most) {
  for (; most > 0 && !running.empty(); --most) {
    if (next >= running.size()) next = 0;
    int ignored = 0;
    if (ZRPlatform::Get().WaitProcess(running[next], 0, ignored)) {
      running[next] = running.back();
      running.pop_back();
    } else {
      ++next;
    }
  }
}

#include "host/remote/zrservicethreads.h"

#include <algorithm>
#include <utility>

bool ZRServiceThreads::Start(unsigned int count) {
  {
    const ZRMutexLock lock(mutex);
    ends = false;
  }
  threads = std::vector<ZRThread>(count);
  const auto start = [this](ZRThread& thread) { return thread.Start([this] { Work(); }); };
  if (std::all_of(threads.begin(), threads.end(), start)) return true;
  End();
  return false;
}

void ZRServiceThreads::Do(std::function<void()> work) {
  {
    const ZRMutexLock lock(mutex);
    waiting.push_back(std::move(work));
  }
  changed.NotifyAll();
}

void ZRServiceThreads::End() {
  {
    const ZRMutexLock lock(mutex);
    ends = true;
  }
  changed.NotifyAll();
  for (ZRThread& thread : threads)
    thread.Join();
  threads.clear();
}

void ZRServiceThreads::Work() {
  std::function<void()> work;
  while (Next(work)) {
    work();
    work = nullptr;
  }
}

bool ZRServiceThreads::Next(std::function<void()>& work) {
  ZRMutexLock lock(mutex);
  while (waiting.empty()) {
    if (ends) return false;
    (void)changed.Wait(mutex, ZRPlatform::kInfinite);
  }
  work = std::move(waiting.front());
  waiting.pop_front();
  return true;
}

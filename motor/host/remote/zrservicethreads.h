// Threads for services that may wait.
#pragma once

#include <deque>
#include <functional>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

// Threads   Start and End on one; Do on any.
// Order     its mutex is taken last; nothing is called under it.
// Promise   what Do has taken is done, by the end of End at the latest.
class ZRServiceThreads {
 public:
  ZRServiceThreads() = default;
  ~ZRServiceThreads() { End(); }
  ZRServiceThreads(const ZRServiceThreads&) = delete;
  ZRServiceThreads& operator=(const ZRServiceThreads&) = delete;

  // False if the system gives no thread: then there is none.
  [[nodiscard]] bool Start(unsigned int count) ZR_EXCLUDES(mutex);
  // Calls `work`, which throws nothing, on one of the threads, in the order of the calls.
  void Do(std::function<void()> work) ZR_EXCLUDES(mutex);
  // Waits for all work, then for the threads.
  void End() ZR_EXCLUDES(mutex);

 private:
  void Work() ZR_EXCLUDES(mutex);
  // Waits for work. False at the end, with nothing left.
  [[nodiscard]] bool Next(std::function<void()>& work) ZR_EXCLUDES(mutex);

  ZRMutex mutex;
  ZRCondition changed;
  std::deque<std::function<void()>> waiting ZR_GUARDED_BY(mutex);
  bool ends ZR_GUARDED_BY(mutex) = false;
  std::vector<ZRThread> threads;  // of the one who starts
};

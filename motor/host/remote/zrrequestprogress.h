// How many requests the web server is busy with, and whether it takes new ones.
#pragma once

#include <cstdint>

#include "host/platform/zrmutex.h"

// Threads   any.
// Order     its mutex is taken last; nothing is called under it.
class ZRRequestProgress {
 public:
  // Routes may be called from now on.
  void Open() ZR_EXCLUDES(mutex);
  // No route is called from now on.
  void Shut() ZR_EXCLUDES(mutex);
  [[nodiscard]] bool IsShut() ZR_EXCLUDES(mutex);

  // A request has come; its answer has been taken by the client, or will never be.
  void BeginRequest() ZR_EXCLUDES(mutex);
  void EndRequest() ZR_EXCLUDES(mutex);

  // False if no route is to be called any more; else EndRoute follows.
  [[nodiscard]] bool BeginRoute() ZR_EXCLUDES(mutex);
  void EndRoute() ZR_EXCLUDES(mutex);

  // Returns when no route runs and no answer is under way any more. Waits for routes without
  // limit, and then `milliseconds` at most for the clients that take their answers.
  void WaitUntilQuiet(std::uint32_t milliseconds) ZR_EXCLUDES(mutex);

 private:
  ZRMutex mutex;
  ZRCondition changed;
  bool shut ZR_GUARDED_BY(mutex) = false;
  int requests ZR_GUARDED_BY(mutex) = 0;
  int routes ZR_GUARDED_BY(mutex) = 0;
};

#pragma once

#include <cstddef>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/platform/zrplatform.h"

// The programs that actions have started. Nobody waits for them or asks how they ended; but what
// has ended is given back to the system. Other children of this process stay untouched.
//
// Threads   any.
// Order     its mutex is a leaf.
// Promise   who is in the list is asked for without waiting. It never grows beyond kMost.
class ZRStartedProcesses {
 public:
  static constexpr std::size_t kMost = 4096;  // that run at once

  [[nodiscard]] static ZRStartedProcesses& Get();

  // Starts a program and keeps its id; before that some of those that ended are given back. False
  // if it can't be started, or so many run already.
  [[nodiscard]] bool Start(const ZRProcessStart& start);
  // Gives back all that have ended. Called once a second while the engine runs.
  void Reap();
  // Those that haven't been given back.
  [[nodiscard]] std::size_t Size();

 private:
  void ReapSome(std::size_t most) ZR_REQUIRES(mutex);

  ZRMutex mutex;
  std::vector<int> running ZR_GUARDED_BY(mutex);
  std::size_t next ZR_GUARDED_BY(mutex) = 0;  // whose turn it is to be asked for
};

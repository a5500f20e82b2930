#include "host/platform/zrplatform.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

namespace {

TEST(SystemPlatform, SemaphoreBehavesAsInVirtualTime) {
  ZRSemaphore gate(1);
  ASSERT_TRUE(gate.Acquire(1));
  EXPECT_FALSE(gate.Acquire(1));
  gate.Release();
  gate.Release();
  EXPECT_TRUE(gate.Acquire(0));
  EXPECT_FALSE(gate.Acquire(0));
}

TEST(SystemPlatform, MutexCountsEveryTurnOfManyThreads) {
  constexpr int kTurns = 20'000;
  ZRMutex mutex;
  int count = 0;
  {
    ZRThread threads[4];
    for (ZRThread& thread : threads) {
      ASSERT_TRUE(thread.Start([&] {
        for (int i = 0; i < kTurns; ++i) {
          const ZRMutexLock lock(mutex);
          ++count;
        }
      }));
    }
  }
  EXPECT_EQ(4 * kTurns, count);
}

TEST(SystemPlatform, SharedMutexKeepsWritersApart) {
  ZRSharedMutex mutex;
  int value = 0;
  std::atomic<int> torn{0};
  {
    ZRThread threads[4];
    for (int i = 0; i < 4; ++i) {
      const bool writes = i % 2 == 0;
      ASSERT_TRUE(threads[i].Start([&, writes] {
        for (int turn = 0; turn < 2000; ++turn) {
          if (writes) {
            const ZRExclusiveLock lock(mutex);
            ++value;
            ++value;
          } else {
            const ZRSharedLock lock(mutex);
            if (value % 2 != 0) ++torn;
          }
        }
      }));
    }
  }
  EXPECT_EQ(0, torn);
  EXPECT_EQ(2 * 2 * 2000, value);
}

TEST(SystemPlatform, StateWordIsSeenByTheOneThatWaits) {
  ZRStateWord state(1);
  ZRThread thread;
  ASSERT_TRUE(thread.Start([&] { state.Set(2); }));
  state.WaitWhile(1);
  EXPECT_EQ(2u, state.Get());
}

TEST(SystemPlatform, ProcessGivesItsExitCode) {
  ZRPlatform& platform = ZRPlatform::System();
  ZRProcessStart start{"/bin/sh", {"-c", "exit 7"}, ""};
  const int process = platform.StartProcess(start);
  ASSERT_NE(0, process);
  int exitCode = 0;
  ASSERT_TRUE(platform.WaitProcess(process, 10'000, exitCode));
  EXPECT_EQ(7, exitCode);
}

TEST(SystemPlatform, EndedProcessTellsItsSignal) {
  ZRPlatform& platform = ZRPlatform::System();
  const int process = platform.StartProcess({"/bin/sleep", {"60"}, ""});
  ASSERT_NE(0, process);
  int exitCode = 0;
  EXPECT_FALSE(platform.WaitProcess(process, 0, exitCode));
  platform.EndProcess(process);
  ASSERT_TRUE(platform.WaitProcess(process, 10'000, exitCode));
  EXPECT_EQ(128 + 9, exitCode);
}

TEST(SystemPlatform, MissingProgramIsAFailedStart) {
  EXPECT_EQ(0, ZRPlatform::System().StartProcess({"/nowhere/at/all", {}, ""}));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace

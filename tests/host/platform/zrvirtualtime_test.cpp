#include "host/platform/zrvirtualtime.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

namespace {

// A worker in small: serve, sleep a second, look at the stop request.
class CWorker {
 public:
  void Start() {
    state.Set(1);
    ASSERT_TRUE(thread.Start([this] { Run(); }));
    state.WaitWhile(1);
  }
  void Stop() {
    state.Set(3);
    state.WaitUntil(4);
    thread.Join();
  }
  int passes = 0;

 private:
  void Run() {
    state.Set(2);
    while (state.Get() != 3) {
      ++passes;
      ZRPlatform::Get().Sleep(0);
      ZRPlatform::Get().Sleep(1000);
    }
    state.Set(4);
  }
  ZRStateWord state{4};
  ZRThread thread;
};

TEST(VirtualTime, WorkerMakesOnePassEachSecond) {
  ZRVirtualTime time;
  CWorker worker;
  worker.Start();
  time.Advance(999);
  EXPECT_EQ(1, worker.passes);
  time.Advance(1);
  EXPECT_EQ(2, worker.passes);
  time.Advance(3600 * 1000);
  EXPECT_EQ(3602, worker.passes);
  worker.Stop();
  EXPECT_EQ(3602, worker.passes);
}

TEST(VirtualTime, TwoWorkersKeepStep) {
  ZRVirtualTime time;
  CWorker a;
  CWorker b;
  a.Start();
  b.Start();
  time.Advance(10 * 1000);
  EXPECT_EQ(11, a.passes);
  EXPECT_EQ(11, b.passes);
  a.Stop();
  b.Stop();
}

TEST(VirtualTime, GateTimesOutAfterItsWaitAndIgnoresSurplusReleases) {
  ZRVirtualTime time;
  ZRSemaphore gate(2);
  for (int i = 0; i < 5; ++i)
    gate.Release();
  ASSERT_TRUE(gate.Acquire(100));
  ASSERT_TRUE(gate.Acquire(100));
  const auto before = time.TickCount();
  EXPECT_FALSE(gate.Acquire(100));
  EXPECT_EQ(100u, time.TickCount() - before);
}

TEST(VirtualTime, CallerWaitsForASleeperThatHoldsTheMutex) {
  ZRVirtualTime time;
  ZRMutex mutex;
  bool held = false;
  ZRThread sleeper;
  ASSERT_TRUE(sleeper.Start([&] {
    const ZRMutexLock lock(mutex);
    held = true;
    ZRPlatform::Get().Sleep(10 * 1000);
  }));
  time.Advance(0);
  ASSERT_TRUE(held);
  const auto before = time.TickCount();
  EXPECT_FALSE(mutex.TryLockFor(10));
  { const ZRMutexLock lock(mutex); }
  EXPECT_EQ(10 * 1000u, time.TickCount() - before);
}

TEST(VirtualTime, WaitsOfOneInstantAreServedInTheOrderOfArrival) {
  ZRVirtualTime time;
  std::vector<std::string> order;
  ZRThread a;
  ZRThread b;
  ASSERT_TRUE(a.Start([&] {
    time.Sleep(20);
    order.emplace_back("a");
  }));
  ASSERT_TRUE(b.Start([&] {
    time.Sleep(10);
    time.Sleep(10);
    order.emplace_back("b");
  }));
  time.Advance(20);
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), order);
}

TEST(VirtualTime, ExceptionsStayOnTheirOwnThread) {
  ZRVirtualTime time;
  std::string seen;
  const auto throwAcrossSleep = [&](const char* what, std::uint32_t pause) {
    return [&time, &seen, what, pause] {
      try {
        throw std::runtime_error(what);
      } catch (const std::runtime_error&) {
        time.Sleep(pause);
        try {
          throw;
        } catch (const std::runtime_error& again) {
          seen += again.what();
        }
      }
    };
  };
  ZRThread a;
  ZRThread b;
  ASSERT_TRUE(a.Start(throwAcrossSleep("first", 20)));
  ASSERT_TRUE(b.Start(throwAcrossSleep("second", 10)));
  time.Advance(100);
  EXPECT_EQ("secondfirst", seen);
}

TEST(VirtualTime, TickCountWrapsAndMayBeZero) {
  ZRVirtualTime time;
  time.SetTickCount(0xFFFFFFFFu);
  time.Advance(1);
  EXPECT_EQ(0u, time.TickCount());
  const std::int64_t utc = time.UtcMilliseconds();
  time.Advance(5);
  EXPECT_EQ(utc + 5, time.UtcMilliseconds());
  EXPECT_EQ(5u, time.TickCount());
}

TEST(VirtualTime, ClockMayStepBackWhileTicksGoOn) {
  ZRVirtualTime time(50'000);
  time.Advance(10);
  time.SetUtc(20'000);
  time.Advance(10);
  EXPECT_EQ(20'010, time.UtcMilliseconds());
  EXPECT_EQ(1020u, time.TickCount());
}

TEST(VirtualTime, ThreadsFailOnDemand) {
  ZRVirtualTime time;
  time.FailThreadsAfter(1);
  ZRThread first;
  ZRThread second;
  EXPECT_TRUE(first.Start([] {}));
  EXPECT_FALSE(second.Start([] {}));
}

TEST(VirtualTime, ReadersShareAndAWriterExcludes) {
  ZRVirtualTime time;
  ZRSharedMutex mutex;
  ZRThread reader;
  ZRThread writer;
  std::vector<std::string> order;
  ASSERT_TRUE(reader.Start([&] {
    const ZRSharedLock lock(mutex);
    time.Sleep(100);
    order.emplace_back("reader");
  }));
  ASSERT_TRUE(writer.Start([&] {
    time.Sleep(10);
    const ZRExclusiveLock lock(mutex);
    order.emplace_back("writer");
  }));
  time.Advance(5);
  { const ZRSharedLock shared(mutex); }
  time.Advance(10);
  {
    const ZRSharedLock behindTheWriter(mutex);
    order.emplace_back("late reader");
  }
  EXPECT_EQ((std::vector<std::string>{"reader", "writer", "late reader"}), order);
}

}  // namespace

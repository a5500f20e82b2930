#include "host/drivers/zrpolleddriver.h"

#include <gtest/gtest.h>

#include <vector>

#include "host/drivers/drivers_fixture.h"

namespace {

class CCounting final : public ZRPolledDriver {
 public:
  explicit CCounting(std::uint32_t milliseconds) : ZRPolledDriver(L"c1", L"count", milliseconds) {
    passesVariable = AddPolled(L"PASSES");
  }
  ~CCounting() override { Stop(); }

  bool Prepare() override { return prepares; }
  void Poll(std::int64_t utc) override {
    times.push_back(Elapsed());
    Variable(passesVariable).SetNumber(static_cast<double>(times.size()), utc);
    if (lasts > 0) ZRPlatform::Get().Sleep(lasts);
  }

  bool prepares = true;
  std::uint32_t lasts = 0;  // ms of each pass
  std::vector<std::int64_t> times;

 private:
  std::int64_t passesVariable;
};

TEST(PolledDriver, MakesItsFirstPassBeforeStartReturns) {
  ZRVirtualTime time;
  CCounting driver(1000);
  EXPECT_FALSE(driver.IsOnline());
  ASSERT_TRUE(driver.Start());
  EXPECT_TRUE(driver.IsOnline());
  EXPECT_EQ(1.0, NumberOf(L"count.PASSES"));
  driver.Stop();
}

TEST(PolledDriver, MakesAPassEachPeriod) {
  ZRVirtualTime time;
  CCounting driver(500);
  ASSERT_TRUE(driver.Start());
  time.Advance(499);
  EXPECT_EQ(1u, driver.times.size());
  time.Advance(1);
  EXPECT_EQ(2u, driver.times.size());
  time.Advance(3600'000);
  EXPECT_EQ(7202u, driver.times.size());
  driver.Stop();
}

TEST(PolledDriver, StopsAtOnceInTheMiddleOfAPeriod) {
  ZRVirtualTime time;
  CCounting driver(3600'000);
  ASSERT_TRUE(driver.Start());
  time.Advance(10);
  const std::uint32_t before = time.TickCount();
  driver.Stop();
  EXPECT_EQ(before, time.TickCount());
  EXPECT_FALSE(driver.IsOnline());
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"count.PASSES"));
}

TEST(PolledDriver, DoesntSpinWhileItWaits) {
  ZRVirtualTime time;
  CCounting driver(1000);
  ASSERT_TRUE(driver.Start());
  time.Advance(0);
  const std::uint64_t before = time.Switches();
  time.Advance(10'000);
  EXPECT_LE(time.Switches() - before, 22u);
  driver.Stop();
}

TEST(PolledDriver, DoesntMakeUpForMissedPasses) {
  ZRVirtualTime time;
  CCounting driver(1000);
  ASSERT_TRUE(driver.Start());
  driver.lasts = 3500;
  time.Advance(1000);
  driver.times.clear();
  time.Advance(3500);  // the long pass goes on until 4500
  driver.lasts = 0;
  time.Advance(3000);
  EXPECT_EQ((std::vector<std::int64_t>{5500, 6500, 7500}), driver.times);
  driver.Stop();
}

TEST(PolledDriver, StartsAgainAfterAStop) {
  ZRVirtualTime time;
  CCounting driver(1000);
  ASSERT_TRUE(driver.Start());
  time.Advance(5000);
  driver.Stop();
  driver.times.clear();
  ASSERT_TRUE(driver.Start());
  time.Advance(2000);
  EXPECT_EQ((std::vector<std::int64_t>{0, 1000, 2000}), driver.times);
  driver.Stop();
}

TEST(PolledDriver, ASecondStartAndASecondStopChangeNothing) {
  ZRVirtualTime time;
  CCounting driver(1000);
  driver.Stop();
  ASSERT_TRUE(driver.Start());
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(1u, driver.times.size());
  driver.Stop();
  driver.Stop();
}

TEST(PolledDriver, DoesntStartUnprepared) {
  ZRVirtualTime time;
  CCounting driver(1000);
  driver.prepares = false;
  EXPECT_FALSE(driver.Start());
  EXPECT_FALSE(driver.IsOnline());
  EXPECT_TRUE(driver.times.empty());
}

TEST(PolledDriver, DoesntStartWithoutAThread) {
  ZRVirtualTime time;
  CCounting driver(1000);
  time.FailThreadsAfter(0);
  EXPECT_FALSE(driver.Start());
  EXPECT_FALSE(driver.IsOnline());
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"count.PASSES"));
}

TEST(PolledDriver, KeepsItsPeriodWhenTheTickCountWrapsAndTheClockSteps) {
  ZRVirtualTime time;
  time.SetTickCount(0xFFFFFFFFu - 1500);
  CCounting driver(1000);
  ASSERT_TRUE(driver.Start());
  time.Advance(500);
  time.SetUtc(ZRVirtualTime::kDefaultUtc - 86'400'000);
  time.Advance(3500);
  EXPECT_EQ((std::vector<std::int64_t>{0, 1000, 2000, 3000, 4000}), driver.times);
  driver.Stop();
}

TEST(PolledDriver, LimitsItsPeriod) {
  ZRVirtualTime time;
  CCounting driver(0);
  ASSERT_TRUE(driver.Start());
  time.Advance(100);
  EXPECT_EQ(11u, driver.times.size());
  driver.Stop();
}

TEST(PolledDriver, RunsOnTheSystemsOwnThreads) {
  CCounting driver(ZRPolledDriver::kLongestPeriod);
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(1.0, NumberOf(L"count.PASSES"));
  driver.Stop();
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"count.PASSES"));
}

}  // namespace

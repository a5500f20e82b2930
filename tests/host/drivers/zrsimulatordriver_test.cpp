#include "host/drivers/zrsimulatordriver.h"

#include <gtest/gtest.h>

#include <vector>

#include "host/drivers/drivers_fixture.h"

namespace {

ZRSimulatedVariable Made(const wchar_t* name, ZRSimulatedForm form) {
  ZRSimulatedVariable variable;
  variable.name = name;
  variable.simulation.form = form;
  return variable;
}

std::vector<double> NoisyRun(std::uint64_t seed) {
  ZRVirtualTime time;
  ZRSimulatedVariable noise = Made(L"N", ZRNoiseForm{10.0});
  noise.simulation.sigma = 1.0;
  noise.simulation.stream = RandomStream(seed, "N");
  ZRSimulatorDriver driver(L"s1", L"sim", 1000, {noise});
  EXPECT_TRUE(driver.Start());
  std::vector<double> values;
  for (int i = 0; i < 20; ++i) {
    values.push_back(NumberOf(L"sim.N").value_or(-1.0));
    time.Advance(1000);
  }
  driver.Stop();
  return values;
}

TEST(SimulatorDriver, GivesTheSameNumbersForTheSameSeed) {
  EXPECT_EQ(NoisyRun(1), NoisyRun(1));
  EXPECT_NE(NoisyRun(1), NoisyRun(2));
  EXPECT_NE(NoisyRun(1)[0], NoisyRun(1)[1]);
}

TEST(SimulatorDriver, FollowsTimeSinceItsStart) {
  ZRVirtualTime time;
  time.Advance(12'345);
  ZRSimulatorDriver driver(L"s1", L"sim", 1000,
                           {Made(L"R", ZRRampForm{0.0, 100.0, 10'000, false})});
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(0.0, NumberOf(L"sim.R"));
  time.Advance(3000);
  EXPECT_EQ(30.0, NumberOf(L"sim.R"));
  time.Advance(8999);
  EXPECT_EQ(10.0, NumberOf(L"sim.R"));
  driver.Stop();
}

TEST(SimulatorDriver, LoadFollowsTheLocalTimeOfDay) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  ZRVirtualTime time;  // Thursday 2026-01-01, 00:00 UTC: 01:00 in Madrid
  ZRLoadForm load;
  load.base = 100.0;
  load.peak = 500.0;
  load.weekendFactor = 0.5;
  ZRSimulatorDriver driver(L"s1", L"sim", 60'000, {Made(L"P", load)});
  ASSERT_TRUE(driver.Start());
  constexpr std::uint64_t kHour = 3600'000;
  time.Advance(7 * kHour);
  EXPECT_NEAR(420.0, NumberOf(L"sim.P").value_or(0.0), 1e-9) << "8:00";
  time.Advance(12 * kHour);
  EXPECT_NEAR(500.0, NumberOf(L"sim.P").value_or(0.0), 1e-9) << "20:00";
  time.Advance(48 * kHour);
  EXPECT_NEAR(250.0, NumberOf(L"sim.P").value_or(0.0), 1e-9) << "Saturday, 20:00";
  driver.Stop();
}

TEST(SimulatorDriver, DropsOutAndComesBack) {
  ZRVirtualTime time;
  ZRSimulatedVariable variable = Made(L"C", ZRConstantForm{5.0});
  variable.simulation.dropoutEvery = 10'000;
  variable.simulation.dropoutFor = 2'000;
  ZRSimulatorDriver driver(L"s1", L"sim", 1000, {variable});
  ASSERT_TRUE(driver.Start());
  time.Advance(7000);
  EXPECT_EQ(5.0, NumberOf(L"sim.C"));
  time.Advance(1000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"sim.C"));
  time.Advance(2000);
  EXPECT_EQ(5.0, NumberOf(L"sim.C"));
  driver.Stop();
}

TEST(SimulatorDriver, ShowsTextsOfASwitch) {
  ZRVirtualTime time;
  ZRSimulatedVariable variable = Made(L"T", ZRSwitchForm{1000, 1000, 0, 1.0, 0.0});
  variable.simulation.isText = true;
  variable.simulation.onText = "running";
  variable.simulation.offText = "still";
  ZRSimulatorDriver driver(L"s1", L"sim", 1000, {variable});
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ("running", TextOf(L"sim.T"));
  time.Advance(1000);
  EXPECT_EQ("still", TextOf(L"sim.T"));
  driver.Stop();
}

TEST(SimulatorDriver, AConstantCanBeForcedUntilTheNextStart) {
  ZRVirtualTime time;
  ZRSimulatorDriver driver(L"s1", L"sim", 1000,
                           {Made(L"SINE", ZRSineForm{}), Made(L"SET", ZRConstantForm{5.0})});
  EXPECT_FALSE(driver.ForceValue(L"SET", 9.0, L"before the start"));
  ASSERT_TRUE(driver.Start());
  ASSERT_TRUE(driver.ForceValue(L"SET", 9.0, L"test"));
  EXPECT_EQ(9.0, NumberOf(L"sim.SET"));
  time.Advance(5000);
  EXPECT_EQ(9.0, NumberOf(L"sim.SET"));
  EXPECT_FALSE(driver.ForceValue(L"SINE", 9.0, L"test"));
  EXPECT_FALSE(driver.ForceValue(L"NONE", 9.0, L"test"));
  driver.Stop();
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(5.0, NumberOf(L"sim.SET"));
  driver.Stop();
}

}  // namespace

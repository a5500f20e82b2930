#include "host/drivers/zrsimulatordriver.h"

#include <gtest/gtest.h>

#include <cmath>
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

ZRValue Number(double value) {
  ZRValue number;
  number.SetNumeric(value);
  return number;
}
ZRValue Text(const wchar_t* value) {
  ZRValue text;
  text.SetString(value);
  return text;
}

ZRSimulatedVariable MadeText(const wchar_t* name, const std::string& text) {
  ZRSimulatedVariable variable = Made(name, ZRTextForm{text});
  variable.simulation.isText = true;
  return variable;
}

TEST(SimulatorDriver, AConstantCanBeForcedUntilTheNextStart) {
  ZRVirtualTime time;
  ZRSimulatorDriver driver(L"s1", L"sim", 1000,
                           {Made(L"SINE", ZRSineForm{}), Made(L"SET", ZRConstantForm{5.0})});
  EXPECT_FALSE(driver.ForceValue(1, Number(9.0), L"before the start"));
  ASSERT_TRUE(driver.Start());
  ASSERT_TRUE(driver.ForceValue(1, Number(9.0), L"test"));
  EXPECT_EQ(9.0, NumberOf(L"sim.SET"));
  time.Advance(5000);
  EXPECT_EQ(9.0, NumberOf(L"sim.SET"));
  EXPECT_FALSE(driver.ForceValue(0, Number(9.0), L"test"));
  for (const std::int64_t unknown : {-1, 2})
    EXPECT_FALSE(driver.ForceValue(unknown, Number(9.0), L"test"));
  for (const ZRValue& wrong : {Text(L"9"), ZRValue(), Number(INFINITY), Number(NAN)})
    EXPECT_FALSE(driver.ForceValue(1, wrong, L"test"));
  EXPECT_EQ(9.0, NumberOf(L"sim.SET"));
  driver.Stop();
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(5.0, NumberOf(L"sim.SET"));
  driver.Stop();
}

TEST(SimulatorDriver, ATextCanBeForcedUntilTheNextStart) {
  ZRVirtualTime time;
  ZRSimulatorDriver driver(L"s1", L"sim", 1000, {MadeText(L"MODE", "automático")});
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ("automático", TextOf(L"sim.MODE"));
  ASSERT_TRUE(driver.ForceValue(0, Text(L"mañana"), L"test"));
  EXPECT_EQ("mañana", TextOf(L"sim.MODE"));
  time.Advance(5000);
  EXPECT_EQ("mañana", TextOf(L"sim.MODE"));
  ASSERT_TRUE(driver.ForceValue(0, Number(2.5), L"test"));
  EXPECT_EQ("2.5", TextOf(L"sim.MODE")) << "a number in its shortest form";
  driver.Stop();
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ("automático", TextOf(L"sim.MODE"));
  driver.Stop();
}

TEST(SimulatorDriver, AForcedSwitchStopsSwitching) {
  ZRVirtualTime time;
  ZRSimulatorDriver driver(L"s1", L"sim", 1000,
                           {Made(L"PUMP", ZRSwitchForm{1000, 1000, 0, 1.0, 0.0})});
  ASSERT_TRUE(driver.Start());
  ASSERT_TRUE(driver.ForceValue(0, Number(0.0), L"test"));
  for (int second = 0; second < 4; ++second) {
    EXPECT_EQ(0.0, NumberOf(L"sim.PUMP"));
    time.Advance(1000);
  }
  driver.Stop();
}

TEST(SimulatorDriver, AForcedVariableDropsOutAsBefore) {
  ZRVirtualTime time;
  ZRSimulatedVariable variable = Made(L"C", ZRConstantForm{5.0});
  variable.simulation.dropoutEvery = 4000;
  variable.simulation.dropoutFor = 2000;
  ZRSimulatorDriver driver(L"s1", L"sim", 1000, {variable});
  ASSERT_TRUE(driver.Start());
  ASSERT_TRUE(driver.ForceValue(0, Number(9.0), L"test"));
  time.Advance(2000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"sim.C"));
  time.Advance(2000);
  EXPECT_EQ(9.0, NumberOf(L"sim.C"));
  driver.Stop();
}

TEST(SimulatorDriver, TellsWhatItsVariablesAccept) {
  ZRVirtualTime time;
  ZRSimulatedVariable texts = Made(L"T", ZRSwitchForm{});
  texts.simulation.isText = true;
  texts.simulation.onText = "a < b";
  texts.simulation.offText = "";
  const ZRSimulatorDriver driver(
      L"s1", L"sim", 1000,
      {Made(L"C", ZRConstantForm{}), MadeText(L"M", "x"), Made(L"S", ZRSwitchForm{}), texts,
       Made(L"R", ZRRampForm{}), Made(L"SINE", ZRSineForm{}), Made(L"N", ZRNoiseForm{}),
       Made(L"L", ZRLoadForm{})});
  struct tagRow {
    std::int64_t number;
    std::uint8_t flags;
    std::uint32_t type;
    std::vector<ZRString> labels;
  };
  const tagRow rows[] = {{0, 0x8, 0, {}},
                         {1, 0x8, 0x2000, {}},
                         {2, 0x8, 0, {"OFF", "ON"}},
                         {3, 0x8, 0x2000, {"", "a &lt; b"}},
                         {4, 0, 0, {}},
                         {5, 0, 0, {}},
                         {6, 0, 0, {}},
                         {7, 0, 0, {}}};
  for (const tagRow& row : rows) {
    tagSVariableValueInfo info;
    ASSERT_TRUE(driver.ValueInfo(row.number, info));
    EXPECT_EQ(row.flags, info.flags) << row.number;
    EXPECT_EQ(row.type, info.type) << row.number;
    EXPECT_TRUE(row.labels == info.labels) << row.number;
  }
  tagSVariableValueInfo info;
  EXPECT_FALSE(driver.ValueInfo(8, info));
}

}  // namespace

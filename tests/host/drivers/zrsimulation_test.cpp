#include "host/drivers/zrsimulation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

ZRSimulatedMoment At(std::int64_t elapsed) {
  ZRSimulatedMoment moment;
  moment.elapsed = elapsed;
  moment.draw = static_cast<std::uint64_t>(elapsed / 1000);
  return moment;
}

ZRSimulatedMoment AtHour(double hour, int dayOfWeek) {
  ZRSimulatedMoment moment;
  moment.hour = hour;
  moment.dayOfWeek = dayOfWeek;
  return moment;
}

// The first outputs of the published generator for the seed 1234567.
TEST(Simulation, MixesBitsAsPublished) {
  constexpr std::uint64_t kSeed = 1234567;
  constexpr std::uint64_t kStep = 0x9E3779B97F4A7C15u;
  static_assert(MixBits(kSeed) == 6457827717110365317u);
  static_assert(MixBits(kSeed + kStep) == 3203168211198807973u);
  static_assert(MixBits(kSeed + 2 * kStep) == 9817491932198370423u);
  EXPECT_EQ(4593380528125082431u, MixBits(kSeed + 3 * kStep));
}

TEST(Simulation, NormalNumbersHaveMeanZeroAndDeviationOne) {
  constexpr int kCount = 20000;
  double sum = 0.0;
  double squares = 0.0;
  int beyondOne = 0;
  for (std::uint64_t draw = 0; draw < kCount; ++draw) {
    const double number = NormalNumber(42, draw);
    ASSERT_LE(std::fabs(number), 6.0);
    sum += number;
    squares += number * number;
    if (std::fabs(number) > 1.0) ++beyondOne;
  }
  EXPECT_NEAR(0.0, sum / kCount, 0.03);
  EXPECT_NEAR(1.0, squares / kCount, 0.03);
  EXPECT_NEAR(0.3173, static_cast<double>(beyondOne) / kCount, 0.02);
}

TEST(Simulation, StreamsOfOtherNamesAndSeedsAreOthers) {
  EXPECT_EQ(RandomStream(1, "P"), RandomStream(1, "P"));
  EXPECT_NE(RandomStream(1, "P"), RandomStream(2, "P"));
  EXPECT_NE(RandomStream(1, "P"), RandomStream(1, "Q"));
  EXPECT_NE(RandomStream(1, "PQ"), RandomStream(1, "QP"));
  EXPECT_NE(NormalNumber(RandomStream(1, "P"), 7), NormalNumber(RandomStream(1, "Q"), 7));
  EXPECT_NE(NormalNumber(RandomStream(1, "P"), 7), NormalNumber(RandomStream(1, "P"), 8));
}

struct tagCase {
  const char* what;
  ZRSimulatedForm form;
  std::int64_t elapsed;
  double expected;
};

TEST(Simulation, FormsFollowTheirTimes) {
  const ZRRampForm ramp{10.0, 20.0, 4000, false};
  const ZRRampForm once{10.0, 20.0, 4000, true};
  const ZRSineForm sine{5.0, 2.0, 4000, 0};
  const ZRSineForm later{5.0, 2.0, 4000, 1000};
  const ZRSwitchForm pump{2000, 3000, 1000, 7.0, -1.0};
  const std::vector<tagCase> cases{
      {"constant", ZRConstantForm{3.5}, 123456, 3.5},
      {"ramp at its start", ramp, 0, 10.0},
      {"ramp in between", ramp, 1000, 12.5},
      {"ramp begins again", ramp, 4000, 10.0},
      {"ramp just before", ramp, 3999, 19.9975},
      {"ramp once", once, 1000, 12.5},
      {"ramp once at its end", once, 4000, 20.0},
      {"ramp once stays", once, 999999, 20.0},
      {"sine at its start", sine, 0, 5.0},
      {"sine on top", sine, 1000, 7.0},
      {"sine below", sine, 3000, 3.0},
      {"sine later", later, 0, 3.0},
      {"noise alone", ZRNoiseForm{1.25}, 500, 1.25},
      {"switch before its first time on", pump, 0, -1.0},
      {"switch goes on", pump, 1000, 7.0},
      {"switch still on", pump, 2999, 7.0},
      {"switch goes off", pump, 3000, -1.0},
      {"switch goes on again", pump, 6000, 7.0},
  };
  for (const tagCase& one : cases)
    EXPECT_NEAR(one.expected, FormValue(one.form, At(one.elapsed)), 1e-9) << one.what;
}

struct tagLoadCase {
  double hour;
  int dayOfWeek;
  double expected;
};

TEST(Simulation, LoadCurveHasTwoHillsADayAndAFactorForWeekends) {
  ZRLoadForm form;
  form.base = 100.0;
  form.peak = 500.0;
  form.weekendFactor = 0.5;
  const std::vector<tagLoadCase> cases{
      {3.0, 1, 100.0},   // night
      {8.0, 1, 420.0},   // 80 % of the way from 100 to 500
      {10.0, 1, 260.0},  // half of the morning's hill
      {12.0, 1, 100.0},  // the foot of it
      {20.0, 1, 500.0},  // the evening's top
      {22.0, 1, 300.0}, {20.0, 6, 250.0}, {20.0, 0, 250.0}, {3.0, 0, 50.0}, {20.0, 5, 500.0},
  };
  for (const tagLoadCase& one : cases)
    EXPECT_NEAR(one.expected, FormValue(form, AtHour(one.hour, one.dayOfWeek)), 1e-9)
        << one.hour << " h, day " << one.dayOfWeek;
}

TEST(Simulation, HillsGoOnAcrossMidnight) {
  ZRLoadForm form;
  form.morningShare = 0.0;
  form.evening = 23.0;
  EXPECT_NEAR(FormValue(form, AtHour(21.0, 1)), FormValue(form, AtHour(1.0, 1)), 1e-9);
  EXPECT_NEAR(0.5, FormValue(form, AtHour(1.0, 1)), 1e-9);
}

TEST(Simulation, NoiseIsAddedAndRoundedLast) {
  ZRSimulation simulation;
  simulation.form = ZRConstantForm{100.0};
  simulation.stream = RandomStream(1, "P");
  EXPECT_EQ(100.0, SimulatedNumber(simulation, At(5000)));
  simulation.sigma = 2.0;
  const double noisy = SimulatedNumber(simulation, At(5000));
  EXPECT_DOUBLE_EQ(100.0 + 2.0 * NormalNumber(simulation.stream, 5), noisy);
  EXPECT_EQ(noisy, SimulatedNumber(simulation, At(5999))) << "the same draw";
  EXPECT_NE(noisy, SimulatedNumber(simulation, At(6000)));
  simulation.decimals = 1;
  EXPECT_EQ(RoundedTo(noisy, 1), SimulatedNumber(simulation, At(5000)));
}

TEST(Simulation, RoundsHalvesAwayFromZero) {
  EXPECT_EQ(2.5, RoundedTo(2.45000001, 1));
  EXPECT_EQ(3.0, RoundedTo(2.5, 0));
  EXPECT_EQ(-3.0, RoundedTo(-2.5, 0));
  EXPECT_EQ(0.13, RoundedTo(0.125, 2));
  EXPECT_EQ(1e300, RoundedTo(1e300, 15));
}

TEST(Simulation, DropsOutAtTheEndOfEachPeriod) {
  ZRSimulation simulation;
  EXPECT_FALSE(IsDroppedOut(simulation, 0));
  simulation.dropoutEvery = 10000;
  simulation.dropoutFor = 3000;
  EXPECT_FALSE(IsDroppedOut(simulation, 0));
  EXPECT_FALSE(IsDroppedOut(simulation, 6999));
  EXPECT_TRUE(IsDroppedOut(simulation, 7000));
  EXPECT_TRUE(IsDroppedOut(simulation, 9999));
  EXPECT_FALSE(IsDroppedOut(simulation, 10000));
  EXPECT_TRUE(IsDroppedOut(simulation, 17000));
}

TEST(Simulation, SwitchShowsItsTexts) {
  ZRSimulation simulation;
  simulation.form = ZRSwitchForm{1000, 1000, 0, 1.0, 0.0};
  simulation.isText = true;
  simulation.onText = "running";
  simulation.offText = "still";
  EXPECT_EQ("running", SimulatedText(simulation, At(0)));
  EXPECT_EQ("still", SimulatedText(simulation, At(1000)));
}

}  // namespace

#include "host/drivers/zrreplaydriver.h"

#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"

namespace {

class ReplayDriver : public testing::Test {
 protected:
  ReplayDriver() {
    settings.path = settings.title = "house.csv";
    settings.form.dateColumns = {"Date"};
    settings.form.isUtc = true;
    std::string reason;
    EXPECT_TRUE(settings.form.dateFormat.Set("%Y-%m-%d %H:%M:%S", reason)) << reason;
    SetFile(
        "2007-01-01 00:00:00,1,10\n"
        "2007-01-01 00:01:00,2,?\n"
        "2007-01-01 00:03:00,3,30\n");
  }

  void SetFile(const std::string& lines) { machine.files["house.csv"] = "Date,P,Q\n" + lines; }

  void Start() {
    driver = std::make_unique<ZRReplayDriver>(L"r1", L"house", settings);
    ASSERT_TRUE(driver->Start());
  }

  CFakeMachine machine;
  CLogLines log;
  ZRReplaySettings settings;
  std::unique_ptr<ZRReplayDriver> driver;
};

TEST_F(ReplayDriver, ShowsReadingsAtTheDistancesOfTheirDates) {
  Start();
  EXPECT_EQ(1.0, NumberOf(L"house.P"));
  EXPECT_EQ(10.0, NumberOf(L"house.Q"));
  machine.Advance(59'999);
  EXPECT_EQ(1.0, NumberOf(L"house.P"));
  machine.Advance(1);
  EXPECT_EQ(2.0, NumberOf(L"house.P"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"house.Q"));
  machine.Advance(120'000);
  EXPECT_EQ(3.0, NumberOf(L"house.P"));
  EXPECT_EQ(30.0, NumberOf(L"house.Q"));
  driver->Stop();
}

TEST_F(ReplayDriver, AFactorMakesItFaster) {
  settings.factor = 60.0;
  Start();
  machine.Advance(999);
  EXPECT_EQ(1.0, NumberOf(L"house.P"));
  machine.Advance(1);
  EXPECT_EQ(2.0, NumberOf(L"house.P"));
  machine.Advance(2000);
  EXPECT_EQ(3.0, NumberOf(L"house.P"));
  driver->Stop();
}

TEST_F(ReplayDriver, StepByStepDatesDontCount) {
  settings.isStep = true;
  settings.step = 500;
  Start();
  EXPECT_EQ(1.0, NumberOf(L"house.P"));
  machine.Advance(500);
  EXPECT_EQ(2.0, NumberOf(L"house.P"));
  machine.Advance(500);
  EXPECT_EQ(3.0, NumberOf(L"house.P"));
  machine.Advance(499);
  EXPECT_EQ(3.0, NumberOf(L"house.P"));
  machine.Advance(1);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"house.P"));
  driver->Stop();
}

TEST_F(ReplayDriver, BecomesUnavailableADistanceBehindTheEndAndSaysSo) {
  Start();
  machine.Advance(299'999);
  EXPECT_EQ(3.0, NumberOf(L"house.P"));
  EXPECT_TRUE(driver->IsOnline());
  machine.Advance(1);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"house.P"));
  EXPECT_FALSE(driver->IsOnline());
  EXPECT_EQ(1, log.Count("replay 'house' is over after 3 readings"));
  machine.Advance(100 * 3600'000);
  EXPECT_EQ(3, driver->Shown());
  driver->Stop();
}

TEST_F(ReplayDriver, InALoopItBeginsAgainADistanceBehindTheEnd) {
  settings.loop = true;
  Start();
  machine.Advance(299'999);
  EXPECT_EQ(3.0, NumberOf(L"house.P"));
  EXPECT_EQ(0, log.Count("begins again"));
  machine.Advance(1);
  EXPECT_EQ(1.0, NumberOf(L"house.P"));
  EXPECT_EQ(1, log.Count("begins again"));
  machine.Advance(60'000);
  EXPECT_EQ(2.0, NumberOf(L"house.P"));
  machine.Advance(300'000);
  EXPECT_EQ(2.0, NumberOf(L"house.P"));
  EXPECT_EQ(8, driver->Shown());
  driver->Stop();
}

TEST_F(ReplayDriver, ALoopOfASingleReadingTakesTime) {
  settings.loop = true;
  settings.factor = 1e6;
  SetFile("2007-01-01 00:00:00,1,10\n");
  Start();
  machine.Advance(100);
  EXPECT_EQ(101, driver->Shown());
  driver->Stop();
}

TEST_F(ReplayDriver, ReadingsThatAreDueTogetherAreShownInTheirOrder) {
  SetFile(
      "2007-01-01 00:00:00,1,10\n"
      "2007-01-01 00:00:00,2,20\n"
      "2007-01-01 00:01:00,3,30\n");
  Start();
  EXPECT_EQ(2.0, NumberOf(L"house.P"));
  EXPECT_EQ(2, driver->Shown());
  driver->Stop();
}

TEST_F(ReplayDriver, KnowsWhatTheFileHolds) {
  Start();
  EXPECT_EQ(3, driver->Span().readings);
  EXPECT_EQ(180'000, driver->Span().last - driver->Span().first);
  driver->Stop();
  ZRReadingsSpan span;
  std::string reason;
  ASSERT_TRUE(ZRReplayDriver::Measure(settings, span, reason)) << reason;
  EXPECT_EQ(3, span.readings);
  EXPECT_EQ(1'167'609'600'000, span.first);
}

TEST_F(ReplayDriver, StartsFromTheFrontAfterAStop) {
  Start();
  machine.Advance(60'000);
  driver->Stop();
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"house.P"));
  ASSERT_TRUE(driver->Start());
  EXPECT_EQ(1.0, NumberOf(L"house.P"));
  EXPECT_EQ(1, driver->Shown());
  driver->Stop();
}

TEST_F(ReplayDriver, DoesntStartWithoutReadings) {
  ZRReadingsSpan span;
  std::string reason;
  SetFile("never,1,2\n");
  ZRReplayDriver empty(L"r1", L"house", settings);
  EXPECT_FALSE(empty.Start());
  EXPECT_EQ(1, log.Count("replay 'house': 'house.csv': it holds no reading"));
  EXPECT_EQ(1, log.Count("line 2: its date doesn't fit"));
  EXPECT_FALSE(ZRReplayDriver::Measure(settings, span, reason));
  EXPECT_EQ("it holds no reading; line 2: its date doesn't fit: \"never\"", reason);
  machine.files.clear();
  EXPECT_FALSE(empty.Start());
  EXPECT_FALSE(ZRReplayDriver::Measure(settings, span, reason));
}

TEST_F(ReplayDriver, SaysOnceWhatItPassesOver) {
  settings.loop = true;
  SetFile(
      "2007-01-01 00:00:00,1,10\n"
      "never,2,20\n"
      "2007-01-01 00:01:00,3,on\n");
  Start();
  machine.Advance(1'000'000);
  driver->Stop();
  EXPECT_EQ(1, log.Count("line 3: its date doesn't fit"));
  EXPECT_EQ(1, log.Count("line 4: \"on\" in column \"Q\""));
  EXPECT_EQ(1, log.Count("passed over: 1 lines that can't be read, 0 that go back in time, 1"));
}

// A reading each second for 400 seconds.
std::string EverySecond() {
  std::string lines;
  constexpr std::size_t kRoom = 64;
  char line[kRoom];
  for (int i = 0; i < 400; ++i) {
    (void)std::snprintf(line, kRoom, "2007-01-01 00:%02d:%02d,%d,0\n", i / 60, i % 60, i);
    lines += line;
  }
  return lines;
}

TEST_F(ReplayDriver, TellsHowFarItIsNotMoreThanEveryTenSeconds) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  SetFile(EverySecond());
  Start();
  machine.Advance(400'000);
  driver->Stop();
  EXPECT_EQ(39, log.Count(" of 400 readings ("));
  EXPECT_EQ(1, log.Count("replay 'house': 201 of 400 readings (50 %), at 2007-01-01 01:03:20"));
}

TEST_F(ReplayDriver, TellsHowFarItIsNotMoreThanEveryHundredth) {
  machine.files["house.csv"] = "Date,P,Q\n";
  constexpr std::size_t kRoom = 64;
  char line[kRoom];
  for (int i = 0; i < 400; ++i) {
    (void)std::snprintf(line, kRoom, "2007-01-%02d %02d:00:00,%d,0\n", 1 + i / 24, i % 24, i);
    machine.files["house.csv"] += line;
  }
  Start();
  machine.Advance(400ull * 3600'000);
  driver->Stop();
  EXPECT_EQ(100, log.Count(" of 400 readings ("));
}

TEST_F(ReplayDriver, ReplaysTwoDaysOfMinutesInVirtualTime) {
  std::string lines;
  constexpr std::size_t kRoom = 64;
  char line[kRoom];
  for (int i = 0; i < 2 * 24 * 60; ++i) {
    (void)std::snprintf(line, kRoom, "2007-01-%02d %02d:%02d:00,%d,0\n", 1 + i / 1440, i / 60 % 24,
                        i % 60, i);
    lines += line;
  }
  SetFile(lines);
  Start();
  machine.Advance(2879ull * 60'000 - 1);
  EXPECT_EQ(2878.0, NumberOf(L"house.P"));
  machine.Advance(1);
  EXPECT_EQ(2879.0, NumberOf(L"house.P"));
  EXPECT_EQ(2880, driver->Shown());
  driver->Stop();
}

}  // namespace

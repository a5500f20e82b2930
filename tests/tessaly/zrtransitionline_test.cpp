#include "tessaly/zrtransitionline.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/enginetest.h"

namespace {

TEST(Duration, HasItsTwoLargestUnits) {
  constexpr double kMinute = 60;
  constexpr double kHour = 60 * kMinute;
  constexpr double kDay = 24 * kHour;
  const std::pair<double, const char*> cases[] = {
      {0, "0 s"},
      {0.999, "0 s"},
      {35.9, "35 s"},
      {kMinute - 0.001, "59 s"},
      {kMinute, "1 min 0 s"},
      {95, "1 min 35 s"},
      {kHour - 1, "59 min 59 s"},
      {kHour, "1 h 0 min"},
      {2 * kHour + 59, "2 h 0 min"},
      {kDay - 1, "23 h 59 min"},
      {kDay, "1 d 0 h"},
      {3 * kDay + 4 * kHour + 59 * kMinute, "3 d 4 h"},
      {-1, "0 s"},
      {std::numeric_limits<double>::infinity(), "11574074074 d 1 h"},
  };
  for (const auto& [seconds, text] : cases)
    EXPECT_EQ(Narrow(DurationText(seconds)), text) << seconds;
}

using Transition = EngineTest;

TEST_F(Transition, LineHasTheTextOfTheActivation) {
  Load(EventXml("Pump")
           .Condition("[P.RUN] = 1")
           .With("annotation", "at %a1 %%s %%d")
           .Argument("[P.RUN]"));
  StartServer();
  const ZREventDriver& pump = *Find("Pump");
  EXPECT_EQ(Narrow(TransitionLine(pump, true, 0)), "active: Pump");
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Narrow(TransitionLine(pump, true, 0)), "active: Pump - at 1 %s %d");
  EXPECT_EQ(Narrow(TransitionLine(pump, false, 95)), "inactive: Pump, after 1 min 35 s");
}

}  // namespace

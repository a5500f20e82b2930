#include <gtest/gtest.h>

#include "support/enginetest.h"

namespace {

class EventEvaluation : public EngineTest {};

TEST_F(EventEvaluation, ActivatesInItsFirstCycleWithoutDelays) {
  Load(EventXml("Pump").Condition("[P.RUN] = 1"));
  Set("RUN", 1);
  StartServer();
  EXPECT_TRUE(Find("Pump")->IsEnabled());
}

// A delay has the grain of the cycle.
TEST_F(EventEvaluation, ActivatesAtTheFirstPassAtOrAfterItsDelay) {
  Load(EventXml("Pump").Condition("[P.RUN] = 1").DelayToActivate("2.5"));
  Set("RUN", 1);
  StartServer();
  time.Advance(2000);
  EXPECT_FALSE(Find("Pump")->IsEnabled());
  time.Advance(1000);
  EXPECT_TRUE(Find("Pump")->IsEnabled());
}

}  // namespace

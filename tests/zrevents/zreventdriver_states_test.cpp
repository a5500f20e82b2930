#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "support/pumpevent.h"

namespace {

enum class Start { kIdle, kWaitingToActivate, kActivationDue, kActive, kWaitingToEnd, kEndDue };

// What one cycle does to an event in each state.
struct tagTransition {
  const char* name;
  Start start;
  bool open;              // the time table
  double run;             // 1: the condition holds
  const char* delay;      // for the way out of the state that the cycle begins in
  const char* happens;    // in the cycle
  bool enabled;           // after it
  int cyclesUntilChange;  // from then on: a condition that holds activates, one that fails ends
};

void PrintTo(const tagTransition& row, std::ostream* out) {
  *out << row.name;
}

class EventStates : public PumpEvent, public ::testing::WithParamInterface<tagTransition> {
 public:
  static constexpr const char* kDelay = "3";
  static constexpr const char* kNone = "0";

  // The second numbers tell the states apart: a wait of 3 s that goes on ends sooner than one that
  // begins anew.
  static constexpr tagTransition kTransitions[] = {
      {"IdleAndClosed", Start::kIdle, false, 1, kDelay, "", false, 4},
      {"IdleAndFails", Start::kIdle, true, 0, kDelay, "S=0 T=0", false, 4},
      {"IdleAndHoldsWithoutDelay", Start::kIdle, true, 1, kNone, kActivation, true, 1},
      {"IdleAndHoldsWithDelay", Start::kIdle, true, 1, kDelay, "", false, 3},
      {"WaitingAndClosed", Start::kWaitingToActivate, false, 1, kDelay, "", false, 2},
      {"WaitingAndClosedAndFails", Start::kWaitingToActivate, false, 0, kDelay, "", false, 2},
      {"WaitingAndFails", Start::kWaitingToActivate, true, 0, kDelay, "S=0 T=0", false, 4},
      {"WaitingAndHolds", Start::kWaitingToActivate, true, 1, kDelay, "", false, 2},
      {"WaitingAndHoldsLongEnough", Start::kActivationDue, true, 1, kDelay, kActivation, true, 1},
      {"ActivationDueAndClosed", Start::kActivationDue, false, 1, kDelay, "", false, 1},
      {"ActiveAndClosed", Start::kActive, false, 1, kDelay, kClosing, false, 1},
      {"ActiveAndFailsWithoutDelay", Start::kActive, true, 0, kNone, kDeactivation, false, 1},
      {"ActiveAndFailsWithDelay", Start::kActive, true, 0, kDelay, "S=1", true, 3},
      {"ActiveAndHolds", Start::kActive, true, 1, kDelay, "while T=1", true, 4},
      {"EndingAndClosed", Start::kWaitingToEnd, false, 0, kDelay, kClosing, false, 1},
      {"EndingAndClosedAndHolds", Start::kWaitingToEnd, false, 1, kDelay, kClosing, false, 1},
      {"EndingAndFails", Start::kWaitingToEnd, true, 0, kDelay, "S=1", true, 2},
      {"EndingAndFailsLongEnough", Start::kEndDue, true, 0, kDelay, kDeactivation, false, 1},
      {"EndingAndHolds", Start::kWaitingToEnd, true, 1, kDelay, "while T=2", true, 4},
      {"EndDueAndHolds", Start::kEndDue, true, 1, kDelay, "while T=4", true, 4},
  };

 protected:
  static bool IsActiveState(Start start) { return start >= Start::kActive; }

  void Reach(Start start) {
    const bool active = IsActiveState(start);
    EventXml definition = PumpInShift();
    if (active) {
      definition.DelayToDeactivate(GetParam().delay);
    } else {
      definition.DelayToActivate(GetParam().delay);
    }
    Make(definition);
    if (start != Start::kIdle) Step(true, 1);
    if (start == Start::kWaitingToEnd || start == Start::kEndDue) Step(true, 0);
    if (start == Start::kActivationDue || start == Start::kEndDue) time.Advance(2 * kCycle);
    ASSERT_EQ(event->IsEnabled(), active);
  }
  std::string Step(bool open, double run) {
    Set("RUN", run);
    return CycleAt(open ? Open() : Closed());
  }
  int CyclesUntilChange() {
    const bool before = event->IsEnabled();
    int count = 0;
    while (event->IsEnabled() == before && count < 10) {
      (void)Step(true, before ? 0 : 1);
      ++count;
    }
    return count;
  }
};

TEST_P(EventStates, OneCycleDoesWhatTheTableSays) {
  const tagTransition& row = GetParam();
  Reach(row.start);
  EXPECT_EQ(Step(row.open, row.run), row.happens);
  EXPECT_EQ(event->IsEnabled(), row.enabled);
  EXPECT_EQ(CyclesUntilChange(), row.cyclesUntilChange);
}

INSTANTIATE_TEST_SUITE_P(Table, EventStates, ::testing::ValuesIn(EventStates::kTransitions),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace

#include <gtest/gtest.h>

#include <limits>

#include "support/pumpevent.h"

namespace {

class StateVariables : public PumpEvent {
 protected:
  using tagWrites = std::vector<std::pair<std::int64_t, double>>;

  void BindTo(ZRDriver* to, std::int64_t state, std::int64_t seconds) {
    event->setDriverVariables(to, state, seconds);
    (void)Trace();
  }
  tagWrites Written() { return std::exchange(driver->written, {}); }
};

// --- the exact writes of each cycle ---

struct tagCycle {
  double run;
  const char* writes;
};

TEST_F(StateVariables, AreWrittenInEachCycleAsTheActivityGoes) {
  constexpr tagCycle kCycles[] = {
      {0, "S=0 T=0"},              // idle
      {0, "S=0 T=0"}, {1, ""},     // waits to activate: nothing
      {1, ""},        {1, "S=1"},  // the activation writes no time
      {1, "T=1"},                  // active: the time alone
      {1, "T=2"},     {0, "S=1"},  // waits to end: the time stands still
      {0, "S=1"},     {1, "T=5"},  // active again
      {0, "S=1"},     {0, "S=1"}, {0, "S=0 T=0 T=0 S=0 T=0"},  // the end, and the end of the cycle
      {0, "S=0 T=0"},
  };
  event = std::make_unique<OwnEvent>();
  ASSERT_TRUE(event->LoadText(
      EventXml().Condition("[P.RUN] = 1").DelayToActivate("2").DelayToDeactivate("2").Xml()));
  Bind();
  EXPECT_EQ(Trace(), "created S=0 T=0 T=0");
  int number = 0;
  for (const tagCycle& cycle : kCycles) {
    Set("RUN", cycle.run);
    EXPECT_EQ(Cycle(), cycle.writes) << "cycle " << number;
    ++number;
  }
}

TEST_F(StateVariables, AreWrittenByAClosedTimeTableOnlyIfItEndsTheActivity) {
  Make(PumpInShift());
  Set("RUN", 1);
  EXPECT_EQ(CycleAt(Closed()), "");
  EXPECT_EQ(CycleAt(Open()), "activate S=1 ON");
  EXPECT_EQ(CycleAt(Closed()), "S=0 T=0 T=0 deactivate OFF");
  EXPECT_EQ(CycleAt(Closed()), "");
}

TEST_F(StateVariables, KeepTheirValuesDuringAnEvaluationError) {
  Make(Pump());
  Holds();
  Unset("RUN");
  EXPECT_EQ(Cycle(), "");
  EXPECT_EQ(Cycle(), "");
}

// The state is written behind the activate actions and before the deactivate ones.
TEST_F(StateVariables, AreWrittenBeforeAndBehindTheActions) {
  Make(Pump().DelayToDeactivate("1"));
  EXPECT_EQ(Holds(), "activate S=1 ON");
  EXPECT_EQ(Holds(), "while T=1");
  Fails();
  EXPECT_EQ(Fails(), "S=0 T=0 T=0 deactivate OFF S=0 T=0");
}

// --- binding ---

TEST_F(StateVariables, AreNotWrittenBeforeTheBinding) {
  event = std::make_unique<OwnEvent>();
  ASSERT_TRUE(event->LoadText(Pump().Xml()));
  (void)Trace();
  event->updateDriverVariableState();
  event->updateDriverVariableTime();
  EXPECT_EQ(Holds(), "ON");
  EXPECT_EQ(Holds(), "");
  EXPECT_EQ(Fails(), "OFF");
}

TEST_F(StateVariables, BindingWritesBoth) {
  Make(Pump());
  Bind();
  EXPECT_EQ(Trace(), "S=0 T=0 T=0");
}

TEST_F(StateVariables, BindingAnActiveEventShowsItAtOnce) {
  Make(Pump());
  Holds();
  Holds();
  time.Advance(1500);
  Bind();
  EXPECT_EQ(Trace(), "S=1 T=3");
}

TEST_F(StateVariables, BindingReadsTheIdsAndLeavesThemAlone) {
  Make(Pump());
  std::int64_t state = std::numeric_limits<std::int64_t>::max();
  std::int64_t seconds = std::numeric_limits<std::int64_t>::min();
  event->setDriverVariables(driver, state, seconds);
  EXPECT_EQ(state, std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(seconds, std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(Written(), (tagWrites{{state, 0.0}, {seconds, 0.0}, {seconds, 0.0}}));
}

TEST_F(StateVariables, NewBindingReplacesTheOneBefore) {
  Make(Pump());
  BindTo(driver, 1, 2);
  (void)Written();
  EXPECT_EQ(Holds(), "activate ON") << "nothing to the driver of before";
  EXPECT_EQ(Written(), (tagWrites{{1, 1.0}}));
}

TEST_F(StateVariables, NullDriverEndsTheBinding) {
  Make(Pump());
  BindTo(nullptr, 10, 11);
  EXPECT_EQ(Holds(), "activate ON");
  EXPECT_EQ(Fails(), "deactivate OFF");
}

TEST_F(StateVariables, LoadingDoesNotTouchTheBinding) {
  Make(Pump());
  ASSERT_TRUE(event->LoadText(Pump().Xml()));
  (void)Trace();
  EXPECT_EQ(Fails(), "S=0 T=0");
}

TEST_F(StateVariables, StateOfAnActiveEventIsOneWriteAndThatOfAnotherTwo) {
  Make(Pump());
  event->updateDriverVariableState();
  EXPECT_EQ(Trace(), "S=0 T=0");
  Holds();
  event->updateDriverVariableState();
  EXPECT_EQ(Trace(), "S=1");
  event->updateDriverVariableTime();
  EXPECT_EQ(Trace(), "T=1");
}

// --- the marks ---

class CMarks final : public ZRDriver {
 public:
  CMarks() : ZRDriver(L"marks", L"marks") {}
  void SetVariableValue(std::int64_t, double) override {}
  void NoteMark(std::int64_t state, int mark, std::int64_t utc) override {
    told += (told.empty() ? "" : " ") + std::to_string(state) + ":" + std::to_string(mark) + "@" +
            std::to_string(utc - ZRVirtualTime::kDefaultUtc);
  }
  std::string told;
};

TEST_F(StateVariables, TheirDriverIsToldOfEachMarkOnce) {
  CMarks marks;
  Make(EventXml().Condition("[P.RUN] = 1").Notify());
  BindTo(&marks, 8, 9);
  Set("RUN", 1);
  (void)Cycle();
  (void)Cycle();
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id()));
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id()));
  Set("RUN", 0);
  (void)Cycle();
  EXPECT_EQ(marks.told, "8:1@0 8:4@2000 8:2@2000");
  BindTo(nullptr, 8, 9);
  Set("RUN", 1);
  (void)Cycle();
  EXPECT_EQ(marks.told, "8:1@0 8:4@2000 8:2@2000") << "it is bound to nobody";
}

TEST_F(StateVariables, AnEventWithoutNotifyTellsOfNoAcknowledgement) {
  CMarks marks;
  Make(EventXml().Condition("[P.RUN] = 1"));
  BindTo(&marks, 0, 1);
  Set("RUN", 1);
  (void)Cycle();
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id()));
  EXPECT_EQ(marks.told, "0:1@0");
}

}  // namespace

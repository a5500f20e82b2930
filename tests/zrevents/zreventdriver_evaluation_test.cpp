#include <gtest/gtest.h>

#include <stdexcept>

#include "host/tools/zrcoreexception.h"
#include "support/logcapture.h"
#include "support/pumpevent.h"

namespace {

using Domain::CoreExceptionNS::CoreException;

class EventEvaluation : public PumpEvent {};

// --- whether an event is looked at ---

TEST_F(EventEvaluation, EventThatWasNeverLoadedDoesNothing) {
  OwnEvent unloaded;
  EXPECT_TRUE(unloaded.Work(ZRDateTime::LTC()));
  EXPECT_FALSE(unloaded.IsEnabled());
  EXPECT_EQ(unloaded.Name(), L"");
}

TEST_F(EventEvaluation, IsLookedAtAtAnyTimeWithoutATimeTable) {
  Make(Pump().TimeTable("no such table"));
  Set("RUN", 1);
  EXPECT_EQ(CycleAt(Closed()), kActivation);
}

TEST_F(EventEvaluation, StaysAsItIsWhileItsTimeTableIsClosed) {
  Make(PumpInShift());
  Set("RUN", 1);
  for (int count = 0; count < 5; ++count)
    EXPECT_EQ(CycleAt(Closed()), "");
  EXPECT_FALSE(event->hasActived());
}

// The time of a wait goes on while the table is closed.
TEST_F(EventEvaluation, ActivatesInTheFirstCycleAfterATableThatWasClosedForLong) {
  Make(PumpInShift().DelayToActivate("60"));
  Set("RUN", 1);
  EXPECT_EQ(CycleAt(Open()), "");
  for (int count = 0; count < 59; ++count)
    EXPECT_EQ(CycleAt(Closed()), "");
  EXPECT_EQ(CycleAt(Open()), kActivation);
}

// --- which condition decides ---

TEST_F(EventEvaluation, ActivatesInItsFirstCycleWithoutDelays) {
  Load(Pump());
  Set("RUN", 1);
  StartServer();
  EXPECT_TRUE(Find("Pump")->IsEnabled());
}

TEST_F(EventEvaluation, WhileActionsBeginInTheCycleAfterTheActivation) {
  Make(Pump());
  EXPECT_EQ(Holds(), kActivation);
  EXPECT_EQ(Holds(), "while T=1");
  EXPECT_EQ(Holds(), "while T=2");
}

TEST_F(EventEvaluation, AWhileActionDoesNotRunWhileTheEventWaitsToEnd) {
  Make(Pump().DelayToDeactivate("10"));
  Holds();
  EXPECT_EQ(Fails(), "S=1");
  EXPECT_EQ(Fails(), "S=1");
  EXPECT_EQ(Holds(), "while T=3");
}

TEST_F(EventEvaluation, ActiveEventWithAStopConditionIgnoresItsCondition) {
  Make(Pump().Stop("[P.STOP] = 1"));
  Set("STOP", 0);
  EXPECT_EQ(Holds(), kActivation);
  EXPECT_EQ(Fails(), "while T=1");
  Unset("RUN");  // not even looked at
  EXPECT_EQ(Cycle(), "while T=2");
  Set("STOP", 1);
  EXPECT_EQ(Cycle(), kDeactivation);
}

TEST_F(EventEvaluation, StopConditionSaysNothingOfAnInactiveEvent) {
  Make(Pump().Stop("[P.STOP] = 1"));
  Set("STOP", 1);
  EXPECT_EQ(Fails(), "S=0 T=0");
  EXPECT_EQ(Holds(), kActivation);
  EXPECT_EQ(Holds(), kDeactivation);
  Unset("STOP");
  EXPECT_EQ(Holds(), kActivation);
}

TEST_F(EventEvaluation, StopConditionLetsTheDelayPassToo) {
  Make(Pump().Stop("[P.STOP] = 1").DelayToDeactivate("2"));
  Set("STOP", 1);
  Holds();
  EXPECT_EQ(Holds(), "S=1");
  EXPECT_EQ(Holds(), "S=1");
  Set("STOP", 0);
  EXPECT_EQ(Holds(), "while T=3");
  Set("STOP", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
}

TEST_F(EventEvaluation, StopConditionThatIsNoConditionCountsAsNone) {
  Make(Pump().Stop("[P.STOP] + 1"));
  Set("STOP", 0);
  Holds();
  EXPECT_FALSE(event->HasStopCondition());
  EXPECT_EQ(Fails(), kDeactivation);
}

// --- errors ---

TEST_F(EventEvaluation, EvaluationErrorChangesNothingAndIsNotLogged) {
  Make(Pump());
  Holds();
  Unset("RUN");
  const LogCapture log;
  for (int count = 0; count < 50; ++count)
    EXPECT_EQ(Cycle(), "");
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_TRUE(event->IsEnabled());
  EXPECT_EQ(Fails(), kDeactivation);
}

TEST_F(EventEvaluation, ErrorInTheStopConditionKeepsTheEventActive) {
  Make(Pump().Stop("[P.STOP] = 1"));
  Set("STOP", 0);
  Holds();
  Unset("STOP");
  for (int count = 0; count < 10; ++count)
    EXPECT_EQ(Fails(), "");
  Set("STOP", 1);
  EXPECT_EQ(Fails(), kDeactivation);
}

TEST_F(EventEvaluation, VariableThatNobodyHasIsAnError) {
  Make(EventXml("Pump").Condition("[P.NOBODY] = 1"));
  EXPECT_EQ(Cycle(), "");
}

TEST_F(EventEvaluation, ErrorLetsTheTimeOfAWaitGoOn) {
  Make(Pump().DelayToActivate("3").DelayToDeactivate("3"));
  Holds();
  Unset("RUN");
  Cycle();
  Cycle();
  EXPECT_EQ(Holds(), kActivation);
  Fails();
  Unset("RUN");
  Cycle();
  Cycle();
  EXPECT_EQ(Fails(), kDeactivation);
}

TEST_F(EventEvaluation, ErrorPutsOffTheCleanUp) {
  Make(Pump().Notify());
  Fails();
  event->AddOccurrence()->status = kActivated;
  event->AddOccurrence()->status = kActivated;
  Unset("RUN");
  Cycle();
  EXPECT_EQ(Count(Notified(), "<event>"), 2);
  Fails();
  EXPECT_EQ(Count(Notified(), "<event>"), 1);
}

// Only an evaluation ends a cycle quietly: what an action throws reaches the worker.
TEST_F(EventEvaluation, WhatAnActionThrowsIsNotCaught) {
  Make(Pump());
  onRun = [](ZREventDriver&, int) {
    throw CoreException(Domain::CoreExceptionNS::ExceptionType{});
  };
  Set("RUN", 1);
  EXPECT_THROW(event->Work(ZRDateTime::LTC()), CoreException);
  onRun = [](ZREventDriver&, int) { throw std::out_of_range("probe"); };
  EXPECT_THROW(event->Work(ZRDateTime::LTC()), std::out_of_range);
}

// --- delays ---

// A delay has the grain of the cycle.
TEST_F(EventEvaluation, ActivatesAtTheFirstPassAtOrAfterItsDelay) {
  Load(Pump().DelayToActivate("2.5"));
  Set("RUN", 1);
  StartServer();
  time.Advance(2000);
  EXPECT_FALSE(Find("Pump")->IsEnabled());
  time.Advance(1000);
  EXPECT_TRUE(Find("Pump")->IsEnabled());
}

TEST_F(EventEvaluation, DelayIsOverAtItsLastMillisecond) {
  Make(Pump().DelayToActivate("2.5").DelayToDeactivate("1.25"));
  Holds();
  time.Advance(1499);
  event->Work(ZRDateTime::LTC());
  EXPECT_FALSE(event->IsEnabled()) << "after 2499 ms";
  time.Advance(1);
  EXPECT_EQ(Cycle(), kActivation);
  Fails();
  time.Advance(249);
  event->Work(ZRDateTime::LTC());
  EXPECT_TRUE(event->IsEnabled()) << "after 1249 ms";
  time.Advance(1);
  (void)Trace();
  EXPECT_EQ(Cycle(), kDeactivation);
}

struct tagDelay {
  const char* text;
  int cycles;  // until the event is active, the condition holding
};

TEST_F(EventEvaluation, DelayIsReadFromAnExpressionInSeconds) {
  constexpr tagDelay kDelays[] = {
      {"0", 1},        {"2", 3},         {"2.5", 4},         {"-3", 1},
      {"0.0009", 1},   {"0.001", 2},     {"1 + 1", 3},       {"[P.DELAY] * 2", 5},
      {"[P.NONE]", 1}, {"1 / 0", 1},     {"[P.RUN] = 1", 1}, {"2 seconds", 1},
      {"", 1},         {"[P.DELAY]", 3},
  };
  Set("DELAY", 2);
  Unset("NONE");
  for (const tagDelay& delay : kDelays) {
    SCOPED_TRACE(delay.text);
    Make(Pump().DelayToActivate(delay.text).DelayToDeactivate(delay.text));
    Set("RUN", 1);
    EXPECT_EQ(CyclesUntilItChanges(), delay.cycles);
    Set("RUN", 0);
    // "[P.RUN] = 1" is a condition, and no delay either way.
    EXPECT_EQ(CyclesUntilItChanges(), delay.cycles);
  }
}

TEST_F(EventEvaluation, HasNoDelaysWithoutTheirElements) {
  Make(Pump());
  EXPECT_EQ(Holds(), kActivation);
  EXPECT_EQ(Fails(), kDeactivation);
}

TEST_F(EventEvaluation, DelayIsComputedOnceForAWait) {
  Make(Pump().DelayToActivate("[P.ON]").DelayToDeactivate("[P.OFF]"));
  Set("ON", 2);
  Set("OFF", 3);
  Holds();
  Set("ON", 100);
  EXPECT_EQ(Holds(), "");
  EXPECT_EQ(Holds(), kActivation);
  Fails();
  Set("OFF", 100);
  EXPECT_EQ(Fails(), "S=1");
  EXPECT_EQ(Fails(), "S=1");
  EXPECT_EQ(Fails(), kDeactivation);
}

// A wait that begins anew uses the delay that was computed for the first one.
TEST_F(EventEvaluation, DelayIsKeptUntilTheTransition) {
  Make(Pump().DelayToActivate("[P.ON]").DelayToDeactivate("[P.OFF]"));
  Set("ON", 2);
  Set("OFF", 2);
  Holds();
  Fails();
  Set("ON", 5);
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
  Fails();
  Holds();
  Set("OFF", 4);
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
  // The transition has cleared both.
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 6);
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 5);
}

TEST_F(EventEvaluation, ConditionMustHoldWithoutABreak) {
  Make(Pump().DelayToActivate("3"));
  for (int count = 0; count < 5; ++count) {
    EXPECT_EQ(Holds(), "");
    EXPECT_EQ(Holds(), "");
    EXPECT_EQ(Holds(), "");
    EXPECT_EQ(Fails(), "S=0 T=0");
  }
}

TEST_F(EventEvaluation, ResetsOfTheCountersBeginAWaitAnew) {
  Make(Pump().DelayToActivate("2").DelayToDeactivate("2"));
  Holds();
  Holds();
  event->ResetDelayONCounter();
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
  Fails();
  Fails();
  event->ResetDelayOFFCounter();
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
}

TEST_F(EventEvaluation, WaitThatWouldBeginAtTickZeroBeginsACycleLater) {
  Make(Pump().DelayToActivate("2").DelayToDeactivate("2"));
  time.SetTickCount(0);
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 4);
  time.SetTickCount(0);
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 4);
}

TEST_F(EventEvaluation, WaitGoesOnAcrossTheWrapOfTheTicks) {
  Make(Pump().DelayToActivate("3").DelayToDeactivate("3"));
  time.SetTickCount(0xFFFFFFFFu - 1500);
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 4);
  time.SetTickCount(0xFFFFFFFFu - 500);
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 4);
}

TEST_F(EventEvaluation, DelayBeyondAllMeasureIsTheLongestOne) {
  Make(Pump().DelayToActivate("1000000000000"));
  time.SetTickCount(1);
  Holds();
  time.SetTickCount(0x7FFFFFFFu);  // 2147483646 ms later
  EXPECT_EQ(Holds(), "");
  time.SetTickCount(0x80000000u);
  EXPECT_EQ(Holds(), kActivation);
}

// --- occurrences ---

TEST_F(EventEvaluation, EventThatDoesNotNotifyHasItsOccurrenceWhileActiveOnly) {
  Make(Pump());
  EXPECT_FALSE(event->hasActived());
  Holds();
  EXPECT_TRUE(event->hasActived());
  EXPECT_FALSE(event->hasNotified());
  Holds();
  EXPECT_TRUE(event->hasActived());
  Fails();
  EXPECT_FALSE(event->hasActived());
}

TEST_F(EventEvaluation, OccurrenceThatNobodyAcknowledgesStays) {
  Make(Pump().Notify());
  Holds();
  EXPECT_TRUE(event->hasNotified());
  Fails();
  Fails();
  EXPECT_TRUE(event->hasActived());
  EXPECT_TRUE(event->hasNotified());
  EXPECT_NE(Element(Notified(), "disableDateTime"), "-");
}

TEST_F(EventEvaluation, NewOccurrenceDisplacesTheOneThatWaitsAsTheCycleEnds) {
  Make(Pump().Notify());
  Holds();
  const std::string first = Element(Notified(), "id");
  Fails();
  onRun = [&](ZREventDriver&, int) { EXPECT_EQ(Element(Notified(), "id"), first); };
  Holds();
  EXPECT_EQ(Count(Notified(), "<event>"), 1);
  EXPECT_NE(Element(Notified(), "id"), first);
  EXPECT_FALSE(event->HasEvent(wtouuid(Wide(first))));
  EXPECT_EQ(Element(Notified(), "disableDateTime"), "-");
}

TEST_F(EventEvaluation, CleanUpRemovesFinishedOccurrencesBeforeItCounts) {
  Make(Pump().Notify());
  tagSEventRT* const waiting = event->AddOccurrence();
  waiting->status = kActivated;
  const uuid waitingId = waiting->id;
  event->AddOccurrence()->status = kFinished;
  event->AddOccurrence()->status = kFinished;
  Fails();
  EXPECT_TRUE(event->HasEvent(waitingId)) << "the oldest of one is not displaced";
  EXPECT_EQ(Count(Notified(), "<event>"), 1);
}

TEST_F(EventEvaluation, CleanUpRunsWhileTheTimeTableIsClosed) {
  Make(PumpInShift().Notify());
  event->AddOccurrence()->status = kFinished;
  CycleAt(Closed());
  EXPECT_FALSE(event->hasActived());
}

// The text of an occurrence that ended before is replaced, its mark is refused.
TEST_F(EventEvaluation, DeactivationGivesItsTextToEveryOccurrence) {
  Make(Pump().Notify().With("deaAnnotation", "off &amp; &lt;1&gt;"));
  Holds();
  tagSEventRT* const ended = event->AddOccurrence();
  ended->status = kActivated | kDeactivated;
  ended->deaAnnotation = "of long ago";
  EXPECT_EQ(Fails(), kDeactivation) << "one OFF, for the other one";
  EXPECT_EQ(Str(ended->deaAnnotation), "off & <1>") << "as it is, not escaped";
  EXPECT_FALSE(ended->deactivated.Valid());
}

TEST_F(EventEvaluation, DeactivationTextIsExpandedAnewForEachOccurrence) {
  Make(Pump().Notify().With("deaAnnotation", "%a1").Argument("[P.NONE] + "));
  Holds();
  event->AddOccurrence()->status = kActivated;
  const LogCapture log(kLogConfiguration);
  Fails();
  EXPECT_EQ(log.Lines().size(), 3u) << "the event's own, and two occurrences";
}

TEST_F(EventEvaluation, HasEventByItsOwnIdOrThatOfAnOccurrence) {
  Make(Pump());
  const uuid own = wtouuid(Wide(EventXml::Id(1)));
  EXPECT_FALSE(event->HasEvent(own)) << "without an occurrence";
  const uuid first = event->AddOccurrence()->id;
  const uuid second = event->AddOccurrence()->id;
  EXPECT_NE(first, second);
  EXPECT_TRUE(event->HasEvent(own));
  EXPECT_TRUE(event->HasEvent(first));
  EXPECT_TRUE(event->HasEvent(second));
  EXPECT_FALSE(event->HasEvent(uuid::null));
}

// --- the time that an event is active ---

TEST_F(EventEvaluation, CountsWholeSecondsWhileActive) {
  Make(Pump());
  EXPECT_EQ(event->ActivedSeconds(), 0);
  Holds();
  time.Advance(999);
  EXPECT_EQ(event->ActivedSeconds(), 1);
  time.Advance(1);
  EXPECT_EQ(event->ActivedSeconds(), 2);
  Fails();
  EXPECT_EQ(event->ActivedSeconds(), 0);
  EXPECT_FALSE(event->LastActiveDateTime().Valid());
}

TEST_F(EventEvaluation, TellsSinceWhenItIsActiveInLocalTime) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Asia/Tokyo"));
  Make(Pump());
  Holds();
  EXPECT_EQ(Narrow(event->LastActiveDateTime().ToCompleteWString()),
            "2026-01-01T09:00:00.000+09:00");
  EXPECT_EQ(Narrow(event->GetLastEventActivedDateTime().ToCompleteWString()),
            "2026-01-01T00:00:00.000Z");
  ASSERT_TRUE(ZRDateTime::SetLocalZone(""));
}

// The end by a closing time table leaves the text and the time of the activation.
TEST_F(EventEvaluation, ClosedTimeTableLeavesTextAndTimeOfTheActivation) {
  Make(PumpInShift().With("annotation", "running"));
  Set("RUN", 1);
  CycleAt(Open());
  const ZRDateTime since = event->LastActiveDateTime();
  CycleAt(Closed());
  EXPECT_FALSE(event->IsEnabled());
  EXPECT_EQ(event->LastActiveDateTime(), since);
  EXPECT_TRUE(event->LastActiveDateTime().Valid());
  EXPECT_EQ(event->Annotation(), L"running");
  EXPECT_EQ(event->ActivedSeconds(), 0);
}

}  // namespace

#include <gtest/gtest.h>

#include <stdexcept>

#include "host/tools/zrcoreexception.h"
#include "support/logcapture.h"
#include "support/pumpevent.h"

namespace {

using Domain::CoreExceptionNS::CoreException;
using Domain::CoreExceptionNS::ExceptionType;

// An event with texts for its three transitions.
class EventTransitions : public PumpEvent {
 protected:
  static EventXml PumpWithTexts() {
    return PumpInShift()
        .Notify()
        .With("annotation", "on %b/%e")
        .With("deaAnnotation", "off %b/%e")
        .With("ackAnnotation", "ack %b/%e");
  }

  // What the event shows, as its actions and services see it.
  struct tagSight {
    int moment = -1;
    bool enabled = false;
    bool since = false;  // LastActiveDateTime is valid
    bool occurrence = false;
    std::string annotation, deaAnnotation, ackAnnotation;

    bool operator==(const tagSight&) const = default;
    friend void PrintTo(const tagSight& sight, std::ostream* out) {
      *out << sight.moment << (sight.enabled ? " enabled" : " disabled")
           << (sight.since ? " since" : " -") << (sight.occurrence ? " occurrence" : " -") << " '"
           << sight.annotation << "' '" << sight.deaAnnotation << "' '" << sight.ackAnnotation
           << "'";
    }
  };
  tagSight Look(int moment = -1) const {
    return {moment,
            event->IsEnabled(),
            event->LastActiveDateTime().Valid(),
            event->hasActived(),
            Narrow(event->Annotation()),
            Narrow(event->DeaAnnotation()),
            Narrow(event->AckAnnotation())};
  }
  // Looks at each moment from now on, the activity itself excepted.
  void LookWhileActionsRun() {
    onRun = [this](ZREventDriver&, int moment) {
      if (moment != kMomentWhile) seen.push_back(Look(moment));
    };
  }

  // An occurrence with the mark of an activation, as the event would have made it.
  tagSEventRT* Activated() {
    tagSEventRT* const occurrence = event->AddOccurrence();
    EXPECT_TRUE(event->SetMark(occurrence, kActivated));
    (void)Trace();
    messages.clear();
    return occurrence;
  }
  static std::string Text(const ZRDateTime& date) { return Narrow(date.ToCompleteWString()); }

  std::vector<tagSight> seen;
};

// --- what actions see ---

TEST_F(EventTransitions, ActivateActionsRunBeforeTheEventIsActiveAndHasAnOccurrence) {
  Make(PumpWithTexts().DelayToActivate("1.5"));
  LookWhileActionsRun();
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
  EXPECT_EQ(seen, (std::vector<tagSight>{{kMomentActivate, false, true, false, "on 1/0", "", ""}}));
  EXPECT_EQ(Look(), (tagSight{-1, true, true, true, "on 1/0", "", ""}));
}

TEST_F(EventTransitions, ActivationEmptiesTheTextsOfTheActivityBefore) {
  Make(PumpWithTexts());
  Holds();
  event->SetMark(Activated(), kAcknowledged);
  Fails();
  event->AddOccurrence();
  ASSERT_EQ(Look(), (tagSight{-1, false, false, true, "", "off 0/0", "ack 0/0"}));
  LookWhileActionsRun();
  Holds();
  EXPECT_EQ(seen.at(0), (tagSight{kMomentActivate, false, true, true, "on 0/0", "", ""}))
      << "the occurrence is the one before";
}

// The three endings differ, and must: the first empties the text before the actions run.
TEST_F(EventTransitions, EndWithoutDelayEmptiesTheTextBeforeTheActions) {
  Make(PumpWithTexts());
  Holds();
  LookWhileActionsRun();
  Fails();
  EXPECT_EQ(seen,
            (std::vector<tagSight>{{kMomentDeactivate, false, true, true, "", "off 0/0", ""}}));
  EXPECT_EQ(Look(), (tagSight{-1, false, false, true, "", "off 0/0", ""}));
}

TEST_F(EventTransitions, EndAfterItsDelayEmptiesTheTextBehindTheActions) {
  Make(PumpWithTexts().DelayToDeactivate("2.5"));
  Holds();
  LookWhileActionsRun();
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 4);
  EXPECT_EQ(
      seen,
      (std::vector<tagSight>{{kMomentDeactivate, false, true, true, "on 0/0", "off 0/2", ""}}));
  EXPECT_EQ(Look(), (tagSight{-1, false, false, true, "", "off 0/2", ""}));
}

TEST_F(EventTransitions, EndByAClosedTimeTableKeepsTextAndTime) {
  Make(PumpWithTexts().DelayToDeactivate("7"));
  Holds();
  LookWhileActionsRun();
  CycleAt(Closed());
  EXPECT_EQ(
      seen,
      (std::vector<tagSight>{{kMomentDeactivate, false, true, true, "on 0/0", "off 0/7", ""}}));
  EXPECT_EQ(Look(), (tagSight{-1, false, true, true, "on 0/0", "off 0/7", ""}));
}

// The event's own text shows the delay; the one of the occurrence is expanded when it is cleared.
TEST_F(EventTransitions, DeactivationTextOfAnOccurrenceKnowsNoDelay) {
  Make(PumpWithTexts().DelayToActivate("1").DelayToDeactivate("2"));
  Set("RUN", 1);
  CyclesUntilItChanges();
  Set("RUN", 0);
  CyclesUntilItChanges();
  EXPECT_EQ(event->DeaAnnotation(), L"off 0/2");
  EXPECT_EQ(Element(Notified(), "annotation"), "on 1/0");
  EXPECT_EQ(Element(Notified(), "deaAnnotation"), "off 0/0");
}

// --- new occurrences ---

TEST_F(EventTransitions, NewOccurrenceHasTheTextsOfTheEventInEscapedForm) {
  Make(PumpInShift()
           .Notify()
           .With("annotation", "1 &lt; 2 &amp; \"3\" \xC3\xB1")
           .With("deaAnnotation", "&lt;off&gt;")
           .With("ackAnnotation", "&lt;ack&gt;"));
  Holds();
  event->SetMark(Activated(), kAcknowledged);
  CycleAt(Closed());
  const tagSEventRT& occurrence = *event->AddOccurrence();
  EXPECT_EQ(Str(occurrence.annotation), "1 &lt; 2 &amp; &quot;3&quot; \xC3\xB1");
  EXPECT_EQ(Str(occurrence.deaAnnotation), "&lt;off&gt;");
  EXPECT_EQ(Str(occurrence.ackAnnotation), "&lt;ack&gt;");
  EXPECT_EQ(occurrence.driver, event.get());
  EXPECT_FALSE(occurrence.actived.Valid());
  EXPECT_FALSE(occurrence.deactivated.Valid());
  EXPECT_FALSE(occurrence.acknowledged.Valid());
  EXPECT_TRUE(occurrence.fileName.IsEmpty());
}

TEST_F(EventTransitions, NewOccurrenceIsAcknowledgedFromBirthUnlessTheEventNotifies) {
  Make(Pump());
  EXPECT_EQ(event->AddOccurrence()->status, kAcknowledged);
  Make(Pump().Notify());
  EXPECT_EQ(event->AddOccurrence()->status, 0);
}

TEST_F(EventTransitions, NewOccurrencesHaveIdsOfTheirOwn) {
  Make(Pump());
  const uuid first = event->AddOccurrence()->id;
  EXPECT_NE(first, uuid::null);
  EXPECT_NE(first, event->Id());
  EXPECT_NE(first, event->AddOccurrence()->id);
}

// --- marks ---

TEST_F(EventTransitions, EachMarkSetsItsTimeAndThatOfTheEvent) {
  Make(Pump().Notify());
  tagSEventRT& occurrence = *event->AddOccurrence();
  ASSERT_TRUE(event->SetMark(&occurrence, kActivated));
  const ZRDateTime actived = ZRDateTime::UTC();
  time.Advance(1500);
  EXPECT_FALSE(event->GetLastEventAcknowledgeDateTime().Valid());
  ASSERT_TRUE(event->SetMark(&occurrence, kAcknowledged));
  const ZRDateTime acknowledged = ZRDateTime::UTC();
  time.Advance(1500);
  EXPECT_FALSE(event->GetLastEventDeActivedDateTime().Valid());
  ASSERT_TRUE(event->SetMark(&occurrence, kDeactivated));
  EXPECT_EQ(occurrence.status, kFinished);
  EXPECT_EQ(occurrence.actived, actived);
  EXPECT_EQ(occurrence.acknowledged, acknowledged);
  EXPECT_EQ(occurrence.deactivated, ZRDateTime::UTC());
  EXPECT_EQ(event->GetLastEventActivedDateTime(), occurrence.actived);
  EXPECT_EQ(event->GetLastEventAcknowledgeDateTime(), occurrence.acknowledged);
  EXPECT_EQ(event->GetLastEventDeActivedDateTime(), occurrence.deactivated);
}

TEST_F(EventTransitions, TimesAreInUtcWhateverTheZone) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Asia/Tokyo"));
  Make(Pump().Notify());
  tagSEventRT& occurrence = *event->AddOccurrence();
  for (const int mark : {kActivated, kAcknowledged, kDeactivated})
    ASSERT_TRUE(event->SetMark(&occurrence, mark));
  for (const ZRDateTime& marked :
       {occurrence.actived, occurrence.acknowledged, occurrence.deactivated})
    EXPECT_EQ(Text(marked), "2026-01-01T00:00:00.000Z");
  ASSERT_TRUE(ZRDateTime::SetLocalZone(""));
}

TEST_F(EventTransitions, MarkThatIsNotAllowedDoesNothing) {
  Make(Pump().Notify());
  tagSEventRT& occurrence = *event->AddOccurrence();
  for (const int mark : {kDeactivated, kAcknowledged, 0, 3, 5, 7, 8, -1}) {
    EXPECT_FALSE(event->SetMark(&occurrence, mark)) << mark;
    EXPECT_EQ(occurrence.status, 0);
  }
  EXPECT_FALSE(occurrence.deactivated.Valid());
  EXPECT_FALSE(occurrence.acknowledged.Valid());
  EXPECT_EQ(Trace(), "");
}

TEST_F(EventTransitions, SecondMarkOfAKindIsRefused) {
  Make(Pump().Notify());
  tagSEventRT& occurrence = *Activated();
  ASSERT_TRUE(event->SetMark(&occurrence, kAcknowledged));
  EXPECT_EQ(Trace(), "acknowledge ACK");
  const ZRDateTime first = occurrence.acknowledged;
  time.Advance(1000);
  EXPECT_FALSE(event->SetMark(&occurrence, kAcknowledged));
  EXPECT_FALSE(event->SetMark(&occurrence, kActivated));
  EXPECT_EQ(Trace(), "");
  EXPECT_EQ(occurrence.acknowledged, first);
}

TEST_F(EventTransitions, NobodyAcknowledgesAnEventThatDoesNotNotify) {
  Make(Pump());
  tagSEventRT& occurrence = *Activated();
  EXPECT_FALSE(event->SetMark(&occurrence, kAcknowledged));
  EXPECT_FALSE(occurrence.acknowledged.Valid());
  EXPECT_EQ(Trace(), "");
}

TEST_F(EventTransitions, AcknowledgeActionsSeeTheTextAndNeitherTheMarkNorTheLastTime) {
  Make(PumpWithTexts().With("ackAnnotation", "unread"));
  tagSEventRT& occurrence = *Activated();
  int runs = 0;
  onRun = [&](ZREventDriver& of, int moment) {
    ++runs;
    EXPECT_EQ(moment, kMomentAcknowledge);
    EXPECT_EQ(of.AckAnnotation(), L"ack 0/0");
    EXPECT_EQ(Str(occurrence.ackAnnotation), "ack 0/0");
    EXPECT_TRUE(occurrence.acknowledged.Valid());
    EXPECT_EQ(occurrence.status, kActivated);
    EXPECT_FALSE(of.GetLastEventAcknowledgeDateTime().Valid());
  };
  ASSERT_TRUE(event->SetMark(&occurrence, kAcknowledged));
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(event->GetLastEventAcknowledgeDateTime().Valid());
}

TEST_F(EventTransitions, AcknowledgementTextIsStoredUnescaped) {
  Make(Pump().Notify().With("ackAnnotation", "&lt;seen&gt; &amp; \xC3\xB1"));
  tagSEventRT& occurrence = *Activated();
  ASSERT_TRUE(event->SetMark(&occurrence, kAcknowledged));
  EXPECT_EQ(Str(occurrence.ackAnnotation), "<seen> & \xC3\xB1");
  EXPECT_EQ(event->AckAnnotation(), Wide("<seen> & \xC3\xB1"));
}

// A time that was set in advance stays, and what goes with it isn't done.
TEST_F(EventTransitions, TimeThatIsValidAlreadyIsLeftAlone) {
  Make(Pump().Notify().With("ackAnnotation", "seen"));
  ZRDateTime early;
  early.SetDateTime(2020, 2, 3, 4, 5, 6, 0, 0);
  tagSEventRT& occurrence = *event->AddOccurrence();
  occurrence.actived = occurrence.deactivated = occurrence.acknowledged = early;
  for (const int mark : {kActivated, kAcknowledged, kDeactivated})
    EXPECT_TRUE(event->SetMark(&occurrence, mark));
  EXPECT_EQ(Trace(), "ON ACK OFF") << "and no acknowledge action";
  EXPECT_EQ(occurrence.status, kFinished);
  EXPECT_EQ(occurrence.actived, early);
  EXPECT_EQ(occurrence.deactivated, early);
  EXPECT_EQ(occurrence.acknowledged, early);
  EXPECT_TRUE(event->AckAnnotation().IsEmpty());
  EXPECT_TRUE(occurrence.ackAnnotation.IsEmpty());
  EXPECT_FALSE(event->GetLastEventActivedDateTime().Valid());
  EXPECT_FALSE(event->GetLastEventDeActivedDateTime().Valid());
  EXPECT_FALSE(event->GetLastEventAcknowledgeDateTime().Valid());
}

TEST_F(EventTransitions, AcknowledgementMayComeBeforeOrAfterTheEnd) {
  Make(Pump().Notify());
  tagSEventRT& before = *Activated();
  EXPECT_TRUE(event->SetMark(&before, kAcknowledged));
  EXPECT_EQ(before.status, 5);
  EXPECT_TRUE(event->SetMark(&before, kDeactivated));
  EXPECT_EQ(before.status, 7);
  tagSEventRT& after = *Activated();
  EXPECT_TRUE(event->SetMark(&after, kDeactivated));
  EXPECT_EQ(after.status, 3);
  EXPECT_TRUE(event->SetMark(&after, kAcknowledged));
  EXPECT_EQ(after.status, 7);
}

TEST_F(EventTransitions, ListWithoutListenersIsAsGoodAsNone) {
  ZREventList list;
  Make(Pump().Notify());
  event->SetEventList(&list);
  EXPECT_TRUE(event->SetMark(event->AddOccurrence(), kActivated));
  event->SetEventList(nullptr);
  EXPECT_TRUE(event->SetMark(event->AddOccurrence(), kActivated));
}

// --- the bus ---

TEST_F(EventTransitions, BusHearsEachTransitionWithItsTextAndTheTimeOfTheMessage) {
  EngineCreationPublisherManager::SetEngineUuid(L"engine");
  Make(Pump().Notify().With("ackAnnotation", "seen"));
  tagSEventRT& occurrence = *event->AddOccurrence();
  occurrence.annotation = "h\xC3\xA9";
  occurrence.deaAnnotation = "off";
  messages.clear();
  ZRDateTime early;
  early.SetDateTime(2020, 2, 3, 4, 5, 6, 0, 0);
  occurrence.actived = early;  // not what the bus is told
  for (const int mark : {kActivated, kDeactivated, kAcknowledged}) {
    ASSERT_TRUE(event->SetMark(&occurrence, mark));
    time.Advance(1000);
  }
  EngineCreationPublisherManager::SetEngineUuid(L"");
  const std::string id = EventXml::Id(1);
  EXPECT_EQ(messages,
            (std::vector<std::string>{
                R"({"type":"eventTriggered","engine":"engine","time":"2026-01-01T00:00:00.000Z",)"
                R"("id":")" +
                    id + R"(","transition":"ON","annotation":"h\u00c3\u00a9","text":"h\u00e9"})",
                R"({"type":"eventTriggered","engine":"engine","time":"2026-01-01T00:00:01.000Z",)"
                R"("id":")" +
                    id + R"(","transition":"OFF","annotation":"off","text":"off"})",
                R"({"type":"eventTriggered","engine":"engine","time":"2026-01-01T00:00:02.000Z",)"
                R"("id":")" +
                    id + R"(","transition":"ACK","annotation":"seen","text":"seen"})"}));
}

TEST_F(EventTransitions, BusHearsNothingOfAnEventWithoutRecord) {
  Make(EventXml("Pump").Condition("[P.RUN] = 1").Notify());
  EXPECT_EQ(Holds(), "activate S=1");
  EXPECT_EQ(Fails(), "S=0 T=0 T=0 deactivate S=0 T=0");
  EXPECT_TRUE(messages.size() == 1 && messages[0].find("eventCreated") != std::string::npos);
}

// --- running actions ---

TEST_F(EventTransitions, ExecuteActionsLogsTheMomentTheEventAndEachAction) {
  constexpr const char* kMomentTexts[] = {"ACTIVATE", "WHILE", "DEACTIVATE", "ACKNOWLEDGE"};
  EventXml definition = EventXml::Bare();
  definition.With("id", "AAAAAAAA-0000-4000-8000-00000000000B").With("name", "100% pump");
  Make(definition.Condition("[P.RUN] = 1").Notify());
  for (int moment = 0; moment < kMoments; ++moment) {
    const LogCapture log;
    EXPECT_TRUE(event->ExecuteActions(moment));
    const std::string expected =
        std::string("ZREventDriver::ExecuteActions(") + kMomentTexts[moment] +
        ") about to execute event id 'aaaaaaaa-0000-4000-8000-00000000000b', name '100% pump', 1 "
        "actions...";
    EXPECT_EQ(log.Lines(),
              (std::vector<LogCapture::tagLine>{{kLogTrace, expected},
                                                {kLogTrace, "Executing action '100% pump'..."}}));
  }
  EXPECT_EQ(Trace(), "activate while deactivate acknowledge");
}

TEST_F(EventTransitions, ExecuteActionsLogsAMomentWithoutActions) {
  OwnEvent bare;
  ASSERT_TRUE(bare.LoadText(Pump().Xml()));
  const LogCapture log;
  EXPECT_TRUE(bare.ExecuteActions(kMomentWhile));
  EXPECT_EQ(log.Lines(),
            (std::vector<LogCapture::tagLine>{
                {kLogTrace, "ZREventDriver::ExecuteActions(WHILE) about to execute event id '" +
                                EventXml::Id(1) + "', name 'Pump', 0 actions..."}}));
}

TEST_F(EventTransitions, ActionsRunInTheOrderOfTheirElementsWhateverTheirResult) {
  Make(Pump()
           .Actions("actions", "unknown", "")
           .Actions("actions", "activate",
                    ProbeXml("force", "first") + ProbeXml("force", "second") +
                        ProbeXml("force", "third")));
  event->ExecuteActions(kMomentActivate);
  EXPECT_EQ(Trace(), "first second third") << "each probe answers false";
}

TEST_F(EventTransitions, ActionsOfTheClientsAreNotRun) {
  Make(Pump().Actions("clientActions", "while", ProbeXml("force", "client")));
  ASSERT_TRUE(event->hasClientActions());
  event->ExecuteActions(kMomentWhile);
  EXPECT_EQ(Trace(), "while");
}

TEST_F(EventTransitions, UnknownMomentThrows) {
  Make(Pump());
  for (const int moment : {-1, 4, 5, 1 << 30}) {
    try {
      event->ExecuteActions(moment);
      ADD_FAILURE() << "no exception for " << moment;
    } catch (const CoreException& error) {
      EXPECT_STREQ(error.what(), "Not supported action!");
      EXPECT_EQ(error.Type(), ExceptionType::General);
    }
  }
  EXPECT_EQ(Trace(), "");
}

TEST_F(EventTransitions, ActionThatThrowsEndsTheList) {
  Make(Pump().Actions("actions", "activate", ProbeXml("force", "a") + ProbeXml("force", "b")));
  onRun = [](ZREventDriver&, int) { throw std::out_of_range("probe"); };
  EXPECT_THROW(event->ExecuteActions(kMomentActivate), std::out_of_range);
  EXPECT_EQ(Trace(), "a");
}

TEST_F(EventTransitions, WorkerGivesUpTheProcessorBeforeEachAction) {
  Make(Pump().Actions("actions", "activate", ProbeXml("force", "a") + ProbeXml("force", "b")));
  std::string other;
  ZRThread thread;
  ASSERT_TRUE(thread.Start([&] {
    for (int turn = 0; turn < 3; ++turn) {
      other += Trace() + ";";
      ZRPlatform::Get().Sleep(0);
    }
  }));
  event->ExecuteActions(kMomentActivate);
  thread.Join();
  EXPECT_EQ(other, ";a;b;");
}

}  // namespace

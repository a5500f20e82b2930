#include "support/listtest.h"

namespace {

class RemoteEvents : public ListTest {
 protected:
  // What AddAllNotified shows of an element of `notified` with these dates.
  static std::string Shown(const std::string& on, const std::string& ack, const std::string& off) {
    return "id=L.R.1 idn=Lobby. annotation= deaAnnotation= ackAnnotation= name= description= "
           "dateTime=" +
           on + " ackDateTime=" + ack + " disableDateTime=" + off + " notified=T canAcknowledge=F";
  }
};

// --- steps ---

TEST_F(RemoteEvents, ActivationMakesAnElementWithItsTexts) {
  Active(Step("ACTIVATION")
             .With("idn", "Hall.Pump")
             .With("name", "Pump")
             .With("description", "d")
             .With("annotation", "a")
             .With("deaAnnotation", "b")
             .With("ackAnnotation", "c")
             .On());
  EXPECT_EQ(FirstActive(),
            "id=L.R.1 name=Pump description=d annotation=a deaAnnotation=b ackAnnotation=c "
            "dateTime=on idn=Lobby.Hall.Pump notified=T");
  EXPECT_EQ(NotifiedIds(), "") << "the other section is another matter";
}

TEST_F(RemoteEvents, ActivationOfAnElementRestartsItAndKeepsItsPlace) {
  Notified(Step("ACTIVATION").On());
  Notified(Step("ACTIVATION", "R.2").On());
  Notified(Step("ACKNOWLEDGE").Ack());
  EXPECT_EQ(FirstNotified(), Shown("on", "ack", ""));
  Notified(Step("ACTIVATION").With("idn", "other").On("again"));
  EXPECT_EQ(FirstNotified(), Shown("again", "", "")) << "and `idn` is never updated";
  EXPECT_EQ(NotifiedIds(), "L.R.1 L.R.2");
}

TEST_F(RemoteEvents, ActivationOfAnElementThatHasEndedMakesItActiveAgain) {
  Notified(Step("ACTIVATION").On());
  Notified(Step("DEACTIVATION").Off());
  EXPECT_EQ(FirstNotified(), Shown("on", "", "off"));
  Notified(Step("ACTIVATION").On("again"));
  EXPECT_EQ(FirstNotified(), Shown("again", "", ""));
  Notified(Step("ACKNOWLEDGE").Ack());
  EXPECT_EQ(FirstNotified(), Shown("again", "ack", "")) << "it waits for its end";
}

TEST_F(RemoteEvents, StepOfAnUnknownElementMakesNone) {
  for (const char* why : {"DEACTIVATION", "ACKNOWLEDGE"}) {
    Active(Step(why).Off().Ack());
    Notified(Step(why).Off().Ack());
  }
  EXPECT_EQ(ActiveIds() + NotifiedIds(), "");
}

TEST_F(RemoteEvents, DeactivationEndsAnActiveElementAndNoNotifiedOne) {
  Active(Step("ACTIVATION").On());
  Notified(Step("ACTIVATION").On());
  Active(Step("DEACTIVATION").Off());
  EXPECT_EQ(ActiveIds(), "");
  EXPECT_EQ(FirstNotified(), Shown("on", "", ""));
}

TEST_F(RemoteEvents, NotifiedElementGoesWhenBothStepsHaveComeInEitherOrder) {
  Notified(Step("ACTIVATION").On());
  Notified(Step("ACKNOWLEDGE").Ack());
  EXPECT_EQ(FirstNotified(), Shown("on", "ack", ""));
  Notified(Step("DEACTIVATION").Off());
  EXPECT_EQ(NotifiedIds(), "");
  Notified(Step("ACTIVATION").On());
  Notified(Step("DEACTIVATION").Off());
  EXPECT_EQ(FirstNotified(), Shown("on", "", "off"));
  Notified(Step("ACKNOWLEDGE").Ack());
  EXPECT_EQ(NotifiedIds(), "");
}

TEST_F(RemoteEvents, StepThatComesTwiceChangesNoMoreThanItsDate) {
  Notified(Step("ACTIVATION").On());
  Notified(Step("ACKNOWLEDGE").Ack("1"));
  Notified(Step("ACKNOWLEDGE").Ack("2"));
  EXPECT_EQ(FirstNotified(), Shown("on", "2", ""));
  Notified(Step("DEACTIVATION").Off());
  Notified(Step("ACTIVATION").On());
  Notified(Step("DEACTIVATION").Off("1"));
  Notified(Step("DEACTIVATION").Off("2"));
  EXPECT_EQ(FirstNotified(), Shown("on", "", "2"));
}

TEST_F(RemoteEvents, AcknowledgeOfAnActiveElementEndsItInBothSections) {
  Active(Step("ACTIVATION").On());
  Notified(Step("ACTIVATION").On());
  Notified(Step("ACTIVATION", "R.2").On());
  Active(Step("ACKNOWLEDGE").Ack());
  EXPECT_EQ(ActiveIds(), "");
  EXPECT_EQ(NotifiedIds(), "L.R.2");
  Active(Step("ACKNOWLEDGE", "R.2").Ack());
  EXPECT_EQ(NotifiedIds(), "L.R.2") << "it isn't in the section of active ones";
}

TEST_F(RemoteEvents, UpdateCopiesTextsAndAnEmptyOneToo) {
  const auto step = [](const char* why) {
    return Step(why).With("name", "n").With("annotation", "a").With("canAcknowledge", "T");
  };
  for (const bool isAck : {false, true}) {
    Notified(step("ACTIVATION").On());
    EXPECT_TRUE(list.CanAcknowledge(L"R.1"));
    Notified(Step(isAck ? "ACKNOWLEDGE" : "DEACTIVATION").With("name", "m").With("annotation", ""));
    ZRWString name;
    EXPECT_TRUE(list.EventName(L"R.1", name));
    EXPECT_EQ(name, L"m");
    EXPECT_NE(FirstNotified().find(" annotation= "), std::string::npos);
    EXPECT_FALSE(list.CanAcknowledge(L"R.1")) << "a missing one counts as empty";
  }
}

// --- states ---

TEST_F(RemoteEvents, StateIsTakenByItsDates) {
  Notified(RemoteXml("R.1").With("notified", "T").On().Ack());
  EXPECT_EQ(FirstNotified(), Shown("on", "ack", ""));
  Notified(RemoteXml("R.1").With("notified", "T").On("later").Off());
  EXPECT_EQ(FirstNotified(), Shown("later", "", "off")) << "its activation restarts it";
  Notified(RemoteXml("R.1").With("notified", "T").On().Off().Ack());
  EXPECT_EQ(NotifiedIds(), "");
}

TEST_F(RemoteEvents, StateWithoutAnActivationChangesWhatIsThere) {
  Notified(RemoteXml("R.1").With("notified", "T").Off());
  Notified(RemoteXml("R.1").With("notified", "T").Ack());
  EXPECT_EQ(NotifiedIds(), "");
  Notified(Step("ACTIVATION").On());
  Notified(RemoteXml("R.1").With("notified", "T"));
  EXPECT_EQ(FirstNotified(), Shown("on", "", "")) << "no date, no change";
  Notified(RemoteXml("R.1").With("notified", "T").Ack());
  EXPECT_EQ(FirstNotified(), Shown("on", "ack", ""));
  Notified(RemoteXml("R.1").With("notified", "T").Off());
  EXPECT_EQ(NotifiedIds(), "");
}

TEST_F(RemoteEvents, ActiveStateThatHasEndedIsRemovedAndNothingFurtherHappens) {
  Notified(Step("ACTIVATION").On());
  Active(RemoteXml("R.1").On().Off().Ack());
  EXPECT_EQ(ActiveIds(), "");
  EXPECT_EQ(NotifiedIds(), "L.R.1") << "the acknowledgement finds no active element any more";
  Active(RemoteXml("R.1").On().Ack());
  EXPECT_EQ(ActiveIds() + NotifiedIds(), "");
}

TEST_F(RemoteEvents, UnknownReasonIsAState) {
  for (const char* why : {"activation", "ACTIVATION ", "X", ""}) {
    Notified(RemoteXml("R.1").Why(why).With("notified", "T").On().Ack());
    EXPECT_EQ(FirstNotified(), Shown("on", "ack", "")) << why;
  }
}

TEST_F(RemoteEvents, NothingIsMergedOfNothing) {
  list.UpdateEntry(nullptr, true);
  EXPECT_EQ(ActivePicture(), "<producer></producer>") << "there isn't even a section";
}

// --- ids ---

TEST_F(RemoteEvents, IdMatchesExactlyWhateverItHolds) {
  for (const char* id : {"R.?", "R.1?", "R./1", "R.%ls", "R.1?/event?id=R.2", "R. 1", "r.1"})
    Notified(Step("ACTIVATION", id).With("canAcknowledge", "T").On());
  for (const wchar_t* id :
       {L"R.?", L"R.1?", L"R./1", L"R.%ls", L"R.1?/event?id=R.2", L"R. 1", L"r.1"})
    EXPECT_TRUE(list.CanAcknowledge(id));
  for (const wchar_t* id : {L"R.1", L"R.2", L"R.", L"", L"R.%", L"R.1?/event?id=R.2?", L"*"})
    EXPECT_FALSE(list.CanAcknowledge(id));
  Notified(Step("DEACTIVATION", "R.1?").Off());
  Notified(Step("ACKNOWLEDGE", "R.1?").Ack());
  EXPECT_FALSE(list.CanAcknowledge(L"R.1?"));
  EXPECT_TRUE(list.CanAcknowledge(L"R.?"));
}

TEST_F(RemoteEvents, QuestionsAboutAnElementGoToTheNotifiedSection) {
  ZRWString name(L"as it was");
  EXPECT_FALSE(list.CanAcknowledge(L"R.1"));
  EXPECT_FALSE(list.EventName(L"R.1", name));
  Active(Step("ACTIVATION").With("canAcknowledge", "T").With("name", "n").On());
  EXPECT_FALSE(list.CanAcknowledge(L"R.1"));
  EXPECT_FALSE(list.EventName(L"R.1", name));
  EXPECT_EQ(name, L"as it was");
  for (const char* text : {"F", "", "t", "true"}) {
    Notified(Step("ACTIVATION").With("canAcknowledge", text).With("name", "n").On());
    EXPECT_FALSE(list.CanAcknowledge(L"R.1")) << text;
  }
  EXPECT_TRUE(list.EventName(L"R.1", name));
  EXPECT_EQ(name, L"n");
}

// --- what goes with its driver ---

TEST_F(RemoteEvents, ElementsOfADriverGoFromBothSections) {
  for (const char* id : {"R.1", "S.1", "R.2.3"}) {
    Active(Step("ACTIVATION", id).On());
    Notified(Step("ACTIVATION", id).On());
  }
  list.RemoveDriverEvents(L"r");
  EXPECT_EQ(ActiveIds(), "L.R.1 L.S.1 L.R.2.3") << "exactly that id";
  list.RemoveDriverEvents(L"R");
  EXPECT_EQ(ActiveIds(), "L.S.1");
  EXPECT_EQ(NotifiedIds(), "L.S.1");
  Active(Step("ACTIVATION").On());
  EXPECT_EQ(ActiveIds(), "L.S.1 L.R.1") << "and they can come again";
}

TEST_F(RemoteEvents, ElementsOfDriversThatAreGoneOrOffGoAtEveryPurge) {
  for (const char* id : {"R.1", "S.1", "X.1"}) {
    Active(Step("ACTIVATION", id).On());
    Notified(Step("ACTIVATION", id).On());
  }
  list.RemoveDriverEvents(L"");
  EXPECT_EQ(ActiveIds(), "L.R.1 L.S.1");
  r->online = false;
  list.RemoveDriverEvents(L"Y");
  EXPECT_EQ(ActiveIds(), "L.S.1");
  EXPECT_EQ(NotifiedIds(), "L.S.1");
}

TEST_F(RemoteEvents, ElementWithoutADriverInItsIdGoesAtThePurge) {
  for (const char* id : {"R", "", "."}) {
    Notified(Step("ACTIVATION", id).On());
  }
  EXPECT_EQ(NotifiedCount(), 1) << "of these three one has a point";
  ZRWString name;
  EXPECT_TRUE(list.EventName(L"R", name));
  EXPECT_TRUE(list.EventName(L"", name));
  list.RemoveDriverEvents(L"");
  EXPECT_FALSE(list.EventName(L"R", name));
  EXPECT_FALSE(list.EventName(L"", name));
  EXPECT_FALSE(list.EventName(L".", name));
}

TEST_F(RemoteEvents, PurgeOfAnEmptyListDoesNothing) {
  list.RemoveDriverEvents(L"");
  list.RemoveDriverEvents(L"R");
  EXPECT_EQ(ActivePicture(), "<producer></producer>");
}

}  // namespace

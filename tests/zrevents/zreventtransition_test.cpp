#include "zrevents/zreventtransition.h"

#include <gtest/gtest.h>

#include "support/text.h"
#include "zrevents/zreventstatus.h"

namespace {

// An occurrence with a value of its own in each field.
class Transition : public ::testing::Test {
 protected:
  Transition() {
    occurrence.id = wtouuid(L"cccccccc-0000-4000-8000-000000000001");
    occurrence.status = kFinished;
    occurrence.actived = At(8);
    occurrence.deactivated = At(9);
    occurrence.acknowledged = At(10);
    occurrence.annotation = "on &lt;1&gt; \xC3\xA9";
    occurrence.deaAnnotation = "off <2>";
    occurrence.ackAnnotation = "ack <3>";
    occurrence.reserved1 = "one";
    occurrence.reserved2 = "two";
    occurrence.fileName = L"a file";
    occurrence.driver = reinterpret_cast<ZREventDriver*>(this);  // never followed
  }
  static ZRDateTime At(int hour) {
    ZRDateTime date;
    date.SetDateTime(2026, 3, 1, hour, 0, 0, 0, 0);
    return date;
  }
  [[nodiscard]] tagFeedItem Item(const char* description) const {
    return FeedItem(L"Pump", Wide(description), occurrence, L"Activated");
  }

  tagSEventRT occurrence;
};

TEST_F(Transition, ChangeForListenersNamesTheEventAndASingleTransition) {
  const uuid eventId = wtouuid(L"aaaaaaaa-0000-4000-8000-000000000001");
  for (const int status : {kActivated, kDeactivated, kAcknowledged}) {
    const tagSEventRT change = ListenerChange(occurrence, eventId, status);
    EXPECT_EQ(change.id, eventId);
    EXPECT_EQ(change.status, status);
  }
}

TEST_F(Transition, ChangeForListenersHasTheTimesAndTextsOfTheOccurrence) {
  const tagSEventRT change = ListenerChange(occurrence, uuid::null, kDeactivated);
  EXPECT_EQ(change.actived, At(8));
  EXPECT_EQ(change.deactivated, At(9));
  EXPECT_EQ(change.acknowledged, At(10));
  EXPECT_EQ(Str(change.annotation), "on &lt;1&gt; \xC3\xA9");
  EXPECT_EQ(Str(change.deaAnnotation), "off <2>");
  EXPECT_EQ(Str(change.ackAnnotation), "ack <3>");
  EXPECT_EQ(change.fileName, L"a file");
  EXPECT_EQ(change.driver, occurrence.driver);
}

struct tagText {
  int status;
  const char* annotation;
};

TEST_F(Transition, RecordHasTheTextOfItsTransitionAndTheTimeItWasMade) {
  constexpr tagText kTexts[] = {
      {kActivated, "on &lt;1&gt; \xC3\xA9"}, {kDeactivated, "off <2>"}, {kAcknowledged, "ack <3>"}};
  for (const tagText& expected : kTexts) {
    const tagSEventRT record = TransitionRecord(occurrence, expected.status, At(11));
    EXPECT_EQ(record.id, occurrence.id);
    EXPECT_EQ(record.status, expected.status);
    EXPECT_EQ(record.actived, At(11)) << "not the time of the mark";
    EXPECT_FALSE(record.deactivated.Valid());
    EXPECT_FALSE(record.acknowledged.Valid());
    EXPECT_EQ(Str(record.annotation), expected.annotation);
    EXPECT_EQ(Str(record.deaAnnotation), "off <2>");
    EXPECT_EQ(Str(record.ackAnnotation), "ack <3>");
  }
}

TEST_F(Transition, FeedItemIsTitledByTheEventAndTheTransition) {
  EXPECT_EQ(FeedItem(L"Pump <1>", {}, occurrence, L"Deactivated").title, L"Pump <1> (Deactivated)");
}

TEST_F(Transition, FeedItemHasDescriptionAndActivationTextUnescaped) {
  EXPECT_EQ(Narrow(Item("Too &lt;hot&gt; \xC3\xB1").text),
            "<p><b>Too <hot> \xC3\xB1</b></p><p>on <1> \xC3\xA9</p>");
}

TEST_F(Transition, FeedItemWithoutActivationTextHasTheDescriptionAlone) {
  occurrence.annotation.Clear();
  EXPECT_EQ(Narrow(Item("Too hot").text), "<p><b>Too hot</b></p>");
}

// Without a description the text goes out as it was stored: escaped, and without tags.
TEST_F(Transition, FeedItemWithoutDescriptionIsTheBareActivationText) {
  EXPECT_EQ(Narrow(Item("").text), "on &lt;1&gt; \xC3\xA9");
  occurrence.annotation.Clear();
  EXPECT_EQ(Narrow(Item("").text), "");
}

TEST_F(Transition, CopyOfAnOccurrenceHasEveryField) {
  const tagSEventRT copy = occurrence;
  EXPECT_EQ(copy.id, occurrence.id);
  EXPECT_EQ(copy.status, kFinished);
  EXPECT_EQ(Str(copy.reserved1), "one");
  EXPECT_EQ(Str(copy.reserved2), "two");
  EXPECT_EQ(copy.fileName, L"a file");
  EXPECT_EQ(copy.acknowledged, At(10));
}

}  // namespace

#include <gtest/gtest.h>

#include <thread>

#include "support/golden.h"
#include "support/logcapture.h"
#include "support/pumpevent.h"

namespace {

constexpr const char* kOccurrenceId = "cccccccc-0000-4000-8000-000000000001";

// The elements of one event, streamed and in a document.
class EventElements : public PumpEvent {
 protected:
  EventElements() { EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  ~EventElements() override { EXPECT_TRUE(ZRDateTime::SetLocalZone("")); }

  static EventXml NotifyingPump() { return Pump().Notify(); }

  // An occurrence with all it can have, and the marks given.
  tagSEventRT& Occurrence(int status) {
    tagSEventRT& occurrence = *event->AddOccurrence();
    occurrence.id = wtouuid(Wide(kOccurrenceId));
    occurrence.status = status;
    occurrence.annotation = "on &lt;1&gt; \xC3\xB1";
    occurrence.deaAnnotation = "off";
    occurrence.ackAnnotation = "seen";
    occurrence.actived = At(8);
    occurrence.deactivated = At(9);
    occurrence.acknowledged = At(10);
    return occurrence;
  }
  static ZRDateTime At(int hour) {
    ZRDateTime date;
    date.SetDateTime(2026, 3, 1, hour, 5, 6, 0, 0);
    return date;
  }

  // --- documents ---
  static std::string Code(const XmlDocument& document) {
    ZRString code;
    document.CreateXmlCode(code, true);
    return Str(code);
  }
  std::string ActiveDocument(const char* driverId, const char* driverName) {
    XmlDocument document;
    document.Create(L"producer");
    EXPECT_TRUE(event->ProcessHttpServiceEventsActived(document, Wide(driverId), Wide(driverName)));
    return Code(document);
  }
  std::string NotifiedDocument(const char* driverId, const char* driverName, bool ack = true) {
    XmlDocument document;
    document.Create(L"producer");
    EXPECT_TRUE(
        event->ProcessHttpServiceEventsNotified(document, ack, Wide(driverId), Wide(driverName)));
    return Code(document);
  }
  // The id in the next message of the bus.
  std::string IdOnTheBus() {
    messages.clear();
    event->SetMark(event->AddOccurrence(), kActivated);
    const std::string key = "\"id\":\"";
    const std::size_t from = messages.at(0).find(key) + key.size();
    return messages.at(0).substr(from, messages.at(0).find('"', from) - from);
  }
};

// --- the active service's element ---

TEST_F(EventElements, ActiveEventIsOneElementWithItsTextsEscaped) {
  Make(EventXml("A &lt;pump&gt; &amp; \xC3\xB1")
           .Condition("[P.RUN] = 1")
           .With("idn", "not on the wire")
           .With("description", "\"hot\" &amp; 'wet'")
           .With("annotation", "1 &lt; 2")
           .With("deaAnnotation", "&lt;off&gt;"));
  EXPECT_EQ(Active(), "") << "not active: nothing";
  Holds();
  const std::string id = EventXml::Id(1);
  EXPECT_EQ(Active(),
            "<event><id>" + id + "</id><idn>" + id +
                "</idn><name>A &lt;pump&gt; &amp; \xC3\xB1</name><description>&quot;hot&quot; "
                "&amp; &apos;wet&apos;</description><annotation>1 &lt; "
                "2</annotation><deaAnnotation></deaAnnotation><ackAnnotation></ackAnnotation>"
                "<dateTime>01012026000000</dateTime><notified>F</notified></event>");
  Fails();
  EXPECT_EQ(Active(), "");
}

TEST_F(EventElements, NothingOfAnEarlierDefinitionIsShown) {
  Make(NotifyingPump().With("description", "old"));
  ASSERT_TRUE(event->LoadText(
      EventXml("Fan").Condition("[P.RUN] = 1").Notify().With("description", "new").Xml()));
  Holds();
  for (const std::string& xml : {Active(), Notified()}) {
    XmlDocument document;
    ASSERT_TRUE(document.Parse(xml.c_str())) << xml;
    EXPECT_EQ(document.Root()->Value(L"name", L""), L"Fan");
    EXPECT_EQ(document.Root()->Value(L"description", L""), L"new");
    EXPECT_EQ(Count(xml, "Pump") + Count(xml, "old"), 0) << xml;
  }
}

TEST_F(EventElements, ActiveElementHasTheTextsOfTheEventAndNotOfAnOccurrence) {
  Make(NotifyingPump().With("annotation", "on").With("ackAnnotation", "&lt;seen&gt;"));
  Holds();
  Occurrence(kActivated).annotation = "other";
  event->SetMark(event->AddOccurrence(), kActivated);
  tagSEventRT* const seen = event->AddOccurrence();
  event->SetMark(seen, kActivated);
  event->SetMark(seen, kAcknowledged);
  EXPECT_EQ(Count(Active(), "<event>"), 1);
  EXPECT_EQ(Element(Active(), "annotation"), "on");
  EXPECT_EQ(Element(Active(), "ackAnnotation"), "&lt;seen&gt;");
  EXPECT_EQ(Element(Active(), "notified"), "T");
}

// However often it is asked for in between.
TEST_F(EventElements, ActiveElementFollowsEachChangeOfTheEvent) {
  Make(NotifyingPump().With("annotation", "on").With("ackAnnotation", "seen"));
  Holds();
  const std::string first = Active();
  EXPECT_EQ(Active(), first);
  EXPECT_EQ(Element(first, "ackAnnotation"), "");
  tagSEventRT* const occurrence = event->AddOccurrence();
  event->SetMark(occurrence, kActivated);
  EXPECT_EQ(Active(), first);
  event->SetMark(occurrence, kAcknowledged);
  EXPECT_EQ(Element(Active(), "ackAnnotation"), "seen");
  Fails();
  EXPECT_EQ(Active(), "");
  time.SetUtc(time.UtcMilliseconds() + 1000);
  Holds();
  EXPECT_EQ(Element(Active(), "ackAnnotation"), "");
  EXPECT_NE(Element(Active(), "dateTime"), Element(first, "dateTime"));
  ASSERT_TRUE(event->LoadText(EventXml("Fan").Condition("[P.RUN] = 1").Xml()));
  EXPECT_EQ(Element(Active(), "name"), "Fan");
}

// The longest one that is kept for the next answer, the next one, and one of many pieces.
TEST_F(EventElements, ActiveElementOfAnyLengthIsTheSameEachTime) {
  const auto made = [this](std::size_t length) {
    Make(Pump().With("description", std::string(length, 'd')).With("annotation", "a &amp; b"));
    Holds();
    return Active();
  };
  const std::size_t others = made(1).size() - 1;
  for (const std::size_t size : {2046u, 2047u, 2048u, 50000u}) {
    const std::string first = made(size - others);
    EXPECT_EQ(first.size(), size);
    EXPECT_EQ(Element(first, "description"), std::string(size - others, 'd'));
    EXPECT_EQ(Element(first, "notified"), "F");
    EXPECT_EQ(Active(), first);
  }
}

// Fourteen digits, day first, in UTC.
TEST_F(EventElements, ActiveElementTellsSinceWhenInUtc) {
  time.SetUtc(1'783'026'367'890);  // 2026-07-02T21:06:07.890Z, 23:06:07 in Madrid
  Make(Pump());
  Holds();
  EXPECT_EQ(event->LastActiveDateTime().Hour(), 23);
  EXPECT_EQ(Element(Active(), "dateTime"), "02072026210607");
}

// As long as the clock shows a year that no date can hold.
TEST_F(EventElements, ActiveElementTellsNoTimeThatIsNotValid) {
  Make(EventXml("Pump").Condition("[P.RUN] = 1"));
  time.SetUtc(253'402'300'800'000);  // 10000-01-01T00:00:00Z
  Holds();
  EXPECT_TRUE(event->IsEnabled());
  for (const std::string& xml : {Active(), ActiveDocument("D", "N")}) {
    EXPECT_EQ(Count(xml, "<event>"), 1);
    EXPECT_EQ(Count(xml, "ateTime"), 0);
  }
}

TEST_F(EventElements, IdOfAnEventIsShownInItsOneForm) {
  EventXml definition = EventXml::Bare();
  definition.With("id", "{AAAAAAAA-0000-4000-8000-00000000000B}").With("name", "Pump");
  Make(definition.Condition("1 = 1"));
  Cycle();
  EXPECT_EQ(Element(Active(), "id"), "aaaaaaaa-0000-4000-8000-00000000000b");
  EXPECT_EQ(Element(Active(), "idn"), "aaaaaaaa-0000-4000-8000-00000000000b");
}

TEST_F(EventElements, LongTextsComeOutWhole) {
  const std::string longText(50000, 'x');
  Make(NotifyingPump().With("description", longText).With("annotation", "%t%t"));
  Holds();
  EXPECT_EQ(Element(Active(), "description"), longText);
  EXPECT_EQ(Element(Active(), "annotation"), longText + longText);
  EXPECT_EQ(Element(Notified(), "annotation"), longText + longText);
}

// Whatever a buffer ends in: a sequence of UTF-8, a pair, an escape.
TEST_F(EventElements, LongTextsAreEscapedAsShortOnesAre) {
  std::string pattern;
  for (int count = 0; count < 700; ++count)
    pattern += "<\xC3\xB1\xF0\x9F\x94\xA5&\"x";
  ZRString escaped;
  Text2Xml(escaped, pattern.c_str());
  XmlDocument document;
  document.Create(L"event");
  document.Root()->SetValue(L"id", Wide(EventXml::Id(1)));
  document.Root()->SetValue(L"name", L"Pump");
  document.Root()->SetValue(L"condition", L"1 = 1");
  for (std::size_t shift = 0; shift < 12; ++shift) {
    const std::string start(shift, 'y');
    document.Root()->SetValue(L"description", Wide(start + pattern));
    event = std::make_unique<OwnEvent>();
    ASSERT_TRUE(event->LoadXml(document.Root()));
    Cycle();
    EXPECT_EQ(Element(Active(), "description"), start + Str(escaped)) << shift;
    EXPECT_TRUE(Active().ends_with("</notified></event>"));
  }
}

// --- the notified service's elements ---

TEST_F(EventElements, OccurrenceIsOneElementNamedByItsOwnId) {
  Make(EventXml("A &lt;pump&gt;")
           .Condition("[P.RUN] = 1")
           .Notify()
           .With("description", "&quot;hot&quot;"));
  Occurrence(kFinished);
  EXPECT_EQ(Notified(false),
            std::string("<event><id>") + kOccurrenceId + "</id><idn>" + kOccurrenceId +
                "</idn><name>A &lt;pump&gt;</name><description>&quot;hot&quot;</description>"
                "<annotation>on &lt;1&gt; \xC3\xB1</annotation><deaAnnotation>off</deaAnnotation>"
                "<ackAnnotation>seen</ackAnnotation><dateTime>2026-03-01 08:05:06</dateTime>"
                "<ackDateTime>2026-03-01 10:05:06</ackDateTime><disableDateTime>2026-03-01 "
                "09:05:06</disableDateTime><canAcknowledge>F</canAcknowledge></event>");
  EXPECT_EQ(Element(Notified(true), "canAcknowledge"), "T");
}

// The texts of an occurrence are written as they lie there, also one that isn't escaped.
TEST_F(EventElements, TextsOfAnOccurrenceAreNotEscapedAgain) {
  Make(NotifyingPump().With("annotation", "1 &lt; 2").With("deaAnnotation", "&lt;b&gt;off"));
  Holds();
  Fails();
  EXPECT_EQ(Element(Notified(), "annotation"), "1 &lt; 2");
  EXPECT_NE(Notified().find("<deaAnnotation><b>off</deaAnnotation>"), std::string::npos);
}

TEST_F(EventElements, OccurrencesAreListedInTheirOrder) {
  Make(NotifyingPump());
  Occurrence(kActivated).annotation = "first";
  Occurrence(kActivated | kDeactivated).annotation = "second";
  const std::string xml = Notified();
  EXPECT_EQ(Count(xml, "<event>"), 2);
  EXPECT_LT(xml.find("first"), xml.find("second"));
}

struct tagDates {
  int status;
  bool actived, acknowledged, deactivated;
};

TEST_F(EventElements, DateIsShownOnlyWithItsMark) {
  constexpr tagDates kRows[] = {{1, true, false, false}, {3, true, false, true},
                                {5, true, true, false},  {7, true, true, true},
                                {2, false, false, true}, {4, false, true, false}};
  for (const tagDates& row : kRows) {
    Make(NotifyingPump());
    Occurrence(row.status);
    for (const std::string& xml : {Notified(), NotifiedDocument("D", "N")}) {
      EXPECT_EQ(Element(xml, "dateTime") == "2026-03-01 08:05:06", row.actived) << row.status;
      EXPECT_EQ(Element(xml, "ackDateTime") == "2026-03-01 10:05:06", row.acknowledged);
      EXPECT_EQ(Element(xml, "disableDateTime") == "2026-03-01 09:05:06", row.deactivated);
      EXPECT_EQ(Count(xml, "ateTime>"), 2 * (row.actived + row.acknowledged + row.deactivated));
    }
  }
}

TEST_F(EventElements, MarkWithoutAValidDateShowsNone) {
  Make(NotifyingPump());
  event->AddOccurrence()->status = kFinished;
  for (const std::string& xml : {Notified(), NotifiedDocument("D", "N")}) {
    EXPECT_EQ(Count(xml, "<event>"), 1);
    EXPECT_EQ(Count(xml, "ateTime"), 0);
    XmlDocument document;
    EXPECT_TRUE(document.Parse(xml.c_str()));
  }
}

TEST_F(EventElements, OccurrenceWithoutMarksAndEventThatDoesNotNotifyAreNotShown) {
  Make(NotifyingPump());
  Occurrence(0);
  EXPECT_EQ(Notified(), "");
  Make(Pump());
  Occurrence(kFinished);
  EXPECT_EQ(Notified(), "");
}

// --- documents for listeners ---

TEST_F(EventElements, DocumentsAreTheGoldenFiles) {
  const EventXml definition = NotifyingPump()
                                  .With("idn", "P-1")
                                  .With("description", "Bomba &amp; filtro \xC3\xB1")
                                  .With("annotation", "on &lt;%a1&gt;")
                                  .Argument("[P.RUN]");
  Make(definition);
  Holds();
  EXPECT_EQ(ActiveDocument("remote", "Hall"), Golden("listener-active.xml"));
  Make(definition);
  Occurrence(kActivated);
  Occurrence(kFinished);
  EXPECT_EQ(NotifiedDocument("remote", "Hall", false), Golden("listener-notified.xml"));
}

// The expansions, also the empty one before the event has ended, and not the templates.
TEST_F(EventElements, ActiveDocumentHasTheTextsAsTheyBecame) {
  Make(NotifyingPump()
           .With("annotation", "on %n")
           .With("deaAnnotation", "off %n")
           .With("ackAnnotation", "seen %n"));
  Holds();
  EXPECT_EQ(Element(ActiveDocument("D", "N"), "ackAnnotation"), "");
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id()));
  const std::string xml = ActiveDocument("D", "N");
  EXPECT_EQ(Element(xml, "annotation"), "on Pump");
  EXPECT_EQ(Element(xml, "deaAnnotation"), "");
  EXPECT_EQ(Element(xml, "ackAnnotation"), "seen Pump");
}

TEST_F(EventElements, DocumentWithoutARootIsRefused) {
  Make(NotifyingPump());
  Holds();
  XmlDocument empty;
  EXPECT_FALSE(event->ProcessHttpServiceEventsActived(empty, L"D", L"N"));
  EXPECT_FALSE(event->ProcessHttpServiceEventsNotified(empty, true, L"D", L"N"));
  EXPECT_EQ(IdOnTheBus(), EventXml::Id(1)) << "and nothing has changed";
}

TEST_F(EventElements, DocumentGetsNothingOfAnEventWithoutNews) {
  Make(NotifyingPump());
  Occurrence(0);
  const std::string nothing =
      R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><producer></producer>)";
  EXPECT_EQ(ActiveDocument("D", "N"), nothing);
  EXPECT_EQ(NotifiedDocument("D", "N"), nothing);
  Make(Pump());
  Occurrence(kFinished);
  EXPECT_EQ(NotifiedDocument("D", "N"), nothing);
  EXPECT_EQ(IdOnTheBus(), EventXml::Id(1));
}

TEST_F(EventElements, SectionsOfADocumentAreFoundOrMade) {
  Make(NotifyingPump());
  Holds();
  XmlDocument document;
  document.Create(L"producer");
  document.Root()->NewChild(L"notified", nullptr)->NewChild(L"event", nullptr);
  for (int count = 0; count < 2; ++count) {
    EXPECT_TRUE(event->ProcessHttpServiceEventsActived(document, L"D", L"N"));
    EXPECT_TRUE(event->ProcessHttpServiceEventsNotified(document, true, L"D", L"N"));
  }
  EXPECT_EQ(document.Root()->Size(), 2);
  EXPECT_EQ(document.Root()->Node(L"actived")->Size(), 2);
  EXPECT_EQ(document.Root()->Node(L"notified")->Size(), 3);
}

struct tagNames {
  const char* driverId;
  const char* driverName;
  const char* idn;      // of the event
  const char* wireId;   // "ID" for the event's own
  const char* wireIdn;  // the same
};

TEST_F(EventElements, ListenersSeeIdAndNameBehindThoseOfTheDriver) {
  constexpr tagNames kRows[] = {
      {"D", "N", "17", "D.ID", "N.17"}, {"D", "N", "", "D.ID", "N.ID"},
      {"D", "", "17", "D.ID", "ID"},    {"D", "", "", "D.ID", "ID"},
      {"", "N", "17", ".ID", "N.17"},   {"a.b", "c.d", "17", "a.b.ID", "c.d.17"}};
  const auto withId = [](std::string text) {
    const std::size_t place = text.find("ID");
    return place == std::string::npos ? text : text.replace(place, 2, EventXml::Id(1));
  };
  for (const tagNames& row : kRows) {
    Make(NotifyingPump().With("idn", row.idn));
    Holds();
    Occurrence(kActivated);
    for (const std::string& xml : {ActiveDocument(row.driverId, row.driverName),
                                   NotifiedDocument(row.driverId, row.driverName)}) {
      EXPECT_EQ(Element(xml, "id"), withId(row.wireId));
      EXPECT_EQ(Element(xml, "idn"), withId(row.wireIdn));
    }
  }
}

// All occurrences of an event share its id here.
TEST_F(EventElements, NotifiedDocumentNamesTheEventAndNotTheOccurrence) {
  Make(NotifyingPump());
  Occurrence(kActivated);
  event->AddOccurrence()->status = kActivated;
  EXPECT_EQ(Count(NotifiedDocument("D", "N"), "<id>D." + EventXml::Id(1) + "</id>"), 2);
}

// The active form leaves its id in the event, and the bus sends it; the notified form doesn't.
TEST_F(EventElements, BusSendsTheIdThatAListenerWasGivenLast) {
  Make(NotifyingPump());
  EXPECT_EQ(IdOnTheBus(), EventXml::Id(1));
  NotifiedDocument("D", "N");
  EXPECT_EQ(IdOnTheBus(), EventXml::Id(1));
  Holds();
  ActiveDocument("D", "N");
  EXPECT_EQ(IdOnTheBus(), "D." + EventXml::Id(1));
  ActiveDocument("E", "N");
  EXPECT_EQ(IdOnTheBus(), "E." + EventXml::Id(1)) << "always made from the event's own id";
}

TEST_F(EventElements, ComposedIdIsSeenOnTheBusOnly) {
  Make(NotifyingPump());
  Holds();
  ActiveDocument("D", "N");
  EXPECT_EQ(event->Id(), wtouuid(Wide(EventXml::Id(1))));
  EXPECT_EQ(Element(Active(), "id"), EventXml::Id(1));
  EXPECT_EQ(Element(Active(), "idn"), EventXml::Id(1));
  EXPECT_EQ(Element(ActiveDocument("", ""), "idn"), EventXml::Id(1));
  EXPECT_EQ(Element(NotifiedDocument("D", ""), "id"), "D." + EventXml::Id(1));
  const LogCapture log;
  event->ExecuteActions(kMomentWhile);
  EXPECT_NE(log.Lines().at(0).text.find("event id '" + EventXml::Id(1) + "'"), std::string::npos);
}

// --- acknowledging ---

// By its own id the event's first occurrence is acknowledged, and the others aren't looked at.
TEST_F(EventElements, AcknowledgingAnEventIsForItsFirstOccurrence) {
  Make(NotifyingPump());
  tagSEventRT& first = *event->AddOccurrence();
  tagSEventRT& second = *event->AddOccurrence();
  first.status = kActivated | kDeactivated;
  second.status = kActivated;
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id()));
  EXPECT_EQ(first.status, kFinished);
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id())) << "found, though there is nothing to do";
  EXPECT_EQ(second.status, kActivated);
  EXPECT_EQ(Trace(), "acknowledge ACK");
  Fails();
  EXPECT_TRUE(event->ProcessHttpServiceAck(event->Id())) << "the first one has gone by now";
  EXPECT_EQ(second.status, kActivated | kAcknowledged);
}

TEST_F(EventElements, AcknowledgingAnOccurrenceIsForNoOther) {
  Make(NotifyingPump());
  tagSEventRT& first = *event->AddOccurrence();
  tagSEventRT& second = *event->AddOccurrence();
  first.status = second.status = kActivated;
  EXPECT_TRUE(event->ProcessHttpServiceAck(second.id));
  EXPECT_EQ(first.status, kActivated);
  EXPECT_EQ(second.status, kActivated | kAcknowledged);
  EXPECT_FALSE(event->ProcessHttpServiceAck(wtouuid(Wide(kOccurrenceId))));
  EXPECT_EQ(Trace(), "acknowledge ACK");
}

// --- from many threads ---

// Without virtual time: the sanitizers see whether what services read is safe.
TEST(EventServiceThreads, ReadWhatTheWorkerWrites) {
  const SiteFolder site;
  ZREventServer server;
  OwnEvent event;
  ASSERT_TRUE(event.LoadText(EventXml("Pump")
                                 .Condition("[EVENTTHREADS.RUN] = 1")
                                 .Notify()
                                 .With("annotation", "on %n %b")
                                 .With("deaAnnotation", "off %n %e")
                                 .Xml()));
  TestDriver driver("EVENTTHREADS");
  std::atomic<bool> ends{false};
  const auto read = [&] {
    while (!ends) {
      FakeResponse response;
      event.ProcessHttpServiceEventsActived(response);
      event.ProcessHttpServiceEventsNotified(response, true);
      XmlDocument document;
      document.Create(L"producer");
      EXPECT_TRUE(event.ProcessHttpServiceEventsActived(document, L"D", L"N"));
      EXPECT_TRUE(event.ProcessHttpServiceEventsNotified(document, true, L"D", L"N"));
      EXPECT_GE(event.ActivedSeconds(), 0);
      (void)event.hasNotified();
      (void)event.GetLastEventActivedDateTime();
      (void)event.GetLastEventDeActivedDateTime();
      (void)event.GetLastEventAcknowledgeDateTime();
    }
  };
  {
    ZRThread first;
    ZRThread second;
    ASSERT_TRUE(first.Start(read));
    ASSERT_TRUE(second.Start(read));
    for (int cycle = 0; cycle < 200; ++cycle) {
      driver.Set("RUN", cycle % 2);
      EXPECT_TRUE(event.Work(ZRDateTime::LTC()));
    }
    ends = true;
  }
  EXPECT_TRUE(event.IsEnabled());
}

}  // namespace

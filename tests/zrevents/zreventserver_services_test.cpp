#include <gtest/gtest.h>

#include <memory>

#include "support/accessrule.h"
#include "support/enginetest.h"
#include "support/golden.h"

namespace {

// As the document gives them: rights are asked with this very text.
constexpr const char* kNorth = "BBBBBBBB-0000-4000-8000-00000000000A";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-00000000000b";

constexpr const char* kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>";

// An answer whose parts take their time.
class SlowResponse final : public ZRHttpResponse {
 public:
  SlowResponse(std::uint32_t begin, std::uint32_t end) : beginTime(begin), endTime(end) {}
  void Begin(int newStatus, int) override {
    status = newStatus;
    ZRPlatform::Get().Sleep(beginTime);
  }
  void Write(const ZRBasicString<char>&) override {}
  void Write(const char*, int) override {}
  bool End() override {
    ZRPlatform::Get().Sleep(endTime);
    return true;
  }
  int status = 0;

 private:
  std::uint32_t beginTime;
  std::uint32_t endTime;
};

class EventServices : public EngineTest {
 protected:
  using tagService = bool (ZREventServer::*)(ZRHttpRequest&, ZRHttpResponse&);
  static constexpr tagService kActive = &ZREventServer::ProcessHttpServiceEventsActived;
  static constexpr tagService kNotified = &ZREventServer::ProcessHttpServiceEventsNotified;

  static EventXml Event(const std::string& name, int number) {
    return EventXml(name, number).Condition("[P.RUN" + std::to_string(number) + "] = 1");
  }
  // Events in groups North and South; all of them active, but those of numbers above 8.
  void Serve(const std::vector<EventXml>& events) {
    std::string all;
    for (const EventXml& event : events)
      all += event.Xml();
    LoadXeve(all, GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
    for (int number = 1; number <= 9; ++number)
      Set("RUN" + std::to_string(number), number <= 8 ? 1 : 0);
    StartServer();
  }
  FakeResponse Ask(tagService service, bool deflate = false) {
    FakeRequest request(deflate);
    FakeResponse response;
    EXPECT_TRUE((server.get()->*service)(request, response));
    return response;
  }
  int ActiveCount() {
    FakeRequest request;
    FakeResponse response;
    const int count = server->ActiveEventsCount(request, response);
    EXPECT_EQ(response.begun + response.ended, 0) << "the counter answers nobody";
    return count;
  }
  int NotifiedCount() {
    FakeRequest request;
    FakeResponse response;
    const int count = server->NotifiedEventsCount(request, response);
    EXPECT_EQ(response.begun + response.ended, 0);
    return count;
  }
  // The texts of all elements `tag`, one behind the other.
  static std::string All(const std::string& xml, const std::string& tag) {
    std::string found;
    const std::string opening = "<" + tag + ">";
    for (std::size_t at = xml.find(opening); at != std::string::npos; at = xml.find(opening, at)) {
      at += opening.size();
      found += (found.empty() ? "" : " ") + xml.substr(at, xml.find('<', at) - at);
    }
    return found;
  }
  static bool IsWellFormed(const std::string& xml) {
    XmlDocument document;
    return document.Parse(xml.c_str());
  }
};

// --- the answer as such ---

TEST_F(EventServices, AnswerWithoutEventsIsHeaderAndRoot) {
  Serve({});
  EXPECT_EQ(Ask(kActive).body, std::string(kHeader) + "<activedEvents></activedEvents>");
  EXPECT_EQ(Ask(kNotified).body, std::string(kHeader) + "<notifiedEvents></notifiedEvents>");
  EXPECT_EQ(ActiveCount(), 0);
  EXPECT_EQ(NotifiedCount(), 0);
}

TEST_F(EventServices, KindGoesByWhatTheClientAcceptsAndTheTextIsTheSame) {
  Serve({Event("Pump", 1).Notify()});
  for (const tagService service : {kActive, kNotified}) {
    const FakeResponse plain = Ask(service);
    const FakeResponse deflated = Ask(service, true);
    EXPECT_EQ(plain.status, 200);
    EXPECT_EQ(plain.kind, 3);
    EXPECT_EQ(deflated.status, 200);
    EXPECT_EQ(deflated.kind, 5);
    EXPECT_EQ(plain.body, deflated.body);
    EXPECT_EQ(plain.begun, 1);
    EXPECT_EQ(plain.ended, 1);
    EXPECT_TRUE(IsWellFormed(plain.body));
  }
}

TEST_F(EventServices, ResultIsThatOfTheAnswer) {
  Serve({});
  FakeRequest request;
  FakeResponse response;
  response.endResult = false;
  EXPECT_FALSE(server->ProcessHttpServiceEventsActived(request, response));
  EXPECT_FALSE(server->ProcessHttpServiceEventsNotified(request, response));
}

TEST_F(EventServices, AnswerBeforeTheFirstStartIsWhatTheStoreHolds) {
  LoadXeve(Event("Pump", 1).Xml());
  EXPECT_EQ(Ask(kActive).status, 200);
  EXPECT_EQ(Ask(kActive).body, std::string(kHeader) + "<activedEvents></activedEvents>");
}

// --- the gate ---

TEST_F(EventServices, AnswerAfterStopIsServiceUnavailable) {
  Serve({Event("Pump", 1).Notify()});
  StopServer();
  for (const tagService service : {kActive, kNotified}) {
    for (const bool accepted : {true, false}) {
      FakeRequest request(true);
      FakeResponse response;
      response.endResult = accepted;
      const std::uint32_t before = ZRPlatform::Get().TickCount();
      EXPECT_EQ((server.get()->*service)(request, response), accepted);
      EXPECT_EQ(ZRPlatform::Get().TickCount() - before, 100u) << "the wait for a token";
      EXPECT_EQ(response.status, 503);
      EXPECT_EQ(response.kind, 0);
      EXPECT_EQ(response.body, "");
      EXPECT_EQ(response.begun, 1);
      EXPECT_EQ(response.ended, 1);
    }
  }
  EXPECT_EQ(ActiveCount(), 0);
  EXPECT_EQ(NotifiedCount(), 0);
}

TEST_F(EventServices, AnswersAgainAfterTheNextStart) {
  Serve({Event("Pump", 1).Notify()});
  StopServer();
  Serve({Event("Pump", 1).Notify()});
  EXPECT_EQ(All(Ask(kActive).body, "name"), "Pump");
}

// A token is held from the beginning of the answer to its end, and given back.
TEST_F(EventServices, ThirtyTwoServicesRunAtOnce) {
  constexpr std::pair<std::uint32_t, std::uint32_t> kTimes[] = {{500, 0}, {0, 500}};
  Serve({Event("Pump", 1).Notify()});
  for (const tagService service : {kActive, kNotified}) {
    for (const auto& [begin, end] : kTimes) {
      std::vector<std::unique_ptr<SlowResponse>> responses;
      std::vector<std::unique_ptr<ZRThread>> threads;
      for (int count = 0; count < ZREventServer::kGateTokens; ++count) {
        responses.push_back(std::make_unique<SlowResponse>(begin, end));
        threads.push_back(std::make_unique<ZRThread>());
        ASSERT_TRUE(threads.back()->Start([this, service, response = responses.back().get()] {
          FakeRequest request;
          (server.get()->*service)(request, *response);
        }));
      }
      time.Advance(1);
      EXPECT_EQ(Ask(kActive).status, 503);
      EXPECT_EQ(Ask(kNotified).status, 503);
      EXPECT_EQ(ActiveCount(), 1) << "the counters need no token";
      EXPECT_EQ(NotifiedCount(), 1);
      time.Advance(250);  // 451 ms: the others are gone before this one's wait is over
      EXPECT_EQ(Ask(kActive).status, 200);
      threads.clear();
      for (const auto& response : responses)
        EXPECT_EQ(response->status, 200);
    }
  }
}

// --- which events ---

TEST_F(EventServices, EventsAreListedInTheOrderOfTheirNames) {
  Serve({Event("Pump", 1).Notify(), Event("Boiler", 2).Notify(), Event("Idle", 9).Notify(),
         Event("Fan", 3)});
  EXPECT_EQ(All(Ask(kActive).body, "name"), "Boiler Fan Pump");
  EXPECT_EQ(All(Ask(kActive).body, "notified"), "T F T");
  EXPECT_EQ(All(Ask(kNotified).body, "name"), "Boiler Pump");
  EXPECT_EQ(ActiveCount(), 3);
  EXPECT_EQ(NotifiedCount(), 2);
}

TEST_F(EventServices, EventThatEndedUnacknowledgedIsNotifiedAndNotActive) {
  Serve({Event("Pump", 1).Notify(), Event("Fan", 2)});
  Set("RUN1", 0);
  Set("RUN2", 0);
  Passes();
  EXPECT_EQ(All(Ask(kActive).body, "name"), "");
  EXPECT_EQ(All(Ask(kNotified).body, "name"), "Pump");
  EXPECT_EQ(ActiveCount(), 0);
  EXPECT_EQ(NotifiedCount(), 1);
}

// --- rights ---

TEST_F(EventServices, CallerSeesEventsOfTheGroupsThatRightsAreGrantedOn) {
  Serve({Event("A", 1).Notify().Group(kNorth), Event("B", 2).Notify().Group(kSouth),
         Event("C", 3).Notify().Group(kNorth).Group(kSouth), Event("D", 4).Notify()});
  {
    const AccessRule rule({{7, kSouth}, {8, kNorth}});
    EXPECT_EQ(All(Ask(kActive).body, "name"), "B C");
    EXPECT_EQ(All(Ask(kNotified).body, "name"), "A C");
    EXPECT_EQ(ActiveCount(), 2);
    EXPECT_EQ(NotifiedCount(), 2);
  }
  const AccessRule nothing({});
  for (const tagService service : {kActive, kNotified}) {
    EXPECT_EQ(Ask(service).status, 200);
    EXPECT_EQ(All(Ask(service).body, "name"), "");
  }
  EXPECT_EQ(ActiveCount(), 0);
  EXPECT_EQ(NotifiedCount(), 0);
}

// The rights of the other service, and those on events of remote engines, give nothing.
TEST_F(EventServices, RightOfAnotherKindCountsForNothing) {
  Serve({Event("A", 1).Notify().Group(kNorth)});
  {
    const AccessRule rule({{6, kNorth}, {8, kNorth}, {11, kNorth}, {17, kNorth}});
    EXPECT_EQ(All(Ask(kActive).body, "name"), "");
    EXPECT_EQ(ActiveCount(), 0);
  }
  const AccessRule rule({{6, kNorth}, {7, kNorth}, {11, kNorth}, {18, kNorth}});
  EXPECT_EQ(All(Ask(kNotified).body, "name"), "");
  EXPECT_EQ(NotifiedCount(), 0);
}

TEST_F(EventServices, GroupsAreAskedInTheirOrderUpToTheFirstThatPasses) {
  Serve({Event("A", 1).Notify().Group(kNorth).Group(kSouth).Group(kNorth)});
  AccessRule rule({{7, kSouth}, {8, kSouth}});
  FakeRequest request;
  FakeResponse response;
  const auto asked = [&](std::vector<std::pair<int, std::string>> expected) {
    std::vector<std::pair<int, std::string>> questions;
    for (const AccessRule::tagQuestion& question : rule.asked) {
      EXPECT_EQ(question.request, &request);
      EXPECT_EQ(question.digest, "");
      questions.emplace_back(question.right, question.resource);
    }
    EXPECT_EQ(questions, expected);
    rule.asked.clear();
  };
  server->ProcessHttpServiceEventsActived(request, response);
  asked({{7, kNorth}, {7, kSouth}});
  server->ProcessHttpServiceEventsNotified(request, response);
  asked({{8, kNorth}, {8, kSouth}, {6, kSouth}});
  (void)server->ActiveEventsCount(request, response);
  asked({{7, kNorth}, {7, kSouth}});
  (void)server->NotifiedEventsCount(request, response);
  asked({{8, kNorth}, {8, kSouth}});
}

TEST_F(EventServices, NobodyIsAskedAboutAnEventThatIsNotShown) {
  Serve({Event("Idle", 9).Notify(), Event("Fan", 1)});
  AccessRule rule({});
  Ask(kNotified);
  NotifiedCount();
  EXPECT_TRUE(rule.asked.empty());
  Ask(kActive);
  EXPECT_EQ(rule.asked.size(), 1u);
}

TEST_F(EventServices, EventInSeveralGroupsIsListedOnce) {
  Serve({Event("A", 1).Notify().Group(kNorth).Group(kSouth).Group(kNorth)});
  EXPECT_EQ(All(Ask(kActive).body, "name"), "A");
  EXPECT_EQ(All(Ask(kNotified).body, "name"), "A");
  EXPECT_EQ(ActiveCount(), 1);
  EXPECT_EQ(NotifiedCount(), 1);
}

// The right to acknowledge counts on the very group that lets the event be seen.
TEST_F(EventServices, RightToAcknowledgeOnAnotherGroupDoesNotCount) {
  Serve({Event("A", 1).Notify().Group(kNorth).Group(kSouth)});
  {
    const AccessRule rule({{8, kSouth}, {6, kNorth}});
    EXPECT_EQ(All(Ask(kNotified).body, "canAcknowledge"), "F");
  }
  {
    const AccessRule rule({{8, kSouth}, {6, kSouth}});
    EXPECT_EQ(All(Ask(kNotified).body, "canAcknowledge"), "T");
  }
  {
    const AccessRule rule({{8, kNorth}, {8, kSouth}, {6, kSouth}});
    EXPECT_EQ(All(Ask(kNotified).body, "canAcknowledge"), "F") << "the first group decides";
  }
  EXPECT_EQ(All(Ask(kNotified).body, "canAcknowledge"), "T") << "no users are defined";
}

// Whatever the caller may do. It has none since the fixed groups go while the driver's own load.
TEST_F(EventServices, EventWithoutAGroupIsNeitherListedNorCounted) {
  driver->generate = [](XmlDocument::XmlNode* events, XmlDocument::XmlNode*, const ZRWideMap&) {
    Store().Reset();
    XmlDocument generated;
    ASSERT_TRUE(
        generated.Parse(("<events>" + Event("Alone", 1).Notify().Xml() + "</events>").c_str()));
    *events->NewChild(L"events", nullptr) = *generated.Root();
  };
  Serve({});
  ASSERT_NE(Find("Alone"), nullptr);
  EXPECT_EQ(Find("Alone")->GroupsVectorSize(), 0);
  EXPECT_TRUE(Find("Alone")->IsEnabled());
  EXPECT_TRUE(Find("Alone")->hasNotified());
  EXPECT_EQ(All(Ask(kActive).body + Ask(kNotified).body, "name"), "");
  EXPECT_EQ(ActiveCount(), 0);
  EXPECT_EQ(NotifiedCount(), 0);
}

// --- byte for byte ---

// A site at its work: the boiler and the fan are active, the pump has ended, the spare is idle.
class WireDocuments : public EventServices {
 protected:
  WireDocuments() { EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  ~WireDocuments() override { EXPECT_TRUE(ZRDateTime::SetLocalZone("")); }

  void ServeSite() {
    time.SetUtc(1'772'351'910'500);  // 2026-03-01T07:58:30.500Z
    Set("TEMPERATURE", 93.5);
    driver->SetText("WHO", "A. Smith");
    Serve({Event("Boiler \"2\"", 1)
               .Notify()
               .Group(kNorth)
               .With("description", "Too hot &amp; under pressure")
               .With("annotation",
                     "%n: %a1 \xC2\xB0"
                     "C &gt; 90")
               .Argument("[P.TEMPERATURE]", "1"),
           Event("Fan", 2).Group(kSouth),
           Event("Pump", 3)
               .Notify()
               .Group(kSouth)
               .With("description", "Bomba n\xC3\xBAmero 3")
               .With("annotation", "started")
               .With("deaAnnotation", "stopped by %a1")
               .Argument("[P.WHO]"),
           Event("Spare", 9).Notify()});
    time.Advance(90 * kCycle);
    Set("RUN3", 0);
    Passes();
  }
  // Ids of occurrences are drawn: each becomes the one that the golden file has.
  static std::string WithFixedIds(std::string xml) {
    int number = 0;
    const std::string opening = "<id>";
    for (std::size_t at = xml.find(opening); at != std::string::npos; at = xml.find(opening, at)) {
      at += opening.size();
      const std::string drawn = xml.substr(at, kUuidTextLength);
      EXPECT_NE(wtouuid(Wide(drawn)), uuid::null) << drawn;
      const std::string fixed = "cccccccc-0000-4000-8000-00000000000" + std::to_string(++number);
      for (std::size_t place = xml.find(drawn); place != std::string::npos;
           place = xml.find(drawn, place))
        xml.replace(place, drawn.size(), fixed);
    }
    return xml;
  }
};

TEST_F(WireDocuments, ActiveAnswerIsTheGoldenFileAndTheExampleOfItsPage) {
  ServeSite();
  const AccessRule rule({{7, kNorth}, {7, kSouth}});
  EXPECT_EQ(Ask(kActive).body, Golden("active.xml"));
  EXPECT_EQ(PageExample("docs/wire/active.md"), Golden("active.xml"));
}

TEST_F(WireDocuments, NotifiedAnswerIsTheGoldenFileAndTheExampleOfItsPage) {
  ServeSite();
  const AccessRule rule({{8, kNorth}, {8, kSouth}, {6, kNorth}});
  EXPECT_EQ(WithFixedIds(Ask(kNotified).body), Golden("notified.xml"));
  EXPECT_EQ(PageExample("docs/wire/notified.md"), Golden("notified.xml"));
}

// The host makes this answer of the two counters.
TEST_F(WireDocuments, CountsAreThoseOfTheGoldenFileAndOfTheExampleOfTheirPage) {
  ServeSite();
  const AccessRule rule({{7, kNorth}, {8, kNorth}, {8, kSouth}});
  EXPECT_EQ(std::string(kHeader) + "<counts><actived>" + std::to_string(ActiveCount()) +
                "</actived><notified>" + std::to_string(NotifiedCount()) + "</notified></counts>",
            Golden("counts.xml"));
  EXPECT_EQ(PageExample("docs/wire/counts.md"), Golden("counts.xml"));
}

}  // namespace

#include <array>

#include "host/systemevents/zrsystemeventsserver.h"
#include "support/accessrule.h"
#include "support/enginetest.h"
#include "support/fakesecurity.h"
#include "support/golden.h"
#include "support/listtest.h"
#include "support/probeaction.h"

namespace {

constexpr const char* kNorth = "BBBBBBBB-0000-4000-8000-00000000000A";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-00000000000b";

// An engine with two groups, and the driver of a remote engine.
class Acknowledging : public EngineTest {
 protected:
  Acknowledging() {
    roof =
        static_cast<RemoteDriver*>(ZRDriver::Register(std::make_unique<RemoteDriver>("R", "Roof")));
  }

  static EventXml Event(const std::string& name, int number) {
    return EventXml(name, number).Condition("[P.RUN] = 1").Notify();
  }
  // All of them active.
  void Serve(const std::vector<EventXml>& events) {
    std::string all;
    for (const EventXml& event : events)
      all += event.Xml();
    LoadXeve(all, GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
    Set("RUN", 1);
    StartServer();
  }
  void Remote(const RemoteXml& element) {
    XmlDocument received;
    ASSERT_TRUE(received.Parse(element.Xml().c_str()));
    server->EventList().UpdateEntry(received.Root(), false);
  }
  static RemoteXml RemoteEvent(const std::string& id, const char* canAcknowledge = "T") {
    return RemoteXml(id)
        .Why("ACTIVATION")
        .With("name", "Pump")
        .With("notified", "T")
        .With("canAcknowledge", canAcknowledge)
        .On();
  }

  static std::string Body(const std::string& inside) {
    return "<eventsAck>" + inside + "</eventsAck>";
  }
  static std::string Named(const std::string& id) { return Body("<id>" + id + "</id>"); }
  bool Ask(const std::string& body, const char* user = "") {
    FakeRequest request(false, user);
    return server->ProcessHttpServiceAck(request,
                                         reinterpret_cast<const unsigned char*>(body.c_str()));
  }
  // The ids of the occurrences that the notified service lists, and which are acknowledged.
  std::vector<std::string> Occurrences() { return Values("id"); }
  std::size_t Acknowledged() { return Values("ackDateTime").size(); }
  bool IsAcknowledged(const std::string& name) {
    const std::string xml = NotifiedXml();
    const std::size_t at = xml.find("<name>" + name + "</name>");
    EXPECT_NE(at, std::string::npos) << name;
    return xml.substr(at, xml.find("</event>", at) - at).find("<ackDateTime>") != std::string::npos;
  }

  RemoteDriver* roof = nullptr;

 private:
  std::vector<std::string> Values(const char* tag) {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(NotifiedXml().c_str()));
    std::vector<std::string> values;
    for (auto event = document.Root()->ChildsBegin(); event != document.Root()->ChildsEnd();
         ++event)
      if (!(*event)->ValueUtf8(tag).empty()) values.emplace_back((*event)->ValueUtf8(tag));
    return values;
  }
};

// --- the document ---

TEST_F(Acknowledging, DocumentWithoutIdsIsTakenAndDoesNothing) {
  Serve({Event("A", 1)});
  EXPECT_TRUE(Ask(Body("")));
  EXPECT_TRUE(Ask("<eventsAck/>"));
  EXPECT_EQ(Acknowledged(), 0u);
}

TEST_F(Acknowledging, WhatIsNoSuchDocumentIsRefused) {
  Serve({Event("A", 1)});
  const std::string id = "<id>" + EventXml::Id(1) + "</id>";
  for (const std::string& body :
       {std::string(), std::string("x"), "<eventsAck>" + id, "<EventsAck>" + id + "</EventsAck>",
        "<event>" + id + "</event>", "<!DOCTYPE a><eventsAck>" + id + "</eventsAck>"})
    EXPECT_FALSE(Ask(body)) << body;
  FakeRequest request;
  EXPECT_FALSE(server->ProcessHttpServiceAck(request, nullptr));
  EXPECT_EQ(Acknowledged(), 0u);
}

TEST_F(Acknowledging, OtherElementsAmongTheIdsAreSkipped) {
  Serve({Event("A", 1), Event("B", 2)});
  EXPECT_TRUE(Ask(Body("<ID>" + EventXml::Id(2) + "</ID><x><id>" + EventXml::Id(2) +
                       "</id></x><id>no id</id><id></id><id>" + EventXml::Id(1) + "</id>")));
  EXPECT_TRUE(IsAcknowledged("A"));
  EXPECT_FALSE(IsAcknowledged("B"));
}

TEST_F(Acknowledging, ExampleOfItsPageIsTheGoldenFile) {
  EXPECT_EQ(PageExample("docs/wire/ack.md"), Golden("ack.xml"));
  Serve({Event("A", 1)});
  Remote(RemoteEvent("R.aaaaaaaa-0000-4000-8000-000000000009"));
  EXPECT_TRUE(Ask(Golden("ack.xml")));
  EXPECT_TRUE(IsAcknowledged("A"));
  EXPECT_EQ(roof->acknowledged, std::vector<std::string>{"aaaaaaaa-0000-4000-8000-000000000009"});
}

// --- events of this engine ---

TEST_F(Acknowledging, EventIsNamedByItselfOrByItsOccurrence) {
  Serve({Event("A", 1), Event("B", 2)});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1))));
  EXPECT_TRUE(IsAcknowledged("A"));
  EXPECT_TRUE(Ask(Named(Occurrences().at(1))));
  EXPECT_EQ(Acknowledged(), 2u);
}

TEST_F(Acknowledging, IdIsReadInAnyOfItsForms) {
  Serve({Event("A", 1)});
  EXPECT_TRUE(Ask(Named("{AAAAAAAA-0000-4000-8000-000000000001}")));
  EXPECT_EQ(Acknowledged(), 1u);
}

TEST_F(Acknowledging, WhatIsNoIdOrUnknownIsPassedOver) {
  Serve({Event("A", 1)});
  for (const char* id : {"A", "00000000-0000-0000-0000-000000000000", " ",
                         "aaaaaaaa-0000-4000-8000-000000000002", "*"})
    EXPECT_TRUE(Ask(Named(id))) << id;
  EXPECT_EQ(Acknowledged(), 0u);
}

TEST_F(Acknowledging, AcknowledgedEventThatEndsIsOver) {
  Serve({Event("A", 1)});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1))));
  Set("RUN", 0);
  Passes();
  EXPECT_TRUE(Occurrences().empty());
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)))) << "and then there is nothing to acknowledge";
}

TEST_F(Acknowledging, SecondAcknowledgementChangesNothing) {
  Serve({Event("A", 1)});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1))));
  const std::string before = NotifiedXml();
  Passes(3);
  EXPECT_TRUE(Ask(Named(EventXml::Id(1))));
  EXPECT_EQ(NotifiedXml(), before);
}

TEST_F(Acknowledging, RightIsAskedOfTheGroupsInTheirOrderWithTheDigest) {
  Serve({Event("A", 1).Group(kNorth).Group(kSouth)});
  AccessRule rule({{6, kSouth}});
  const std::string body = Named(EventXml::Id(1));
  std::array<char, ZRHttpAuthorization::kDigestSize> digest{};
  ZRHttpAuthorization::H(body.data(), static_cast<unsigned>(body.size()), digest.data());
  EXPECT_TRUE(Ask(body));
  ASSERT_EQ(rule.asked.size(), 2u);
  EXPECT_EQ(rule.asked[0].resource, kNorth);
  EXPECT_EQ(rule.asked[1].resource, kSouth);
  for (const auto& question : rule.asked) {
    EXPECT_EQ(question.right, 6);
    EXPECT_EQ(question.digest, digest.data());
  }
  SetAccessRule(nullptr, nullptr);
  EXPECT_EQ(Acknowledged(), 1u);
}

TEST_F(Acknowledging, MissingRightStopsNeitherTheOthersNorTheResult) {
  Serve({Event("A", 1).Group(kNorth), Event("B", 2).Group(kSouth)});
  {
    const AccessRule rule({{6, kSouth}});
    EXPECT_TRUE(Ask(Body("<id>" + EventXml::Id(1) + "</id><id>" + EventXml::Id(2) + "</id>")));
  }
  EXPECT_FALSE(IsAcknowledged("A"));
  EXPECT_TRUE(IsAcknowledged("B"));
}

// The search ends at the first event of that id.
TEST_F(Acknowledging, MissingRightIsNotLookedForOnAnotherEventOfTheSameId) {
  Serve({Event("A", 1).Group(kNorth), Event("B", 1).Group(kSouth)});
  {
    const AccessRule rule({{6, kSouth}});
    EXPECT_TRUE(Ask(Named(EventXml::Id(1))));
  }
  EXPECT_EQ(Acknowledged(), 0u);
  const AccessRule rule({{6, kNorth}, {6, kSouth}, {8, kNorth}, {8, kSouth}});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1))));
  EXPECT_TRUE(IsAcknowledged("A"));
  EXPECT_FALSE(IsAcknowledged("B"));
}

// --- the gate ---

TEST_F(Acknowledging, AfterStopIsRefusedAfterTheWaitForAToken) {
  Serve({Event("A", 1)});
  StopServer();
  const std::uint32_t before = ZRPlatform::Get().TickCount();
  EXPECT_FALSE(Ask(Named(EventXml::Id(1))));
  EXPECT_EQ(ZRPlatform::Get().TickCount() - before, 100u);
}

// --- events of remote engines ---

TEST_F(Acknowledging, RemoteEventIsHandedToItsDriver) {
  Serve({});
  Remote(RemoteEvent("R.1"));
  Remote(RemoteEvent("R.2.x.y"));
  Remote(RemoteEvent("R."));
  EXPECT_TRUE(Ask(Body("<id>R.2.x.y</id><id>R.</id><id>R.1</id>")));
  EXPECT_EQ(roof->acknowledged, (std::vector<std::string>{"2.x.y", "", "1"}));
}

TEST_F(Acknowledging, DriverGetsTheRequestItself) {
  Serve({});
  Remote(RemoteEvent("R.1"));
  FakeRequest request;
  const std::string body = Named("R.1");
  EXPECT_TRUE(
      server->ProcessHttpServiceAck(request, reinterpret_cast<const unsigned char*>(body.c_str())));
  EXPECT_EQ(roof->asker, &request);
}

TEST_F(Acknowledging, RemoteEventThatCannotBeAcknowledgedIsHandedToNobody) {
  Serve({});
  Remote(RemoteEvent("R.1", "F"));
  Remote(RemoteEvent("X.1"));
  for (const char* id : {"R.1", "R.2", "X.1", "r.1", ".1", "."})
    EXPECT_TRUE(Ask(Named(id))) << id;
  EXPECT_TRUE(roof->acknowledged.empty());
}

TEST_F(Acknowledging, RemoteEventNeedsTheRightOnItsDriverWithTheDigest) {
  Serve({});
  Remote(RemoteEvent("R.1"));
  {
    AccessRule rule({{6, "R"}, {17, "R"}, {18, "R"}});
    EXPECT_TRUE(Ask(Named("R.1")));
    ASSERT_EQ(rule.asked.size(), 1u);
    EXPECT_EQ(rule.asked[0].right, 16);
    EXPECT_EQ(rule.asked[0].resource, "R");
    EXPECT_EQ(rule.asked[0].digest.size(), 64u);
  }
  EXPECT_TRUE(roof->acknowledged.empty());
  const AccessRule rule({{16, "R"}});
  EXPECT_TRUE(Ask(Named("R.1")));
  EXPECT_EQ(roof->acknowledged.size(), 1u);
}

// --- system events ---

class AcknowledgingOnRecord : public Acknowledging {
 protected:
  AcknowledgingOnRecord() {
    std::string reason;
    EXPECT_TRUE(ZRSystemEventsServer::get().UseDatabase(File(), reason)) << reason;
  }
  ~AcknowledgingOnRecord() override { ZRSystemEventsServer::get().Close(); }

  [[nodiscard]] ZRWString File() const { return Wide((site.path / "events.sqlite").string()); }
  // "class text" of each row.
  [[nodiscard]] std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    std::string reason;
    ZRSystemEventsDatabase database;
    const auto take = [&rows](auto, auto className, auto text) {
      rows.push_back(std::string(className) + " " + std::string(text));
    };
    EXPECT_TRUE(database.OpenToRead(File(), reason) && database.ForEach(take, reason)) << reason;
    return rows;
  }
};

TEST_F(AcknowledgingOnRecord, WithoutUsersLeavesNone) {
  Serve({Event("A", 1)});
  Remote(RemoteEvent("R.1"));
  EXPECT_TRUE(Ask(Body("<id>R.1</id><id>" + EventXml::Id(1) + "</id>")));
  EXPECT_EQ(Acknowledged(), 1u);
  EXPECT_TRUE(Rows().empty());
}

TEST_F(AcknowledgingOnRecord, SaysWhoAcknowledgedWhat) {
  Serve({Event("A", 1)});
  Remote(RemoteEvent("R.1"));
  const FakeSecurity security({});
  EXPECT_TRUE(Ask(Body("<id>R.1</id><id>" + EventXml::Id(1) + "</id>"), "Ann"));
  EXPECT_EQ(Rows(), (std::vector<std::string>{"SystemEventHttpRemoteEventAcknowledge Roof.Pump;Ann",
                                              "SystemEventHttpEventAcknowledge A;Ann"}));
}

TEST_F(AcknowledgingOnRecord, OfThisEngineAreToldEvenIfNothingIsLeftToDo) {
  Serve({Event("A", 1)});
  const FakeSecurity security({});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "Ann"));
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "Ann"));
  EXPECT_EQ(Rows().size(), 2u);
}

TEST_F(AcknowledgingOnRecord, OfThisEngineAreToldBeforeAnythingIsDone) {
  std::vector<std::string> rows;
  const ProbeActions probes({"force"},
                            [&](ZREventDriver&, int, const std::string&) { rows = Rows(); });
  Serve({Event("A", 1).Actions("actions", "acknowledge", ProbeXml("force"))});
  const FakeSecurity security({});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "Ann"));
  EXPECT_EQ(rows, std::vector<std::string>{"SystemEventHttpEventAcknowledge A;Ann"});
  StopServer();
}

TEST_F(AcknowledgingOnRecord, OfThisEngineAreToldEvenIfTheOccurrenceGoesMeanwhile) {
  Serve({Event("A", 1).Group(kNorth)});
  const FakeSecurity security({});
  {
    AccessRule rule({{6, kNorth}});
    rule.onAsk = [this] {
      EXPECT_TRUE(Find("A")->ProcessHttpServiceAck(Find("A")->Id()));
      Set("RUN", 0);
      Passes();
    };
    EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "Ann"));
  }
  EXPECT_FALSE(Find("A")->hasActived());
  EXPECT_EQ(Rows(), std::vector<std::string>{"SystemEventHttpEventAcknowledge A;Ann"});
}

// Its sender may tell of its end at any time.
TEST_F(AcknowledgingOnRecord, OfARemoteEventThatHasGoneMeanwhileHaveItsId) {
  Serve({});
  Remote(RemoteEvent("R.2.x.y"));
  FakeSecurity security({});
  security.onEnabled = [this] { server->EventList().RemoveDriverEvents(L"R"); };
  EXPECT_TRUE(Ask(Named("R.2.x.y"), "Ann"));
  EXPECT_EQ(roof->acknowledged, std::vector<std::string>{"2.x.y"});
  EXPECT_EQ(Rows(),
            std::vector<std::string>{"SystemEventHttpRemoteEventAcknowledge Roof.2.x.y;Ann"});
}

TEST_F(AcknowledgingOnRecord, OfARemoteEventHaveTheNameItHadBeforeTheDriverTookThem) {
  Serve({});
  Remote(RemoteEvent("R.1"));
  roof->onAcknowledge = [this] { server->EventList().RemoveDriverEvents(L"R"); };
  const FakeSecurity security({});
  EXPECT_TRUE(Ask(Named("R.1"), "Ann"));
  EXPECT_EQ(Rows(),
            std::vector<std::string>{"SystemEventHttpRemoteEventAcknowledge Roof.Pump;Ann"});
}

TEST_F(AcknowledgingOnRecord, OfRemoteEnginesAreToldOnceTheDriverHasTakenThem) {
  Serve({});
  Remote(RemoteEvent("R.1"));
  roof->accepts = false;
  const FakeSecurity security({});
  EXPECT_TRUE(Ask(Named("R.1"), "Ann"));
  EXPECT_EQ(roof->acknowledged.size(), 1u);
  EXPECT_TRUE(Rows().empty());
}

TEST_F(AcknowledgingOnRecord, WithoutTheRightAreNotTold) {
  Serve({Event("A", 1).Group(kNorth)});
  const FakeSecurity security({});
  const AccessRule rule({});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "Ann"));
  EXPECT_TRUE(Rows().empty());
}

// Byte by byte, as the name of the user is kept.
TEST_F(AcknowledgingOnRecord, ShowTheBytesOfTheUsersName) {
  Serve({Event("A", 1)});
  const FakeSecurity security({});
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "\xC3\xB1"));
  EXPECT_EQ(Rows(), std::vector<std::string>{"SystemEventHttpEventAcknowledge A;\xC3\x83\xC2\xB1"});
}

TEST_F(Acknowledging, SystemEventsThatAreNotKeptAreNotMade) {
  Serve({Event("A", 1)});
  const FakeSecurity security({});
  EXPECT_FALSE(ZRSystemEventsServer::get().isSaveEventsEnabled());
  EXPECT_TRUE(Ask(Named(EventXml::Id(1)), "Ann"));
  EXPECT_EQ(Acknowledged(), 1u);
}

}  // namespace

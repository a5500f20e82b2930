#include "support/chaintest.h"
#include "support/golden.h"

namespace {

// As the document gives it: rights are asked with this very text.
constexpr const char* kNorth = "BBBBBBBB-0000-4000-8000-00000000000A";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-00000000000b";

// The rounds of the listener thread: one each second, at most.
class Round : public ChainTest {
 protected:
  // The first document, with everything, has gone.
  void Settle() {
    Passes(2);
    wire.requests.clear();
    at.clear();
  }
  // Answers `first` so many times to a host, and then 204; notes when it was asked.
  void Answer(const std::string& host, int first, int times) {
    wire.decide = [=, this](const FakeWire::tagRequest& request) {
      at.push_back(ZRPlatform::Get().TickCount());
      if (request.host != host) return 204;
      return ++asked <= times ? first : 204;
    };
  }
  // A change of the pump.
  void Queue() {
    auto change = std::make_unique<tagSEventRT>();
    change->status = kActivated;
    change->driver = Find("Pump");
    server->EventList().QueueChange(change.release());
  }

  int asked = 0;
  std::vector<std::uint32_t> at;  // ms, of each request since Answer
};

// --- byte for byte ---

class RoundExactly : public Round {
 protected:
  RoundExactly() {
    EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
    time.SetUtc(1'772'351'910'500);  // 2026-03-01T07:58:30.500Z
  }
  ~RoundExactly() override { EXPECT_TRUE(ZRDateTime::SetLocalZone("")); }
  static EventXml FullPump() {
    return Pump().With("description", "Bomba &amp; co").With("annotation", "on");
  }
};

TEST_F(RoundExactly, FirstDocumentIsTheGoldenFileOfItsPage) {
  EXPECT_EQ(PageExample("docs/wire/producer.md"), Golden("producer-all.xml"));
  Serve({FullPump(), EventXml("Fan", 2).Condition("[P.RUN] = 1")});
  EXPECT_EQ(Produce(Produced(RemoteXml("R.1")
                                 .Why("ACTIVATION")
                                 .With("idn", "Roof.Lift")
                                 .With("name", "Lift")
                                 .With("notified", "T")
                                 .On("01032026075800")
                                 .Xml())),
            204);
  Set("RUN", 1);
  Passes();
  Listen("L");
  Passes();
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Put("L")[0], Golden("producer-all.xml"));
}

TEST_F(RoundExactly, DocumentOfChangesIsTheGoldenFile) {
  Serve({FullPump()});
  Listen("L");
  Settle();
  Set("RUN", 1);
  Passes(2);
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Put("L")[0], Golden("producer-changes.xml"));
}

TEST_F(RoundExactly, DocumentOfAUsersClientIsTheGoldenFile) {
  Serve({FullPump()});
  server->AcceptUserListeners(true);
  EXPECT_EQ(Register(WishXml("U").At("u")), 200);
  Settle();
  Set("RUN", 1);
  Passes(2);
  ASSERT_EQ(Put("u").size(), 1u);
  EXPECT_EQ(Put("u")[0], Golden("producer-user.xml"));
}

// --- which document, when ---

TEST_F(Round, WithoutListenersPutsAndQueuesNothing) {
  Serve({Pump()});
  Set("RUN", 1);
  Passes(5);
  EXPECT_TRUE(wire.requests.empty());
  EXPECT_EQ(server->EventList().PendingChangesSize(), 0);
}

TEST_F(Round, NewListenerGetsEverythingOnceAndThenNothing) {
  Serve({Pump()});
  Listen("L");
  Passes();
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Head(Put("L")[0], "all"), "T");
  EXPECT_EQ(Head(Put("L")[0], "driverId"), "L");
  EXPECT_EQ(Head(Put("L")[0], "driverName"), "Lobby");
  Passes(10);
  EXPECT_EQ(Put("L").size(), 1u);
}

TEST_F(Round, GoesToThePortAndPathOfTheListener) {
  Serve({});
  EXPECT_EQ(Register(WishXml("L").At("h", "81")), 204);
  Passes();
  ASSERT_EQ(wire.requests.size(), 2u);
  EXPECT_EQ(wire.requests[1].port, 81);
  EXPECT_EQ(wire.requests[1].path, "/services/events/producer.xml");
  EXPECT_EQ(wire.requests[1].login, "");
}

TEST_F(Round, ChangeGoesToEveryListenerAndIsDroppedOnce) {
  Serve({Pump()});
  Listen("L");
  Listen("M");
  Settle();
  Set("RUN", 1);
  Passes(2);
  for (const char* host : {"L", "M"}) {
    ASSERT_EQ(Put(host).size(), 1u) << host;
    EXPECT_EQ(Head(Put(host)[0], "all"), "F");
    EXPECT_EQ(Told(Put(host)[0], "actived", "whyFired"), "ACTIVATION");
    EXPECT_EQ(Told(Put(host)[0], "notified", "canAcknowledge"), "T");
  }
  EXPECT_EQ(server->EventList().PendingChangesSize(), 0);
}

TEST_F(Round, OfChangesIsADocumentEvenForWhoWantsNoneOfThem) {
  Serve({Pump()});
  EXPECT_EQ(Register(WishXml("L").At("L")), 204);
  Settle();
  Set("RUN", 1);
  Passes(2);
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Put("L")[0],
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><producer>"
            "<driverId>L</driverId><driverName></driverName><all>F</all></producer>");
}

TEST_F(Round, ListenerThatNeedsEverythingMissesTheChanges) {
  Serve({Pump()});
  Listen("L");
  Settle();
  EXPECT_EQ(Produce("<producer><driverId>R</driverId><all>T</all></producer>"), 204);
  Set("RUN", 1);
  Passes(2);
  ASSERT_FALSE(Put("L").empty());
  EXPECT_EQ(Head(Put("L")[0], "all"), "T");
  EXPECT_EQ(server->EventList().PendingChangesSize(), 0);
}

TEST_F(Round, WhatIsQueuedWhileOneIsUnderWayStaysForTheNext) {
  Serve({Pump()});
  Listen("L");
  Settle();
  wire.decide = [&](const FakeWire::tagRequest&) {
    if (asked++ == 0) Queue();
    return 204;
  };
  Queue();
  Passes();
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(server->EventList().PendingChangesSize(), 1);
  Passes();
  EXPECT_EQ(Put("L").size(), 2u);
  EXPECT_EQ(server->EventList().PendingChangesSize(), 0);
}

TEST_F(Round, BeginsWithThePictureOfDriversThatAreOnline) {
  Serve({});
  EXPECT_EQ(Produce(Produced(RemoteXml("R.1").Why("ACTIVATION").On().Xml())), 204);
  EXPECT_EQ(RemoteActive(), "L.R.1");
  roof->online = false;
  Passes();
  EXPECT_EQ(RemoteActive(), "");
}

TEST_F(Round, OfAStartTellsEverythingAgain) {
  Serve({Pump()});
  Listen("L");
  Settle();
  StopServer();
  ASSERT_TRUE(server->LoadCfg());
  StartServer();
  Passes();
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Head(Put("L")[0], "all"), "T");
  EXPECT_EQ(Listeners(), 1);
}

// --- attempts ---

TEST_F(Round, TriesFiveTimesWithASecondBetweenAndDropsTheListener) {
  Serve({});
  Listen("L");
  Answer("L", 500, 1000);
  Passes(5);
  ASSERT_EQ(at.size(), 5u);
  for (std::size_t i = 1; i < at.size(); ++i)
    EXPECT_EQ(at[i] - at[i - 1], 1000u);
  EXPECT_EQ(Listeners(), 0);
  EXPECT_FALSE(server->HasCircularDependence(L"L.1"));
  Passes(5);
  EXPECT_EQ(at.size(), 5u);
}

TEST_F(Round, TakesNothingButNoContentForSuccess) {
  for (const int status : {0, 200, 201, 302, 400, 401, 503}) {
    Serve({});
    wire.decide = nullptr;
    Listen("L");
    asked = 0;
    Answer("L", status, 1000);
    Passes(6);
    EXPECT_EQ(Listeners(), 0) << status;
    EXPECT_EQ(asked, 5) << status;
    StopServer();
  }
}

TEST_F(Round, ListenerThatAnswersTheFifthTimeStays) {
  Serve({});
  Listen("L");
  Answer("L", 500, 4);
  Passes(6);
  EXPECT_EQ(asked, 5);
  EXPECT_EQ(Listeners(), 1);
}

TEST_F(Round, OneThatFailedIsNotSentEverythingBeforeItRegistersAgain) {
  Serve({Pump()});
  Listen("L");
  Listen("M");
  Settle();
  Answer("L", 0, 5);
  Set("RUN", 1);
  Passes(8);
  EXPECT_EQ(Listeners(), 1);
  EXPECT_EQ(Put("M").size(), 1u) << "after the five attempts for the other";
  Listen("L");
  Passes(2);
  EXPECT_EQ(Listeners(), 2);
  EXPECT_EQ(Head(Put("L").back(), "all"), "T");
  EXPECT_EQ(Told(Put("L").back(), "actived", "name"), "Pump");
}

TEST_F(Round, DropsEveryRegistrationOfAFailedId) {
  Serve({});
  server->AcceptUserListeners(true);
  EXPECT_EQ(Register(WishXml("L").At("a")), 200);
  EXPECT_EQ(Register(WishXml("M").At("b")), 200);
  Answer("a", 500, 5);
  Passes(7);
  EXPECT_EQ(Listeners(), 1);
  EXPECT_FALSE(server->HasCircularDependence(L"L.1"));
  EXPECT_TRUE(server->HasCircularDependence(L"M.1"));
}

// With ten dead listeners the others wait for forty seconds, and everybody who registers too.
TEST_F(Round, HoldsTheListenersWhileItTries) {
  Serve({});
  for (int i = 0; i < 23; ++i)
    Listen("L" + std::to_string(i));
  for (int i = 0; i < 10; ++i)
    Listen("dead" + std::to_string(i));
  const std::uint32_t start = ZRPlatform::Get().TickCount();
  std::uint32_t registered = 0;
  wire.decide = [](const FakeWire::tagRequest& request) {
    if (request.host.rfind("dead", 0) != 0) return 204;
    ZRPlatform::Get().Sleep(1000);  // a connection that doesn't come about
    return 0;
  };
  ZRThread late;
  ASSERT_TRUE(late.Start([&] {
    ZRPlatform::Get().Sleep(1500);
    EXPECT_EQ(Register(WishXml("L0").At("L0").With("all", "T")), 204);
    registered = ZRPlatform::Get().TickCount() - start;
  }));
  time.Advance(200'000);
  late.Join();
  EXPECT_EQ(Listeners(), 23);
  EXPECT_GE(registered, 10u * (5 * 1000 + 4 * 1000));
  EXPECT_LE(registered, 10u * (5 * 1000 + 4 * 1000) + 2000);
  EXPECT_EQ(Put("L0").size(), 2u);
}

// --- stopping ---

TEST_F(Round, WithoutATokenOfTheGateKeepsTheListenerForLater) {
  Serve({});
  Listen("L");
  // Stop takes all tokens at once and keeps them: nothing complete is sent any more.
  StopServer();
  EXPECT_TRUE(Put("L").empty());
  StartServer();
  Passes();
  ASSERT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Head(Put("L")[0], "all"), "T");
}

TEST_F(Round, PictureOfRemoteEventsOutlivesAStop) {
  Serve({});
  EXPECT_EQ(Produce(Produced(RemoteXml("R.1").Why("ACTIVATION").On().Xml(),
                             RemoteXml("R.2").Why("ACTIVATION").With("notified", "T").Xml())),
            204);
  StopServer();
  EXPECT_EQ(RemoteActive() + " " + RemoteNotified(), "L.R.1 L.R.2");
  StartServer();
  Passes();
  EXPECT_EQ(RemoteActive() + " " + RemoteNotified(), "L.R.1 L.R.2");
}

// They name events, which go with the store.
TEST_F(Round, ChangesThatComeWhileTheEngineStopsAreDropped) {
  Serve({Pump()});
  Listen("L");
  Settle();
  wire.decide = [this](const FakeWire::tagRequest&) {
    ZRPlatform::Get().Sleep(60'000);  // until Stop has nobody else to wait for
    for (int count = 0; count < 2; ++count)
      Queue();  // one more than the round drops
    return 204;
  };
  Queue();
  Passes();
  StopServer();
  EXPECT_EQ(Put("L").size(), 1u);
  EXPECT_EQ(Listeners(), 1);
  EXPECT_EQ(server->EventList().PendingChangesSize(), 0);
}

// --- rights ---

class RoundWithRights : public Round {
 protected:
  void ServeTwoGroups() {
    Serve({Pump("A", 1).Group(kNorth), Pump("B", 2).Group(kNorth).Group(kSouth),
           Pump("C", 3).Group(kSouth)},
          GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
    Set("RUN", 1);
    Passes(2);
  }
  std::string Everything(const char* user) {
    Listen("L", user);
    Passes();
    return Put("L").back();
  }
};

TEST_F(RoundWithRights, KnowsWhatTheUserOfTheListenerMaySee) {
  ServeTwoGroups();
  const FakeSecurity security({{7, kNorth}, {8, kSouth}, {6, kSouth}});
  const std::string body = Everything("Ann");
  EXPECT_EQ(Told(body, "actived", "name"), "A B");
  EXPECT_EQ(Told(body, "notified", "name"), "B C");
  EXPECT_EQ(Told(body, "notified", "canAcknowledge"), "T T");
}

TEST_F(RoundWithRights, RightToAcknowledgeIsAskedOfTheGroupThatIsSeen) {
  ServeTwoGroups();
  const FakeSecurity security({{8, kNorth}, {6, kSouth}});
  const std::string body = Everything("Ann");
  EXPECT_EQ(Told(body, "notified", "name"), "A B");
  EXPECT_EQ(Told(body, "notified", "canAcknowledge"), "F F");
}

TEST_F(RoundWithRights, RightsAreAskedWithTheIdOfTheGroupAsItIsWritten) {
  ServeTwoGroups();
  const FakeSecurity security({{7, kNorth}, {8, kNorth}, {6, kNorth}});
  const std::string body = Everything("Ann");
  EXPECT_EQ(Told(body, "actived", "name"), "A B");
  EXPECT_EQ(Told(body, "notified", "canAcknowledge"), "T T");
}

TEST_F(RoundWithRights, UserWhoIsNotKnownSeesNothing) {
  ServeTwoGroups();
  const FakeSecurity security({{7, kNorth}, {8, kNorth}, {17, "R"}});
  EXPECT_EQ(Produce(Produced(RemoteXml("R.1").Why("ACTIVATION").On().Xml())), 204);
  const std::string body = Everything("Bob");
  EXPECT_EQ(body.find("<event>"), std::string::npos);
  EXPECT_EQ(Head(body, "all"), "T");
}

TEST_F(RoundWithRights, WithoutUsersEverythingMayBeAcknowledged) {
  ServeTwoGroups();
  const std::string body = Everything("");
  EXPECT_EQ(Told(body, "actived", "name"), "A B C");
  EXPECT_EQ(Told(body, "notified", "canAcknowledge"), "T T T");
}

TEST_F(RoundWithRights, WishesOfTheListenerAreKept) {
  ServeTwoGroups();
  EXPECT_EQ(Register(WishXml("A").At("a").With("actived", "T")), 204);
  EXPECT_EQ(Register(WishXml("N").At("n").With("notified", "T")), 204);
  Passes();
  EXPECT_EQ(Told(Put("a")[0], "actived", "name"), "A B C");
  EXPECT_EQ(Told(Put("a")[0], "notified", "name"), "no section");
  EXPECT_EQ(Told(Put("n")[0], "actived", "name"), "no section");
  EXPECT_EQ(Told(Put("n")[0], "notified", "name"), "A B C");
}

TEST_F(Round, OccurrenceThatEndedButWaitsIsInTheCompleteDocument) {
  Serve({Pump()});
  Set("RUN", 1);
  Passes(2);
  Set("RUN", 0);
  Passes(2);
  Listen("L");
  Passes();
  EXPECT_EQ(Told(Put("L")[0], "actived", "name"), "no section");
  EXPECT_EQ(Told(Put("L")[0], "notified", "name"), "Pump");
}

}  // namespace

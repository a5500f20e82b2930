#include "support/enginetest.h"
#include "support/fakewire.h"
#include "support/golden.h"
#include "support/listtest.h"

namespace {

constexpr const char* kNorth = "BBBBBBBB-0000-4000-8000-00000000000A";
constexpr const char* kDefaultGroup = "22222222-2222-2222-2222-222222222222";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-00000000000b";

// A client that takes its time over each part of the answer.
class SlowClient final : public ZRHttpResponse {
 public:
  void Begin(int, int) override {}
  void Write(const ZRBasicString<char>&) override { Take(); }
  void Write(const char*, int) override { Take(); }
  bool End() override { return true; }

 private:
  static void Take() { ZRPlatform::Get().Sleep(500); }
};

// Changes of an engine's own events and of remote ones, in the list of the engine.
class ListenerChanges : public EngineTest {
 protected:
  ListenerChanges() {
    EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
    time.SetUtc(1'772'351'909'500);  // 2026-03-01T07:58:29.500Z
    listener.driverName = L"Lobby";
    listener.user = L"Ann";
    listener.actived = true;
    listener.notified = true;
  }
  ~ListenerChanges() override {
    AnswerAtLast();
    StopServer();
    EXPECT_TRUE(ZRDateTime::SetLocalZone(""));
  }

  ZREventList& List() { return server->EventList(); }

  static EventXml Pump() {
    return EventXml("Pump", 1)
        .Condition("[P.RUN] = 1")
        .Notify()
        .With("description", "Bomba")
        .With("annotation", "on at %a1")
        .With("deaAnnotation", "off at %a1")
        .With("ackAnnotation", "seen")
        .Argument("[P.RUN]");
  }
  static EventXml Fan() { return EventXml("Fan", 2).Condition("[P.RUN] = 1"); }

  // The events are loaded, and somebody listens who doesn't answer his first document: the changes
  // stay.
  void Serve(const std::vector<EventXml>& events) {
    std::string all;
    for (const EventXml& event : events)
      all += event.Xml();
    LoadXeve(all, GroupXml(kNorth, "North") + GroupXml(kSouth, "South"));
    Set("RUN", 0);
    StartServer();
    FakeRequest request;
    const std::string wish = "<listener><driverId>X</driverId><ip>x</ip><port>80</port></listener>";
    ASSERT_EQ(server->ProcessHttpServiceRegisterListener(
                  request, reinterpret_cast<const unsigned char*>(wish.c_str())),
              204);
    wire.decide = [this](const FakeWire::tagRequest&) {
      (void)hold.Acquire(ZRPlatform::kInfinite);
      return 204;
    };
    ASSERT_TRUE(hold.Acquire(0));
    Passes();
  }
  // The pump starts, is acknowledged and stops.
  void RunAndAcknowledge() {
    Set("RUN", 1);
    Passes();
    EXPECT_TRUE(Find("Pump")->ProcessHttpServiceAck(Find("Pump")->Id()));
    Set("RUN", 0);
    Passes();
  }
  void QueueRemote(const RemoteXml& element, bool isActive) {
    XmlDocument received;
    ASSERT_TRUE(received.Parse(element.Xml().c_str()));
    List().QueueRemoteChange(received.Root(), isActive);
  }
  // A step of a remote pump, in both sections.
  void QueueRemoteStep(const std::string& id, const std::string& why) {
    const RemoteXml element = RemoteXml(id)
                                  .Why(why)
                                  .With("idn", "Roof.Pump")
                                  .With("name", "Pump &amp; co")
                                  .With("description", "d")
                                  .With("annotation", "a")
                                  .With("deaAnnotation", "b")
                                  .With("ackAnnotation", "c")
                                  .With("notified", "T")
                                  .With("canAcknowledge", "T")
                                  .On("01032026075830")
                                  .Off("2026-03-01 08:00:00")
                                  .Ack("2026-03-01 07:59:00");
    QueueRemote(element, true);
    QueueRemote(element, false);
  }

  void AnswerAtLast() { hold.Release(); }

  // The document of a pass, as the listener thread makes it.
  std::string Document() {
    return Document(List().PendingChangesSize(), List().PendingRemoteChangesSize());
  }
  std::string Document(int local, int remote) {
    XmlDocument document;
    document.Create(L"producer");
    if (!listener.isUser) List().AddNotifiedChanges(document, listener, local, remote);
    List().AddActivedChanges(document, listener, local, remote);
    ZRString code;
    document.CreateXmlCode(code, true);
    return Str(code);
  }
  // The values of all elements "event" of a section, one line for each.
  std::string Told(const char* section, const char* key) {
    return Told(section, key, List().PendingChangesSize(), List().PendingRemoteChangesSize());
  }
  std::string Told(const char* section, const char* key, int local, int remote) {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(Document(local, remote).c_str()));
    std::string text;
    const auto* const list = document.Root()->Child(section);
    if (list == nullptr) return "no section";
    for (auto event = list->ChildsBegin(); event != list->ChildsEnd(); ++event)
      text += (text.empty() ? "" : " ") + std::string((*event)->ValueUtf8(key));
    return text;
  }

  ZREventListener listener{L"L", "", 0};

 private:
  FakeWire wire;
  ZRSemaphore hold{1};  // given when it may answer
};

// --- byte for byte ---

TEST_F(ListenerChanges, OfAnEngineAreTheGoldenFile) {
  Serve({Pump(), Fan()});
  RunAndAcknowledge();
  for (const char* why : {"ACTIVATION", "ACKNOWLEDGE", "DEACTIVATION", "ELSE"})
    QueueRemoteStep("R.1", why);
  EXPECT_EQ(Document(), Golden("changes-engine.xml"));
}

TEST_F(ListenerChanges, OfAUsersClientAreTheGoldenFile) {
  Serve({Pump(), Fan()});
  listener.isUser = true;
  RunAndAcknowledge();
  for (const char* why : {"ACTIVATION", "ACKNOWLEDGE", "DEACTIVATION", "ELSE"})
    QueueRemoteStep("R.1", why);
  EXPECT_EQ(Document(), Golden("changes-user.xml"));
}

TEST_F(ListenerChanges, WithRightsAreTheGoldenFile) {
  Serve({Pump().Group(kNorth).Group(kSouth), Fan().Group(kNorth)});
  const FakeSecurity security({{7, kSouth}, {8, kSouth}, {6, kNorth}, {17, "S"}, {18, "R"}});
  RunAndAcknowledge();
  QueueRemoteStep("R.1", "ACTIVATION");
  QueueRemoteStep("S.1", "ACTIVATION");
  EXPECT_EQ(Document(), Golden("changes-rights.xml"));
}

// --- which changes ---

TEST_F(ListenerChanges, OfActiveEventsHaveNoAcknowledgement) {
  Serve({Pump()});
  RunAndAcknowledge();
  EXPECT_EQ(Told("actived", "whyFired"), "ACTIVATION DEACTIVATION");
  EXPECT_EQ(Told("notified", "whyFired"), "ACTIVATION ACKNOWLEDGE DEACTIVATION");
}

TEST_F(ListenerChanges, OfNotifiedEventsHaveNoEventThatAsksForNothing) {
  Serve({Fan()});
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Told("actived", "notified"), "F");
  EXPECT_EQ(Told("notified", "id"), "");
}

TEST_F(ListenerChanges, SayTheTemplatesAndNotWhatTheyBecame) {
  Serve({Pump()});
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Told("actived", "annotation"), "on at %a1");
  EXPECT_EQ(Told("notified", "deaAnnotation"), "off at %a1");
  EXPECT_EQ(Told("notified", "ackAnnotation"), "seen");
}

TEST_F(ListenerChanges, SayWhetherTheEventIsNotifiedAtPresent) {
  Serve({Pump()});
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Told("actived", "notified"), "T");
  EXPECT_TRUE(Find("Pump")->ProcessHttpServiceAck(Find("Pump")->Id()));
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Told("actived", "notified"), "F F") << "its occurrence is gone";
  EXPECT_EQ(Told("notified", "notified"), "T T T");
}

// Also while everybody may do everything.
TEST_F(ListenerChanges, OfAnEventWithoutGroupsReachNobody) {
  Serve({});
  ZREventDriver groupless;
  for (const int status : {kActivated, kDeactivated, kAcknowledged}) {
    auto change = std::make_unique<tagSEventRT>();
    change->status = status;
    change->driver = &groupless;
    List().QueueChange(change.release());
  }
  EXPECT_EQ(Told("actived", "id") + Told("notified", "id"), "");
  List().DropChanges(0);
}

// A mark without its date gives neither date nor reason.
TEST_F(ListenerChanges, WithoutADateHaveNoReason) {
  Serve({Pump()});
  for (const int status : {kActivated, kDeactivated}) {
    auto change = std::make_unique<tagSEventRT>();
    change->status = status;
    change->driver = Find("Pump");
    List().QueueChange(change.release());
  }
  EXPECT_EQ(Told("actived", "name"), "Pump Pump");
  EXPECT_EQ(Document().find("whyFired"), std::string::npos);
  EXPECT_EQ(Document().find("ateTime"), std::string::npos);
}

TEST_F(ListenerChanges, OfALaterPassStayForIt) {
  Serve({Pump()});
  RunAndAcknowledge();
  EXPECT_EQ(List().PendingChangesSize(), 3);
  const std::string first = Document(1, 0);
  EXPECT_NE(first.find("ACTIVATION"), std::string::npos);
  EXPECT_EQ(first.find("DEACTIVATION"), std::string::npos);
  List().DropChanges(1);
  EXPECT_EQ(Told("notified", "whyFired"), "ACKNOWLEDGE DEACTIVATION");
}

TEST_F(ListenerChanges, OfCountsThatCannotBeAddNothing) {
  Serve({Pump()});
  RunAndAcknowledge();
  QueueRemoteStep("R.1", "ACTIVATION");
  const std::string nothing = Document(0, 0);
  EXPECT_EQ(nothing.find("<event>"), std::string::npos);
  EXPECT_NE(nothing.find("<actived></actived>"), std::string::npos);
  for (const auto& [local, remote] :
       {std::pair{4, 0}, std::pair{-1, 0}, std::pair{0, 3}, std::pair{0, -1}, std::pair{1, 3}}) {
    EXPECT_EQ(Document(local, remote),
              R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><producer></producer>)")
        << local << remote;
  }
}

TEST_F(ListenerChanges, IntoADocumentWithoutRootAreNone) {
  Serve({Pump()});
  RunAndAcknowledge();
  QueueRemoteStep("R.1", "ACTIVATION");
  for (const bool isUser : {false, true}) {
    listener.isUser = isUser;
    XmlDocument document;
    List().AddActivedChanges(document, listener, 3, 2);
    List().AddNotifiedChanges(document, listener, 3, 2);
    EXPECT_FALSE(document.IsOK());
  }
}

// What is counted is what waits, whether or not it is shown.
TEST_F(ListenerChanges, ThatAreNotShownUseUpTheirTurn) {
  Serve({Fan(), Pump()});
  Set("RUN", 1);
  Passes();
  EXPECT_EQ(Told("notified", "name", 1, 0), "") << "the fan asks for nothing";
  EXPECT_EQ(Told("notified", "name", 2, 0), "Pump");
  List().DropChanges(2);
  EXPECT_TRUE(Find("Pump")->ProcessHttpServiceAck(Find("Pump")->Id()));
  Set("RUN", 0);
  Passes();
  EXPECT_EQ(Told("actived", "name", 1, 0), "") << "an acknowledgement";
  EXPECT_EQ(Told("actived", "name", 2, 0), "Fan");
  QueueRemoteStep("R.1", "ACKNOWLEDGE");
  QueueRemoteStep("R.2", "ACTIVATION");
  EXPECT_EQ(Told("actived", "id", 0, 2), "");
  EXPECT_EQ(Told("actived", "id", 0, 3), "L.R.2");
  EXPECT_EQ(Told("notified", "id", 0, 1), "");
  EXPECT_EQ(Told("notified", "id", 0, 2), "L.R.1");
}

TEST_F(ListenerChanges, GoToWhoWantsThem) {
  Serve({Pump()});
  RunAndAcknowledge();
  listener.actived = false;
  EXPECT_EQ(Told("actived", "id"), "no section");
  EXPECT_NE(Told("notified", "id"), "");
  listener.actived = true;
  listener.notified = false;
  EXPECT_EQ(Told("notified", "id"), "no section");
  EXPECT_NE(Told("actived", "id"), "");
}

TEST_F(ListenerChanges, OfRemoteEventsKeepToTheirSection) {
  Serve({});
  QueueRemote(RemoteXml("R.1").Why("ACTIVATION").With("notified", "T"), true);
  QueueRemote(RemoteXml("R.2").Why("ACTIVATION").With("notified", "T"), false);
  QueueRemote(RemoteXml("R.3").Why("ACTIVATION").With("notified", "F"), false);
  QueueRemote(RemoteXml("R.4").With("notified", "T"), true);
  QueueRemote(RemoteXml("R.5").With("notified", "T"), false);
  QueueRemote(RemoteXml("R").Why("ACTIVATION").With("notified", "T"), true);
  QueueRemote(RemoteXml("R").Why("ACTIVATION").With("notified", "T"), false);
  EXPECT_EQ(Told("actived", "id"), "L.R.1");
  EXPECT_EQ(Told("notified", "id"), "L.R.2 L.R.5");
}

TEST_F(ListenerChanges, NameTheirWayAlsoWithoutADriverName) {
  Serve({Pump()});
  listener.driverName = L"";
  Set("RUN", 1);
  Passes();
  QueueRemoteStep("R.1", "ACTIVATION");
  for (const char* section : {"actived", "notified"})
    EXPECT_EQ(Told(section, "idn"), "." + EventXml::Id(1) + " .Roof.Pump");
}

// --- rights ---

// With the very text that the group was configured with.
TEST_F(ListenerChanges, OfAGroupAreSeenByWhoHasTheRightOnItsIdAsItIsWritten) {
  Serve({Pump().Group(kNorth)});
  Set("RUN", 1);
  Passes();
  {
    const FakeSecurity security({{7, kNorth}, {8, kNorth}, {6, kNorth}});
    EXPECT_EQ(Told("actived", "name"), "Pump");
    EXPECT_EQ(Told("notified", "canAcknowledge"), "T");
  }
  const std::string inItsOneForm = Narrow(wtouuid(Wide(kNorth)).toWString());
  const FakeSecurity security({{7, inItsOneForm}, {8, inItsOneForm}, {6, inItsOneForm}});
  EXPECT_EQ(Told("actived", "name") + Told("notified", "name"), "");
}

TEST_F(ListenerChanges, SayWhetherTheUserMayAcknowledgeInTheGroupThatIsSeen) {
  Serve({Pump().Group(kNorth).Group(kSouth)});
  Set("RUN", 1);
  Passes();
  {
    const FakeSecurity security({{8, kSouth}, {6, kSouth}});
    EXPECT_EQ(Told("notified", "canAcknowledge"), "T");
  }
  const FakeSecurity security({{8, kSouth}, {6, kNorth}, {11, kSouth}, {16, kSouth}});
  EXPECT_EQ(Told("notified", "canAcknowledge"), "F");
}

TEST_F(ListenerChanges, OfRemoteEventsMayBeAcknowledgedWithTheSendersConsentAndTheRight) {
  Serve({});
  for (const char* consent : {"T", "F", ""})
    QueueRemote(RemoteXml("R.1").With("notified", "T").With("canAcknowledge", consent), false);
  EXPECT_EQ(Told("notified", "canAcknowledge"), "T F F");
  {
    const FakeSecurity security({{18, "R"}, {16, "R"}});
    EXPECT_EQ(Told("notified", "canAcknowledge"), "T F F");
  }
  const FakeSecurity security({{18, "R"}, {6, "R"}, {16, "S"}});
  EXPECT_EQ(Told("notified", "canAcknowledge"), "F F F");
}

TEST_F(ListenerChanges, OfAListenerWhoseUserIsUnknownAreNone) {
  Serve({Pump()});
  RunAndAcknowledge();
  QueueRemoteStep("R.1", "ACTIVATION");
  listener.user = L"Bob";
  const FakeSecurity security({{7, kDefaultGroup}, {8, kDefaultGroup}, {17, "R"}, {18, "R"}});
  EXPECT_EQ(Told("actived", "id") + Told("notified", "id"), "");
}

// --- threads ---

// An event whose occurrences are being listed keeps the document waiting, and nobody else.
TEST_F(ListenerChanges, KeepNobodyFromQueueingWhileAnEventIsBusy) {
  Serve({Pump()});
  Set("RUN", 1);
  Passes();
  SlowClient client;
  bool told = false;
  ZRThread service;
  ZRThread teller;
  ASSERT_TRUE(service.Start(
      [&] { EXPECT_TRUE(Find("Pump")->ProcessHttpServiceEventsNotified(client, true)); }));
  ASSERT_TRUE(teller.Start([&] {
    EXPECT_EQ(Told("actived", "notified", 1, 0), "T");
    told = true;
  }));
  time.Advance(1);
  const std::uint32_t before = ZRPlatform::Get().TickCount();
  EXPECT_EQ(List().PendingChangesSize(), 1);
  EXPECT_EQ(ZRPlatform::Get().TickCount() - before, 0u);
  EXPECT_FALSE(told);
  service.Join();
  teller.Join();
}

// They name events, which go with the store.
TEST_F(ListenerChanges, ThatWaitAreDroppedWhenTheEngineStops) {
  Serve({Pump()});
  RunAndAcknowledge();
  QueueRemoteStep("R.1", "ACTIVATION");
  AnswerAtLast();
  StopServer();
  EXPECT_EQ(List().PendingChangesSize(), 0);
  EXPECT_EQ(List().PendingRemoteChangesSize(), 2);
}

}  // namespace

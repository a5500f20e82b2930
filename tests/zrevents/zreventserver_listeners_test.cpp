#include "support/chaintest.h"
#include "support/logcapture.h"

namespace {

constexpr const char* kLine = "motor/zrevents/zreventserver (";
constexpr const char* kText = "): PROCESS HTTP SERVICE REGISTER LISTENER ";

// The lines of the registration service, without their numbers.
std::vector<std::string> Said(const LogCapture& log) {
  std::vector<std::string> lines;
  for (const std::string& line : log.Starting(kLine)) {
    const std::size_t at = line.find(kText);
    EXPECT_NE(at, std::string::npos) << line;
    EXPECT_GT(std::atoi(line.c_str() + std::string(kLine).size()), 0) << line;
    EXPECT_TRUE(log.Has(kLogTrace, line));
    lines.push_back(line.substr(at + std::string(kText).size()));
  }
  return lines;
}
using tagLines = std::vector<std::string>;

class Registration : public ChainTest {
 protected:
  Registration() { Serve({}); }
  void AcceptUsers() { server->AcceptUserListeners(true); }
  void Fill(int count) {
    for (int i = 0; i < count; ++i)
      Listen("L" + std::to_string(i));
  }
};

// --- what is no registration ---

TEST_F(Registration, OfWhatIsNoSuchDocumentIsRefused) {
  const LogCapture log;
  for (const std::string& body :
       {std::string(), std::string("x"), std::string("<listener>"),
        std::string("<Listener></Listener>"), std::string("<producer></producer>")})
    EXPECT_EQ(Register(body), 400) << body;
  FakeRequest request;
  EXPECT_EQ(server->ProcessHttpServiceRegisterListener(request, nullptr), 400);
  EXPECT_EQ(Said(log), tagLines(6, "BAD REQUEST"));
  EXPECT_EQ(Listeners(), 0);
  EXPECT_TRUE(wire.requests.empty());
}

// --- a new engine ---

TEST_F(Registration, OfANewEngineAsksItsServerFirst) {
  const LogCapture log;
  EXPECT_EQ(Register(WishXml("L").At("10.0.0.7", "81")), 204);
  ASSERT_EQ(wire.requests.size(), 1u);
  EXPECT_EQ(wire.requests[0].host, "10.0.0.7");
  EXPECT_EQ(wire.requests[0].port, 81);
  EXPECT_EQ(wire.requests[0].path, "/services/events/producer.xml?test=T");
  EXPECT_EQ(wire.requests[0].body, "");
  EXPECT_EQ(Said(log), tagLines{"RET = 204"});
  EXPECT_EQ(Listeners(), 1);
}

TEST_F(Registration, OfAnEngineWhoseServerSaysAnythingElseIsItsAnswer) {
  for (const int status : {0, 200, 302, 400, 401, 500}) {
    const LogCapture log;
    wire.status = status;
    EXPECT_EQ(Register(WishXml("L").At("h")), status);
    EXPECT_EQ(Said(log), tagLines{"RET = " + std::to_string(status)});
  }
  EXPECT_EQ(Listeners(), 0);
  EXPECT_FALSE(server->HasCircularDependence(L"L.1"));
}

TEST_F(Registration, OfAnEngineAtNoAddressAsksNobody) {
  EXPECT_EQ(Register(WishXml("L").At("h h")), 0);
  EXPECT_EQ(Register(WishXml("L").At("", "80")), 0);
  for (const char* port : {"", "0", "65536", "-1", "x", "99999999999999999999"})
    EXPECT_EQ(Register(WishXml("L").At("h", port)), 0) << port;
  EXPECT_TRUE(wire.requests.empty());
  EXPECT_EQ(Listeners(), 0);
}

TEST_F(Registration, NarrowsTheAddressByDroppingHighBytes) {
  EXPECT_EQ(Register(WishXml("L").At("\xc5\xa1", "81x")), 204) << "U+0161 becomes 0x61";
  EXPECT_EQ(wire.requests[0].host, "a");
  EXPECT_EQ(wire.requests[0].port, 81);
}

// It is the narrowed address that would be connected to: U+0131 becomes a 1.
TEST_F(Registration, OfItsOwnPortIsRefusedAsItIsNarrowed) {
  const std::string own = std::to_string(ZRTessalySetup::Get().HttpServerPort());
  EXPECT_EQ(Register(WishXml("L").At("127.0.0.\xC4\xB1", own)), 400);
  EXPECT_TRUE(wire.requests.empty());
}

TEST_F(Registration, OfItsOwnPortIsRefusedInTwoFormsOnly) {
  const std::string own = std::to_string(ZRTessalySetup::Get().HttpServerPort());
  {
    const LogCapture log;
    EXPECT_EQ(Register(WishXml("L").At("127.0.0.1", own)), 400);
    EXPECT_EQ(Register(WishXml("L").At("localhost", own)), 400);
    EXPECT_EQ(Said(log), tagLines(2, "BAD REQUEST"));
  }
  EXPECT_TRUE(wire.requests.empty());
  EXPECT_EQ(Register(WishXml("L").At("127.0.0.1", own + "0")), 0) << "no port";
  EXPECT_EQ(Register(WishXml("L").At("127.0.0.1", "81")), 204);
  EXPECT_EQ(Register(WishXml("M").At("Localhost", own)), 204);
  EXPECT_EQ(Register(WishXml("N").At("127.0.0.2", own)), 204);
}

TEST_F(Registration, OfAnEngineMakesItsIdALinkOfTheChain) {
  EXPECT_FALSE(server->HasCircularDependence(L"L.1"));
  Listen("L");
  EXPECT_TRUE(server->HasCircularDependence(L"L.1"));
  EXPECT_FALSE(server->HasCircularDependence(L"L"));
}

TEST_F(Registration, WithoutAnIdHasTheEmptyOne) {
  EXPECT_EQ(Register(WishXml::Bare().At("a")), 204);
  EXPECT_EQ(Listeners(), 1);
  EXPECT_EQ(Register(WishXml::Bare().At("b")), 204);
  EXPECT_EQ(Listeners(), 1) << "the second one is an update of the first";
  EXPECT_EQ(wire.requests.size(), 1u);
}

// --- an engine that is known ---

TEST_F(Registration, OfAKnownEngineChangesItAndAsksNobody) {
  Listen("L");
  Passes();
  const LogCapture log;
  wire.requests.clear();
  const std::string own = std::to_string(ZRTessalySetup::Get().HttpServerPort());
  EXPECT_EQ(Register(WishXml("L").At("127.0.0.1", own).With("driverName", "Hall")), 204)
      << "nor is it compared with the own address";
  EXPECT_EQ(Said(log), tagLines{"NO CONTENT"});
  EXPECT_TRUE(wire.requests.empty());
  EXPECT_EQ(Listeners(), 1);
  Passes();
  EXPECT_TRUE(wire.requests.empty()) << "it didn't ask for everything";
  EXPECT_EQ(Register(WishXml("L").At("new", "82").With("driverName", "Hall").With("all", "T")),
            204);
  Passes();
  ASSERT_EQ(wire.requests.size(), 1u);
  EXPECT_EQ(wire.requests[0].host, "new");
  EXPECT_EQ(wire.requests[0].port, 82);
  EXPECT_EQ(Head(wire.requests[0].body, "driverName"), "Hall");
}

TEST_F(Registration, OfAKnownEngineChangesItsWishesAndItsUser) {
  const FakeSecurity security({{7, "22222222-2222-2222-2222-222222222222"}});
  StopServer();
  Serve({Pump()});
  Set("RUN", 1);
  EXPECT_EQ(Register(WishXml("L").At("l").Everything(), "Bob"), 204);
  Passes();
  EXPECT_EQ(Told(Put("l").back(), "actived", "name"), "no section") << "Bob is nobody";
  EXPECT_EQ(Register(WishXml("L").At("l").With("all", "T").With("actived", "T"), "Ann"), 204);
  Passes();
  EXPECT_EQ(Told(Put("l").back(), "actived", "name"), "Pump");
  EXPECT_EQ(Register(WishXml("L").At("l").With("all", "T").With("actived", "t"), "Ann"), 204);
  Passes();
  EXPECT_EQ(Told(Put("l").back(), "actived", "name"), "no section") << "only T is true";
}

TEST_F(Registration, FindsItsIdExactly) {
  Listen("L");
  Listen("l");
  EXPECT_EQ(Register(WishXml("L ").At("h")), 204);
  EXPECT_EQ(Listeners(), 3);
}

// --- the table is full ---

TEST_F(Registration, OfTheThirtyFourthListenerIsRefused) {
  Fill(33);
  EXPECT_EQ(Listeners(), 33);
  const LogCapture log;
  EXPECT_EQ(Register(WishXml("M").At("m")), 400);
  EXPECT_EQ(Said(log), tagLines{"BAD REQUEST"});
  EXPECT_EQ(Listeners(), 33);
}

TEST_F(Registration, OfAKnownListenerIsRefusedInAFullTable) {
  Fill(32);
  EXPECT_EQ(Register(WishXml("L0").At("L0")), 204);
  Listen("L32");
  EXPECT_EQ(Register(WishXml("L0").At("L0")), 400);
}

// --- users' clients ---

TEST_F(Registration, OfAUsersClientIsTakenWithoutAQuestion) {
  AcceptUsers();
  const LogCapture log;
  EXPECT_EQ(Register(WishXml("U").At("u", "81"), "Ann"), 200);
  EXPECT_EQ(Said(log), tagLines{"OK"});
  EXPECT_TRUE(wire.requests.empty());
  EXPECT_EQ(Listeners(), 1);
  EXPECT_TRUE(server->HasCircularDependence(L"U.1"));
  Passes();
  ASSERT_EQ(wire.requests.size(), 1u);
  EXPECT_EQ(wire.requests[0].host, "u");
  EXPECT_EQ(wire.requests[0].port, 81);
  EXPECT_EQ(wire.requests[0].path, "/services/user/producer.xml");
}

TEST_F(Registration, OfAUsersClientWantsEverythingWhateverItSays) {
  StopServer();
  Serve({Pump()});
  Set("RUN", 1);
  AcceptUsers();
  EXPECT_EQ(Register(WishXml("U").At("u").With("actived", "F").With("driverName", "X")), 200);
  Passes();
  ASSERT_EQ(Put("u").size(), 1u);
  EXPECT_EQ(Head(Put("u")[0], "driverName"), "-");
  EXPECT_EQ(Told(Put("u")[0], "actived", "name"), "Pump");
  EXPECT_EQ(Told(Put("u")[0], "notified", "name"), "Pump");
}

TEST_F(Registration, OfAUsersClientWithoutAnIdHasANewOne) {
  AcceptUsers();
  EXPECT_EQ(Register(WishXml::Bare().At("u")), 200);
  EXPECT_EQ(Register(WishXml::Bare().At("v")), 200);
  EXPECT_EQ(Listeners(), 2);
  Passes();
  const std::string first = Head(Put("u").at(0), "driverId");
  EXPECT_EQ(first.size(), 36u);
  EXPECT_NE(first, Head(Put("v").at(0), "driverId"));
  EXPECT_EQ(Register(WishXml("").At("w")), 200) << "an empty one is an id";
  Passes();
  EXPECT_EQ(Head(Put("w").at(0), "driverId"), "");
}

TEST_F(Registration, OfAKnownUsersClientKeepsItsUserAndItsWishes) {
  const FakeSecurity security({{7, "22222222-2222-2222-2222-222222222222"}});
  StopServer();
  Serve({Pump()});
  Set("RUN", 1);
  AcceptUsers();
  EXPECT_EQ(Register(WishXml("U").At("u"), "Ann"), 200);
  const LogCapture log;
  EXPECT_EQ(Register(WishXml("U").At("v", "82").With("all", "T").With("actived", "F"), "Bob"), 204);
  EXPECT_EQ(Said(log), tagLines{"NO CONTENT"});
  Passes();
  ASSERT_EQ(Put("v").size(), 1u);
  EXPECT_EQ(Told(Put("v")[0], "actived", "name"), "Pump");
}

TEST_F(Registration, OfAUsersClientAtTheOwnPortIsRefused) {
  AcceptUsers();
  const std::string own = std::to_string(ZRTessalySetup::Get().HttpServerPort());
  EXPECT_EQ(Register(WishXml("U").At("localhost", own)), 400);
  EXPECT_EQ(Listeners(), 0);
}

// --- documents of other engines ---

class Producer : public ChainTest {
 protected:
  Producer() { Serve({}); }
  static std::string On(const std::string& id) {
    return RemoteXml(id).Why("ACTIVATION").With("notified", "T").On().Xml();
  }
};

TEST_F(Producer, OfWhatIsNoDocumentIsRefused) {
  for (const char* body : {"", "x", "<producer>"})
    EXPECT_EQ(Produce(body), 400) << body;
  FakeRequest request;
  EXPECT_EQ(server->ProcessHttpServiceProducer(request, nullptr), 400);
}

TEST_F(Producer, ChangesNothingWithoutSections) {
  EXPECT_EQ(Produce(Produced(On("R.1"))), 204);
  EXPECT_EQ(Produce("<producer><all>F</all></producer>"), 204);
  EXPECT_EQ(Produce("<anything></anything>"), 204);
  EXPECT_EQ(RemoteActive(), "L.R.1");
}

TEST_F(Producer, FillsBothSectionsOfThePicture) {
  EXPECT_EQ(Produce(Produced(On("R.1") + On("R.2"), On("R.3"))), 204);
  EXPECT_EQ(RemoteActive(), "L.R.1 L.R.2");
  EXPECT_EQ(RemoteNotified(), "L.R.3");
}

TEST_F(Producer, PassesOverWhatIsNoEventOfADriverHere) {
  EXPECT_EQ(Produce(Produced("<other><id>R.9</id></other>" + On("R") + On("S.1") + On("r.1") +
                             RemoteXml("").Xml() + "<event></event>" + On("R.1"))),
            204);
  EXPECT_EQ(RemoteActive(), "L.R.1");
}

TEST_F(Producer, OfADriverThatIsNotOnlineStopsThere) {
  ZRDriver::Register(std::make_unique<RemoteDriver>("S", "Shed"));
  EXPECT_EQ(Produce(Produced(On("S.1"))), 204);
  roof->online = false;
  EXPECT_EQ(Produce(Produced(On("S.2") + On("R.1") + On("S.3"), On("S.4"))), 400);
  EXPECT_EQ(RemoteActive(), "L.S.1 L.S.2");
  EXPECT_EQ(RemoteNotified(), "");
}

TEST_F(Producer, WithEverythingReplacesWhatTheDriverHad) {
  ZRDriver::Register(std::make_unique<RemoteDriver>("S", "Shed"));
  EXPECT_EQ(Produce(Produced(On("R.1") + On("S.1"), On("R.2"))), 204);
  EXPECT_EQ(Produce(Produced(On("R.3"), "", "T")), 204);
  EXPECT_EQ(RemoteActive(), "L.S.1 L.R.3");
  EXPECT_EQ(RemoteNotified(), "");
  EXPECT_EQ(Produce("<producer><driverId>R</driverId><all>T</all></producer>"), 204);
  EXPECT_EQ(RemoteActive(), "L.S.1");
}

TEST_F(Producer, WithEverythingRefreshesAllListeners) {
  Listen("l");
  Listen("m");
  Passes();
  wire.requests.clear();
  EXPECT_EQ(Produce("<producer><driverId>R</driverId><all>T</all></producer>"), 204);
  Passes();
  ASSERT_EQ(Put("l").size(), 1u);
  EXPECT_EQ(Head(Put("l")[0], "all"), "T");
  EXPECT_EQ(Head(Put("m").at(0), "all"), "T");
}

// One that made its way here through a listener of this engine.
TEST_F(Producer, PassesOverWhatHasBeenHereBefore) {
  Listen("L");
  EXPECT_EQ(Produce(Produced(On("R.L.1") + On("R.S.L.1") + On("R.L") + On("R.M.1"))), 204);
  EXPECT_EQ(RemoteActive(), "L.R.L L.R.M.1");
}

TEST_F(Producer, HandsOnWhatItReceives) {
  EXPECT_EQ(Produce(Produced(On("R.0"))), 204);
  EXPECT_EQ(server->EventList().PendingRemoteChangesSize(), 0) << "nobody listens";
  Listen("l");
  Passes();
  wire.requests.clear();
  EXPECT_EQ(Produce(Produced(On("R.1"), On("R.2"))), 204);
  Passes();
  ASSERT_EQ(Put("l").size(), 1u);
  EXPECT_EQ(Told(Put("l")[0], "actived", "id"), "l.R.1");
  EXPECT_EQ(Told(Put("l")[0], "notified", "id"), "l.R.2");
  EXPECT_EQ(Head(Put("l")[0], "all"), "F");
}

}  // namespace

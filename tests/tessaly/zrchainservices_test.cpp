#include "tessaly/zrchainservices.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <vector>

#include "host/platform/zrthread.h"
#include "support/accessrule.h"
#include "support/fakesecurity.h"
#include "support/fakewire.h"
#include "support/golden.h"
#include "support/httpclient.h"
#include "support/listtest.h"
#include "support/logcapture.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr const char* kListener = "/services/events/listener.xml";
constexpr const char* kProducer = "/services/events/producer.xml";

// A real server over an engine that hasn't started, and a door that is open.
class ChainServices : public ::testing::Test {
 protected:
  explicit ChainServices(const tagChainLimits& limits = {}) {
    ZRDriver::Register(std::make_unique<RemoteDriver>("R", "Roof"));
    ZRDriver::Register(std::make_unique<RemoteDriver>("S", "Shed"));
    BindChain(web, engine, door, limits);
    ZRString reason;
    EXPECT_TRUE(web.Start({}, reason)) << reason.Text();
    door.Open();
  }
  ~ChainServices() override {
    web.Stop();
    ZRDriver::UnregisterAll();
  }

  HttpReply Put(const std::string& path, const std::string& body) {
    HttpClient client(web.Port());
    EXPECT_TRUE(client.Send("PUT " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                            std::to_string(body.size()) + "\r\n\r\n" + body));
    return client.ReceiveReply();
  }
  static std::string Wish(const std::string& ip = "plant") {
    return "<listener><driverId>L</driverId><ip>" + ip + "</ip><port>80</port></listener>";
  }
  static std::string Document(const std::string& id, const std::string& all = "F",
                              const std::string& driver = "R") {
    return "<producer><driverId>" + driver + "</driverId><all>" + all + "</all><actived>" +
           RemoteXml(id).Why("ACTIVATION").On().Xml() + "</actived></producer>";
  }
  // Remote events here.
  int Known() {
    FakeRequest request;
    FakeResponse response;
    return engine.EventList().ActivedCount(request, response);
  }

  FakeWire wire;
  ZREventServer engine;
  ZRChainDoor door;
  ZRWebServer web;
};

TEST_F(ChainServices, RegisterAListener) {
  const HttpReply reply = Put(kListener, Wish());
  EXPECT_EQ(reply.status, 204);
  EXPECT_EQ(reply.body, "");
  EXPECT_EQ(engine.EventList().listenerCount, 1);
}

TEST_F(ChainServices, ExampleOfTheirPageRegisters) {
  EXPECT_EQ(Put(kListener, PageExample("docs/wire/listener.md")).status, 204);
}

TEST_F(ChainServices, SayWhyARegistrationIsRefused) {
  const HttpReply reply = Put(kListener, "<listener>");
  EXPECT_EQ(reply.status, 400);
  EXPECT_EQ(reply.Header("Content-Type"), "text/plain; charset=utf-8");
  EXPECT_EQ(reply.body.back(), '\n');
}

TEST_F(ChainServices, HandOnWhatTheListenersOwnServerSays) {
  for (const int status : {200, 302, 401, 500}) {
    wire.status = status;
    EXPECT_EQ(Put(kListener, Wish()).status, status);
  }
  for (const int status : {0, 100, 999}) {
    wire.status = status;
    EXPECT_EQ(Put(kListener, Wish()).status, 502);
  }
}

// While the engine is busy with its listeners, four wait, and nobody else does.
TEST_F(ChainServices, FifthRegistrationThatWouldWaitIsSentAway) {
  ZRSemaphore hold(1);
  ASSERT_TRUE(hold.Acquire(0));
  wire.decide = [&hold](const FakeWire::tagRequest&) {
    (void)hold.Acquire(ZRPlatform::kInfinite);
    hold.Release();
    return 204;
  };
  std::atomic<int> taken{0};
  std::atomic<int> sentAway{0};
  std::vector<ZRThread> clients(5);
  for (ZRThread& client : clients)
    ASSERT_TRUE(client.Start([&] {
      const int status = Put(kListener, Wish()).status;
      if (status == 204) ++taken;
      if (status != 503) return;
      ++sentAway;
      hold.Release();
    }));
  for (ZRThread& client : clients)
    client.Join();
  EXPECT_EQ(sentAway, 1);
  EXPECT_EQ(taken, 4);
}

// Its place is free again afterwards.
TEST_F(ChainServices, RegistrationThatFailsTakesNoPlace) {
  wire.decide = [](const FakeWire::tagRequest&) -> int { throw std::bad_alloc(); };
  for (int i = 0; i < 2 * kMostRegistrations; ++i)
    EXPECT_EQ(Put(kListener, Wish()).status, 500);
  wire.decide = nullptr;
  EXPECT_EQ(Put(kListener, Wish()).status, 204);
}

TEST_F(ChainServices, AnswerWhoAsksWhetherTheyAreThere) {
  for (const char* body : {"", "x"})
    EXPECT_EQ(Put(std::string(kProducer) + "?test=T", body).status, 204);
  EXPECT_EQ(Put(std::string(kProducer) + "?test=F", "x").status, 400);
}

TEST_F(ChainServices, TakeDocuments) {
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 204);
  EXPECT_EQ(Put("/services/user/producer.xml", Document("R.2")).status, 204);
  EXPECT_EQ(Known(), 2);
  EXPECT_EQ(Put(kProducer, "<producer>").status, 400);
}

TEST_F(ChainServices, TellTheDriverThatEverythingHasCome) {
  auto* const roof = dynamic_cast<RemoteDriver*>(ZRDriver::LockDriver(L"R", nullptr));
  auto* const shed = dynamic_cast<RemoteDriver*>(ZRDriver::LockDriver(L"S", nullptr));
  roof->lacks = true;
  shed->lacks = true;
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 204);
  EXPECT_TRUE(roof->lacks) << "changes";
  EXPECT_EQ(Put(kProducer, Document("R.1", "T", "X")).status, 204);
  roof->online = false;
  EXPECT_EQ(Put(kProducer, Document("R.1", "T")).status, 400);
  EXPECT_TRUE(roof->lacks) << "refused";
  roof->online = true;
  EXPECT_EQ(Put(kProducer, Document("R.1", "T")).status, 204);
  EXPECT_FALSE(roof->lacks);
  EXPECT_TRUE(shed->lacks);
}

TEST_F(ChainServices, AreShutWhileTheSiteIsChanged) {
  door.Shut();
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 503);
  EXPECT_EQ(Put(kListener, Wish()).status, 503);
  EXPECT_EQ(Put(std::string(kProducer) + "?test=T", "").status, 204);
  door.Open();
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 204);
}

TEST_F(ChainServices, TakeAnAccountsDocumentsForItsOwnDriversOnly) {
  const FakeSecurity security({{17, "R"}});
  const AccessRule rule({{kResourceProducer, "R"}});
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 204);
  EXPECT_EQ(Put(kProducer, Document("S.1")).status, 403);
  EXPECT_EQ(Put(kProducer, Document("R.2", "T", "S")).status, 403) << "nor wipe another's";
  EXPECT_EQ(Put(kProducer, Document("R.2", "F", "S")).status, 204) << "which only T does";
  EXPECT_EQ(Put(kProducer, "<producer>").status, 400);
  // The engine alone would read the first document, which nobody has looked at.
  EXPECT_EQ(Put(kProducer, Document("S.1", "T", "R") + std::string(1, '\0')).status, 400);
  ZREventListener listener(L"L", "", 0);
  XmlDocument picture;
  picture.Create(L"picture");
  (void)engine.EventList().AddAllActived(listener, picture, L"Ann", L"L", L"");
  ASSERT_NE(picture.Root()->Node(L"actived"), nullptr);
  EXPECT_EQ(picture.Root()->Node(L"actived")->Size(), 2);
}

// --- documents that mean no good ---

TEST_F(ChainServices, TakeADocumentAsLargeAsMayBeAndNoLargerOne) {
  const std::string start = "<producer><all>F</all><x>";
  const std::string end = "</x></producer>";
  std::string body = start + std::string(kMostProducerBytes - start.size() - end.size(), 'a') + end;
  EXPECT_EQ(Put(kProducer, body).status, 204);
  body.insert(start.size(), "a");
  HttpClient client(web.Port());
  EXPECT_TRUE(client.Send("PUT " + std::string(kProducer) +
                          " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                          std::to_string(body.size()) + "\r\n\r\n"));
  EXPECT_EQ(client.ReceiveReply().status, 413) << "before a byte of it was sent";
}

TEST_F(ChainServices, ReadNoEntitiesAndNoDepth) {
  std::string bomb = "<!DOCTYPE producer [<!ENTITY a0 \"aaaaaaaaaa\">";
  for (int i = 1; i < 20; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    bomb += "<!ENTITY a" + std::to_string(i) + " \"" + inner + inner + inner + "\">";
  }
  bomb += "]><producer><all>F</all><x>&a19;</x></producer>";
  const std::string outside =
      "<!DOCTYPE producer SYSTEM \"file:///etc/passwd\"><producer></producer>";
  std::string deep = "<producer>";
  for (int i = 0; i < 100'000; ++i)
    deep += "<a>";
  const LogCapture log(kLogDelivery);
  for (const std::string& body :
       {bomb, outside, deep, std::string("<producer>&unknown;</producer>")}) {
    EXPECT_EQ(Put(kProducer, body).status, 400);
    EXPECT_EQ(Put(kListener, body.substr(0, kMostListenerBytes)).status, 400);
  }
  EXPECT_EQ(Known(), 0);
  EXPECT_EQ(log.Starting("a document of events is refused"),
            (std::vector<std::string>{
                "a document of events is refused: it can't be read: a DOCTYPE is not allowed"}))
      << "one line, however many there are";
}

// One that is read leaves no room for another one as large.
TEST_F(ChainServices, ReadNoMoreAtOnceThanALargeDocumentHas) {
  const std::string large =
      "<producer><all>F</all><x>" + std::string(9 << 20, ' ') + "</x></producer>";
  std::atomic<int> taken{0};
  std::atomic<int> sentAway{0};
  for (int round = 0; round < 20 && sentAway == 0; ++round) {
    std::vector<ZRThread> peers(4);
    for (ZRThread& peer : peers)
      ASSERT_TRUE(peer.Start([&] {
        const int status = Put(kProducer, large).status;
        if (status == 204) ++taken;
        if (status == 503) ++sentAway;
      }));
    for (ZRThread& peer : peers)
      peer.Join();
  }
  EXPECT_GT(taken, 0);
  EXPECT_GT(sentAway, 0);
  EXPECT_EQ(Put(kProducer, large).status, 204) << "room is given back";
}

// A site that takes little.
class SmallChainServices : public ChainServices {
 protected:
  SmallChainServices() : ChainServices({.bytes = 1000, .elements = 4, .waiting = 3}) {}
};

TEST_F(SmallChainServices, TakeNothingMoreWithTooManyChangesWaiting) {
  const LogCapture log(kLogDelivery);
  EXPECT_EQ(Put(kListener, Wish()).status, 204);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(Put(kProducer, Document("R.1")).status, 204);
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 503);
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 503);
  EXPECT_EQ(log.Starting("a document of events is refused"),
            (std::vector<std::string>{
                "a document of events is refused: as many remote events as may be are there "}));
  engine.EventList().DropRemoteChanges(1);
  EXPECT_EQ(Put(kProducer, Document("R.1")).status, 204);
}

TEST_F(SmallChainServices, TakeNothingMoreWithTooManyEventsKnown) {
  for (const char* id : {"R.1", "R.2", "R.3", "R.4"})
    EXPECT_EQ(Put(kProducer, Document(id)).status, 204);
  EXPECT_EQ(Put(kProducer, Document("R.4")).status, 503);
  engine.EventList().RemoveDriverEvents(L"R");
  EXPECT_EQ(Put(kProducer, Document("R.4")).status, 204);
}

TEST_F(SmallChainServices, ReadNoDocumentThatIsLargerThanAllThatMayBeRead) {
  EXPECT_EQ(Put(kProducer, "<producer>" + std::string(979, ' ') + "</producer>").status, 204);
  EXPECT_EQ(Put(kProducer, "<producer>" + std::string(980, ' ') + "</producer>").status, 503);
}

// An id has no bound of its own: the document has one.
TEST_F(ChainServices, TakeIdsOfAnyLength) {
  const std::string large(1'000'000, 'x');
  EXPECT_EQ(Put(kProducer, Document("R." + large)).status, 204);
  EXPECT_EQ(Known(), 1);
  EXPECT_EQ(Put(kProducer, Document(large + ".1")).status, 204) << "of no driver here";
  std::string path;
  for (int i = 0; i < 100'000; ++i)
    path += "S.";
  EXPECT_EQ(Put(kProducer, Document("R." + path + "1")).status, 204);
  EXPECT_EQ(Known(), 2);
  EXPECT_EQ(Put(kProducer, "<producer><driverId>R</driverId><all>T</all></producer>").status, 204);
  EXPECT_EQ(Known(), 0);
}

}  // namespace

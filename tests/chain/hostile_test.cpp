// Peers that mean no good, against the real program. What they do takes real time.
#include <atomic>
#include <thread>

#include "chain/engineprocess.h"
#include "support/scriptedserver.h"

namespace {

using namespace std::chrono_literals;

using tagConversation = ScriptedServer::CConversation;

// A sanitizer takes much more, and keeps what is freed.
#if defined(ZR_SANITIZED)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

constexpr const char* kTaken = "HTTP/1.1 204 No Content\r\nConnection: close\r\n\r\n";

// A plant whose switch goes on and off each second, and a control room that watches it.
class HostileListener : public ::testing::Test {
 protected:
  HostileListener() {
    plant.Simulate("[[driver.variable]]\nname = \"S\"\nform = \"switch\"\non_s = 1\noff_s = 1\n");
    plant.Events(EventXml("Switch", 1).Condition("[sim.S] = 1").Xml() +
                 EventXml("Always", 2).Condition("1 = 1").Xml());
    control.Watch({{"plant", &plant}});
    control.Events("");
  }
  // It says yes to the question of the registration, and is as it likes after that.
  static ScriptedServer::tagScript AfterTheQuestion(const ScriptedServer::tagScript& script) {
    return [script](tagConversation& talk, const std::string& path) {
      if (path.find("test=T") == std::string::npos) return script(talk, path);
      (void)talk.Say(kTaken);
    };
  }
  [[nodiscard]] int Register(const ScriptedServer& server, const std::string& id = "hostile") {
    return plant.Put("/services/events/listener.xml",
                     "<listener><driverId>" + id +
                         "</driverId><driverName>H</driverName><ip>127.0.0.1</ip><port>" +
                         std::to_string(server.Port()) +
                         "</port><actived>T</actived><notified>T</notified></listener>");
  }
  // The event goes on and off while the listener is tried.
  void ExpectThatThePlantGoesOn() {
    const auto isOn = [this] { return plant.Active().size() == 2; };
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(Becomes(isOn, 10s));
      EXPECT_TRUE(Becomes([&] { return !isOn(); }, 10s));
    }
  }
  void ExpectThatItIsDropped(const ScriptedServer& server) {
    ASSERT_TRUE(Becomes([&] { return server.Requests() == 1 + 5; }, 60s)) << server.Requests();
    // The others are served again, and it isn't asked any more.
    EXPECT_TRUE(Becomes(
        [this] { return Through("plant.", control.Active()).count(EventXml::Id(2)) == 1; }, 30s));
    (void)::poll(nullptr, 0, 3000);
    EXPECT_EQ(server.Requests(), 1 + 5);
    EXPECT_TRUE(!kMemoryTells || plant.PeakMemory() < 100) << plant.PeakMemory();
    EXPECT_EQ(plant.Stop(), 0);
    EXPECT_LT(plant.Log().size(), 10'000u);
    EXPECT_NE(plant.Log().find("listener 'hostile'"), std::string::npos) << plant.Log();
  }
  void StartBoth() {
    ASSERT_TRUE(plant.Start());
    ASSERT_TRUE(control.Start());
  }

  EngineProcess plant{"Plant"};
  EngineProcess control{"Control"};
};

TEST_F(HostileListener, ThatAnswersOneByteASecondIsDropped) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  const ScriptedServer server(AfterTheQuestion([](tagConversation& talk, const std::string&) {
    for (const char byte : std::string(kTaken))
      if (!talk.Say({&byte, 1}) || talk.HasGoneWithin(1000)) return;
  }));
  ASSERT_EQ(Register(server), 204);
  ExpectThatThePlantGoesOn();
  ExpectThatItIsDropped(server);
}

TEST_F(HostileListener, ThatAnswersWithoutEndIsDropped) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  const ScriptedServer server(AfterTheQuestion([](tagConversation& talk, const std::string&) {
    talk.Say("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
    const std::string piece(100'000, 'a');
    while (talk.Say(piece)) {
    }
  }));
  ASSERT_EQ(Register(server), 204);
  ExpectThatThePlantGoesOn();
  ExpectThatItIsDropped(server);
}

TEST_F(HostileListener, ThatSendsElsewhereIsDroppedAndNotFollowed) {
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  const ScriptedServer elsewhere(
      [](tagConversation& talk, const std::string&) { (void)talk.Say(kTaken); });
  const ScriptedServer server(AfterTheQuestion([&](tagConversation& talk, const std::string& path) {
    (void)talk.Say(
        "HTTP/1.1 307 x\r\nContent-Length: 0\r\nConnection: close\r\nLocation: "
        "http://127.0.0.1:" +
        std::to_string(elsewhere.Port()) + path + "\r\n\r\n");
  }));
  ASSERT_EQ(Register(server), 204);
  ExpectThatThePlantGoesOn();
  ExpectThatItIsDropped(server);
  EXPECT_EQ(elsewhere.Requests(), 0);
}

// --- who sends ---

// Documents as large as may be, from several at once, of the kinds that take most memory.
TEST_F(HostileListener, ThatSendsLargeDocumentsFindsABoundAndHurtsNobody) {
  plant.Watch({{"control", &control}});
  ASSERT_NO_FATAL_FAILURE(StartBoth());
  const auto padded = [](const std::string& piece) {
    constexpr std::size_t kRoom = (std::size_t{16} << 20) - 100;
    std::string body = "<producer><driverId>x</driverId><actived>";
    while (body.size() + piece.size() < kRoom)
      body += piece;
    return body + "</actived></producer>";
  };
  const std::string bodies[] = {
      padded("<a/>"), padded("<event><id>nobody.1</id></event>"),
      padded("<event><id>" + std::string(1 << 20, 'x') + "</id></event>"),
      "<!DOCTYPE a [<!ENTITY a \"aaaaaaaaaaaaaaaa\">]><producer>&a;</producer>"};
  std::atomic<int> answers{0};
  std::vector<std::thread> senders;
  for (const std::string& body : bodies)
    senders.emplace_back([&] {
      for (int i = 0; i < 10; ++i) {
        const int status = plant.Put("/services/events/producer.xml", body);
        answers += static_cast<int>(status == 204 || status == 400 || status == 503);
      }
    });
  ExpectThatThePlantGoesOn();
  for (std::thread& sender : senders)
    sender.join();
  EXPECT_EQ(answers, 40);
  EXPECT_TRUE(Becomes(
      [this] { return Through("plant.", control.Active()).count(EventXml::Id(2)) == 1; }, 30s));
  std::printf("most memory: %ld MiB\n", plant.PeakMemory());
  // Four bodies, and the documents that are read at once, as the page of limits says.
  EXPECT_TRUE(!kMemoryTells || plant.PeakMemory() < 500) << plant.PeakMemory();
  EXPECT_EQ(plant.Stop(), 0);
  EXPECT_LT(plant.Log().size(), 10'000u);
}

}  // namespace

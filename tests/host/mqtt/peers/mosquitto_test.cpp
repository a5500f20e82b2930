// The client with a broker that nobody here wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/mqtt/zrmqttclient.h"
#include "support/logcapture.h"
#include "support/mosquitto.h"

namespace {

class Broker : public testing::Test {
 protected:
  void SetUp() override {
    if (!Mosquitto::IsInstalled()) GTEST_SKIP() << Mosquitto::kPath << " isn't installed";
    settings.host = "127.0.0.1";
    settings.port = broker.Port();
    settings.clientId = "test";
  }

  void StartClient() {
    ZRMqttClient::tagCallbacks callbacks;
    callbacks.received = [this](const ZRMqttMessage& message) {
      const ZRMutexLock lock(mutex);
      seen.push_back(message.topic + (message.retain ? " (kept) " : " ") + message.payload);
    };
    client = std::make_unique<ZRMqttClient>(settings, callbacks);
    ASSERT_TRUE(client->Start());
  }
  [[nodiscard]] bool IsConnectedSoon() const {
    return Mosquitto::Until([this] { return client->IsConnected(); });
  }
  [[nodiscard]] bool Told(const std::string& reason) const {
    for (const auto& line : log.Lines())
      if (line.text.find(reason) != std::string::npos) return true;
    return false;
  }
  [[nodiscard]] bool IsToldSoon(const std::string& reason) const {
    return Mosquitto::Until([&] { return Told(reason); });
  }
  [[nodiscard]] bool Sees(const std::string& message) {
    return Mosquitto::Until([&] {
      const ZRMutexLock lock(mutex);
      return std::find(seen.begin(), seen.end(), message) != seen.end();
    });
  }
  [[nodiscard]] bool IsKept(const std::string& topic, const std::string& payload) const {
    return Mosquitto::Until([&] {
      return broker.Retained(topic) == (payload.empty() ? "" : topic + " " + payload + "\n");
    });
  }
  [[nodiscard]] bool MakeCertificate(const std::string& name) const {
    RunningProgram openssl({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                            "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj",
                            "/CN=localhost", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1",
                            "-keyout", broker.File(name + ".key"), "-out",
                            broker.File(name + ".pem")});
    return openssl.Wait() == 0;
  }

  LogCapture log{kLogDelivery};
  Mosquitto broker;
  ZRMqttSettings settings;
  ZRMutex mutex;
  std::vector<std::string> seen ZR_GUARDED_BY(mutex);
  std::unique_ptr<ZRMqttClient> client;
};

TEST_F(Broker, CarriesMessagesInBothDirections) {
  ASSERT_TRUE(broker.Start());
  ASSERT_TRUE(broker.Publish("in/1", "before", true));
  StartClient();
  client->Subscribe("in/+", 1);
  EXPECT_TRUE(Sees("in/1 (kept) before"));
  ASSERT_TRUE(broker.Publish("in/2", "after"));
  EXPECT_TRUE(Sees("in/2 after"));
  EXPECT_TRUE(client->Publish({"in/3", "own", 0, false}));
  EXPECT_TRUE(client->Publish({"in/4", "", 1, false}));
  EXPECT_TRUE(Sees("in/3 own"));
  EXPECT_TRUE(Sees("in/4 "));
}

TEST_F(Broker, ThatComesLaterAndIsKilledGetsThePictureEachTime) {
  StartClient();
  EXPECT_TRUE(client->Keep("picture", "old"));
  EXPECT_TRUE(IsToldSoon("not connected: Connection refused"));
  ASSERT_TRUE(broker.Start());
  EXPECT_TRUE(IsKept("picture", "old"));
  broker.Kill();
  EXPECT_TRUE(Mosquitto::Until([this] { return !client->IsConnected(); }));
  EXPECT_TRUE(client->Keep("picture", "new"));
  EXPECT_TRUE(client->Publish({"in/1", "meanwhile", 1, false}));
  client->Subscribe("in/+", 1);
  ASSERT_TRUE(broker.Start());
  EXPECT_TRUE(IsKept("picture", "new"));
  EXPECT_TRUE(Sees("in/1 meanwhile"));
}

TEST_F(Broker, TellsTheWillOfAClientThatIsLost) {
  settings.birth = ZRMqttMessage{"status", "online", 1, true};
  settings.will = ZRMqttMessage{"status", "offline", 1, true};
  ASSERT_TRUE(broker.Start());
  StartClient();
  EXPECT_TRUE(IsKept("status", "online"));
  client.reset();
  EXPECT_TRUE(IsKept("status", "offline"));

  settings.birth->payload = "again";
  StartClient();
  EXPECT_TRUE(IsKept("status", "again"));
  // A second client of that id throws the first one out, without a goodbye.
  client->Subscribe("status", 0);
  EXPECT_TRUE(Sees("status (kept) again"));
  const auto other = broker.Subscriber("nothing", {"-i", "test"});
  EXPECT_TRUE(Sees("status (kept) offline"));  // when it is back
}

TEST_F(Broker, IsFoundByItsNameAtAnyOfItsAddresses) {
  ASSERT_TRUE(broker.Start());  // at 127.0.0.1 alone, which may be the second address
  settings.host = "localhost";
  StartClient();
  EXPECT_TRUE(IsConnectedSoon());
  EXPECT_FALSE(Told("not connected"));
  client.reset();
  settings.host = "name with blanks";
  StartClient();
  EXPECT_TRUE(IsToldSoon("not connected: "));
  EXPECT_FALSE(client->IsConnected());
}

TEST_F(Broker, WithALoginTakesNobodyElse) {
  broker.Write("users", "");
  ASSERT_EQ(
      0, RunningProgram({"mosquitto_passwd", "-b", broker.File("users"), "me", "secret"}).Wait());
  ASSERT_TRUE(broker.Start("allow_anonymous false\npassword_file " + broker.File("users") + "\n"));
  settings.user = "me";
  settings.password = "wrong";
  StartClient();
  EXPECT_TRUE(IsToldSoon("not connected: Connection Refused: not authorised."));
  for (const auto& line : log.Lines())
    EXPECT_EQ(std::string::npos, line.text.find("wrong"));
  client.reset();
  settings.password = "secret";
  StartClient();
  EXPECT_TRUE(IsConnectedSoon());
}

TEST_F(Broker, WithTlsIsTrustedByItsCertificateAndName) {
  ASSERT_TRUE(MakeCertificate("hall"));
  ASSERT_TRUE(MakeCertificate("other"));
  ASSERT_TRUE(broker.Start("allow_anonymous true\ncertfile " + broker.File("hall.pem") +
                           "\nkeyfile " + broker.File("hall.key") + "\n"));
  settings.tls = true;
  settings.ca = broker.File("other.pem");
  StartClient();
  EXPECT_TRUE(IsToldSoon("not connected: A TLS error occurred."));
  client.reset();
  settings.ca = broker.File("hall.pem");
  settings.host = "localhost";
  StartClient();
  EXPECT_TRUE(IsConnectedSoon());
  client->Subscribe("in", 0);
  EXPECT_TRUE(client->Publish({"in", std::string(100'000, 'x'), 1, false}));
  EXPECT_TRUE(Sees("in " + std::string(100'000, 'x')));
}

TEST_F(Broker, WithTlsCanAskTheClientForACertificate) {
  ASSERT_TRUE(MakeCertificate("hall"));
  ASSERT_TRUE(MakeCertificate("me"));
  ASSERT_TRUE(broker.Start("allow_anonymous true\nrequire_certificate true\ncertfile " +
                           broker.File("hall.pem") + "\nkeyfile " + broker.File("hall.key") +
                           "\ncafile " + broker.File("me.pem") + "\n"));
  settings.tls = true;
  settings.ca = broker.File("hall.pem");
  StartClient();
  EXPECT_TRUE(IsToldSoon("not connected: "));
  client.reset();
  settings.certificate = broker.File("me.pem");
  settings.key = broker.File("me.key");
  StartClient();
  EXPECT_TRUE(IsConnectedSoon());
}

TEST_F(Broker, ThatHasFallenSilentHoldsUpNobody) {
  ASSERT_TRUE(broker.Start());
  StartClient();
  ASSERT_TRUE(IsConnectedSoon());
  broker.Freeze();
  for (int i = 0; i < 1000; ++i)
    EXPECT_TRUE(client->Publish({"out", std::string(10'000, 'x'), 1, false}));
  client->Stop();  // the time limit of the test holds it
  EXPECT_FALSE(client->IsConnected());
  broker.GoOn();
}

// A socket that takes connections, says nothing, and has no room for more of them.
TEST_F(Broker, ThatHasNeverAnsweredHoldsUpNobody) {
  const int end = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(broker.Port()));
  place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(0, ::bind(end, reinterpret_cast<const sockaddr*>(&place), sizeof place));
  ASSERT_EQ(0, ::listen(end, 0));
  std::vector<std::unique_ptr<ZRMqttClient>> clients;
  for (int i = 0; i < 4; ++i) {
    StartClient();
    clients.push_back(std::move(client));
  }
  EXPECT_FALSE(clients.back()->IsConnected());
  clients.clear();  // the time limit of the test holds it
  (void)::close(end);
}

}  // namespace

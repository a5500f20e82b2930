// The client's half of TLS, with a server that says nothing.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "host/kafka/zrkafkaclient.h"
#include "support/freeport.h"
#include "support/logcapture.h"
#include "support/mosquitto.h"  // Until

namespace {

class ClusterWithTls : public testing::Test {
 protected:
  ClusterWithTls() {
    settings.hosts = {"127.0.0.1"};
    settings.port = FreePort();
    settings.clientId = "client of a test";
    settings.tls = true;
    settings.user = "me";
    settings.password = "c4n4ry";
    settings.mechanism = "PLAIN";
  }
  [[nodiscard]] std::string File(const std::string& name) const { return folder.path / name; }
  // With a certificate for that address alone.
  void StartServer(const std::string& address) {
    RunningProgram make({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                         "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj", "/CN=x",
                         "-addext", "subjectAltName=IP:" + address, "-keyout", File("key"), "-out",
                         File("pem")});
    ASSERT_EQ(0, make.Wait());
    server = std::make_unique<RunningProgram>(std::vector<std::string>{
        "socat", "-d", "-d", "-u",
        "OPENSSL-LISTEN:" + std::to_string(settings.port) +
            ",bind=127.0.0.1,verify=0,cert=" + File("pem") + ",key=" + File("key"),
        "STDOUT"});
    ASSERT_TRUE(server->WaitFor("listening on")) << server->Error();
  }
  // What the server has got by the time at which the client has stopped.
  [[nodiscard]] std::string Heard() {
    client.reset();
    (void)server->Wait();
    return server->Out();
  }
  void Start() {
    client = std::make_unique<ZRKafkaClient>(settings);
    ASSERT_TRUE(client->Start());
  }
  [[nodiscard]] bool IsToldSoon(const std::string& reason) const {
    return Mosquitto::Until([&] {
      for (const auto& line : log.Lines())
        if (line.text.find(reason) != std::string::npos) return true;
      return false;
    });
  }

  LogCapture log{kLogDelivery};
  SiteFolder folder;
  ZRKafkaSettings settings;
  std::unique_ptr<RunningProgram> server;
  std::unique_ptr<ZRKafkaClient> client;
};

TEST_F(ClusterWithTls, IsSpokenToIfItsCertificateIsTrusted) {
  StartServer("127.0.0.1");
  settings.ca = File("pem");
  Start();
  EXPECT_TRUE(client->Publish({"t", "k", "1"}));  // so that it doesn't stop at once
  const std::string heard = Heard();
  EXPECT_NE(std::string::npos, heard.find(settings.clientId));
  EXPECT_EQ(std::string::npos, heard.find("c4n4ry"));  // not before it has answered
}

TEST_F(ClusterWithTls, IsToldNothingIfItsCertificateIsNotTrusted) {
  StartServer("127.0.0.1");
  Start();
  EXPECT_TRUE(IsToldSoon("certificate verify failed"));
  EXPECT_EQ("", Heard());
}

TEST_F(ClusterWithTls, IsToldNothingIfItsCertificateIsForAnother) {
  StartServer("127.0.0.2");
  settings.ca = File("pem");
  Start();
  EXPECT_TRUE(IsToldSoon("certificate verify failed"));
  EXPECT_EQ("", Heard());
}

}  // namespace

#include "tessaly/zrsitebus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "host/messaging/zrmessaging.h"
#include "host/platform/zrvirtualtime.h"
#include "support/fakekafka.h"
#include "support/fakemqtt.h"
#include "support/findinglines.h"
#include "support/sitefolder.h"
#include "tessaly/zrengineid.h"

namespace {

using testing::HasSubstr;

class SiteBus : public testing::Test {
 protected:
  ~SiteBus() override { EngineCreationPublisherManager::SetEngineUuid(L""); }

  void Load(const std::string& settings) {
    site.Write("tessaly.toml", settings);
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    ASSERT_TRUE(setup.Load(site.WidePath(), problems, warnings));
  }
  void WritePassword(const std::string& text, mode_t mode = 0600) const {
    site.Write("config/bus.toml", text);
    ASSERT_EQ(0, ::chmod((site.path / "config/bus.toml").c_str(), mode));
  }
  void Begin() { bus.Begin(setup, site.path, findings); }
  std::string Said() const {
    std::string text;
    for (const ZRFinding& finding : findings)
      text += FindingLine(finding) + "\n";
    return text;
  }
  [[nodiscard]] std::string EngineId() const {
    std::ostringstream text;
    text << std::ifstream(site.path / kEngineIdFile).rdbuf();
    return text.str();
  }

  SiteFolder site;
  ZRVirtualTime time;
  FakeMqtt broker;
  FakeKafka cluster;
  ZRTessalySetup setup;
  ZRFindings findings;
  ZRSiteBus bus;
};

TEST_F(SiteBus, IsNotThereWithoutABroker) {
  Load("");
  Begin();
  bus.Open();
  EXPECT_EQ(nullptr, EventCreationPublisherManager::GetEventCreationPublisherFactory());
  EXPECT_FALSE(std::filesystem::exists(site.path / kEngineIdFile));
  EXPECT_EQ("", Said());
}

TEST_F(SiteBus, KeepsTheIdOfItsEngine) {
  Load("bus.host = \"broker\"\n");
  Begin();
  const std::string made = EngineId();
  EXPECT_EQ(kUuidTextLength + 1, made.size());
  EXPECT_EQ(made,
            Narrow(ZRWString(EngineCreationPublisherManager::GetEngineUuid().c_str())) + "\n");
  bus.Open();
  time.Advance(1);
  EXPECT_EQ("online", broker.retained["tessaly/" + made.substr(0, kUuidTextLength) + "/status"]);
  bus.End();
  Begin();
  EXPECT_EQ(made, EngineId());
  EXPECT_EQ("", Said());
}

TEST_F(SiteBus, IsNotThereWithADamagedId) {
  Load("bus.host = \"broker\"\n");
  site.Write(kEngineIdFile, "x\n");
  std::filesystem::permissions(site.path / kEngineIdFile, std::filesystem::perms(0600));
  Begin();
  EXPECT_THAT(Said(), HasSubstr("engine.id: dropped: there is no event bus: it holds no id\n"));
  EXPECT_EQ("x\n", EngineId());
  EXPECT_EQ(nullptr, EventCreationPublisherManager::GetEventCreationPublisherFactory());
}

TEST_F(SiteBus, IsNotThereWithoutThreads) {
  Load("bus.host = \"broker\"\n");
  time.FailThreadsAfter(0);
  Begin();
  EXPECT_THAT(Said(), HasSubstr("there is no event bus: the system gives no thread\n"));
}

TEST_F(SiteBus, HasItsPasswordInAFileOfItsOwnerAlone) {
  Load("bus.host = \"broker\"\n");
  CheckBus(setup, findings);
  EXPECT_EQ("", Said());
  WritePassword("password = \"c4n4ry\"\n");
  CheckBus(setup, findings);
  EXPECT_EQ("", Said());
  WritePassword("password = \"c4n4ry\"\n", 0644);
  CheckBus(setup, findings);
  EXPECT_THAT(Said(), HasSubstr("config/bus.toml: broken: its mode must be 0600"));
  findings.clear();
  WritePassword("password = 5\nother = \"c4n4ry\"\n");
  CheckBus(setup, findings);
  EXPECT_THAT(Said(), HasSubstr("password must be a text"));
  EXPECT_EQ(std::string::npos, Said().find("c4n4ry"));
}

TEST_F(SiteBus, WithoutABrokerAsksForNoPassword) {
  Load("");
  WritePassword("x", 0644);
  CheckBus(setup, findings);
  EXPECT_EQ("", Said());
}

TEST_F(SiteBus, IsOnKafkaIfTheSettingsSaySo) {
  Load(
      "[bus]\nkind = \"kafka\"\nhost = \"a\"\nfurther = [\"b\"]\ntls = true\nuser = \"me\"\n"
      "prefix = \"hall\"\nca = \"ca.pem\"\nmechanism = \"PLAIN\"\nqueue = 7\n");
  WritePassword("password = \"c4n4ry\"\n");
  Begin();
  bus.Open();
  time.Advance(1);
  const std::string engine = EngineId().substr(0, kUuidTextLength);
  EXPECT_EQ("online", cluster.Newest("hall.status", engine));
  EXPECT_EQ(0, broker.attempts);
  const ZRKafkaSettings& given = cluster.given;
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), given.hosts);
  EXPECT_EQ(ZRKafkaSettings::kTlsPort, given.port);
  EXPECT_EQ("tessaly-" + engine, given.clientId);
  EXPECT_EQ("me c4n4ry PLAIN lz4",
            given.user + " " + given.password + " " + given.mechanism + " " + given.compression);
  EXPECT_EQ(site.path / "ca.pem", given.ca);
  EXPECT_EQ(7u, given.mostWaiting);
  EXPECT_TRUE(given.tls);
  bus.End();
  EXPECT_EQ("offline", cluster.Newest("hall.status", engine));
  EXPECT_EQ("", Said());
}

}  // namespace

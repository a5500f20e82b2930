// The event bus of a running site, as a client of others' making sees it.
#include <algorithm>

#include "support/mosquitto.h"
#include "tessaly/program/programfixture.h"

namespace {

class BusProgram : public Program {
 protected:
  void SetUp() override {
    if (!Mosquitto::IsInstalled()) GTEST_SKIP() << Mosquitto::kPath << " isn't installed";
    Settings("[bus]\nhost = \"127.0.0.1\"\nport = " + std::to_string(broker.Port()) +
             "\ndiscovery = true\n");
    Events(EventXml("Always", 1).Condition("1 = 1").Record());
  }
  // Waits until the broker keeps `text` for a topic of the filter.
  bool Keeps(const std::string& filter, const std::string& text) {
    return Mosquitto::Until([&] {
      kept = broker.Retained(filter);
      return kept.find(text) != std::string::npos;
    });
  }

  Mosquitto broker;
  std::string kept;
};

TEST_F(BusProgram, ShowsDefinitionsStatesAndTransitions) {
  ASSERT_TRUE(broker.Start());
  const auto transition = broker.Listener("one", "tessaly/+/event/+/transition", 1);
  const auto status = broker.Listener("two", "tessaly/+/status", 2);
  ASSERT_NE(0, Start()) << program->Error();
  EXPECT_EQ(0, transition->Wait());
  EXPECT_NE(std::string::npos, transition->Out().find("\"transition\":\"ON\""))
      << transition->Out();
  EXPECT_TRUE(Keeps("tessaly/+/event/+/state", "\"state\":\"ON\"")) << kept;
  EXPECT_TRUE(Keeps("tessaly/+/event/+/definition", "\"name\":\"Always\"")) << kept;
  EXPECT_TRUE(Keeps("homeassistant/binary_sensor/+/+/config", "\"name\":\"Always\"")) << kept;
  const std::string config = kept;
  EXPECT_EQ(kDone, Stop());
  EXPECT_EQ(0, status->Wait());
  EXPECT_TRUE(status->Out().ends_with(" offline\n")) << status->Out();
  EXPECT_EQ(kDone, RunWith({"--version"}));  // "tessaly 0.1.0\n"
  const std::string version = out.substr(out.find(' ') + 1, out.size() - out.find(' ') - 2);
  EXPECT_NE(std::string::npos,
            config.find(R"("origin":{"name":"tessaly","sw_version":")" + version + "\"}"))
      << config;
}

TEST_F(BusProgram, GoesOnWithoutABrokerAndFindsItLater) {
  ASSERT_NE(0, Start()) << program->Error();
  ASSERT_TRUE(program->WaitFor("not connected: Connection refused")) << program->Error();
  ASSERT_TRUE(broker.Start());
  EXPECT_TRUE(Keeps("tessaly/+/event/+/state", "\"state\":\"ON\"")) << kept;
  broker.Kill();
  ASSERT_TRUE(program->WaitFor("not connected: The connection was lost.")) << program->Error();
  ASSERT_TRUE(broker.Start());
  EXPECT_TRUE(Keeps("tessaly/+/event/+/state", "\"state\":\"ON\"")) << kept;
  EXPECT_TRUE(Keeps("tessaly/+/status", " online")) << kept;
  EXPECT_EQ(kDone, Stop());
}

TEST_F(BusProgram, TakesAnEventAwayThatAReloadDoesNotFind) {
  ASSERT_TRUE(broker.Start());
  ASSERT_NE(0, Start()) << program->Error();
  ASSERT_TRUE(Keeps("tessaly/+/event/+/state", "\"state\":\"ON\"")) << kept;
  Events(EventXml("Ever", 2).Condition("1 = 1"));
  program->Signal(SIGHUP);
  EXPECT_TRUE(Keeps("tessaly/+/event/+/definition", "\"name\":\"Ever\"")) << kept;
  EXPECT_TRUE(Mosquitto::Until([&] {
    kept = broker.Retained("tessaly/+/event/+/definition");
    return std::count(kept.begin(), kept.end(), '\n') == 1;
  })) << kept;
  // An event that isn't recorded has no transitions, but a state.
  EXPECT_TRUE(Keeps("tessaly/+/event/+/state", "\"state\":\"ON\"")) << kept;
}

TEST_F(BusProgram, IsCheckedForItsPassword) {
  site.Write("config/bus.toml", "password = \"c4n4ry\"\n");
  std::filesystem::permissions(site.path / "config/bus.toml", std::filesystem::perms(0644));
  EXPECT_EQ(kImpossible, Run({"check"}));
  EXPECT_NE(std::string::npos, out.find("bus.toml: broken: its mode must be 0600")) << out << error;
  EXPECT_EQ(std::string::npos, (out + error).find("c4n4ry"));
}

}  // namespace

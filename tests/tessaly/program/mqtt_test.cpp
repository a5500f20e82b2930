// A site whose variables come from a broker that nobody here wrote.
#include "support/mosquitto.h"
#include "tessaly/program/programfixture.h"

namespace {

constexpr const char* kVariables = R"toml(
[[driver.variable]]
name = "T"
topic = "room"
pointer = "/t"
measure = "kW"
[[driver.variable]]
name = "FRESH"
topic = "room"
pointer = "/t"
max_age_s = 4
retained = false
[[driver.variable]]
name = "VALVE"
topic = "valve"
type = "switch"
on = "open"
off = "closed"
command_topic = "valve/set"
command = '{"state": VALUE}'
)toml";

class MqttProgram : public Program {
 protected:
  void SetUp() override {
    if (!Mosquitto::IsInstalled()) GTEST_SKIP() << Mosquitto::kPath << " isn't installed";
    Driver("grace_s = 0\nstatus = \"farm/status\"\n");
  }
  void Driver(const std::string& more) {
    Settings("[[driver]]\ntype = \"mqtt\"\nname = \"farm\"\nhost = \"127.0.0.1\"\nport = " +
             std::to_string(broker.Port()) + "\n" + more + kVariables);
  }
  void Password(const std::string& password, int mode = 0600) {
    site.Write("config/drivers.toml",
               "[[account]]\ndriver = \"farm\"\npassword = \"" + password + "\"\n");
    std::filesystem::permissions(site.path / "config/drivers.toml", std::filesystem::perms(mode));
  }
  void StartSite() {
    listens = Start();
    ASSERT_NE(0, listens) << program->Error();
  }
  int Ask(std::vector<std::string> words) {
    words.insert(words.begin() + 1, {"--port", std::to_string(listens)});
    return Run(std::move(words));
  }
  // Asks until the answer has `text`.
  bool Shows(const std::string& text, const std::string& format = "csv") {
    return Mosquitto::Until([&] {
      return Ask({"drivers", "--format", format}) == kDone && out.find(text) != std::string::npos;
    });
  }

  Mosquitto broker;
  int listens = 0;
};

TEST_F(MqttProgram, ShowsWhatIsPublishedAndForgetsIt) {
  ASSERT_TRUE(broker.Start());
  ASSERT_TRUE(broker.Publish("room", R"({"t":20})", true));
  StartSite();
  EXPECT_TRUE(Shows("farm,T,20,kW,good,")) << out;
  EXPECT_TRUE(Shows("farm,FRESH,,,unavailable,")) << out;
  ASSERT_TRUE(broker.Publish("room", R"({"t":21.5})"));
  EXPECT_TRUE(Shows("farm,FRESH,21.5,,good,")) << out;
  EXPECT_TRUE(Shows("farm,FRESH,,,unavailable,")) << out;  // too old
  EXPECT_TRUE(Shows("farm,T,21.5,kW,good,")) << out;
  ASSERT_TRUE(broker.Publish("room", "[[[["));
  EXPECT_TRUE(Shows("farm,ERRORS,2,")) << out;
  EXPECT_TRUE(Shows("farm,T,,kW,unavailable,")) << out;
  EXPECT_TRUE(Says("what came for 'room' isn't JSON") ||
              program->WaitFor("what came for 'room' isn't JSON"));
  EXPECT_EQ(kDone, Stop());
  EXPECT_EQ("farm/status offline\n", broker.Retained("farm/#"));
}

TEST_F(MqttProgram, ForcesByAMessage) {
  ASSERT_TRUE(broker.Start());
  StartSite();
  ASSERT_TRUE(Shows("farm,ONLINE,1,")) << out;
  const auto seen = broker.Listener("valve", "valve/set", 2);
  EXPECT_EQ(kDone, Ask({"force", "farm.VALVE", "1"})) << error;
  EXPECT_EQ(kDone, Ask({"force", "farm.VALVE", "0"})) << error;
  EXPECT_EQ(0, seen->Wait());
  EXPECT_EQ("valve/set {\"state\": \"open\"}\nvalve/set {\"state\": \"closed\"}\n", seen->Out());
  ASSERT_TRUE(broker.Publish("valve", "open"));
  EXPECT_TRUE(Shows("farm,VALVE,1,")) << out;
  EXPECT_EQ(kFaulty, Ask({"force", "farm.VALVE", "7"}));
  EXPECT_EQ(kFaulty, Ask({"force", "farm.T", "1"}));
  EXPECT_EQ(kDone, Stop());
}

TEST_F(MqttProgram, GoesOnWithoutABrokerAndFindsItAgain) {
  StartSite();
  EXPECT_TRUE(Shows("driver 'farm' is offline: MQTT broker 127.0.0.1:", "table")) << out;
  EXPECT_EQ(kFaulty, Ask({"force", "farm.VALVE", "1"}));
  ASSERT_TRUE(broker.Start());
  ASSERT_TRUE(broker.Publish("room", R"({"t":20})", true));
  EXPECT_TRUE(Shows("farm,T,20,kW,good,")) << out;
  broker.Kill();
  EXPECT_TRUE(Shows("farm,T,,kW,unavailable,")) << out;
  EXPECT_TRUE(Shows("farm,ONLINE,0,")) << out;
  ASSERT_TRUE(broker.Start());
  ASSERT_TRUE(broker.Publish("room", R"({"t":22})", true));
  EXPECT_TRUE(Shows("farm,T,22,kW,good,")) << out;
  EXPECT_EQ("farm/status online\n", broker.Retained("farm/#"));
  const auto seen = broker.Subscriber("valve/set", {"-W", "1"});
  (void)seen->Wait();
  EXPECT_EQ("", seen->Out()) << "what was forced without a broker is sent late";
  EXPECT_EQ(kDone, Stop());
}

TEST_F(MqttProgram, ABrokerThatHasFallenSilentHoldsUpNobody) {
  ASSERT_TRUE(broker.Start());
  StartSite();
  ASSERT_TRUE(Shows("farm,ONLINE,1,")) << out;
  broker.Freeze();
  EXPECT_EQ(kDone, Ask({"force", "farm.VALVE", "1"})) << error;
  EXPECT_TRUE(Shows("sim,LEVEL,2.5,")) << out;
  EXPECT_EQ(kDone, Stop());  // the patience of RunningProgram holds it
  broker.GoOn();
}

TEST_F(MqttProgram, SignsInWithThePasswordOfItsFile) {
  broker.Write("users", "");
  ASSERT_EQ(
      0, RunningProgram({"mosquitto_passwd", "-b", broker.File("users"), "me", "c4n4ry"}).Wait());
  ASSERT_TRUE(broker.Start("allow_anonymous false\npassword_file " + broker.File("users") + "\n"));
  Driver("user = \"me\"\n");
  Password("c4n4ry");
  StartSite();
  EXPECT_TRUE(Shows("farm,ONLINE,1,")) << out;
  EXPECT_EQ(kDone, Stop());
  EXPECT_FALSE(Says("c4n4ry"));
}

TEST_F(MqttProgram, IsCheckedForItsPasswordAndItsTopics) {
  Driver("user = \"me\"\n[[driver.variable]]\nname = \"W\"\ntopic = \"a/#\"\n");
  EXPECT_EQ(kFaulty, Run({"check"}));
  EXPECT_NE(std::string::npos,
            out.find("tessaly.toml:7: dropped: driver \"farm\", variable \"W\": \"topic\" must be "
                     "one topic"))
      << out << error;
  Driver("user = \"me\"\n");
  EXPECT_EQ(kDone, Run({"check"})) << out << error;
  Password("c4n4ry", 0644);
  EXPECT_EQ(kImpossible, Run({"check"}));
  EXPECT_NE(std::string::npos, out.find("drivers.toml: broken: its mode must be 0600"))
      << out << error;
  EXPECT_EQ(std::string::npos, (out + error).find("c4n4ry"));
}

}  // namespace

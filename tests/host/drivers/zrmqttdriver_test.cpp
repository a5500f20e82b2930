#include "host/drivers/zrmqttdriver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"
#include "host/drivers/zrdriverfactory.h"
#include "support/fakemqtt.h"
#include "support/logcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kHead =
    "<type>mqtt</type><name>farm</name><host>broker</host><client>me</client>";

std::string Variable(const std::string& name, const std::string& topic,
                     const std::string& more = "") {
  return "<variable><name>" + name + "</name><topic>" + topic + "</topic>" + more + "</variable>";
}

class MqttDriver : public ::testing::Test {
 protected:
  void Make(const std::string& elements) {
    std::vector<ZRSettingProblem> problems;
    const CSettings settings(kHead + elements);
    driver = ZRDriverFactory::Make(settings.Table(), problems);
    ASSERT_NE(nullptr, driver) << TextsOf(problems);
    EXPECT_EQ("", TextsOf(problems));
  }
  void Start(const std::string& elements) {
    Make(elements);
    ASSERT_TRUE(driver->Start());
    time.Advance(1);
  }
  void Send(const std::string& topic, const std::string& payload, bool retain = false) {
    broker.Send({topic, payload, 0, retain});
    time.Advance(1);
  }
  // The connection ends, and the broker is away from then on.
  void Lose() {
    broker.refusal = "refused";
    broker.Cut("gone");
    time.Advance(1);
  }
  bool Force(const char* variable, double number) {
    ZRValue value;
    value.SetNumeric(number);
    const bool done =
        driver->ForceValue(driver->VariableNumber(Utf8ToUtf16(variable)), value, L"farm");
    time.Advance(1);
    return done;
  }
  [[nodiscard]] tagSVariableValueInfo InfoOf(const char* variable) const {
    tagSVariableValueInfo info;
    EXPECT_TRUE(driver->ValueInfo(driver->VariableNumber(Utf8ToUtf16(variable)), info));
    return info;
  }

  ZRVirtualTime time;
  FakeMqtt broker;
  LogCapture log{kLogDelivery};
  std::unique_ptr<ZRDriver> driver;
};

TEST_F(MqttDriver, StartWaitsForNoBroker) {
  broker.answers = false;
  Make(Variable("T", "t"));
  const std::uint32_t before = time.TickCount();
  ASSERT_TRUE(driver->Start());
  EXPECT_EQ(before, time.TickCount());
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_EQ(0, NumberOf(L"farm.ONLINE"));
  EXPECT_EQ(0, NumberOf(L"farm.ERRORS"));
  EXPECT_FALSE(driver->IsOnline());
}

TEST_F(MqttDriver, ShowsWhatMessagesSay) {
  Start(Variable("T", "t", "<scale>0.1</scale>") + Variable("S", "s", "<type>switch</type>") +
        Variable("X", "x", "<type>text</type>"));
  EXPECT_TRUE(driver->IsOnline());
  EXPECT_EQ(1, NumberOf(L"farm.ONLINE"));
  Send("t", "215");
  Send("s", "ON");
  Send("x", "idle");
  EXPECT_EQ(21.5, NumberOf(L"farm.T"));
  EXPECT_EQ(1, NumberOf(L"farm.S"));
  EXPECT_EQ("idle", TextOf(L"farm.X"));
  Send("t", "");
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_EQ(0, NumberOf(L"farm.ERRORS"));
}

TEST_F(MqttDriver, OneSubscriptionAndOneMessageServeAllVariablesOfATopic) {
  Start(Variable("T", "room", "<pointer>/t</pointer>") +
        Variable("H", "room", "<pointer>/h/0</pointer>") + Variable("W", "wind"));
  EXPECT_THAT(broker.filters, ElementsAre("room", "wind"));
  Send("room", R"({"t":21.5,"h":[40,50]})");
  EXPECT_EQ(21.5, NumberOf(L"farm.T"));
  EXPECT_EQ(40, NumberOf(L"farm.H"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.W"));
}

TEST_F(MqttDriver, AVariableCanBeLeftOutOfADocument) {
  Start(Variable("T", "room", "<pointer>/t</pointer><optional>T</optional>") +
        Variable("H", "room", "<pointer>/h</pointer>"));
  Send("room", R"({"t":21.5,"h":40})");
  Send("room", R"({"h":41})");
  EXPECT_EQ(21.5, NumberOf(L"farm.T"));
  Send("room", R"({"t":22})");
  EXPECT_EQ(22, NumberOf(L"farm.T"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.H"));
  EXPECT_EQ(1, NumberOf(L"farm.ERRORS"));
}

TEST_F(MqttDriver, ABadPayloadMakesItsVariableUnavailableUntilTheNextOne) {
  Start(Variable("T", "t"));
  Send("t", "21.5");
  Send("t", "1e999");
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_EQ(1, NumberOf(L"farm.ERRORS"));
  EXPECT_STREQ("variable 'T': what came for 't' is no number of this size",
               driver->Trouble().Text());
  Send("t", "22");
  EXPECT_EQ(22, NumberOf(L"farm.T"));
  EXPECT_STREQ("", driver->Trouble().Text());
}

TEST_F(MqttDriver, ACauseIsToldOnceAndAgainWhenItComesBackLater) {
  Start(Variable("A", "t", "<pointer>/a</pointer>") + Variable("B", "t", "<pointer>/b</pointer>"));
  for (int i = 0; i < 5; ++i) {
    Send("t", "not JSON");
    Send("t", R"({"a":"x","b":1})");
  }
  EXPECT_THAT(log.Starting("driver 'farm'"),
              ElementsAre("driver 'farm': what came for 't' isn't JSON",
                          "driver 'farm': variable 'A': what came for 't' isn't a number"));
  EXPECT_EQ(15, NumberOf(L"farm.ERRORS"));
  Send("t", "not JSON");
  EXPECT_STREQ("what came for 't' isn't JSON; and 1 more", driver->Trouble().Text());
  log.Clear();
  time.Advance(ZRMqttDriver::kForgotten);
  Send("t", "not JSON");
  EXPECT_THAT(log.Starting("driver 'farm'"),
              ElementsAre("driver 'farm': what came for 't' isn't JSON"));
}

TEST_F(MqttDriver, TooLargeAPayloadIsBad) {
  Start(Variable("T", "t"));
  Send("t", std::string(ZRMqttPayload::kMostBytes, ' ') + "7");
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_THAT(log.Starting("driver 'farm'"),
              ElementsAre("driver 'farm': what came for 't' has more than 262144 bytes"));
}

TEST_F(MqttDriver, PassesOverWhatItHasNotAskedFor) {
  Start(Variable("T", "t"));
  broker.filters.insert("other");
  Send("other", "7");
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_EQ(0, NumberOf(L"farm.ERRORS"));
}

TEST_F(MqttDriver, ForgetsAValueThatIsTooOld) {
  Start(Variable("T", "t", "<max_age_s>60</max_age_s>") + Variable("F", "t"));
  Send("t", "1");
  time.Advance(58'000);
  EXPECT_EQ(1, NumberOf(L"farm.T"));
  Send("t", "2");
  time.Advance(58'000);
  EXPECT_EQ(2, NumberOf(L"farm.T"));
  time.Advance(3'000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_EQ(2, NumberOf(L"farm.F")) << "any age is good enough";
  Send("t", "3");
  EXPECT_EQ(3, NumberOf(L"farm.T"));
}

TEST_F(MqttDriver, WhatTheBrokerHadKeptCountsUnlessItShallNot) {
  broker.retained["t"] = "21.5";
  Start(Variable("T", "t") + Variable("N", "t", "<retained>F</retained>"));
  EXPECT_EQ(21.5, NumberOf(L"farm.T"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.N"));
  Send("t", "22", true);  // it is there as it is sent, and was kept by nobody
  EXPECT_EQ(22, NumberOf(L"farm.N"));
}

TEST_F(MqttDriver, ForgetsAllValuesWhenTheBrokerIsAwayForTooLong) {
  Start("<grace_s>10</grace_s>" + Variable("T", "t"));
  Send("t", "21.5");
  Lose();
  EXPECT_EQ(0, NumberOf(L"farm.ONLINE"));
  EXPECT_FALSE(driver->IsOnline());
  EXPECT_STREQ("MQTT broker broker:1883: not connected: gone", driver->Trouble().Text());
  time.Advance(9'000);
  EXPECT_EQ(21.5, NumberOf(L"farm.T"));
  time.Advance(2'000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  broker.refusal = "";
  broker.retained["t"] = "22";
  time.Advance(60'000);
  EXPECT_EQ(1, NumberOf(L"farm.ONLINE"));
  EXPECT_EQ(22, NumberOf(L"farm.T"));
}

TEST_F(MqttDriver, KeepsItsValuesOverAShortInterruption) {
  Start("<grace_s>10</grace_s>" + Variable("T", "t"));
  Send("t", "21.5");
  broker.Cut("gone");
  time.Advance(60'000);
  EXPECT_TRUE(driver->IsOnline());
  EXPECT_EQ(21.5, NumberOf(L"farm.T"));
}

TEST_F(MqttDriver, WithoutGraceForgetsAtOnce) {
  Start("<grace_s>0</grace_s>" + Variable("T", "t"));
  Send("t", "21.5");
  Lose();
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
}

TEST_F(MqttDriver, AgesAlsoWithoutTheBroker) {
  Start("<grace_s>3600</grace_s>" + Variable("T", "t", "<max_age_s>5</max_age_s>"));
  Send("t", "21.5");
  Lose();
  time.Advance(6'000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
}

TEST_F(MqttDriver, PublishesWhatIsForced) {
  Start(Variable("T", "t",
                 "<command_topic>t/set</command_topic><command>{\"t\": VALUE}</command>"
                 "<command_qos>0</command_qos><command_retain>T</command_retain>"
                 "<least>5</least><most>30</most>") +
        Variable("S", "s", "<type>switch</type><command_topic>s/set</command_topic>"));
  EXPECT_TRUE(Force("T", 21.5));
  EXPECT_TRUE(Force("S", 1));
  EXPECT_FALSE(Force("T", 31));
  EXPECT_FALSE(Force("S", 7));
  ASSERT_EQ(2u, broker.received.size());
  EXPECT_EQ("t/set", broker.received[0].topic);
  EXPECT_EQ("{\"t\": 21.5}", broker.received[0].payload);
  EXPECT_EQ(0, broker.received[0].qos);
  EXPECT_TRUE(broker.received[0].retain);
  EXPECT_EQ("ON", broker.received[1].payload);
  EXPECT_EQ(1, broker.received[1].qos);
  EXPECT_FALSE(broker.received[1].retain);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T")) << "until its topic says so";
}

TEST_F(MqttDriver, ForcesNothingWithoutACommandTopic) {
  Start(Variable("T", "t"));
  EXPECT_FALSE(Force("T", 1));
  EXPECT_FALSE(Force("ONLINE", 1));
  EXPECT_FALSE(Force("ERRORS", 1));
  EXPECT_FALSE(Force("NONE", 1));
  EXPECT_THAT(broker.received, IsEmpty());
}

TEST_F(MqttDriver, ForcesNothingWithoutAConnectionAndNothingLate) {
  broker.refusal = "refused";
  Start(Variable("T", "t", "<command_topic>t/set</command_topic>"));
  const std::uint32_t before = time.TickCount();
  ZRValue value;
  value.SetNumeric(1);
  EXPECT_FALSE(driver->ForceValue(driver->VariableNumber(L"T"), value, L"farm.T"));
  EXPECT_EQ(before, time.TickCount());
  broker.refusal = "";
  time.Advance(120'000);
  ASSERT_TRUE(driver->IsOnline());
  EXPECT_THAT(broker.received, IsEmpty());
  broker.confirms = false;
  EXPECT_TRUE(Force("T", 2));
  broker.Cut("gone");
  broker.confirms = true;
  time.Advance(60'000);
  EXPECT_THAT(broker.Payloads("t/set"), ElementsAre("2")) << "once, though nobody confirmed it";
}

TEST_F(MqttDriver, ForcingWaitsForNoBroker) {
  broker.confirms = false;
  Start(Variable("T", "t", "<command_topic>t/set</command_topic>"));
  ZRValue value;
  value.SetNumeric(1);
  const std::uint32_t before = time.TickCount();
  for (std::size_t i = 0; i < 2 * ZRMqttClient::kMostUnderWay; ++i)
    EXPECT_TRUE(driver->ForceValue(driver->VariableNumber(L"T"), value, L"farm.T"));
  EXPECT_EQ(before, time.TickCount());
}

TEST_F(MqttDriver, TellsItsStatus) {
  Start("<status>farm/status</status>" + Variable("T", "t"));
  EXPECT_EQ("online", broker.retained["farm/status"]);
  broker.Cut("gone");
  time.Advance(1);
  EXPECT_EQ("offline", broker.retained["farm/status"]);
  time.Advance(ZRMqttClient::kFirstWait + 1);
  EXPECT_EQ("online", broker.retained["farm/status"]);
  driver->Stop();
  EXPECT_EQ("offline", broker.retained["farm/status"]);
}

TEST_F(MqttDriver, DescribesItsVariables) {
  Make(Variable("T", "t", "<measure>kW</measure><command_topic>c</command_topic>") +
       Variable("S", "s", "<type>switch</type><on>a &amp; b</on><on>x</on><off>shut</off>") +
       Variable("D", "s", "<type>switch</type>") + Variable("X", "x", "<type>text</type>"));
  EXPECT_STREQ("kW", InfoOf("T").measure.Text());
  EXPECT_EQ(tagSVariableValueInfo::kForceable, InfoOf("T").flags);
  ASSERT_EQ(2u, InfoOf("S").labels.size());
  EXPECT_STREQ("shut", InfoOf("S").labels[0].Text());
  EXPECT_STREQ("a &amp; b", InfoOf("S").labels[1].Text());
  EXPECT_STREQ("OFF", InfoOf("D").labels[0].Text());
  EXPECT_EQ(0, InfoOf("D").flags);
  EXPECT_EQ(tagSVariableValueInfo::kText, InfoOf("X").type);
  EXPECT_EQ(0, InfoOf("ONLINE").flags);
  tagSVariableValueInfo info;
  EXPECT_FALSE(driver->ValueInfo(99, info));
}

TEST_F(MqttDriver, StopsInBoundedTimeAndShowsNothingFromThenOn) {
  broker.confirms = false;
  Start("<status>s</status>" + Variable("T", "t"));
  Send("t", "21.5");
  const std::uint32_t before = time.TickCount();
  driver->Stop();
  EXPECT_LE(time.TickCount() - before, 2 * ZRMqttClient::kFarewellTime);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.T"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.ONLINE"));
  EXPECT_FALSE(driver->IsOnline());
}

TEST_F(MqttDriver, CanBeStartedAgain) {
  Start(Variable("T", "t"));
  Send("t", "x");
  EXPECT_TRUE(driver->Start()) << "it goes on";
  driver->Stop();
  driver->Stop();
  ASSERT_TRUE(driver->Start());
  time.Advance(1);
  EXPECT_EQ(0, NumberOf(L"farm.ERRORS"));
  Send("t", "7");
  EXPECT_EQ(7, NumberOf(L"farm.T"));
}

TEST_F(MqttDriver, DoesNotStartWithoutThreads) {
  Make(Variable("T", "t"));
  for (int threads = 0; threads < 2; ++threads) {
    time.FailThreadsAfter(threads);
    EXPECT_FALSE(driver->Start()) << threads;
    EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"farm.ONLINE"));
  }
}

// --- its settings ---

class MqttSettings : public ::testing::Test {
 protected:
  // What is wrong with the settings, without the driver's name in front.
  std::string Refusal(const std::string& elements, const ZRDriverPasswords& passwords = {}) {
    std::vector<ZRSettingProblem> problems;
    const CSettings settings("<type>mqtt</type><name>farm</name>" + elements);
    const auto driver = ZRDriverFactory::Make(settings.Table(), problems, passwords);
    EXPECT_EQ(nullptr, driver) << elements;
    EXPECT_EQ(1u, problems.size()) << TextsOf(problems);
    const std::string text = problems.empty() ? "" : problems.front().text.Text();
    return text.starts_with("driver \"farm\": ") ? text.substr(15) : text;
  }
  std::string OfVariable(const std::string& elements) {
    const std::string text =
        Refusal("<host>b</host><variable><name>T</name>" + elements + "</variable>");
    const std::string front = "driver \"farm\", variable \"T\": ";
    EXPECT_TRUE(text.starts_with(front)) << text;
    return text.substr(std::min(front.size(), text.size()));
  }
  const ZRMqttSettings& Client(const std::string& elements,
                               const ZRDriverPasswords& passwords = {}) {
    std::vector<ZRSettingProblem> problems;
    const CSettings settings("<type>mqtt</type><name>farm</name><host>b</host>" + elements + kT);
    EXPECT_NE(nullptr, ZRDriverFactory::Make(settings.Table(), problems, passwords))
        << TextsOf(problems);
    warnings = TextsOf(problems);
    return broker.clients.back();
  }

  static inline const std::string kT = Variable("T", "t");
  ZRVirtualTime time;
  FakeMqtt broker;
  std::string warnings;
};

TEST_F(MqttSettings, MakeTheClient) {
  const ZRMqttSettings plain = Client("<user>me</user>", {{"farm", "c4n4ry"}, {"x", "y"}});
  EXPECT_EQ("b", plain.host);
  EXPECT_EQ(1883, plain.port);
  EXPECT_EQ("me", plain.user);
  EXPECT_EQ("c4n4ry", plain.password);
  EXPECT_FALSE(plain.birth || plain.will);
  EXPECT_FALSE(plain.outlasts);
  const ZRMqttSettings tls = Client("<tls>T</tls><client>farm 1</client><status>s</status>");
  EXPECT_TRUE(tls.tls);
  EXPECT_EQ(8883, tls.port);
  EXPECT_EQ("farm 1", tls.clientId);
  EXPECT_EQ("", tls.password);
  EXPECT_EQ("online", tls.birth->payload);
  EXPECT_EQ("offline", tls.will->payload);
  EXPECT_TRUE(tls.birth->retain && tls.will->retain);
  EXPECT_EQ(99, Client("<tls>T</tls><port>99</port>").port);
  EXPECT_EQ("", warnings);
}

TEST_F(MqttSettings, GiveEachClientAnIdOfItsOwn) {
  const std::string one = Client("").clientId;
  EXPECT_TRUE(one.starts_with("tessaly-"));
  EXPECT_NE(one, Client("").clientId);
}

TEST_F(MqttSettings, NameFilesBelowTheSiteOrAnywhere) {
  const ZRMqttSettings made =
      Client("<tls>T</tls><ca>/none/ca.pem</ca><certificate>me.pem</certificate><key>me.key</key>");
  EXPECT_EQ("/none/ca.pem", made.ca);
  EXPECT_TRUE(made.certificate.starts_with('/') && made.certificate.ends_with("/me.pem"))
      << made.certificate;
  EXPECT_EQ(
      "driver \"farm\": \"ca\" names a file that isn't there\n"
      "driver \"farm\": \"certificate\" names a file that isn't there\n"
      "driver \"farm\": \"key\" names a file that isn't there\n",
      warnings);
  EXPECT_EQ("\"ca\" must be a file below the site's folder",
            Refusal("<host>b</host><tls>T</tls><ca>../ca.pem</ca>" + kT));
  EXPECT_EQ("\"ca\" isn't a file", Refusal("<host>b</host><tls>T</tls><ca>/tmp</ca>" + kT));
  EXPECT_EQ("\"ca\" is of no use without \"tls\"", Refusal("<host>b</host><ca>ca.pem</ca>" + kT));
}

TEST_F(MqttSettings, RefuseAWrongBroker) {
  EXPECT_EQ("\"host\" is missing", Refusal(kT));
  EXPECT_EQ("\"host\" must be a host's name or address", Refusal("<host>a b</host>" + kT));
  EXPECT_EQ("\"port\" must be a number from 1 to 65535, not \"0\"",
            Refusal("<host>b</host><port>0</port>" + kT));
  EXPECT_EQ("\"qos\" must be a number from 0 to 1, not \"2\"",
            Refusal("<host>b</host><qos>2</qos>" + kT));
  EXPECT_EQ("\"client\" must not be empty", Refusal("<host>b</host><client></client>" + kT));
  EXPECT_EQ("\"grace_s\" must be a number from 0 to 86400, not \"-1\"",
            Refusal("<host>b</host><grace_s>-1</grace_s>" + kT));
  EXPECT_EQ("\"variable\" must stand from once to 10000 times", Refusal("<host>b</host>"));
  EXPECT_EQ("\"user\" is missing, and drivers.toml has a password",
            Refusal("<host>b</host>" + kT, {{"farm", "c4n4ry"}}));
  EXPECT_EQ(
      "\"password\" doesn't belong here: it stands in drivers.toml, which its owner alone may read",
      Refusal("<host>b</host><password>c4n4ry</password>" + kT));
}

TEST_F(MqttSettings, RefuseWildcards) {
  const std::string text =
      "must be one topic: with \"+\" or \"#\" messages of several ones would overwrite each other";
  EXPECT_EQ("\"topic\" " + text, OfVariable("<topic>a/+/b</topic>"));
  EXPECT_EQ("\"topic\" " + text, OfVariable("<topic>a/#</topic>"));
  EXPECT_EQ("\"command_topic\" " + text,
            OfVariable("<topic>a</topic><command_topic>+</command_topic>"));
  EXPECT_EQ("\"status\" " + text, Refusal("<host>b</host><status>#</status>" + kT));
  EXPECT_EQ("\"topic\" can't be a shared subscription: messages don't have its name",
            OfVariable("<topic>$share/g/t</topic>"));
}

TEST_F(MqttSettings, RefuseAWrongVariable) {
  const std::string topic = "<topic>t</topic>";
  EXPECT_EQ("\"topic\" is missing", OfVariable(""));
  EXPECT_EQ("\"topic\" must be a topic of at most 65535 bytes without controls",
            OfVariable("<topic>a\tb</topic>"));
  EXPECT_EQ("\"type\" must be \"number\", \"switch\" or \"text\", not \"bit\"",
            OfVariable(topic + "<type>bit</type>"));
  EXPECT_EQ(
      "\"pointer\" must be a JSON pointer such as \"/rooms/0/temperature\", with \"~1\" for a \"/\""
      " in a name and \"~0\" for a \"~\"",
      OfVariable(topic + "<pointer>a</pointer>"));
  EXPECT_EQ("\"scale\" must not be 0", OfVariable(topic + "<scale>0</scale>"));
  EXPECT_EQ("\"on\" must be given too", OfVariable(topic + "<type>switch</type><off>shut</off>"));
  EXPECT_EQ("\"off\" has a word that can't be one",
            OfVariable(topic + "<type>switch</type><on>a</on><off></off>"));
  EXPECT_EQ("\"off\" has a word of \"on\"",
            OfVariable(topic + "<type>switch</type><on>a</on><off>b</off><off>a</off>"));
  EXPECT_EQ("\"max_age_s\" must be a number from 0 to 2592000, not \"-1\"",
            OfVariable(topic + "<max_age_s>-1</max_age_s>"));
  EXPECT_EQ("\"retained\" must be true or false, not \"no\"",
            OfVariable(topic + "<retained>no</retained>"));
  EXPECT_EQ(
      "\"command\" must hold VALUE; if it begins with \"{\" or \"[\" it must be JSON, with VALUE "
      "as "
      "a whole number, word or text of it",
      OfVariable(topic + "<command_topic>c</command_topic><command>{VALUE</command>"));
  EXPECT_EQ("\"most\" must be a number from 5 to 1e+18, not \"4\"",
            OfVariable(topic + "<command_topic>c</command_topic><least>5</least><most>4</most>"));
}

TEST_F(MqttSettings, RefuseNamesThatAreTaken) {
  EXPECT_EQ("driver \"farm\", variable \"T\": \"name\" stands twice",
            Refusal("<host>b</host>" + kT + kT));
  EXPECT_EQ(
      "driver \"farm\", variable \"ERRORS\": \"name\" can't be \"ERRORS\": the driver has a "
      "variable of its own so",
      Refusal("<host>b</host>" + Variable("ERRORS", "t")));
}

TEST_F(MqttSettings, WarnOfKeysThatTheKindOfVariableDoesNotHave) {
  std::vector<ZRSettingProblem> problems;
  const CSettings settings(
      "<type>mqtt</type><name>farm</name><host>b</host>" +
      Variable("T", "t", "<on>a</on><optional>T</optional><command>VALUE</command>"));
  EXPECT_NE(nullptr, ZRDriverFactory::Make(settings.Table(), problems));
  EXPECT_EQ(3u, problems.size()) << TextsOf(problems);
}

}  // namespace

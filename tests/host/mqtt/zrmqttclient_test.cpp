#include "host/mqtt/zrmqttclient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/platform/zrvirtualtime.h"
#include "support/fakemqtt.h"
#include "support/logcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class MqttClient : public testing::Test {
 protected:
  ~MqttClient() override { client.reset(); }

  void Make() {
    settings.host = "broker";
    settings.clientId = "me";
    ZRMqttClient::tagCallbacks callbacks;
    callbacks.connected = [this] { ++connections; };
    callbacks.lost = [this] { ++losses; };
    callbacks.received = [this](const ZRMqttMessage& message) { seen.push_back(message.payload); };
    client = std::make_unique<ZRMqttClient>(settings, callbacks);
  }
  void Start() {
    if (client == nullptr) Make();
    ASSERT_TRUE(client->Start());
    time.Advance(1);
  }
  void Publish(const std::string& payload, int qos = 1) {
    EXPECT_TRUE(client->Publish({"t", payload, qos, false}));
    time.Advance(1);
  }

  ZRVirtualTime time;
  FakeMqtt broker;
  LogCapture log{kLogDelivery};
  ZRMqttSettings settings;
  std::unique_ptr<ZRMqttClient> client;
  int connections = 0;
  int losses = 0;
  std::vector<std::string> seen;
};

TEST_F(MqttClient, SendsWhatIsPublishedInOrder) {
  Start();
  Publish("1");
  Publish("2", 0);
  EXPECT_THAT(broker.Payloads("t"), ElementsAre("1", "2"));
  EXPECT_TRUE(client->IsConnected());
  EXPECT_EQ(1, connections);
}

TEST_F(MqttClient, SendsLaterWhatWasPublishedWithoutAConnection) {
  broker.refusal = "refused";
  Start();
  Publish("1");
  EXPECT_FALSE(client->IsConnected());
  broker.refusal = "";
  time.Advance(ZRMqttClient::kFirstWait);
  EXPECT_THAT(broker.Payloads("t"), ElementsAre("1"));
}

TEST_F(MqttClient, WaitsTwiceAsLongBeforeEachFurtherAttemptUpToAMinute) {
  broker.refusal = "refused";
  Start();
  std::vector<int> gaps;
  int known = broker.attempts;
  for (int second = 1, last = 0; second < 200; ++second) {
    time.Advance(1000);
    if (broker.attempts == known) continue;
    known = broker.attempts;
    gaps.push_back(second - std::exchange(last, second));
  }
  EXPECT_THAT(gaps, ElementsAre(1, 2, 4, 8, 16, 32, 60, 60));
  EXPECT_THAT(log.Starting("MQTT broker broker:1883"),
              ElementsAre("MQTT broker broker:1883: not connected: refused"));
}

TEST_F(MqttClient, BeginsAnewWithTheWaitsAfterAConnectionThatHasLasted) {
  broker.refusal = "refused";
  Start();
  time.Advance(60'000);
  broker.refusal = "";
  time.Advance(60'000 + ZRMqttClient::kSettled);
  ASSERT_TRUE(client->IsConnected());
  log.Clear();
  broker.Cut("refused");
  time.Advance(ZRMqttClient::kFirstWait + 1);
  EXPECT_TRUE(client->IsConnected());
  EXPECT_THAT(log.Lines(), SizeIs(2));  // the trouble is told again, and its end
}

TEST_F(MqttClient, TellsOnceOfABrokerThatKeepsThrowingItOut) {
  Start();
  for (int i = 0; i < 5; ++i) {
    broker.Cut("gone");
    time.Advance(ZRMqttClient::kLongestWait / 2 - 1000);
  }
  EXPECT_THAT(log.Starting("MQTT broker broker:1883: not connected"), SizeIs(1));
  EXPECT_THAT(log.Starting("MQTT broker broker:1883: connected"), SizeIs(2));
}

TEST_F(MqttClient, GivesABrokerUpThatTakesNoLogin) {
  broker.answers = false;
  Start();
  time.Advance(ZRMqttClient::kAnswerTime + ZRMqttClient::kFirstWait);
  EXPECT_EQ(2, broker.attempts);
  EXPECT_EQ(0, connections);
  EXPECT_TRUE(log.Has(kLogDelivery, "MQTT broker broker:1883: not connected: it doesn't answer"));
}

TEST_F(MqttClient, SendsAgainWhatWasNotConfirmed) {
  broker.confirms = false;
  Start();
  Publish("1");
  Publish("2");
  broker.Cut("gone");
  broker.confirms = true;
  time.Advance(ZRMqttClient::kFirstWait + 1);
  Publish("3");
  EXPECT_THAT(broker.Payloads("t"), ElementsAre("1", "2", "1", "2", "3"));
  EXPECT_EQ(1, losses);
  EXPECT_EQ(2, connections);
}

TEST_F(MqttClient, HandsOverNoMoreThanTheBrokerConfirms) {
  broker.confirms = false;
  Start();
  for (std::size_t i = 0; i < 2 * ZRMqttClient::kMostUnderWay; ++i)
    EXPECT_TRUE(client->Publish({"t", "x", 1, false}));
  time.Advance(5000);
  EXPECT_THAT(broker.Payloads("t"), SizeIs(ZRMqttClient::kMostUnderWay));
  broker.Confirm();
  time.Advance(1);
  EXPECT_THAT(broker.Payloads("t"), SizeIs(2 * ZRMqttClient::kMostUnderWay));
}

TEST_F(MqttClient, DropsTheOldestBeyondTheBoundAndTellsHowMany) {
  settings.mostWaiting = 2;
  broker.refusal = "refused";
  Start();
  for (const char* payload : {"1", "2", "3", "4"})
    Publish(payload);
  EXPECT_EQ(2u, client->Dropped());
  time.Advance(ZRMqttClient::kFirstWait);
  broker.refusal = "";
  time.Advance(2 * ZRMqttClient::kFirstWait);
  EXPECT_THAT(broker.Payloads("t"), ElementsAre("3", "4"));
  EXPECT_THAT(log.Starting("MQTT broker broker:1883: 2 messages"),
              ElementsAre("MQTT broker broker:1883: 2 messages wait: the oldest are dropped",
                          "MQTT broker broker:1883: 2 messages were dropped"));
}

TEST_F(MqttClient, ShowsThePictureAgainAfterEachConnection) {
  Make();
  EXPECT_TRUE(client->Keep("a", "old"));
  EXPECT_TRUE(client->Keep("a", "new"));
  Start();
  EXPECT_THAT(broker.Payloads("a"), ElementsAre("new"));
  broker.retained.clear();
  broker.Cut("gone");
  time.Advance(ZRMqttClient::kFirstWait + 1);
  EXPECT_EQ("new", broker.retained["a"]);
}

TEST_F(MqttClient, TakesARetainedMessageAway) {
  Start();
  EXPECT_TRUE(client->Keep("a", "x"));
  time.Advance(1);
  EXPECT_TRUE(client->Keeps("a"));
  EXPECT_TRUE(client->Keep("a", ""));
  time.Advance(1);
  EXPECT_FALSE(client->Keeps("a"));
  EXPECT_THAT(broker.retained, IsEmpty());
  broker.Cut("gone");
  time.Advance(ZRMqttClient::kFirstWait + 1);
  EXPECT_THAT(broker.Payloads("a"), ElementsAre("x", ""));
}

TEST_F(MqttClient, SubscribesAfterEachConnection) {
  Make();
  client->Subscribe("s/+", 0);
  Start();
  broker.Send({"s/1", "one", 0, false});
  broker.Cut("gone");
  time.Advance(ZRMqttClient::kFirstWait + 1);
  broker.Send({"s/2", "two", 0, false});
  time.Advance(1);
  client->Unsubscribe("s/+");
  time.Advance(1);
  EXPECT_THAT(broker.filters, IsEmpty());
  EXPECT_THAT(seen, ElementsAre("two"));  // the first one went with the connection
}

TEST_F(MqttClient, SeesItsBirthBehindWhatTheBrokerHasKept) {
  settings.birth = ZRMqttMessage{"s/0", "born", 1, true};
  broker.retained["s/1"] = "kept";
  Make();
  client->Subscribe("s/+", 0);
  Start();
  EXPECT_THAT(seen, ElementsAre("kept", "born"));
}

TEST_F(MqttClient, SaysGoodbyeWithItsWillBehindWhatWaits) {
  settings.will = ZRMqttMessage{"s", "dead", 1, true};
  Start();
  EXPECT_TRUE(client->Publish({"t", "last", 1, false}));
  client->Stop();
  EXPECT_THAT(broker.received, SizeIs(2));
  EXPECT_EQ("last", broker.received.front().payload);
  EXPECT_EQ("dead", broker.retained["s"]);
  EXPECT_EQ(1, broker.polite);
}

TEST_F(MqttClient, StopsInBoundedTimeWhateverTheBrokerDoes) {
  broker.confirms = false;
  Start();
  Publish("1");
  const std::uint32_t from = time.TickCount();
  client->Stop();
  EXPECT_LE(time.TickCount() - from, 2 * ZRMqttClient::kFarewellTime);
  EXPECT_EQ(1, broker.polite);
}

TEST_F(MqttClient, StopsAtOnceWithoutAConnection) {
  broker.answers = false;
  Start();
  const std::uint32_t from = time.TickCount();
  client->Stop();
  broker.refusal = "refused";
  Start();
  client->Stop();
  EXPECT_LE(time.TickCount() - from, 1u);
}

TEST_F(MqttClient, CanBeStartedAgain) {
  Start();
  client->Stop();
  EXPECT_FALSE(client->IsConnected());
  Start();
  Publish("again");
  EXPECT_THAT(broker.Payloads("t"), ElementsAre("again"));
}

TEST_F(MqttClient, PassesOverPayloadsBeyondTheBound) {
  settings.mostBytes = 3;
  Make();
  client->Subscribe("s", 0);
  Start();
  EXPECT_FALSE(client->Publish({"t", "1234", 1, false}));
  EXPECT_FALSE(client->Keep("k", "1234"));
  for (const char* payload : {"1234", "12345", "123"})
    broker.Send({"s", payload, 0, false});
  time.Advance(1);
  EXPECT_THAT(seen, ElementsAre("123"));
  EXPECT_THAT(log.Starting("MQTT broker broker:1883: messages of more than 3 bytes"), SizeIs(1));
}

TEST_F(MqttClient, SaysWhyThereIsNoConnection) {
  broker.refusal = "refused";
  Start();
  EXPECT_EQ("MQTT broker broker:1883: not connected: refused", client->Trouble());
  broker.refusal = "";
  time.Advance(ZRMqttClient::kFirstWait);
  EXPECT_EQ("", client->Trouble());
  broker.Cut("gone");
  time.Advance(1);
  EXPECT_EQ("MQTT broker broker:1883: not connected: gone", client->Trouble());
}

TEST_F(MqttClient, SendsNothingLateThatDoesNotOutlastAConnection) {
  settings.outlasts = false;
  broker.confirms = false;
  Make();
  EXPECT_FALSE(client->Publish({"t", "early", 1, false}));
  Start();
  Publish("1");
  for (std::size_t i = 0; i < ZRMqttClient::kMostUnderWay; ++i)
    Publish("2");  // the last one waits
  broker.Cut("gone");
  time.Advance(1);
  EXPECT_FALSE(client->Publish({"t", "without", 1, false}));
  broker.received.clear();
  broker.confirms = true;
  time.Advance(ZRMqttClient::kFirstWait);
  ASSERT_TRUE(client->IsConnected());
  Publish("3");
  EXPECT_THAT(broker.Payloads("t"), ElementsAre("3"));
  EXPECT_EQ(1 + ZRMqttClient::kMostUnderWay, client->Dropped());
}

TEST_F(MqttClient, SaysItsBirthAndWillAlsoIfNothingOutlasts) {
  settings.outlasts = false;
  settings.birth = ZRMqttMessage{"s", "born", 1, true};
  settings.will = ZRMqttMessage{"s", "dead", 1, true};
  Start();
  EXPECT_EQ("born", broker.retained["s"]);
  broker.Cut("gone");
  time.Advance(ZRMqttClient::kFirstWait + 1);
  EXPECT_EQ("born", broker.retained["s"]);
  client->Stop();
  EXPECT_EQ("dead", broker.retained["s"]);
}

}  // namespace

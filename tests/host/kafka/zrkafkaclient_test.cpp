#include "host/kafka/zrkafkaclient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/platform/zrvirtualtime.h"
#include "support/fakekafka.h"
#include "support/logcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint32_t kLong = 100'000;  // ms
const ZRKafkaTrouble kNoTopic{"UNKNOWN_TOPIC", "there is no such topic"};
const ZRKafkaTrouble kTooLarge{"MSG_SIZE_TOO_LARGE", "the message is too large"};

class KafkaClient : public testing::Test {
 protected:
  ~KafkaClient() override { client.reset(); }

  void Make() {
    settings.hosts = {"broker"};
    client = std::make_unique<ZRKafkaClient>(settings);
  }
  void Start() {
    if (client == nullptr) Make();
    ASSERT_TRUE(client->Start());
    time.Advance(1);
  }
  void Publish(const std::string& payload, const std::string& key = "k") {
    EXPECT_TRUE(client->Publish({"t", key, payload}));
  }
  void Keep(const std::string& payload, const std::string& key = "k") {
    EXPECT_TRUE(client->Keep({"kept", key, payload}));
  }
  [[nodiscard]] std::vector<std::string> Said() const {
    return log.Starting("Kafka cluster broker:9092: ");
  }

  ZRVirtualTime time;
  FakeKafka cluster;
  LogCapture log{kLogDelivery};
  ZRKafkaSettings settings;
  std::unique_ptr<ZRKafkaClient> client;
};

TEST_F(KafkaClient, SendsWhatIsPublishedInOrder) {
  Start();
  Publish("1");
  Publish("2");
  time.Advance(1);
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("1", "2"));
  EXPECT_THAT(Said(), ElementsAre("Kafka cluster broker:9092: connected"));
}

TEST_F(KafkaClient, SendsWhatWasPublishedBeforeItsStart) {
  Make();
  Publish("1");
  Keep("kept");
  Start();
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("1"));
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("kept"));
}

TEST_F(KafkaClient, DropsTheOldestOfWhatWaits) {
  settings.mostWaiting = 2;
  cluster.confirms = false;
  Make();
  for (const char* payload : {"1", "2", "3", "4"})
    Publish(payload);
  EXPECT_EQ(2u, client->Dropped());
  Start();
  cluster.Confirm();
  time.Advance(1);
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("3", "4"));
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: 2 messages were dropped"), SizeIs(1));
}

TEST_F(KafkaClient, TellsOnceThatMessagesAreDropped) {
  settings.mostWaiting = 2;
  cluster.openFailure = "no";
  Start();
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j)
      Publish("x");
    time.Advance(ZRKafkaClient::kLongestWait);
  }
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: 2 messages wait: the oldest are dropped"),
              SizeIs(1));
  cluster.openFailure = "";
  time.Advance(kLong);
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: 23 messages were dropped"), SizeIs(1));
}

TEST_F(KafkaClient, HasABoundedNumberOfMessagesUnderWay) {
  settings.mostWaiting = 2 * ZRKafkaClient::kMostUnderWay;
  cluster.confirms = false;
  Start();
  for (std::size_t i = 0; i < settings.mostWaiting; ++i)
    Publish("x");
  time.Advance(1);
  EXPECT_EQ(ZRKafkaClient::kMostUnderWay, cluster.mostUnderWay);
  cluster.Confirm();
  time.Advance(1);
  EXPECT_THAT(cluster.Payloads("t"), SizeIs(settings.mostWaiting));
  EXPECT_EQ(0u, client->Dropped());
}

TEST_F(KafkaClient, NeverDropsAndSendsOnlyTheNewestOfWhatIsKept) {
  settings.mostWaiting = 1;
  Make();
  for (int i = 0; i < 5; ++i)
    for (const char* key : {"a", "b", "c"})
      Keep(std::to_string(i), key);
  Start();
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("4", "4", "4"));
}

TEST_F(KafkaClient, SendsANewerMessageOfAKeyBehindOneThatIsUnderWay) {
  cluster.confirms = false;
  Start();
  Keep("old");
  time.Advance(1);
  Keep("new");
  time.Advance(1);
  cluster.Confirm();
  time.Advance(1);
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("old", "new"));
}

TEST_F(KafkaClient, SendsANewerMessageThatWaitedWhenAnOlderOneWasConfirmed) {
  cluster.confirms = false;
  Start();
  Keep("old");
  time.Advance(1);
  Keep("new");
  cluster.Confirm();
  time.Advance(1);
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("old", "new"));
}

TEST_F(KafkaClient, TakesAwayOnlyWhatItDoesNotKeep) {
  Make();
  Keep("there", "mine");
  Start();
  client->TakeAwayUnlessKept("kept", "mine");
  client->TakeAwayUnlessKept("kept", "gone");
  time.Advance(1);
  EXPECT_EQ("there", cluster.Newest("kept", "mine"));
  ASSERT_THAT(cluster.received, SizeIs(2));
  EXPECT_EQ("gone", cluster.received.back().key);
  EXPECT_EQ("", cluster.received.back().payload);
  EXPECT_TRUE(client->Keeps("kept", "mine"));
  EXPECT_FALSE(client->Keeps("kept", "gone"));
}

TEST_F(KafkaClient, RefusesWhatIsTooLargeAndWhatIsEmpty) {
  settings.mostBytes = 4;
  Start();
  EXPECT_FALSE(client->Publish({"t", "k", "12345"}));
  EXPECT_FALSE(client->Keep({"t", "k", "12345"}));
  EXPECT_FALSE(client->Publish({"t", "k", ""}));
  EXPECT_FALSE(client->Keep({"t", "k", ""}));
  EXPECT_TRUE(client->Publish({"t", "k", "1234"}));
  time.Advance(1);
  EXPECT_THAT(cluster.received, SizeIs(1));
}

TEST_F(KafkaClient, SendsAgainInTheOldOrderWhatWasRefused) {
  cluster.refusals = {{false, kNoTopic}, {false, kNoTopic}, {false, kNoTopic}};
  Start();
  Keep("kept");
  Publish("1");
  Publish("2");
  time.Advance(ZRKafkaClient::kPause - 1);
  Publish("3");
  time.Advance(0);
  EXPECT_THAT(cluster.received, IsEmpty());
  time.Advance(2 * ZRKafkaClient::kPause);
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("1", "2", "3"));
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("kept"));
  EXPECT_THAT(Said(), ElementsAre("Kafka cluster broker:9092: there is no such topic",
                                  "Kafka cluster broker:9092: connected"));
}

TEST_F(KafkaClient, DoesNotSendAgainARefusedStateThatIsNoLongerTheNewest) {
  cluster.confirms = false;
  Start();
  Keep("old");
  time.Advance(1);
  Keep("new");
  cluster.refusals = {{false, kNoTopic}};
  cluster.Confirm();
  time.Advance(2 * ZRKafkaClient::kPause);
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("new"));
}

TEST_F(KafkaClient, GivesUpAMessageThatNoBrokerWillTake) {
  cluster.refusals = {{true, kTooLarge}, {true, kTooLarge}};
  Start();
  Keep("large");
  Publish("large too");
  Publish("small");
  time.Advance(1);
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("small"));
  time.Advance(kLong);
  EXPECT_THAT(cluster.Payloads("kept"), IsEmpty());
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: the message is too large"), SizeIs(1));
}

TEST_F(KafkaClient, MakesABrokenWireAnewAndSendsWhatWasUnderWay) {
  cluster.confirms = false;
  Start();
  Publish("1");
  Keep("kept");
  time.Advance(1);
  cluster.Break("fenced");
  time.Advance(1);
  Publish("2");
  EXPECT_EQ(1, cluster.opened);
  cluster.Confirm();
  time.Advance(ZRKafkaClient::kFirstWait);
  EXPECT_EQ(2, cluster.opened);
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("1", "2"));
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("kept"));
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: fenced"), SizeIs(1));
}

TEST_F(KafkaClient, TellsATroubleOnceUntilItIsSettled) {
  Start();
  for (int i = 0; i < 3; ++i) {
    cluster.Trouble("_TRANSPORT", "Connection refused");
    time.Advance(100);
    Publish("x");
    time.Advance(100);
  }
  EXPECT_THAT(Said(), ElementsAre("Kafka cluster broker:9092: Connection refused",
                                  "Kafka cluster broker:9092: connected"));
  time.Advance(ZRKafkaClient::kSettled);
  Publish("x");
  time.Advance(1);
  cluster.Trouble("_TRANSPORT", "Connection refused");
  time.Advance(1);
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: Connection refused"), SizeIs(2));
}

TEST_F(KafkaClient, SaysAgainAndAgainThatItIsOnlineAndOfflineLast) {
  settings.online = ZRKafkaMessage{"status", "me", "online"};
  settings.offline = ZRKafkaMessage{"status", "me", "offline"};
  Start();
  EXPECT_THAT(cluster.Payloads("status"), ElementsAre("online"));
  time.Advance(ZRKafkaClient::kAlive + 1000);
  EXPECT_THAT(cluster.Payloads("status"), ElementsAre("online", "online"));
  client->Stop();
  EXPECT_THAT(cluster.Payloads("status"), ElementsAre("online", "online", "offline"));
}

TEST_F(KafkaClient, DoesNotSayThatItIsOnlineOnceItStops) {
  settings.online = ZRKafkaMessage{"status", "me", "online"};
  settings.offline = ZRKafkaMessage{"status", "me", "offline"};
  Start();
  time.Advance(ZRKafkaClient::kAlive - 500);
  cluster.refusals = {{false, kNoTopic}};
  client->Stop();
  EXPECT_THAT(cluster.Payloads("status"), ElementsAre("online", "offline"));
}

TEST_F(KafkaClient, SendsWhatWaitsWhenItStops) {
  Start();
  Publish("1");
  Keep("kept");
  client->Stop();
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("1"));
  EXPECT_THAT(cluster.Payloads("kept"), ElementsAre("kept"));
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: 1"), IsEmpty());
}

TEST_F(KafkaClient, SendsWhatWaitsEvenIfItStopsAtOnce) {
  settings.offline = ZRKafkaMessage{"status", "me", "offline"};
  Make();
  Publish("1");
  ASSERT_TRUE(client->Start());
  client->Stop();
  EXPECT_THAT(cluster.Payloads("t"), ElementsAre("1"));
  EXPECT_THAT(cluster.Payloads("status"), ElementsAre("offline"));
}

TEST_F(KafkaClient, StopsInABoundedTimeAndSaysWhatIsLost) {
  cluster.confirms = false;
  Start();
  Publish("1");
  Publish("2");
  const std::uint32_t from = time.TickCount();
  client->Stop();
  EXPECT_LE(time.TickCount() - from, ZRKafkaClient::kFarewellTime + 1000);
  EXPECT_GE(time.TickCount() - from, ZRKafkaClient::kFarewellTime);
  EXPECT_THAT(log.Starting("Kafka cluster broker:9092: 2 messages weren't sent any more"),
              SizeIs(1));
}

TEST_F(KafkaClient, StopsAtOnceBetweenTwoAttempts) {
  cluster.openFailure = "ssl.ca.location failed";
  Start();
  EXPECT_THAT(Said(), ElementsAre("Kafka cluster broker:9092: ssl.ca.location failed"));
  const std::uint32_t from = time.TickCount();
  client->Stop();
  EXPECT_EQ(from, time.TickCount());
}

}  // namespace

// The client with a cluster that nobody here wrote.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <set>

#include "host/kafka/zrkafkaclient.h"
#include "support/freeport.h"
#include "support/kafkacluster.h"
#include "support/logcapture.h"
#include "support/mosquitto.h"  // Until

namespace {

using Clock = std::chrono::steady_clock;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr int kAWhile = 300;     // ms, for what isn't to come
constexpr int kAtMost = 10'000;  // ms

int Milliseconds(Clock::duration span) {
  return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(span).count());
}

class Cluster : public testing::Test {
 protected:
  void Make() {
    settings.hosts = {"127.0.0.1"};
    if (settings.port == ZRKafkaSettings::kPlainPort) settings.port = cluster.Port();
    settings.clientId = "test";
    client = std::make_unique<ZRKafkaClient>(settings);
  }
  void Start() {
    if (client == nullptr) Make();
    ASSERT_TRUE(client->Start());
  }
  void Publish(int number, const std::string& key = "k") {
    EXPECT_TRUE(client->Publish({"t", key, std::to_string(number)}));
  }
  void Keep(const std::string& key, const std::string& payload) {
    EXPECT_TRUE(client->Keep({"kept", key, payload}));
  }
  [[nodiscard]] bool IsToldSoon(const std::string& reason) const {
    return Mosquitto::Until([&] {
      for (const auto& line : log.Lines())
        if (line.text.find(reason) != std::string::npos) return true;
      return false;
    });
  }
  [[nodiscard]] std::vector<std::string> Values(const std::string& topic, std::size_t count) const {
    std::vector<std::string> values;
    for (const KafkaCluster::tagRecord& record : cluster.Read(topic, count))
      values.push_back(record.value);
    return values;
  }
  static std::vector<std::string> Numbers(int count) {
    std::vector<std::string> numbers;
    for (int i = 0; i < count; ++i)
      numbers.push_back(std::to_string(i));
    return numbers;
  }

  LogCapture log{kLogDelivery};
  KafkaCluster cluster;
  ZRKafkaSettings settings;
  std::unique_ptr<ZRKafkaClient> client;
};

TEST_F(Cluster, GetsTheMessagesOfAKeyInOrderAndInOnePartition) {
  constexpr int kMessages = 300;
  cluster.CreateTopic("t", 4);
  Start();
  for (int i = 0; i < kMessages; ++i)
    Publish(i, "key " + std::to_string(i % 10));
  std::map<std::string, std::vector<int>> byKey;
  std::map<std::string, std::set<int>> partitions;
  for (const KafkaCluster::tagRecord& record : cluster.Read("t", kMessages)) {
    byKey[record.key].push_back(std::stoi(record.value));
    partitions[record.key].insert(record.partition);
  }
  ASSERT_THAT(byKey, SizeIs(10));
  std::set<int> used;
  for (const auto& [key, numbers] : byKey) {
    EXPECT_THAT(numbers, SizeIs(kMessages / 10)) << key;
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end())) << key;
    EXPECT_THAT(partitions[key], SizeIs(1)) << key;
    used.merge(partitions[key]);
  }
  EXPECT_GT(used.size(), 1u);
}

TEST_F(Cluster, GetsATombstoneForWhatIsTakenAway) {
  Start();
  client->TakeAwayUnlessKept("kept", "gone");
  const auto records = cluster.Read("kept", 1);
  ASSERT_THAT(records, SizeIs(1));
  EXPECT_EQ("gone", records[0].key);
  EXPECT_TRUE(records[0].isTombstone);
}

// Each request may be tried again, and nothing becomes two or changes its place.
TEST_F(Cluster, HasEachMessageOnceAlthoughWritingFails) {
  constexpr int kMessages = 50;
  cluster.FailWrites({KafkaCluster::kNotEnoughReplicas, KafkaCluster::kNotEnoughReplicasAfterAppend,
                      KafkaCluster::kNotEnoughReplicas});
  Start();
  for (int i = 0; i < kMessages; ++i)
    Publish(i);
  EXPECT_EQ(Numbers(kMessages), Values("t", kMessages));
  EXPECT_EQ(kMessages, static_cast<int>(cluster.Size("t")));
}

TEST_F(Cluster, MayBeAwayAtFirstAndGoAndComeBack) {
  cluster.GoDown();
  Start();
  Publish(0);
  Keep("a", "1");
  ASSERT_TRUE(IsToldSoon("Kafka cluster 127.0.0.1:"));
  cluster.ComeUp();
  EXPECT_EQ(Numbers(1), Values("t", 1));
  cluster.GoDown();
  Publish(1);
  Keep("a", "2");
  (void)::usleep(kAWhile * 1000);
  cluster.ComeUp();
  EXPECT_EQ(Numbers(2), Values("t", 2));
  EXPECT_THAT(Values("kept", 2), ElementsAre("1", "2"));
}

// The queue is bounded, and who publishes doesn't notice.
TEST_F(Cluster, GetsTheNewestMessagesOfAStormThatItWasAwayFor) {
  constexpr int kMessages = 10'000;
  settings.mostWaiting = 500;
  cluster.GoDown();
  Start();
  ASSERT_TRUE(IsToldSoon("Kafka cluster 127.0.0.1:"));
  const Clock::time_point from = Clock::now();
  for (int i = 0; i < kMessages; ++i)
    Publish(i);
  EXPECT_LT(Milliseconds(Clock::now() - from), 5000);
  const auto most = static_cast<int>(settings.mostWaiting + ZRKafkaClient::kMostUnderWay);
  const auto kept = kMessages - static_cast<int>(client->Dropped());
  EXPECT_LE(kept, most);
  cluster.ComeUp();
  const std::vector<std::string> values = Values("t", static_cast<std::size_t>(kept));
  EXPECT_THAT(values, SizeIs(kept));
  EXPECT_EQ(std::to_string(kMessages - 1), values.back());
  EXPECT_TRUE(IsToldSoon(" messages were dropped"));
}

TEST_F(Cluster, MayGetItsTopicLater) {
  cluster.CreateTopic("t", 1);
  cluster.FailTopic("t", KafkaCluster::kUnknownTopic);
  Start();
  Publish(0);
  (void)::usleep(kAWhile * 1000);
  cluster.FailTopic("t", KafkaCluster::kNone);
  EXPECT_EQ(Numbers(1), Values("t", 1));
}

TEST_F(Cluster, MayForbidWritingForAWhile) {
  cluster.FailWrites({KafkaCluster::kTopicAuthorizationFailed});
  Start();
  Publish(0);
  ASSERT_TRUE(IsToldSoon("uthorization"));
  EXPECT_EQ(Numbers(1), Values("t", 1));
}

TEST_F(Cluster, LetsTheClientStopInABoundedTimeWhenItIsAway) {
  cluster.GoDown();
  Start();
  Publish(0);
  ASSERT_TRUE(IsToldSoon("Kafka cluster 127.0.0.1:"));
  const Clock::time_point from = Clock::now();
  client->Stop();
  EXPECT_LT(Milliseconds(Clock::now() - from), kAtMost);
  EXPECT_TRUE(IsToldSoon("1 messages weren't sent any more"));
}

TEST_F(Cluster, TellsATroubleOnce) {
  settings.port = FreePort();  // nobody is there
  Start();
  ASSERT_TRUE(IsToldSoon("Connection refused"));
  (void)::usleep(kAWhile * 1000);
  client->Stop();
  EXPECT_THAT(log.Lines(), SizeIs(1));
}

TEST_F(Cluster, IsFoundByItsNameAtAnyOfItsAddresses) {
  Make();  // at 127.0.0.1 alone, which may be the second address
  settings.hosts = {"localhost"};
  client = std::make_unique<ZRKafkaClient>(settings);
  Start();
  Publish(0);
  EXPECT_EQ(Numbers(1), Values("t", 1));
  settings.hosts = {"name with blanks"};
  client = std::make_unique<ZRKafkaClient>(settings);
  Start();
  EXPECT_TRUE(IsToldSoon("Failed to resolve 'name with blanks:"));
}

TEST_F(Cluster, IsNotReachedWithSettingsThatCannotBeUsed) {
  settings.tls = true;
  settings.ca = "/nowhere/ca.pem";
  settings.user = "me";
  settings.password = "c4n4ry";
  settings.mechanism = "nonsense";
  Start();
  ASSERT_TRUE(IsToldSoon("Unsupported SASL mechanism"));
  client.reset();
  settings.mechanism = "PLAIN";
  Start();
  ASSERT_TRUE(IsToldSoon("ssl.ca.location failed"));
  for (const auto& line : log.Lines())
    EXPECT_EQ(std::string::npos, line.text.find("c4n4ry")) << line.text;
}

TEST_F(Cluster, GetsTheSameInEachCompression) {
  std::vector<std::unique_ptr<ZRKafkaClient>> clients;
  const std::vector<std::string> codecs = {"none", "gzip", "snappy", "lz4", "zstd"};
  for (const std::string& codec : codecs) {
    settings.compression = codec;
    Make();
    Start();
    EXPECT_TRUE(client->Publish({codec, "k", std::string(1000, 'x')}));
    clients.push_back(std::move(client));
  }
  for (const std::string& codec : codecs)
    EXPECT_THAT(Values(codec, 1), ElementsAre(std::string(1000, 'x'))) << codec;
}

TEST_F(Cluster, IsAskedByEachMechanismOfTheSettings) {
  settings.user = "me";
  settings.password = "secret";
  settings.port = FreePort();  // nobody is there
  for (const char* mechanism : {"PLAIN", "SCRAM-SHA-256", "SCRAM-SHA-512"}) {
    settings.mechanism = mechanism;
    Make();
    Start();
    EXPECT_TRUE(IsToldSoon("Connection refused")) << mechanism;
    client.reset();
    log.Clear();
  }
}

TEST_F(Cluster, IsReadFromTheBeginningsToTheEnds) {
  cluster.CreateTopic("t", 3);
  cluster.Write("t", "a", "1");
  cluster.Write("t", "b", "2");
  cluster.Write("t", "a", "");
  Make();
  const auto reader = ZRKafkaWires::Get().NewReader(settings);
  std::vector<std::string> found;
  std::string reason;
  EXPECT_TRUE(reader->Read(
      {"none", "t"},
      [&](const std::string& topic, std::string_view key, bool isTombstone) {
        found.push_back(topic + " " + std::string(key) + (isTombstone ? " gone" : ""));
      },
      reason))
      << reason;
  ASSERT_THAT(found, SizeIs(3));
  EXPECT_LT(std::find(found.begin(), found.end(), "t a"),
            std::find(found.begin(), found.end(), "t a gone"));
  EXPECT_EQ(1, std::count(found.begin(), found.end(), "t b"));
}

TEST_F(Cluster, MayRefuseAReader) {
  cluster.CreateTopic("t", 1);
  cluster.FailTopic("t", KafkaCluster::kTopicAuthorizationFailed);
  Make();
  const auto reader = ZRKafkaWires::Get().NewReader(settings);
  std::string reason;
  EXPECT_FALSE(reader->Read(
      {"t"}, [](const std::string&, std::string_view, bool) {}, reason));
  EXPECT_THAT(reason, HasSubstr("uthorization"));
}

TEST_F(Cluster, IsWaitedForByAReaderUntilItIsCancelled) {
  cluster.GoDown();
  Make();
  const auto reader = ZRKafkaWires::Get().NewReader(settings);
  std::string reason;
  bool isRead = true;
  ZRThread thread;
  ASSERT_TRUE(thread.Start([&] {
    isRead = reader->Read(
        {"t"}, [](const std::string&, std::string_view, bool) {}, reason);
  }));
  (void)::usleep(kAWhile * 1000);
  reader->Cancel();
  thread.Join();
  EXPECT_FALSE(isRead);
  EXPECT_EQ("", reason);
}

}  // namespace

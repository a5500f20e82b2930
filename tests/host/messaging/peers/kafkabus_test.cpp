// The event bus on a Kafka cluster that nobody here wrote.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include "host/messaging/zreventbus.h"
#include "host/messaging/zrkafkatransport.h"
#include "host/messaging/zrmessaging.h"
#include "support/kafkacluster.h"
#include "support/logcapture.h"

namespace {

using testing::HasSubstr;
using testing::SizeIs;

const std::string kEngine = "aaaaaaaa-0000-4000-8000-000000000001";
constexpr int kAWhile = 500;  // ms, for what isn't to come

class BusOnACluster : public testing::Test {
 protected:
  BusOnACluster() {
    settings.broker.hosts = {"127.0.0.1"};
    settings.broker.port = cluster.Port();
    settings.broker.clientId = "engine";
    settings.broker.mostWaiting = 20'000;
    settings.engine = IdOf(kEngine);
  }

  static uuid IdOf(const std::string& text) { return wtouuid(Wide(text).c_str()); }
  static std::wstring Wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }
  static std::string Event(int number) {
    return "bbbbbbbb-0000-4000-8000-00000000" + std::to_string(1000 + number);
  }
  static std::string Key(int number) { return kEngine + "/" + Event(number); }
  void Begin() {
    bus = std::make_unique<ZREventBus>(ZREventBusSettings{settings.engine},
                                       std::make_unique<ZRKafkaTransport>(settings));
    ASSERT_TRUE(bus->Begin());
  }
  static void Define(int number) {
    EXPECT_TRUE(
        EventCreationPublisherManager::GetEventCreationPublisherFactory()->Create()->Publish(
            GetPublishThatANewEventHasBeenCreatedJSON(Wide(kEngine), Wide(Event(number)), L"Pump",
                                                      L"")));
  }
  static void Trigger(int number, const std::wstring& text) {
    EXPECT_TRUE(
        EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory()
            ->Create()
            ->Publish(GetPublishTriggeredEventJSON(Wide(kEngine), L"2026-01-01T00:00:00.000Z",
                                                   Wide(Event(number)), L"ON", text)));
  }

  LogCapture log{kLogDelivery};
  KafkaCluster cluster;
  ZRKafkaTransportSettings settings;
  std::unique_ptr<ZREventBus> bus;
};

TEST_F(BusOnACluster, CarriesAStormOfTransitionsInOrder) {
  constexpr int kTransitions = 10'000;
  constexpr int kEvents = 100;
  cluster.CreateTopic("tessaly.transition", 4);
  cluster.FailWrites({KafkaCluster::kNotEnoughReplicas, KafkaCluster::kNotEnoughReplicas});
  Begin();
  ASSERT_TRUE(bus->Open());
  for (int i = 0; i < kTransitions; ++i)
    Trigger(i % kEvents, L"storm " + std::to_wstring(1'000'000 + i));
  std::map<std::string, std::vector<std::string>> byKey;
  for (const KafkaCluster::tagRecord& record : cluster.Read("tessaly.transition", kTransitions))
    byKey[record.key].push_back(record.value.substr(record.value.find("\"text\"")));
  ASSERT_THAT(byKey, SizeIs(kEvents));
  for (const auto& [key, texts] : byKey) {
    EXPECT_THAT(texts, SizeIs(kTransitions / kEvents)) << key;
    EXPECT_TRUE(std::is_sorted(texts.begin(), texts.end())) << key;
  }
}

// The picture is right whatever became of the cluster, and whoever publishes doesn't notice.
TEST_F(BusOnACluster, IsRightThroughAbsenceAndReturn) {
  cluster.Write("tessaly.definition", Key(9), "left over");
  cluster.Write("tessaly.state", Key(9), "left over");
  cluster.GoDown();
  Begin();
  Define(1);
  ASSERT_TRUE(bus->Open());
  Trigger(1, L"before there was a cluster");
  cluster.ComeUp();
  ASSERT_THAT(cluster.Read("tessaly.transition", 1), SizeIs(1));
  const auto definitions = cluster.Read("tessaly.definition", 3);
  ASSERT_THAT(definitions, SizeIs(3));
  std::map<std::string, KafkaCluster::tagRecord> newest;
  for (const KafkaCluster::tagRecord& record : definitions)
    newest[record.key] = record;
  EXPECT_TRUE(newest[Key(9)].isTombstone);
  EXPECT_THAT(newest[Key(1)].value, HasSubstr(R"("name":"Pump")"));
  cluster.GoDown();
  bus->ShowState(IdOf(Event(1)), true);
  (void)::usleep(kAWhile * 1000);
  cluster.ComeUp();
  // What was left over, its tombstone, OFF and ON.
  const auto states = cluster.Read("tessaly.state", 4);
  ASSERT_THAT(states, SizeIs(4));
  for (const KafkaCluster::tagRecord& record : states)
    newest[record.key] = record;
  EXPECT_TRUE(newest[Key(9)].isTombstone);
  EXPECT_THAT(newest[Key(1)].value, HasSubstr(R"("state":"ON","since":")"));
  bus.reset();
  const auto status = cluster.Read("tessaly.status", 2);
  ASSERT_THAT(status, SizeIs(2));
  EXPECT_EQ(kEngine, status[1].key);
  EXPECT_EQ("offline", status[1].value);
}

}  // namespace

#include "host/messaging/zrkafkatransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/messaging/zreventbus.h"
#include "host/messaging/zrmessaging.h"
#include "host/platform/zrvirtualtime.h"
#include "support/busexample.h"
#include "support/fakekafka.h"
#include "support/logcapture.h"

namespace {

using testing::ElementsAre;
using testing::SizeIs;

const std::string kEngine = "aaaaaaaa-0000-4000-8000-000000000001";
const std::string kPump = "bbbbbbbb-0000-4000-8000-000000000002";
const std::string kGone = "cccccccc-0000-4000-8000-000000000003";
const std::string kKey = kEngine + "/" + kPump;
const std::string kGoneKey = kEngine + "/" + kGone;

std::wstring Wide(const std::string& ascii) {
  return {ascii.begin(), ascii.end()};
}

class KafkaBus : public testing::Test {
 protected:
  KafkaBus() {
    settings.broker.hosts = {"broker"};
    settings.engine = wtouuid(Wide(kEngine).c_str());
  }
  ~KafkaBus() override { bus.reset(); }

  void Begin() {
    bus = std::make_unique<ZREventBus>(ZREventBusSettings{settings.engine},
                                       std::make_unique<ZRKafkaTransport>(settings));
    ASSERT_TRUE(bus->Begin());
  }
  void Open() {
    ASSERT_TRUE(bus->Open());
    time.Advance(1);
  }
  static void Define() {
    EXPECT_TRUE(
        EventCreationPublisherManager::GetEventCreationPublisherFactory()->Create()->Publish(
            GetPublishThatANewEventHasBeenCreatedJSON(Wide(kEngine), Wide(kPump), L"Pump",
                                                      L"Runs dry")));
  }
  static void Trigger(const std::wstring& text) {
    EXPECT_TRUE(EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory()
                    ->Create()
                    ->Publish(GetPublishTriggeredEventJSON(
                        Wide(kEngine), L"2026-01-01T00:00:00.000Z", Wide(kPump), L"ON", text)));
  }
  void Store(const std::string& topic, const std::string& key, const std::string& payload) {
    cluster.stored.push_back({topic, key, payload});
  }
  // The keys of the tombstones that came for a topic.
  [[nodiscard]] std::vector<std::string> TakenAway(const std::string& topic) const {
    std::vector<std::string> keys;
    for (const ZRKafkaMessage& message : cluster.received)
      if (message.topic == topic && message.payload.empty()) keys.push_back(message.key);
    return keys;
  }

  ZRVirtualTime time;
  FakeKafka cluster;
  LogCapture log{kLogDelivery};
  ZRKafkaTransportSettings settings;
  std::unique_ptr<ZREventBus> bus;
};

TEST_F(KafkaBus, SaysTheSameAsAnyOther) {
  Begin();
  Define();
  Open();
  bus->ShowState(wtouuid(Wide(kPump).c_str()), true);
  Trigger(L"\xc3\xb1");
  time.Advance(1);
  EXPECT_EQ(BusExample(kDefinitionExample), cluster.Newest("tessaly.definition", kKey));
  EXPECT_EQ(BusExample(kStateExample), cluster.Newest("tessaly.state", kKey));
  EXPECT_EQ(BusExample(kTransitionExample), cluster.Newest("tessaly.transition", kKey));
  EXPECT_EQ("online", cluster.Newest("tessaly.status", kEngine));
  EXPECT_THAT(cluster.received, SizeIs(5));  // the state was OFF at first
}

TEST_F(KafkaBus, IsCalledByItsPrefix) {
  settings.prefix = "north_hall.events";
  Begin();
  Define();
  Open();
  EXPECT_THAT(cluster.Payloads("north_hall.events.definition"), SizeIs(1));
  EXPECT_THAT(cluster.Payloads("north_hall.events.state"), SizeIs(1));
  EXPECT_THAT(cluster.Payloads("north_hall.events.status"), SizeIs(1));
}

TEST_F(KafkaBus, TakesAwayWhatIsKeptOfEventsThatAreGone) {
  const std::string foreign = kGone + "/" + kPump;
  Store("tessaly.definition", kKey, "old");
  Store("tessaly.definition", kGoneKey, "{}");
  Store("tessaly.state", kGoneKey, "{}");
  Store("tessaly.state", foreign, "another engine's");
  Store("tessaly.state", kEngine + "/something", "not ours");
  Store("tessaly.state", kEngine + "+" + kGone, "not ours either");
  Begin();
  Define();
  Open();
  EXPECT_THAT(TakenAway("tessaly.definition"), ElementsAre(kGoneKey));
  EXPECT_THAT(TakenAway("tessaly.state"), ElementsAre(kGoneKey));
  EXPECT_EQ(BusExample(kDefinitionExample), cluster.Newest("tessaly.definition", kKey));
}

TEST_F(KafkaBus, DoesNotTakeAwayAgainWhatIsGoneAlready) {
  Store("tessaly.state", kGoneKey, "{}");
  Store("tessaly.state", kGoneKey, "");
  Begin();
  Open();
  EXPECT_THAT(TakenAway("tessaly.state"), SizeIs(0));
}

TEST_F(KafkaBus, LeavesLeftoversThatItMayNotRead) {
  Store("tessaly.state", kGoneKey, "{}");
  cluster.readFailure = "Broker: Topic authorization failed";
  Begin();
  Open();
  EXPECT_THAT(TakenAway("tessaly.state"), SizeIs(0));
  EXPECT_THAT(log.Starting("event bus: what is kept of events that are gone can't be read: Broker"),
              SizeIs(1));
}

TEST_F(KafkaBus, IsOfflineWhenItEnds) {
  Begin();
  Open();
  Trigger(L"last");
  bus.reset();
  EXPECT_THAT(cluster.Payloads("tessaly.status"), ElementsAre("online", "offline"));
  EXPECT_THAT(cluster.Payloads("tessaly.transition"), SizeIs(1));
}

TEST_F(KafkaBus, IsOpenedOnlyWithThreads) {
  Begin();
  time.FailThreadsAfter(1);
  EXPECT_FALSE(bus->Open());
}

}  // namespace

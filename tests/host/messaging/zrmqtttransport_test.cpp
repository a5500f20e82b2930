#include "host/messaging/zrmqtttransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/messaging/zreventbus.h"
#include "host/messaging/zrmessaging.h"
#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrdatetime.h"
#include "support/busexample.h"
#include "support/fakemqtt.h"
#include "support/logcapture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

constexpr const wchar_t* kEngine = L"aaaaaaaa-0000-4000-8000-000000000001";
constexpr const wchar_t* kPump = L"bbbbbbbb-0000-4000-8000-000000000002";
const std::string kRoot = "tessaly/aaaaaaaa-0000-4000-8000-000000000001/";
const std::string kPumpRoot = kRoot + "event/bbbbbbbb-0000-4000-8000-000000000002/";
const std::string kDiscovery =
    "homeassistant/binary_sensor/aaaaaaaa-0000-4000-8000-000000000001/"
    "bbbbbbbb-0000-4000-8000-000000000002/config";
const std::string kStatus = kRoot + "status";

class MqttBus : public testing::Test {
 protected:
  MqttBus() {
    settings.broker.host = "broker";
    settings.engine = wtouuid(kEngine);
    settings.siteName = "North hall";
    settings.version = "0.1.0";
  }
  ~MqttBus() override { bus.reset(); }

  void Make() {
    const ZREventBusSettings ofBus{settings.engine, mostTold};
    bus = std::make_unique<ZREventBus>(ofBus, std::make_unique<ZRMqttTransport>(settings));
  }
  void Begin() {
    Make();
    ASSERT_TRUE(bus->Begin());
  }
  void Open() {
    ASSERT_TRUE(bus->Open());
    time.Advance(1);
  }
  void Define(const std::wstring& id = kPump) {
    EXPECT_TRUE(
        EventCreationPublisherManager::GetEventCreationPublisherFactory()->Create()->Publish(
            GetPublishThatANewEventHasBeenCreatedJSON(kEngine, id, L"Pump", L"Runs dry")));
  }
  static void Trigger(const std::wstring& id = kPump, const std::wstring& text = L"now") {
    EXPECT_TRUE(EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory()
                    ->Create()
                    ->Publish(GetPublishTriggeredEventJSON(kEngine, L"2026-01-01T00:00:00.000Z", id,
                                                           L"ON", text)));
  }
  void Reconnect() {
    broker.Cut("gone");
    time.Advance(ZRMqttClient::kFirstWait + 1);
  }
  std::string Kept(const std::string& topic) const {
    const auto found = broker.retained.find(topic);
    return found == broker.retained.end() ? "" : found->second;
  }

  ZRVirtualTime time;
  FakeMqtt broker;
  LogCapture log{kLogDelivery};
  ZRMqttTransportSettings settings;
  std::size_t mostTold = 100;
  std::unique_ptr<ZREventBus> bus;
};

TEST_F(MqttBus, KeepsADefinitionAndAStateForEachEvent) {
  Begin();
  Define();
  Open();
  EXPECT_EQ(BusExample(kDefinitionExample), Kept(kPumpRoot + "definition"));
  EXPECT_EQ(R"({"type":"eventState","engine":"aaaaaaaa-0000-4000-8000-000000000001",)"
            R"("id":"bbbbbbbb-0000-4000-8000-000000000002","state":"OFF"})",
            Kept(kPumpRoot + "state"));
  EXPECT_EQ("online", Kept(kStatus));
  EXPECT_THAT(broker.retained, SizeIs(3));
}

TEST_F(MqttBus, ShowsTheStateOfAnEvent) {
  Begin();
  Define();
  Open();
  bus->ShowState(wtouuid(kPump), true);
  time.Advance(1);
  EXPECT_EQ(BusExample(kStateExample), Kept(kPumpRoot + "state"));
  bus->ShowState(wtouuid(kPump), false);
  time.Advance(1);
  EXPECT_NE(std::string::npos, Kept(kPumpRoot + "state").find(R"("state":"OFF","since")"));
}

TEST_F(MqttBus, PassesTransitionsOnAndKeepsNone) {
  Begin();
  Open();
  Trigger(kPump, L"\xc3\xb1");
  time.Advance(1);
  EXPECT_THAT(broker.Payloads(kPumpRoot + "transition"),
              ElementsAre(BusExample(kTransitionExample)));
  EXPECT_EQ(1, broker.received.back().qos);
  EXPECT_THAT(broker.retained, ElementsAre(Pair(kStatus, "online")));
}

TEST_F(MqttBus, FindsTheEventBehindTheWayToIt) {
  Begin();
  Open();
  Trigger(std::wstring(L"hall.") + kPump);
  time.Advance(1);
  EXPECT_THAT(broker.Payloads(kPumpRoot + "transition"), SizeIs(1));
}

TEST_F(MqttBus, TellsOnceOfMessagesThatItCannotSend) {
  settings.broker.mostBytes = 300;
  Begin();
  Open();
  Trigger(L"no id");
  Trigger(kPump, std::wstring(settings.broker.mostBytes, L'x'));
  time.Advance(1);
  EXPECT_THAT(broker.received, SizeIs(1));  // the birth
  EXPECT_THAT(log.Starting("event bus: a message without the id of an event"), SizeIs(1));
}

TEST_F(MqttBus, TellsHomeAssistantOfAnEvent) {
  settings.discovery = true;
  Begin();
  Define();
  Open();
  EXPECT_EQ(BusExample(kDiscoveryExample), Kept(kDiscovery));
}

// It shows an entity's name behind the device's.
TEST_F(MqttBus, TellsHomeAssistantNoNameOfAnEventThatIsCalledAsTheSite) {
  settings.discovery = true;
  settings.siteName = "Pump";
  Begin();
  Define();
  Open();
  EXPECT_TRUE(Kept(kDiscovery).starts_with(R"({"name":null,"unique_id":)")) << Kept(kDiscovery);
}

TEST_F(MqttBus, TakesAwayWhatIsKeptOfEventsThatAreGone) {
  const std::string gone = "cccccccc-0000-4000-8000-000000000003";
  const std::string foreign = "tessaly/dddddddd-0000-4000-8000-000000000004/event/" + gone;
  broker.retained = {{kRoot + "event/" + gone + "/definition", "{}"},
                     {kRoot + "event/" + gone + "/state", "{}"},
                     {kDiscovery, "{}"},  // discovery isn't wanted any more
                     {kPumpRoot + "state", "old"},
                     {kRoot + "event/something/state", "not ours"},
                     {foreign + "/state", "another engine's"}};
  Begin();
  Define();
  Open();
  EXPECT_THAT(broker.filters, IsEmpty());  // and looks no longer
  EXPECT_EQ("", Kept(kRoot + "event/" + gone + "/definition"));
  EXPECT_EQ("", Kept(kRoot + "event/" + gone + "/state"));
  EXPECT_EQ("", Kept(kDiscovery));
  EXPECT_NE("old", Kept(kPumpRoot + "state"));
  EXPECT_EQ("not ours", Kept(kRoot + "event/something/state"));
  EXPECT_EQ("another engine's", Kept(foreign + "/state"));
}

TEST_F(MqttBus, MakesThePictureRightAgainAfterEachConnection) {
  Begin();
  Define();
  Open();
  broker.retained = {{kPumpRoot + "state", "older"},
                     {kRoot + "event/cccccccc-0000-4000-8000-000000000003/state", "{}"}};
  bus->ShowState(wtouuid(kPump), true);
  Reconnect();
  EXPECT_THAT(broker.retained, SizeIs(3));
  EXPECT_EQ("online", Kept(kStatus));
  EXPECT_NE(std::string::npos, Kept(kPumpRoot + "state").find(R"("state":"ON")"));
}

TEST_F(MqttBus, IsOfflineWhenTheConnectionIsLostAndWhenItEnds) {
  Begin();
  Open();
  broker.Cut("gone");
  time.Advance(1);
  EXPECT_EQ("offline", Kept(kStatus));
  time.Advance(ZRMqttClient::kFirstWait);
  EXPECT_EQ("online", Kept(kStatus));
  bus.reset();
  EXPECT_EQ("offline", Kept(kStatus));
  EXPECT_EQ(1, broker.polite);
}

TEST_F(MqttBus, SendsWhatWasToldBeforeItEnds) {
  Begin();
  Open();
  Trigger();
  bus.reset();
  EXPECT_THAT(broker.Payloads(kPumpRoot + "transition"), SizeIs(1));
  EXPECT_EQ(nullptr, EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory());
}

// The publishers of a test in virtual time never let the bus's thread run in between.
TEST_F(MqttBus, DropsTheOldestWhenMessagesComeTooFastButNoState) {
  mostTold = 2;
  Begin();
  Open();
  bus->ShowState(wtouuid(kPump), true);
  for (const wchar_t* text : {L"1", L"2", L"3", L"4", L"5"})
    Trigger(kPump, text);
  time.Advance(1);
  ASSERT_THAT(broker.Payloads(kPumpRoot + "transition"), SizeIs(2));
  EXPECT_NE(std::string::npos,
            broker.Payloads(kPumpRoot + "transition").front().find(R"("text":"4")"));
  EXPECT_THAT(log.Starting("event bus: 3 messages came too fast"), SizeIs(1));
  EXPECT_NE(std::string::npos, Kept(kPumpRoot + "state").find(R"("state":"ON")"));
}

TEST_F(MqttBus, IsBegunOnlyWithAThread) {
  Make();
  time.FailThreadsAfter(0);
  EXPECT_FALSE(bus->Begin());
  EXPECT_EQ(nullptr, EventCreationPublisherManager::GetEventCreationPublisherFactory());
}

}  // namespace

// The event bus on a broker that nobody here wrote.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "host/messaging/zreventbus.h"
#include "host/messaging/zrmessaging.h"
#include "host/messaging/zrmqtttransport.h"
#include "support/logcapture.h"
#include "support/mosquitto.h"

namespace {

using Clock = std::chrono::steady_clock;

class BusOnABroker : public testing::Test {
 protected:
  void SetUp() override {
    if (!Mosquitto::IsInstalled()) GTEST_SKIP() << Mosquitto::kPath << " isn't installed";
    settings.broker.host = "127.0.0.1";
    settings.broker.port = broker.Port();
    settings.broker.clientId = "engine";
    settings.engine = wtouuid(L"aaaaaaaa-0000-4000-8000-000000000001");
    bus = std::make_unique<ZREventBus>(ZREventBusSettings{settings.engine},
                                       std::make_unique<ZRMqttTransport>(settings));
    ASSERT_TRUE(bus->Begin());
  }

  static std::wstring Event(int number) {
    return L"bbbbbbbb-0000-4000-8000-00000000" + std::to_wstring(1000 + number);
  }
  static void Define(int number) {
    EXPECT_TRUE(
        EventCreationPublisherManager::GetEventCreationPublisherFactory()->Create()->Publish(
            GetPublishThatANewEventHasBeenCreatedJSON(L"e", Event(number),
                                                      L"Pump " + std::to_wstring(number), L"")));
  }
  static void Trigger(int number, const std::wstring& text) {
    EXPECT_TRUE(EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory()
                    ->Create()
                    ->Publish(GetPublishTriggeredEventJSON(L"e", L"2026-01-01T00:00:00.000Z",
                                                           Event(number), L"ON", text)));
  }
  [[nodiscard]] bool IsOnlineSoon() const {
    return Mosquitto::Until(
        [this] { return broker.Retained("tessaly/+/status").ends_with(" online\n"); });
  }

  LogCapture log{kLogDelivery};
  Mosquitto broker;
  ZRMqttTransportSettings settings;
  std::unique_ptr<ZREventBus> bus;
};

// What the broker keeps is right whatever became of it, and whoever publishes doesn't notice.
TEST_F(BusOnABroker, IsRightThroughAbsenceAndADeath) {
  Define(1);
  ASSERT_TRUE(bus->Open());
  Trigger(1, L"before there was a broker");
  ASSERT_TRUE(broker.Start());
  ASSERT_TRUE(IsOnlineSoon());
  broker.Kill();
  bus->ShowState(wtouuid(Event(1).c_str()), true);
  Trigger(1, L"after its death");
  ASSERT_TRUE(broker.Start());
  const std::string front = "tessaly/aaaaaaaa-0000-4000-8000-000000000001/event/";
  const std::string gone = front + "cccccccc-0000-4000-8000-000000000003/state";
  ASSERT_TRUE(IsOnlineSoon());
  ASSERT_TRUE(broker.Publish(gone, "left over", true));
  // Another client of its id throws the bus out, so that it connects anew.
  ASSERT_EQ(0, broker.Subscriber("nothing", {"-i", "engine", "-E"})->Wait());
  EXPECT_TRUE(Mosquitto::Until([&] { return broker.Retained(gone).empty(); }));
  const std::string kept = broker.Retained("tessaly/+/event/+/+");
  EXPECT_NE(kept.find("/definition {\"type\":\"eventCreated\""), std::string::npos) << kept;
  EXPECT_NE(kept.find("\"state\":\"ON\",\"since\":\""), std::string::npos) << kept;
  EXPECT_EQ(kept.find("/transition"), std::string::npos) << kept;
  bus.reset();
  EXPECT_TRUE(broker.Retained("tessaly/+/status").ends_with(" offline\n"));
}

TEST_F(BusOnABroker, CarriesAStormOfTransitions) {
  constexpr int kTransitions = 10'000;
  ASSERT_TRUE(broker.Start());
  ASSERT_TRUE(bus->Open());
  const auto listener = broker.Listener("listener", "tessaly/+/event/+/transition", kTransitions);
  const Clock::time_point from = Clock::now();
  for (int i = 0; i < kTransitions; ++i)
    Trigger(i % 100, L"storm " + std::to_wstring(i));
  const Clock::time_point published = Clock::now();
  ASSERT_EQ(0, listener->Wait());
  const Clock::time_point arrived = Clock::now();
  const auto milliseconds = [](auto span) {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(span).count());
  };
  std::printf("%d transitions: published in %d ms, arrived after %d ms\n", kTransitions,
              milliseconds(published - from), milliseconds(arrived - from));
  const std::string& out = listener->Out();
  EXPECT_EQ(kTransitions, std::count(out.begin(), out.end(), '\n'));
  EXPECT_NE(out.find("\"text\":\"storm 9999\""), std::string::npos);
}

}  // namespace

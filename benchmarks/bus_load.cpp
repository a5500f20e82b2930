// A storm of transitions through the event bus, from who publishes to the broker.
//   bus_load kafka COUNT          to the cluster that librdkafka brings for tests, in this process
//   bus_load mqtt COUNT PORT      to a broker on this machine, until a subscriber of it has them
// Prints how many were carried in a second, and how long one took who publishes; for Kafka also how
// many a second are read, as a site does at its start.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/messaging/zreventbus.h"
#include "host/messaging/zrkafkatransport.h"
#include "host/messaging/zrmessaging.h"
#include "host/messaging/zrmqtttransport.h"
#include "support/kafkacluster.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kEvents = 1000;
constexpr int kPartitions = 4;
constexpr const char* kTransitions = "tessaly.transition";
const std::wstring kEngine = L"aaaaaaaa-0000-4000-8000-000000000001";

double Seconds(Clock::duration span) {
  return std::chrono::duration<double>(span).count();
}

void Publish(int count) {
  const auto publisher =
      EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory()->Create();
  for (int i = 0; i < count; ++i) {
    const std::wstring event =
        L"bbbbbbbb-0000-4000-8000-" + std::to_wstring(100'000'000'000 + i % kEvents);
    (void)publisher->Publish(GetPublishTriggeredEventJSON(
        kEngine, L"2026-01-01T00:00:00.000Z", event, i % 2 == 0 ? L"ON" : L"OFF",
        L"Boiler house 2, pump 7: pressure 3.1 bar, limit 2.8 bar"));
  }
}

// Opens the bus, publishes, waits until `areThere`, and prints what it took.
template <typename AreThere>
int Measure(std::unique_ptr<ZRBusTransport> transport, int count, AreThere areThere) {
  ZREventBusSettings settings{wtouuid(kEngine.c_str())};
  settings.mostTold = static_cast<std::size_t>(count);
  ZREventBus bus(settings, std::move(transport));
  if (!bus.Begin() || !bus.Open()) return EXIT_FAILURE;
  constexpr int kSettle = 3'000'000;  // us, until it is connected
  (void)::usleep(kSettle);
  const Clock::time_point from = Clock::now();
  Publish(count);
  const Clock::time_point published = Clock::now();
  areThere();
  const double all = Seconds(Clock::now() - from);
  std::printf("%.0f transitions in a second, %.2f us for who publishes one\n", count / all,
              1e6 * Seconds(published - from) / count);
  return EXIT_SUCCESS;
}

int MeasureReading(const ZRKafkaSettings& broker) {
  int found = 0;
  std::string reason;
  const Clock::time_point from = Clock::now();
  const bool isRead = ZRKafkaWires::Get().NewReader(broker)->Read(
      {kTransitions}, [&found](const std::string&, std::string_view, bool) { ++found; }, reason);
  if (!isRead) return EXIT_FAILURE;
  std::printf("%.0f messages read in a second\n", found / Seconds(Clock::now() - from));
  return EXIT_SUCCESS;
}

int MeasureKafka(int count) {
  const KafkaCluster cluster;
  cluster.CreateTopic(kTransitions, kPartitions);
  ZRKafkaTransportSettings settings;
  settings.engine = wtouuid(kEngine.c_str());
  settings.broker.hosts = {"127.0.0.1"};
  settings.broker.port = cluster.Port();
  settings.broker.clientId = "load";
  settings.broker.compression = "lz4";
  settings.broker.mostWaiting = static_cast<std::size_t>(count);
  const int result = Measure(std::make_unique<ZRKafkaTransport>(settings), count, [&] {
    constexpr int kLook = 10'000;  // us
    while (cluster.Size(kTransitions) < static_cast<std::size_t>(count))
      (void)::usleep(kLook);
  });
  return result == EXIT_SUCCESS ? MeasureReading(settings.broker) : result;
}

int MeasureMqtt(int count, int port) {
  ZRMqttTransportSettings settings;
  settings.engine = wtouuid(kEngine.c_str());
  settings.broker.host = "127.0.0.1";
  settings.broker.port = port;
  settings.broker.clientId = "load";
  settings.broker.mostWaiting = static_cast<std::size_t>(count);
  // The broker holds the session, so that the subscriber misses none.
  const std::string client = "mosquitto_sub -h 127.0.0.1 -i listener -c -q 1 -p " +
                             std::to_string(port) + " -t 'tessaly/+/event/+/transition' ";
  if (std::system((client + "-E").c_str()) != 0) return EXIT_FAILURE;
  std::FILE* const subscriber =
      ::popen((client + "-C " + std::to_string(count) + " >/dev/null").c_str(), "r");
  if (subscriber == nullptr) return EXIT_FAILURE;
  return Measure(std::make_unique<ZRMqttTransport>(settings), count,
                 [&] { (void)::pclose(subscriber); });
}

}  // namespace

int main(int count, char** words) {
  const std::string kind = count > 2 ? words[1] : "";
  const int transitions = count > 2 ? std::atoi(words[2]) : 0;
  if (kind == "kafka" && transitions > 0) return MeasureKafka(transitions);
  if (kind == "mqtt" && transitions > 0 && count > 3)
    return MeasureMqtt(transitions, std::atoi(words[3]));
  std::fprintf(stderr, "bus_load kafka COUNT | mqtt COUNT PORT\n");
  return EXIT_FAILURE;
}

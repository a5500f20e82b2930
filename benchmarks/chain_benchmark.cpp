// What it costs to tell listeners everything, without the network.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <utility>

#include "host/platform/zrvirtualtime.h"
#include "host/remote/zrhttpclient.h"
#include "host/tools/xmldocument.h"
#include "memoryhttp.h"
#include "processortime.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr int kEvents = 10'000;
constexpr int kListeners = 32;
constexpr std::uint32_t kRound = 1000;  // ms

// Takes every document at once, and sums up what it took to make those of a round: from each one
// to the next.
class CountingWire final : public ZRHttpWire {
 public:
  CountingWire() { Replace(this); }
  ~CountingWire() override { Replace(nullptr); }
  CountingWire(const CountingWire&) = delete;
  CountingWire& operator=(const CountingWire&) = delete;

  std::unique_ptr<ZRExchange> NewExchange() override { return std::make_unique<CExchange>(*this); }
  void BeginRound() { last = -1; }

  double seconds = 0;  // for `documents`
  int documents = 0;
  std::size_t bytes = 0;  // of the last one

 private:
  class CExchange final : public ZRExchange {
   public:
    explicit CExchange(CountingWire& toTell) : wire(toTell) {}
    int Put(const std::string&, int, const std::string&, std::string_view body, const std::string&,
            const std::string&, std::string&) override {
      constexpr int kTaken = 204;
      if (body.empty()) return kTaken;  // the question of a registration
      const double now = ProcessorSeconds();
      if (wire.last >= 0) {
        wire.seconds += now - wire.last;
        ++wire.documents;
      }
      wire.bytes = body.size();
      wire.last = ProcessorSeconds();
      return kTaken;
    }

   private:
    CountingWire& wire;
  };

  double last = -1;
};

std::string EventsXml(bool notify) {
  std::string xml = "<main><eventsGroups></eventsGroups><events>";
  for (int number = 0; number < kEvents; ++number)
    xml += "<event><id>aaaaaaaa-0000-4000-8000-" + std::to_string(100'000'000'000 + number) +
           "</id><name>Event " + std::to_string(number) +
           "</name><description>Something of the plant</description>"
           "<annotation>It is so</annotation><condition>1 = 1</condition><notify>" +
           (notify ? "T" : "F") + "</notify></event>";
  return xml + "</events></main>";
}

void AskForEverything(ZREventServer& server) {
  PlainRequest request;
  for (int number = 0; number < kListeners; ++number) {
    const std::string body = "<listener><driverId>d" + std::to_string(number) +
                             "</driverId><driverName>Plant</driverName><ip>h</ip><port>80</port>"
                             "<all>T</all><actived>T</actived><notified>T</notified></listener>";
    (void)server.ProcessHttpServiceRegisterListener(
        request, reinterpret_cast<const unsigned char*>(body.c_str()));
  }
}

// All events are active, and every listener gets all of them. With `notify` each event stands in
// both sections of a document.
void BM_CompleteDocuments(benchmark::State& state) {
  ZRVirtualTime time;
  CountingWire wire;
  ZREventServer server;
  XmlDocument events;
  if (!events.Parse(EventsXml(state.range(0) != 0).c_str()))
    return state.SkipWithError("the store can't be read");
  ZREventSystem::Get().LoadXml(events);
  ZREventSystem::Get().Sort();
  if (!server.Start()) return state.SkipWithError("the engine can't be started");
  time.Advance(3 * kRound);
  for (auto _ : state) {
    AskForEverything(server);
    wire.BeginRound();
    const double before = wire.seconds;
    time.Advance(kRound);
    state.SetIterationTime(wire.seconds - before);
  }
  if (wire.documents != static_cast<int>(state.iterations()) * (kListeners - 1))
    state.SkipWithError("a listener was not told");
  constexpr double kMicro = 1e6;
  state.counters["us_per_event_and_listener"] =
      wire.seconds * kMicro / kEvents / static_cast<double>(wire.documents);
  state.counters["bytes"] = static_cast<double>(wire.bytes);
  server.Stop();
}
BENCHMARK(BM_CompleteDocuments)
    ->ArgName("notify")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

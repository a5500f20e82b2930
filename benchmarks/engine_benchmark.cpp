// The engine's own costs: loading, a pass, a service.
//
// A pass is ZREventPass over all events of the store, as a worker makes it each second.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <memory>
#include <string>
#include <vector>

#include "countallocations.h"
#include "host/platform/zrthread.h"
#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"
#include "memoryhttp.h"
#include "plausiblesite.h"
#include "processortime.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventdrivergroup.h"
#include "zrevents/zreventpass.h"
#include "zrevents/zreventserver.h"

namespace {

double HeapBytes() {
  const struct mallinfo2 info = ::mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

// A document may be larger than what the engine reads from a file.
constexpr std::size_t kNoLimit = SIZE_MAX;

// A store of events over a plant, and the events in the order of their pass.
class Loaded {
 public:
  explicit Loaded(const tagPlausibleSite& shape) : site(shape) {
    plant = static_cast<PlantDriver*>(ZRDriver::Register(std::make_unique<PlantDriver>()));
    plant->ShowQuiet();
    if (!document.Load(site.EventsFile().Text(), nullptr, kNoLimit)) std::abort();
    ZREventSystem& store = ZREventSystem::Get();
    store.LoadXml(document);
    store.Sort();
    if (store.EventsSize() != shape.events) std::abort();
    events.assign(store.EventsBegin(), store.EventsEnd());
    pass = std::make_unique<ZREventPass>(events);
  }
  ~Loaded() {
    server.Reset();
    ZRDriver::UnregisterAll();
  }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  void Pass(const ZRDateTime& now) const {
    pass->Run(now, [](const ZREventDriver&) {});
  }

  PlausibleSite site;
  PlantDriver* plant = nullptr;
  XmlDocument document;
  ZREventServer server;
  std::vector<ZREventDriver*> events;
  std::unique_ptr<ZREventPass> pass;
};

void SetPerEvent(benchmark::State& state, const char* name, double seconds, double events) {
  constexpr double kNano = 1e9;
  state.counters[name] = seconds * kNano / events;
}

void BM_QuietPass(benchmark::State& state) {
  const Loaded loaded({static_cast<int>(state.range(0)), 1});
  const ZRDateTime now = ZRDateTime::LTC();
  loaded.Pass(now);
  const long long before = Allocations();
  const double begun = ProcessorSeconds();
  for (auto _ : state)
    loaded.Pass(now);
  const double seconds = ProcessorSeconds() - begun;
  const auto allocated = static_cast<double>(Allocations() - before);
  SetPerEvent(state, "ns_per_event", seconds,
              static_cast<double>(state.iterations() * state.range(0)));
  state.counters["allocations"] = allocated;  // read before the counters take memory themselves
}

void BM_FailingPass(benchmark::State& state) {
  const Loaded loaded({static_cast<int>(state.range(0)), 1});
  loaded.plant->ShowNothing();
  const ZRDateTime now = ZRDateTime::LTC();
  const double begun = ProcessorSeconds();
  for (auto _ : state)
    loaded.Pass(now);
  SetPerEvent(state, "ns_per_event", ProcessorSeconds() - begun,
              static_cast<double>(state.iterations() * state.range(0)));
}

// The events of 50 groups, on two threads.
void BM_QuietPassOnTwoCores(benchmark::State& state) {
  constexpr int kGroups = 50;
  const Loaded loaded({static_cast<int>(state.range(0)), kGroups});
  std::vector<std::vector<ZREventDriver*>> groups(kGroups);
  for (ZREventDriver* event : loaded.events) {
    const auto number = std::stoul(
        std::string(Utf16ToUtf8((*event->GroupsVectorBegin())->Name().View()).View().substr(11)));
    groups[number].push_back(event);
  }
  std::vector<ZREventPass> passes;
  for (const std::vector<ZREventDriver*>& group : groups)
    passes.emplace_back(group);
  const ZRDateTime now = ZRDateTime::LTC();
  const double begun = ProcessorSeconds();
  for (auto _ : state) {
    ZRThread threads[2];
    for (std::size_t half = 0; half < 2; ++half) {
      (void)threads[half].Start([&passes, half, now] {
        for (std::size_t group = half; group < passes.size(); group += 2)
          passes[group].Run(now, [](const ZREventDriver&) {});
      });
    }
  }
  SetPerEvent(state, "ns_per_event", ProcessorSeconds() - begun,
              static_cast<double>(state.iterations() * state.range(0)));
}

void BM_LoadCfg(benchmark::State& state) {
  const PlausibleSite site({static_cast<int>(state.range(0)), 20});
  ZRDriver::Register(std::make_unique<PlantDriver>());
  const auto events = static_cast<double>(state.range(0));
  double seconds = 0.0;
  double bytes = 0.0;
  for (auto _ : state) {
    const double heapBefore = HeapBytes();
    const double begun = ProcessorSeconds();
    XmlDocument document;
    ZREventServer server;
    if (site.BytesOfXml() < XmlDocument::kMaximumFileSize) {
      server.LoadCfg();
    } else {
      // The same steps by hand: one file holds at most kMaximumFileSize.
      if (!document.Load(site.EventsFile().Text(), nullptr, kNoLimit)) std::abort();
      ZREventSystem::Get().LoadXml(document);
      ZREventSystem::Get().Sort();
    }
    seconds += ProcessorSeconds() - begun;
    bytes = HeapBytes() - heapBefore;
    if (ZREventSystem::Get().EventsSize() != static_cast<int>(state.range(0)))
      state.SkipWithError("not all events were loaded");
    server.Reset();
  }
  constexpr double kMicro = 1e6;
  state.counters["us_per_event"] =
      seconds * kMicro / events / static_cast<double>(state.iterations());
  state.counters["bytes_per_event"] = bytes / events;
  state.counters["xml_bytes_per_event"] = static_cast<double>(site.BytesOfXml()) / events;
  ZRDriver::UnregisterAll();
}

void BM_ActiveService(benchmark::State& state) {
  Loaded loaded({static_cast<int>(state.range(0)), 1});
  loaded.plant->ShowActive();
  const ZRDateTime now = ZRDateTime::LTC();
  loaded.Pass(now);  // the delays begin
  ZRPlatform::Get().Sleep(5100);
  loaded.Pass(now);
  PlainRequest request;
  MemoryResponse response;
  constexpr std::size_t kRoomForEach = 1000;
  response.body.assign(static_cast<std::size_t>(state.range(0)) * kRoomForEach, ' ');
  // The first answer after each event has changed; then those of events that stay as they are.
  const double first = ProcessorSeconds();
  loaded.server.ProcessHttpServiceEventsActived(request, response);
  SetPerEvent(state, "ns_per_changed_event", ProcessorSeconds() - first,
              static_cast<double>(state.range(0)));
  const double begun = ProcessorSeconds();
  for (auto _ : state)
    loaded.server.ProcessHttpServiceEventsActived(request, response);
  SetPerEvent(state, "ns_per_event", ProcessorSeconds() - begun,
              static_cast<double>(state.iterations() * state.range(0)));
  state.counters["body_bytes_per_event"] =
      static_cast<double>(response.body.size()) / static_cast<double>(state.range(0));
  const auto active = static_cast<std::int64_t>(loaded.server.ActiveEventsCount(request, response));
  if (active != state.range(0)) state.SkipWithError("not all events are active");
}

constexpr int kRepetitions = 5;

// First: the large stores below leave a heap behind in which a new store lies scattered, as none
// does in a process that has just started.
BENCHMARK(BM_ActiveService)
    ->Arg(100)
    ->Arg(10'000)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly();
BENCHMARK(BM_QuietPass)
    ->Arg(1000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly();
BENCHMARK(BM_FailingPass)->Arg(100'000)->Repetitions(kRepetitions)->ReportAggregatesOnly();
BENCHMARK(BM_QuietPassOnTwoCores)
    ->Arg(1'000'000)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly();
BENCHMARK(BM_LoadCfg)
    ->Arg(1000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly();
BENCHMARK(BM_LoadCfg)->Arg(1'000'000)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();

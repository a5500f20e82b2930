// The live list and the acknowledge service.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "memoryhttp.h"
#include "zrevents/lists/zreventlist.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr int kElements = 10'000;

std::string Element(int number, const std::string& inside) {
  return "<event><id>R.aaaaaaaa-0000-4000-8000-" + std::to_string(100'000'000'000 + number) +
         "</id><idn>Roof.Pump " + std::to_string(number) +
         "</idn><name>Pump</name><description>Pump of the roof</description><annotation>since "
         "8</annotation><deaAnnotation></deaAnnotation><ackAnnotation></ackAnnotation><notified>T"
         "</notified><canAcknowledge>T</canAcknowledge>" +
         inside + "</event>";
}

// Merges one document of kElements elements, the last first if `isReversed`.
void MergeAll(ZREventList& list, const XmlDocument& document, bool isReversed) {
  std::vector<const XmlDocument::XmlNode*> elements;
  for (auto at = document.Root()->ChildsBegin(); at != document.Root()->ChildsEnd(); ++at)
    elements.push_back(*at);
  if (isReversed) std::reverse(elements.begin(), elements.end());
  for (const auto* const element : elements)
    list.UpdateEntry(element, false);
}

std::string Document(const std::string& inside) {
  std::string text = "<notified>";
  for (int number = 0; number < kElements; ++number)
    text += Element(number, inside);
  return text + "</notified>";
}

// A full document into an empty list; then every element acknowledged, and deactivated in the
// order or against it, until the list is empty again.
void BM_Merge(benchmark::State& state) {
  XmlDocument full;
  XmlDocument ack;
  XmlDocument off;
  if (!full.Parse(Document("<dateTime>2026-03-01 08:00:00</dateTime>").c_str()) ||
      !ack.Parse(
          Document("<ackDateTime>1</ackDateTime><whyFired>ACKNOWLEDGE</whyFired>").c_str()) ||
      !off.Parse(Document("<disableDateTime>1</disableDateTime><whyFired>DEACTIVATION</whyFired>")
                     .c_str())) {
    state.SkipWithError("the documents can't be read");
    return;
  }
  for (auto _ : state) {
    ZREventList list;
    MergeAll(list, full, false);
    MergeAll(list, ack, false);
    MergeAll(list, off, state.range(0) != 0);
  }
  state.SetItemsProcessed(state.iterations() * 3 * kElements);
}
BENCHMARK(BM_Merge)->ArgName("reversed")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The full document alone.
void BM_MergeFull(benchmark::State& state) {
  XmlDocument full;
  if (!full.Parse(Document("<dateTime>2026-03-01 08:00:00</dateTime>").c_str())) {
    state.SkipWithError("the document can't be read");
    return;
  }
  for (auto _ : state) {
    ZREventList list;
    MergeAll(list, full, false);
  }
  state.SetItemsProcessed(state.iterations() * kElements);
}
BENCHMARK(BM_MergeFull)->Unit(benchmark::kMillisecond);

std::string EventId(int number) {
  return "aaaaaaaa-0000-4000-8000-" + std::to_string(100'000'000'000 + number);
}

// Acknowledges each event of a store once, `range` ids in each document. All of them are active.
void BM_Acknowledge(benchmark::State& state) {
  const int events = static_cast<int>(state.range(0));
  const int idsInEach = static_cast<int>(state.range(1));
  std::string xml = "<main><eventsGroups></eventsGroups><events>";
  for (int number = 0; number < events; ++number)
    xml += "<event><id>" + EventId(number) + "</id><name>Event " + std::to_string(number) +
           "</name><condition>1 = 1</condition><notify>T</notify>"
           "<ackAnnotation>seen: %n</ackAnnotation></event>";
  xml += "</events></main>";
  std::vector<std::string> bodies;
  for (int number = 0; number < events; number += idsInEach) {
    bodies.emplace_back("<eventsAck>");
    for (int at = number; at < number + idsInEach && at < events; ++at)
      bodies.back() += "<id>" + EventId(at) + "</id>";
    bodies.back() += "</eventsAck>";
  }
  PlainRequest request;
  XmlDocument document;
  if (!document.Parse(xml.c_str())) return state.SkipWithError("the store can't be read");
  for (auto _ : state) {
    state.PauseTiming();
    auto server = std::make_unique<ZREventServer>();
    ZREventSystem& store = ZREventSystem::Get();
    store.LoadXml(document);
    const ZRDateTime now = ZRDateTime::LTC();
    for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event)
      for (int pass = 0; pass < 2; ++pass)
        (void)(*event)->Work(now);
    state.ResumeTiming();
    for (const std::string& body : bodies)
      (void)server->ProcessHttpServiceAck(request,
                                          reinterpret_cast<const unsigned char*>(body.c_str()));
    state.PauseTiming();
    for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event)
      if (!(*event)->GetLastEventAcknowledgeDateTime().Valid())
        state.SkipWithError("an event isn't acknowledged");
    server.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * events);
}
BENCHMARK(BM_Acknowledge)
    ->ArgNames({"events", "ids"})
    ->Args({100, 1})
    ->Args({1'000, 1})
    ->Args({1'000, 100})
    ->Args({10'000, 1})
    ->Args({10'000, 1'000})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

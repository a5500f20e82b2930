// What a worker's pass costs when its events send mails.

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "host/platform/zrplatform.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"
#include "processortime.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventpass.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr int kMails = 1'000;
constexpr int kRepetitions = 3;

// A share folder whose mail program takes every mail at once and counts it, and a queue without a
// limit.
class HealthyMail {
 public:
  HealthyMail() {
    std::string pattern = (std::filesystem::temp_directory_path() / "mails-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    folder = pattern;
    std::ofstream(folder + "/msmtp") << "#!/bin/sh\nprintf . >>'" << folder << "/taken'\n";
    std::filesystem::permissions(folder + "/msmtp", std::filesystem::perms::owner_all);
    std::ofstream(folder + "/taken").flush();
    SetSharePath(Utf8ToUtf16(std::string_view(folder)));
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    if (!ZRTessalySetup::Get().LoadText("[smtp]\nserver = \"127.0.0.1\"\nqueue = -1\n",
                                        Utf8ToUtf16(std::string_view(folder)), problems, warnings))
      std::abort();
  }
  ~HealthyMail() {
    SetSharePath(L"");
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  HealthyMail(const HealthyMail&) = delete;
  HealthyMail& operator=(const HealthyMail&) = delete;

  [[nodiscard]] std::uintmax_t Taken() const {
    return std::filesystem::file_size(folder + "/taken");
  }
  // Until that many mails have been taken; false after a minute.
  [[nodiscard]] bool WaitFor(std::uintmax_t mails) const {
    constexpr int kTurns = 600;
    constexpr std::uint32_t kTurn = 100;  // ms
    for (int turn = 0; turn < kTurns && Taken() < mails; ++turn)
      ZRPlatform::Get().Sleep(kTurn);
    return Taken() == mails;
  }

 private:
  std::string folder;
};

std::string EventsXml() {
  std::string xml = "<main><eventsGroups></eventsGroups><events>";
  for (int number = 0; number < kMails; ++number)
    xml += "<event><id>aaaaaaaa-0000-4000-8000-" + std::to_string(100'000'000'000 + number) +
           "</id><name>Event " + std::to_string(number) +
           "</name><condition>1 = 1</condition><actions><activate><mail><message>%n: too much on "
           "the grid</message><address>ana@example.org</address></mail>"
           "</activate></actions></event>";
  return xml + "</events></main>";
}

// All events become active in one pass, and each sends a mail. The time is the worker's own;
// `went_by_ms` has its waits too, above all those for a turn of the queue's thread to end.
void BM_MailPass(benchmark::State& state) {
  const HealthyMail mail;
  XmlDocument document;
  if (!document.Parse(EventsXml().c_str())) return state.SkipWithError("the store can't be read");
  std::uint64_t wentBy = 0;
  for (auto _ : state) {
    ZREventServer server;
    ZREventSystem& store = ZREventSystem::Get();
    store.LoadXml(document);
    ZREventPass pass(std::vector<ZREventDriver*>(store.EventsBegin(), store.EventsEnd()));
    const ZRDateTime now = ZRDateTime::LTC();
    const std::uint32_t begun = ZRPlatform::Get().TickCount();
    const double used = ThreadSeconds();
    pass.Run(now, [](const ZREventDriver&) {});
    const double seconds = ThreadSeconds() - used;
    wentBy += ZRPlatform::Get().TickCount() - begun;
    state.SetIterationTime(seconds);
    if (!mail.WaitFor(kMails)) return state.SkipWithError("not every event sent its mail");
  }
  state.counters["went_by_ms"] =
      static_cast<double>(wentBy) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_MailPass)
    ->UseManualTime()
    ->Iterations(1)
    ->Repetitions(kRepetitions)
    ->ReportAggregatesOnly()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

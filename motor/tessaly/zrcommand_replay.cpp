// tessaly replay: recorded readings from end to end, in virtual time.

#include <algorithm>
#include <cstdio>
#include <optional>

#include "host/base/zrlogger.h"
#include "host/base/zrlogtext.h"
#include "host/drivers/zrdriverfactory.h"
#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrtransitionline.h"

namespace {

constexpr double kMillisecondsInSecond = 1000.0;
constexpr std::uint64_t kTail = 60'000;  // ms that are run behind the last reading

// What all the replays of the settings hold together; nothing without one.
std::optional<ZRReadingsSpan> MeasureReplays(ZRFindings& findings) {
  std::optional<ZRReadingsSpan> all;
  for (const XmlDocument::XmlNode* settings : ZRTessalySetup::Get().Drivers()) {
    if (settings->ValueUtf8("type") != "replay") continue;
    ZRReadingsSpan span;
    std::vector<ZRSettingProblem> problems;
    if (!ZRDriverFactory::MeasureReplay(*settings, span, problems)) {
      for (const ZRSettingProblem& problem : problems) {
        findings.push_back({ZRFinding::tagKind::kBroken, ZRTessalySetup::kFileName,
                            static_cast<std::uint64_t>(problem.line), 0,
                            std::string(problem.text.View())});
      }
      continue;
    }
    if (!all) {
      all = span;
      continue;
    }
    all->first = std::min(all->first, span.first);
    all->last = std::max(all->last, span.last);
    all->readings += span.readings;
  }
  return all;
}

// Counts and prints the transitions of a run.
class CTranscript {
 public:
  void Print(const ZREventDriver& event, bool active, double seconds) {
    ++transitions;
    ZRString date;
    (void)DateTime2String(date, ZRDateTime::LTC(), false, false);
    const ZRWString line = EscapeLogText(TransitionLine(event, active, seconds));
    std::printf("%s  %s\n", date.Text(), Utf16ToUtf8(line.View()).Text());
  }
  [[nodiscard]] int Transitions() const { return transitions; }

 private:
  int transitions = 0;
};

int RunThrough(ZRSite& site, const ZRReadingsSpan& span) {
  const std::uint32_t begun = ZRPlatform::System().TickCount();
  ZRVirtualTime time(span.first);
  CTranscript transcript;
  ZRFindings findings;
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kWithoutMachine, findings);
  site.LoadEvents([&transcript](const ZREventDriver& event, bool active,
                                double seconds) { transcript.Print(event, active, seconds); },
                  findings);
  LogFindings(findings);
  const bool runs = site.StartEngine();
  const auto length = static_cast<std::uint64_t>(span.last - span.first) + kTail;
  if (runs) time.Advance(length);
  site.Stop();
  const std::uint32_t taken = ZRPlatform::System().TickCount() - begun;
  std::fprintf(stderr, "%lld readings, %ls: %d transitions, in %.2f s\n",
               static_cast<long long>(span.readings),
               DurationText(static_cast<double>(length) / kMillisecondsInSecond).Text(),
               transcript.Transitions(), static_cast<double>(taken) / kMillisecondsInSecond);
  return runs ? kExitDone : kExitFaulty;
}

}  // namespace

int ReplaySite(const ZRCommand& command) {
  ZRFindings findings;
  ZRSite site(command.site);
  std::optional<ZRReadingsSpan> span;
  if (site.LoadSettings(findings) && site.TrySettings(findings)) span = MeasureReplays(findings);
  LogFindings(findings);
  if (!span) {
    std::fprintf(stderr, "tessaly: %s has no replay to run\n", command.site.c_str());
    return kExitImpossible;
  }
  return RunThrough(site, *span);
}

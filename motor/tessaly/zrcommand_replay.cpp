// tessaly replay: recorded readings from end to end, in virtual time.

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "host/base/zrlogger.h"
#include "host/base/zrlogtext.h"
#include "host/drivers/zrdriverfactory.h"
#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrsilentactions.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrtransitionline.h"

namespace {

constexpr double kMillisecondsInSecond = 1000.0;
constexpr std::uint64_t kTail = 60'000;  // ms that are run behind the last reading

// A run through all the replays of the settings.
struct tagRecording {
  std::int64_t first = 0;     // UTC in ms of the first reading of all
  std::uint64_t length = 0;   // ms until the longest is over
  std::int64_t readings = 0;  // of all, each shown once
};

// How long a replay takes at the speed that its settings ask for, in ms.
std::uint64_t LengthOf(const XmlDocument::XmlNode& settings, const ZRReadingsSpan& span) {
  constexpr double kDefaultStep = 1000.0;
  const auto number = [&settings](std::string_view key, double otherwise) {
    const std::string_view text = settings.ValueUtf8(key);
    (void)std::from_chars(text.data(), text.data() + text.size(), otherwise);
    return otherwise;
  };
  const double length = settings.ValueUtf8("speed") == "step"
                            ? static_cast<double>(span.readings) * number("step_ms", kDefaultStep)
                            : static_cast<double>(span.last - span.first) / number("speed", 1.0);
  return static_cast<std::uint64_t>(length);
}

// Nothing without a replay that can be run.
std::optional<tagRecording> MeasureReplays(ZRFindings& findings) {
  std::optional<tagRecording> all;
  for (const XmlDocument::XmlNode* settings : ZRTessalySetup::Get().Drivers()) {
    if (settings->ValueUtf8("type") != "replay") continue;
    ZRReadingsSpan span;
    std::vector<ZRSettingProblem> problems;
    if (ZRDriverFactory::MeasureReplay(*settings, span, problems)) {
      if (!all) all = tagRecording{span.first};
      all->first = std::min(all->first, span.first);
      all->length = std::max(all->length, LengthOf(*settings, span));
      all->readings += span.readings;
    } else {
      AddProblems(problems, ZRFinding::tagKind::kBroken, findings);
    }
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

// A folder that goes with the object, and what is in it.
class CScratchFolder {
 public:
  CScratchFolder() {
    std::error_code ignored;
    std::string pattern =
        (std::filesystem::temp_directory_path(ignored) / "tessaly-replay-XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) path = pattern;
  }
  ~CScratchFolder() {
    std::error_code ignored;
    if (!path.empty()) (void)std::filesystem::remove_all(path, ignored);
  }
  CScratchFolder(const CScratchFolder&) = delete;
  CScratchFolder& operator=(const CScratchFolder&) = delete;
  // With its separator; the root of the disk, where nothing can be made, if there is none.
  [[nodiscard]] ZRWString Path() const { return Utf8ToUtf16(std::string_view(path)) + L"/"; }

 private:
  std::string path;
};

int RunThrough(ZRSite& site, const tagRecording& recording) {
  const std::uint32_t begun = ZRPlatform::System().TickCount();
  ZRVirtualTime time(recording.first);
  // What is replayed has no place in the site's history.
  const CScratchFolder scratch;
  site.RecordForNothing(scratch.Path());
  CTranscript transcript;
  ZRFindings findings;
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kWithoutMachine, findings);
  site.LoadEvents([&transcript](const ZREventDriver& event, bool active, double seconds) {
    transcript.Print(event, active, seconds);
  });
  site.CheckLoaded(findings);
  LogFindings(findings);
  const std::uint64_t length = recording.length + kTail;
  const bool runs = site.StartEngine();
  if (runs) time.Advance(length);
  site.Stop();
  const std::uint32_t taken = ZRPlatform::System().TickCount() - begun;
  std::fprintf(
      stderr, "%lld readings, %s: %d transitions, in %.2f s\n",
      static_cast<long long>(recording.readings),
      Utf16ToUtf8(DurationText(static_cast<double>(length) / kMillisecondsInSecond).View()).Text(),
      transcript.Transitions(), static_cast<double>(taken) / kMillisecondsInSecond);
  return runs ? kExitDone : kExitFaulty;
}

}  // namespace

int ReplaySite(const ZRCommand& command) {
  ZRFindings findings;
  const ZRSilentActions nobody;  // is told of what is replayed
  ZRSite site(command.site);
  if (!site.LoadSettings(findings) || !site.TryDocuments(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  const std::optional<tagRecording> recording = MeasureReplays(findings);
  LogFindings(findings);
  if (recording) return RunThrough(site, *recording);
  std::fprintf(stderr, "tessaly: %s has no replay to run\n", command.site.c_str());
  return kExitImpossible;
}

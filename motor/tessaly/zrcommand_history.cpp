// tessaly history: what has happened at a site.

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "host/base/zrlogger.h"
#include "host/driversupport/eventfile/zreventfiletroubles.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrhistorytext.h"
#include "tessaly/zrperiod.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrsite.h"
#include "zrevents/zreventdriver.h"

namespace {

// How far a long question is, on the last line of a terminal.
class CProgress {
 public:
  CProgress() : isWanted(::isatty(STDERR_FILENO) != 0) {}
  ~CProgress() {
    if (isShown) std::fputs("\r\x1b[K", stderr);
  }
  CProgress(const CProgress&) = delete;
  CProgress& operator=(const CProgress&) = delete;

  void Show(int done, int all) {
    constexpr std::uint32_t kPatience = 1000;  // ms without a word
    constexpr std::uint32_t kBetween = 200;    // ms
    const std::uint32_t now = ZRPlatform::Get().TickCount();
    if (!isWanted || now - last < (isShown ? kBetween : kPatience)) return;
    std::fprintf(stderr, "\r%d of %d events", done, all);
    isShown = true;
    last = now;
  }

 private:
  const bool isWanted;
  bool isShown = false;
  std::uint32_t last = ZRPlatform::Get().TickCount();
};

// A question that tells how far it is.
class CQuestion final : public ZREventLoggerData {
 public:
  bool Load(const ZRDateTime& from, const ZRDateTime& to, bool searchBefore) override {
    CProgress progress;
    int done = 0;
    for (auto event = Info().EventsBegin(); event != Info().EventsEnd(); ++event) {
      // False only says that there is no file.
      (void)(*event)->Driver()->Load(*this, from, to, searchBefore);
      progress.Show(++done, Info().NVariables());
    }
    return true;
  }
};

// The events that are asked for. False, with a word to the user, if there is none of some name.
bool FindEvents(const ZRCommand& command, ZREventLoggerInfo& info, ZREventNames& names) {
  std::vector<std::string> missing = command.history.events;
  const ZREventSystem& store = ZREventSystem::Get();
  for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event) {
    const std::string name(Utf16ToUtf8((*event)->Name().View()).View());
    names.emplace((*event)->Id(), name);
    const auto& wanted = command.history.events;
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), name) == wanted.end()) continue;
    info.AddVariable((*event)->Id());
    missing.erase(std::remove(missing.begin(), missing.end(), name), missing.end());
  }
  for (const std::string& name : missing) {
    std::fprintf(stderr, "tessaly: %s has no event '%s'\n", ShownText(command.site).c_str(),
                 ShownText(name).c_str());
  }
  return missing.empty();
}

void PrintPiece(std::string_view text) {
  (void)std::fwrite(text.data(), 1, text.size(), stdout);
}

void Print(const ZRHistoryWords& words, ZREventLoggerData& answer, const ZREventNames& names) {
  if (words.totals) {
    ZRTotals totals;
    auto& group = answer.RecordGroupTotalized();
    for (auto total = group.Begin(); !(total == group.End()); ++total)
      totals.push_back(*total);
    return WriteTotals(words.format, totals, names, PrintPiece);
  }
  ZROccurrences occurrences;
  auto& group = answer.RecordGroup();
  for (auto record = group.Begin(); record != group.End(); ++record) {
    if (!words.open || (*record)->DisableOffset() == ZREventLoggerData::kNoOffset)
      occurrences.push_back(*record);
  }
  WriteOccurrences(words.format, occurrences, names, PrintPiece);
}

// What couldn't be read is missing in the answer.
int SayWhatIsMissing(const ZRCommand& command) {
  const ZREventFileTroubles& troubles = ZREventFileTroubles::Get();
  const std::uint64_t files =
      troubles.Count(ZREventFileTrouble::kOpen) + troubles.Count(ZREventFileTrouble::kRefused);
  const std::uint64_t records = troubles.Count(ZREventFileTrouble::kDamaged);
  if (files + records == 0) return kExitDone;
  std::fprintf(stderr,
               "tessaly: some files or records couldn't be read: tessaly history verify %s\n",
               ShownText(command.site).c_str());
  return kExitFaulty;
}

int Answer(const ZRCommand& command, const ZRPeriod& period) {
  ZREventLoggerInfo info;
  ZREventNames names;
  if (!FindEvents(command, info, names)) return kExitFaulty;
  CQuestion question;
  question.Setup(info);
  // What is open may have begun long ago.
  const bool searchBefore = command.history.running || command.history.open;
  (void)question.SelectData(period.from, period.to, searchBefore);
  Print(command.history, question, names);
  return SayWhatIsMissing(command);
}

}  // namespace

int ShowHistory(const ZRCommand& command) {
  SetLogLevel(kLogConfiguration);
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings) || !site.TryDocuments(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  const char* reason = nullptr;
  const std::optional<ZRPeriod> period =
      ParsePeriodAround(ZRDateTime::UTC(), command.history.from, command.history.to, reason);
  if (!period) {
    std::fprintf(stderr, "tessaly: %s\n", reason);
    return kExitImpossible;
  }
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kNone, findings);
  site.LoadEvents({});
  return Answer(command, *period);
}

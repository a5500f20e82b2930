// tessaly rename: data files follow an event that has a new name.

#include <cstdio>
#include <filesystem>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrrenameplan.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsitecheck.h"
#include "tessaly/zrsitelock.h"
#include "zrevents/history/zrrenameevents.h"

namespace {

// The events of a document. Null, with a word to the user, if it can't be read or has none.
const XmlDocument::XmlNode* EventsOf(XmlDocument& document, const ZRWString& path,
                                     const std::string& shown) {
  XmlDocument::tagRefusal refusal;
  if (!document.Load(path.Text(), &refusal)) {
    std::fprintf(stderr, "tessaly: %s:%u:%u: %s\n", ShownText(shown).c_str(),
                 static_cast<unsigned>(refusal.line), static_cast<unsigned>(refusal.column),
                 refusal.reason.c_str());
    return nullptr;
  }
  const XmlDocument::XmlNode* const events = document.Root()->Child("events");
  if (events == nullptr)
    std::fprintf(stderr, "tessaly: %s has no events\n", ShownText(shown).c_str());
  return events;
}

void PrintEvent(const ZRRenamePlan::tagEvent& event) {
  std::printf("%s -> %s\n", ShownText(event.oldName).c_str(), ShownText(event.newName).c_str());
  for (const ZRRenamePlan::tagMove& move : event.moves) {
    if (move.isTaken) continue;
    std::printf("  moves: %s -> %s\n", ShownText(move.from).c_str(), ShownText(move.to).c_str());
  }
  for (const ZRRenamePlan::tagMove& move : event.moves) {
    if (!move.isTaken) continue;
    std::printf("  taken: %s exists already\n", ShownText(move.to).c_str());
  }
  for (const std::string& file : event.stays)
    std::printf("  stays: %s\n", ShownText(file).c_str());
}

void PrintPlan(const ZRRenamePlan& plan) {
  for (const ZRRenamePlan::tagEvent& event : plan.events)
    PrintEvent(event);
  std::printf("%zu events have a new name: %zu files move, %zu stay\n", plan.events.size(),
              plan.Moves(), plan.Stays());
  if (plan.Stays() == 0) return;
  std::printf(
      "Only files of the first event with a new name move: those of this month and the months\n"
      "before it in the newest year that has files. What stays is found under the old name only;\n"
      "rename it by hand while the site doesn't run.\n");
}

// How many of the planned moves have come about.
std::size_t CountMoved(const ZRRenamePlan& plan, const std::string& folder) {
  std::size_t moved = 0;
  std::error_code ignored;
  for (const ZRRenamePlan::tagEvent& event : plan.events) {
    for (const ZRRenamePlan::tagMove& move : event.moves)
      if (!move.isTaken && !std::filesystem::exists(folder + move.from, ignored)) ++moved;
  }
  return moved;
}

int Rename(const XmlDocument::XmlNode* oldEvents, const XmlDocument::XmlNode* newEvents,
           const ZRRenamePlan& plan) {
  const bool isDone = RenameEventsFilesDataName(oldEvents, newEvents);
  const std::string folder(Utf16ToUtf8(ZRTessalySetup::Get().DataPath().View()).View());
  std::printf("%zu files moved\n", CountMoved(plan, folder));
  if (isDone) return kExitDone;
  std::fputs("tessaly: a file couldn't be moved\n", stderr);
  return kExitFaulty;
}

// False, with a word to the user, if the site may be at work.
bool IsStill(ZRSiteLock& lock, const ZRCommand& command) {
  switch (lock.Take(command.site)) {
    case ZRSiteLock::tagAnswer::kTaken:
      return true;
    case ZRSiteLock::tagAnswer::kBusy:
      std::fprintf(stderr, "tessaly: %s runs: stop it first\n", ShownText(command.site).c_str());
      return false;
    case ZRSiteLock::tagAnswer::kImpossible:
      std::fprintf(stderr, "tessaly: it can't be told whether %s runs: %s: %s\n",
                   ShownText(command.site).c_str(), ZRSiteLock::kFileName, lock.Reason().c_str());
      return false;
  }
  return false;
}

}  // namespace

int RenameHistory(const ZRCommand& command) {
  SetLogLevel(kLogConfiguration);
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  XmlDocument before;
  XmlDocument now;
  const XmlDocument::XmlNode* const oldEvents =
      EventsOf(before, Utf8ToUtf16(std::string_view(command.file)), command.file);
  const XmlDocument::XmlNode* const newEvents =
      EventsOf(now, setup.CfgPath() + Utf8ToUtf16(kEventsFile), ShownFile(setup, kEventsFile));
  if (oldEvents == nullptr || newEvents == nullptr) return kExitImpossible;
  ZRSiteLock lock;
  if (!command.dryRun && !IsStill(lock, command)) return kExitImpossible;
  const ZRRenamePlan plan = PlanRename(oldEvents, newEvents, setup.DataPath(), ZRDateTime::UTC());
  PrintPlan(plan);
  return command.dryRun ? kExitDone : Rename(oldEvents, newEvents, plan);
}

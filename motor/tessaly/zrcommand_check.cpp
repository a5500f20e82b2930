// tessaly check: what of the configuration can't be used.

#include <cstdio>

#include "host/base/zrlogger.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrdatafolder.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsiteweb.h"

int CheckSite(const ZRCommand& command) {
  SetLogLevel(kLogConfiguration);
  ZRFindings findings;
  ZRSite site(command.site);
  if (site.LoadSettings(findings)) {
    CheckWeb(ZRTessalySetup::Get(), findings);
    (void)site.TryDocuments(findings);
  }
  if (HasKind(findings, ZRFinding::tagKind::kBroken)) {
    PrintFindings(findings);
    return kExitImpossible;
  }
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kNone, findings);
  site.LoadEvents({});
  site.CheckLoaded(findings);
  CheckDataFolder(ZRTessalySetup::Get(), findings);
  PrintFindings(findings);
  const ZREventSystem& store = ZREventSystem::Get();
  std::printf("%s: %d events, %d groups, %d time tables\n", command.site.c_str(),
              store.EventsSize(), store.EventsGroupsSize(), store.TimeTablesSize());
  return HasKind(findings, ZRFinding::tagKind::kDropped) ? kExitFaulty : kExitDone;
}

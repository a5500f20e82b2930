// tessaly run: a site at work, until it is told to stop.

#include <cstdio>
#include <string>

#include "host/base/zrlogger.h"
#include "host/platform/zrsignals.h"
#include "host/remote/zrwebserver.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrservices.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrtransitionline.h"

namespace {

constexpr std::uint32_t kLook = 1000;  // ms between two looks at the engine's cycle

void LogTransition(ZREventDriver& event, bool active, double seconds) {
  logger(kLogNotice, L"%ls", TransitionLine(event, active, seconds).Text());
}

// Everything from drivers to workers, with the settings in force.
bool StartWork(ZRSite& site) {
  ZRFindings findings;
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kAll, findings);
  site.LoadEvents(LogTransition, findings);
  LogFindings(findings);
  if (!site.StartEngine()) {
    logger(kLogInvariant, L"the engine can't start: the system gives no thread");
    return false;
  }
  logger(kLogNotice, L"%d events of %s are watched", ZREventSystem::Get().EventsSize(),
         site.Folder().c_str());
  return true;
}

bool StartWeb(ZRWebServer& web, ZRSite& site, const ZRCommand& command) {
  BindServices(web, site.Engine());
  ZRWebServerSettings settings;
  settings.port = static_cast<std::uint16_t>(
      command.port >= 0 ? command.port : ZRTessalySetup::Get().HttpServerPort());
  ZRString reason;
  if (!web.Start(settings, reason)) {
    logger(kLogInvariant, L"the web server can't start: %s", reason.Text());
    return false;
  }
  logger(kLogNotice, L"http://127.0.0.1:%d/services/events/actived.xml shows what is active",
         static_cast<int>(web.Port()));
  return true;
}

// Takes over what the disk holds now, unless it is broken. False if the engine couldn't go on.
bool Reload(ZRSite& site) {
  ZRFindings findings;
  if (!site.TrySettings(findings)) {
    LogFindings(findings);
    logger(kLogConfiguration, L"not reloaded: the configuration in force stays");
    return true;
  }
  site.Stop();
  findings.clear();
  (void)site.LoadSettings(findings);
  LogFindings(findings);
  std::string reason;
  if (!site.OpenLog(reason)) logger(kLogConfiguration, L"the log stays: %s", reason.c_str());
  return StartWork(site);
}

int WaitForTheEnd(ZRSite& site) {
  for (;;) {
    switch (ZRSignals::Wait(kLook)) {
      case ZRSignal::kStop:
        return kExitDone;
      case ZRSignal::kReload:
        if (!Reload(site)) return kExitFaulty;
        break;
      case ZRSignal::kNone:
        site.ShowCycle();
        break;
    }
  }
}

int Impossible(const std::string& why) {
  std::fprintf(stderr, "tessaly: %s\n", why.c_str());
  return kExitImpossible;
}

}  // namespace

int RunSite(const ZRCommand& command) {
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    LogFindings(findings);
    return kExitImpossible;
  }
  std::string reason;
  if (!site.OpenLog(reason)) return Impossible("the log can't be opened: " + reason);
  findings.clear();
  const bool usable = site.TrySettings(findings);
  LogFindings(findings);
  if (!usable) return kExitImpossible;
  if (!StartWork(site)) return kExitFaulty;

  ZRWebServer web;
  int exitCode = kExitFaulty;
  if (StartWeb(web, site, command)) exitCode = WaitForTheEnd(site);
  logger(kLogNotice, L"stopping");
  web.Stop();
  site.Stop();
  logger(kLogNotice, L"stopped");
  FlushLog();
  return exitCode;
}

// tessaly run: a site at work, until it is told to stop.

#include <cstdio>
#include <string>

#include "host/base/zrlogger.h"
#include "host/platform/zrsignals.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrdatafolder.h"
#include "tessaly/zrfeed.h"
#include "tessaly/zrpeers.h"
#include "tessaly/zrsharefolder.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsitebus.h"
#include "tessaly/zrsitelock.h"
#include "tessaly/zrsitelogins.h"
#include "tessaly/zrsiteweb.h"
#include "tessaly/zrsystemeventsfile.h"
#include "tessaly/zrtransitionline.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr std::uint32_t kLook = 1000;  // ms between two looks at the engine's cycle

void LogTransition(const ZREventDriver& event, bool active, double seconds) {
  logger(kLogNotice, L"%ls", TransitionLine(event, active, seconds).Text());
}

// One run of a site: what is begun is ended with the object, the web server first.
class CRun {
 public:
  explicit CRun(const ZRCommand& toCarryOut) : command(toCarryOut), site(command.site) {}
  ~CRun() { End(); }
  CRun(const CRun&) = delete;
  CRun& operator=(const CRun&) = delete;

  // Everything up to the engine's work. An exit code; kExitDone if it works now.
  [[nodiscard]] int Begin();
  // Until a request to stop, or a reload that fails.
  [[nodiscard]] int WaitForTheEnd();

 private:
  [[nodiscard]] bool LoadSite();
  [[nodiscard]] bool TakeLock();
  void LoadWork();
  [[nodiscard]] std::string Address() const;  // for the web server
  [[nodiscard]] bool StartWeb();
  [[nodiscard]] bool StartEngine();
  [[nodiscard]] bool Reload();
  static void UsePort(int port);
  void TakeSettings(const ZRFindings& findings);
  void TakeLogins();
  void End();

  const ZRCommand& command;
  ZRSiteLock lock;
  ZRSiteLogins logins;
  ZRSiteBus bus;
  ZRSite site;
  ZRSiteWeb web{site.Engine(), logins.Passwords()};
  ZRFeedWatch feed;
  bool works = false;  // Begin has succeeded
};

int CRun::Begin() {
  if (!LoadSite()) return kExitImpossible;
  LoadWork();
  // The port is taken before any event can begin; until the engine works, its lists are empty.
  if (!StartWeb()) return kExitImpossible;
  if (!StartEngine()) return kExitFaulty;
  logger(kLogNotice, L"%s/services/events/actived.xml shows what is active", web.Url().c_str());
  works = true;
  return kExitDone;
}

bool CRun::LoadSite() {
  ZRFindings findings;
  if (!site.LoadSettings(findings)) {
    LogFindings(findings);
    return false;
  }
  UsePort(command.port);
  if (!TakeLock()) return false;
  std::string reason;
  if (!site.OpenLog(reason)) {
    std::fprintf(stderr, "tessaly: the log can't be opened: %s\n", reason.c_str());
    return false;
  }
  if (!lock.Reason().empty()) {
    logger(kLogDelivery, L"%s can't be made, so a second run wouldn't be noticed: %s",
           ZRSiteLock::kFileName, lock.Reason().c_str());
  }
  const bool usable = site.TryDocuments(findings) && logins.Load(ZRTessalySetup::Get(), findings);
  LogFindings(findings);
  if (usable) logins.SayWhoMayLogIn();
  return usable;
}

// False if another run has the site.
bool CRun::TakeLock() {
  if (lock.Take(site.Folder()) != ZRSiteLock::tagAnswer::kBusy) return true;
  std::fprintf(stderr, "tessaly: %s runs already\n", site.Folder().c_str());
  return false;
}

// Drivers and events, with the settings in force.
void CRun::LoadWork() {
  ZRFindings findings;
  PrepareDataFolder(ZRTessalySetup::Get(), findings);
  PrepareShareFolder(ZRTessalySetup::Get(), findings);
  PrepareSmsFolder(ZRTessalySetup::Get(), findings);
  KeepSystemEvents(ZRTessalySetup::Get(), findings);
  TakePeers(ZRTessalySetup::Get());
  site.Engine().AcceptUserListeners(ZRTessalySetup::Get().ChainUsers());
  site.MakeDrivers(findings);
  site.StartDrivers(ZRSite::tagDrivers::kAll, findings);
  bus.Begin(ZRTessalySetup::Get(), site.Folder(), findings);
  site.LoadEvents([this](const ZREventDriver& event, bool active, double seconds) {
    LogTransition(event, active, seconds);
    bus.ShowState(event.Id(), active);
  });
  site.CheckLoaded(findings);
  LogFindings(findings);
}

std::string CRun::Address() const {
  return AddressToListenOn(ZRTessalySetup::Get(), logins.HasUsers());
}

// In place of that of the settings, if there is one: drivers and the feed tell others of it.
void CRun::UsePort(int port) {
  if (port >= 0) ZRTessalySetup::Get().UseHttpPort(port);
}

bool CRun::StartWeb() {
  std::string reason;
  if (web.Start(ZRTessalySetup::Get(), Address(), command.port, reason)) {
    UsePort(web.Port());
    return true;
  }
  logger(kLogInvariant, L"the web server can't start: %s", reason.c_str());
  return false;
}

bool CRun::StartEngine() {
  // The feed names the port that the web server has by now.
  ZRFindings findings;
  PrepareFeed(ZRTessalySetup::Get(), ZREventSystem::Get(), findings);
  LogFindings(findings);
  if (!site.StartEngine()) {
    logger(kLogInvariant, L"the engine can't start: the system gives no thread");
    return false;
  }
  bus.Open();
  web.ChainDoor().Open();
  web.Readiness().Set(ZRReadiness::tagState::kRunning);
  logger(kLogNotice, L"%d events of %s are watched", ZREventSystem::Get().EventsSize(),
         site.Folder().c_str());
  return true;
}

// Takes over what the disk holds now, unless it is broken. False if the engine or the web server
// couldn't go on.
bool CRun::Reload() {
  ZRFindings findings;
  if (!site.TrySite(findings)) {
    LogFindings(findings);
    logger(kLogConfiguration, L"not reloaded: the configuration in force stays");
    return true;
  }
  logger(kLogNotice, L"reloading");
  web.Readiness().Set(ZRReadiness::tagState::kLoading);
  web.ChainDoor().Shut();
  site.Stop();
  bus.End();
  TakeSettings(findings);
  if (!web.Renew(ZRTessalySetup::Get(), Address(), command.port)) return false;
  UsePort(web.Port());
  LoadWork();
  return StartEngine();
}

// `findings` are those of the look before; they are told in the new log.
void CRun::TakeSettings(const ZRFindings& findings) {
  ZRFindings same;
  if (!site.LoadSettings(same)) LogFindings(same);  // changed once more since that look
  UsePort(command.port);
  std::string reason;
  if (!site.OpenLog(reason)) logger(kLogConfiguration, L"the log stays: %s", reason.c_str());
  LogFindings(findings);
  TakeLogins();
}

void CRun::TakeLogins() {
  ZRFindings findings;
  if (!logins.Load(ZRTessalySetup::Get(), findings)) LogFindings(findings);
  logins.SayWhoMayLogIn();
}

int CRun::WaitForTheEnd() {
  for (;;) {
    switch (ZRSignals::Wait(kLook)) {
      case ZRSignal::kStop:
        return kExitDone;
      case ZRSignal::kReload:
        if (!Reload()) return kExitFaulty;
        break;
      case ZRSignal::kNone:
        site.ShowCycle();
        site.Watch();
        feed.Look(ZREventSystem::Get());
        logins.Look();
        break;
    }
  }
}

void CRun::End() {
  if (works) logger(kLogNotice, L"stopping");
  web.Stop();
  site.Stop();
  bus.End();
  ZRHistoryWatch::SayTroubles();
  if (works) logger(kLogNotice, L"stopped");
  FlushLog();
}

}  // namespace

int RunSite(const ZRCommand& command) {
  CRun run(command);
  const int exitCode = run.Begin();
  return exitCode == kExitDone ? run.WaitForTheEnd() : exitCode;
}

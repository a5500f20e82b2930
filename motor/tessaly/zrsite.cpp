#include "tessaly/zrsite.h"

#include <charconv>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/drivers/zrdriverfactory.h"
#include "host/drivers/zrmachinedriver.h"
#include "host/drivers/zrpolleddriver.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrdriverpasswords.h"
#include "tessaly/zrfeed.h"
#include "tessaly/zrlogincheck.h"
#include "tessaly/zrsharefolder.h"
#include "tessaly/zrsitecheck.h"
#include "tessaly/zrusers.h"

namespace {

using Kind = ZRFinding::tagKind;

bool LoadInto(ZRTessalySetup& setup, const ZRWString& folder, ZRFindings& findings) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  const bool loaded = setup.Load(folder, problems, warnings);
  AddProblems(problems, Kind::kBroken, findings);
  AddProblems(warnings, Kind::kHint, findings);
  return loaded;
}

// False, with nothing changed, if there is no such zone.
bool PutZoneIntoForce(const ZRTessalySetup& setup, ZRFindings& findings) {
  if (ZRDateTime::SetLocalZone(setup.TimeZone())) return true;
  findings.push_back({Kind::kBroken, ZRTessalySetup::kFileName, 0, 0,
                      "timezone: there is no zone '" + std::string(setup.TimeZone().View()) + "'"});
  return false;
}

// The line in which the settings begin to describe a driver; 0 for one that they don't.
std::uint64_t LineOfDriver(const std::string& name) {
  for (const XmlDocument::XmlNode* settings : ZRTessalySetup::Get().Drivers()) {
    const std::string_view line = settings->ValueUtf8("__line");
    std::uint64_t number = 0;
    if (settings->ValueUtf8("name") == name)
      (void)std::from_chars(line.data(), line.data() + line.size(), number);
    if (number != 0) return number;
  }
  return 0;
}

ZRDurability Durability(const ZRTessalySetup& setup) {
  if (setup.HistoryDurability() == "strict") return ZRDurability::kStrict;
  if (setup.HistoryDurability() == "off") return ZRDurability::kOff;
  return ZRDurability::kAdaptive;
}

// Starts a driver, or makes it ready only.
bool Begin(ZRDriver& driver, ZRSite::tagDrivers which) {
  if (which != ZRSite::tagDrivers::kNone) return driver.Start();
  auto* const polled = dynamic_cast<ZRPolledDriver*>(&driver);
  return polled == nullptr || polled->Prepare();
}

}  // namespace

ZRSite::ZRSite(const std::string& folderUtf8) : folder(folderUtf8) {}

ZRSite::~ZRSite() {
  Stop();
}

ZRWString ZRSite::WideFolder() const {
  return Utf8ToUtf16(std::string_view(folder));
}

bool ZRSite::LoadSettings(ZRFindings& findings) {
  ZRTessalySetup& setup = ZRTessalySetup::Get();
  if (!FolderExists(WideFolder())) {
    findings.push_back({Kind::kBroken, folder, 0, 0, "there is no such folder"});
    return false;
  }
  if (!LoadInto(setup, WideFolder(), findings)) return false;
  if (!PutZoneIntoForce(setup, findings)) return false;
  (void)SetStringLanguage(Utf16ToUtf8(setup.CurrentLanguage().View()));
  return true;
}

bool ZRSite::TryDocuments(ZRFindings& findings) const {
  CheckDocuments(ZRTessalySetup::Get(), findings);
  return !HasKind(findings, Kind::kBroken);
}

bool ZRSite::TrySite(ZRFindings& findings) const {
  ZRTessalySetup setup;
  if (!LoadInto(setup, WideFolder(), findings)) return false;
  CheckDocuments(setup, findings);
  if (!PutZoneIntoForce(setup, findings)) return false;
  (void)ZRDateTime::SetLocalZone(ZRTessalySetup::Get().TimeZone());
  return !HasKind(findings, Kind::kBroken);
}

bool ZRSite::OpenLog(std::string& reason) const {
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  ZRLogSettings settings;
  settings.level = setup.LogLevel();
  if (setup.LogTarget() == L"journal") {
    settings.target = ZRLogTarget::kJournal;
  } else if (!(setup.LogTarget() == L"terminal")) {
    settings.target = ZRLogTarget::kFile;
    settings.file = setup.LogTarget();
  }
  ZRString why;
  const bool opened = SetupLog(settings, why);
  reason = why.View();
  return opened;
}

void ZRSite::MakeDrivers(ZRFindings& findings) {
  ZRFindings said;  // by the look at the documents
  const ZRDriverPasswords passwords = ReadDriverPasswords(ZRTessalySetup::Get(), said);
  for (const XmlDocument::XmlNode* settings : ZRTessalySetup::Get().Drivers()) {
    std::vector<ZRSettingProblem> problems;
    std::unique_ptr<ZRDriver> driver = ZRDriverFactory::Make(*settings, problems, passwords);
    AddProblems(problems, driver == nullptr ? Kind::kDropped : Kind::kHint, findings);
    if (driver != nullptr) ZRDriver::Register(std::move(driver));
  }
  if (ZRDriver::LockDriver(ZRMachineDriver::kName, nullptr) == nullptr)
    ZRDriver::Register(ZRDriverFactory::MakeMachine());
  machine = dynamic_cast<ZRMachineDriver*>(ZRDriver::LockDriver(ZRMachineDriver::kName, nullptr));
}

void ZRSite::StartDrivers(tagDrivers which, ZRFindings& findings) {
  for (auto driver = ZRDriver::DriversBegin(); driver != ZRDriver::DriversEnd(); ++driver) {
    const bool isOutside = *driver == machine || (*driver)->ReachesDevices();
    if (which == tagDrivers::kWithoutMachine && isOutside) continue;
    if (Begin(**driver, which)) continue;
    const std::string name(Utf16ToUtf8((*driver)->Name().View()).View());
    findings.push_back({Kind::kDropped, ZRTessalySetup::kFileName, LineOfDriver(name), 0,
                        "driver '" + name + "' can't start"});
  }
}

void ZRSite::LoadEvents(ZREventVariables::tagObserver observer) {
  ZRFindings said;  // by the look at the documents
  LoadUsers(ZRTessalySetup::Get(), ZRSystemUsersSupport::Get(), said);
  engine.LoadCfg();
  variables = std::make_unique<ZREventVariables>(
      std::move(observer), CountUnit(ZRTessalySetup::Get().EventsCountPeriod().View()));
  variables->Bind(ZREventSystem::Get());
}

void ZRSite::CheckLoaded(ZRFindings& findings) {
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  ZREventSystem& store = ZREventSystem::Get();
  CheckEvents(*engine.Cfg(), store, ShownFile(setup, kEventsFile), findings);
  CheckTimeTables(*engine.TimeTableCfg(), store, ShownFile(setup, kTimeTablesFile), findings);
  CheckMail(*engine.Cfg(), setup, findings);
  CheckSms(*engine.Cfg(), setup, findings);
  CheckFeed(setup, store, findings);
  CheckRights(setup, store, findings);
}

void ZRSite::RecordForNothing(const ZRWString& dataFolder) {
  ZRTessalySetup::Get().UseDataPath(dataFolder);
  needsNoHistory = true;
}

bool ZRSite::StartEngine() {
  ZREventFileSync& sync = ZREventFileSync::Get();
  sync.SetDurability(needsNoHistory ? ZRDurability::kOff : Durability(ZRTessalySetup::Get()));
  sync.Start();
  engineRuns = engine.Start();
  if (!engineRuns) sync.Stop();
  return engineRuns && variables->Start();
}

void ZRSite::Stop() {
  if (variables != nullptr) variables->Stop();
  if (engineRuns) {
    engine.Stop();
    ZREventFileSync::Get().Stop();
  }
  engineRuns = false;
  engine.Reset();
  history.SayWhatIsLost();
  variables.reset();
  StopDrivers();
}

void ZRSite::StopDrivers() {
  for (auto driver = ZRDriver::DriversBegin(); driver != ZRDriver::DriversEnd(); ++driver)
    (*driver)->Stop();
  machine = nullptr;
  ZRDriver::UnregisterAll();
}

void ZRSite::Watch() {
  history.Look();
  listeners.Look(engine.Listeners().Rows());
}

void ZRSite::ShowCycle() {
  if (machine != nullptr) machine->SetCycle(engine.LongestPass());
}

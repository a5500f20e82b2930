#include "tessaly/zrsite.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/drivers/zrdriverfactory.h"
#include "host/drivers/zrmachinedriver.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrsitecheck.h"

namespace {

using Kind = ZRFinding::tagKind;

void AddProblems(const std::vector<ZRSettingProblem>& problems, Kind kind, ZRFindings& findings) {
  for (const ZRSettingProblem& problem : problems) {
    findings.push_back({kind, ZRTessalySetup::kFileName, static_cast<std::uint64_t>(problem.line),
                        static_cast<std::uint64_t>(problem.column),
                        std::string(problem.text.View())});
  }
}

bool LoadInto(ZRTessalySetup& setup, const ZRWString& folder, ZRFindings& findings) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  const bool loaded = setup.Load(folder, problems, warnings);
  AddProblems(problems, Kind::kBroken, findings);
  AddProblems(warnings, Kind::kHint, findings);
  return loaded;
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
  if (!LoadInto(setup, WideFolder(), findings)) return false;
  if (!ZRDateTime::SetLocalZone(setup.TimeZone())) {
    findings.push_back(
        {Kind::kBroken, ZRTessalySetup::kFileName, 0, 0,
         "timezone: there is no zone '" + std::string(setup.TimeZone().View()) + "'"});
    return false;
  }
  (void)SetStringLanguage(Utf16ToUtf8(setup.CurrentLanguage().View()));
  return true;
}

bool ZRSite::TrySettings(ZRFindings& findings) const {
  ZRTessalySetup setup;
  if (!LoadInto(setup, WideFolder(), findings)) return false;
  CheckDocuments(setup.CfgPath(), findings);
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
  for (const XmlDocument::XmlNode* settings : ZRTessalySetup::Get().Drivers()) {
    std::vector<ZRSettingProblem> problems;
    std::unique_ptr<ZRDriver> driver = ZRDriverFactory::Make(*settings, problems);
    AddProblems(problems, driver == nullptr ? Kind::kDropped : Kind::kHint, findings);
    if (driver != nullptr) ZRDriver::Register(std::move(driver));
  }
  if (ZRDriver::LockDriver(ZRMachineDriver::kName, nullptr) == nullptr)
    ZRDriver::Register(ZRDriverFactory::MakeMachine());
  machine = dynamic_cast<ZRMachineDriver*>(ZRDriver::LockDriver(ZRMachineDriver::kName, nullptr));
}

void ZRSite::StartDrivers(tagDrivers which, ZRFindings& findings) {
  for (auto driver = ZRDriver::DriversBegin(); driver != ZRDriver::DriversEnd(); ++driver) {
    if (which == tagDrivers::kWithoutMachine && *driver == machine) continue;
    if ((*driver)->Start()) continue;
    const ZRString name = Utf16ToUtf8((*driver)->Name().View());
    findings.push_back({Kind::kDropped, ZRTessalySetup::kFileName, 0, 0,
                        "driver '" + std::string(name.View()) + "' can't start"});
  }
}

void ZRSite::LoadEvents(ZREventVariables::tagObserver observer, ZRFindings& findings) {
  engine.LoadCfg();
  variables = std::make_unique<ZREventVariables>(std::move(observer));
  variables->Bind(ZREventSystem::Get());
  CheckEvents(*engine.Cfg(), ZREventSystem::Get(), findings);
  CheckTimeTables(*engine.TimeTableCfg(), ZREventSystem::Get(), findings);
}

bool ZRSite::StartEngine() {
  engineRuns = engine.Start();
  return engineRuns;
}

void ZRSite::Stop() {
  if (engineRuns) engine.Stop();
  engineRuns = false;
  engine.Reset();
  variables.reset();
  StopDrivers();
}

void ZRSite::StopDrivers() {
  for (auto driver = ZRDriver::DriversBegin(); driver != ZRDriver::DriversEnd(); ++driver)
    (*driver)->Stop();
  machine = nullptr;
  ZRDriver::UnregisterAll();
}

void ZRSite::ShowCycle() {
  if (machine != nullptr) machine->SetCycle(engine.LongestPass());
}

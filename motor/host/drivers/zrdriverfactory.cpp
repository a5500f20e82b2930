#include "host/drivers/zrdriverfactory.h"

#include <utility>

#include "host/drivers/zrmachinedriver.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::string_view kType = "type";
constexpr std::string_view kMachine = "machine";
constexpr std::string_view kSimulator = "simulator";
constexpr std::string_view kReplay = "replay";
constexpr std::string_view kEngine = "engine";
constexpr std::string_view kModbus = "modbus";
constexpr std::string_view kMqtt = "mqtt";

std::string DataFolder() {
  return Utf16ToUtf8(ZRTessalySetup::Get().DataPath().View()).Text();
}

}  // namespace

std::string ZRDriverFactory::SubjectOf(const XmlDocument::XmlNode& settings) {
  const std::string_view name = settings.ValueUtf8("name");
  return name.empty() ? std::string("driver") : "driver \"" + std::string(name) + "\"";
}

std::unique_ptr<ZRDriver> ZRDriverFactory::Make(const XmlDocument::XmlNode& settings,
                                                std::vector<ZRSettingProblem>& problems,
                                                const ZRDriverPasswords& passwords) {
  ZRDriverSettings reader(settings, SubjectOf(settings), problems);
  const std::string type = reader.RequiredText(kType);
  std::unique_ptr<ZRDriver> driver;
  if (type == kMachine) {
    driver = MakeMachine(reader);
  } else if (type == kSimulator) {
    driver = MakeSimulator(reader, problems);
  } else if (type == kReplay) {
    driver = MakeReplay(reader);
  } else if (type == kEngine) {
    driver = MakeEngine(reader);
  } else if (type == kModbus) {
    driver = MakeModbus(reader, problems);
  } else if (type == kMqtt) {
    driver = MakeMqtt(reader, problems, passwords);
  } else if (!type.empty()) {
    reader.Error(kType,
                 "must be \"machine\", \"simulator\", \"replay\", \"engine\", \"modbus\" or "
                 "\"mqtt\", not \"" +
                     type + "\"");
  }
  if (driver) reader.WarnOfUnknownKeys();
  return driver;
}

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeMachine() {
  return std::make_unique<ZRMachineDriver>(ZRMachineDriver::kDefaultPeriod, DataFolder());
}

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeMachine(ZRDriverSettings& settings) {
  const std::uint32_t period = ReadPeriod(settings, ZRMachineDriver::kDefaultPeriod);
  for (const std::string_view key : {"id", "name"}) {
    const std::string text = settings.Text(key, "");
    if (!text.empty() && Utf8ToUtf16(text) != ZRMachineDriver::kName)
      settings.Error(key, "can only be \"R$SYS\" for the system driver");
  }
  if (settings.HasErrors()) return nullptr;
  return std::make_unique<ZRMachineDriver>(period, DataFolder());
}

bool ZRDriverFactory::ReadIdentity(ZRDriverSettings& settings, ZRWString& id, ZRWString& name) {
  const std::string nameText = settings.Name("name");
  const std::string idText = settings.Has("id") ? settings.Name("id") : nameText;
  id = Utf8ToUtf16(idText);
  name = Utf8ToUtf16(nameText);
  if (name == ZRMachineDriver::kName) {
    settings.Error("name", "is the system driver's own");
  } else if (id == ZRMachineDriver::kName) {
    settings.Error("id", "is the system driver's own");
  }
  return !settings.HasErrors();
}

std::uint32_t ZRDriverFactory::ReadPeriod(ZRDriverSettings& settings, std::uint32_t whenAbsent) {
  return static_cast<std::uint32_t>(settings.Integer(
      "period_ms", static_cast<int>(whenAbsent), static_cast<int>(ZRPolledDriver::kShortestPeriod),
      static_cast<int>(ZRPolledDriver::kLongestPeriod)));
}

#include <algorithm>
#include <utility>

#include "host/drivers/zrdriverfactory.h"
#include "host/tools/zrtext.h"

namespace {

constexpr double kLargest = 1e15;  // of a simulated number
constexpr int kMostDecimals = 15;
constexpr std::size_t kMostVariables = 10'000;
constexpr std::int64_t kShortest = 1;  // ms
constexpr std::int64_t kMinute = 60'000;
constexpr std::int64_t kSecond = 1'000;
constexpr double kHours = 24.0;
constexpr double kHalfDay = 12.0;
constexpr double kMostFactor = 1000.0;

double Number(ZRDriverSettings& settings, std::string_view key, double whenAbsent) {
  return settings.Number(key, whenAbsent, -kLargest, kLargest);
}

double RequiredNumber(ZRDriverSettings& settings, std::string_view key) {
  return settings.RequiredNumber(key, -kLargest, kLargest);
}

ZRRampForm ReadRamp(ZRDriverSettings& settings) {
  ZRRampForm form;
  form.from = RequiredNumber(settings, "from");
  form.to = RequiredNumber(settings, "to");
  form.period = settings.Seconds("period_s", kMinute, kShortest);
  form.once = settings.Flag("once", false);
  return form;
}

ZRSineForm ReadSine(ZRDriverSettings& settings) {
  ZRSineForm form;
  form.mean = Number(settings, "mean", 0.0);
  form.amplitude = RequiredNumber(settings, "amplitude");
  form.period = settings.Seconds("period_s", kMinute, kShortest);
  form.phase = settings.Seconds("phase_s", 0, 0);
  return form;
}

ZRLoadForm ReadLoad(ZRDriverSettings& settings) {
  ZRLoadForm form;
  form.base = RequiredNumber(settings, "base");
  form.peak = RequiredNumber(settings, "peak");
  form.morning = settings.Number("morning_h", form.morning, 0.0, kHours);
  form.evening = settings.Number("evening_h", form.evening, 0.0, kHours);
  form.width = settings.Number("width_h", form.width, 0.1, kHalfDay);
  form.morningShare = settings.Number("morning_share", form.morningShare, 0.0, 1.0);
  form.weekendFactor = settings.Number("weekend_factor", form.weekendFactor, 0.0, kMostFactor);
  return form;
}

ZRSwitchForm ReadSwitch(ZRDriverSettings& settings, ZRSimulation& simulation) {
  ZRSwitchForm form;
  form.on = settings.Seconds("on_s", kSecond, kShortest);
  form.off = settings.Seconds("off_s", kSecond, kShortest);
  form.offset = settings.Seconds("offset_s", 0, 0);
  simulation.isText = settings.Has("on_text") || settings.Has("off_text");
  if (simulation.isText) {
    simulation.onText = settings.Text("on_text", "");
    simulation.offText = settings.Text("off_text", "");
  } else {
    form.onValue = Number(settings, "on", form.onValue);
    form.offValue = Number(settings, "off", form.offValue);
  }
  return form;
}

void ReadForm(ZRDriverSettings& settings, ZRSimulation& simulation) {
  const std::string form = settings.RequiredText("form");
  if (form == "constant") {
    simulation.form = ZRConstantForm{RequiredNumber(settings, "value")};
  } else if (form == "ramp") {
    simulation.form = ReadRamp(settings);
  } else if (form == "sine") {
    simulation.form = ReadSine(settings);
  } else if (form == "noise") {
    simulation.form = ZRNoiseForm{Number(settings, "mean", 0.0)};
  } else if (form == "load") {
    simulation.form = ReadLoad(settings);
  } else if (form == "switch") {
    simulation.form = ReadSwitch(settings, simulation);
  } else if (form == "text") {
    simulation.form = ZRTextForm{settings.Text("text", "")};
    simulation.isText = true;
  } else if (!form.empty()) {
    settings.Error("form",
                   "must be \"constant\", \"ramp\", \"sine\", \"noise\", \"load\", "
                   "\"switch\" or \"text\", not \"" +
                       form + "\"");
  }
}

// The deviation of the noise: the form "noise" calls it `sigma` and can't do without, the others
// add it as `noise`.
void ReadNoise(ZRDriverSettings& settings, ZRSimulation& simulation) {
  if (simulation.isText) return;
  const bool isNoise = std::holds_alternative<ZRNoiseForm>(simulation.form);
  simulation.sigma = isNoise ? settings.RequiredNumber("sigma", 0.0, kLargest)
                             : settings.Number("noise", 0.0, 0.0, kLargest);
  if (settings.Has("decimals"))
    simulation.decimals = settings.Integer("decimals", 0, 0, kMostDecimals);
}

bool ReadDropout(ZRDriverSettings& settings, ZRSimulation& simulation,
                 std::vector<ZRSettingProblem>& problems) {
  const auto tables = settings.Tables("dropout");
  if (tables.empty()) return true;
  ZRDriverSettings dropout(*tables.front(), settings.Subject() + ", dropout", problems);
  for (const std::string_view key : {"every_s", "for_s"})
    if (!dropout.Has(key)) dropout.Error(key, "is missing");
  simulation.dropoutEvery = dropout.Seconds("every_s", kMinute, kShortest);
  simulation.dropoutFor = dropout.Seconds("for_s", kSecond, kShortest);
  if (simulation.dropoutFor >= simulation.dropoutEvery)
    dropout.Error("for_s", "must be less than \"every_s\"");
  dropout.WarnOfUnknownKeys();
  return !dropout.HasErrors();
}

bool ReadVariable(const XmlDocument::XmlNode& table, const std::string& driver, std::uint64_t seed,
                  std::vector<ZRSettingProblem>& problems, ZRSimulatedVariable& variable) {
  std::string subject = driver + ", variable";
  const std::string_view called = table.ValueUtf8("name");
  if (!called.empty()) subject.append(" \"").append(called).append("\"");
  ZRDriverSettings settings(table, std::move(subject), problems);
  const std::string name = settings.Name("name");
  ReadForm(settings, variable.simulation);
  ReadNoise(settings, variable.simulation);
  const bool dropout = ReadDropout(settings, variable.simulation, problems);
  variable.simulation.stream = RandomStream(seed, name);
  variable.name = Utf8ToUtf16(name);
  if (!settings.HasErrors()) settings.WarnOfUnknownKeys();
  return dropout && !settings.HasErrors();
}

}  // namespace

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeSimulator(ZRDriverSettings& settings,
                                                         std::vector<ZRSettingProblem>& problems) {
  constexpr int kLargestSeed = 2'147'483'647;
  ZRWString id;
  ZRWString name;
  bool good = ReadIdentity(settings, id, name);
  const std::uint32_t period = ReadPeriod(settings, ZRSimulatorDriver::kDefaultPeriod);
  const auto seed = static_cast<std::uint64_t>(settings.Integer("seed", 1, 0, kLargestSeed));
  const auto tables = settings.Tables("variable");
  if (tables.empty() || tables.size() > kMostVariables) {
    settings.Error("variable",
                   "must stand from once to " + std::to_string(kMostVariables) + " times");
  }
  std::vector<ZRSimulatedVariable> variables;
  for (const XmlDocument::XmlNode* table : tables) {
    ZRSimulatedVariable variable;
    good = ReadVariable(*table, settings.Subject(), seed, problems, variable) && good;
    for (const ZRSimulatedVariable& other : variables) {
      if (other.name == variable.name && !variable.name.IsEmpty()) {
        settings.Error("variable", "stands twice with the name \"" +
                                       std::string(table->ValueUtf8("name")) + "\"");
      }
    }
    variables.push_back(std::move(variable));
  }
  if (!good || settings.HasErrors()) return nullptr;
  return std::make_unique<ZRSimulatorDriver>(id, name, period, std::move(variables));
}

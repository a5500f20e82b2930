#include "host/drivers/zrsimulatordriver.h"

#include <cmath>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

double LocalHour(const ZRDateTime& local) {
  constexpr double kMinutes = 60.0;
  constexpr double kSeconds = 3600.0;
  constexpr double kMilliseconds = 3'600'000.0;
  return local.Hour() + local.Minute() / kMinutes + local.Second() / kSeconds +
         local.Millisecond() / kMilliseconds;
}

// `value` as a variable of texts, or of numbers, shows it; nothing if it can't.
std::optional<ZRValue> Accepted(const ZRValue& value, bool isText) {
  ZRValue accepted = value;
  if (isText && value.IsNumeric()) {
    ZRWString text;
    FormatDouble(text, value.Numeric(), 1, -1, false, false, false);
    accepted.SetString(text);
  }
  const bool fits =
      isText ? accepted.IsString() : value.IsNumeric() && std::isfinite(value.Numeric());
  return fits ? std::optional<ZRValue>(accepted) : std::nullopt;
}

}  // namespace

ZRSimulatorDriver::ZRSimulatorDriver(const ZRWString& ofId, const ZRWString& ofName,
                                     std::uint32_t periodMilliseconds,
                                     std::vector<ZRSimulatedVariable> toSimulate)
    : ZRPolledDriver(ofId, ofName, periodMilliseconds) {
  for (ZRSimulatedVariable& variable : toSimulate)
    variables.push_back({AddPolled(variable.name), std::move(variable.simulation), std::nullopt});
}

bool ZRSimulatorDriver::Prepare() {
  ZRMutexLock lock(mutex);
  for (tagVariable& variable : variables)
    variable.forced.reset();
  return true;
}

void ZRSimulatorDriver::Poll(std::int64_t utc) {
  const ZRDateTime local = ZRDateTime::FromUtcMilliseconds(utc).UTC2LTC();
  ZRSimulatedMoment moment;
  moment.elapsed = Elapsed();
  moment.hour = LocalHour(local);
  moment.dayOfWeek = local.DayOfWeek();
  moment.draw = static_cast<std::uint64_t>(moment.elapsed / Period());
  ZRMutexLock lock(mutex);
  for (tagVariable& variable : variables)
    Show(variable, moment, utc);
}

void ZRSimulatorDriver::Show(tagVariable& variable, const ZRSimulatedMoment& moment,
                             std::int64_t utc) {
  ZRLiveValue& live = Variable(variable.number);
  if (IsDroppedOut(variable.simulation, moment.elapsed)) {
    live.SetUnavailable();
  } else if (variable.forced) {
    ShowForced(variable, utc);
  } else if (variable.simulation.isText) {
    live.SetText(SimulatedText(variable.simulation, moment), utc);
  } else {
    live.SetNumber(SimulatedNumber(variable.simulation, moment), utc);
  }
}

void ZRSimulatorDriver::ShowForced(tagVariable& variable, std::int64_t utc) {
  ZRLiveValue& live = Variable(variable.number);
  if (variable.forced->IsString()) {
    live.SetText(Utf16ToUtf8(variable.forced->String().View()).View(), utc);
  } else {
    live.SetNumber(variable.forced->Numeric(), utc);
  }
}

bool ZRSimulatorDriver::ForceValue(std::int64_t variable, const ZRValue& value,
                                   const wchar_t* name) {
  if (!HasVariable(variable) || !IsOnline()) return false;
  {
    ZRMutexLock lock(mutex);
    tagVariable& forced = variables[static_cast<std::size_t>(variable)];
    if (!CanBeForced(forced.simulation.form)) return false;
    std::optional<ZRValue> accepted = Accepted(value, forced.simulation.isText);
    if (!accepted) return false;
    forced.forced = std::move(accepted);
    ShowForced(forced, ZRPlatform::Get().UtcMilliseconds());
  }
  logger(kLogTrace, L"driver '%ls': '%ls' is forced", Name().Text(), name);
  return true;
}

bool ZRSimulatorDriver::ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const {
  if (!HasVariable(variable)) return false;
  ZRMutexLock lock(mutex);
  const ZRSimulation& simulation = variables[static_cast<std::size_t>(variable)].simulation;
  info = {};
  if (CanBeForced(simulation.form)) info.flags = tagSVariableValueInfo::kForceable;
  if (simulation.isText) info.type = tagSVariableValueInfo::kText;
  if (!std::holds_alternative<ZRSwitchForm>(simulation.form)) return true;
  info.labels = {StateLabel(false, simulation.isText ? &simulation.offText : nullptr),
                 StateLabel(true, simulation.isText ? &simulation.onText : nullptr)};
  return true;
}

#include "host/drivers/zrsimulatordriver.h"

#include <cmath>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrdatetime.h"

namespace {

double LocalHour(const ZRDateTime& local) {
  constexpr double kMinutes = 60.0;
  constexpr double kSeconds = 3600.0;
  constexpr double kMilliseconds = 3'600'000.0;
  return local.Hour() + local.Minute() / kMinutes + local.Second() / kSeconds +
         local.Millisecond() / kMilliseconds;
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
  } else if (variable.simulation.isText) {
    live.SetText(SimulatedText(variable.simulation, moment), utc);
  } else {
    live.SetNumber(
        variable.forced ? *variable.forced : SimulatedNumber(variable.simulation, moment), utc);
  }
}

bool ZRSimulatorDriver::ForceValue(const ZRWString& variable, double value,
                                   const ZRWString& caller) {
  const std::int64_t number = VariableNumber(variable);
  if (number < 0 || !std::isfinite(value) || !IsOnline()) return false;
  {
    ZRMutexLock lock(mutex);
    tagVariable& forced = variables[static_cast<std::size_t>(number)];
    if (!std::holds_alternative<ZRConstantForm>(forced.simulation.form)) return false;
    forced.forced = value;
    Variable(number).SetNumber(value, ZRPlatform::Get().UtcMilliseconds());
  }
  logger(kLogTrace, L"driver '%ls': '%ls' is forced to %g by '%ls'", Name().Text(), variable.Text(),
         value, caller.Text());
  return true;
}

#include "host/drivers/zrsimulation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kHoursOfDay = 24.0;

// The part of a period that has gone by, from 0 up to 1.
double PartOfPeriod(std::int64_t time, std::int64_t period) {
  return static_cast<double>(PlaceInPeriod(time, period)) / static_cast<double>(period);
}

double At(const ZRConstantForm& form, const ZRSimulatedMoment&) {
  return form.value;
}

double At(const ZRRampForm& form, const ZRSimulatedMoment& moment) {
  if (form.once && moment.elapsed >= form.period) return form.to;
  return form.from + (form.to - form.from) * PartOfPeriod(moment.elapsed, form.period);
}

double At(const ZRSineForm& form, const ZRSimulatedMoment& moment) {
  const double part = PartOfPeriod(moment.elapsed - form.phase, form.period);
  return form.mean + form.amplitude * std::sin(2.0 * std::numbers::pi * part);
}

double At(const ZRNoiseForm& form, const ZRSimulatedMoment&) {
  return form.mean;
}

// Height of a hill, 0 to 1, at an hour; hills go on across midnight.
double Hill(double hour, double top, double width) {
  const double apart = std::fabs(hour - top);
  const double distance = std::min(apart, kHoursOfDay - apart);
  if (distance >= width) return 0.0;
  return 0.5 + 0.5 * std::cos(std::numbers::pi * distance / width);
}

bool IsWeekend(int dayOfWeek) {
  return dayOfWeek == 0 || dayOfWeek == 6;
}

double At(const ZRLoadForm& form, const ZRSimulatedMoment& moment) {
  const double height = std::max(form.morningShare * Hill(moment.hour, form.morning, form.width),
                                 Hill(moment.hour, form.evening, form.width));
  const double load = form.base + (form.peak - form.base) * height;
  return IsWeekend(moment.dayOfWeek) ? load * form.weekendFactor : load;
}

double At(const ZRSwitchForm& form, const ZRSimulatedMoment& moment) {
  return IsSwitchedOn(form, moment.elapsed) ? form.onValue : form.offValue;
}

double At(const ZRTextForm&, const ZRSimulatedMoment&) {
  return 0.0;
}

}  // namespace

double FormValue(const ZRSimulatedForm& form, const ZRSimulatedMoment& moment) {
  return std::visit([&](const auto& particular) { return At(particular, moment); }, form);
}

double SimulatedNumber(const ZRSimulation& simulation, const ZRSimulatedMoment& moment) {
  double value = FormValue(simulation.form, moment);
  if (simulation.sigma > 0.0)
    value += simulation.sigma * NormalNumber(simulation.stream, moment.draw);
  return simulation.decimals ? RoundedTo(value, *simulation.decimals) : value;
}

std::string_view SimulatedText(const ZRSimulation& simulation, const ZRSimulatedMoment& moment) {
  if (const auto* text = std::get_if<ZRTextForm>(&simulation.form)) return text->text;
  const auto* form = std::get_if<ZRSwitchForm>(&simulation.form);
  const bool on = form != nullptr && IsSwitchedOn(*form, moment.elapsed);
  return on ? simulation.onText : simulation.offText;
}

double RoundedTo(double value, int decimals) {
  const double scale = std::pow(10.0, decimals);
  const double scaled = value * scale;
  constexpr double kExact = 9007199254740992.0;  // 2^53: from there on nothing is left to round
  return std::fabs(scaled) < kExact ? std::round(scaled) / scale : value;
}

// What a simulated variable shows at a moment: decisions without a clock and without a state.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// One moment of a simulation.
struct ZRSimulatedMoment {
  std::int64_t elapsed = 0;  // ms since the driver started
  double hour = 0.0;         // local time of day, 0 up to 24
  int dayOfWeek = 0;         // local, 0 for Sunday to 6 for Saturday
  std::uint64_t draw = 0;    // number of the pass: the same draw gives the same random numbers
};

// --- forms; times in ms ---

struct ZRConstantForm {
  double value = 0.0;
};

// Rises, or falls, from `from` to `to` in `period`; then again, or, if `once`, stays there.
struct ZRRampForm {
  double from = 0.0;
  double to = 1.0;
  std::int64_t period = 60'000;
  bool once = false;
};

// mean + amplitude * sin of the part of the period that has gone by, `phase` later.
struct ZRSineForm {
  double mean = 0.0;
  double amplitude = 1.0;
  std::int64_t period = 60'000;
  std::int64_t phase = 0;
};

// `mean`; the form for nothing but noise.
struct ZRNoiseForm {
  double mean = 0.0;
};

// A daily curve of consumption: `base` by night, a hill around `morning` and one around
// `evening`. The evening's top is `peak`, the morning's lies `morningShare` of the way up to it.
// Each hill is a raised cosine that reaches `width` hours to either side. Saturdays and Sundays
// are multiplied by `weekendFactor`.
struct ZRLoadForm {
  double base = 0.0;
  double peak = 1.0;
  double morning = 8.0;   // hours of local time
  double evening = 20.0;  // hours of local time
  double width = 4.0;     // hours
  double morningShare = 0.8;
  double weekendFactor = 1.0;
};

// On for a while, off for a while. The first time on begins `offset` after the start.
struct ZRSwitchForm {
  std::int64_t on = 1'000;
  std::int64_t off = 1'000;
  std::int64_t offset = 0;
  double onValue = 1.0;
  double offValue = 0.0;
};

// One text.
struct ZRTextForm {
  std::string text;  // UTF-8
};

using ZRSimulatedForm = std::variant<ZRConstantForm, ZRRampForm, ZRSineForm, ZRNoiseForm,
                                     ZRLoadForm, ZRSwitchForm, ZRTextForm>;

// One simulated variable: a form, and what every form may have besides.
struct ZRSimulation {
  ZRSimulatedForm form;
  double sigma = 0.0;             // of the noise that is added; 0 for none
  std::optional<int> decimals;    // what the number is rounded to
  std::int64_t dropoutEvery = 0;  // ms; 0 for never
  std::int64_t dropoutFor = 0;    // ms, at the end of each `dropoutEvery`
  bool isText = false;            // a switch with texts in place of numbers, or the form of a text
  std::string onText, offText;    // UTF-8
  std::uint64_t stream = 0;       // of the random numbers
};

// --- random numbers ---

// One step of SplitMix64: G. L. Steele, D. Lea, C. H. Flood, "Fast splittable pseudorandom number
// generators", OOPSLA 2014, with the constants of its variant 13 of the mixing function.
[[nodiscard]] constexpr std::uint64_t MixBits(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15u;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
  return x ^ (x >> 31);
}

// The stream of a variable: other names and other seeds give unrelated ones.
[[nodiscard]] constexpr std::uint64_t RandomStream(std::uint64_t seed, std::string_view name) {
  std::uint64_t stream = MixBits(seed);
  for (const char character : name)
    stream = MixBits(stream ^ static_cast<unsigned char>(character));
  return stream;
}

// A number of mean 0 and deviation 1, never beyond 6: the sum of twelve uniform numbers, less 6
// (Irwin and Hall). Integers up to the last step, so it is the same on every machine.
[[nodiscard]] constexpr double NormalNumber(std::uint64_t stream, std::uint64_t draw) {
  constexpr int kPairs = 6;
  constexpr double kUnit = 4294967296.0;  // 2^32
  std::uint64_t sum = 0;
  std::uint64_t bits = MixBits(stream ^ MixBits(draw));
  for (int i = 0; i < kPairs; ++i) {
    sum += (bits & 0xFFFFFFFFu) + (bits >> 32);
    bits = MixBits(bits);
  }
  return (static_cast<double>(sum) + kPairs) / kUnit - kPairs;
}

// --- decisions ---

// Where in a period a time is, from 0 up to `period`; also for negative times.
[[nodiscard]] constexpr std::int64_t PlaceInPeriod(std::int64_t time, std::int64_t period) {
  const std::int64_t place = time % period;
  return place < 0 ? place + period : place;
}

[[nodiscard]] constexpr bool IsSwitchedOn(const ZRSwitchForm& form, std::int64_t elapsed) {
  return PlaceInPeriod(elapsed - form.offset, form.on + form.off) < form.on;
}

[[nodiscard]] constexpr bool IsDroppedOut(const ZRSimulation& simulation, std::int64_t elapsed) {
  return simulation.dropoutEvery > 0 && PlaceInPeriod(elapsed, simulation.dropoutEvery) >=
                                            simulation.dropoutEvery - simulation.dropoutFor;
}

// The form's number without noise.
[[nodiscard]] double FormValue(const ZRSimulatedForm& form, const ZRSimulatedMoment& moment);

// The number that the variable shows, noise and rounding included.
[[nodiscard]] double SimulatedNumber(const ZRSimulation& simulation,
                                     const ZRSimulatedMoment& moment);

// The text that a variable of texts shows.
[[nodiscard]] std::string_view SimulatedText(const ZRSimulation& simulation,
                                             const ZRSimulatedMoment& moment);

// A variable that follows nothing but its settings, or has two states, accepts forced values.
[[nodiscard]] constexpr bool CanBeForced(const ZRSimulatedForm& form) {
  return std::holds_alternative<ZRConstantForm>(form) || std::holds_alternative<ZRTextForm>(form) ||
         std::holds_alternative<ZRSwitchForm>(form);
}

// `value` with so many digits behind the point, halves away from zero.
[[nodiscard]] double RoundedTo(double value, int decimals);

#include "host/drivers/zrmachinefacts.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {

constexpr double kPercent = 100.0;

bool IsBlank(char character) {
  return character == ' ' || character == '\t' || character == '\n';
}

// Takes the next word off the front of a text; empty at the end of the line.
std::string_view TakeWord(std::string_view& rest) {
  while (!rest.empty() && (rest.front() == ' ' || rest.front() == '\t'))
    rest.remove_prefix(1);
  std::size_t length = 0;
  while (length < rest.size() && !IsBlank(rest[length]))
    ++length;
  const std::string_view word = rest.substr(0, length);
  rest.remove_prefix(length);
  return word;
}

template <typename Number>
std::optional<Number> TakeNumber(std::string_view& rest) {
  const std::string_view word = TakeWord(rest);
  Number number{};
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || stop != word.data() + word.size()) return std::nullopt;
  return number;
}

std::optional<double> TakeFinite(std::string_view& rest) {
  const auto number = TakeNumber<double>(rest);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

// The bytes of a line "key   1234 kB".
std::optional<std::uint64_t> ReadKilobytes(std::string_view text, std::string_view key) {
  constexpr std::uint64_t kKilobyte = 1024;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    std::string_view line = text.substr(at, end - at);
    at = end + 1;
    if (TakeWord(line) != key) continue;
    const auto number = TakeNumber<std::uint64_t>(line);
    return number ? std::optional(*number * kKilobyte) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

std::optional<ZRLoadAverages> ReadLoadAverages(std::string_view text) {
  ZRLoadAverages averages{};
  for (double& average : averages) {
    const auto number = TakeFinite(text);
    if (!number) return std::nullopt;
    average = *number;
  }
  return averages;
}

std::optional<ZRProcessorTimes> ReadProcessorTimes(std::string_view text) {
  // user, nice, system, idle, waiting for a device, two kinds of interrupts, stolen by other
  // guests. What follows is contained in the first two already.
  constexpr std::size_t kFields = 8;
  constexpr std::size_t kLeastFields = 4;
  constexpr std::size_t kIdle = 3;
  constexpr std::size_t kWaiting = 4;
  if (TakeWord(text) != "cpu") return std::nullopt;
  ZRProcessorTimes times;
  for (std::size_t field = 0; field < kFields; ++field) {
    const auto number = TakeNumber<std::uint64_t>(text);
    if (!number && field < kLeastFields) return std::nullopt;
    if (!number) break;
    times.all += *number;
    if (field != kIdle && field != kWaiting) times.busy += *number;
  }
  return times;
}

std::optional<ZRMemory> ReadMemory(std::string_view text) {
  const auto total = ReadKilobytes(text, "MemTotal:");
  const auto available = ReadKilobytes(text, "MemAvailable:");
  if (!total || !available) return std::nullopt;
  return ZRMemory{*total, *available};
}

std::optional<double> ReadUptime(std::string_view text) {
  return TakeFinite(text);
}

std::optional<double> ReadTemperature(std::string_view text) {
  constexpr double kThousandths = 1000.0;
  constexpr double kColdest = -55.0;
  constexpr double kHottest = 150.0;
  const auto number = TakeFinite(text);
  if (!number) return std::nullopt;
  const double degrees = *number / kThousandths;
  return degrees > kColdest && degrees < kHottest ? std::optional(degrees) : std::nullopt;
}

std::optional<double> PercentBusy(const ZRProcessorTimes& before, const ZRProcessorTimes& now) {
  if (now.all <= before.all || now.busy < before.busy) return std::nullopt;
  const double percent = kPercent * static_cast<double>(now.busy - before.busy) /
                         static_cast<double>(now.all - before.all);
  return std::min(percent, kPercent);
}

std::optional<double> PercentUsed(std::uint64_t total, std::uint64_t available) {
  if (total == 0 || available > total) return std::nullopt;
  return kPercent * static_cast<double>(total - available) / static_cast<double>(total);
}

std::size_t CountProcesses(const std::vector<std::string>& entries) {
  const auto isProcess = [](const std::string& entry) {
    return entry.find_first_not_of("0123456789") == std::string::npos;
  };
  return static_cast<std::size_t>(std::count_if(entries.begin(), entries.end(), isProcess));
}

bool IsTemperatureFile(std::string_view name) {
  constexpr std::string_view kStart = "temp";
  constexpr std::string_view kEnd = "_input";
  if (name == kStart) return true;
  return name.size() > kStart.size() + kEnd.size() && name.substr(0, kStart.size()) == kStart &&
         name.substr(name.size() - kEnd.size()) == kEnd;
}

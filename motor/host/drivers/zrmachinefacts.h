// Facts of this machine, read out of the texts in which the system shows them. Decisions only:
// nothing here opens a file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Averages of the number of runnable processes, over 1, 5 and 15 minutes.
using ZRLoadAverages = std::array<double, 3>;

// What the processors have done since the machine started, in the system's own grain.
struct ZRProcessorTimes {
  std::uint64_t busy = 0;
  std::uint64_t all = 0;
};

// Main memory, in bytes.
struct ZRMemory {
  std::uint64_t total = 0;
  std::uint64_t available = 0;
};

// A file system, in bytes.
struct ZRDiskSpace {
  std::uint64_t total = 0;      // of what programs without privileges may use
  std::uint64_t available = 0;  // to them
};

// Of the contents of /proc/loadavg, /proc/stat, /proc/meminfo and /proc/uptime (s). Nothing if the
// text isn't of the known form.
[[nodiscard]] std::optional<ZRLoadAverages> ReadLoadAverages(std::string_view text);
[[nodiscard]] std::optional<ZRProcessorTimes> ReadProcessorTimes(std::string_view text);
[[nodiscard]] std::optional<ZRMemory> ReadMemory(std::string_view text);
[[nodiscard]] std::optional<double> ReadUptime(std::string_view text);
// Of a temperature file of /sys, in degrees Celsius. Nothing for a value that no machine that
// still runs can have: sensors without a probe report such.
[[nodiscard]] std::optional<double> ReadTemperature(std::string_view text);

// Percent of the time between two readings. Nothing if no time went by, or less than none.
[[nodiscard]] std::optional<double> PercentBusy(const ZRProcessorTimes& before,
                                                const ZRProcessorTimes& now);
// Percent of the whole that is in use. Nothing for an empty whole.
[[nodiscard]] std::optional<double> PercentUsed(std::uint64_t total, std::uint64_t available);

// How many of the entries of /proc are processes.
[[nodiscard]] std::size_t CountProcesses(const std::vector<std::string>& entries);
// Whether a file of a sensor's folder holds a temperature.
[[nodiscard]] bool IsTemperatureFile(std::string_view name);

// The arithmetic of an event's delays.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

// A delay in milliseconds from its value in seconds, truncated toward zero. What is negative or no
// number is 0, what doesn't fit is the largest delay, 24 days and 20 hours.
[[nodiscard]] inline std::int32_t DelayMilliseconds(double seconds) noexcept {
  constexpr double kMillisecondsInSecond = 1000.0;
  constexpr std::int32_t kLongest = std::numeric_limits<std::int32_t>::max();
  const double milliseconds = seconds * kMillisecondsInSecond;
  if (std::isnan(milliseconds) || milliseconds <= 0.0) return 0;
  if (milliseconds >= static_cast<double>(kLongest)) return kLongest;
  return static_cast<std::int32_t>(milliseconds);
}

// True if a wait that began at the tick `start` has lasted `milliseconds`. Ticks may have wrapped.
[[nodiscard]] constexpr bool HasElapsed(std::uint32_t now, std::uint32_t start,
                                        std::int32_t milliseconds) noexcept {
  return now - start >= static_cast<std::uint32_t>(milliseconds);
}

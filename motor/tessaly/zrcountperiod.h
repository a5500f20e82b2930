// The periods that events' counts are of.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

enum class ZRCountUnit { kDay, kWeek, kMonth, kYear, kAll };

// Of "day", "week", "month", "year" and "all"; a month for anything else.
[[nodiscard]] ZRCountUnit CountUnit(std::string_view word);

// From the first instant up to, and without, the second; UTC in ms.
struct ZRCountPeriod {
  // No instant: of kAll, which neither begins nor ends.
  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::min();
  static constexpr std::int64_t kForever = std::numeric_limits<std::int64_t>::max();

  std::int64_t begin = kNever;
  std::int64_t next = kForever;

  // It is over at `utc`, or the clock was set back to more than a day before it.
  [[nodiscard]] bool IsToBeLeft(std::int64_t utc) const {
    constexpr std::int64_t kDay = 86'400'000;
    return utc >= next || utc + kDay < begin;
  }
};

// The one that `utc` (ms) lies in, by the calendar of the site's zone: from midnight to midnight.
// A week begins on Monday.
[[nodiscard]] ZRCountPeriod CountPeriodAround(ZRCountUnit unit, std::int64_t utc);

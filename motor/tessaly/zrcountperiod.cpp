#include "tessaly/zrcountperiod.h"

#include "host/tools/zrdatetime.h"

namespace {

constexpr int kMonths = 12;
constexpr int kDaysInWeek = 7;
constexpr std::int64_t kMillisecondsInDay = 86'400'000;

// A day of the calendar, and one `days` behind it.
struct tagDay {
  int year = 0;
  int month = 0;
  int day = 0;

  [[nodiscard]] ZRDateTime Midnight() const {
    ZRDateTime date;
    date.SetDate(year, month, day);
    return date;
  }
  [[nodiscard]] tagDay After(int days) const {
    const std::int64_t reading = Midnight().UtcMilliseconds() + days * kMillisecondsInDay;
    const ZRDateTime date = ZRDateTime::FromUtcMilliseconds(reading);
    return {date.Year(), date.Month(), date.Day()};
  }
  // Its first instant in the site's zone.
  [[nodiscard]] std::int64_t Begin() const { return Midnight().LTC2UTC().UtcMilliseconds(); }
};

// The first days of the period and of the one behind it.
struct tagDays {
  tagDay first;
  tagDay next;
};

tagDays DaysAround(ZRCountUnit unit, const ZRDateTime& local) {
  const tagDay today{local.Year(), local.Month(), local.Day()};
  switch (unit) {
    case ZRCountUnit::kDay:
      return {today, today.After(1)};
    case ZRCountUnit::kWeek: {
      const tagDay monday = today.After(-((local.DayOfWeek() + kDaysInWeek - 1) % kDaysInWeek));
      return {monday, monday.After(kDaysInWeek)};
    }
    case ZRCountUnit::kYear:
      return {{today.year, 1, 1}, {today.year + 1, 1, 1}};
    default:
      return {{today.year, today.month, 1},
              today.month == kMonths ? tagDay{today.year + 1, 1, 1}
                                     : tagDay{today.year, today.month + 1, 1}};
  }
}

}  // namespace

ZRCountUnit CountUnit(std::string_view word) {
  if (word == "day") return ZRCountUnit::kDay;
  if (word == "week") return ZRCountUnit::kWeek;
  if (word == "year") return ZRCountUnit::kYear;
  return word == "all" ? ZRCountUnit::kAll : ZRCountUnit::kMonth;
}

ZRCountPeriod CountPeriodAround(ZRCountUnit unit, std::int64_t utc) {
  if (unit == ZRCountUnit::kAll) return {};
  const tagDays days = DaysAround(unit, ZRDateTime::FromUtcMilliseconds(utc).UTC2LTC());
  return {days.first.Begin(), days.next.Begin()};
}

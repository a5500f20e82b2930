#include "tessaly/zrperiod.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr std::int64_t kMillisecondsInMinute = 60'000;
constexpr int kFirstYear = 1970;
constexpr int kYearBehind = 2100;
constexpr int kMonths = 12;

constexpr const char* kNoFrom = "from is no date: 21112026080509 or 2026-11-21T08:05:09Z";
constexpr const char* kNoTo = "to is no date: 21112026080509 or 2026-11-21T08:05:09Z";
constexpr const char* kBackwards = "from lies behind to";

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// A text that is read from its front.
class CScanner {
 public:
  explicit CScanner(std::string_view text) : rest(text) {}

  [[nodiscard]] bool IsAtEnd() const { return rest.empty(); }
  [[nodiscard]] char Next() const { return rest.empty() ? '\0' : rest.front(); }
  // Takes one of `letters`.
  bool Take(std::string_view letters) {
    if (rest.empty() || letters.find(rest.front()) == letters.npos) return false;
    rest.remove_prefix(1);
    return true;
  }
  // Takes exactly so many digits.
  bool Take(std::size_t digits, int& number) {
    if (rest.size() < digits || !std::all_of(rest.begin(), rest.begin() + digits, IsDigit))
      return false;
    number = 0;
    for (std::size_t i = 0; i < digits; ++i)
      number = number * 10 + (rest[i] - '0');
    rest.remove_prefix(digits);
    return true;
  }
  // Takes digits behind a point, at least one; those behind the third don't count.
  bool TakeMilliseconds(int& milliseconds) {
    constexpr int kHundreds = 100;
    milliseconds = 0;
    int worth = kHundreds;
    if (!IsDigit(Next())) return false;
    for (; IsDigit(Next()); rest.remove_prefix(1), worth /= 10)
      milliseconds += (rest.front() - '0') * worth;
    return true;
  }

 private:
  std::string_view rest;
};

struct tagFields {
  int year = 0, month = 0, day = 0;
  int hour = 0, minute = 0, second = 0, millisecond = 0;
  std::optional<int> offset;  // minutes to the east of Greenwich
};

bool TakeFourteenDigits(CScanner& text, tagFields& fields) {
  return text.Take(2, fields.day) && text.Take(2, fields.month) && text.Take(4, fields.year) &&
         text.Take(2, fields.hour) && text.Take(2, fields.minute) && text.Take(2, fields.second);
}

bool TakeTime(CScanner& text, tagFields& fields) {
  if (!text.Take(2, fields.hour) || !text.Take(":") || !text.Take(2, fields.minute)) return false;
  if (!text.Take(":")) return true;
  if (!text.Take(2, fields.second)) return false;
  return !text.Take(".,") || text.TakeMilliseconds(fields.millisecond);
}

bool TakeOffset(CScanner& text, tagFields& fields) {
  constexpr int kMinutesInHour = 60;
  constexpr int kHoursInDay = 24;
  if (text.Take("Zz")) {
    fields.offset = 0;
    return true;
  }
  const bool isWest = text.Next() == '-';
  if (!text.Take("+-")) return true;
  int hours = 0;
  int minutes = 0;
  if (!text.Take(2, hours)) return false;
  if ((text.Take(":") || !text.IsAtEnd()) && !text.Take(2, minutes)) return false;
  if (hours >= kHoursInDay || minutes >= kMinutesInHour) return false;
  const int east = hours * kMinutesInHour + minutes;
  fields.offset = isWest ? -east : east;
  return true;
}

bool TakeIso(CScanner& text, tagFields& fields) {
  if (!text.Take(4, fields.year) || !text.Take("-") || !text.Take(2, fields.month) ||
      !text.Take("-") || !text.Take(2, fields.day))
    return false;
  return !text.Take("Tt ") || (TakeTime(text, fields) && TakeOffset(text, fields));
}

std::optional<ZRDateTime> InstantOf(const tagFields& fields, ZRReading reading) {
  ZRDateTime shown;
  shown.SetDateTime(fields.year, fields.month, fields.day, fields.hour, fields.minute,
                    fields.second, fields.millisecond, 0);
  if (!shown.Valid()) return std::nullopt;
  ZRDateTime instant = shown;
  if (fields.offset) {
    instant = ZRDateTime::FromUtcMilliseconds(shown.UtcMilliseconds() -
                                              *fields.offset * kMillisecondsInMinute);
  } else if (reading == ZRReading::kLocal) {
    instant = shown.LTC2UTC();
  }
  if (!instant.Valid()) return std::nullopt;
  return instant;
}

ZRDateTime WithinTheYears(const ZRDateTime& instant) {
  ZRDateTime first;
  ZRDateTime behind;
  first.SetDate(kFirstYear, 1, 1);
  behind.SetDate(kYearBehind, 1, 1);
  return std::clamp(instant, first, behind);
}

std::optional<ZRPeriod> Between(const std::optional<ZRDateTime>& from,
                                const std::optional<ZRDateTime>& to, const char*& reason) {
  reason = !to ? kNoTo : !from ? kNoFrom : *from > *to ? kBackwards : nullptr;
  if (reason != nullptr) return std::nullopt;
  return ZRPeriod{WithinTheYears(*from), WithinTheYears(*to)};
}

// The first instant of the local month `further` months behind that of `instant`; UTC.
ZRDateTime MonthOf(const ZRDateTime& instant, int further) {
  const ZRDateTime local = instant.UTC2LTC();
  const int months = local.Year() * kMonths + local.Month() - 1 + further;
  ZRDateTime first;
  first.SetDate(months / kMonths, months % kMonths + 1, 1);
  return first.LTC2UTC();
}

}  // namespace

std::optional<ZRDateTime> ParseInstant(std::string_view text, ZRReading reading) {
  constexpr std::size_t kFourteen = 14;
  CScanner scanner(text);
  tagFields fields;
  const bool isRead = text.size() == kFourteen && std::all_of(text.begin(), text.end(), IsDigit)
                          ? TakeFourteenDigits(scanner, fields)
                          : TakeIso(scanner, fields);
  if (!isRead || !scanner.IsAtEnd()) return std::nullopt;
  return InstantOf(fields, reading);
}

std::optional<ZRPeriod> ParsePeriod(std::string_view from, std::string_view to, ZRReading reading,
                                    const char*& reason) {
  return Between(ParseInstant(from, reading), ParseInstant(to, reading), reason);
}

std::optional<ZRPeriod> ParsePeriodAround(const ZRDateTime& now, std::string_view from,
                                          std::string_view to, const char*& reason) {
  const std::optional<ZRDateTime> end =
      to.empty() ? MonthOf(now, 1) : ParseInstant(to, ZRReading::kLocal);
  if (!end || !from.empty()) return Between(ParseInstant(from, ZRReading::kLocal), end, reason);
  const ZRDateTime last = ZRDateTime::FromUtcMilliseconds(end->UtcMilliseconds() - 1);
  return Between(MonthOf(last, 0), end, reason);
}

#include "host/drivers/zrdateformat.h"

#include <algorithm>
#include <array>

namespace {

constexpr int kMillisecondDigits = 3;
constexpr std::string_view kConversions = "YymdjHMSfzs";

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsLeap(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// A text that is eaten from its front.
class CReader {
 public:
  explicit CReader(std::string_view toRead) : rest(toRead) {}

  [[nodiscard]] bool AtEnd() const { return rest.empty(); }

  bool Take(char character) {
    if (rest.empty() || rest.front() != character) return false;
    rest.remove_prefix(1);
    return true;
  }

  // `least` to `most` digits, as many as there are.
  bool TakeNumber(int least, int most, std::int64_t& number) {
    int digits = 0;
    number = 0;
    for (; digits < most && !rest.empty() && IsDigit(rest.front()); ++digits) {
      number = number * 10 + (rest.front() - '0');
      rest.remove_prefix(1);
    }
    return digits >= least;
  }

  bool TakeNumber(int least, int most, int& number) {
    std::int64_t wide = 0;
    if (!TakeNumber(least, most, wide)) return false;
    number = static_cast<int>(wide);
    return true;
  }

  bool TakeMilliseconds(int& milliseconds) {
    constexpr int kMostDigits = 9;
    int digits = 0;
    milliseconds = 0;
    for (; digits < kMostDigits && !rest.empty() && IsDigit(rest.front()); ++digits) {
      if (digits < kMillisecondDigits) milliseconds = milliseconds * 10 + (rest.front() - '0');
      rest.remove_prefix(1);
    }
    for (int i = digits; i < kMillisecondDigits; ++i)
      milliseconds *= 10;
    return digits > 0;
  }

  bool TakeZone(int& minutesEast) {
    minutesEast = 0;
    if (Take('Z')) return true;
    const bool west = Take('-');
    if (!west && !Take('+')) return false;
    int hours = 0;
    int minutes = 0;
    if (!TakeNumber(2, 2, hours)) return false;
    const bool colon = Take(':');
    const bool more = !rest.empty() && IsDigit(rest.front());
    if (colon && !more) return false;
    if (more && !TakeNumber(2, 2, minutes)) return false;
    if (hours > 14 || minutes > 59) return false;
    minutesEast = (west ? -1 : 1) * (hours * 60 + minutes);
    return true;
  }

 private:
  std::string_view rest;
};

struct tagParts {
  ZRReadDate date;
  int dayOfYear = 0;  // 0: not given
};

bool TakeInstant(CReader& reader, ZRReadDate& date) {
  constexpr int kMostDigits = 11;
  std::int64_t seconds = 0;
  if (!reader.TakeNumber(1, kMostDigits, seconds)) return false;
  date.isInstant = true;
  date.utc = seconds * 1000;
  return true;
}

bool TakeShortYear(CReader& reader, int& year) {
  constexpr int kFirstOfLastCentury = 69;
  if (!reader.TakeNumber(2, 2, year)) return false;
  year += year >= kFirstOfLastCentury ? 1900 : 2000;
  return true;
}

bool TakeConversion(char letter, CReader& reader, tagParts& parts) {
  ZRReadDate& date = parts.date;
  switch (letter) {
    case 'Y':
      return reader.TakeNumber(4, 4, date.year);
    case 'y':
      return TakeShortYear(reader, date.year);
    case 'm':
      return reader.TakeNumber(1, 2, date.month);
    case 'd':
      return reader.TakeNumber(1, 2, date.day);
    case 'j':
      return reader.TakeNumber(3, 3, parts.dayOfYear) && parts.dayOfYear > 0;
    case 'H':
      return reader.TakeNumber(1, 2, date.hour);
    case 'M':
      return reader.TakeNumber(1, 2, date.minute);
    case 'S':
      return reader.TakeNumber(1, 2, date.second);
    case 'f':
      return reader.TakeMilliseconds(date.millisecond);
    case 's':
      return TakeInstant(reader, date);
    default:
      date.hasZone = true;
      return reader.TakeZone(date.zoneMinutes);
  }
}

// Turns a day of the year into month and day. False if the year has no such day.
bool SetDayOfYear(int dayOfYear, ZRReadDate& date) {
  date.month = 1;
  date.day = dayOfYear;
  while (date.month <= 12 && date.day > DaysOfMonth(date.year, date.month)) {
    date.day -= DaysOfMonth(date.year, date.month);
    ++date.month;
  }
  return date.month <= 12;
}

bool Exists(const ZRReadDate& date) {
  if (date.isInstant) return true;
  return date.year >= 1 && date.month >= 1 && date.month <= 12 && date.day >= 1 &&
         date.day <= DaysOfMonth(date.year, date.month) && date.hour <= 23 && date.minute <= 59 &&
         date.second <= 59;
}

// Notes a conversion of a form. False, with the reason, for an unknown one and a second one.
bool IsNewConversion(char letter, std::string& used, std::string& reason) {
  if (kConversions.find(letter) == std::string_view::npos) {
    reason = std::string("\"%") + letter + "\" is no conversion of a date";
    return false;
  }
  if (used.find(letter) != std::string::npos) {
    reason = std::string("\"%") + letter + "\" stands twice";
    return false;
  }
  used += letter;
  return true;
}

// Whether conversions say which day a date is, each thing once.
bool NamesADay(std::string_view used) {
  const auto has = [used](char letter) { return used.find(letter) != std::string_view::npos; };
  if (has('s')) return used.size() == (has('f') ? 2u : 1u);
  const bool year = has('Y') != has('y');
  const bool day = has('j') ? !has('m') && !has('d') : has('m') && has('d');
  return year && day;
}

}  // namespace

int DaysOfMonth(int year, int month) {
  constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month == 2 && IsLeap(year)) return 29;
  return kDays[static_cast<std::size_t>(month - 1)];
}

bool ZRDateFormat::Set(std::string_view form, std::string& reason) {
  if (form.empty() || form.size() > kMaximumLength) {
    reason = "a form of dates has 1 to " + std::to_string(kMaximumLength) + " bytes";
    return false;
  }
  std::vector<tagStep> read;
  std::string used;
  for (std::size_t i = 0; i < form.size(); ++i) {
    const bool percent = form[i] == '%';
    if (percent && ++i == form.size()) {
      reason = "it ends in a single percent sign";
      return false;
    }
    const bool isConversion = percent && form[i] != '%';
    if (isConversion && !IsNewConversion(form[i], used, reason)) return false;
    read.push_back({isConversion, form[i]});
  }
  if (!NamesADay(used)) {
    reason = "it needs a year (%Y or %y) and a day (%m and %d, or %j), or %s";
    return false;
  }
  steps = std::move(read);
  return true;
}

bool ZRDateFormat::Read(std::string_view text, ZRReadDate& date) const {
  CReader reader(text);
  tagParts parts;
  for (const tagStep& step : steps) {
    if (step.isConversion ? !TakeConversion(step.character, reader, parts)
                          : !reader.Take(step.character))
      return false;
  }
  if (steps.empty() || !reader.AtEnd()) return false;
  if (parts.dayOfYear > 0 && !SetDayOfYear(parts.dayOfYear, parts.date)) return false;
  date = parts.date;
  if (date.isInstant) date.utc += date.millisecond;
  return Exists(date);
}

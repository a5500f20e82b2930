#include "host/tools/zrdatetime.h"

#include <date/tz.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "host/platform/zrmutex.h"
#include "host/tools/zrtext.h"

namespace {

constexpr std::int64_t kSecond = 1000;  // milliseconds
constexpr std::int64_t kMinute = 60 * kSecond;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;
constexpr std::int64_t kDaySeconds = kDay / kSecond;

constexpr std::int64_t MidnightOf(date::year_month_day day) {
  return date::sys_days(day).time_since_epoch().count() * kDay;
}

constexpr std::int64_t kFirstReading = MidnightOf(date::year(1) / 1 / 1);
constexpr std::int64_t kLastReading = MidnightOf(date::year(9999) / 12 / 31) + kDay - 1;
constexpr std::int64_t kReadingOfDoubleZero = MidnightOf(date::year(1899) / 12 / 30);

constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
  return value / by - (value % by < 0 ? 1 : 0);
}

date::sys_days DayOf(std::int64_t reading) {
  return date::sys_days(date::days(FloorDivide(reading, kDay)));
}

std::int64_t TimeOfDay(std::int64_t reading) {
  return reading - FloorDivide(reading, kDay) * kDay;
}

std::chrono::seconds SecondsOf(std::int64_t milliseconds) {
  return std::chrono::seconds(FloorDivide(milliseconds, kSecond));
}

// The installation's time zone, with the interval between two clock changes that was asked for
// last.
//
// Threads   any.
// Order     its mutex is a leaf.
class ZRLocalZone {
 public:
  // The zone of that name, empty for the machine's own; false if there is none.
  bool Set(std::string_view name) {
    const date::time_zone* const found = name.empty() ? OfMachine() : Named(name);
    if (found == nullptr && !name.empty()) return false;
    const ZRMutexLock lock(mutex);
    Take(found);
    return true;
  }

  // What local time is ahead of UTC, in seconds, at an instant of UTC.
  std::int32_t OffsetAt(std::int64_t utc) {
    const std::int64_t second = SecondsOf(utc).count();
    const ZRMutexLock lock(mutex);
    Prepare();
    if (zone == nullptr) return 0;
    if (second < begin || second >= end) {
      Keep(zone->get_info(date::sys_seconds(SecondsOf(utc))));
    }
    return offset;
  }

  // The same for a local reading: the first of two, and the one before a gap.
  std::int32_t OffsetOfReading(std::int64_t reading) {
    const std::int64_t second = SecondsOf(reading).count();
    const ZRMutexLock lock(mutex);
    Prepare();
    if (zone == nullptr) return 0;
    const std::int64_t utc = second - offset;
    if (utc - kDaySeconds >= begin && utc + kDaySeconds < end) return offset;
    Keep(zone->get_info(date::local_seconds(SecondsOf(reading))).first);
    return offset;
  }

 private:
  static const date::time_zone* Named(std::string_view name) {
    try {
      const date::time_zone* const found = date::locate_zone(std::string(name));
      (void)found->get_info(date::sys_seconds());  // reads its file now
      return found;
    } catch (const std::exception&) {
      return nullptr;
    }
  }

  static const date::time_zone* OfMachine() {
    try {
      const date::time_zone* const found = date::current_zone();
      (void)found->get_info(date::sys_seconds());
      return found;
    } catch (const std::exception&) {
      return nullptr;
    }
  }

  void Prepare() ZR_REQUIRES(mutex) {
    if (!set) Take(OfMachine());
  }

  void Take(const date::time_zone* toUse) ZR_REQUIRES(mutex) {
    set = true;
    zone = toUse;
    begin = 0;
    end = 0;
    offset = 0;
  }

  void Keep(const date::sys_info& info) ZR_REQUIRES(mutex) {
    begin = info.begin.time_since_epoch().count();
    end = info.end.time_since_epoch().count();
    offset = static_cast<std::int32_t>(info.offset.count());
  }

  ZRMutex mutex;
  bool set ZR_GUARDED_BY(mutex) = false;
  const date::time_zone* zone ZR_GUARDED_BY(mutex) = nullptr;  // null is UTC
  // The offset in force from `begin` until before `end`, in seconds of UTC since 1970.
  std::int64_t begin ZR_GUARDED_BY(mutex) = 0;
  std::int64_t end ZR_GUARDED_BY(mutex) = 0;
  std::int32_t offset ZR_GUARDED_BY(mutex) = 0;
};

ZRLocalZone& LocalZone() {
  static ZRLocalZone zone;
  return zone;
}

// Text of a date, made in pieces.
class ZRDateText {
 public:
  void Number(int value, int digits) {
    for (int i = digits - 1; i >= 0; --i) {
      buffer[length + static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
      value /= 10;
    }
    length += static_cast<std::size_t>(digits);
  }
  void Text(std::string_view text) {
    std::copy(text.begin(), text.end(), buffer.begin() + static_cast<std::ptrdiff_t>(length));
    length += text.size();
  }
  void Day(const ZRDateTime& date) {
    Number(date.Year(), 4);
    Text("-");
    Number(date.Month(), 2);
    Text("-");
    Number(date.Day(), 2);
  }
  void Time(const ZRDateTime& date) {
    Number(date.Hour(), 2);
    Text(":");
    Number(date.Minute(), 2);
    Text(":");
    Number(date.Second(), 2);
  }
  void Offset(std::int32_t seconds, std::string_view separator) {
    Text(seconds < 0 ? "-" : "+");
    const int size = std::abs(seconds);
    Number(size / 3600, 2);
    Text(separator);
    Number(size / 60 % 60, 2);
  }
  [[nodiscard]] std::string_view View() const { return {buffer.data(), length}; }

 private:
  std::array<char, 64> buffer{};
  std::size_t length = 0;
};

}  // namespace

ZRDateTime ZRDateTime::UTC() {
  return FromUtcMilliseconds(ZRPlatform::Get().UtcMilliseconds());
}
ZRDateTime ZRDateTime::LTC() {
  return UTC().UTC2LTC();
}

bool ZRDateTime::SetLocalZone(const ZRString& name) {
  return LocalZone().Set(name.View());
}

ZRDateTime ZRDateTime::LTC2UTC() const {
  if (!valid) return {};
  const std::int32_t offset = local ? offsetSeconds : LocalZone().OffsetOfReading(reading);
  return FromUtcMilliseconds(reading - offset * kSecond);
}

ZRDateTime ZRDateTime::UTC2LTC() const {
  if (!valid || local) return *this;
  const std::int32_t offset = LocalZone().OffsetAt(reading);
  return Made(reading + offset * kSecond, offset, true);
}

int ZRDateTime::Year() const {
  return valid ? static_cast<int>(date::year_month_day(DayOf(reading)).year()) : 0;
}

int ZRDateTime::Month() const {
  if (!valid) return 0;
  return static_cast<int>(static_cast<unsigned>(date::year_month_day(DayOf(reading)).month()));
}

int ZRDateTime::Day() const {
  if (!valid) return 0;
  return static_cast<int>(static_cast<unsigned>(date::year_month_day(DayOf(reading)).day()));
}

int ZRDateTime::Hour() const {
  return valid ? static_cast<int>(TimeOfDay(reading) / kHour) : 0;
}

int ZRDateTime::Minute() const {
  return valid ? static_cast<int>(TimeOfDay(reading) % kHour / kMinute) : 0;
}

int ZRDateTime::Second() const {
  return valid ? static_cast<int>(TimeOfDay(reading) % kMinute / kSecond) : 0;
}

int ZRDateTime::Millisecond() const {
  return valid ? static_cast<int>(TimeOfDay(reading) % kSecond) : 0;
}

int ZRDateTime::DayOfWeek() const {
  return valid ? static_cast<int>(date::weekday(DayOf(reading)).c_encoding()) : 0;
}

void ZRDateTime::SetDate(int year, int month, int day) {
  SetDateTime(year, month, day, 0, 0, 0, 0, 0);
}

// NOLINTNEXTLINE(readability-function-size): eight numbers, as given
void ZRDateTime::SetDateTime(int year, int month, int day, int hour, int minute, int second,
                             int millisecond, int /*reserved*/) {
  static_assert(kFirst == kFirstReading && kLast == kLastReading &&
                kDoubleStart == kReadingOfDoubleZero);
  Invalidate();
  const auto within = [](int value, int below) { return value >= 0 && value < below; };
  const bool inRange = year >= 1 && year <= 9999 && within(month, 13) && within(day, 32) &&
                       within(hour, 24) && within(minute, 60) && within(second, 60) &&
                       within(millisecond, 1000);
  if (!inRange) return;
  const date::year_month_day date(date::year(year), date::month(static_cast<unsigned>(month)),
                                  date::day(static_cast<unsigned>(day)));
  if (!date.ok()) return;
  *this = Made(MidnightOf(date) + hour * kHour + minute * kMinute + second * kSecond + millisecond,
               0, false);
}

ZRWString ZRDateTime::ToCompleteWString() const {
  if (!valid) return {};
  ZRDateText text;
  text.Day(*this);
  text.Text("T");
  text.Time(*this);
  text.Text(".");
  text.Number(Millisecond(), 3);
  if (local) {
    text.Offset(offsetSeconds, ":");
    if (offsetSeconds % 60 != 0) {
      text.Text(":");
      text.Number(std::abs(offsetSeconds) % 60, 2);
    }
  } else {
    text.Text("Z");
  }
  return Utf8ToUtf16(text.View());
}

bool DateTime2String(ZRString& text, const ZRDateTime& date, bool /*reserved*/, bool /*reserved*/) {
  text.Clear();
  if (!date.Valid()) return false;
  ZRDateText made;
  made.Day(date);
  made.Text(" ");
  made.Time(date);
  text.Append(made.View());
  return true;
}

bool DateTime2String(ZRWString& text, const ZRDateTime& date, bool first, bool second) {
  ZRString narrow;
  const bool valid = DateTime2String(narrow, date, first, second);
  Utf8ToUtf16(text, narrow);
  return valid;
}

ZRString DateTime2RFC822(const ZRDateTime& date, bool utc) {
  static constexpr std::array<std::string_view, 7> kDays{"Sun", "Mon", "Tue", "Wed",
                                                         "Thu", "Fri", "Sat"};
  static constexpr std::array<std::string_view, 12> kMonths{
      "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const ZRDateTime shown =
      utc ? ZRDateTime::FromUtcMilliseconds(date.UtcMilliseconds()) : date.UTC2LTC();
  if (!date.Valid() || !shown.Valid()) return {};
  ZRDateText text;
  text.Text(kDays.at(static_cast<std::size_t>(shown.DayOfWeek())));
  text.Text(", ");
  text.Number(shown.Day(), 2);
  text.Text(" ");
  text.Text(kMonths.at(static_cast<std::size_t>(shown.Month() - 1)));
  text.Text(" ");
  text.Number(shown.Year(), 4);
  text.Text(" ");
  text.Time(shown);
  text.Text(" ");
  if (utc) {
    text.Text("GMT");
  } else {
    text.Offset(shown.offsetSeconds, "");
  }
  return ZRString(text.View());
}

// Instants and spans.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>

#include "host/tools/zrbasicstring.h"

// A length of time, in milliseconds inside.
class ZRDateTimeSpan {
 public:
  ZRDateTimeSpan() = default;
  explicit ZRDateTimeSpan(std::int64_t toHold) : milliseconds(toHold) {}

  // Whole seconds, truncated toward zero; clamped to the range of an int.
  [[nodiscard]] int TotalSeconds() const {
    return static_cast<int>(std::clamp<std::int64_t>(milliseconds / kSecond, INT_MIN, INT_MAX));
  }
  [[nodiscard]] std::int64_t TotalMilliseconds() const { return milliseconds; }

 private:
  static constexpr std::int64_t kSecond = 1000;

  std::int64_t milliseconds = 0;
};

// A date and time of day with millisecond grain, either in UTC or in the installation's local
// time, or invalid. Years 1 to 9999, proleptic Gregorian.
//
// What the fields show (Year() ... Second()) is the wall clock's reading. A local time remembers
// its own offset from UTC, so that differences, comparisons and LTC2UTC are those of the instant,
// also across a change of the clock. A date made from fields or from a double has no offset: it
// counts as UTC, until LTC2UTC reads it as a local time (of two equal readings the first; a
// reading that is skipped takes the offset in force before it).
//
// Clock and zone: ZRPlatform::Get().UtcMilliseconds(), and the zone of SetLocalZone.
class ZRDateTime {
 public:
  ZRDateTime() = default;  // invalid
  // Days since 1899-12-30T00:00:00 by the reading, the fraction being the part of a day that has
  // gone by, also before that date (-0.25 is 18:00 of the 29th). NaN and values outside of the
  // range of years give an invalid date. A reading that was turned into a double and back is the
  // same to the millisecond.
  explicit ZRDateTime(double days);
  explicit operator double() const;  // 0 for an invalid date

  // Now. Cheap, and safe from any thread.
  [[nodiscard]] static ZRDateTime UTC();
  [[nodiscard]] static ZRDateTime LTC();
  // Invalid outside of the range of years.
  [[nodiscard]] static ZRDateTime FromUtcMilliseconds(std::int64_t since1970);
  [[nodiscard]] std::int64_t UtcMilliseconds() const;  // 0 for an invalid date

  // Sets the installation's time zone by its name in the zone database ("Europe/Madrid"); empty
  // for the machine's own, which is also the one in force before the first call, and is UTC if
  // the machine doesn't say. False if there is none of that name, and then nothing changes. Dates
  // that were made before keep their offset.
  [[nodiscard]] static bool SetLocalZone(const ZRString& name);

  // The same instant with the other reading. A date without offset is read as local time by
  // LTC2UTC, and as UTC by UTC2LTC. Invalid if the new reading is outside of the range of years.
  [[nodiscard]] ZRDateTime LTC2UTC() const;
  [[nodiscard]] ZRDateTime UTC2LTC() const;

  // Each is 0 for an invalid date. DayOfWeek: 0 for Sunday to 6 for Saturday.
  [[nodiscard]] int Year() const;
  [[nodiscard]] int Month() const;  // 1 to 12
  [[nodiscard]] int Day() const;    // 1 to 31
  [[nodiscard]] int Hour() const;
  [[nodiscard]] int Minute() const;
  [[nodiscard]] int Second() const;
  [[nodiscard]] int Millisecond() const;
  [[nodiscard]] int DayOfWeek() const;

  // At 00:00:00, without offset. A date that doesn't exist invalidates.
  void SetDate(int year, int month, int day);
  // The last two are milliseconds and reserved (0). Invalid fields invalidate.
  void SetDateTime(int year, int month, int day, int hour, int minute, int second, int millisecond,
                   int reserved);

  [[nodiscard]] bool Valid() const { return valid; }
  [[nodiscard]] bool isValidDate() const { return valid; }
  void Invalidate() { *this = ZRDateTime(); }

  // Of instants. An invalid date is earlier than every valid one, and equal to another.
  friend bool operator<(const ZRDateTime& a, const ZRDateTime& b) { return a.Key() < b.Key(); }
  friend bool operator>(const ZRDateTime& a, const ZRDateTime& b) { return b < a; }
  friend bool operator<=(const ZRDateTime& a, const ZRDateTime& b) { return !(b < a); }
  friend bool operator>=(const ZRDateTime& a, const ZRDateTime& b) { return !(a < b); }
  friend bool operator==(const ZRDateTime& a, const ZRDateTime& b) { return a.Key() == b.Key(); }

  // Zero if either is invalid.
  friend ZRDateTimeSpan operator-(const ZRDateTime& a, const ZRDateTime& b) {
    return ZRDateTimeSpan(a.valid && b.valid ? a.UtcMilliseconds() - b.UtcMilliseconds() : 0);
  }

  // "2026-11-21T08:05:09.250Z", with "+01:00" in place of the "Z" for a local time (and seconds
  // behind it in the rare zone that has them); empty for an invalid date.
  [[nodiscard]] ZRWString ToCompleteWString() const;

 private:
  // Invalid if the reading is outside of the range of years.
  [[nodiscard]] static ZRDateTime Made(std::int64_t reading, std::int32_t offset, bool local) {
    ZRDateTime made;
    if (reading < kFirst || reading > kLast) return made;
    made.reading = reading;
    made.offsetSeconds = offset;
    made.valid = true;
    made.local = local;
    return made;
  }
  [[nodiscard]] std::int64_t Key() const { return valid ? UtcMilliseconds() : INT64_MIN; }
  friend ZRString DateTime2RFC822(const ZRDateTime& date, bool utc);

  // Readings: of the first and the last millisecond of the range of years, and of the double 0.
  static constexpr std::int64_t kFirst = -62'135'596'800'000;
  static constexpr std::int64_t kLast = 253'402'300'799'999;
  static constexpr std::int64_t kDoubleStart = -2'209'161'600'000;
  static constexpr std::int64_t kDay = 86'400'000;
  static constexpr std::int64_t kSecond = 1000;

  std::int64_t reading = 0;        // milliseconds since 1970-01-01T00:00:00 by the wall clock
  std::int32_t offsetSeconds = 0;  // what to take away from the reading for UTC
  bool valid = false;
  bool local = false;
};

// --- in the loops of who reads many ---

inline ZRDateTime::ZRDateTime(double days) {
  constexpr auto kLowest = static_cast<double>(kFirst - kDoubleStart);
  constexpr auto kHighest = static_cast<double>(kLast - kDoubleStart);
  const double exact = days * static_cast<double>(kDay);
  if (!(exact > kLowest - 1 && exact < kHighest + 1)) return;  // NaN too
  const auto whole = static_cast<std::int64_t>(exact);
  const double rest = exact - static_cast<double>(whole);
  const int rounding = rest >= 0.5 ? 1 : (rest <= -0.5 ? -1 : 0);
  *this = Made(whole + rounding + kDoubleStart, 0, false);
}

inline ZRDateTime::operator double() const {
  if (!valid) return 0;
  return static_cast<double>(reading - kDoubleStart) / static_cast<double>(kDay);
}

inline ZRDateTime ZRDateTime::FromUtcMilliseconds(std::int64_t since1970) {
  return Made(since1970, 0, false);
}

inline std::int64_t ZRDateTime::UtcMilliseconds() const {
  return valid ? reading - offsetSeconds * kSecond : 0;
}

// The system's text form: "2026-11-21 08:05:09", the reading without zone. False for an invalid
// date, and then the text is empty. Both flags are reserved (false).
[[nodiscard]] bool DateTime2String(ZRString& text, const ZRDateTime& date, bool, bool);
[[nodiscard]] bool DateTime2String(ZRWString& text, const ZRDateTime& date, bool, bool);

// "Sat, 21 Nov 2026 08:05:09 GMT" (RFC 822 as amended by RFC 1123) with the flag true; with false
// the local reading and its offset ("+0100"). Empty for an invalid date.
[[nodiscard]] ZRString DateTime2RFC822(const ZRDateTime& date, bool utc);

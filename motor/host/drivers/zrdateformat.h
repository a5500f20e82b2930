// Dates of readings, in the form that the settings give.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What a text says of a date, as it stands there.
struct ZRReadDate {
  int year = 1970;
  int month = 1;  // 1 to 12
  int day = 1;    // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
  bool hasZone = false;
  int zoneMinutes = 0;  // east of Greenwich; with hasZone
  bool isInstant = false;
  std::int64_t utc = 0;  // ms since 1970; with isInstant, and then nothing else is set
};

// A form of dates: texts and conversions.
//
//   %Y  year, four digits          %H  hour, 00 to 23      %f  fraction of a second, 1 to 9 digits
//   %y  year, two digits: 69 to    %M  minute, 00 to 59    %z  zone: Z, +hhmm, +hh:mm or +hh
//       99 is 1969 to 1999         %S  second, 00 to 59    %s  seconds since 1970, UTC
//   %m  month, 1 or 2 digits       %j  day of the year, three digits
//   %d  day, 1 or 2 digits         %%  a percent sign
//
// Hours, minutes and seconds have 1 or 2 digits too. Everything else stands for itself, and the
// whole text has to fit. A date that doesn't exist doesn't fit.
//
// Threads   a plain value.
// Promise   reads no locale and allocates nothing while it reads.
class ZRDateFormat {
 public:
  static constexpr std::size_t kMaximumLength = 64;  // bytes of a form

  // False, with a reason, if the form has an unknown conversion, one of them twice, or doesn't
  // say which day it is. The object is then as it was.
  [[nodiscard]] bool Set(std::string_view form, std::string& reason);

  // False if the text doesn't fit; `date` is then undefined.
  [[nodiscard]] bool Read(std::string_view text, ZRReadDate& date) const;

 private:
  struct tagStep {
    bool isConversion;
    char character;  // the conversion's letter, or the text's byte
  };
  std::vector<tagStep> steps;
};

// The number of days of a month, 1 to 12.
[[nodiscard]] int DaysOfMonth(int year, int month);

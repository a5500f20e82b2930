// The text of a time of day, in the slots of a day table.
#pragma once

#include <cstdint>
#include <cwchar>

#include "host/tools/zrbasicstring.h"

inline constexpr int kMinutesInHour = 60;

// Two characters as a decimal number, in the manner of wcstol: white space and a sign in front
// are taken, the rest ends at the first character that is no digit. A negative number is huge.
[[nodiscard]] inline unsigned long PairValue(const wchar_t* pair) {
  constexpr int kDecimal = 10;
  const wchar_t text[] = {pair[0], pair[1], L'\0'};
  return static_cast<unsigned long>(std::wcstol(text, nullptr, kDecimal));
}

// Reads a time of day: the hours from the first two characters, the minutes from the last two,
// whatever stands between. False for a text shorter than two characters and for a time beyond
// 24:00. A short text is read twice: "12" is 12:12, and "123" is 12:23.
[[nodiscard]] inline bool ParseTimeOfDay(const ZRWString& text, std::uint16_t& minutes) {
  constexpr unsigned long kLastHour = 24;
  if (text.Length() < 2) return false;
  const unsigned long hour = PairValue(text.Text());
  const unsigned long minute = PairValue(text.Text() + text.Length() - 2);
  if (hour > kLastHour || minute >= kMinutesInHour) return false;
  if (hour == kLastHour && minute != 0) return false;
  minutes = static_cast<std::uint16_t>(hour * kMinutesInHour + minute);
  return true;
}

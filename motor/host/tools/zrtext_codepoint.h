// One character in either encoding. For the .cpp files of zrtext only.
#pragma once

#include <cstddef>

inline constexpr char32_t kReplacement = 0xFFFD;
inline constexpr char32_t kLastCodePoint = 0x10FFFF;

// Numbers of units that a character takes.
constexpr std::size_t Utf8Length(char32_t character) {
  if (character < 0x80) return 1;
  if (character < 0x800) return 2;
  return character < 0x10000 ? 3 : 4;
}
constexpr std::size_t Utf16Length(char32_t character) {
  return character < 0x10000 ? 1 : 2;
}

// Write a character and give the place behind it.
inline char* PutCodePoint(char* to, char32_t character) {
  const auto put = [&to](char32_t byte) { *to++ = static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | (character >> 6));
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | (character >> 12));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | (character >> 18));
    put(0x80 | ((character >> 12) & 0x3F));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  }
  return to;
}

inline wchar_t* PutCodePoint(wchar_t* to, char32_t character) {
  if (character < 0x10000) {
    *to++ = static_cast<wchar_t>(character);
  } else {
    *to++ = static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10));
    *to++ = static_cast<wchar_t>(0xDC00 + ((character - 0x10000) & 0x3FF));
  }
  return to;
}

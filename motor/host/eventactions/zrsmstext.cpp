#include "host/eventactions/zrsmstext.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "host/tools/zrtext.h"

namespace {

constexpr std::size_t kLongestNumber = 20;  // digits that the address of an SMS has room for

bool IsDigit(char byte) {
  return byte >= '0' && byte <= '9';
}

// A byte of UTF-8 behind the first one of its character.
bool IsContinuation(char byte) {
  constexpr unsigned char kKind = 0xC0;
  constexpr unsigned char kIsContinuation = 0x80;
  return (static_cast<unsigned char>(byte) & kKind) == kIsContinuation;
}

bool IsControl(wchar_t unit) {
  constexpr wchar_t kLineSeparator = 0x2028;
  constexpr wchar_t kParagraphSeparator = 0x2029;
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == kLineSeparator ||
         unit == kParagraphSeparator;
}

wchar_t Sent(wchar_t unit) {
  constexpr wchar_t kReplacement = 0xFFFD;
  if (unit == kReplacement) return L'?';  // which every modem has
  return IsControl(unit) ? L' ' : unit;
}

}  // namespace

bool IsSmsNumber(std::string_view phone) {
  if (phone.starts_with('+')) phone.remove_prefix(1);
  return !phone.empty() && phone.size() <= kLongestNumber &&
         std::all_of(phone.begin(), phone.end(), IsDigit);
}

ZRString SmsText(std::string_view text) {
  const auto begin = std::find_if_not(text.begin(), text.end(), IsContinuation);
  std::wstring wide(begin == text.begin() ? L"" : L"?");
  text.remove_prefix(static_cast<std::size_t>(begin - text.begin()));
  wide += Utf8ToUtf16(text).View();
  std::transform(wide.begin(), wide.end(), wide.begin(), Sent);
  return Utf16ToUtf8(wide);
}

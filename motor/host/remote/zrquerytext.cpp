#include "host/remote/zrquerytext.h"

#include <charconv>

ZRString UndoPercents(std::string_view text) {
  constexpr std::size_t kDigits = 2;
  constexpr int kHexadecimal = 16;
  ZRString plain;
  while (!text.empty()) {
    unsigned char byte = 0;
    const char* const digits = text.data() + 1;
    const bool isEscape =
        text.front() == '%' && text.size() > kDigits &&
        std::from_chars(digits, digits + kDigits, byte, kHexadecimal).ptr == digits + kDigits;
    plain.Append(isEscape ? static_cast<char>(byte) : text.front());
    text.remove_prefix(isEscape ? kDigits + 1 : 1);
  }
  return plain;
}

ZRString DoPercents(std::string_view text) {
  constexpr std::string_view kPlain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  constexpr unsigned int kBits = 4;
  constexpr unsigned int kDigit = 0xF;
  ZRString query;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (kPlain.find(character) != kPlain.npos) {
      query.Append(character);
    } else {
      query.Append('%');
      query.Append(kDigits[byte >> kBits]);
      query.Append(kDigits[byte & kDigit]);
    }
  }
  return query;
}

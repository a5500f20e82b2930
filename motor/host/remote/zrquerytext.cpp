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

// Short forms for tests: wide and narrow text.
#pragma once

#include <ostream>
#include <string>

#include "host/tools/zrbasicstring.h"
#include "host/tools/zrtext.h"

// The UTF-8 of a wide text, for comparisons that print well.
inline std::string Narrow(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}
inline ZRWString Wide(const std::string& text) {
  return Utf8ToUtf16(std::string_view(text));
}
inline std::string Str(const ZRString& text) {
  return std::string(text.View());
}

inline void PrintTo(const ZRWString& text, std::ostream* out) {
  *out << '"' << Narrow(text) << '"';
}
inline void PrintTo(const ZRString& text, std::ostream* out) {
  *out << '"' << Str(text) << '"';
}

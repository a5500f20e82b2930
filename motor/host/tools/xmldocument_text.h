// Text of a caller in the form in which documents hold theirs.
#pragma once

#include <array>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// A text as UTF-8, for the length of a call. Short ASCII is converted without an allocation.
// What can't be converted is U+FFFD. A borrowed narrow text must outlive this one; null is empty.
class ZRNarrowText {
 public:
  explicit ZRNarrowText(const wchar_t* source);
  explicit ZRNarrowText(std::wstring_view source);
  explicit ZRNarrowText(const char* source);
  explicit ZRNarrowText(std::string_view source);
  ZRNarrowText(const ZRNarrowText&) = delete;
  ZRNarrowText& operator=(const ZRNarrowText&) = delete;

  [[nodiscard]] std::string_view View() const { return view; }

 private:
  void Take(std::wstring_view source);
  void Take(std::string_view source);

  std::array<char, 128> shortText;  // as far as `view` says
  ZRString longText;
  std::string_view view;
};

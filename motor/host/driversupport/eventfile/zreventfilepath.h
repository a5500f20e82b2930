// Where a data file lies.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// A path in UTF-8, divided into the data folder and `YYYY/MM/name` below it.
class ZREventFilePath {
 public:
  // False, with errno EINVAL, if it isn't of this form or holds half a pair.
  [[nodiscard]] bool Set(const wchar_t* path);
  // A file that lies anywhere: Root is its folder then, and Below its name.
  [[nodiscard]] bool SetCopy(const wchar_t* path);

  [[nodiscard]] const char* Root() const { return text.c_str(); }           // "/data/"
  [[nodiscard]] const char* Below() const { return text.c_str() + below; }  // "2024/03/A.suc"
  [[nodiscard]] const char* Name() const { return Below() + nameAt; }
  [[nodiscard]] std::string Year() const { return std::string(Below(), kYear); }
  [[nodiscard]] std::string YearAndMonth() const { return std::string(Below(), kNameAt - 1); }
  [[nodiscard]] std::string_view YearAndMonthView() const { return {Below(), kNameAt - 1}; }
  [[nodiscard]] ZRWString Wide() const;  // the whole path
  // The same as one text that no other path has.
  [[nodiscard]] std::string_view Whole() const { return text; }
  [[nodiscard]] std::string Month() const { return std::string(Below() + kYear + 1, kMonth); }

 private:
  static constexpr std::size_t kYear = 4;   // digits
  static constexpr std::size_t kMonth = 2;  // digits
  static constexpr std::size_t kNameAt = kYear + 1 + kMonth + 1;

  [[nodiscard]] bool Refuse();
  void Divide(std::size_t at);

  std::string text;  // the folder, NUL, the rest
  std::size_t below = 0;
  std::size_t nameAt = kNameAt;  // in the rest
};

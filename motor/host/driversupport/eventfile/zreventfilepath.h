// Where a data file lies.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// A path in UTF-8, divided into the data folder and `YYYY/MM/name` below it. An object that is used
// for one path after the other keeps its memory.
class ZREventFilePath {
 public:
  // False, with errno EINVAL, if it isn't of this form or holds half a pair.
  [[nodiscard]] bool Set(const wchar_t* path);
  // A file that lies anywhere: Root is its folder then, and Name its name.
  [[nodiscard]] bool SetCopy(const wchar_t* path);

  [[nodiscard]] const std::string& Whole() const { return text; }
  [[nodiscard]] ZRWString Wide() const;
  // Of "/data/2024/03/A.suc": "/data/", "/data/2024/03", "A.suc".
  [[nodiscard]] std::string Root() const { return text.substr(0, below); }
  [[nodiscard]] std::string_view Folder() const { return Part(0, below + kYearAndMonth); }
  [[nodiscard]] const char* Name() const { return text.c_str() + nameAt; }
  // Below the data folder: "2024/03", "2024"; and "03" below that one.
  [[nodiscard]] std::string YearAndMonth() const { return text.substr(below, kYearAndMonth); }
  [[nodiscard]] std::string Year() const { return text.substr(below, kYear); }
  [[nodiscard]] std::string Month() const { return text.substr(below + kYear + 1, kMonth); }

 private:
  static constexpr std::size_t kYear = 4;   // digits
  static constexpr std::size_t kMonth = 2;  // digits
  static constexpr std::size_t kYearAndMonth = kYear + 1 + kMonth;

  [[nodiscard]] std::string_view Part(std::size_t at, std::size_t length) const {
    return std::string_view(text).substr(at, length);
  }
  [[nodiscard]] bool IsMonth(std::size_t at) const;
  void Divide(std::size_t folder, std::size_t name);
  [[nodiscard]] bool Refuse();

  std::string text;
  std::size_t below = 0;   // where what lies below the data folder begins
  std::size_t nameAt = 0;  // where the name does
};

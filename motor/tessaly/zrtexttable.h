// A table for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tessaly/zrhistorytext.h"

// Columns as wide as their longest text, two blanks between them, the last one as it comes. Widths
// count characters. `numbers`: columns that stand at the right.
class ZRTextTable {
 public:
  ZRTextTable(std::vector<std::string> columns, std::vector<bool> numbers);

  // As many cells as there are titles. Widths are noted first, then all rows are written anew:
  // so a long table isn't kept twice.
  void Measure(const std::vector<std::string>& cells);
  void WriteTitles(const ZRTextSink& sink) const { Write(titles, sink); }
  void Write(const std::vector<std::string>& cells, const ZRTextSink& sink) const;

 private:
  const std::vector<std::string> titles;
  const std::vector<bool> isNumber;
  std::vector<std::size_t> widths;
};

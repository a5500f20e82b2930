#include "tessaly/zrtexttable.h"

#include <algorithm>
#include <utility>

namespace {

// Of UTF-8.
std::size_t Characters(std::string_view text) {
  constexpr unsigned kContinuationMask = 0xC0;
  constexpr unsigned kContinuation = 0x80;
  const auto begins = [](char c) {
    return (static_cast<unsigned char>(c) & kContinuationMask) != kContinuation;
  };
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

}  // namespace

ZRTextTable::ZRTextTable(std::vector<std::string> columns, std::vector<bool> numbers)
    : titles(std::move(columns)), isNumber(std::move(numbers)), widths(titles.size()) {
  Measure(titles);
}

void ZRTextTable::Measure(const std::vector<std::string>& cells) {
  for (std::size_t i = 0; i < widths.size(); ++i)
    widths[i] = std::max(widths[i], Characters(cells[i]));
}

void ZRTextTable::Write(const std::vector<std::string>& cells, const ZRTextSink& sink) const {
  std::string line;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    if (i != 0) line += "  ";
    const std::string filler(widths[i] - std::min(widths[i], Characters(cells[i])), ' ');
    line += isNumber[i] ? filler + cells[i] : cells[i] + filler;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  line += '\n';
  sink(line);
}

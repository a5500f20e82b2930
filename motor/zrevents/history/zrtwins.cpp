#include "zrevents/history/zrtwins.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <utility>
#include <vector>

#include "host/platform/zrlargememory.h"

namespace {

constexpr std::size_t kInPart = 512;  // numbers that are held against each other, about
constexpr unsigned kMarkBits = 17;
constexpr int kMostLooks = 64;  // at numbers that share the mark of another one: few do by chance

// The upper bits of this are as good as random.
std::uint64_t Spread(std::uint64_t number) {
  return number * 0x9E3779B97F4A7C15u;
}

// The uppermost `bits` of a number, of which 0 are 0.
std::size_t Upper(std::uint64_t number, unsigned bits) {
  return bits == 0 ? 0 : number >> (64 - bits);
}

// A bit for each value of the bits that follow the `skipped` uppermost ones of a number.
class CMarks {
 public:
  explicit CMarks(unsigned skipped) : skip(skipped), words((std::size_t{1} << kMarkBits) / 64) {}

  [[nodiscard]] bool MayHaveTwins(std::span<const std::uint64_t> numbers) {
    std::fill(words.begin(), words.end(), 0);
    int looks = kMostLooks;
    for (const std::uint64_t number : numbers) {
      const std::size_t mark = Upper(Spread(number) << skip, kMarkBits);
      std::uint64_t& word = words[mark / 64];
      const std::uint64_t bit = std::uint64_t{1} << mark % 64;
      if ((word & bit) != 0) {
        const bool isTwin = std::count(numbers.begin(), numbers.end(), number) > 1;
        if (isTwin || --looks == 0) return true;
      }
      word |= bit;
    }
    return false;
  }

 private:
  const unsigned skip;
  std::vector<std::uint64_t> words;
};

}  // namespace

bool MayHaveTwins(std::span<const std::uint64_t> numbers) {
  const auto bits = static_cast<unsigned>(std::bit_width(numbers.size() / kInPart));
  CMarks marks(bits);
  if (bits == 0) return marks.MayHaveTwins(numbers);
  const auto partOf = [bits](std::uint64_t number) { return Upper(Spread(number), bits); };
  std::vector<std::size_t> ends(std::size_t{1} << bits);
  for (const std::uint64_t number : numbers)
    ++ends[partOf(number)];
  std::size_t sum = 0;
  for (std::size_t& end : ends)
    sum += std::exchange(end, sum);
  std::vector<std::uint64_t, ZRLargeAllocator<std::uint64_t>> parts(numbers.size());
  for (const std::uint64_t number : numbers)
    parts[ends[partOf(number)]++] = number;
  std::size_t begin = 0;
  return std::any_of(ends.begin(), ends.end(), [&](std::size_t end) {
    const std::size_t first = std::exchange(begin, end);
    return marks.MayHaveTwins(std::span(parts).subspan(first, end - first));
  });
}

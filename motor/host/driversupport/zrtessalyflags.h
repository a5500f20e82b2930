// What variables are about, and groups of that.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>

// The flags of a variable: bits that say what its values are.
using tagVariableFlags = std::bitset<34>;

namespace zrflag {
inline constexpr std::size_t kNumber = 0;  // none of those below
inline constexpr std::size_t kText = 1;
inline constexpr std::size_t kState = 2;    // 0 or 1
inline constexpr std::size_t kCount = 3;    // of what has happened
inline constexpr std::size_t kSeconds = 4;  // that something has lasted
}  // namespace zrflag

// Groups of flags by number, for who selects variables.
//
// Threads   any; it never changes.
class ZRTessalyFlags {
 public:
  static constexpr int kStates = 1;
  static constexpr int kCounts = 2;
  static constexpr int kTimes = 3;
  static constexpr int kTogether = 4;  // what is commonly selected all at once: counts and times

  [[nodiscard]] static const ZRTessalyFlags& get();

  // No flag for a number that isn't a group's.
  [[nodiscard]] const tagVariableFlags& getFlags(int group) const;

 private:
  static constexpr std::size_t kGroups = kTogether + 1;

  ZRTessalyFlags();

  std::array<tagVariableFlags, kGroups> groups;  // the one of number 0 has no flag
};

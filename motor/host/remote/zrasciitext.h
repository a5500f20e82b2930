// Letters of protocol words, where case doesn't count and no locale has a say.
#pragma once

#include <algorithm>
#include <string_view>

[[nodiscard]] constexpr char AsciiLower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// True if `text` is `lower`, which is in lower case, in any case.
[[nodiscard]] inline bool EqualIgnoringCase(std::string_view text, std::string_view lower) {
  const auto same = [](char a, char b) { return AsciiLower(a) == b; };
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), same);
}

// True if both are the same in some case.
[[nodiscard]] inline bool IsSameName(std::string_view one, std::string_view other) {
  const auto same = [](char a, char b) { return AsciiLower(a) == AsciiLower(b); };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(), same);
}

// Letters of protocol words, where case doesn't count and no locale has a say.
#pragma once

#include <algorithm>
#include <string_view>

// True if `text` is `lower`, which is in lower case, in any case.
[[nodiscard]] inline bool EqualIgnoringCase(std::string_view text, std::string_view lower) {
  const auto same = [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b;
  };
  return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), same);
}

// Reads the text of a settings file.
#pragma once

#include <cstddef>
#include <string_view>

#include "host/support/zrsettingnode.h"
#include "host/support/zrtessalysetup.h"

inline constexpr std::size_t kMaximumSettingsSize = std::size_t{1024} * 1024;  // bytes
// Of brackets within brackets, and of points in one key.
inline constexpr int kMaximumSettingsNesting = 16;

// Fills `root`, a table without a key. False with the place of the first error for a text that
// isn't TOML 1.0, is too large, nests too deeply, or holds a key or a text with a NUL or a key
// that begins with "__". The problem quotes no value of the file.
[[nodiscard]] bool ParseSettings(std::string_view toml, ZRSettingNode& root,
                                 ZRSettingProblem& problem);

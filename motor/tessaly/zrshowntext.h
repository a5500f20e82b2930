// Texts for a terminal.
#pragma once

#include <string>
#include <string_view>

// `text`, which is UTF-8, with its controls as escapes ("\n", "\x1b") and U+FFFD in place of what
// isn't UTF-8.
[[nodiscard]] std::string ShownText(std::string_view text);

// What may be sent, and to whom.
#pragma once

#include <string_view>

#include "host/tools/zrbasicstring.h"

// True for 1 to 20 digits with or without a "+" in front: it can be nothing but a number.
[[nodiscard]] bool IsSmsNumber(std::string_view phone);

// A text as it is sent, in UTF-8: each control character is a blank; what isn't UTF-8 is a "?",
// with only one for what was cut off a character at either end.
[[nodiscard]] ZRString SmsText(std::string_view text);

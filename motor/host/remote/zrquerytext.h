// The text of a query.
#pragma once

#include <string_view>

#include "host/tools/zrbasicstring.h"

// `text` with each "%" and two hexadecimal digits replaced by their byte. A "%" without them stays,
// and so does a "+".
[[nodiscard]] ZRString UndoPercents(std::string_view text);
// The other way round: each byte but letters, digits and "-._~" as a "%" and two digits.
[[nodiscard]] ZRString DoPercents(std::string_view text);

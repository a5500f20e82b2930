// What is looked at before a TOML text is parsed.
#pragma once

#include <string_view>

struct ZRSettingProblem;

// False with the first place at which more than `most` brackets are open, a key has more than
// `most` points, or a character that isn't ASCII stands outside of strings and comments. Right
// for every text that is TOML up to that place. Needs no stack.
[[nodiscard]] bool CheckShape(std::string_view toml, int most, ZRSettingProblem& problem);

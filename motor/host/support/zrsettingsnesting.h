// How deeply a TOML text nests.
#pragma once

#include <string_view>

struct ZRSettingProblem;

// False with the first place at which more than `most` brackets are open, or a key has more than
// `most` points. Right for every text that is TOML up to that place. Needs no stack.
[[nodiscard]] bool CheckNesting(std::string_view toml, int most, ZRSettingProblem& problem);

// The text of a logins.toml.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/support/zrtessalysetup.h"
#include "host/user/zrlogins.h"

// Fills `logins`. False, with problems that say where and nothing in `logins`, if it isn't TOML or
// holds what it may not. A key that nobody knows is a problem in `warnings`. Both lists are
// replaced. No value of the file is quoted.
[[nodiscard]] bool ReadLogins(std::string_view toml, ZRLogins& logins,
                              std::vector<ZRSettingProblem>& problems,
                              std::vector<ZRSettingProblem>& warnings);

// The text that ReadLogins makes the same of. Equal logins give equal texts.
[[nodiscard]] std::string WriteLogins(const ZRLogins& logins);

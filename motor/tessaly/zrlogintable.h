// Users, roles and rights for a terminal.
#pragma once

#include <string>

#include "host/user/zrlogins.h"
#include "tessaly/zrresourcenames.h"

// Lines that show them, with the names of groups and drivers. Nothing of a digest; controls are
// escaped.
[[nodiscard]] std::string LoginTable(const ZRLogins& logins, const ZRResourceNames& names);

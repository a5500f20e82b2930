// The passwords that drivers sign in with.
#pragma once

#include "host/drivers/zrdriverfactory.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

// A file in the configuration folder, which its owner alone may read; a missing one holds none.
inline constexpr const char* kDriversFile = "drivers.toml";

// What is wrong with the file is kBroken. A password for a driver that isn't in the settings is a
// hint.
[[nodiscard]] ZRDriverPasswords ReadDriverPasswords(const ZRTessalySetup& setup,
                                                    ZRFindings& findings);

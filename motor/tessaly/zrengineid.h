// Who this site's engine is, to the world.
#pragma once

#include <string>

#include "host/tools/zruuid.h"

// In the site's folder.
inline constexpr const char* kEngineIdFile = "engine.id";

// Reads the id that the site keeps; makes one, and keeps it, if there is none. uuid::null with a
// reason if the file holds no id, can't be read, or can't be made.
[[nodiscard]] uuid EngineIdOf(const std::string& siteFolder, std::string& reason);

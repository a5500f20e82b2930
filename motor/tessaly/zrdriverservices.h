// Drivers and their variables over HTTP: seen, and forced.
#pragma once

#include <cstddef>

#include "host/remote/zrwebserver.h"
#include "tessaly/zrchaindoor.h"

// What the body that forces a variable may have.
inline constexpr std::size_t kMostForceBytes = std::size_t{4} * 1024;

// Binds them. The door, which outlives the web server's work, says when there are drivers.
void BindDrivers(ZRWebServer& web, ZRChainDoor& door);

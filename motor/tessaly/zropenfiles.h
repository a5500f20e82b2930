// How many files and sockets the process may have open.
#pragma once

#include <cstdint>

// Raises the limit to `wanted` if it is lower, as far as the system lets this process. The limit
// that is in force then.
std::uint64_t AllowOpenFiles(std::uint64_t wanted);

// What a connection has carried so far.
#pragma once

#include <optional>

#include "host/remote/zrconnectionpace.h"

// What the system has counted for a TCP socket; nothing if it doesn't count, as for another kind
// of socket.
[[nodiscard]] std::optional<ZRSocketBytes> BytesOfSocket(int socket);

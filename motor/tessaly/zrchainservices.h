// The paths at which engines tell each other of their events.
#pragma once

#include <cstddef>

#include "host/remote/zrwebserver.h"
#include "tessaly/zrchaindoor.h"

class ZREventServer;

// What the bodies may have.
inline constexpr std::size_t kMostListenerBytes = std::size_t{16} * 1024;
inline constexpr std::size_t kMostProducerBytes = std::size_t{16} * 1024 * 1024;

// Registrations that wait at once, while the engine is busy with its listeners.
inline constexpr int kMostRegistrations = 4;

// Binds them. All three outlive the web server's work.
void BindChain(ZRWebServer& web, ZREventServer& engine, ZRChainDoor& door);

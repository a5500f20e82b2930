// The paths at which engines tell each other of their events.
#pragma once

#include <cstddef>

#include "host/remote/zrwebserver.h"
#include "tessaly/zrchaindoor.h"

class ZREventServer;

// What the bodies may have.
inline constexpr std::size_t kMostListenerBytes = std::size_t{16} * 1024;
inline constexpr std::size_t kMostProducerBytes = std::size_t{16} * 1024 * 1024;

// How much of other engines' events is taken.
struct tagChainLimits {
  // Bytes of documents that are read at once; one as large as may be fits.
  std::size_t bytes = kMostProducerBytes;
  // Elements of remote events that are known, and changes of them that wait for listeners, from
  // which on no document is taken.
  std::size_t elements = 1'000'000;
  int waiting = 100'000;
};

// Registrations that wait at once, while the engine is busy with its listeners.
inline constexpr int kMostRegistrations = 4;

// Binds them. All three outlive the web server's work.
void BindChain(ZRWebServer& web, ZREventServer& engine, ZRChainDoor& door,
               const tagChainLimits& limits = {});

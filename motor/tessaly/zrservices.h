// The engine's services at their paths.
#pragma once

#include <cstddef>

#include "host/remote/zrwebserver.h"
#include "tessaly/zrreadiness.h"

class ZREventServer;

// What the body of an acknowledgement may have.
inline constexpr std::size_t kMostAckBytes = std::size_t{64} * 1024;

// Binds the services of `engine`, which must outlive the web server's work.
void BindServices(ZRWebServer& web, ZREventServer& engine);
// Binds /healthz and /readyz, which answer everybody. `readiness` must outlive the web server's
// work.
void BindHealth(ZRWebServer& web, const ZRReadiness& readiness);

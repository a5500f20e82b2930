// The engine's services at their paths.
#pragma once

#include "host/remote/zrwebserver.h"

class ZREventServer;

// Binds the services of `engine`, which must outlive the web server's work.
void BindServices(ZRWebServer& web, ZREventServer& engine);

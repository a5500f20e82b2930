// The event bus of a site.
#pragma once

#include <memory>
#include <string>

#include "host/messaging/zreventbus.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

// The password of the site's account at the broker: a file in the configuration folder, which its
// owner alone may read.
inline constexpr const char* kBusFile = "bus.toml";

// Says what is wrong with it. Nothing for a site without a bus.
void CheckBus(const ZRTessalySetup& setup, ZRFindings& findings);

// Threads   the host's; ShowState on any, between LoadEvents and the end of the engine.
class ZRSiteBus {
 public:
  // Before the events are loaded: the bus hears of them, if the settings want one. The engine's id
  // is in force from then on. What keeps a bus from being there is kDropped.
  void Begin(const ZRTessalySetup& setup, const std::string& siteFolder, ZRFindings& findings);
  // Once the engine works.
  void Open();
  // Once it doesn't any more.
  void End() { bus.reset(); }

  void ShowState(const uuid& event, bool active) {
    if (bus != nullptr) bus->ShowState(event, active);
  }

 private:
  std::unique_ptr<ZREventBus> bus;  // null without one
};

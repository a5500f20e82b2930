// Where on an MQTT broker the event bus is.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "host/tools/zruuid.h"

// The topics of one engine, docs/bus.md. Of an event:
enum class ZRBusTopic { kDefinition, kTransition, kState, kDiscovery };

// Threads   any; constant.
class ZRBusTopics {
 public:
  ZRBusTopics(const std::string& prefix, const uuid& ofEngine, const std::string& discoveryPrefix);

  [[nodiscard]] const std::string& Engine() const { return engine; }  // its id as text
  [[nodiscard]] std::string Status() const { return root + "status"; }
  [[nodiscard]] std::string Of(const uuid& event, ZRBusTopic kind) const;
  // For each kind that the broker keeps, a filter that all its topics match.
  [[nodiscard]] std::array<std::string, 3> KeptFilters() const;
  // True for a topic that Of gives, of a kind that the broker keeps.
  [[nodiscard]] bool IsKept(std::string_view topic) const;

 private:
  struct tagAround {
    std::string front;
    std::string_view behind;
  };
  [[nodiscard]] tagAround Around(ZRBusTopic kind) const;

  const std::string engine;
  const std::string root;       // ends in "/"
  const std::string discovery;  // the same
};

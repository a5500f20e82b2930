// The event bus on an MQTT broker.
#pragma once

#include <cstddef>
#include <string>

#include "host/messaging/zrbustopics.h"
#include "host/messaging/zrbustransport.h"
#include "host/mqtt/zrmqttclient.h"
#include "host/tools/zruuid.h"

struct ZRMqttTransportSettings {
  ZRMqttSettings broker;  // birth and will are the transport's own
  std::string prefix = "tessaly";
  uuid engine;
  std::string siteName;    // UTF-8
  std::string version;     // of the program
  bool discovery = false;  // tell Home Assistant of the events
  std::string discoveryPrefix = "homeassistant";
  int qos = 1;  // of transitions
};

// The picture is what the broker retains.
//
// Threads   as any transport; it looks for leftovers on the client's.
// Promise   as any transport, after each connection anew.
class ZRMqttTransport final : public ZRBusTransport {
 public:
  explicit ZRMqttTransport(ZRMqttTransportSettings toUse);

  [[nodiscard]] bool Start() override { return client.Start(); }
  void Stop() override { client.Stop(); }
  [[nodiscard]] bool KeepDefinition(const uuid& event, std::string json,
                                    const std::string& name) override;
  [[nodiscard]] bool KeepState(const uuid& event, std::string json) override;
  [[nodiscard]] bool PassTransition(const uuid& event, std::string json) override;
  [[nodiscard]] std::size_t MostBytes() const override { return settings.broker.mostBytes; }

 private:
  void KeepDiscovery(const uuid& event, const std::string& name);
  void LookForLeftovers();
  void LookAt(const ZRMqttMessage& message);
  [[nodiscard]] ZRMqttSettings BrokerSettings() const;

  const ZRMqttTransportSettings settings;
  const ZRBusTopics topics;
  ZRMqttClient client;
};

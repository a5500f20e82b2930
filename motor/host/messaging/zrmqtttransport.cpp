#include "host/messaging/zrmqtttransport.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "host/messaging/zruuidtext.h"

ZRMqttTransport::ZRMqttTransport(ZRMqttTransportSettings toUse)
    : settings(std::move(toUse)),
      topics(settings.prefix, settings.engine, settings.discoveryPrefix),
      client(BrokerSettings(), {[this] { LookForLeftovers(); }, nullptr,
                                [this](const ZRMqttMessage& message) { LookAt(message); }}) {}

ZRMqttSettings ZRMqttTransport::BrokerSettings() const {
  ZRMqttSettings broker = settings.broker;
  broker.birth = ZRMqttMessage{topics.Status(), kOnline, 1, true};
  broker.will = ZRMqttMessage{topics.Status(), kOffline, 1, true};
  return broker;
}

bool ZRMqttTransport::KeepDefinition(const uuid& event, std::string json, const std::string& name) {
  if (settings.discovery) KeepDiscovery(event, name);
  return client.Keep(topics.Of(event, ZRBusTopic::kDefinition), std::move(json));
}

bool ZRMqttTransport::KeepState(const uuid& event, std::string json) {
  return client.Keep(topics.Of(event, ZRBusTopic::kState), std::move(json));
}

bool ZRMqttTransport::PassTransition(const uuid& event, std::string json) {
  return client.Publish(
      {topics.Of(event, ZRBusTopic::kTransition), std::move(json), settings.qos, false});
}

// The keys are those of Home Assistant's documentation, "MQTT Discovery" and "MQTT binary sensor":
// "online" and "offline" are what it expects of an availability topic, "ON" and "OFF" of a state.
// It puts the device's name before an entity's: one that is called as the device has none.
void ZRMqttTransport::KeepDiscovery(const uuid& event, const std::string& name) {
  using tagJson = nlohmann::ordered_json;
  const tagJson message = {
      {"name", name == settings.siteName ? tagJson() : tagJson(name)},
      {"unique_id", topics.Engine() + "_" + UuidText(event)},
      {"state_topic", topics.Of(event, ZRBusTopic::kState)},
      {"value_template", "{{ value_json.state }}"},
      {"availability_topic", topics.Status()},
      {"device", {{"identifiers", tagJson::array({topics.Engine()})}, {"name", settings.siteName}}},
      {"origin", {{"name", "tessaly"}, {"sw_version", settings.version}}}};
  (void)client.Keep(topics.Of(event, ZRBusTopic::kDiscovery),
                    message.dump(-1, ' ', true, tagJson::error_handler_t::replace));
}

// The broker tells what it has kept; what comes last is our own birth, as it was told behind that.
void ZRMqttTransport::LookForLeftovers() {
  for (const std::string& filter : topics.KeptFilters())
    client.Subscribe(filter, 1);
  client.Subscribe(topics.Status(), 1);
}

void ZRMqttTransport::LookAt(const ZRMqttMessage& message) {
  if (message.topic == topics.Status()) {
    if (message.retain || message.payload != kOnline) return;
    for (const std::string& filter : topics.KeptFilters())
      client.Unsubscribe(filter);
    client.Unsubscribe(topics.Status());
    return;
  }
  if (!message.retain || message.payload.empty() || !topics.IsKept(message.topic)) return;
  if (!client.Keeps(message.topic)) (void)client.Keep(message.topic, "");
}

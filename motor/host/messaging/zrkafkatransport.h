// The event bus on a Kafka cluster.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "host/kafka/zrkafkaclient.h"
#include "host/messaging/zrbustransport.h"
#include "host/platform/zrthread.h"
#include "host/tools/zruuid.h"

struct ZRKafkaTransportSettings {
  ZRKafkaSettings broker;  // online and offline are the transport's own
  std::string prefix = "tessaly";
  uuid engine;
};

// The picture is what compacted topics hold. The topics are those of all engines: <prefix>.status,
// .definition, .state and .transition; a key begins with the engine's id.
//
// Threads   as any transport; a thread of its own looks for leftovers.
// Promise   as any transport. What was confirmed once isn't sent again.
class ZRKafkaTransport final : public ZRBusTransport {
 public:
  explicit ZRKafkaTransport(ZRKafkaTransportSettings toUse);
  ~ZRKafkaTransport() override;

  [[nodiscard]] bool Start() override;
  void Stop() override;
  [[nodiscard]] bool KeepDefinition(const uuid& event, std::string json,
                                    const std::string& name) override;
  [[nodiscard]] bool KeepState(const uuid& event, std::string json) override;
  [[nodiscard]] bool PassTransition(const uuid& event, std::string json) override;
  [[nodiscard]] std::size_t MostBytes() const override { return settings.broker.mostBytes; }

 private:
  [[nodiscard]] ZRKafkaSettings BrokerSettings() const;
  [[nodiscard]] std::string Topic(const char* name) const;
  [[nodiscard]] std::string KeyOf(const uuid& event) const;
  [[nodiscard]] bool IsKeyOfOurs(std::string_view key) const;
  void LookForLeftovers();

  const ZRKafkaTransportSettings settings;
  const std::string engine;  // its id as text
  ZRKafkaClient client;
  const std::unique_ptr<ZRKafkaReader> reader;
  ZRThread look;
};

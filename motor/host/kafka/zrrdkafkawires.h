// The wires to real clusters.
#pragma once

#include "host/kafka/zrkafkawire.h"

// Threads   a wire and a reader have threads of librdkafka's, which touch nothing of ours. The
//           waits are real ones, also in virtual time.
// Promise   no call waits for anybody but the time it is given; Close, and the end of a reader, may
//           wait for the resolver.
class ZRRdKafkaWires final : public ZRKafkaWires {
 public:
  [[nodiscard]] std::unique_ptr<ZRKafkaWire> NewWire(const ZRKafkaSettings& settings,
                                                     ZRKafkaWire::ZRListener& listener) override;
  [[nodiscard]] std::unique_ptr<ZRKafkaReader> NewReader(const ZRKafkaSettings& settings) override;
};

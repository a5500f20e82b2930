// The wires to real clusters.
#pragma once

#include <cstdint>

#include "host/kafka/zrkafkawire.h"

// Threads   a wire and a reader have threads of librdkafka's, which call nothing of ours but
//           ZRResolver. The waits are real ones, also in virtual time.
// Promise   no call waits for anybody but the time it is given; Close, and the end of a reader,
//           wait for the resolver, for kNameTime at most.
class ZRRdKafkaWires final : public ZRKafkaWires {
 public:
  static constexpr std::uint32_t kNameTime = 2000;  // ms for a look-up; then it goes on unheard

  [[nodiscard]] std::unique_ptr<ZRKafkaWire> NewWire(const ZRKafkaSettings& settings,
                                                     ZRKafkaWire::ZRListener& listener) override;
  [[nodiscard]] std::unique_ptr<ZRKafkaReader> NewReader(const ZRKafkaSettings& settings) override;
};

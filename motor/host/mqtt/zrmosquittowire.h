// The wire to a real broker.
#pragma once

#include "host/mqtt/zrmqttwire.h"

// Threads   the waits are real ones, also in virtual time.
// Promise   no call but Connect waits for anybody but the time it is given; Connect waits for the
//           resolver. A broker that falls silent is given up after one to two times kKeepAlive.
class ZRMosquittoWires final : public ZRMqttWires {
 public:
  static constexpr int kKeepAlive = 30;  // s

  [[nodiscard]] std::unique_ptr<ZRMqttWire> NewWire(const ZRMqttSettings& settings,
                                                    ZRMqttWire::ZRListener& listener) override;
};

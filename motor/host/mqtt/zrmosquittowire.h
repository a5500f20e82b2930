// The wire to a real broker.
#pragma once

#include "host/mqtt/zrmqttwire.h"

// Threads   the waits are real ones, also in virtual time.
// Promise   no call waits for anybody but the time it is given, and Connect kNameTime for the
//           resolver; a name whose answer comes later is known to the next Connect. With TLS the
//           library looks the name up once more, without a bound. A broker that falls silent is
//           given up after one to two times kKeepAlive.
class ZRMosquittoWires final : public ZRMqttWires {
 public:
  static constexpr int kKeepAlive = 30;             // s
  static constexpr std::uint32_t kNameTime = 2000;  // ms

  [[nodiscard]] std::unique_ptr<ZRMqttWire> NewWire(const ZRMqttSettings& settings,
                                                    ZRMqttWire::ZRListener& listener) override;
};

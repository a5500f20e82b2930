// A driver that makes its values up: for examples, for trying events, and for tests.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/drivers/zrpolleddriver.h"
#include "host/drivers/zrsimulation.h"

// One variable of a simulator, as its settings say.
struct ZRSimulatedVariable {
  ZRWString name;
  ZRSimulation simulation;
};

// Shows simulated variables. The same settings give the same values at the same times since the
// start (a load curve: at the same local times) on every run. A constant can be forced while the
// driver runs: it then keeps that number until the driver starts again.
//
// Threads   as ZRPolledDriver; ForceValue from any.
// Order     behind its mutex only that of a text of a live value.
class ZRSimulatorDriver final : public ZRPolledDriver {
 public:
  static constexpr std::uint32_t kDefaultPeriod = 1000;  // ms

  ZRSimulatorDriver(const ZRWString& ofId, const ZRWString& ofName,
                    std::uint32_t periodMilliseconds, std::vector<ZRSimulatedVariable> toSimulate);
  ~ZRSimulatorDriver() override { Stop(); }

  void Poll(std::int64_t utc) override;
  [[nodiscard]] bool Prepare() override;
  [[nodiscard]] bool ForceValue(const ZRWString& variable, double value,
                                const ZRWString& caller) override;

 private:
  struct tagVariable {
    std::int64_t number = -1;
    ZRSimulation simulation;
    std::optional<double> forced;
  };
  void Show(tagVariable& variable, const ZRSimulatedMoment& moment, std::int64_t utc)
      ZR_REQUIRES(mutex);

  ZRMutex mutex;
  std::vector<tagVariable> variables ZR_GUARDED_BY(mutex);
};

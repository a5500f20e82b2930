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
// start (a load curve: at the same local times) on every run. A constant, a text and a switch can
// be forced while the driver runs: they then keep that value until it starts again.
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
  // A variable of texts shows a number as its shortest text; one of numbers accepts no text.
  [[nodiscard]] bool ForceValue(std::int64_t variable, const ZRValue& value,
                                const wchar_t* name) override;
  // A switch has two labels: its texts, or the words for off and on.
  [[nodiscard]] bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override;

 private:
  struct tagVariable {
    std::int64_t number = -1;
    ZRSimulation simulation;
    std::optional<ZRValue> forced;  // of the kind that the variable shows
  };
  void Show(tagVariable& variable, const ZRSimulatedMoment& moment, std::int64_t utc)
      ZR_REQUIRES(mutex);
  void ShowForced(tagVariable& variable, std::int64_t utc) ZR_REQUIRES(mutex);

  mutable ZRMutex mutex;
  std::vector<tagVariable> variables ZR_GUARDED_BY(mutex);
};

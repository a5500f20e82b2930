// The system driver: this machine, and the engine on it, as variables.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/drivers/zrmachinefacts.h"
#include "host/drivers/zrpolleddriver.h"

// The driver `R$SYS`. What can't be read makes its own variable unavailable and no other.
// docs/drivers.md lists the variables.
//
// Threads   as ZRPolledDriver; SetCycle from any.
class ZRMachineDriver final : public ZRPolledDriver {
 public:
  static constexpr const wchar_t* kName = L"R$SYS";
  static constexpr std::uint32_t kDefaultPeriod = 1000;  // ms

  // The space of the file system that holds a folder (UTF-8); nothing if it can't be told.
  using tagDiskProbe = std::function<std::optional<ZRDiskSpace>(const std::string& folder)>;
  [[nodiscard]] static std::optional<ZRDiskSpace> ProbeDisk(const std::string& folder);

  // `dataFolder` (UTF-8) is the one whose file system is watched.
  ZRMachineDriver(std::uint32_t periodMilliseconds, std::string dataFolder,
                  tagDiskProbe diskProbe = ProbeDisk);
  ~ZRMachineDriver() override { Stop(); }

  void Poll(std::int64_t utc) override;
  [[nodiscard]] bool Prepare() override;

  // The host tells how long the engine's last cycle took, in ms.
  void SetCycle(double milliseconds) { SetVariableValue(cycle, milliseconds); }

 private:
  void PollLoad();
  void PollProcessor();
  void PollMemory();
  void PollDisk();
  void PollTemperature();
  void PollTimes();
  void Write(std::int64_t number, std::optional<double> value);
  void AddTemperatures(const std::string& folder, const char* prefix,
                       std::optional<double>& hottest);

  const std::string dataFolder;
  const tagDiskProbe diskSpace;
  std::int64_t now = 0;  // UTC in ms of the pass
  std::optional<ZRProcessorTimes> lastTimes;

  const std::int64_t events, cycle;
  const std::int64_t load1, load5, load15, processor, memoryUsed, memoryFree, diskUsed, diskFree,
      temperature, uptime, processes;
};

#include "host/drivers/zrmachinedriver.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kLargestFile =
    std::size_t{64} * 1024;  // bytes; what lies behind isn't looked at
constexpr double kMegabyte = 1e6;
constexpr double kGigabyte = 1e9;

struct tagCloser {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

// The first part of a small file; empty if it can't be read.
std::string ReadSmallFile(const std::string& path) {
  const std::unique_ptr<std::FILE, tagCloser> file(ZRPlatform::Get().OpenFile(path, "r"));
  if (!file) return {};
  std::string content(kLargestFile, '\0');
  content.resize(std::fread(content.data(), 1, content.size(), file.get()));
  return content;
}

double Whole(std::uint64_t number) {
  return static_cast<double>(number);
}

}  // namespace

std::optional<ZRDiskSpace> ZRMachineDriver::ProbeDisk(const std::string& folder) {
  struct statvfs facts {};
  if (::statvfs(folder.c_str(), &facts) != 0) return std::nullopt;
  // Blocks that are kept for the administrator belong neither to the used nor to the free ones.
  const std::uint64_t kept = facts.f_bfree - std::min(facts.f_bfree, facts.f_bavail);
  const std::uint64_t usable = facts.f_blocks - std::min<std::uint64_t>(facts.f_blocks, kept);
  return ZRDiskSpace{usable * facts.f_frsize, facts.f_bavail * facts.f_frsize};
}

ZRMachineDriver::ZRMachineDriver(std::uint32_t periodMilliseconds, std::string folder,
                                 tagDiskProbe diskProbe)
    : ZRPolledDriver(kName, kName, periodMilliseconds),
      dataFolder(std::move(folder)),
      diskSpace(std::move(diskProbe)),
      events(AddVariable(L"NEVE")),
      cycle(AddVariable(L"CYCLE")),
      load1(AddPolled(L"LOAD1")),
      load5(AddPolled(L"LOAD5")),
      load15(AddPolled(L"LOAD15")),
      processor(AddPolled(L"CPU")),
      memoryUsed(AddPolled(L"MEMUSED")),
      memoryFree(AddPolled(L"MEMFREE")),
      diskUsed(AddPolled(L"DISKUSED")),
      diskFree(AddPolled(L"DISKFREE")),
      temperature(AddPolled(L"TEMP")),
      uptime(AddPolled(L"UPTIME")),
      processes(AddPolled(L"PROCS")) {}

bool ZRMachineDriver::Prepare() {
  lastTimes.reset();
  return true;
}

void ZRMachineDriver::Poll(std::int64_t utc) {
  now = utc;
  PollLoad();
  PollProcessor();
  PollMemory();
  PollDisk();
  PollTemperature();
  PollTimes();
}

void ZRMachineDriver::Write(std::int64_t number, std::optional<double> value) {
  if (value) {
    Variable(number).SetNumber(*value, now);
  } else {
    Variable(number).SetUnavailable();
  }
}

void ZRMachineDriver::PollLoad() {
  const auto averages = ReadLoadAverages(ReadSmallFile("/proc/loadavg"));
  const std::int64_t loads[] = {load1, load5, load15};
  for (std::size_t i = 0; i < std::size(loads); ++i)
    Write(loads[i], averages ? std::optional((*averages)[i]) : std::nullopt);
}

void ZRMachineDriver::PollProcessor() {
  const auto times = ReadProcessorTimes(ReadSmallFile("/proc/stat"));
  Write(processor, times && lastTimes ? PercentBusy(*lastTimes, *times) : std::nullopt);
  lastTimes = times;
}

void ZRMachineDriver::PollMemory() {
  const auto memory = ReadMemory(ReadSmallFile("/proc/meminfo"));
  Write(memoryUsed, memory ? PercentUsed(memory->total, memory->available) : std::nullopt);
  Write(memoryFree, memory ? std::optional(Whole(memory->available) / kMegabyte) : std::nullopt);
}

void ZRMachineDriver::PollDisk() {
  const auto space = diskSpace(dataFolder);
  Write(diskUsed, space ? PercentUsed(space->total, space->available) : std::nullopt);
  Write(diskFree, space ? std::optional(Whole(space->available) / kGigabyte) : std::nullopt);
}

void ZRMachineDriver::PollTemperature() {
  std::optional<double> hottest;
  AddTemperatures("/sys/class/thermal", "thermal_zone", hottest);
  AddTemperatures("/sys/class/hwmon", "hwmon", hottest);
  Write(temperature, hottest);
}

void ZRMachineDriver::AddTemperatures(const std::string& folder, const char* prefix,
                                      std::optional<double>& hottest) {
  ZRPlatform& platform = ZRPlatform::Get();
  std::vector<std::string> sensors;
  if (!platform.ListFolder(folder, sensors)) return;
  for (const std::string& sensor : sensors) {
    if (sensor.rfind(prefix, 0) != 0) continue;
    std::string place = folder;
    place.append("/").append(sensor);
    std::vector<std::string> files;
    if (!platform.ListFolder(place, files)) continue;
    for (const std::string& file : files) {
      if (!IsTemperatureFile(file)) continue;
      std::string path = place;
      path.append("/").append(file);
      const auto degrees = ReadTemperature(ReadSmallFile(path));
      if (degrees) hottest = std::max(hottest.value_or(*degrees), *degrees);
    }
  }
}

void ZRMachineDriver::PollTimes() {
  Write(uptime, ReadUptime(ReadSmallFile("/proc/uptime")));
  std::vector<std::string> entries;
  const bool listed = ZRPlatform::Get().ListFolder("/proc", entries);
  Write(processes, listed ? std::optional(Whole(CountProcesses(entries))) : std::nullopt);
}

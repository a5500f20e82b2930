#include <cerrno>
#include <charconv>
#include <filesystem>
#include <set>
#include <utility>

#include "host/drivers/zrdriverfactory.h"
#include "host/drivers/zrmodbusdriver.h"
#include "host/drivers/zrmodbusmap.h"
#include "host/drivers/zrmodbusprofiles.h"
#include "host/remote/zrhttpclient.h"
#include "host/remote/zrsocketaddress.h"
#include "host/support/zrsettingstext.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kModbusPort = 502;
constexpr int kMostPort = 65535;
constexpr int kMostUnit = 255;
constexpr int kMostSerialUnit = 247;
constexpr int kDefaultTimeout = 1000;  // ms
constexpr int kShortestTimeout = 10;
constexpr int kLongestTimeout = 10'000;
constexpr int kSerialPause = 4;  // ms: 3.5 characters at 9600 baud
constexpr std::size_t kMostMeters = 1000;
constexpr std::size_t kMostVariables = 100'000;
constexpr const wchar_t* kProfiles = L"profiles/";

// The name of the registered driver that has a serial line, by any of the line's names; null if
// nobody has it.
const ZRWString* OwnerOf(const std::string& device) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path line = fs::weakly_canonical(device, error);
  for (auto at = ZRDriver::DriversBegin(); at != ZRDriver::DriversEnd(); ++at) {
    const std::string other = (*at)->SerialLine();
    if (other.empty()) continue;
    if (other == device || (!error && fs::weakly_canonical(other, error) == line && !error))
      return &(*at)->Name();
  }
  return nullptr;
}

void ReadSerial(ZRDriverSettings& settings, ZRModbusBus& bus) {
  constexpr int kDefaultBaud = 9600;
  constexpr int kLeastBaud = 300;
  constexpr int kMostBaud = 921'600;
  bus.device = settings.Text("device", "");
  if (!bus.device.starts_with('/')) settings.Error("device", "must be a path such as /dev/ttyUSB0");
  if (const ZRWString* const owner = OwnerOf(bus.device)) {
    settings.Error("device", "is the serial line of driver \"" +
                                 std::string(Utf16ToUtf8(owner->View()).View()) +
                                 "\" already: both would ask at once");
  }
  bus.baud = settings.Integer("baud", kDefaultBaud, kLeastBaud, kMostBaud);
  const std::string parity = settings.Text("parity", "even");
  if (parity != "none" && parity != "even" && parity != "odd")
    settings.Error("parity", "must be \"none\", \"even\" or \"odd\", not \"" + parity + "\"");
  bus.parity = parity == "none" ? 'N' : parity == "odd" ? 'O' : 'E';
  bus.stopBits = settings.Integer("stop_bits", parity == "none" ? 2 : 1, 1, 2);
}

ZRModbusBus ReadBus(ZRDriverSettings& settings) {
  ZRModbusBus bus;
  if (settings.Has("host") == settings.Has("device")) {
    settings.Error("host", "or \"device\" must be given, and not both");
  } else if (settings.Has("device")) {
    ReadSerial(settings, bus);
  } else {
    bus.host = settings.Text("host", "");
    bus.port = settings.Integer("port", kModbusPort, 1, kMostPort);
    ZRSocketAddress address;
    if (!address.Parse(bus.host, static_cast<std::uint16_t>(bus.port)) &&
        !IsPeer(bus.host, bus.port))
      settings.Error("host", "must be a host's name or address");
  }
  bus.timeout = static_cast<std::uint32_t>(
      settings.Integer("timeout_ms", kDefaultTimeout, kShortestTimeout, kLongestTimeout));
  return bus;
}

bool ReadNumber(std::string_view text, int& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= 0;
}

// "3", "1-200" or "1-3,7". Empty if it isn't that, or a unit is above `most` or stands twice.
std::vector<int> Units(std::string_view text, int most) {
  std::set<int> units;
  while (!text.empty()) {
    const std::string_view piece = text.substr(0, text.find(','));
    text.remove_prefix(piece.size() < text.size() ? piece.size() + 1 : text.size());
    const std::size_t dash = piece.find('-');
    int first = 0;
    int last = 0;
    if (!ReadNumber(piece.substr(0, dash), first)) return {};
    if (!ReadNumber(dash == std::string_view::npos ? piece : piece.substr(dash + 1), last))
      return {};
    if (first > last || last > most) return {};
    for (int unit = first; unit <= last; ++unit)
      if (!units.insert(unit).second) return {};
  }
  return {units.begin(), units.end()};
}

// A profile: the site's own, or else one that came with the program.
bool FindProfile(const std::string& name, ZRString& toml, std::string& shown) {
  const ZRWString path = ZRTessalySetup::Get().SitePath() + kProfiles + Utf8ToUtf16(name + ".toml");
  shown = Utf16ToUtf8(path.View()).Text();
  if (ReadWholeFile(path, kMaximumSettingsSize, toml)) return true;
  if (errno != ENOENT) return false;
  for (const ZRModbusProfile& profile : ModbusProfiles()) {
    if (profile.name != name) continue;
    shown = "profiles/" + name + ".toml";
    toml = ZRString(profile.toml.data(), profile.toml.size());
    return true;
  }
  return false;
}

void ReadProfile(ZRDriverSettings& settings, std::optional<int> base,
                 std::vector<ZRSettingProblem>& problems, ZRModbusMap& map) {
  const std::string name = settings.Text("profile", "");
  if (name.empty()) return;
  if (!ZRDriverSettings::IsName(name) || name.find('/') != std::string::npos)
    return settings.Error("profile", "must be a name without \"/\" and \".\"");
  ZRString toml;
  std::string shown;
  if (!FindProfile(name, toml, shown)) {
    return settings.Error("profile",
                          "can't be read: neither comes one of that name with the "
                          "program, nor is there a good file " +
                              shown);
  }
  if (!ReadModbusProfile({toml.Text(), static_cast<std::size_t>(toml.Length())}, shown, base,
                         problems, map.registers))
    settings.Error("profile", "is broken: " + shown);
}

// The keys of a device, which may stand in the driver's own table.
struct tagDevices {
  std::string name;  // may hold a "#", for the unit
  std::vector<int> units;
  std::shared_ptr<const ZRModbusMap> map;
};

class CReader {
 public:
  CReader(ZRDriverSettings& ofDriver, std::vector<ZRSettingProblem>& toFill)
      : driver(ofDriver), problems(toFill) {}

  ZRModbusSettings Read(std::uint32_t ofDriver) {
    constexpr int kMostGap = 100;
    constexpr int kMostMissed = 1000;
    period = ofDriver;
    modbus.bus = ReadBus(driver);
    const bool isSerial = !modbus.bus.device.empty();
    modbus.pause = static_cast<std::uint32_t>(
        driver.Integer("pause_ms", isSerial ? kSerialPause : 0, 0, kDefaultTimeout));
    modbus.missed = driver.Integer("missed", modbus.missed, 1, kMostMissed);
    limits.gap = driver.Integer("gap", limits.gap, 0, kMostGap);
    limits.mostWords =
        driver.Integer("most_registers", limits.mostWords, 1, ZRModbusLimits::kMostWords);
    ReadDevices();
    return std::move(modbus);
  }

 private:
  void ReadDevices() {
    const auto tables = driver.Tables("meter");
    if (tables.empty()) {
      const tagDevices device = ReadTable(driver);
      if (device.units.size() > 1) driver.Error("unit", "must be one, without tables \"meter\"");
      if (!driver.HasErrors()) Add(device, "");
    }
    for (const XmlDocument::XmlNode* const table : tables) {
      ZRDriverSettings settings(*table, driver.Subject() + ", meter", problems);
      tagDevices devices = ReadTable(settings);
      devices.name = settings.Name("name");
      if (devices.units.size() > 1 && devices.name.find('#') == std::string::npos)
        settings.Error("name", "must have a \"#\" for the number of each unit");
      settings.WarnOfUnknownKeys();
      good = good && !settings.HasErrors();
      if (good) Add(devices, devices.name);
    }
    if (modbus.meters.size() > kMostMeters || variables > kMostVariables)
      driver.Error("meter", "makes too many: 1000 devices and 100000 variables at most");
    if (!good) driver.Error("meter", "has errors");
  }

  tagDevices ReadTable(ZRDriverSettings& settings) {
    const int most = modbus.bus.device.empty() ? kMostUnit : kMostSerialUnit;
    tagDevices devices;
    devices.units = Units(settings.Text("unit", "1"), most);
    if (devices.units.empty()) {
      settings.Error("unit", "must be a number up to " + std::to_string(most) +
                                 ", or a text such as \"1-20,31\"");
    }
    const auto map = std::make_shared<ZRModbusMap>();
    std::optional<int> base;
    if (settings.Has("base")) base = settings.Integer("base", 0, -kMostPort, kMostPort);
    ReadProfile(settings, base, problems, *map);
    const bool isRead = ReadModbusMap(settings, base, problems, map->registers);
    if (!isRead && !settings.HasErrors()) settings.Error("register", "has errors");
    if (map->registers.empty() && !settings.HasErrors())
      settings.Error("register", "or \"profile\" must be given");
    for (const ZRModbusRegister& one : map->registers)
      if (one.name == "ONLINE") settings.Error("register", "can't be called ONLINE");
    map->blocks = PlanReads(map->registers, limits, period);
    devices.map = map;
    return devices;
  }

  void Add(const tagDevices& devices, const std::string& name) {
    for (const int unit : devices.units) {
      std::string called = name;
      const std::size_t mark = called.find('#');
      if (mark != std::string::npos) called.replace(mark, 1, std::to_string(unit));
      if (!names.insert(called).second) driver.Error("meter", "\"" + called + "\" stands twice");
      variables += devices.map->registers.size() + 1;
      if (!called.empty()) called += '.';
      modbus.meters.push_back({Utf8ToUtf16(called), static_cast<std::uint8_t>(unit), devices.map});
    }
  }

  ZRDriverSettings& driver;
  std::vector<ZRSettingProblem>& problems;
  ZRModbusSettings modbus;
  ZRModbusLimits limits;
  std::uint32_t period = 0;
  std::size_t variables = 0;
  std::set<std::string> names;
  bool good = true;
};

}  // namespace

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeModbus(ZRDriverSettings& settings,
                                                      std::vector<ZRSettingProblem>& problems) {
  ZRWString id;
  ZRWString name;
  (void)ReadIdentity(settings, id, name);
  const std::uint32_t period = ReadPeriod(settings, ZRModbusDriver::kDefaultPeriod);
  ZRModbusSettings modbus = CReader(settings, problems).Read(period);
  if (settings.HasErrors()) return nullptr;
  return std::make_unique<ZRModbusDriver>(id, name, period, std::move(modbus));
}

// What the settings file may hold.
#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <set>
#include <string>

#include "host/support/zrsettingnode.h"
#include "host/support/zrsettingstable.h"
#include "host/support/zrsettingstext.h"
#include "host/support/zrsettingstree.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrtext.h"

namespace {

using tagKind = ZRSettingNode::tagKind;

constexpr char kSeparator = '/';
constexpr const char* kMqtt = "mqtt";
constexpr const char* kKafka = "kafka";
constexpr int kMaximumPort = 65535;
constexpr int kMaximumQueue = 1'000'000;
constexpr int kUnlimitedQueue = -1;
constexpr int kHighestModemPort = 255;
constexpr std::size_t kMaximumName = 100;  // bytes

bool IsNotEmpty(std::string_view text) {
  return !text.empty();
}

bool IsLanguage(std::string_view text) {
  return text == "en" || text == "es";
}

bool IsDurability(std::string_view text) {
  return text == "strict" || text == "adaptive" || text == "off";
}

bool IsCountPeriod(std::string_view text) {
  return text == "day" || text == "week" || text == "month" || text == "year" || text == "all";
}

bool IsSmsSender(std::string_view text) {
  return text == "modem" || text == "file";
}

// A path that a line of another program's settings can hold.
bool IsPlainPath(std::string_view path) {
  constexpr std::string_view kAllowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.:,@+-/";
  return path.starts_with(kSeparator) && path.find_first_not_of(kAllowed) == path.npos;
}

// A modem's port in its shortest decimal form.
bool IsModemPort(std::string_view text, unsigned int& port) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() &&
         port <= unsigned{kHighestModemPort} && text == std::to_string(port);
}

// A name of the zone database, or none. It becomes a part of a path.
bool IsZone(std::string_view text) {
  constexpr std::string_view kAllowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_+-/";
  return text.size() <= kMaximumName && text.find_first_not_of(kAllowed) == text.npos &&
         !text.starts_with(kSeparator);
}

bool HasStepUp(std::string_view path) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(kSeparator), path.size());
    if (path.substr(0, end) == "..") return true;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return false;
}

bool IsFolder(std::string_view path) {
  return !path.empty() && !HasStepUp(path);
}

bool IsFile(std::string_view path) {
  return IsFolder(path) && !path.ends_with(kSeparator);
}

bool IsLogTarget(std::string_view path) {
  return IsFile(path) && !path.starts_with(kSeparator);
}

// Of a driver's name and id: they come before a point in the full names of variables and in the
// ids of remote events, and stand in expressions.
constexpr std::string_view kNameRule = "must have 1 to 100 bytes, and no \".\", \"[\" or \"]\"";
bool IsName(std::string_view name) {
  return !name.empty() && name.size() <= kMaximumName && name.find_first_of(".[]") == name.npos;
}

// Of IPv4 or IPv6, in digits. One of a link has its interface behind a "%".
bool IsAddress(std::string_view text) {
  in6_addr place{};
  const std::string digits(text.substr(0, text.find('%')));
  if (::inet_pton(AF_INET6, digits.c_str(), &place) == 1) return !text.ends_with('%');
  return ::inet_pton(AF_INET, std::string(text).c_str(), &place) == 1;
}

// A name that a client can write in its address line, without a port.
bool IsHostName(std::string_view text) {
  constexpr std::size_t kMostLetters = 253;
  constexpr std::string_view kAllowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._";
  return !text.empty() && text.size() <= kMostLetters &&
         text.find_first_not_of(kAllowed) == text.npos;
}

// The same, or an address, one of IPv6 in brackets.
bool IsUrlHost(std::string_view text) {
  const bool isBracketed = text.starts_with('[') && text.ends_with(']');
  if (!isBracketed) return IsHostName(text);
  const std::string_view inside = text.substr(1, text.size() - 2);
  return inside.find(':') != inside.npos && IsAddress(inside);
}

bool IsBroker(std::string_view text) {
  return IsHostName(text) || IsAddress(text);
}

// The first levels of a topic. One that begins with "$" is the broker's own.
bool IsTopic(std::string_view text) {
  return !text.empty() && text.size() <= kMaximumName && text.find_first_of("+#") == text.npos &&
         !text.starts_with('$') && !text.starts_with(kSeparator) && !text.ends_with(kSeparator);
}

bool IsBusKind(std::string_view text) {
  return text == kMqtt || text == kKafka;
}

// The beginning of the names of topics.
bool IsTopicName(std::string_view text) {
  constexpr std::string_view kAllowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
  return !text.empty() && text.size() <= kMaximumName &&
         text.find_first_not_of(kAllowed) == text.npos;
}

bool IsMechanism(std::string_view text) {
  return text == "PLAIN" || text == "SCRAM-SHA-256" || text == "SCRAM-SHA-512";
}

bool IsCompression(std::string_view text) {
  return text == "none" || text == "gzip" || text == "snappy" || text == "lz4" || text == "zstd";
}

bool IsClientId(std::string_view text) {
  return !text.empty() && text.size() <= kMaximumName;
}

ZRWString WithSeparator(const ZRWString& folder) {
  if (folder.IsEmpty()) return L"./";
  if (folder.View().ends_with(wchar_t{kSeparator})) return folder;
  return folder + L"/";
}

ZRWString BelowSite(const ZRWString& site, const ZRString& path) {
  const ZRWString wide = Utf8ToUtf16(path.View());
  return path.View().starts_with(kSeparator) ? wide : site + wide;
}

}  // namespace

// Reads the keys of the file into settings that hold their defaults.
class ZRTessalySetup::CReader {
 public:
  CReader(ZRTessalySetup& toFill, ZRSettingReport& toReport) : setup(toFill), report(toReport) {}

  void Read(const ZRSettingNode& root) {
    ZRSettingsTable file(&root, "", report);
    ReadInstallation(file);
    ReadHistory(file.Table("history"));
    ReadEvents(file.Table("events"));
    ReadHttp(file.Table("http"));
    ReadChain(file.Table("chain"));
    ReadBus(file.Table("bus"));
    ReadLog(file.Table("log"));
    ReadFeed(file.Table("feed"));
    ReadSmtp(file.Table("smtp"));
    ReadSms(file.Table("sms"));
    ReadPreferences(file.Table("preferences"));
    ReadDrivers(file.Any("driver"));
    file.WarnOfUnknownKeys();
  }

 private:
  void ReadInstallation(ZRSettingsTable& file) {
    ZRString shownName = Utf16ToUtf8(setup.programName.View());
    file.Text("name", shownName, IsNotEmpty, "must not be empty");
    setup.programName = Utf8ToUtf16(shownName.View());
    ZRString letters = Utf16ToUtf8(setup.language.View());
    file.Text("language", letters, IsLanguage, "must be \"en\" or \"es\"");
    setup.language = Utf8ToUtf16(letters.View());
    file.Text("timezone", setup.timeZone, IsZone, "must be the name of a time zone");
    setup.cfgPath = ReadFolder(file, "config", "config");
    setup.dataPath = ReadFolder(file, "data", "data");
  }

  ZRWString ReadFolder(ZRSettingsTable& table, const char* key, const char* whenAbsent) {
    ZRString folder(whenAbsent);
    table.Text(key, folder, IsFolder, "must be the path of a folder, without \"..\"");
    return WithSeparator(BelowSite(setup.sitePath, folder));
  }

  void ReadHistory(ZRSettingsTable history) {
    history.Text("durability", setup.historyDurability, IsDurability,
                 "must be \"strict\", \"adaptive\" or \"off\"");
    history.WarnOfUnknownKeys();
  }

  void ReadEvents(ZRSettingsTable events) {
    events.Text("count_period", setup.eventsCountPeriod, IsCountPeriod,
                "must be \"day\", \"week\", \"month\", \"year\" or \"all\"");
    events.WarnOfUnknownKeys();
  }

  void ReadHttp(ZRSettingsTable http) {
    http.Integer("port", setup.httpPort, 0, kMaximumPort);
    http.Text("address", setup.httpAddress, IsAddress, "must be an address of IPv4 or IPv6");
    http.Texts("names", setup.httpNames);
    if (!std::all_of(setup.httpNames.begin(), setup.httpNames.end(),
                     [](const ZRString& name) { return IsHostName(name.View()); })) {
      http.Problem("names", "must be names of hosts, without ports");
    }
    http.Flag("md5", setup.httpMd5);
    setup.httpCertificate = ReadFile(http, "certificate");
    setup.httpKey = ReadFile(http, "key");
    if (setup.httpCertificate.IsEmpty() != setup.httpKey.IsEmpty()) {
      http.Problem(setup.httpKey.IsEmpty() ? "key" : "certificate",
                   "must be given too: a certificate and its key belong together");
    }
    http.WarnOfUnknownKeys();
  }

  void ReadChain(ZRSettingsTable chain) {
    chain.Flag("users", setup.chainUsers);
    chain.Texts("networks", setup.chainNetworks);
    chain.WarnOfUnknownKeys();
  }

  void ReadBus(ZRSettingsTable table) {
    ZRBusSettings& broker = setup.bus;
    table.Text("kind", broker.kind, IsBusKind, "must be \"mqtt\" or \"kafka\"");
    table.Text("host", broker.host, IsBroker, "must be the name or address of a host");
    table.Integer("port", broker.port, 1, kMaximumPort);
    table.Text("client", broker.clientId, IsClientId, "must have 1 to 100 bytes");
    table.Text("user", broker.user);
    table.Flag("tls", broker.tls);
    table.Integer("queue", broker.queue, 1, ZRBusSettings::kMostWaiting);
    broker.ca = ReadFile(table, "ca");
    broker.certificate = ReadFile(table, "certificate");
    broker.key = ReadFile(table, "key");
    if (broker.certificate.IsEmpty() != broker.key.IsEmpty()) {
      table.Problem(broker.key.IsEmpty() ? "key" : "certificate",
                    "must be given too: a certificate and its key belong together");
    }
    if (broker.kind == kKafka) {
      ReadKafka(table);
    } else {
      ReadMqtt(table);
    }
    table.WarnOfUnknownKeys();
  }

  void ReadMqtt(ZRSettingsTable& table) {
    ZRBusSettings& broker = setup.bus;
    constexpr std::string_view kTopicRule =
        "must be levels of a topic without \"+\" and \"#\", of at most 100 bytes";
    table.Text("prefix", broker.prefix, IsTopic, kTopicRule);
    table.Text("discovery_prefix", broker.discoveryPrefix, IsTopic, kTopicRule);
    table.Flag("discovery", broker.discovery);
    table.Integer("qos", broker.qos, 0, 1);
    RefuseKeys(table, {"further", "mechanism", "compression"}, kKafka);
  }

  void ReadKafka(ZRSettingsTable& table) {
    ZRBusSettings& broker = setup.bus;
    table.Text("prefix", broker.prefix, IsTopicName,
               "must have 1 to 100 letters, digits, \".\", \"_\" and \"-\"");
    table.Texts("further", broker.further);
    if (!std::all_of(broker.further.begin(), broker.further.end(),
                     [](const ZRString& host) { return IsBroker(host.View()); })) {
      table.Problem("further", "must be names or addresses of hosts, without ports");
    }
    table.Text("mechanism", broker.mechanism, IsMechanism,
               "must be \"PLAIN\", \"SCRAM-SHA-256\" or \"SCRAM-SHA-512\"");
    table.Text("compression", broker.compression, IsCompression,
               "must be \"none\", \"gzip\", \"snappy\", \"lz4\" or \"zstd\"");
    if (broker.mechanism == "PLAIN" && !broker.tls)
      table.Problem("mechanism", "PLAIN shows the password to whoever listens: it needs bus.tls");
    RefuseKeys(table, {"discovery", "discovery_prefix", "qos"}, kMqtt);
  }

  // Whoever writes them expects an effect that they wouldn't have.
  static void RefuseKeys(ZRSettingsTable& table, std::initializer_list<const char*> keys,
                         const std::string& kind) {
    for (const char* key : keys) {
      if (table.Any(key) != nullptr)
        table.Problem(key, "is for a bus of the kind \"" + kind + "\" only");
    }
  }

  ZRWString ReadFile(ZRSettingsTable& table, const char* key) {
    ZRString path;
    table.Text(key, path, IsFile, "must be the path of a file, without \"..\"");
    return path.IsEmpty() ? ZRWString() : BelowSite(setup.sitePath, path);
  }

  void ReadLog(ZRSettingsTable log) {
    constexpr int kHighestLevel = 4;
    log.Integer("level", setup.logLevel, 0, kHighestLevel);
    ZRString target("terminal");
    log.Text("target", target, IsLogTarget,
             "must be \"terminal\", \"journal\" or the path of a file below the site");
    const bool isFile = !(target == "terminal" || target == "journal");
    setup.logTarget = isFile ? BelowSite(setup.sitePath, target) : Utf8ToUtf16(target.View());
    log.WarnOfUnknownKeys();
  }

  // The engine reads `active` and `items` from the tree: they are only checked here.
  void ReadFeed(ZRSettingsTable feed) {
    constexpr int kMostItems = 1000;
    bool isActive = false;
    int items = 0;
    feed.Flag("active", isActive);
    feed.Integer("items", items, 0, kMostItems);
    ZRString host = Utf16ToUtf8(setup.rssUrl.View());
    feed.Text("host", host, IsUrlHost, "must be the name or address of a host, without a port");
    setup.rssUrl = Utf8ToUtf16(host.View());
    feed.WarnOfUnknownKeys();
  }

  void ReadSmtp(ZRSettingsTable smtp) {
    smtp.Text("server", setup.smtpServer);
    smtp.Integer("port", setup.smtpPort, 1, kMaximumPort);
    smtp.Text("from", setup.smtpFrom);
    smtp.Text("user", setup.smtpUser);
    smtp.Text("password", setup.smtpPassword);
    smtp.Flag("authenticated", setup.smtpAuthenticated);
    smtp.Flag("ssl", setup.smtpSsl);
    smtp.Integer("queue", setup.smtpSizeQueue, kUnlimitedQueue, kMaximumQueue);
    smtp.WarnOfUnknownKeys();
  }

  void ReadSms(ZRSettingsTable sms) {
    sms.Integer("queue", setup.smsSizeQueue, kUnlimitedQueue, kMaximumQueue);
    sms.Text("sender", setup.smsSender, IsSmsSender, "must be \"modem\" or \"file\"");
    setup.smsFolder = ReadFolder(sms, "folder", "sms");
    sms.Text("program", setup.smsProgram, IsPlainPath, "must be the whole path of a program");
    ReadSmsDevices(sms.Table("devices"));
    sms.WarnOfUnknownKeys();
  }

  void ReadSmsDevices(ZRSettingsTable devices) {
    for (const std::string_view key : devices.Keys()) {
      unsigned int port = 0;
      if (!IsModemPort(key, port)) continue;  // a warning
      devices.Text(key, setup.smsDevices[port], IsPlainPath, "must be the whole path of a device");
    }
    devices.WarnOfUnknownKeys();
  }

  // Read later by their paths in the tree: only checked here.
  void ReadPreferences(ZRSettingsTable preferences) {
    constexpr int kHighestBaudRate = 4'000'000;
    constexpr int kHighestPin = 99'999'999;
    int checked = 0;
    ZRSettingsTable modem = preferences.Table("modem");
    modem.Integer("port", checked, 0, kHighestModemPort);
    modem.Integer("baudRate", checked, 1, kHighestBaudRate);
    modem.Integer("pin", checked, 0, kHighestPin);
    modem.WarnOfUnknownKeys();
    preferences.WarnOfUnknownKeys();
  }

  void ReadDrivers(const ZRSettingNode* drivers) {
    if (drivers == nullptr) return;
    const auto isTable = [](const ZRSettingNode& node) { return node.kind == tagKind::kTable; };
    if (drivers->kind != tagKind::kArray ||
        !std::all_of(drivers->children.begin(), drivers->children.end(), isTable)) {
      report.Problem("driver must be written as [[driver]]", *drivers);
      return;
    }
    for (const ZRSettingNode& driver : drivers->children)
      ReadDriver(driver);
  }

  // Its further keys belong to its type: they are read later from the tree.
  void ReadDriver(const ZRSettingNode& node) {
    ZRSettingsTable driver(&node, "driver.", report);
    ZRString type;
    driver.Text("type", type);
    if (type.IsEmpty()) driver.Problem("type", "must be given");
    ZRString name;
    driver.Text("name", name);
    if (!IsName(name.View())) driver.Problem("name", kNameRule);
    ZRString id = name;
    driver.Text("id", id, IsName, kNameRule);
    if (!names.insert(name).second) driver.Problem("name", "is that of an earlier driver");
    if (!ids.insert(id).second) driver.Problem("id", "is that of an earlier driver");
  }

  ZRTessalySetup& setup;
  ZRSettingReport& report;
  std::set<ZRString> names;
  std::set<ZRString> ids;
};

bool ZRTessalySetup::LoadText(std::string_view toml, const ZRWString& siteFolder,
                              std::vector<ZRSettingProblem>& problems,
                              std::vector<ZRSettingProblem>& warnings) {
  problems.clear();
  warnings.clear();
  ZRSettingNode root;
  ZRSettingProblem problem;
  if (!ParseSettings(toml, root, problem)) {
    problems.push_back(problem);
    return false;
  }
  ZRTessalySetup fresh;
  fresh.sitePath = WithSeparator(siteFolder);
  ZRSettingReport report{problems, warnings};
  CReader(fresh, report).Read(root);
  if (!problems.empty()) return false;
  fresh.tree = std::make_unique<XmlDocument>();
  MakeSettingsTree(root, *fresh.tree);
  *this = std::move(fresh);
  return true;
}

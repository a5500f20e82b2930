#include <cmath>
#include <filesystem>
#include <limits>
#include <set>
#include <utility>

#include "host/drivers/zrdriverfactory.h"
#include "host/drivers/zrmqttdriver.h"
#include "host/remote/zrhttpclient.h"
#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"

namespace {

using tagType = ZRMqttReading::tagType;

constexpr int kMostPort = 65535;
constexpr double kMostAge = 2'592'000.0;  // s: 30 days
constexpr double kMostGrace = 86'400.0;   // s
constexpr double kSecond = 1000.0;        // ms
constexpr double kLargest = 1e15;
constexpr std::size_t kMostVariables = 10'000;
constexpr const char* kOnlineText = "online";
constexpr const char* kOfflineText = "offline";

bool HasControls(std::string_view text) {
  constexpr char kDelete = '\x7F';
  for (const char character : text)
    if ((character >= 0 && character < ' ') || character == kDelete) return true;
  return false;
}

// A topic that messages are published to: one, and so without wildcards.
std::string ReadTopic(ZRDriverSettings& settings, std::string_view key) {
  constexpr std::size_t kMostBytes = 65'535;
  std::string topic = settings.RequiredText(key);
  if (topic.size() > kMostBytes || HasControls(topic)) {
    settings.Error(key, "must be a topic of at most 65535 bytes without controls");
  } else if (topic.find_first_of("+#") != std::string::npos) {
    settings.Error(
        key,
        "must be one topic: with \"+\" or \"#\" messages of several ones would overwrite "
        "each other");
  } else if (topic.starts_with("$share/")) {
    settings.Error(key, "can't be a shared subscription: messages don't have its name");
  }
  return topic;
}

// A file below the site, or anywhere with an absolute path.
std::string ReadFile(ZRDriverSettings& settings, std::string_view key) {
  const std::string file = settings.Text(key, "");
  if (file.empty()) return {};
  const ZRString site = Utf16ToUtf8(ZRTessalySetup::Get().SitePath().View());
  const std::filesystem::path named(file);
  std::string reason;
  std::string path = PathBelowSite(site.Text(), file, named.is_absolute(), reason);
  std::error_code error;
  if (path.empty()) {
    settings.Error(key, named.is_absolute() ? reason : "must be a file below the site's folder");
  } else if (!std::filesystem::exists(path, error)) {
    settings.Warning(key, "names a file that isn't there");
  }
  return path;
}

void ReadTls(ZRDriverSettings& settings, ZRMqttSettings& broker) {
  broker.tls = settings.Flag("tls", false);
  if (!broker.tls) {
    for (const std::string_view key : {"ca", "certificate", "key"})
      if (settings.Has(key)) settings.Error(key, "is of no use without \"tls\"");
    return;
  }
  broker.ca = ReadFile(settings, "ca");
  broker.certificate = ReadFile(settings, "certificate");
  broker.key = ReadFile(settings, "key");
  if (settings.Has("certificate") != settings.Has("key")) {
    settings.Error(settings.Has("key") ? "certificate" : "key",
                   "must be given too: a certificate and its key belong together");
  }
}

// A name that no other client of the broker has.
std::string OwnClientId() {
  uuid id;
  NewGUID(&id);
  return "tessaly-" + std::string(Utf16ToUtf8(id.toWString().View()).View());
}

std::string ReadClientId(ZRDriverSettings& settings) {
  constexpr std::size_t kMostBytes = 100;
  if (!settings.Has("client")) return OwnClientId();
  std::string id = settings.RequiredText("client");
  if (id.size() > kMostBytes || HasControls(id))
    settings.Error("client", "must have 1 to 100 bytes without controls");
  return id;
}

void ReadStatus(ZRDriverSettings& settings, ZRMqttSettings& broker) {
  if (!settings.Has("status")) return;
  const std::string topic = ReadTopic(settings, "status");
  broker.birth = ZRMqttMessage{topic, kOnlineText, 1, true};
  broker.will = ZRMqttMessage{topic, kOfflineText, 1, true};
}

ZRMqttSettings ReadBroker(ZRDriverSettings& settings, const ZRDriverPasswords& passwords) {
  ZRMqttSettings broker;
  broker.host = settings.RequiredText("host");
  if (!broker.host.empty() && !IsPeer(broker.host, 1))
    settings.Error("host", "must be a host's name or address");
  ReadTls(settings, broker);
  broker.port = settings.Integer(
      "port", broker.tls ? ZRMqttSettings::kTlsPort : ZRMqttSettings::kPlainPort, 1, kMostPort);
  broker.clientId = ReadClientId(settings);
  broker.user = settings.Text("user", "");
  if (settings.Has("password")) {
    settings.Error(
        "password",
        "doesn't belong here: it stands in drivers.toml, which its owner alone may read");
  }
  const auto password = passwords.find(settings.Text("name", ""));
  if (password != passwords.end()) {
    broker.password = password->second;
    if (broker.user.empty()) settings.Error("user", "is missing, and drivers.toml has a password");
  }
  ReadStatus(settings, broker);
  // The driver says itself what is too large for it, and what is forced isn't sent late.
  broker.mostBytes = std::numeric_limits<std::size_t>::max();
  broker.outlasts = false;
  return broker;
}

void ReadWords(ZRDriverSettings& settings, ZRMqttVariable& variable) {
  ZRMqttReading& reading = variable.reading;
  reading.on = settings.Texts("on");
  reading.off = settings.Texts("off");
  variable.hasOwnWords = !reading.on.empty();
  if (reading.on.empty() != reading.off.empty())
    return settings.Error(reading.on.empty() ? "on" : "off", "must be given too");
  if (reading.on.empty()) {
    reading.on = {"ON", "on", "true", "1"};
    reading.off = {"OFF", "off", "false", "0"};
  }
  for (const std::vector<std::string>* const words : {&reading.on, &reading.off}) {
    for (const std::string& word : *words) {
      const bool isBad = word.empty() || word.size() > ZRLiveValue::kMaximumText ||
                         HasControls(word) || word.front() == ' ' || word.back() == ' ';
      if (isBad)
        settings.Error(words == &reading.on ? "on" : "off", "has a word that can't be one");
    }
  }
  for (const std::string& word : reading.on) {
    for (const std::string& other : reading.off)
      if (word == other) settings.Error("off", "has a word of \"on\"");
  }
}

void ReadPayload(ZRDriverSettings& settings, ZRMqttVariable& variable) {
  ZRMqttReading& reading = variable.reading;
  const std::string type = settings.Text("type", "number");
  if (settings.Has("pointer")) {
    reading.pointer = ParseJsonPointer(settings.Text("pointer", ""));
    if (!reading.pointer) {
      settings.Error("pointer",
                     "must be a JSON pointer such as \"/rooms/0/temperature\", with \"~1\" for a "
                     "\"/\" in a name and \"~0\" for a \"~\"");
    }
    reading.isOptional = settings.Flag("optional", false);
  }
  if (type == "number") {
    reading.scale = settings.Number("scale", 1.0, -kLargest, kLargest);
    reading.offset = settings.Number("offset", 0.0, -kLargest, kLargest);
    if (reading.scale == 0.0) settings.Error("scale", "must not be 0");
  } else if (type == "switch") {
    reading.type = tagType::kSwitch;
    ReadWords(settings, variable);
  } else if (type == "text") {
    reading.type = tagType::kText;
  } else {
    settings.Error("type", "must be \"number\", \"switch\" or \"text\", not \"" + type + "\"");
  }
}

std::optional<ZRMqttCommand> ReadCommand(ZRDriverSettings& settings, tagType type) {
  if (!settings.Has("command_topic")) return std::nullopt;
  ZRMqttCommand command;
  command.topic = ReadTopic(settings, "command_topic");
  command.qos = settings.Integer("command_qos", command.qos, 0, 1);
  command.retain = settings.Flag("command_retain", false);
  command.form = settings.Text("command", "");
  if (!command.form.empty() && !IsCommandForm(command.form)) {
    settings.Error("command",
                   "must hold VALUE; if it begins with \"{\" or \"[\" it must be JSON, with VALUE "
                   "as a whole number, word or text of it");
  }
  if (type != tagType::kNumber) return command;
  command.least = settings.Number("least", command.least, command.least, command.most);
  command.most = settings.Number("most", command.most, command.least, command.most);
  return command;
}

ZRMqttVariable ReadVariable(ZRDriverSettings& settings) {
  ZRMqttVariable variable;
  const std::string name = settings.Name("name");
  if (name == "ONLINE" || name == "ERRORS")
    settings.Error("name", "can't be \"" + name + "\": the driver has a variable of its own so");
  variable.name = Utf8ToUtf16(name);
  variable.topic = ReadTopic(settings, "topic");
  ReadPayload(settings, variable);
  variable.mostAge = static_cast<std::uint32_t>(
      std::ceil(kSecond * settings.Number("max_age_s", 0.0, 0.0, kMostAge)));
  variable.takesRetained = settings.Flag("retained", true);
  variable.measure = settings.Text("measure", "");
  variable.command = ReadCommand(settings, variable.reading.type);
  return variable;
}

std::vector<ZRMqttVariable> ReadVariables(ZRDriverSettings& driver,
                                          std::vector<ZRSettingProblem>& problems, bool& good) {
  std::vector<ZRMqttVariable> variables;
  std::set<std::string, std::less<>> names;
  const auto tables = driver.Tables("variable");
  for (const XmlDocument::XmlNode* const table : tables) {
    const std::string_view name = table->ValueUtf8("name");
    std::string subject = driver.Subject() + ", variable";
    if (!name.empty()) subject.append(" \"").append(name).append("\"");
    ZRDriverSettings settings(*table, std::move(subject), problems);
    variables.push_back(ReadVariable(settings));
    if (!names.emplace(name).second) settings.Error("name", "stands twice");
    if (!settings.HasErrors()) settings.WarnOfUnknownKeys();
    good = good && !settings.HasErrors();
  }
  if (tables.empty() || tables.size() > kMostVariables) {
    driver.Error("variable",
                 "must stand from once to " + std::to_string(kMostVariables) + " times");
  }
  return variables;
}

}  // namespace

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeMqtt(ZRDriverSettings& settings,
                                                    std::vector<ZRSettingProblem>& problems,
                                                    const ZRDriverPasswords& passwords) {
  ZRWString id;
  ZRWString name;
  bool good = ReadIdentity(settings, id, name);
  ZRMqttDriverSettings mqtt;
  mqtt.broker = ReadBroker(settings, passwords);
  mqtt.qos = settings.Integer("qos", mqtt.qos, 0, 1);
  mqtt.grace = static_cast<std::uint32_t>(
      kSecond * settings.Number("grace_s", mqtt.grace / kSecond, 0.0, kMostGrace));
  mqtt.variables = ReadVariables(settings, problems, good);
  if (!good || settings.HasErrors()) return nullptr;
  return std::make_unique<ZRMqttDriver>(id, name, std::move(mqtt));
}

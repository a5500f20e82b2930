#include "tessaly/zrsitebus.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/messaging/zrmessaging.h"
#include "host/messaging/zrmqtttransport.h"
#include "host/messaging/zruuidtext.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrengineid.h"
#include "tessaly/zrsecretsettings.h"

namespace {

using Kind = ZRFinding::tagKind;

std::string Plain(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}

std::string ReadPassword(const ZRTessalySetup& setup, ZRFindings& findings) {
  ZRString password;
  ReadSecretSettings(setup, kBusFile, findings,
                     [&password](const ZRSettingNode& root, ZRSettingReport& report) {
                       ZRSettingsTable file(&root, "", report);
                       file.Text("password", password);
                       file.WarnOfUnknownKeys();
                     });
  return std::string(password.View());
}

ZRMqttTransportSettings MqttSettings(const ZRTessalySetup& setup, const uuid& engine) {
  const ZRBusSettings& given = setup.Bus();
  ZRMqttTransportSettings made;
  made.engine = engine;
  made.siteName = Plain(setup.ProgramName());
  made.prefix = given.prefix.View();
  made.discovery = given.discovery;
  made.discoveryPrefix = given.discoveryPrefix.View();
  made.qos = given.qos;
  ZRMqttSettings& broker = made.broker;
  broker.host = given.host.View();
  broker.port = given.port != 0 ? given.port
                : given.tls     ? ZRMqttSettings::kTlsPort
                                : ZRMqttSettings::kPlainPort;
  broker.clientId = given.clientId.View();
  if (broker.clientId.empty()) broker.clientId = "tessaly-" + UuidText(engine);
  broker.user = given.user.View();
  broker.tls = given.tls;
  broker.ca = Plain(given.ca);
  broker.certificate = Plain(given.certificate);
  broker.key = Plain(given.key);
  broker.mostWaiting = static_cast<std::size_t>(given.queue);
  return made;
}

void AddDropped(ZRFindings& findings, const std::string& file, const std::string& why) {
  findings.push_back({Kind::kDropped, file, 0, 0, "there is no event bus: " + why});
}

}  // namespace

void CheckBus(const ZRTessalySetup& setup, ZRFindings& findings) {
  if (!setup.Bus().host.IsEmpty()) (void)ReadPassword(setup, findings);
}

void ZRSiteBus::Begin(const ZRTessalySetup& setup, const std::string& siteFolder,
                      ZRFindings& findings) {
  if (setup.Bus().host.IsEmpty()) return;
  std::string reason;
  const uuid engine = EngineIdOf(siteFolder, reason);
  if (engine == uuid::null) return AddDropped(findings, kEngineIdFile, reason);
  ZRFindings said;  // by the look at the documents
  ZRMqttTransportSettings settings = MqttSettings(setup, engine);
  settings.broker.password = ReadPassword(setup, said);
  EngineCreationPublisherManager::SetEngineUuid(std::wstring(engine.toWString().View()));
  bus = std::make_unique<ZREventBus>(ZREventBusSettings{engine},
                                     std::make_unique<ZRMqttTransport>(std::move(settings)));
  if (bus->Begin()) return;
  bus.reset();
  AddDropped(findings, ZRTessalySetup::kFileName, "the system gives no thread");
}

void ZRSiteBus::Open() {
  if (bus != nullptr && !bus->Open())
    logger(kLogInvariant, L"there is no event bus: the system gives no thread");
}

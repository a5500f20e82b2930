#include "tessaly/zrsitebus.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/messaging/zrkafkatransport.h"
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

// Of a broker of either kind.
template <typename Settings>
void FillBroker(const ZRBusSettings& given, const uuid& engine, const std::string& password,
                Settings& broker) {
  broker.port = given.port != 0 ? given.port
                : given.tls     ? Settings::kTlsPort
                                : Settings::kPlainPort;
  broker.clientId = given.clientId.View();
  if (broker.clientId.empty()) broker.clientId = "tessaly-" + UuidText(engine);
  broker.user = given.user.View();
  broker.password = password;
  broker.tls = given.tls;
  broker.ca = Plain(given.ca);
  broker.certificate = Plain(given.certificate);
  broker.key = Plain(given.key);
  broker.mostWaiting = static_cast<std::size_t>(given.queue);
}

std::unique_ptr<ZRBusTransport> MakeMqtt(const ZRTessalySetup& setup, const uuid& engine,
                                         const std::string& password) {
  const ZRBusSettings& given = setup.Bus();
  ZRMqttTransportSettings made;
  made.engine = engine;
  made.siteName = Plain(setup.ProgramName());
  made.version = ZR_VERSION;
  made.prefix = given.prefix.View();
  made.discovery = given.discovery;
  made.discoveryPrefix = given.discoveryPrefix.View();
  made.qos = given.qos;
  made.broker.host = given.host.View();
  FillBroker(given, engine, password, made.broker);
  return std::make_unique<ZRMqttTransport>(std::move(made));
}

std::unique_ptr<ZRBusTransport> MakeKafka(const ZRBusSettings& given, const uuid& engine,
                                          const std::string& password) {
  ZRKafkaTransportSettings made;
  made.engine = engine;
  made.prefix = given.prefix.View();
  made.broker.hosts.emplace_back(given.host.View());
  for (const ZRString& host : given.further)
    made.broker.hosts.emplace_back(host.View());
  made.broker.mechanism = given.mechanism.View();
  made.broker.compression = given.compression.View();
  FillBroker(given, engine, password, made.broker);
  return std::make_unique<ZRKafkaTransport>(std::move(made));
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
  const std::string password = ReadPassword(setup, said);
  EngineCreationPublisherManager::SetEngineUuid(std::wstring(engine.toWString().View()));
  const bool isKafka = setup.Bus().kind == "kafka";
  bus = std::make_unique<ZREventBus>(
      ZREventBusSettings{engine},
      isKafka ? MakeKafka(setup.Bus(), engine, password) : MakeMqtt(setup, engine, password));
  if (bus->Begin()) return;
  bus.reset();
  AddDropped(findings, ZRTessalySetup::kFileName, "the system gives no thread");
}

void ZRSiteBus::Open() {
  if (bus != nullptr && !bus->Open())
    logger(kLogInvariant, L"there is no event bus: the system gives no thread");
}

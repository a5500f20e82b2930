#include "tessaly/zrsiteweb.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/remote/zrdigestauthenticator.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrchainservices.h"
#include "tessaly/zrdriverservices.h"
#include "tessaly/zreventselection.h"
#include "tessaly/zropenfiles.h"
#include "tessaly/zrservices.h"

namespace {

// Besides connections and the files of large answers, which are as many again.
constexpr std::uint64_t kOtherFiles = 2048;

std::string Narrow(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}

// An address as a client on this machine writes it.
std::string UrlHost(const std::string& address) {
  if (address == "0.0.0.0" || address == "::") return "127.0.0.1";
  return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

void MakeRoomForConnections(unsigned int connections) {
  const std::uint64_t wanted = 2 * std::uint64_t{connections} + kOtherFiles;
  const std::uint64_t allowed = AllowOpenFiles(wanted);
  if (allowed >= wanted) return;
  logger(kLogConfiguration, L"the system lets this process open %s files: %s would be enough",
         std::to_string(allowed).c_str(), std::to_string(wanted).c_str());
}

}  // namespace

bool MakeWebSettings(const ZRTessalySetup& setup, const std::string& address, int port,
                     ZRWebServerSettings& settings, std::string& reason) {
  settings = {};
  settings.address = address;
  settings.port = static_cast<std::uint16_t>(port >= 0 ? port : setup.HttpServerPort());
  for (const ZRString& name : setup.HttpNames())
    settings.names.emplace_back(name.View());
  if (setup.HttpCertificate().IsEmpty()) return true;
  return ReadTlsIdentity(Narrow(setup.HttpCertificate()), Narrow(setup.HttpKey()), settings.tls,
                         reason);
}

void CheckWeb(const ZRTessalySetup& setup, ZRFindings& findings) {
  ZRWebServerSettings settings;
  std::string reason;
  if (MakeWebSettings(setup, std::string(setup.HttpAddress().View()), -1, settings, reason)) return;
  findings.push_back({ZRFinding::tagKind::kBroken, ZRTessalySetup::kFileName, 0, 0, reason});
}

ZRSiteWeb::ZRSiteWeb(ZREventServer& engine, const ZRPasswords& usersPasswords)
    : passwords(usersPasswords) {
  BindServices(web, engine);
  BindChain(web, engine, chainDoor);
  BindDrivers(web, chainDoor);
  BindSelection(web, chainDoor);
  BindHealth(web, readiness);
  web.OnLoginNote(
      [](std::string_view note) { logger(kLogNotice, L"login: %s", std::string(note).c_str()); });
}

bool ZRSiteWeb::Start(const ZRTessalySetup& setup, const std::string& address, int port,
                      std::string& reason) {
  ZRWebServerSettings wanted;
  if (!MakeWebSettings(setup, address, port, wanted, reason)) return false;
  MakeRoomForConnections(wanted.connections);
  if (!Listen(wanted, setup.HttpMd5(), reason)) return false;
  settings = std::move(wanted);
  return true;
}

// While the web server doesn't run.
bool ZRSiteWeb::Listen(const ZRWebServerSettings& wanted, bool withMd5, std::string& reason) {
  ZRDigestSettings digest;
  digest.offersMd5 = offersMd5 = withMd5;
  authenticator = std::make_unique<ZRDigestAuthenticator>(passwords, digest);
  web.Authenticate(authenticator.get());
  ZRString why;
  if (web.Start(wanted, why)) return true;
  reason = why.View();
  return false;
}

bool ZRSiteWeb::Renew(const ZRTessalySetup& setup, const std::string& address, int port) {
  ZRWebServerSettings wanted;
  std::string reason;
  if (!MakeWebSettings(setup, address, port, wanted, reason)) {
    logger(kLogConfiguration, L"the web server stays as it is: %s", reason.c_str());
    return true;
  }
  if (wanted == settings && setup.HttpMd5() == offersMd5) return true;
  ZRWebServerSettings before = std::exchange(settings, wanted);
  const bool offeredMd5 = offersMd5;
  // Whoever knows a port that the system chose goes on with it.
  if (before.port == 0) before.port = web.Port();
  if (wanted.port == 0) wanted.port = before.port;
  web.Stop();
  if (Listen(wanted, setup.HttpMd5(), reason)) {
    logger(kLogNotice, L"the web server has new settings: %s", Url().c_str());
    return true;
  }
  logger(kLogConfiguration, L"the web server stays as it was: %s", reason.c_str());
  settings = before;
  if (Listen(before, offeredMd5, reason)) return true;
  logger(kLogInvariant, L"the web server can't start again: %s", reason.c_str());
  return false;
}

void ZRSiteWeb::Stop() {
  readiness.Set(ZRReadiness::tagState::kStopping);
  web.Stop();
}

std::string ZRSiteWeb::Url() const {
  if (web.Port() == 0) return "";
  const std::string scheme = settings.tls.certificate.empty() ? "http://" : "https://";
  return scheme + UrlHost(settings.address) + ":" + std::to_string(web.Port());
}

#include <utility>

#include "host/drivers/zrdriverfactory.h"
#include "host/drivers/zrenginedriver.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kMostPort = 65535;

bool IsLoopback(const std::string& host) {
  return host == "localhost" || host == "::1" || host.starts_with("127.");
}

std::string ReadHost(ZRDriverSettings& settings, std::string_view key, const std::string& host) {
  if (!host.empty() && !IsPeer(host, 1)) settings.Error(key, "must be a host's name or address");
  return host;
}

// Where the remote engine puts its documents: what the web server listens on, if that is one
// address.
std::string ReplyHost(const std::string& remoteHost) {
  const std::string own(ZRTessalySetup::Get().HttpAddress().View());
  if (IsLoopback(remoteHost)) return "127.0.0.1";
  return own == "0.0.0.0" || own == "::" || IsLoopback(own) ? "" : own;
}

}  // namespace

std::unique_ptr<ZRDriver> ZRDriverFactory::MakeEngine(ZRDriverSettings& settings) {
  ZRWString id;
  ZRWString name;
  (void)ReadIdentity(settings, id, name);
  const std::uint32_t period = ReadPeriod(settings, ZREngineDriver::kDefaultPeriod);
  ZRRemoteEngine remote;
  remote.host = ReadHost(settings, "host", settings.RequiredText("host"));
  remote.port = settings.Integer("port", ZRTessalySetup::kDefaultHttpPort, 1, kMostPort);
  remote.replyHost =
      ReadHost(settings, "reply_host", settings.Text("reply_host", ReplyHost(remote.host)));
  if (remote.replyHost.empty()) {
    settings.Error("reply_host",
                   "must say how the remote engine reaches this machine: http.address doesn't");
  }
  const int ownPort = ZRTessalySetup::Get().HttpServerPort();
  remote.replyPort = settings.Integer("reply_port", ownPort, 0, kMostPort);
  if (remote.replyPort == 0)
    settings.Error("reply_port", "must be given: http.port is any free one");
  remote.actived = settings.Flag("active", true);
  remote.notified = settings.Flag("notified", true);
  if (settings.HasErrors()) return nullptr;
  return std::make_unique<ZREngineDriver>(id, name, period, std::move(remote));
}

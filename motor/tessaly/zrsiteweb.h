// The web server of a site: its settings, its paths, and what it tells of the site's state.
#pragma once

#include <memory>
#include <string>

#include "host/remote/zrpasswords.h"
#include "host/remote/zrwebserver.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrchaindoor.h"
#include "tessaly/zrfinding.h"
#include "tessaly/zrreadiness.h"

class ZREventServer;

// Fills `settings` for a web server at `address`. `port` takes the place of the settings' own,
// unless it is negative. False with a reason: certificate or key can't be used.
[[nodiscard]] bool MakeWebSettings(const ZRTessalySetup& setup, const std::string& address,
                                   int port, ZRWebServerSettings& settings, std::string& reason);

// Says, as kBroken, what would keep a web server of these settings from its start.
void CheckWeb(const ZRTessalySetup& setup, ZRFindings& findings);

// Threads   the host's.
// Owns      the web server and what asks its users who they are. It is stopped with the object.
class ZRSiteWeb {
 public:
  // Both outlive it.
  ZRSiteWeb(ZREventServer& engine, const ZRPasswords& usersPasswords);

  // False with a reason if it can't listen. `address` and `port` as above.
  [[nodiscard]] bool Start(const ZRTessalySetup& setup, const std::string& address, int port,
                           std::string& reason);
  // At a reload: starts the web server anew if anything of its settings has changed, the content
  // of the certificate included. What can't be taken over is said in the log, and the server goes
  // on as it was. False if it can't go on either.
  [[nodiscard]] bool Renew(const ZRTessalySetup& setup, const std::string& address, int port);
  void Stop();

  // What /readyz says.
  [[nodiscard]] ZRReadiness& Readiness() { return readiness; }
  // For the documents of other engines; shut until the engine works, and while it is stopped.
  [[nodiscard]] ZRChainDoor& ChainDoor() { return chainDoor; }
  // Where it can be reached from this machine: "http://127.0.0.1:8480". Empty while it doesn't run.
  [[nodiscard]] int Port() const { return web.Port(); }  // while it listens; else 0
  [[nodiscard]] std::string Url() const;

 private:
  [[nodiscard]] bool Listen(const ZRWebServerSettings& wanted, bool withMd5, std::string& reason);

  const ZRPasswords& passwords;
  ZRReadiness readiness;
  ZRChainDoor chainDoor;
  std::unique_ptr<ZRAuthenticator> authenticator;  // of the server at work
  ZRWebServer web;
  ZRWebServerSettings settings;  // in force
  bool offersMd5 = false;        // the same
};

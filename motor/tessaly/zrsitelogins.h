// The users who log in at a site.
#pragma once

#include <memory>
#include <string>

#include "host/remote/zrpasswords.h"
#include "host/support/zrtessalysetup.h"
#include "host/user/zrloginsecurity.h"
#include "host/user/zrloginsfile.h"
#include "tessaly/zrfinding.h"

// Reads the users of the configuration folder. What is wrong is kBroken; what is odd, and what
// can't be meant so, is kHint.
[[nodiscard]] bool LoadLogins(const ZRTessalySetup& setup, ZRLogins& logins, ZRFindings& findings);

// Where the web server may listen: on the address of the settings, but on 127.0.0.1 in place of
// one that others can reach as long as nobody needs to log in.
[[nodiscard]] std::string AddressToListenOn(const ZRTessalySetup& setup, bool hasUsers);

// Puts the users of a site into force: the security manager and the access rule are its own for as
// long as it lives. Until the first Load nobody needs to log in.
//
// Threads   the host's; passwords and rights are asked for by any.
class ZRSiteLogins {
 public:
  ZRSiteLogins();
  ~ZRSiteLogins();
  ZRSiteLogins(const ZRSiteLogins&) = delete;
  ZRSiteLogins& operator=(const ZRSiteLogins&) = delete;

  // Takes over the users of the configuration folder. False, with findings and nothing changed, if
  // their file can't be used. It adds no finding otherwise: CheckLogins tells those.
  [[nodiscard]] bool Load(const ZRTessalySetup& setup, ZRFindings& findings);
  // Takes them over if their file has changed since, and says so in the log. Quick if it hasn't.
  void Look();

  // True from the first user on, as long as this lives.
  [[nodiscard]] bool HasUsers() const { return security.Enabled(); }
  // Says in the log how many may log in, and what it means if nobody needs to.
  void SayWhoMayLogIn() const;

  // What the web server asks. Lives as long as this.
  [[nodiscard]] const ZRPasswords& Passwords() const;

 private:
  class CPasswords;

  [[nodiscard]] bool Take(const ZRTessalySetup& setup, ZRFindings& findings);

  ZRLoginSecurity security;
  std::unique_ptr<CPasswords> passwords;
  std::unique_ptr<ZRLoginsFile> file;  // null before a Load
  ZRSecretFile::tagStamp stamp;        // of what is in force, or was refused
};

#include "tessaly/zrlogincheck.h"

#include <optional>

#include "tessaly/zrelementcheck.h"
#include "tessaly/zrresourcenames.h"
#include "tessaly/zrsitecheck.h"
#include "tessaly/zrsitelogins.h"

namespace {

using Kind = ZRFinding::tagKind;

class CLoginCheck {
 public:
  CLoginCheck(const ZRTessalySetup& ofSite, const ZRLogins& toCheck, ZRFindings& toFill)
      : setup(ofSite),
        logins(toCheck),
        file(ShownFile(setup, ZRLoginsFile::kFileName)),
        findings(toFill) {}

  void Check() {
    for (const auto& [name, grants] : logins.roles)
      CheckGrants("role " + Quoted(name), grants);
    for (const auto& [name, login] : logins.users)
      CheckUser("user " + Quoted(name), login);
  }

 private:
  void Say(const std::string& text) { findings.push_back({Kind::kHint, file, 0, 0, text}); }

  void CheckUser(const std::string& who, const ZRLogin& login) {
    if (login.sha256.empty() && (login.md5.empty() || !setup.HttpMd5()))
      Say(who + " has no password and can't log in");
    if (setup.HttpMd5() && login.md5.empty() && !login.sha256.empty())
      Say(who + " has no MD5 digest: set the password anew to let old clients log in");
    if (!setup.HttpMd5() && !login.md5.empty())
      Say(who + " has an MD5 digest that isn't used: set the password anew to remove it");
    for (const std::string& role : login.roles)
      if (!logins.roles.contains(role)) Say(who + ": there is no role " + Quoted(role));
    CheckGrants(who, login.grants);
  }

  void CheckGrants(const std::string& who, const ZRGrants& grants) {
    for (const auto& [type, ids] : grants.rights)
      for (const std::string& id : ids)
        if (id != ZRGrants::kAll) CheckResource(who, *ResourceKind(type), id);
  }

  void CheckResource(const std::string& who, const ZRResourceKind& kind, const std::string& id) {
    if (!names) names.emplace(setup);
    std::string ignored;
    if (names->NameOf(kind, id, ignored)) return;
    Say(who + " has the right " + Quoted(kind.word) + ", but " + MissingText(kind, id));
  }

  const ZRTessalySetup& setup;
  const ZRLogins& logins;
  const std::string file;
  ZRFindings& findings;
  std::optional<ZRResourceNames> names;  // read when the first one is asked for
};

}  // namespace

void CheckLogins(const ZRTessalySetup& setup, ZRFindings& findings) {
  ZRLogins logins;
  if (!LoadLogins(setup, logins, findings)) return;
  CLoginCheck(setup, logins, findings).Check();
  const std::string address = AddressToListenOn(setup, !logins.users.empty());
  if (setup.HttpAddress() == address.c_str()) return;
  findings.push_back({Kind::kHint, ZRTessalySetup::kFileName, 0, 0,
                      "http.address isn't used: nobody needs to log in, so the web server listens "
                      "on " +
                          address + " only"});
}

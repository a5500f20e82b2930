#include "tessaly/zrlogincheck.h"

#include "tessaly/zrelementcheck.h"
#include "tessaly/zrresourcenames.h"
#include "tessaly/zrsitecheck.h"
#include "tessaly/zrsitelogins.h"

namespace {

using Kind = ZRFinding::tagKind;

// Puts hints about the logins of a site into a list.
class CHints {
 public:
  CHints(const ZRTessalySetup& setup, ZRFindings& toFill)
      : file(ShownFile(setup, ZRLoginsFile::kFileName)), findings(toFill) {}
  void Say(const std::string& text) { findings.push_back({Kind::kHint, file, 0, 0, text}); }

 private:
  const std::string file;
  ZRFindings& findings;
};

std::string UserText(const std::string& name) {
  return "user " + Quoted(name);
}

void CheckPassword(const std::string& who, const ZRLogin& login, bool usesMd5, CHints& hints) {
  if (login.sha256.empty() && (login.md5.empty() || !usesMd5))
    hints.Say(who + " has no password and can't log in");
  if (usesMd5 && login.md5.empty() && !login.sha256.empty())
    hints.Say(who + " has no MD5 digest: set the password anew to let old clients log in");
  if (!usesMd5 && !login.md5.empty())
    hints.Say(who + " has an MD5 digest that isn't used: set the password anew to remove it");
}

void CheckGrants(const std::string& who, const ZRGrants& grants, const ZRResourceNames& names,
                 CHints& hints) {
  std::string ignored;
  for (const auto& [type, ids] : grants.rights) {
    const ZRResourceKind& kind = *ResourceKind(type);
    for (const std::string& id : ids) {
      if (id == ZRGrants::kAll || names.NameOf(kind, id, ignored)) continue;
      hints.Say(who + " has the right " + Quoted(kind.word) + ", but " + MissingText(kind, id));
    }
  }
}

}  // namespace

void CheckLogins(const ZRTessalySetup& setup, ZRFindings& findings) {
  ZRLogins logins;
  if (!LoadLogins(setup, logins, findings)) return;
  CHints hints(setup, findings);
  for (const auto& [name, login] : logins.users) {
    CheckPassword(UserText(name), login, setup.HttpMd5(), hints);
    for (const std::string& role : login.roles) {
      if (!logins.roles.contains(role))
        hints.Say(UserText(name) + ": there is no role " + Quoted(role));
    }
  }
  const std::string address = AddressToListenOn(setup, !logins.users.empty());
  if (setup.HttpAddress() == address.c_str()) return;
  findings.push_back({Kind::kHint, ZRTessalySetup::kFileName, 0, 0,
                      "http.address isn't used: nobody needs to log in, so the web server listens "
                      "on " +
                          address + " only"});
}

void CheckRights(const ZRTessalySetup& setup, const ZREventSystem& system, ZRFindings& findings) {
  ZRLogins logins;
  ZRFindings said;  // by the look at the documents
  if (!LoadLogins(setup, logins, said)) return;
  const ZRResourceNames names(system);
  CHints hints(setup, findings);
  for (const auto& [name, grants] : logins.roles)
    CheckGrants("role " + Quoted(name), grants, names, hints);
  for (const auto& [name, login] : logins.users)
    CheckGrants(UserText(name), login.grants, names, hints);
}

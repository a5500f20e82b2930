#include "tessaly/zrlogintable.h"

#include "tessaly/zrshowntext.h"

namespace {

std::string Resource(const ZRResourceKind& kind, const std::string& id,
                     const ZRResourceNames& names) {
  if (id == ZRGrants::kAll) return "all";
  std::string name;
  if (!names.NameOf(kind, id, name)) return ShownText(id) + " (isn't there)";
  return name == id ? ShownText(id) : ShownText(name) + " (" + ShownText(id) + ")";
}

std::string GrantLines(const ZRGrants& grants, const ZRResourceNames& names) {
  std::string lines = grants.administrator ? "  administrator\n" : "";
  for (const ZRResourceKind& kind : kResourceKinds) {
    const auto found = grants.rights.find(kind.type);
    if (found == grants.rights.end()) continue;
    for (const std::string& id : found->second)
      lines += "  " + std::string(kind.word) + ": " + Resource(kind, id, names) + "\n";
  }
  return lines;
}

}  // namespace

std::string LoginTable(const ZRLogins& logins, const ZRResourceNames& names) {
  std::string table;
  for (const auto& [name, login] : logins.users) {
    const bool hasPassword = !login.sha256.empty() || !login.md5.empty();
    table += "user " + ShownText(name) + (hasPassword ? "\n" : " (no password)\n");
    for (const std::string& role : login.roles) {
      const bool isThere = logins.roles.contains(role);
      table += "  role " + ShownText(role) + (isThere ? "\n" : " (isn't there)\n");
    }
    table += GrantLines(login.grants, names);
  }
  for (const auto& [name, grants] : logins.roles)
    table += "role " + ShownText(name) + "\n" + GrantLines(grants, names);
  return table;
}

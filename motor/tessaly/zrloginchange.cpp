#include "tessaly/zrloginchange.h"

#include "tessaly/zrelementcheck.h"

namespace {

using Deed = ZRUserWords::tagDeed;

ZRLoginAnswer Refused(const std::string& text) {
  return {false, false, text};
}

ZRLoginAnswer Unchanged(const std::string& text) {
  return {true, false, text};
}

ZRLoginAnswer Changed(const std::string& text) {
  return {true, true, text};
}

std::string NoUser(const std::string& name) {
  return "there is no user " + Quoted(name);
}

std::string NoRole(const std::string& name) {
  return "there is no role " + Quoted(name);
}

std::string Who(const ZRUserWords& words) {
  return (words.isRole ? "role " : "user ") + Quoted(words.name);
}

ZRLoginAnswer AddUser(const ZRUserWords& words, std::string_view password, bool withMd5,
                      ZRLogins& logins) {
  const auto [place, isNew] = logins.users.try_emplace(words.name);
  if (!isNew) return Refused("there is a user " + Quoted(words.name) + " already");
  place->second.grants.administrator = words.administrator;
  SetPassword(logins, words.name, password, withMd5);
  const bool isFirst = logins.users.size() == 1;
  return Changed(Who(words) + " is added" +
                 (isFirst ? "; from now on everybody has to log in" : ""));
}

ZRLoginAnswer NewPassword(const ZRUserWords& words, std::string_view password, bool withMd5,
                          ZRLogins& logins) {
  if (!logins.users.contains(words.name)) return Refused(NoUser(words.name));
  SetPassword(logins, words.name, password, withMd5);
  return Changed(Who(words) + " has a new password");
}

ZRLoginAnswer RemoveUser(const ZRUserWords& words, ZRLogins& logins) {
  if (logins.users.erase(words.name) == 0) return Refused(NoUser(words.name));
  return Changed(Who(words) + " is removed" +
                 (logins.users.empty() ? "; no user is left: after the next start of the site "
                                         "nobody needs to log in"
                                       : ""));
}

// A role goes from its users too, also one that was never defined.
ZRLoginAnswer RemoveRole(const ZRUserWords& words, ZRLogins& logins) {
  std::size_t found = logins.roles.erase(words.name);
  for (auto& [name, login] : logins.users)
    found += login.roles.erase(words.name);
  return found == 0 ? Refused(NoRole(words.name)) : Changed(Who(words) + " is removed");
}

// What the words are about. Null if there is no such user; a role is made if need be.
ZRGrants* GrantsOf(const ZRUserWords& words, ZRLogins& logins) {
  if (words.isRole) return &logins.roles[words.name];
  const auto found = logins.users.find(words.name);
  return found != logins.users.end() ? &found->second.grants : nullptr;
}

std::string RightText(const ZRUserWords& words) {
  return words.resource.empty() ? words.right : words.right + " on " + Quoted(words.resource);
}

ZRLoginAnswer GrantRight(const ZRUserWords& words, ZRLogins& logins) {
  const bool isNewRole = words.isRole && !logins.roles.contains(words.name);
  ZRGrants* const grants = GrantsOf(words, logins);
  if (grants == nullptr) return Refused(NoUser(words.name));
  const ZRResourceKind* const kind = ResourceKind(words.right);
  const bool isNew =
      kind == nullptr ? !grants->administrator : grants->Grant(kind->type, words.resource);
  if (kind == nullptr) grants->administrator = true;
  if (!isNew) return Unchanged(Who(words) + " has that right already: " + RightText(words));
  return Changed((isNewRole ? "new " : "") + Who(words) + " has the right " + RightText(words));
}

ZRLoginAnswer RevokeRight(const ZRUserWords& words, ZRLogins& logins) {
  if (words.isRole && !logins.roles.contains(words.name)) return Refused(NoRole(words.name));
  ZRGrants* const grants = GrantsOf(words, logins);
  if (grants == nullptr) return Refused(NoUser(words.name));
  const ZRResourceKind* const kind = ResourceKind(words.right);
  const bool hadIt =
      kind == nullptr ? grants->administrator : grants->Revoke(kind->type, words.resource);
  if (kind == nullptr) grants->administrator = false;
  if (!hadIt) return Refused(Who(words) + " wasn't given that right: " + RightText(words));
  return Changed(Who(words) + " no longer has the right " + RightText(words));
}

ZRLoginAnswer Join(const ZRUserWords& words, ZRLogins& logins) {
  const auto user = logins.users.find(words.name);
  if (user == logins.users.end()) return Refused(NoUser(words.name));
  if (!logins.roles.contains(words.role)) return Refused(NoRole(words.role));
  if (!user->second.roles.insert(words.role).second)
    return Unchanged(Who(words) + " has the role " + Quoted(words.role) + " already");
  if (user->second.roles.size() <= kMostRolesOfAUser)
    return Changed(Who(words) + " has the role " + Quoted(words.role));
  user->second.roles.erase(words.role);
  return Refused(Who(words) + " has " + std::to_string(kMostRolesOfAUser) + " roles, and no more");
}

ZRLoginAnswer Leave(const ZRUserWords& words, ZRLogins& logins) {
  const auto user = logins.users.find(words.name);
  if (user == logins.users.end()) return Refused(NoUser(words.name));
  if (user->second.roles.erase(words.role) == 0)
    return Refused(Who(words) + " doesn't have the role " + Quoted(words.role));
  return Changed(Who(words) + " no longer has the role " + Quoted(words.role));
}

}  // namespace

std::string WrongWithWords(const ZRUserWords& words) {
  if (words.deed == Deed::kList) return {};
  if (!IsLoginName(words.name)) return "the name " + std::string(kLoginNameRule);
  const bool hasRole = words.deed == Deed::kJoin || words.deed == Deed::kLeave;
  if (hasRole && !IsLoginName(words.role)) return "the role " + std::string(kLoginNameRule);
  return {};
}

ZRLoginAnswer ChangeLogins(const ZRUserWords& words, std::string_view password, bool withMd5,
                           ZRLogins& logins) {
  switch (words.deed) {
    case Deed::kAdd:
      return AddUser(words, password, withMd5, logins);
    case Deed::kPassword:
      return NewPassword(words, password, withMd5, logins);
    case Deed::kRemove:
      return words.isRole ? RemoveRole(words, logins) : RemoveUser(words, logins);
    case Deed::kGrant:
      return GrantRight(words, logins);
    case Deed::kRevoke:
      return RevokeRight(words, logins);
    case Deed::kJoin:
      return Join(words, logins);
    case Deed::kLeave:
      return Leave(words, logins);
    case Deed::kList:
      break;
  }
  return Unchanged("");
}

#include "host/user/zrlogintext.h"

#include <algorithm>
#include <utility>

#include "host/support/zrsettingstable.h"
#include "host/support/zrsettingstext.h"
#include "host/tools/zrmd5.h"
#include "host/tools/zrsha256.h"

namespace {

using tagKind = ZRSettingNode::tagKind;
using tagTables = std::vector<ZRSettingNode>;

constexpr std::size_t kSha256Digits = 2 * kSha256Bytes;
constexpr std::size_t kMd5Digits = 2 * kMd5Bytes;

// Reads the tables of the file into logins that were empty.
class CReader {
 public:
  CReader(ZRLogins& toFill, ZRSettingReport& toReport) : logins(toFill), report(toReport) {}

  void Read(const ZRSettingNode& root) {
    ZRSettingsTable file(&root, "", report);
    ZRString realm(std::string_view(logins.realm));
    file.Text("realm", realm, IsRealm, kRealmRule);
    logins.realm = realm.View();
    for (const ZRSettingNode& node : Tables(file, "role"))
      ReadRole(node);
    for (const ZRSettingNode& node : Tables(file, "user"))
      ReadUser(node);
    file.WarnOfUnknownKeys();
  }

 private:
  // The tables written as [[key]]; none, with a problem, for a key that is something else. `file`
  // remembers the key as it is given here.
  const tagTables& Tables(ZRSettingsTable& file, std::string_view key) {
    static const tagTables kNone;
    const ZRSettingNode* const node = file.Any(key);
    if (node == nullptr) return kNone;
    const auto isTable = [](const ZRSettingNode& entry) { return entry.kind == tagKind::kTable; };
    if (node->kind == tagKind::kArray &&
        std::all_of(node->children.begin(), node->children.end(), isTable)) {
      return node->children;
    }
    const std::string shown(key);
    report.Problem(shown + " must be written as [[" + shown + "]]", *node);
    return kNone;
  }

  void ReadRole(const ZRSettingNode& node) {
    ZRSettingsTable table(&node, "role.", report);
    const auto [place, isNew] = logins.roles.try_emplace(ReadName(table));
    if (!isNew) table.Problem("name", "is that of an earlier role");
    ReadGrants(table, place->second);
    table.WarnOfUnknownKeys();
  }

  void ReadUser(const ZRSettingNode& node) {
    ZRSettingsTable table(&node, "user.", report);
    const auto [place, isNew] = logins.users.try_emplace(ReadName(table));
    if (!isNew) table.Problem("name", "is that of an earlier user");
    ZRLogin& login = place->second;
    login.sha256 = ReadDigest(
        table, "sha256", [](std::string_view text) { return IsHexadecimal(text, kSha256Digits); },
        "must be 64 lower-case hexadecimal digits");
    login.md5 = ReadDigest(
        table, "md5", [](std::string_view text) { return IsHexadecimal(text, kMd5Digits); },
        "must be 32 lower-case hexadecimal digits");
    login.roles = ReadTexts(table, "roles", IsLoginName, "must hold names of roles");
    if (login.roles.size() > kMostRolesOfAUser)
      table.Problem("roles", "must have at most " + std::to_string(kMostRolesOfAUser) + " entries");
    ReadGrants(table, login.grants);
    table.WarnOfUnknownKeys();
  }

  static std::string ReadName(ZRSettingsTable& table) {
    ZRString name;
    table.Text("name", name);
    if (!IsLoginName(name.View())) table.Problem("name", kLoginNameRule);
    return std::string(name.View());
  }

  static std::string ReadDigest(ZRSettingsTable& table, std::string_view key,
                                bool (*isGood)(std::string_view), std::string_view rule) {
    ZRString digest;
    table.Text(key, digest, isGood, rule);
    return std::string(digest.View());
  }

  static void ReadGrants(ZRSettingsTable& table, ZRGrants& grants) {
    table.Flag("administrator", grants.administrator);
    for (const ZRResourceKind& kind : kResourceKinds) {
      std::set<std::string> ids = ReadTexts(table, kind.word, IsResourceId, kResourceIdRule);
      if (!ids.empty()) grants.rights.emplace(kind.type, std::move(ids));
    }
  }

  static std::set<std::string> ReadTexts(ZRSettingsTable& table, std::string_view key,
                                         bool (*isGood)(std::string_view), std::string_view rule) {
    std::vector<ZRString> texts;
    table.Texts(key, texts);
    std::set<std::string> all;
    for (const ZRString& text : texts)
      all.emplace(text.View());
    if (!std::all_of(all.begin(), all.end(), isGood)) table.Problem(key, rule);
    return all;
  }

  ZRLogins& logins;
  ZRSettingReport& report;
};

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') quoted += '\\';
    quoted += character;
  }
  return quoted + "\"";
}

std::string List(const std::set<std::string>& texts) {
  std::string list = "[";
  for (const std::string& text : texts)
    list += (list.size() == 1 ? "" : ", ") + Quoted(text);
  return list + "]";
}

void AddGrants(std::string& toml, const ZRGrants& grants) {
  if (grants.administrator) toml += "administrator = true\n";
  for (const ZRResourceKind& kind : kResourceKinds) {
    const auto found = grants.rights.find(kind.type);
    if (found == grants.rights.end() || found->second.empty()) continue;
    toml += std::string(kind.word) + " = " + List(found->second) + "\n";
  }
}

void AddUser(std::string& toml, const std::string& name, const ZRLogin& login) {
  toml += "\n[[user]]\nname = " + Quoted(name) + "\n";
  if (!login.sha256.empty()) toml += "sha256 = " + Quoted(login.sha256) + "\n";
  if (!login.md5.empty()) toml += "md5 = " + Quoted(login.md5) + "\n";
  if (!login.roles.empty()) toml += "roles = " + List(login.roles) + "\n";
  AddGrants(toml, login.grants);
}

}  // namespace

bool ReadLogins(std::string_view toml, ZRLogins& logins, std::vector<ZRSettingProblem>& problems,
                std::vector<ZRSettingProblem>& warnings) {
  logins = {};
  problems.clear();
  warnings.clear();
  ZRSettingNode root;
  ZRSettingProblem problem;
  if (!ParseSettings(toml, root, problem)) {
    problems.push_back(problem);
    return false;
  }
  ZRSettingReport report{problems, warnings};
  CReader(logins, report).Read(root);
  if (problems.empty()) return true;
  logins = {};
  return false;
}

std::string WriteLogins(const ZRLogins& logins) {
  std::string toml =
      "# Who may log in. Written by `tessaly user`; it holds secrets, so it is its owner's alone.\n"
      "realm = " +
      Quoted(logins.realm) + "\n";
  for (const auto& [name, grants] : logins.roles) {
    toml += "\n[[role]]\nname = " + Quoted(name) + "\n";
    AddGrants(toml, grants);
  }
  for (const auto& [name, login] : logins.users)
    AddUser(toml, name, login);
  return toml;
}

#include "host/user/zrsystemuserssupport.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "host/support/zrsettingstable.h"
#include "host/support/zrsettingstext.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"

namespace {

using tagKind = ZRSettingNode::tagKind;

std::vector<ZRWString> ReadTexts(ZRSettingsTable& table, std::string_view key) {
  std::vector<ZRString> texts;
  table.Texts(key, texts);
  std::vector<ZRWString> wide;
  for (const ZRString& text : texts) {
    if (text.IsEmpty()) table.Problem(key, "must not hold an empty text");
    wide.push_back(Utf8ToUtf16(text.View()));
  }
  return wide;
}

// True if there is no such file; then `reason` doesn't matter.
bool IsMissing(const ZRWString& file, ZRString& reason) {
  if (std::FILE* const open = widefopen(file.Text(), L"rb")) {
    (void)std::fclose(open);
    reason = "it is no file of at most 1 MiB that can be read";
    return false;
  }
  const int failure = errno;
  reason = "it can't be opened: ";
  reason += std::generic_category().message(failure).c_str();
  return failure == ENOENT;
}

}  // namespace

// Reads the tables of the file into users and lists that were empty.
class ZRSystemUsersSupport::CReader {
 public:
  CReader(ZRSystemUsersSupport& toFill, ZRSettingReport& toReport)
      : support(toFill), report(toReport) {}

  void Read(const ZRSettingNode& root) {
    ZRSettingsTable file(&root, "", report);
    for (const ZRSettingNode& node : Tables(file, "user"))
      ReadUser(node);
    for (const ZRSettingNode& node : Tables(file, "list"))
      ReadList(node);
    file.WarnOfUnknownKeys();
  }

 private:
  // The tables written as [[key]]; none, with a problem, for a key that is something else. `file`
  // remembers the key as it is given here.
  const std::vector<ZRSettingNode>& Tables(ZRSettingsTable& file, std::string_view key) {
    static const std::vector<ZRSettingNode> kNone;
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

  void ReadUser(const ZRSettingNode& node) {
    ZRSettingsTable table(&node, "user.", report);
    const auto [place, isNew] = support.users.try_emplace(ReadName(table));
    if (!isNew) table.Problem("name", "is that of an earlier user");
    place->second.mails = ReadTexts(table, "mail");
    place->second.phones = ReadTexts(table, "phone");
    table.WarnOfUnknownKeys();
  }

  void ReadList(const ZRSettingNode& node) {
    ZRSettingsTable table(&node, "list.", report);
    const auto [place, isNew] = support.lists.try_emplace(ReadName(table));
    if (!isNew) table.Problem("name", "is that of an earlier list");
    place->second.mails = ReadTexts(table, "mail");
    place->second.phones = ReadTexts(table, "phone");
    table.WarnOfUnknownKeys();
  }

  static ZRWString ReadName(ZRSettingsTable& table) {
    ZRString name;
    table.Text("name", name);
    if (name.IsEmpty()) table.Problem("name", "must be given");
    return Utf8ToUtf16(name.View());
  }

  ZRSystemUsersSupport& support;
  ZRSettingReport& report;
};

ZRSystemUsersSupport& ZRSystemUsersSupport::Get() {
  static ZRSystemUsersSupport support;
  return support;
}

bool ZRSystemUsersSupport::Load(const ZRWString& file, std::vector<ZRSettingProblem>& problems,
                                std::vector<ZRSettingProblem>& warnings) {
  ZRString content;
  ZRString reason;
  if (!ReadWholeFile(file, kMaximumSettingsSize, content) && !IsMissing(file, reason)) {
    warnings.clear();
    problems.assign(1, {reason, 0, 0});
    return false;
  }
  return LoadText(content.View(), problems, warnings);
}

bool ZRSystemUsersSupport::LoadText(std::string_view toml, std::vector<ZRSettingProblem>& problems,
                                    std::vector<ZRSettingProblem>& warnings) {
  problems.clear();
  warnings.clear();
  ZRSettingNode root;
  ZRSettingProblem problem;
  if (!ParseSettings(toml, root, problem)) {
    problems.push_back(problem);
    return false;
  }
  ZRSystemUsersSupport fresh;
  ZRSettingReport report{problems, warnings};
  CReader(fresh, report).Read(root);
  if (!problems.empty()) return false;
  *this = std::move(fresh);
  return true;
}

bool ZRSystemUsersSupport::getSystemUser(const ZRWString& name, ZRSystemUser** user) {
  const auto found = users.find(name);
  if (found == users.end()) return false;
  *user = &found->second;
  return true;
}

bool ZRSystemUsersSupport::getMailListMails(const ZRWString& name,
                                            std::vector<ZRWString>& mails) const {
  const auto found = lists.find(name);
  if (found == lists.end()) return false;
  mails = found->second.mails;
  return true;
}

bool ZRSystemUsersSupport::getPhoneListPhones(const ZRWString& name,
                                              std::vector<ZRWString>& phones) const {
  const auto found = lists.find(name);
  if (found == lists.end()) return false;
  phones = found->second.phones;
  return true;
}

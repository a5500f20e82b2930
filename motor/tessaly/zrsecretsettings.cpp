#include "tessaly/zrsecretsettings.h"

#include <string>
#include <vector>

#include "host/platform/zrsecretfile.h"
#include "host/support/zrsettingstext.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrsitecheck.h"

using Kind = ZRFinding::tagKind;

void ReadSecretSettings(const ZRTessalySetup& setup, const char* name, ZRFindings& findings,
                        const std::function<void(const ZRSettingNode&, ZRSettingReport&)>& read) {
  const std::string shown = ShownFile(setup, name);
  const ZRSecretFile file(std::string(Utf16ToUtf8(setup.CfgPath().View()).View()), name);
  std::string content;
  std::string reason;
  switch (file.Read(kMaximumSettingsSize, content, reason)) {
    case ZRSecretFile::tagAnswer::kMissing:
      return;
    case ZRSecretFile::tagAnswer::kRefused:
      findings.push_back({Kind::kBroken, shown, 0, 0, reason});
      return;
    case ZRSecretFile::tagAnswer::kDone:
      break;
  }
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  ZRSettingReport report{problems, warnings};
  ZRSettingNode root;
  ZRSettingProblem problem;
  if (ParseSettings(content, root, problem)) {
    read(root, report);
  } else {
    problems.push_back(problem);
  }
  const std::size_t first = findings.size();
  AddProblems(problems, Kind::kBroken, findings);
  AddProblems(warnings, Kind::kHint, findings);
  for (std::size_t index = first; index < findings.size(); ++index)
    findings[index].file = shown;
}

void ReadAccounts(const ZRSettingNode& root, ZRSettingReport& report,
                  const std::function<void(ZRSettingsTable&)>& read) {
  ZRSettingsTable file(&root, "", report);
  const ZRSettingNode* const list = file.Any("account");
  file.WarnOfUnknownKeys();
  if (list == nullptr) return;
  for (const ZRSettingNode& node : list->children) {
    if (list->kind != ZRSettingNode::tagKind::kArray ||
        node.kind != ZRSettingNode::tagKind::kTable) {
      report.Problem("account must be written as [[account]]", *list);
      return;
    }
    ZRSettingsTable account(&node, "account.", report);
    read(account);
    account.WarnOfUnknownKeys();
  }
}

std::string RequiredText(ZRSettingsTable& table, std::string_view key) {
  ZRString text;
  table.Text(key, text);
  if (text.IsEmpty()) table.Problem(key, "must be given");
  return std::string(text.View());
}

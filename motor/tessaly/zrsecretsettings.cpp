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

#include "tessaly/zrusers.h"

#include "host/tools/zrtext.h"
#include "tessaly/zrsitecheck.h"

void LoadUsers(const ZRTessalySetup& setup, ZRSystemUsersSupport& users, ZRFindings& findings) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  (void)users.Load(setup.CfgPath() + Utf8ToUtf16(ZRSystemUsersSupport::kFileName), problems,
                   warnings);
  const std::size_t first = findings.size();
  AddProblems(problems, ZRFinding::tagKind::kBroken, findings);
  AddProblems(warnings, ZRFinding::tagKind::kHint, findings);
  for (std::size_t index = first; index < findings.size(); ++index)
    findings[index].file = ShownFile(setup, ZRSystemUsersSupport::kFileName);
}

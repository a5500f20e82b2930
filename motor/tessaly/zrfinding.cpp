#include "tessaly/zrfinding.h"

#include <algorithm>
#include <cstdio>

#include "host/base/zrlogger.h"
#include "host/base/zrlogtext.h"
#include "host/tools/zrtext.h"

namespace {

const char* KindText(ZRFinding::tagKind kind) {
  switch (kind) {
    case ZRFinding::tagKind::kBroken:
      return "broken";
    case ZRFinding::tagKind::kDropped:
      return "dropped";
    case ZRFinding::tagKind::kChanged:
      return "changed";
    case ZRFinding::tagKind::kHint:
      return "hint";
  }
  return "";
}

bool IsHint(const ZRFinding& finding) {
  return finding.kind == ZRFinding::tagKind::kHint;
}

// Calls `show` with each line to be shown, and whether it is only a hint.
template <typename Show>
void ForEachShown(const ZRFindings& findings, Show show) {
  std::size_t shown = 0;
  for (const bool hints : {false, true}) {
    for (const ZRFinding& finding : findings) {
      if (IsHint(finding) == hints && shown++ < kMostShown) show(hints, FindingLine(finding));
    }
  }
  if (shown > kMostShown) show(false, "and " + std::to_string(shown - kMostShown) + " more");
}

}  // namespace

void AddProblems(const std::vector<ZRSettingProblem>& problems, ZRFinding::tagKind kind,
                 ZRFindings& findings) {
  for (const ZRSettingProblem& problem : problems) {
    findings.push_back({kind, ZRTessalySetup::kFileName, static_cast<std::uint64_t>(problem.line),
                        static_cast<std::uint64_t>(problem.column),
                        std::string(problem.text.View())});
  }
}

std::string FindingLine(const ZRFinding& finding) {
  std::string line = finding.file;
  if (finding.line != 0) line += ":" + std::to_string(finding.line);
  if (finding.column != 0) line += ":" + std::to_string(finding.column);
  line += std::string(": ") + KindText(finding.kind) + ": " + finding.text;
  return std::string(Utf16ToUtf8(EscapeLogText(Utf8ToUtf16(line)).View()).View());
}

bool HasKind(const ZRFindings& findings, ZRFinding::tagKind kind) {
  return std::any_of(findings.begin(), findings.end(),
                     [kind](const ZRFinding& finding) { return finding.kind == kind; });
}

void LogFindings(const ZRFindings& findings) {
  ForEachShown(findings, [](bool isHint, const std::string& line) {
    logger(isHint ? kLogDelivery : kLogConfiguration, L"%s", line.c_str());
  });
}

void PrintFindings(const ZRFindings& findings) {
  ForEachShown(findings, [](bool, const std::string& line) { std::printf("%s\n", line.c_str()); });
}

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

}  // namespace

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
  for (const ZRFinding& finding : findings) {
    const bool isHint = finding.kind == ZRFinding::tagKind::kHint;
    logger(isHint ? kLogDelivery : kLogConfiguration, L"%s", FindingLine(finding).c_str());
  }
}

void PrintFindings(const ZRFindings& findings) {
  for (const ZRFinding& finding : findings)
    std::printf("%s\n", FindingLine(finding).c_str());
}

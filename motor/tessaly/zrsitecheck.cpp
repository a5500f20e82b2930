#include "tessaly/zrsitecheck.h"

#include <string>

#include "host/support/zrloadenabledevents.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"

namespace {

ZRWString PathOf(const ZRWString& folder, const char* file) {
  const std::string name(file);
  return folder + Utf8ToUtf16(std::string_view(name).substr(name.rfind('/') + 1));
}

// True if something is there, readable or not.
bool Exists(const ZRWString& path) {
  ZRFileFind find;
  return find.FindFile(path) != 0;
}

void CheckDocument(const ZRWString& folder, const char* file, ZRFindings& findings) {
  const ZRWString path = PathOf(folder, file);
  if (!Exists(path)) return;
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  if (document.Load(path.Text(), &refusal)) return;
  findings.push_back(
      {ZRFinding::tagKind::kBroken, file, refusal.line, refusal.column, refusal.reason});
}

}  // namespace

void CheckDocuments(const ZRWString& configurationFolder, ZRFindings& findings) {
  if (!Exists(PathOf(configurationFolder, kEventsFile)))
    findings.push_back({ZRFinding::tagKind::kHint, kEventsFile, 0, 0, "no such file: no events"});
  for (const char* file : {kEventsFile, kTimeTablesFile, kParkingFile})
    CheckDocument(configurationFolder, file, findings);
}

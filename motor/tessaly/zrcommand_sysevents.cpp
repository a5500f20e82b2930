// tessaly sysevents: what has happened to the system itself.

#include <cstdio>
#include <filesystem>

#include "host/base/zrlogtext.h"
#include "host/systemevents/zrsystemeventsdatabase.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsystemeventsfile.h"

namespace {

std::string Shown(std::string_view text) {
  return std::string(Utf16ToUtf8(EscapeLogText(Utf8ToUtf16(text)).View()).View());
}

void Print(std::string_view time, std::string_view className, std::string_view text) {
  std::printf("%s  %s: %s\n", Shown(time).c_str(), Shown(className).c_str(), Shown(text).c_str());
}

}  // namespace

int ShowSystemEvents(const ZRCommand& command) {
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    PrintFindings(findings);
    return kExitImpossible;
  }
  const ZRWString file = SystemEventsFile(ZRTessalySetup::Get());
  const std::string path(Utf16ToUtf8(file.View()).View());
  std::error_code error;
  if (!std::filesystem::exists(path, error) && !error) return kExitDone;  // it has never run
  std::string reason;
  ZRSystemEventsDatabase database;
  if (database.OpenToRead(file, reason) && database.ForEach(Print, reason)) return kExitDone;
  std::fprintf(stderr, "tessaly: %s can't be read: %s\n", Shown(path).c_str(), reason.c_str());
  return kExitImpossible;
}

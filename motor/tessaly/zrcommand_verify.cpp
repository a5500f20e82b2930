// tessaly history verify: damage in the data files of a site.

#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "host/base/zrlogger.h"
#include "host/driversupport/eventfile/zreventfile.h"
#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrdatafolder.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrsite.h"

namespace {

// What all files together came to.
struct tagSum {
  std::size_t files = 0;
  std::size_t damagedFiles = 0;
  std::uint64_t records = 0;
  std::uint64_t damagedRecords = 0;
};

// The look at one file. Bytes behind the last record may be those of a write that is under way in
// another process: they count if they stay.
bool Look(const ZRWString& path, ZREventFile::tagLook& look) {
  constexpr int kLooks = 4;
  constexpr std::uint32_t kBetween = 20;  // ms
  bool isRead = ZREventFile::Verify(path.Text(), look);
  for (int i = 1; i < kLooks && isRead && look.tornBytes != 0; ++i) {
    ZRPlatform::Get().Sleep(kBetween);
    isRead = ZREventFile::Verify(path.Text(), look);
  }
  return isRead;
}

void VerifyFile(const std::string& folder, const std::string& name, tagSum& sum) {
  ZREventFile::tagLook look;
  const bool isRead = Look(Utf8ToUtf16(std::string_view(folder + name)), look);
  const std::string shown = ShownText(name);
  ++sum.files;
  if (!isRead || *look.reason != '\0') {
    ++sum.damagedFiles;
    std::printf("%s: damaged: %s\n", shown.c_str(),
                *look.reason != '\0' ? look.reason : "it can't be read");
    return;
  }
  sum.records += static_cast<std::uint64_t>(look.records);
  sum.damagedRecords += static_cast<std::uint64_t>(look.damaged);
  if (look.damaged != 0) {
    ++sum.damagedFiles;
    std::printf("%s: damaged: %d of %d records can't be read\n", shown.c_str(), look.damaged,
                look.records);
  }
  if (look.tornBytes != 0) {
    std::printf("%s: hint: %" PRIu64
                " bytes of a write that was cut off: the next record sets them aside\n",
                shown.c_str(), look.tornBytes);
  }
}

void ShowLeftover(const ZRDataFile& file) {
  const char* const what =
      file.kind == ZRDataFile::tagKind::kTorn ? "bytes of a write that was cut off, set aside"
      : file.kind == ZRDataFile::tagKind::kUnfinished ? "left of a file whose making was cut off"
                                                      : "no data file";
  std::printf("%s: hint: %s\n", ShownText(file.name).c_str(), what);
}

}  // namespace

int VerifyHistory(const ZRCommand& command) {
  SetLogLevel(kLogInvariant);  // what is wrong is said once, here
  ZRFindings findings;
  ZRSite site(command.site);
  if (!site.LoadSettings(findings)) {
    PrintFindings(findings);
    return kExitImpossible;
  }
  const std::string folder(Utf16ToUtf8(ZRTessalySetup::Get().DataPath().View()).View());
  std::vector<ZRDataFile> files;
  if (!ListDataFiles(folder, files)) {
    std::fprintf(stderr, "tessaly: %s can't be read\n", ShownText(folder).c_str());
    return kExitImpossible;
  }
  tagSum sum;
  for (const ZRDataFile& file : files)
    if (file.kind == ZRDataFile::tagKind::kRecords) VerifyFile(folder, file.name, sum);
  for (const ZRDataFile& file : files)
    if (file.kind != ZRDataFile::tagKind::kRecords) ShowLeftover(file);
  std::printf("%s: %zu data files, %" PRIu64 " records; damaged: %zu files, %" PRIu64 " records\n",
              ShownText(command.site).c_str(), sum.files, sum.records, sum.damagedFiles,
              sum.damagedRecords);
  return sum.damagedFiles == 0 ? kExitDone : kExitFaulty;
}

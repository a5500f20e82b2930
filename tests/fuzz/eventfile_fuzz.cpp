// Any bytes are refused or read as a data file, without a step beyond them; what is read stays the
// same when a record is appended.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/base/zrlogger.h"
#include "host/driversupport/eventfile/zreventfile.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"
#include "host/platform/zrvirtualtime.h"
#include "support/crashingdisk.h"

namespace {

using Layout = ZREventFileLayout;
using tagBytes = ZRCrashingDisk::tagBytes;

constexpr const wchar_t* kPath = L"/data/2024/03/A 03-2024.suc";

void Require(bool holds, int line = __builtin_LINE()) {
  if (holds) return;
  std::fprintf(stderr, "line %d doesn't hold\n", line);
  std::abort();
}

// Gives each record the sum that it claims to have, as far as the lengths lead: so chance gets
// behind the sums.
void Seal(tagBytes& bytes) {
  if (bytes.size() < Layout::kHead) return;
  Layout::tagHead head;
  head.type = ZREventFile::kType;
  std::copy_n(bytes.begin() + 40, 16, head.id.bytes.begin());
  Layout::WriteHead(head, bytes.data());
  const std::uint32_t seed = Layout::Seed(head.id);
  std::size_t at = Layout::kHead;
  while (at + Layout::kSmallestRecord <= bytes.size()) {
    unsigned char* const record = bytes.data() + at;
    const std::size_t left = bytes.size() - at;
    const std::size_t length = Layout::ClaimedLength(record);
    std::uint32_t annotation = 0;
    std::memcpy(&annotation, record + 12, sizeof annotation);
    if (length < Layout::kSmallestRecord || length > left || Layout::Length(annotation) != length) {
      at += Layout::kAlign;
      continue;
    }
    const auto again = static_cast<std::uint32_t>(length);
    std::memcpy(record + length - 4, &again, sizeof again);
    tagCrc32cPiece piece = Layout::Summed(record, length, seed, at);
    Crc32c(&piece, 1);
    std::memcpy(record, &piece.sum, sizeof piece.sum);
    at += length;
  }
}

struct tagFound {
  bool isWhole;
  std::string content;
  bool operator==(const tagFound&) const = default;
};

std::vector<tagFound> ReadAll(ZREventFile& file) {
  std::vector<tagFound> found;
  for (int i = 0; i < file.numRecords; ++i) {
    const bool isWhole = file.GoRecord(i);
    std::string date(sizeof(double), '\0');
    const double value = file.DateValue();
    std::memcpy(date.data(), &value, sizeof value);
    found.push_back({isWhole, date + std::string(file.EventAnnotationView())});
  }
  return found;
}

// `isSealed`: records may claim the index of another one, with a sum that is right. Which one is
// found then isn't said.
void Look(ZRCrashingDisk& disk, const tagBytes& bytes, bool isSealed) {
  disk.Reset(1);
  disk.Put("2024/03/A 03-2024.suc", bytes);
  ZREventFile::tagLook look;
  Require(ZREventFile::Verify(kPath, look) && look.bytes == bytes.size());
  ZREventFile file(true);
  if (!file.Open(kPath, true)) {
    Require(*look.reason != '\0' && !file.Open(kPath, false));
    Require(*disk.Content("2024/03/A 03-2024.suc") == bytes);
    return;
  }
  const std::vector<tagFound> before = ReadAll(file);
  for (int i = file.numRecords; i-- > 0;)
    Require(file.GoRecord(i) == before[static_cast<std::size_t>(i)].isWhole || isSealed);
  Require(look.records == file.numRecords);
  for (const double date : {-1e6, 0.0, 45356.5, 1e6}) {
    const int index = file.SearchByTime(ZRDateTime(date), 1);
    Require(index >= -1 && index < std::max(file.numRecords, 1));
  }
  Require(file.Open(kPath, false) && file.NewRecord());
  file.SetEventValue(1);
  file.SetEventAnnotation("appended");
  Require(file.Update() && file.numRecords >= 1);
  Require(file.GoRecord(file.numRecords - 1) || isSealed);
  std::vector<tagFound> after = ReadAll(file);
  after.resize(std::min(after.size(), before.size()));
  Require(after == before || isSealed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static ZRVirtualTime time;
  static ZRCrashingDisk disk;
  time.SetFiles(&disk);
  SetLogLevel(kLogInvariant);
  tagBytes content(bytes, bytes + size);
  Look(disk, content, false);
  Seal(content);
  Look(disk, content, true);
  return 0;
}

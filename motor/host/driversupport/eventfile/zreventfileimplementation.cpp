#include "host/driversupport/eventfile/zreventfileimplementation.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/driversupport/eventfile/zreventfilecopies.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrplatform.h"

namespace {

// More of a file than this isn't read to find its last record, unless it is longer itself.
constexpr std::size_t kLook = 512;

}  // namespace

bool ZREventFile::CImplementation::Open(const wchar_t* toOpen, bool readOnly) {
  return Begin(toOpen, readOnly) && ((readOnly && TakeCopy()) || OpenBegun());
}

bool ZREventFile::CImplementation::OpenAnew(const wchar_t* toOpen, bool readOnly) {
  return Begin(toOpen, readOnly) && OpenBegun();
}

bool ZREventFile::CImplementation::Begin(const wchar_t* toOpen, bool readOnly) {
  files = &ZRPlatform::Get().Files();
  isReadOnly = readOnly;
  isToKeep = false;
  return path.Set(toOpen);
}

bool ZREventFile::CImplementation::OpenBegun() {
  // Who appends doesn't believe that a folder still isn't there.
  const auto isMissing = [&] { return isReadOnly && errno == ENOENT; };
  if (!OpenHandle(false) && (isMissing() || !OpenHandle(true))) {
    if (errno != ENOENT) Tell(ZREventFileTrouble::kOpen, errno);
    Close();
    return false;
  }
  if (!Accept()) return false;
  isSure = isLocked;
  return true;
}

bool ZREventFile::CImplementation::OpenCopy(const wchar_t* toOpen) {
  files = &ZRPlatform::Get().Files();
  isReadOnly = true;
  isToKeep = false;
  if (!path.SetCopy(toOpen)) return false;
  const ZREventFileHandle folder(*files, files->OpenFolder(path.Root().c_str()));
  if (!folder.IsOpen()) return false;
  file = ZREventFileHandle(*files, files->OpenStamped(folder.Get(), path.Name(), opened));
  return file.IsOpen() && Accept();
}

// False, with a reason or an errno, if the opened file isn't one to work with; it is closed then.
bool ZREventFile::CImplementation::Accept() {
  if (Look()) return true;
  const bool isRefused = *reason != '\0';
  Tell(isRefused ? ZREventFileTrouble::kRefused : ZREventFileTrouble::kOpen, isRefused ? 0 : errno);
  const char* const why = reason;
  const std::uint64_t size = tail.size;
  Close();
  reason = why;
  tail.size = size;
  return false;
}

void ZREventFile::CImplementation::Close() {
  const int error = errno;
  blocks.Detach();
  file.Close();
  errno = error;
  isLocked = false;
  isSure = false;
  reason = "";
  tail = {};
}

void ZREventFile::CImplementation::Tell(ZREventFileTrouble trouble, int error) const {
  const int before = errno;
  ZREventFileTroubles::Get().Add(trouble, path.Wide(), error);
  errno = before;
}

bool ZREventFile::CImplementation::OpenHandle(bool anew) {
  const auto month = ZREventFileSync::Get().OpenMonth(*files, path, anew);
  if (!month) return false;
  const auto handle = !isReadOnly
                          ? files->OpenAlone(month->Get(), path.Name(), isLocked, opened.size)
                      : isToKeep ? files->OpenStamped(month->Get(), path.Name(), opened)
                                 : files->OpenSized(month->Get(), path.Name(), opened.size);
  file = ZREventFileHandle(*files, handle);
  return file.IsOpen();
}

// Reads the head and finds the last record. False with a reason if this isn't a file to work with,
// without one if it can't be read.
bool ZREventFile::CImplementation::Look() {
  reason = "";
  tail = {};
  if (opened.size < 0) return false;
  tail.size = static_cast<std::uint64_t>(opened.size);
  if (tail.size < Layout::kHead || tail.size > Layout::kLargestFile) {
    reason = tail.size < Layout::kHead ? "shorter than its head" : "larger than a file can be";
    return false;
  }
  return isReadOnly && tail.size <= Layout::kBlock ? LookAtSmall() : LookAtEnds();
}

// Takes the file as it was read before, if it hasn't changed.
bool ZREventFile::CImplementation::TakeCopy() {
  const ZREventFileCopies::tagFound found = ZREventFileCopies::Get().Find(*files, path.Whole());
  isToKeep = found.isToKeep;
  const auto& copy = found.copy;
  if (!copy) return false;
  const auto month = ZREventFileSync::Get().OpenMonth(*files, path, false);
  if (!month || !files->Stamp(month->Get(), path.Name(), opened) || !opened.IsSame(copy->Stamp()))
    return false;
  reason = "";
  tail = {};
  tail.size = copy->Bytes().size();
  return TakeSmall(blocks.Begin(file, copy->Bytes()));
}

// Reads a file of one block at once.
bool ZREventFile::CImplementation::LookAtSmall() {
  const unsigned char* const bytes = blocks.Begin(file, tail.size);
  if (bytes == nullptr || !TakeSmall(bytes)) return false;
  if (isToKeep && opened.isSettled) {
    ZREventFileCopies::Get().Keep(*files, path.Whole(), opened,
                                  {reinterpret_cast<const char*>(bytes), tail.size});
  }
  return true;
}

bool ZREventFile::CImplementation::TakeSmall(const unsigned char* bytes) {
  if (!TakeHead(bytes)) return false;
  blocks.Attach(file, seed, tail.size);
  ZREventFileBlocks::tagWhole last;
  if (!blocks.FindLast(last)) return false;
  if (last.bytes != nullptr) {
    tail.count = static_cast<int>(ZREventFileLayout::Index(last.bytes)) + 1;
    tail.end = last.at + last.length;
  }
  blocks.SetEnd(tail.end);
  blocks.SetCount(tail.count);
  return true;
}

bool ZREventFile::CImplementation::LookAtEnds() {
  const std::size_t count = tail.size <= ZREventFileBytes::kFew ? tail.size : Layout::kHead;
  unsigned char* const bytes = tailBytes.Room(count);
  const std::int64_t got = file.Read(bytes, count, 0);
  if (got != static_cast<std::int64_t>(count)) {
    if (got >= 0) errno = EIO;
    return false;
  }
  if (!TakeHead(bytes)) return false;
  const bool isAll = count == tail.size;
  if (isAll && TakeTail(bytes + count, count - Layout::kHead)) {
    blocks.Attach(file, seed, tail.end);
    blocks.SetCount(tail.count);
    return true;
  }
  return FindTail();
}

bool ZREventFile::CImplementation::TakeHead(const unsigned char* bytes) {
  Layout::tagHead head;
  reason = Layout::ReadHead(bytes, head);
  if (*reason == '\0' && head.type != kType) reason = "of another type";
  seed = Layout::Seed(head.id);
  return *reason == '\0';
}

// Finds the last whole record of a file of tail.size bytes. False if it can't be read.
bool ZREventFile::CImplementation::FindTail() {
  const std::uint64_t records = tail.size - Layout::kHead;
  std::size_t count = std::min<std::uint64_t>(records, kLook);
  for (int attempt = 0; attempt < 2; ++attempt) {
    unsigned char* const bytes = tailBytes.Room(count);
    const std::int64_t got = file.Read(bytes, count, tail.size - count);
    if (got < 0) return false;
    if (got != static_cast<std::int64_t>(count)) break;
    if (TakeTail(bytes + count, count)) {
      blocks.Attach(file, seed, tail.end);
      blocks.SetCount(tail.count);
      return true;
    }
    const std::size_t length = Layout::LengthAgain(bytes + count);
    if (length <= count || length > std::min<std::uint64_t>(records, Layout::kLargestRecord)) break;
    count = length;
  }
  return SearchTail();
}

// True if the bytes before `behind`, which are the file's last ones, end in a whole record, or the
// file has none.
bool ZREventFile::CImplementation::TakeTail(const unsigned char* behind, std::size_t available) {
  if (tail.size == Layout::kHead) return true;
  if (available < Layout::kSmallestRecord) return false;
  const std::size_t length = Layout::LengthAgain(behind);
  if (length > available) return false;
  const std::uint64_t at = tail.size - length;
  if (Layout::WholeRecord(behind - length, length, seed, at) != length || length == 0) return false;
  SetTail(behind - length, at, length);
  return true;
}

bool ZREventFile::CImplementation::SearchTail() {
  blocks.Attach(file, seed, tail.size);
  ZREventFileBlocks::tagWhole last;
  if (!blocks.FindLast(last)) return false;
  if (last.bytes != nullptr) {
    unsigned char* const bytes = tailBytes.Room(last.length);
    std::copy_n(last.bytes, last.length, bytes);
    SetTail(bytes, last.at, last.length);
  }
  blocks.SetEnd(tail.end);
  blocks.SetCount(tail.count);
  return true;
}

void ZREventFile::CImplementation::SetTail(const unsigned char* bytes, std::uint64_t at,
                                           std::size_t length) {
  Layout::ReadRecord(bytes, tail.record);
  tail.count = static_cast<int>(tail.record.index) + 1;
  tail.at = at;
  tail.length = length;
  tail.end = at + length;
}

// Appending to a data file.
#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/zreventfileimplementation.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrplatform.h"

namespace {

constexpr std::uint32_t kLockWait = 10;  // ms
constexpr int kMostTornFiles = 10'000;
constexpr std::size_t kPiece = 65536;  // bytes that are moved at once

bool IsSame(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// In all four fields, to the bit.
template <typename Record, typename Fields>
bool IsSame(const Record& record, const Fields& fields) {
  return record.id == fields.id && IsSame(record.date, fields.date) &&
         IsSame(record.value, fields.value) && record.annotation == fields.annotation;
}

}  // namespace

bool ZREventFile::CImplementation::Prepare() {
  if (!file.IsOpen() || isReadOnly) return false;
  if (!isSure) {
    if (!isLocked && !LockWithin(kLockWait)) return false;
    tail = {};
    blocks.Detach();  // another one may have appended since
    const std::int64_t size = files->Size(file.Get());
    tail.size = size < 0 ? 0 : static_cast<std::uint64_t>(size);
    isSure = tail.size >= Layout::kHead && tail.size <= Layout::kLargestFile && FindTail();
    if (!isSure) {
      Tell(ZREventFileTrouble::kWrite, errno);
      return false;
    }
  }
  return tail.size == tail.end || SetAside();
}

bool ZREventFile::CImplementation::LockWithin(std::uint32_t milliseconds) {
  for (std::uint32_t waited = 0;; ++waited) {
    isLocked = files->TryLock(file.Get());
    if (isLocked) return true;
    if (errno != EAGAIN || waited == milliseconds) break;
    ZRPlatform::Get().Sleep(1);
  }
  Tell(ZREventFileTrouble::kWrite, errno);
  return false;
}

// --- bytes behind the last whole record ---

std::shared_ptr<const ZREventFileHandle> ZREventFile::CImplementation::OpenRoot() const {
  return ZREventFileSync::Get().OpenRoot(*files, path.Root(), false);
}

// Moves them into a file of their own.
bool ZREventFile::CImplementation::SetAside() {
  const auto root = OpenRoot();
  const ZREventFileHandle month =
      root ? ZREventFileHandle(*files, files->OpenFolder(root->Get(), path.YearAndMonth().c_str()))
           : ZREventFileHandle();
  std::string name;
  const ZREventFileHandle torn = month.IsOpen() ? NewTornFile(month, name) : ZREventFileHandle();
  const bool isAside =
      torn.IsOpen() && CopyTorn(torn) && files->Sync(torn.Get()) && files->SyncFolder(month.Get());
  if (!isAside || !Blank() || !files->Truncate(file.Get(), tail.end)) {
    const int error = errno;
    Tell(ZREventFileTrouble::kWrite, error);
    if (torn.IsOpen() && (!isAside || IsStillThere(torn)))
      (void)files->Remove(month.Get(), name.c_str());
    errno = error;
    return false;
  }
  tail.size = tail.end;
  Tell(ZREventFileTrouble::kTorn, 0);
  return true;
}

// Makes the first of the names with a number behind them that is free.
ZREventFileHandle ZREventFile::CImplementation::NewTornFile(const ZREventFileHandle& month,
                                                            std::string& name) {
  for (int number = 1; number <= kMostTornFiles; ++number) {
    name = std::string(path.Name()) + ".torn-" + std::to_string(number);
    const auto handle =
        files->OpenFile(month.Get(), name.c_str(), ZRFileSystem::tagAccess::kCreate);
    if (handle != ZRFileSystem::kNone || errno != EEXIST) return {*files, handle};
  }
  return {};
}

// What is cut off a file may come back with a power cut, and complete what later records haven't
// overwritten yet: so zeros take the place of the bytes behind the last whole record for good.
// Where nothing is ever synced this isn't either: a sync that fails may take other records with it.
bool ZREventFile::CImplementation::Blank() {
  ZREventFileSync& sync = ZREventFileSync::Get();
  if (sync.Durability() == ZRDurability::kOff) return true;
  const std::vector<unsigned char> zeros(std::min<std::uint64_t>(kPiece, tail.size - tail.end));
  for (std::uint64_t at = tail.end; at < tail.size; at += zeros.size()) {
    const std::size_t count = std::min<std::uint64_t>(zeros.size(), tail.size - at);
    if (!file.Write(zeros.data(), count, at)) return false;
  }
  if (SyncFile()) return true;
  sync.NoteFailedSync();
  return false;
}

bool ZREventFile::CImplementation::CopyTorn(const ZREventFileHandle& to) {
  return ForEachTorn([&](const unsigned char* bytes, std::size_t count, std::uint64_t at) {
    return to.Write(bytes, count, at);
  });
}

// True if the bytes that were copied are still in their place.
bool ZREventFile::CImplementation::IsStillThere(const ZREventFileHandle& copy) {
  const auto copied = std::make_unique_for_overwrite<unsigned char[]>(kPiece);
  return ForEachTorn([&](const unsigned char* bytes, std::size_t count, std::uint64_t at) {
    return copy.Read(copied.get(), count, at) == static_cast<std::int64_t>(count) &&
           std::equal(bytes, bytes + count, copied.get());
  });
}

// Calls `use(bytes, count, at)` for the bytes behind the last whole record, piece by piece, while
// it gives true; `at` counts from there. False if they can't be read, or it gives false.
template <typename Use>
bool ZREventFile::CImplementation::ForEachTorn(Use use) {
  const auto piece = std::make_unique_for_overwrite<unsigned char[]>(kPiece);
  for (std::uint64_t at = tail.end; at < tail.size;) {
    const std::size_t wanted = std::min<std::uint64_t>(kPiece, tail.size - at);
    const std::int64_t got = file.Read(piece.get(), wanted, at);
    if (got <= 0) {
      if (got == 0) errno = EIO;
      return false;
    }
    if (!use(piece.get(), static_cast<std::size_t>(got), at - tail.end)) return false;
    at += static_cast<std::uint64_t>(got);
  }
  return true;
}

// --- records ---

bool ZREventFile::CImplementation::Append(const tagFields& fields) {
  ZREventFileSync& sync = ZREventFileSync::Get();
  const bool isLast = IsLast(fields);
  const int left = isLast ? -1 : sync.HalfwayIndex(path.Whole(), fields);
  bool isRead = true;
  const bool isBehind = left >= 0 && IsAt(left, fields, isRead);
  if (!isRead) {
    isSure = false;
    Tell(ZREventFileTrouble::kWrite, errno);
    return false;
  }
  const int index = isBehind ? left : tail.count - int{isLast};
  if (!(isBehind ? AppendAgain(index) : AppendLast(fields))) {
    sync.NoteHalfway(path.Whole(), fields, index);
    return false;
  }
  sync.ForgetHalfway(path.Whole(), fields);
  ZREventFileTroubles::Get().Cured();
  return true;
}

bool ZREventFile::CImplementation::AppendLast(const tagFields& fields) {
  if (!Write(fields)) return false;
  isSure = MakeDurable();
  if (!isSure) Tell(ZREventFileTrouble::kSync, errno);
  return isSure;
}

// What a call before has left, and another event of that name has written behind it.
bool ZREventFile::CImplementation::AppendAgain(int index) {
  isSure = Rewrite(index);
  if (!isSure || ZREventFileSync::Get().Durability() == ZRDurability::kOff) return isSure;
  const bool isSynced = SyncFile();
  if (!isSynced) ZREventFileSync::Get().NoteFailedSync();
  isSure = isSynced && SyncNames();
  if (!isSure) Tell(ZREventFileTrouble::kSync, errno);
  return isSure;
}

bool ZREventFile::CImplementation::IsLast(const tagFields& fields) const {
  return tail.length != 0 && IsSame(tail.record, fields);
}

bool ZREventFile::CImplementation::Write(const tagFields& fields) {
  const bool isHigher = tail.length == 0 || !(tail.record.highest >= fields.date);
  Layout::tagRecord record{
      static_cast<std::uint32_t>(tail.count),       fields.id,        fields.date, fields.value,
      isHigher ? fields.date : tail.record.highest, fields.annotation};
  isSure = IsLast(fields) ? WriteOver() : WriteBehind(record);
  if (!isSure) Tell(ZREventFileTrouble::kWrite, errno);
  return isSure;
}

// Writes the last record once more.
bool ZREventFile::CImplementation::WriteOver() {
  unsigned char* const bytes = newBytes.Room(tail.length);
  Layout::WriteRecord(tail.record, seed, tail.at, bytes);
  return file.Write(bytes, tail.length, tail.at);
}

// Writes a new last record, and the zeros before it.
bool ZREventFile::CImplementation::WriteBehind(Layout::tagRecord& record) {
  const std::size_t length = Layout::Length(record.annotation.size());
  const std::uint64_t at = Layout::Place(tail.end, tail.length, length);
  if (length > Layout::kLargestRecord || at + length > Layout::kLargestFile) {
    errno = EFBIG;
    return false;
  }
  const std::size_t zeros = at - tail.end;
  unsigned char* const bytes = newBytes.Room(zeros + length);
  std::memset(bytes, 0, zeros);
  Layout::WriteRecord(record, seed, at, bytes + zeros);
  if (!file.Write(bytes, zeros + length, tail.end)) {
    const int error = errno;
    (void)files->Truncate(file.Get(), tail.end);
    errno = error;
    return false;
  }
  unsigned char* const kept = tailBytes.Room(length);
  std::copy_n(bytes + zeros, length, kept);
  SetTail(kept, at, length);
  tail.size = tail.end;
  blocks.SetEnd(tail.end);
  blocks.SetCount(tail.count);
  return true;
}

bool ZREventFile::CImplementation::MakeDurable() {
  ZREventFileSync& sync = ZREventFileSync::Get();
  if (sync.Durability() == ZRDurability::kOff) return true;
  const Layout::tagRecord& last = tail.record;
  if (sync.MayPutOff()) {
    tagWritten written{static_cast<int>(last.index), last.id, last.date, last.value,
                       std::string(last.annotation)};
    if (sync.PutOff(path.Wide(), path.Root(), std::move(written))) return true;
  }
  if (!SyncFile()) {
    sync.NoteFailedSync();
    return false;
  }
  const bool isNamed = last.index != 0 && sync.HasDurableName(path);
  if (isNamed || SyncNames()) return true;
  // Without its name the file would take other records with it.
  const int error = errno;
  (void)files->Truncate(file.Get(), tail.at);
  errno = error;
  return false;
}

// Of the file, and of its folders unless they are known to be durable: a process that died may have
// made them.
bool ZREventFile::CImplementation::SyncNames() const {
  const std::string month = path.YearAndMonth();
  const std::string whole(path.Folder());
  const auto root = OpenRoot();
  if (!root) return false;
  const auto syncFolder = [&](const std::string& below) {
    const ZREventFileHandle folder(*files, files->OpenFolder(root->Get(), below.c_str()));
    return folder.IsOpen() && files->SyncFolder(folder.Get());
  };
  ZREventFileSync& sync = ZREventFileSync::Get();
  const bool isKnown = sync.IsDurableFolder(whole);
  sync.ForgetFolder(whole);
  if (!syncFolder(month)) return false;
  if (!isKnown && !(syncFolder(path.Year()) && files->SyncFolder(root->Get()))) return false;
  sync.NoteDurableNames(path);
  return true;
}

bool ZREventFile::CImplementation::IsAt(int index, const tagFields& fields, bool& isRead) {
  isRead = true;
  if (index >= tail.count) return false;
  const unsigned char* const bytes = blocks.Record(index);
  if (bytes == nullptr) {
    isRead = !blocks.CouldNotRead();
    return false;
  }
  Layout::tagRecord there;
  Layout::ReadRecord(bytes, there);
  return IsSame(there, fields);
}

bool ZREventFile::CImplementation::Rewrite(int index) {
  const unsigned char* const bytes = blocks.Record(index);
  const bool isWritten =
      bytes != nullptr && file.Write(bytes, Layout::ClaimedLength(bytes), blocks.Offset(bytes));
  if (!isWritten) Tell(ZREventFileTrouble::kWrite, errno);
  return isWritten;
}

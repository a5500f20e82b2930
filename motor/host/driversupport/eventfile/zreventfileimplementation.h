// What an open data file is made of.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/driversupport/eventfile/zreventfileblocks.h"
#include "host/driversupport/eventfile/zreventfilehandle.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"
#include "host/driversupport/eventfile/zreventfilepath.h"
#include "host/driversupport/eventfile/zreventfiletroubles.h"

// Room for some bytes that costs nothing while they are few.
class ZREventFileBytes {
 public:
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init, modernize-use-equals-default): as said
  ZREventFileBytes() {}

  static constexpr std::size_t kFew = 1024;

  // What was in it before is lost.
  [[nodiscard]] unsigned char* Room(std::size_t count) {
    if (count <= kFew) return few.data();
    if (count > many) {
      more = std::make_unique_for_overwrite<unsigned char[]>(count);
      many = count;
    }
    return more.get();
  }

 private:
  std::array<unsigned char, kFew> few;
  std::unique_ptr<unsigned char[]> more;
  std::size_t many = 0;
};

// A record that was handed to the system.
struct ZREventFile::tagWritten {
  int index = 0;
  uuid id;
  double date = 0;
  double value = 0;
  std::string annotation;
};

// Promise   the errno of a failure is still there when an operation returns.
class ZREventFile::CImplementation {
 public:
  using Layout = ZREventFileLayout;

  CImplementation() {}  // NOLINT(modernize-use-equals-default): leaves the bytes as they are

  // Only to read may it be the file as it was read before, if it hasn't changed since.
  [[nodiscard]] bool Open(const wchar_t* toOpen, bool readOnly);
  [[nodiscard]] bool OpenAnew(const wchar_t* toOpen, bool readOnly);
  [[nodiscard]] bool OpenCopy(const wchar_t* toOpen);
  void Close();

  [[nodiscard]] int Count() const { return tail.count; }
  [[nodiscard]] ZREventFileBlocks& Blocks() { return blocks; }
  void Tell(ZREventFileTrouble trouble, int error) const;

  // Why a file that is open isn't one of this type; "" if it is.
  [[nodiscard]] const char* Reason() const { return reason; }
  [[nodiscard]] std::uint64_t Size() const { return tail.size; }
  [[nodiscard]] std::uint64_t End() const { return tail.end; }

  // --- appending ---

  // Makes sure of the end of the file: nobody else appends, and the last whole record is its last
  // bytes.
  [[nodiscard]] bool Prepare();
  // Behind Prepare: write a record behind the last one, or the last one once more if it is the
  // same. Append makes it durable too, and doesn't write it again behind others if a call before
  // has left it there.
  [[nodiscard]] bool Append(const tagFields& fields);
  [[nodiscard]] bool Write(const tagFields& fields);
  // True if that record is there, and `isRead` false if nobody knows; and write its bytes at their
  // place once more.
  [[nodiscard]] bool IsAt(int index, const tagFields& fields, bool& isRead);
  [[nodiscard]] bool Rewrite(int index);
  [[nodiscard]] bool SyncFile() const { return files->Sync(file.Get()); }
  [[nodiscard]] bool SyncNames() const;

  ZRString newAnnotation;

 private:
  // The end of the file.
  struct tagTail {
    std::uint64_t size = 0;
    int count = 0;
    std::uint64_t end = Layout::kHead;  // behind the last whole record, which is
    std::uint64_t at = 0;               // here,
    std::size_t length = 0;             // 0 if there is none,
    Layout::tagRecord record;           // and this; its annotation lies in `tailBytes`
  };

  [[nodiscard]] bool Begin(const wchar_t* toOpen, bool readOnly);
  [[nodiscard]] bool OpenBegun();
  [[nodiscard]] bool OpenHandle(bool anew);
  [[nodiscard]] bool TakeCopy();
  [[nodiscard]] bool Accept();
  [[nodiscard]] bool Look();
  [[nodiscard]] bool LookAtSmall();
  [[nodiscard]] bool TakeSmall(const unsigned char* bytes);
  [[nodiscard]] bool LookAtEnds();
  [[nodiscard]] bool TakeHead(const unsigned char* bytes);
  [[nodiscard]] bool FindTail();
  [[nodiscard]] bool TakeTail(const unsigned char* behind, std::size_t available);
  [[nodiscard]] bool SearchTail();
  void SetTail(const unsigned char* bytes, std::uint64_t at, std::size_t length);

  [[nodiscard]] bool LockWithin(std::uint32_t milliseconds);
  // The data folder, open; null if it can't be opened.
  [[nodiscard]] std::shared_ptr<const ZREventFileHandle> OpenRoot() const;
  [[nodiscard]] bool SetAside();
  [[nodiscard]] ZREventFileHandle NewTornFile(const ZREventFileHandle& month, std::string& name);
  [[nodiscard]] bool CopyTorn(const ZREventFileHandle& to);
  [[nodiscard]] bool IsStillThere(const ZREventFileHandle& copy);
  template <typename Use>
  [[nodiscard]] bool ForEachTorn(Use use);
  [[nodiscard]] bool Blank();
  [[nodiscard]] bool IsLast(const tagFields& fields) const;
  [[nodiscard]] bool AppendLast(const tagFields& fields);
  [[nodiscard]] bool AppendAgain(int index);
  [[nodiscard]] bool WriteBehind(Layout::tagRecord& record);
  [[nodiscard]] bool WriteOver();
  [[nodiscard]] bool MakeDurable();

  ZRFileSystem* files = nullptr;
  ZREventFilePath path;
  ZREventFileHandle file;
  ZRFileSystem::tagStamp opened;  // when it was opened; the size alone unless it is to be kept
  bool isReadOnly = true;
  bool isToKeep = false;  // among the copies
  bool isLocked = false;
  bool isSure = false;  // the tail was read under the lock, and nothing has failed since
  const char* reason = "";
  std::uint32_t seed = 0;
  tagTail tail;
  ZREventFileBlocks blocks;
  ZREventFileBytes tailBytes;
  ZREventFileBytes newBytes;
};

// Files by position, below a folder: what a data file needs of the disk.
#pragma once

#include <cstddef>
#include <cstdint>

// The disk of the process, ZRPlatform::Files(). A test puts another one in its place: one that
// fails, or one that loses power.
//
// Paths are UTF-8, and those called `below` are relative to an open folder: a symbolic link on
// the way or at its end, an absolute path, ".." and an empty name are refused. Failures are kNone,
// false or -1, with errno set; an interrupted call is repeated inside.
//
// Threads   any. Two calls on one handle at once are the caller's matter.
class ZRFileSystem {
 public:
  // Names an open file or folder.
  using tagHandle = int;
  static constexpr tagHandle kNone = -1;

  enum class tagAccess {
    kRead,
    kReadWrite,
    kCreate,  // read and write a new file; EEXIST if the name is taken
  };

  // What tells that a file is still the one that it was, with the same bytes in it: who found a
  // settled stamp before he read it, and finds the same again, needn't read it again.
  struct tagStamp {
    std::int64_t size = -1;  // bytes
    std::uint64_t device = 0;
    std::uint64_t number = 0;    // of the file on its device
    std::int64_t changed = 0;    // seconds since 1970, by the clock of the file system,
    std::uint32_t fraction = 0;  // and nanoseconds
    bool isSettled = false;      // it hasn't changed for so long that the next change will show

    [[nodiscard]] bool IsSame(const tagStamp& other) const {
      return size == other.size && device == other.device && number == other.number &&
             changed == other.changed && fraction == other.fraction;
    }
  };

  virtual ~ZRFileSystem() = default;

  // --- opening ---

  // This path alone may go through symbolic links: it is the installation's own.
  [[nodiscard]] virtual tagHandle OpenFolder(const char* path) = 0;
  [[nodiscard]] virtual tagHandle OpenFolder(tagHandle folder, const char* below) = 0;
  // Never waits for a reader or writer of a pipe. What isn't a regular file fails.
  // A new file is its owner's and its group's alone (0640).
  [[nodiscard]] virtual tagHandle OpenFile(tagHandle folder, const char* below,
                                           tagAccess access) = 0;
  // Opens a file to read it, and tells its size, -1 if that fails. What isn't a regular file may be
  // opened too; a folder then fails when it is read.
  [[nodiscard]] virtual tagHandle OpenSized(tagHandle folder, const char* below,
                                            std::int64_t& size) {
    const tagHandle opened = OpenFile(folder, below, tagAccess::kRead);
    size = opened == kNone ? -1 : Size(opened);
    return opened;
  }
  // The same, and tells more where that is known; only of a regular file.
  [[nodiscard]] virtual tagHandle OpenStamped(tagHandle folder, const char* below,
                                              tagStamp& stamp) {
    const tagHandle opened = OpenFile(folder, below, tagAccess::kRead);
    stamp = {};
    if (opened != kNone) stamp.size = Size(opened);
    return opened;
  }
  // The stamp of a file directly in a folder. False also if it isn't a regular one, or if this
  // system doesn't tell.
  [[nodiscard]] virtual bool Stamp(tagHandle /*folder*/, const char* /*below*/,
                                   tagStamp& /*stamp*/) {
    return false;
  }
  // Opens a file for reading and writing, takes it as TryLock does, and tells its size then.
  [[nodiscard]] virtual tagHandle OpenAlone(tagHandle folder, const char* below, bool& isTaken,
                                            std::int64_t& size) {
    const tagHandle opened = OpenFile(folder, below, tagAccess::kReadWrite);
    isTaken = opened != kNone && TryLock(opened);
    size = opened == kNone ? -1 : Size(opened);
    return opened;
  }
  // Gives back its lock too. kNone does nothing.
  virtual void Close(tagHandle handle) = 0;

  // --- an open file ---

  // In bytes; -1 on failure.
  [[nodiscard]] virtual std::int64_t Size(tagHandle file) = 0;
  // Move as many bytes as can be moved at once, which may be fewer than `count`; 0 at the end.
  [[nodiscard]] virtual std::int64_t Read(tagHandle file, void* to, std::size_t count,
                                          std::uint64_t at) = 0;
  [[nodiscard]] virtual std::int64_t Write(tagHandle file, const void* from, std::size_t count,
                                           std::uint64_t at) = 0;
  [[nodiscard]] virtual bool Truncate(tagHandle file, std::uint64_t size) = 0;
  // Takes the file for this handle alone, without waiting: EAGAIN if another handle has it, be it
  // of this process or of another one. Who doesn't ask isn't kept out. The handle has to be one
  // for writing; true again for the one that has the file already.
  [[nodiscard]] virtual bool TryLock(tagHandle file) = 0;

  // --- durability: true once the power may fail ---

  // The file's bytes and its size; not its name.
  [[nodiscard]] virtual bool Sync(tagHandle file) = 0;
  // The names in a folder.
  [[nodiscard]] virtual bool SyncFolder(tagHandle folder) = 0;
  // Everything on the disk that the handle lies on.
  [[nodiscard]] virtual bool SyncAll(tagHandle handle) = 0;

  // --- names; each directly in its folder ---

  // One folder, accessible to its owner and group (0750). EEXIST if the name is taken.
  [[nodiscard]] virtual bool MakeFolder(tagHandle folder, const char* below) = 0;
  // Never replaces: EEXIST if `to` is taken. Where the file system can't do that at once, both
  // names stand for a moment, and may go on standing if the power fails then.
  [[nodiscard]] virtual bool Rename(tagHandle folder, const char* from, const char* to) = 0;
  // No folder.
  [[nodiscard]] virtual bool Remove(tagHandle folder, const char* below) = 0;
};

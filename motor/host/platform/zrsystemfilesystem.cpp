#include "host/platform/zrsystemfilesystem.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr mode_t kFileMode = 0640;
constexpr mode_t kFolderMode = 0750;
constexpr int kFileFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

template <typename Call>
auto Repeated(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR)
    result = call();
  return result;
}

// True if the path stays below its folder as far as its text tells; EXDEV otherwise.
bool StaysBelow(const char* below) {
  std::string_view rest(below);
  for (;;) {
    const std::size_t end = rest.find('/');
    const std::string_view name = rest.substr(0, end);
    if (name.empty() || name == "..") {
      errno = EXDEV;
      return false;
    }
    if (end == std::string_view::npos) return true;
    rest.remove_prefix(end + 1);
  }
}

// True if it names something directly in a folder; EXDEV otherwise.
bool IsOneName(const char* below) {
  if (std::strchr(below, '/') == nullptr) return StaysBelow(below);
  errno = EXDEV;
  return false;
}

// Opens the folders of the path one by one, where the system can't do it in one call.
int OpenStepByStep(int folder, const char* below, int flags) {
  std::string path(below);
  int at = folder;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = path.find('/', begin);
    const bool isLast = end == std::string::npos;
    const std::string name = path.substr(begin, isLast ? end : end - begin);
    const int mode = isLast ? static_cast<int>(kFileMode) : 0;
    const int step = isLast ? flags : kFolderFlags;
    const int next = Repeated([&] { return ::openat(at, name.c_str(), step | O_NOFOLLOW, mode); });
    const int error = errno;
    if (at != folder) ::close(at);
    if (next < 0 || isLast) {
      errno = error;
      return next;
    }
    at = next;
    begin = end + 1;
  }
}

int OpenBelow(int folder, const char* below, int flags) {
  if (!StaysBelow(below)) return ZRFileSystem::kNone;
  if (std::strchr(below, '/') == nullptr)
    return Repeated([&] { return ::openat(folder, below, flags | O_NOFOLLOW, kFileMode); });
  struct open_how how {};
  how.flags = static_cast<unsigned>(flags);
  how.mode = (flags & O_CREAT) != 0 ? kFileMode : 0;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
  // A change of names elsewhere at the same time makes the call give up (EAGAIN).
  constexpr int kAttempts = 16;
  for (int i = 0; i < kAttempts; ++i) {
    const auto handle = Repeated(
        [&] { return static_cast<int>(::syscall(SYS_openat2, folder, below, &how, sizeof how)); });
    if (handle >= 0) return handle;
    if (errno == ENOSYS || errno == EPERM) break;
    if (errno != EAGAIN) return ZRFileSystem::kNone;
  }
  return OpenStepByStep(folder, below, flags);
}

// Opens a file without noting in it that it was read, where that is allowed.
int OpenQuietly(int folder, const char* below, int flags) {
  const int quiet = OpenBelow(folder, below, flags | kFileFlags | O_NOATIME);
  if (quiet != ZRFileSystem::kNone || errno != EPERM) return quiet;
  return OpenBelow(folder, below, flags | kFileFlags);
}

// The system counts the time of a change in steps, which are far shorter than this.
constexpr std::int64_t kSettling = 2;  // s

// False, with EINVAL, if it isn't a regular file.
bool StampOf(int folder, const char* below, int flags, ZRFileSystem::tagStamp& stamp) {
  struct statx found {};
  constexpr unsigned kWanted = STATX_TYPE | STATX_SIZE | STATX_INO | STATX_CTIME;
  if (::statx(folder, below, flags, kWanted, &found) != 0) return false;
  if (!S_ISREG(found.stx_mode)) {
    errno = EINVAL;
    return false;
  }
  struct timespec now {};
  const bool isKnown =
      (found.stx_mask & kWanted) == kWanted && ::clock_gettime(CLOCK_REALTIME_COARSE, &now) == 0;
  stamp.size = static_cast<std::int64_t>(found.stx_size);
  stamp.device = std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor;
  stamp.number = found.stx_ino;
  stamp.changed = found.stx_ctime.tv_sec;
  stamp.fraction = found.stx_ctime.tv_nsec;
  stamp.isSettled = isKnown && stamp.changed < now.tv_sec - kSettling;
  return true;
}

// Closes a file that is of no use; errno stays.
int Closed(int handle) {
  const int error = errno;
  ::close(handle);
  errno = error;
  return ZRFileSystem::kNone;
}

int RenameWithoutReplacing(int folder, const char* from, const char* to) {
  if (::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  // Not every file system knows how: a second name, and then the first one goes.
  if (::linkat(folder, from, folder, to, 0) != 0) return -1;
  if (::unlinkat(folder, from, 0) == 0) return 0;
  const int error = errno;
  (void)::unlinkat(folder, to, 0);
  errno = error;
  return -1;
}

}  // namespace

ZRFileSystem::tagHandle ZRSystemFileSystem::OpenFolder(const char* path) {
  return Repeated([&] { return ::open(path, kFolderFlags); });
}

ZRFileSystem::tagHandle ZRSystemFileSystem::OpenFolder(tagHandle folder, const char* below) {
  return OpenBelow(folder, below, kFolderFlags);
}

ZRFileSystem::tagHandle ZRSystemFileSystem::OpenFile(tagHandle folder, const char* below,
                                                     tagAccess access) {
  const int how = access == tagAccess::kRead        ? O_RDONLY
                  : access == tagAccess::kReadWrite ? O_RDWR
                                                    : O_RDWR | O_CREAT | O_EXCL;
  const tagHandle handle = OpenBelow(folder, below, how | kFileFlags);
  return handle == kNone || Size(handle) >= 0 ? handle : Closed(handle);
}

ZRFileSystem::tagHandle ZRSystemFileSystem::OpenSized(tagHandle folder, const char* below,
                                                      std::int64_t& size) {
  const tagHandle handle = OpenQuietly(folder, below, O_RDONLY);
  // Much cheaper than to ask what it is. A folder may tell that it has no end.
  size = handle == kNone ? -1 : ::lseek(handle, 0, SEEK_END);
  if (size >= INT32_MAX) size = Size(handle);
  return handle == kNone || size >= 0 ? handle : Closed(handle);
}

ZRFileSystem::tagHandle ZRSystemFileSystem::OpenStamped(tagHandle folder, const char* below,
                                                        tagStamp& stamp) {
  stamp = {};
  const tagHandle handle = OpenQuietly(folder, below, O_RDONLY);
  return handle == kNone || StampOf(handle, "", AT_EMPTY_PATH, stamp) ? handle : Closed(handle);
}

bool ZRSystemFileSystem::Stamp(tagHandle folder, const char* below, tagStamp& stamp) {
  stamp = {};
  return IsOneName(below) &&
         StampOf(folder, below, AT_SYMLINK_NOFOLLOW | AT_STATX_FORCE_SYNC, stamp);
}

ZRFileSystem::tagHandle ZRSystemFileSystem::OpenAlone(tagHandle folder, const char* below,
                                                      bool& isTaken, std::int64_t& size) {
  const tagHandle handle = OpenQuietly(folder, below, O_RDWR);
  isTaken = handle != kNone && TryLock(handle);
  size = handle == kNone ? -1 : Size(handle);
  return handle == kNone || size >= 0 ? handle : Closed(handle);
}

void ZRSystemFileSystem::Close(tagHandle handle) {
  if (handle >= 0) ::close(handle);
}

std::int64_t ZRSystemFileSystem::Size(tagHandle file) {
  // The file's times aren't asked for: who has seen them makes the next write an expensive one.
  struct statx found {};
  if (::statx(file, "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE, &found) != 0) return -1;
  if (S_ISREG(found.stx_mode)) return static_cast<std::int64_t>(found.stx_size);
  errno = EINVAL;
  return -1;
}

std::int64_t ZRSystemFileSystem::Read(tagHandle file, void* to, std::size_t count,
                                      std::uint64_t at) {
  return Repeated([&] { return ::pread(file, to, count, static_cast<off_t>(at)); });
}

std::int64_t ZRSystemFileSystem::Write(tagHandle file, const void* from, std::size_t count,
                                       std::uint64_t at) {
  return Repeated([&] { return ::pwrite(file, from, count, static_cast<off_t>(at)); });
}

bool ZRSystemFileSystem::Truncate(tagHandle file, std::uint64_t size) {
  return Repeated([&] { return ::ftruncate(file, static_cast<off_t>(size)); }) == 0;
}

bool ZRSystemFileSystem::TryLock(tagHandle file) {
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  if (Repeated([&] { return ::fcntl(file, F_OFD_SETLK, &whole); }) == 0) return true;
  if (errno == EACCES) errno = EAGAIN;
  return false;
}

bool ZRSystemFileSystem::Sync(tagHandle file) {
  return Repeated([&] { return ::fdatasync(file); }) == 0;
}

bool ZRSystemFileSystem::SyncFolder(tagHandle folder) {
  return Repeated([&] { return ::fsync(folder); }) == 0;
}

bool ZRSystemFileSystem::SyncAll(tagHandle handle) {
  return Repeated([&] { return ::syncfs(handle); }) == 0;
}

bool ZRSystemFileSystem::MakeFolder(tagHandle folder, const char* below) {
  return IsOneName(below) && ::mkdirat(folder, below, kFolderMode) == 0;
}

bool ZRSystemFileSystem::Rename(tagHandle folder, const char* from, const char* to) {
  return IsOneName(from) && IsOneName(to) && RenameWithoutReplacing(folder, from, to) == 0;
}

bool ZRSystemFileSystem::Remove(tagHandle folder, const char* below) {
  return IsOneName(below) && ::unlinkat(folder, below, 0) == 0;
}

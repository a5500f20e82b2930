#include "host/base/zrlogfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "host/platform/zrplatform.h"

namespace {

constexpr mode_t kMode = 0640;
constexpr mode_t kOthers = 0007;

// Makes the file, if there is none, with its final rights from the first moment.
void MakeIfMissing(const std::string& path) {
  const int made =
      ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, kMode);
  if (made >= 0) (void)::close(made);
}

// False with errno set if `path` is no regular file (opening a pipe, say, could wait for ever).
bool IsRegular(const std::string& path, struct stat& status) {
  if (::stat(path.c_str(), &status) != 0) return false;
  if (S_ISREG(status.st_mode)) return true;
  errno = EINVAL;
  return false;
}

// Takes the rights of others away. False with errno set if that isn't allowed.
bool KeepOthersOut(std::FILE* file, mode_t mode) {
  constexpr mode_t kRights = 07777;
  return (mode & kOthers) == 0 || ::fchmod(::fileno(file), mode & kRights & ~kOthers) == 0;
}

}  // namespace

ZRLogFile::ZRLogFile(std::string toWrite, std::uint64_t fileSize, unsigned int filesKept)
    : path(std::move(toWrite)), sizeLimit(fileSize), kept(filesKept) {}

bool ZRLogFile::Open() {
  Close();
  MakeIfMissing(path);
  struct stat status {};
  if (!IsRegular(path, status)) return false;
  file = ZRPlatform::Get().OpenFile(path, "ab");
  if (file == nullptr) return false;
  size = static_cast<std::uint64_t>(status.st_size);
  if (KeepOthersOut(file, status.st_mode)) return true;
  const int reason = errno;
  Close();
  errno = reason;
  return false;
}

void ZRLogFile::Write(std::string_view lines) {
  if (file != nullptr && size > 0 && size + lines.size() > sizeLimit) Rotate();
  if (file == nullptr && !Open()) {
    ++lost;
    return;
  }
  TellLost();
  if (!Append(lines)) ++lost;
}

// Until they are written out, the lines that are told of count as lost themselves.
void ZRLogFile::TellLost() {
  if (lost == 0) return;
  if (!Append(std::to_string(lost) + " lines of the log were lost here\n")) return;
  buffered += lost - 1;
  lost = 0;
}

void ZRLogFile::Flush() {
  if (file == nullptr) return;
  if (std::fflush(file) != 0) {
    CloseFailed();
    return;
  }
  buffered = 0;
}

bool ZRLogFile::Append(std::string_view lines) {
  if (file == nullptr) return false;
  if (std::fwrite(lines.data(), 1, lines.size(), file) != lines.size()) {
    CloseFailed();
    return false;
  }
  size += lines.size();
  ++buffered;
  return true;
}

// If the file can't be moved aside, it grows by its limit once more before the next attempt.
void ZRLogFile::Rotate() {
  ZRPlatform& platform = ZRPlatform::Get();
  Close();
  for (unsigned int number = kept; number > 1; --number)
    (void)platform.RenameFile(Kept(number - 1), Kept(number));
  const bool moved = kept == 0 ? platform.RemoveFile(path) : platform.RenameFile(path, Kept(1));
  if (Open() && !moved) size = 0;
}

void ZRLogFile::Close() {
  if (file == nullptr) return;
  if (std::fclose(file) != 0) lost += buffered;
  buffered = 0;
  file = nullptr;
}

void ZRLogFile::CloseFailed() {
  lost += buffered;
  buffered = 0;
  Close();
}

std::string ZRLogFile::Kept(unsigned int number) const {
  return path + "." + std::to_string(number);
}

#include "host/platform/zrsecretfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace {

constexpr mode_t kOthers = 077;
constexpr mode_t kOwnersAlone = 0600;
constexpr const char* kNewEnding = ".new";

// An open file or folder that is closed with the object.
class COpened {
 public:
  explicit COpened(int toOwn) : descriptor(toOwn) {}
  ~COpened() {
    if (descriptor < 0) return;
    const int error = errno;
    (void)::close(descriptor);
    errno = error;
  }
  COpened(const COpened&) = delete;
  COpened& operator=(const COpened&) = delete;
  [[nodiscard]] int Get() const { return descriptor; }
  [[nodiscard]] bool IsOpen() const { return descriptor >= 0; }

 private:
  const int descriptor;
};

template <typename Call>
auto Repeated(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR)
    result = call();
  return result;
}

std::string WhyNot(const char* what, int error) {
  return std::string("it can't be ") + what + ": " + std::generic_category().message(error);
}

// What keeps it from being a file of secrets; empty for nothing.
std::string Fault(int file, std::size_t limit) {
  struct stat found {};
  if (::fstat(file, &found) != 0) return WhyNot("looked at", errno);
  if (!S_ISREG(found.st_mode)) return "it is no regular file";
  if (found.st_uid != ::geteuid()) return "it belongs to another user";
  if ((found.st_mode & kOthers) != 0) return "its mode must be 0600: others may read or change it";
  if (found.st_size > 0 && static_cast<std::size_t>(found.st_size) > limit)
    return "it is larger than " + std::to_string(limit) + " bytes";
  return {};
}

// Reads to the end; false if that fails, or comes after more than `limit` bytes.
bool ReadAll(int file, std::size_t limit, std::string& content) {
  constexpr std::size_t kPiece = 4096;
  char piece[kPiece];
  for (;;) {
    const ssize_t size = Repeated([&] { return ::read(file, piece, kPiece); });
    if (size <= 0) return size == 0;
    content.append(piece, static_cast<std::size_t>(size));
    errno = EFBIG;
    if (content.size() > limit) return false;
  }
}

bool WriteAll(int file, std::string_view content) {
  while (!content.empty()) {
    const ssize_t size = Repeated([&] { return ::write(file, content.data(), content.size()); });
    if (size <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(size));
  }
  return Repeated([&] { return ::fsync(file); }) == 0;
}

}  // namespace

ZRSecretFile::ZRSecretFile(std::string itsFolder, std::string itsName)
    : folder(std::move(itsFolder)), name(std::move(itsName)) {}

ZRSecretFile::tagAnswer ZRSecretFile::Read(std::size_t limit, std::string& content,
                                           std::string& reason) const {
  content.clear();
  const std::string path = folder + "/" + name;
  const COpened file(Repeated([&] {
    return ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  }));
  if (!file.IsOpen()) {
    const int error = errno;
    if (error == ENOENT) return tagAnswer::kMissing;
    reason = error == ELOOP ? "it is a symbolic link" : WhyNot("opened", error);
    return tagAnswer::kRefused;
  }
  reason = Fault(file.Get(), limit);
  if (!reason.empty()) return tagAnswer::kRefused;
  if (ReadAll(file.Get(), limit, content)) return tagAnswer::kDone;
  reason = WhyNot("read", errno);
  content.clear();
  return tagAnswer::kRefused;
}

bool ZRSecretFile::Replace(std::string_view content, std::string& reason) const {
  const COpened opened(
      Repeated([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (opened.IsOpen() && ReplaceIn(opened.Get(), content)) return true;
  reason = WhyNot("written", errno);
  return false;
}

// By a new file, which takes the old one's name when it is safe.
bool ZRSecretFile::ReplaceIn(int opened, std::string_view content) const {
  const std::string fresh = name + kNewEnding;
  // What a process that was killed has left.
  if (::unlinkat(opened, fresh.c_str(), 0) != 0 && errno != ENOENT) return false;
  const COpened file(Repeated([&] {
    return ::openat(opened, fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                    kOwnersAlone);
  }));
  if (!file.IsOpen()) return false;
  if (WriteAll(file.Get(), content) &&
      ::renameat(opened, fresh.c_str(), opened, name.c_str()) == 0) {
    (void)Repeated([&] { return ::fsync(opened); });  // the new name is there all the same
    return true;
  }
  const int error = errno;
  (void)::unlinkat(opened, fresh.c_str(), 0);
  errno = error;
  return false;
}

ZRSecretFile::tagStamp ZRSecretFile::Stamp() const {
  struct stat found {};
  if (::lstat((folder + "/" + name).c_str(), &found) != 0) return {};
  return {found.st_dev, found.st_ino, found.st_size, found.st_ctim.tv_sec, found.st_ctim.tv_nsec};
}

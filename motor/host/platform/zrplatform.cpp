#include "host/platform/zrplatform.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <ctime>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "host/platform/zrprocess.h"
#include "host/platform/zrsystemfilesystem.h"

namespace {

constexpr long kNanosecondsInMillisecond = 1000000;

timespec Span(std::uint32_t milliseconds) {
  return {static_cast<std::time_t>(milliseconds / 1000),
          static_cast<long>(milliseconds % 1000) * kNanosecondsInMillisecond};
}

class ZRSystemPlatform final : public ZRPlatform {
 public:
  std::uint32_t TickCount() override {
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(sinceBoot).count());
  }

  std::int64_t UtcMilliseconds() override {
    const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(since1970).count();
  }

  void Sleep(std::uint32_t milliseconds) override {
    if (milliseconds == 0) {
      std::this_thread::yield();
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
  }

  tagThread StartThread(std::function<void()> body) override {
    const std::lock_guard lock(monitor);
    try {
      threads.emplace(next, std::thread(std::move(body)));
    } catch (const std::system_error&) {
      return 0;
    }
    return next++;
  }

  void JoinThread(tagThread thread) override {
    std::thread ended;
    {
      const std::lock_guard lock(monitor);
      const auto found = threads.find(thread);
      if (found == threads.end()) return;
      ended = std::move(found->second);
      threads.erase(found);
    }
    ended.join();
  }

  bool Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) override {
    const timespec span = Span(milliseconds);
    const long result =
        Futex(word, FUTEX_WAIT_PRIVATE, expected, milliseconds == kInfinite ? nullptr : &span);
    return result == 0 || errno != ETIMEDOUT;
  }

  void WakeOne(ZRWaitWord& word) override { (void)Futex(word, FUTEX_WAKE_PRIVATE, 1, nullptr); }
  void WakeAll(ZRWaitWord& word) override {
    (void)Futex(word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr);
  }

 private:
  static long Futex(ZRWaitWord& word, int operation, std::uint32_t value, const timespec* span) {
    static_assert(sizeof(ZRWaitWord) == sizeof(std::uint32_t) && ZRWaitWord::is_always_lock_free);
    return ::syscall(SYS_futex, &word, operation, value, span, nullptr, 0);
  }

  std::mutex monitor;
  std::map<tagThread, std::thread> threads;
  tagThread next = 1;
};

ZRSystemPlatform systemPlatform;
std::atomic<ZRPlatform*> current{&systemPlatform};

// True, with errno, for what a program could wait for without end: a pipe or a socket.
bool IsPassage(const std::string& path) {
  struct stat found {};
  if (::stat(path.c_str(), &found) != 0) return false;
  if (!S_ISFIFO(found.st_mode) && !S_ISSOCK(found.st_mode)) return false;
  errno = EINVAL;
  return true;
}

}  // namespace

ZRFileSystem& ZRPlatform::Files() {
  static ZRSystemFileSystem files;
  return files;
}

std::FILE* ZRPlatform::OpenFile(const std::string& path, const char* mode) {
  return IsPassage(path) ? nullptr : std::fopen(path.c_str(), (std::string(mode) + "e").c_str());
}

std::FILE* ZRPlatform::CreatePrivateFile(const std::string& path) {
  constexpr mode_t kOthers = 077;
  constexpr mode_t kOwnersAlone = 0600;
  const std::size_t behindFolder = path.rfind('/') + 1;  // 0 without a separator
  const std::string where = behindFolder == 0 ? "." : path.substr(0, behindFolder);
  const int folder = ::open(where.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return nullptr;
  struct stat found {};
  const bool isPrivate =
      ::fstat(folder, &found) == 0 && found.st_uid == ::geteuid() && (found.st_mode & kOthers) == 0;
  const int file = isPrivate ? ::openat(folder, path.c_str() + behindFolder,
                                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnersAlone)
                             : -1;
  const int failure = isPrivate ? errno : EACCES;
  (void)::close(folder);
  errno = failure;
  return file < 0 ? nullptr : ::fdopen(file, "w");
}

bool ZRPlatform::RemoveFile(const std::string& path) {
  return ::unlink(path.c_str()) == 0;
}

bool ZRPlatform::RenameFile(const std::string& from, const std::string& to) {
  return std::rename(from.c_str(), to.c_str()) == 0;
}

bool ZRPlatform::ListFolder(const std::string& folder, std::vector<std::string>& names) {
  const auto close = [](DIR* opened) { (void)::closedir(opened); };
  const std::unique_ptr<DIR, decltype(close)> open(::opendir(folder.c_str()), close);
  if (open == nullptr) return false;
  names.clear();
  errno = 0;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): the stream is this call's own
  while (const dirent* entry = ::readdir(open.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return errno == 0;
}

int ZRPlatform::StartProcess(const ZRProcessStart& start) {
  return ZRProcess::Start(start);
}

bool ZRPlatform::WaitProcess(int process, std::uint32_t milliseconds, int& exitCode) {
  return ZRProcess::Wait(process, milliseconds, exitCode);
}

void ZRPlatform::EndProcess(int process) {
  ZRProcess::End(process);
}

ZRPlatform& ZRPlatform::Get() {
  return *current.load(std::memory_order_acquire);
}

void ZRPlatform::Replace(ZRPlatform* platform) {
  current.store(platform != nullptr ? platform : &systemPlatform, std::memory_order_release);
}

ZRPlatform& ZRPlatform::System() {
  return systemPlatform;
}

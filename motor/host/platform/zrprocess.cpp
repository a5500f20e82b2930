#include "host/platform/zrprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace {

// Attributes and actions of one start, released at its end.
class CSpawn {
 public:
  CSpawn() {
    (void)posix_spawnattr_init(&attributes);
    (void)posix_spawn_file_actions_init(&actions);
    sigset_t all;
    (void)sigfillset(&all);
    sigset_t none;
    (void)sigemptyset(&none);
    (void)posix_spawnattr_setsigdefault(&attributes, &all);
    (void)posix_spawnattr_setsigmask(&attributes, &none);
    (void)posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
      (void)posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
    (void)posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  }
  ~CSpawn() {
    (void)posix_spawn_file_actions_destroy(&actions);
    (void)posix_spawnattr_destroy(&attributes);
  }
  CSpawn(const CSpawn&) = delete;
  CSpawn& operator=(const CSpawn&) = delete;

  posix_spawnattr_t attributes{};
  posix_spawn_file_actions_t actions{};
};

}  // namespace

int ZRProcess::Start(const ZRProcessStart& start) {
  CSpawn spawn;
  if (!start.folder.empty())
    (void)posix_spawn_file_actions_addchdir_np(&spawn.actions, start.folder.c_str());
  std::vector<std::string> words{start.program};
  words.insert(words.end(), start.arguments.begin(), start.arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t process = 0;
  const int failure = posix_spawn(&process, start.program.c_str(), &spawn.actions,
                                  &spawn.attributes, pointers.data(), environ);
  if (failure == 0) return process;
  errno = failure;
  return 0;
}

bool ZRProcess::Wait(int process, std::uint32_t milliseconds, int& exitCode) {
  const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
  if (descriptor >= 0) {
    pollfd ended{descriptor, POLLIN, 0};
    const int limit =
        milliseconds == ZRPlatform::kInfinite ? -1 : static_cast<int>(milliseconds & 0x7FFFFFFFu);
    const int ready = ::poll(&ended, 1, limit);
    (void)::close(descriptor);
    if (ready == 0) return false;
  }
  int status = 0;
  const int waited = ::waitpid(process, &status, descriptor >= 0 ? 0 : WNOHANG);
  if (waited == 0) return false;
  exitCode = ZRPlatform::kNoExitCode;
  if (waited != process) return true;
  constexpr int kDeathBySignal = 128;
  exitCode = WIFSIGNALED(status) ? kDeathBySignal + WTERMSIG(status) : WEXITSTATUS(status);
  return true;
}

void ZRProcess::End(int process) {
  if (process > 0) (void)::kill(-process, SIGKILL);
}

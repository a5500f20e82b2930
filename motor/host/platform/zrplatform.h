// The one door to time, threads, waiting, files and processes. Nothing above this folder
// names std::this_thread, std::mutex, std::condition_variable, a clock of <chrono> or fork.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

class ZRFileSystem;

// A word that threads wait on until another one changes it. The base of every lock.
using ZRWaitWord = std::atomic<std::uint32_t>;

// What to start and how: no shell reads it, nothing is expanded.
struct ZRProcessStart {
  std::string program;                 // path of the executable
  std::vector<std::string> arguments;  // without the program's own name
  std::string folder;                  // working folder; empty for the caller's
};

class ZRPlatform {
 public:
  static constexpr std::uint32_t kInfinite = 0xFFFFFFFFu;

  // Names a thread between StartThread and JoinThread. 0 is no thread.
  using tagThread = std::uint64_t;

  virtual ~ZRPlatform() = default;

  // --- time ---

  // Milliseconds since an arbitrary start; wraps after 49.7 days and can be 0.
  [[nodiscard]] virtual std::uint32_t TickCount() = 0;

  // Milliseconds of UTC since 1970-01-01T00:00:00Z. May step in either direction.
  [[nodiscard]] virtual std::int64_t UtcMilliseconds() = 0;

  // Gives up the processor (0) or waits that many milliseconds.
  virtual void Sleep(std::uint32_t milliseconds) = 0;

  // --- threads and waiting ---

  // Runs `body` on a new thread, to be joined. 0 if no thread could be made.
  [[nodiscard]] virtual tagThread StartThread(std::function<void()> body) = 0;

  // Waits until that thread's body has returned. Each thread is joined once.
  virtual void JoinThread(tagThread thread) = 0;

  // Returns when `word` no longer holds `expected`, when it is woken, or for no reason at all:
  // the caller looks again. False only if `milliseconds` went by without a wake-up.
  [[nodiscard]] virtual bool Wait(ZRWaitWord& word, std::uint32_t expected,
                                  std::uint32_t milliseconds) = 0;

  // Wakes one thread, or all threads, that wait on `word`.
  virtual void WakeOne(ZRWaitWord& word) = 0;
  virtual void WakeAll(ZRWaitWord& word) = 0;

  // --- files; paths are UTF-8 ---

  // As fopen, close-on-exec. Null with errno set on failure, and for a pipe or a socket.
  [[nodiscard]] virtual std::FILE* OpenFile(const std::string& path, const char* mode);

  // A new file to write, its owner's alone (0600). Null with errno set on failure: EEXIST if the
  // name is taken, be it by a link, and EACCES if its folder isn't this user's alone (0700).
  [[nodiscard]] virtual std::FILE* CreatePrivateFile(const std::string& path);

  // False with errno set on failure.
  [[nodiscard]] virtual bool RemoveFile(const std::string& path);
  [[nodiscard]] virtual bool RenameFile(const std::string& from, const std::string& to);

  // Names in `folder` without "." and "..", in no order. False with errno set on failure.
  [[nodiscard]] virtual bool ListFolder(const std::string& folder, std::vector<std::string>& names);

  // Files by position, of this platform.
  [[nodiscard]] virtual ZRFileSystem& Files();

  // --- processes ---

  // Starts a program in a session of its own, with /dev/null on the three standard streams, no
  // inherited descriptor and default signals. The process id; 0 with errno set if it couldn't
  // be started (not found and not executable included).
  [[nodiscard]] virtual int StartProcess(const ZRProcessStart& start);

  // Waits for the end of a process started here. True with its exit code (128 + signal after a
  // death by signal; kNoExitCode if somebody else has waited for it), and the process is gone;
  // false if it still runs after `milliseconds`.
  static constexpr int kNoExitCode = -1;
  [[nodiscard]] virtual bool WaitProcess(int process, std::uint32_t milliseconds, int& exitCode);

  // Ends the session of a process started here; it still has to be waited for.
  virtual void EndProcess(int process);

  // The platform in force: the system's, until another one replaces it. Replaced before any
  // thread starts and after the last one has been joined; null brings the system's back.
  [[nodiscard]] static ZRPlatform& Get();
  static void Replace(ZRPlatform* platform);
  [[nodiscard]] static ZRPlatform& System();
};

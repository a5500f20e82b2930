// A program of this machine, started by a test, with its two streams read.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <utility>
#include <vector>

extern char** environ;

// Every wait ends after kPatience. The destructor ends the process, and no other one.
class RunningProgram {
 public:
  static constexpr std::chrono::seconds kPatience{20};

  // `words` begin with the program; without a "/" it is looked up in PATH.
  explicit RunningProgram(std::vector<std::string> words) {
    std::array<std::array<int, 2>, 2> pipes{};
    posix_spawn_file_actions_t actions;
    (void)::posix_spawn_file_actions_init(&actions);
    for (int stream = 0; stream < 2; ++stream) {
      auto& ends = pipes[static_cast<std::size_t>(stream)];
      if (::pipe2(ends.data(), O_CLOEXEC) != 0) return;
      (void)::posix_spawn_file_actions_adddup2(&actions, ends[1], stream + STDOUT_FILENO);
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
      arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (::posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
      process = 0;
    (void)::posix_spawn_file_actions_destroy(&actions);
    for (std::size_t stream = 0; stream < 2; ++stream) {
      (void)::close(pipes[stream][1]);
      streams[stream].end = pipes[stream][0];
    }
  }
  ~RunningProgram() {
    if (process != 0) {
      (void)::kill(process, SIGKILL);
      (void)::waitpid(process, nullptr, 0);
    }
    for (const tagStream& stream : streams)
      if (stream.end >= 0) (void)::close(stream.end);
  }
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  [[nodiscard]] const std::string& Out() const { return streams[0].text; }
  [[nodiscard]] const std::string& Error() const { return streams[1].text; }

  // 0 once it has been waited for.
  [[nodiscard]] pid_t Id() const { return process; }
  void Signal(int number) const {
    if (process != 0) (void)::kill(process, number);
  }

  // Waits until standard error holds `text` behind what an earlier call has found. False if it
  // doesn't come.
  [[nodiscard]] bool WaitFor(const std::string& text) {
    const auto end = Clock::now() + kPatience;
    for (;;) {
      const std::size_t at = Error().find(text, found);
      if (at != std::string::npos) {
        found = at + text.size();
        return true;
      }
      if (!ReadMore(end)) return false;
    }
  }

  // Reads to the end. The exit code; -1 for a program that doesn't end by itself, or by a signal.
  [[nodiscard]] int Wait() {
    const auto end = Clock::now() + kPatience;
    while (ReadMore(end)) {
    }
    if (process == 0 || streams[0].end >= 0 || streams[1].end >= 0) return -1;
    int status = 0;
    (void)::waitpid(std::exchange(process, 0), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  using Clock = std::chrono::steady_clock;
  struct tagStream {
    int end = -1;
    std::string text;
  };

  // False when both streams are over, and when time is.
  bool ReadMore(Clock::time_point end) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
    std::array<pollfd, 2> polled{{{streams[0].end, POLLIN, 0},
                                  {streams[1].end, POLLIN, 0}}};  // negative ones are passed over
    if (left.count() <= 0 || (polled[0].fd < 0 && polled[1].fd < 0)) return false;
    if (::poll(polled.data(), polled.size(), static_cast<int>(left.count())) <= 0) return false;
    for (std::size_t stream = 0; stream < 2; ++stream)
      if (polled[stream].revents != 0) ReadFrom(streams[stream]);
    return true;
  }
  static void ReadFrom(tagStream& stream) {
    std::array<char, 4096> piece{};
    const ssize_t size = ::read(stream.end, piece.data(), piece.size());
    if (size > 0) {
      stream.text.append(piece.data(), static_cast<std::size_t>(size));
    } else {
      (void)::close(std::exchange(stream.end, -1));
    }
  }

  pid_t process = 0;
  std::array<tagStream, 2> streams;
  std::size_t found = 0;
};

// A broker that nobody here wrote, on a free port of this machine, with a folder of its own.
#pragma once

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include "support/freeport.h"
#include "support/runningprogram.h"
#include "support/sitefolder.h"

class Mosquitto {
 public:
  static constexpr const char* kPath = "/usr/sbin/mosquitto";

  [[nodiscard]] static bool IsInstalled() { return ::access(kPath, X_OK) == 0; }

  Mosquitto() { port = FreePort(); }

  [[nodiscard]] int Port() const { return port; }
  [[nodiscard]] std::string File(const std::string& name) const { return folder.path / name; }
  void Write(const std::string& name, const std::string& content) const {
    folder.Write(name, content);
  }

  // `more`: lines of its settings, behind the listener's.
  [[nodiscard]] bool Start(const std::string& more = "allow_anonymous true\n") {
    folder.Write("broker.conf", "user root\nmax_queued_messages 0\nlistener " +
                                    std::to_string(port) + " 127.0.0.1\n" + more);
    program = std::make_unique<RunningProgram>(
        std::vector<std::string>{kPath, "-c", File("broker.conf")});
    return program->WaitFor(" running\n");
  }
  // As after a power cut: it keeps nothing.
  void Kill() { program.reset(); }
  // It doesn't run, and answers nothing, until it goes on.
  void Freeze() const { program->Signal(SIGSTOP); }
  void GoOn() const { program->Signal(SIGCONT); }

  // A client of its makers' that prints a line for each message of the filters, "TOPIC PAYLOAD".
  [[nodiscard]] std::unique_ptr<RunningProgram> Subscriber(
      const std::string& filter, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> words{"mosquitto_sub",      "-h", "127.0.0.1", "-p",
                                   std::to_string(port), "-v", "-t",        filter};
    words.insert(words.end(), more.begin(), more.end());
    return std::make_unique<RunningProgram>(words);
  }
  // The same, to end after `count` messages of QoS 1, none of which it misses: the broker holds
  // the session of a client that has subscribed under that id before.
  [[nodiscard]] std::unique_ptr<RunningProgram> Listener(const std::string& id,
                                                         const std::string& filter,
                                                         int count) const {
    std::vector<std::string> session{"-i", id, "-c", "-q", "1"};
    std::vector<std::string> first = session;
    first.emplace_back("-E");
    (void)Subscriber(filter, first)->Wait();
    session.insert(session.end(), {"-C", std::to_string(count)});
    return Subscriber(filter, session);
  }
  // What the broker keeps for a filter.
  [[nodiscard]] std::string Retained(const std::string& filter) const {
    const auto client = Subscriber(filter, {"--retained-only", "-W", "1"});
    (void)client->Wait();
    return client->Out();
  }
  [[nodiscard]] bool Publish(const std::string& topic, const std::string& payload,
                             bool retain = false) const {
    std::vector<std::string> words{
        "mosquitto_pub", "-h", "127.0.0.1", "-p", std::to_string(port), "-t", topic, "-m",
        payload,         "-q", "1"};
    if (retain) words.emplace_back("-r");
    return RunningProgram(words).Wait() == 0;
  }

  // Looks until `holds` does. False after RunningProgram::kPatience.
  template <typename Condition>
  [[nodiscard]] static bool Until(Condition holds) {
    const auto end = std::chrono::steady_clock::now() + RunningProgram::kPatience;
    while (!holds()) {
      if (std::chrono::steady_clock::now() > end) return false;
      (void)::usleep(5000);
    }
    return true;
  }

 private:
  SiteFolder folder;
  std::unique_ptr<RunningProgram> program;
  int port = 0;
};

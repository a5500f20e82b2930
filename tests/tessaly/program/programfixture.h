// The program as its users start it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/eventxml.h"
#include "support/runningprogram.h"
#include "support/sitefolder.h"
#include "support/tessalyprogram.h"

inline constexpr int kDone = 0;
inline constexpr int kFaulty = 1;
inline constexpr int kImpossible = 2;

// A site whose events are in one group, and the program on it.
class Program : public ::testing::Test {
 protected:
  Program() {
    Settings("");
    Events(EventXml("Always", 1).Condition("1 = 1").Notify());
  }

  void Settings(const std::string& more) const {
    site.Write("tessaly.toml",
               more +
                   "[[driver]]\ntype = \"simulator\"\nname = \"sim\"\n[[driver.variable]]\n"
                   "name = \"LEVEL\"\nform = \"constant\"\nvalue = 2.5\n");
  }
  void Events(const EventXml& event) const {
    site.Write("config/default.xeve", "<main>\n<events>\n" + event.Xml() + "\n</events>\n</main>");
  }

  static std::vector<std::string> Words(std::vector<std::string> words) {
    words.insert(words.begin(), TessalyProgram());
    return words;
  }
  // Runs to the end. The exit code; what was said is in `out` and `error`.
  int Run(std::vector<std::string> words) {
    words.insert(words.begin() + 1, site.path.string());
    return RunWith(std::move(words));
  }
  int RunWith(std::vector<std::string> words) {
    RunningProgram once(Words(std::move(words)));
    const int exitCode = once.Wait();
    out = once.Out();
    error = once.Error();
    return exitCode;
  }
  // Starts `run`, and waits until it works. The port that it listens on, 0 if it doesn't.
  std::uint16_t Start(const std::vector<std::string>& more = {"--port", "0"}) {
    std::vector<std::string> words{"run", site.path.string()};
    words.insert(words.end(), more.begin(), more.end());
    program = std::make_unique<RunningProgram>(Words(words));
    const std::string start = "http://127.0.0.1:";
    if (!program->WaitFor(" shows what is active\n")) return 0;
    const std::size_t at = program->Error().find(start);
    return static_cast<std::uint16_t>(std::stoi(program->Error().substr(at + start.size())));
  }
  bool Says(const std::string& text) const {
    return program->Error().find(text) != std::string::npos;
  }
  int Stop(int signal = SIGTERM) const {
    program->Signal(signal);
    return program->Wait();
  }

  SiteFolder site;
  std::unique_ptr<RunningProgram> program;
  std::string out;
  std::string error;
};

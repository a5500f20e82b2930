// Virtual time in which the program that drives a modem is played by the test: nothing is started,
// and a run takes as long as the test says.
#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "host/platform/zrvirtualtime.h"
#include "support/faketool.h"

class FakeModemTool : public ZRVirtualTime {
 public:
  // What a run finds.
  struct tagRun {
    std::string program;
    std::vector<std::string> arguments;  // behind the settings file and its option
    std::string settings;                // what that file holds
    std::string batch;                   // what the file of a batch holds
  };
  struct tagResult {
    int exitCode = 0;
    std::uint32_t milliseconds = 0;
  };

  int StartProcess(const ZRProcessStart& start) override {
    if (!starts) return 0;
    tagRun run{start.program, {start.arguments.begin() + 2, start.arguments.end()}, "", ""};
    run.settings = FileText(start.arguments.at(1));
    if (run.arguments.front() == "batch") run.batch = FileText(run.arguments.at(1));
    runs.push_back(run);
    tagResult result;
    if (!results.empty()) {
      result = results.front();
      results.pop_front();
    }
    under[++lastProcess] = {result.exitCode, TickCount() + result.milliseconds};
    return lastProcess;
  }
  bool WaitProcess(int process, std::uint32_t milliseconds, int& exitCode) override {
    tagUnderWay& found = under.at(process);
    const std::uint32_t left = found.end > TickCount() ? found.end - TickCount() : 0;
    Sleep(std::min(left, milliseconds));
    if (left > milliseconds) return false;
    exitCode = found.exitCode;
    under.erase(process);
    return true;
  }
  void EndProcess(int process) override {
    ++ended;
    under.at(process) = {137, TickCount()};
  }

  [[nodiscard]] std::size_t UnderWay() const { return under.size(); }

  std::deque<tagResult> results;  // of the next runs; those behind them succeed at once
  bool starts = true;
  std::vector<tagRun> runs;
  int ended = 0;

 private:
  struct tagUnderWay {
    int exitCode = 0;
    std::uint32_t end = 0;
  };
  std::map<int, tagUnderWay> under;
  int lastProcess = 100;
};

// Virtual time in which the mail program is played by the test: nothing is started, and a run
// takes as long as the test says.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrfiles.h"
#include "support/text.h"

// The whole of a file; empty if it can't be read.
inline std::string FileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

// A share folder of its own, as private as it has to be, in force as long as the object lives.
class ShareFolder {
 public:
  ShareFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "tessaly-share-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
    SetSharePath(Wide(path.string()));
  }
  ~ShareFolder() {
    SetSharePath(L"");
    std::error_code ignored;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path, ignored);
  }
  ShareFolder(const ShareFolder&) = delete;
  ShareFolder& operator=(const ShareFolder&) = delete;

  // The files in it, in the order of their names.
  [[nodiscard]] std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  std::filesystem::path path;
};

class FakeTool : public ZRVirtualTime {
 public:
  // What a run finds.
  struct tagRun {
    std::string program;
    std::vector<std::string> arguments;
    std::string script;
    std::string account;
    std::string mail;
    std::string to;  // what stands in the mail
    std::uint32_t begun = 0;
  };
  struct tagResult {
    int exitCode = 0;
    std::uint32_t milliseconds = 0;
  };
  static constexpr std::uint32_t kForEver = 1'000'000'000;

  int StartProcess(const ZRProcessStart& start) override {
    tagRun run{start.program, start.arguments, FileText(start.arguments.back()), "", "", "", 0};
    run.account = FileText(WordBehind(run.script, " -C '"));
    run.mail = FileText(WordBehind(run.script, " < '"));
    run.to = run.mail.substr(0, run.mail.find("\r\n"));
    run.to.erase(0, std::string("To: ").size());
    run.begun = TickCount();
    runs.push_back(run);
    if (!starts) return 0;
    const tagResult result = answer ? answer(run) : tagResult{};
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
    ended.push_back(process);
    under.at(process) = {137, TickCount() + endTakes};
  }
  std::FILE* CreatePrivateFile(const std::string& path) override {
    if (filesLeft == 0) return nullptr;
    if (filesLeft > 0) --filesLeft;
    return ZRVirtualTime::CreatePrivateFile(path);
  }

  bool RemoveFile(const std::string& path) override {
    removed.push_back(path);
    return ZRVirtualTime::RemoveFile(path);
  }

  // The recipients of all runs, in their order.
  [[nodiscard]] std::vector<std::string> Recipients() const {
    std::vector<std::string> all;
    for (const tagRun& run : runs)
      all.push_back(run.to);
    return all;
  }
  [[nodiscard]] std::size_t UnderWay() const { return under.size(); }

  std::function<tagResult(const tagRun&)> answer;  // without it each run succeeds at once
  bool starts = true;
  int filesLeft = -1;  // so many can be made; negative: any number
  std::vector<tagRun> runs;
  std::vector<int> ended;
  std::uint32_t endTakes = 0;        // ms until one that is ended is gone
  std::vector<std::string> removed;  // files, in their order

 private:
  struct tagUnderWay {
    int exitCode = 0;
    std::uint32_t end = 0;
  };
  // The quoted word behind `mark`, which ends in its first quote.
  static std::string WordBehind(const std::string& text, const std::string& mark) {
    const std::size_t start = text.rfind(mark);
    if (start == std::string::npos) return "";
    const std::size_t from = start + mark.size();
    return text.substr(from, text.find('\'', from) - from);
  }

  std::map<int, tagUnderWay> under;
  int lastProcess = 100;
};

// The web server and a client that nobody here wrote.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/platform/zrplatform.h"
#include "host/remote/webserverfixture.h"

// A folder for the files of programs, and their runs.
class Curl : public WebServer {
 protected:
  static constexpr const char* kCurl = "/usr/bin/curl";
  static constexpr std::uint32_t kPatienceMilliseconds = 30'000;

  void SetUp() override {
    if (::access(kCurl, X_OK) != 0) GTEST_SKIP() << kCurl << " isn't installed";
    std::string path = testing::TempDir() + "curl-XXXXXX";
    folder = ::mkdtemp(path.data());
  }
  void TearDown() override {
    server.Stop();
    std::filesystem::remove_all(folder);
  }

  // The exit code of a program; 128 and more if it was ended.
  int RunProgram(const std::string& program, const std::vector<std::string>& arguments) {
    const int process = ZRPlatform::Get().StartProcess({program, arguments, folder.string()});
    int exitCode = -1;
    if (process == 0) return exitCode;
    if (!ZRPlatform::Get().WaitProcess(process, kPatienceMilliseconds, exitCode)) {
      ZRPlatform::Get().EndProcess(process);
      (void)ZRPlatform::Get().WaitProcess(process, kPatienceMilliseconds, exitCode);
    }
    return exitCode;
  }

  // The exit code of curl, run with these arguments and no settings of the user. What it gets is
  // in the files "head" and "body".
  int Run(std::vector<std::string> arguments, const std::string& path,
          const std::string& scheme = "http") {
    arguments.insert(arguments.begin(),
                     {"--disable", "--silent", "--noproxy", "*", "--max-time", "20",
                      "--dump-header", folder / "head", "--output", folder / "body"});
    arguments.push_back(scheme + "://127.0.0.1:" + std::to_string(server.Port()) + path);
    return RunProgram(kCurl, arguments);
  }

  std::string Read(const char* name) {
    std::ifstream file(folder / name, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
  }
  // The first line of the last answer.
  std::string LastStatus() {
    const std::string head = Read("head");
    const std::size_t last = head.rfind("HTTP/1.1 ");
    return last == std::string::npos ? "" : head.substr(last, 12);
  }

  std::filesystem::path folder;
};

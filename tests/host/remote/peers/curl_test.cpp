// The web server and a client that nobody here wrote.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/platform/zrplatform.h"
#include "host/remote/webserverfixture.h"

namespace {

constexpr const char* kCurl = "/usr/bin/curl";
constexpr std::uint32_t kPatienceMilliseconds = 30'000;

class Curl : public WebServer {
 protected:
  void SetUp() override {
    if (::access(kCurl, X_OK) != 0) GTEST_SKIP() << kCurl << " isn't installed";
    std::string path = testing::TempDir() + "curl-XXXXXX";
    folder = ::mkdtemp(path.data());
    while (text.size() < 200'000)
      text += "<e>" + std::to_string(text.size()) + "</e>";
    Answer("/large", kContentXmlDeflated, text);
    Start();
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  // The exit code of curl, run with these arguments and no settings of the user.
  int Run(std::vector<std::string> arguments, const std::string& path) {
    arguments.insert(arguments.begin(),
                     {"--disable", "--silent", "--noproxy", "*", "--max-time", "20",
                      "--dump-header", folder / "head", "--output", folder / "body"});
    arguments.push_back("http://127.0.0.1:" + std::to_string(server.Port()) + path);
    const int process = ZRPlatform::Get().StartProcess({kCurl, arguments, folder.string()});
    int exitCode = -1;
    if (process == 0) return exitCode;
    if (!ZRPlatform::Get().WaitProcess(process, kPatienceMilliseconds, exitCode)) {
      ZRPlatform::Get().EndProcess(process);
      (void)ZRPlatform::Get().WaitProcess(process, kPatienceMilliseconds, exitCode);
    }
    return exitCode;
  }

  std::string Read(const char* name) {
    std::ifstream file(folder / name, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
  }

  std::filesystem::path folder;
  std::string text;
};

TEST_F(Curl, GetsTheSameTextPlainAndCompressed) {
  ASSERT_EQ(0, Run({}, "/large"));
  EXPECT_EQ(text, Read("body"));
  EXPECT_EQ(std::string::npos, Read("head").find("Content-Encoding"));
  ASSERT_EQ(0, Run({"--compressed"}, "/large"));
  EXPECT_EQ(text, Read("body"));
  EXPECT_NE(std::string::npos, Read("head").find("Content-Encoding: gzip\r\n"));
}

TEST_F(Curl, TakesTheOtherCompression) {
  ASSERT_EQ(0, Run({"--compressed", "--header", "Accept-Encoding: deflate"}, "/large"));
  EXPECT_EQ(text, Read("body"));
  EXPECT_NE(std::string::npos, Read("head").find("Content-Encoding: deflate\r\n"));
}

TEST_F(Curl, TakesALargeAnswerFromAFile) {
  server.Stop();
  settings.memoryBytes = 1000;
  Start();
  ASSERT_EQ(0, Run({"--compressed"}, "/large"));
  EXPECT_EQ(text, Read("body"));
}

TEST_F(Curl, IsContentWithAHead) {
  ASSERT_EQ(0, Run({"--head"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 200 OK\r\n"));
}

TEST_F(Curl, IsToldThatABodyIsRefused) {
  ASSERT_EQ(0, Run({"--data", "x", "--get", "--data", "y"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 200 OK\r\n"));
  ASSERT_EQ(0, Run({"--data", "x"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 405 "));
  ASSERT_EQ(0, Run({"--request", "GET", "--data", "x"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 400 "));
}

// Takes its second in real time: the library's clock is its own.
TEST_F(Curl, ASilentConnectionIsClosed) {
  server.Stop();
  settings.idleSeconds = 1;
  Start();
  HttpClient silent(server.Port());
  HttpClient half(server.Port());
  ASSERT_TRUE(half.Send("GET /plain HTTP/1.1\r\nHost:"));
  EXPECT_EQ("", silent.ReceiveAll());
  EXPECT_TRUE(silent.IsClosed());
  EXPECT_EQ("", half.ReceiveAll());
  EXPECT_TRUE(half.IsClosed());
}

}  // namespace

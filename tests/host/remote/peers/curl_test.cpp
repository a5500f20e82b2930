// Answers, with a client that nobody here wrote.
#include "host/remote/peers/curlfixture.h"

namespace {

class CurlAnswers : public Curl {
 protected:
  void SetUp() override {
    Curl::SetUp();
    while (text.size() < 200'000)
      text += "<e>" + std::to_string(text.size()) + "</e>";
    Answer("/large", kContentXmlDeflated, text);
    Start();
  }

  std::string text;
};

TEST_F(CurlAnswers, GetsTheSameTextPlainAndCompressed) {
  ASSERT_EQ(0, Run({}, "/large"));
  EXPECT_EQ(text, Read("body"));
  EXPECT_EQ(std::string::npos, Read("head").find("Content-Encoding"));
  ASSERT_EQ(0, Run({"--compressed"}, "/large"));
  EXPECT_EQ(text, Read("body"));
  EXPECT_NE(std::string::npos, Read("head").find("Content-Encoding: gzip\r\n"));
}

TEST_F(CurlAnswers, TakesTheOtherCompression) {
  ASSERT_EQ(0, Run({"--compressed", "--header", "Accept-Encoding: deflate"}, "/large"));
  EXPECT_EQ(text, Read("body"));
  EXPECT_NE(std::string::npos, Read("head").find("Content-Encoding: deflate\r\n"));
}

TEST_F(CurlAnswers, TakesALargeAnswerFromAFile) {
  server.Stop();
  settings.memoryBytes = 1000;
  Start();
  ASSERT_EQ(0, Run({"--compressed"}, "/large"));
  EXPECT_EQ(text, Read("body"));
}

TEST_F(CurlAnswers, IsContentWithAHead) {
  ASSERT_EQ(0, Run({"--head"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 200 OK\r\n"));
}

TEST_F(CurlAnswers, IsToldThatABodyIsRefused) {
  ASSERT_EQ(0, Run({"--data", "x", "--get", "--data", "y"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 200 OK\r\n"));
  ASSERT_EQ(0, Run({"--data", "x"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 405 "));
  ASSERT_EQ(0, Run({"--request", "GET", "--data", "x"}, "/plain"));
  EXPECT_TRUE(Read("head").starts_with("HTTP/1.1 400 "));
}

// Takes its second in real time: the library's clock is its own.
TEST_F(CurlAnswers, ASilentConnectionIsClosed) {
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

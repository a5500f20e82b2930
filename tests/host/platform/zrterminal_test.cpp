#include "host/platform/zrterminal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "host/platform/zrthread.h"

namespace {

using tagAnswer = ZRTerminal::tagAnswer;

// A pipe that somebody has filled.
class TypedFile : public ::testing::Test {
 protected:
  TypedFile() { EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0); }
  ~TypedFile() override {
    ::close(ends[0]);
    if (ends[1] >= 0) ::close(ends[1]);
  }
  void Fill(const std::string& text) {
    ASSERT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(ends[1]);
    ends[1] = -1;
  }
  tagAnswer ReadLine(std::size_t most = 10) {
    return ZRTerminal(ends[0], ends[0]).ReadLine(most, line);
  }

  int ends[2] = {-1, -1};
  std::string line = "left";
};

TEST_F(TypedFile, IsReadLineByLine) {
  Fill("one\n\nthree\r\nend");
  EXPECT_FALSE(ZRTerminal(ends[0], ends[0]).IsInteractive());
  for (const char* expected : {"one", "", "three\r", "end"}) {
    EXPECT_EQ(ReadLine(), tagAnswer::kLine);
    EXPECT_EQ(line, expected);
  }
  EXPECT_EQ(ReadLine(), tagAnswer::kEnd);
  EXPECT_EQ(line, "");
}

TEST_F(TypedFile, HasLinesOfSoManyBytes) {
  Fill("0123456789\n0123456789x\n");
  EXPECT_EQ(ReadLine(), tagAnswer::kLine);
  EXPECT_EQ(line, "0123456789");
  EXPECT_EQ(ReadLine(), tagAnswer::kTooLong);
}

TEST_F(TypedFile, IsNoTerminalToAskOn) {
  Fill("secret\n");
  EXPECT_EQ(ZRTerminal(ends[0], ends[0]).AskSecret("? ", 10, line), tagAnswer::kEnd);
  EXPECT_EQ(line, "");
}

// Both ends of a terminal: what somebody types goes in at `keys`, and what he sees comes out.
class Terminal : public ::testing::Test {
 protected:
  Terminal() : keys(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(::grantpt(keys), 0);
    EXPECT_EQ(::unlockpt(keys), 0);
    char name[64];
    EXPECT_EQ(::ptsname_r(keys, name, sizeof name), 0);
    device = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  ~Terminal() override {
    ::close(device);
    ::close(keys);
  }
  void Type(const std::string& text) const {
    ASSERT_EQ(::write(keys, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  [[nodiscard]] bool Shows() const {
    termios now{};
    EXPECT_EQ(::tcgetattr(device, &now), 0);
    return (now.c_lflag & ECHO) != 0;
  }
  [[nodiscard]] std::string Seen() const {
    char text[256];
    const ssize_t size = ::read(keys, text, sizeof text);
    return std::string(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  }

  int keys;
  int device = -1;
  std::string line;
};

TEST_F(Terminal, DoesNotShowASecret) {
  const ZRTerminal terminal(device, device);
  ASSERT_TRUE(terminal.IsInteractive());
  tagAnswer answer = tagAnswer::kEnd;
  bool isShown = true;
  std::string seen;
  {
    ZRThread asking;
    ASSERT_TRUE(asking.Start([&] { answer = terminal.AskSecret("Word: ", 10, line); }));
    seen = Seen();  // waits for the question
    isShown = Shows();
    Type("open\n");
  }
  EXPECT_EQ(answer, tagAnswer::kLine);
  EXPECT_EQ(line, "open");
  EXPECT_FALSE(isShown);
  EXPECT_TRUE(Shows());
  EXPECT_EQ(seen + Seen(), "Word: \r\n");
}

TEST_F(Terminal, ForgetsTheRestOfALineThatIsTooLong) {
  const ZRTerminal terminal(device, device);
  Type("0123456789x and more\n");
  EXPECT_EQ(terminal.AskSecret("? ", 10, line), tagAnswer::kTooLong);
  EXPECT_TRUE(Shows());
  Type("short\n");
  EXPECT_EQ(terminal.AskSecret("? ", 10, line), tagAnswer::kLine);
  EXPECT_EQ(line, "short");
}

TEST_F(Terminal, EndsAQuestionForASignalThatWaits) {
  sigset_t interrupt;
  sigset_t before;
  (void)sigemptyset(&interrupt);
  (void)sigaddset(&interrupt, SIGINT);
  ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &interrupt, &before), 0);
  (void)::pthread_kill(::pthread_self(), SIGINT);
  EXPECT_EQ(ZRTerminal(device, device).AskSecret("? ", 10, line), tagAnswer::kCancelled);
  EXPECT_TRUE(Shows());
  int taken = 0;
  (void)::sigwait(&interrupt, &taken);
  EXPECT_EQ(taken, SIGINT);
  ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
}

}  // namespace

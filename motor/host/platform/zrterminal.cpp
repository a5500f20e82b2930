#include "host/platform/zrterminal.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace {

constexpr int kLook = 100;  // ms between two looks at the signals

bool IsCancelled() {
  sigset_t waiting;
  (void)sigemptyset(&waiting);
  if (::sigpending(&waiting) != 0) return false;
  return sigismember(&waiting, SIGINT) == 1 || sigismember(&waiting, SIGTERM) == 1;
}

// True when there is something to read, be it the end; false if a signal ends the question.
bool WaitForInput(int input) {
  for (;;) {
    pollfd polled{input, POLLIN, 0};
    const int ready = ::poll(&polled, 1, kLook);
    if (IsCancelled()) return false;
    if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
  }
}

// Keeps a terminal from showing what is typed.
class CHidden {
 public:
  explicit CHidden(int toHide) : terminal(toHide), isHidden(::tcgetattr(terminal, &before) == 0) {
    if (!isHidden) return;
    termios hidden = before;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
    isHidden = ::tcsetattr(terminal, TCSADRAIN, &hidden) == 0;
  }
  ~CHidden() {
    if (isHidden) (void)::tcsetattr(terminal, TCSADRAIN, &before);
  }
  CHidden(const CHidden&) = delete;
  CHidden& operator=(const CHidden&) = delete;
  [[nodiscard]] bool IsHidden() const { return isHidden; }

 private:
  const int terminal;
  termios before{};
  bool isHidden;
};

void Say(int output, const std::string& text) {
  (void)!::write(output, text.data(), text.size());
}

}  // namespace

ZRTerminal::ZRTerminal() : ZRTerminal(STDIN_FILENO, STDERR_FILENO) {}

ZRTerminal::ZRTerminal(int toRead, int toAskOn) : input(toRead), output(toAskOn) {}

bool ZRTerminal::IsInteractive() const {
  return ::isatty(input) == 1;
}

ZRTerminal::tagAnswer ZRTerminal::AskSecret(const std::string& question, std::size_t most,
                                            std::string& line) const {
  line.clear();
  const CHidden hidden(input);
  if (!hidden.IsHidden()) return tagAnswer::kEnd;
  Say(output, question);
  const tagAnswer answer = ReadLine(most, line);
  Say(output, "\n");  // the one that was typed wasn't shown
  if (answer == tagAnswer::kTooLong) (void)::tcflush(input, TCIFLUSH);
  return answer;
}

ZRTerminal::tagAnswer ZRTerminal::ReadLine(std::size_t most, std::string& line) const {
  line.clear();
  for (;;) {
    if (!WaitForInput(input)) return tagAnswer::kCancelled;
    char next = '\0';
    const ssize_t size = ::read(input, &next, 1);
    if (size < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (size <= 0) return line.empty() ? tagAnswer::kEnd : tagAnswer::kLine;
    if (next == '\n') return tagAnswer::kLine;
    if (line.size() == most) return tagAnswer::kTooLong;
    line += next;
  }
}

// Who types, and what nobody may read along.
#pragma once

#include <cstddef>
#include <string>

// A line from somebody, or from a file or pipe in his place.
//
// Threads   one. Behind ZRSignals::Keep: a SIGINT or SIGTERM that waits ends a question.
// Promise   the terminal shows again what is typed when a question is over, however it ends.
class ZRTerminal {
 public:
  enum class tagAnswer {
    kLine,
    kEnd,       // nothing more comes
    kTooLong,   // more than was allowed, without an end
    kCancelled  // by a signal
  };

  // By descriptor: standard input, and standard error for the questions.
  ZRTerminal();
  ZRTerminal(int toRead, int toAskOn);

  // True if somebody types.
  [[nodiscard]] bool IsInteractive() const;
  // Asks, and reads a line that isn't shown. Only if somebody types.
  [[nodiscard]] tagAnswer AskSecret(const std::string& question, std::size_t most,
                                    std::string& line) const;
  // Reads a line of at most `most` bytes, without its end. What comes behind it stays unread.
  [[nodiscard]] tagAnswer ReadLine(std::size_t most, std::string& line) const;

 private:
  const int input;
  const int output;
};

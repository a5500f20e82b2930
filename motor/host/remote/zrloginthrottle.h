// Slows down who guesses passwords.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

// Counts wrong passwords by user and address, for a minute from the first one. Beyond what is
// tolerated, nothing of them is looked at until that minute has passed. Whether there is such a
// user makes no difference.
//
// Threads   one at a time.
// Promise   who is held up isn't forgotten for strangers as long as others can be.
class ZRLoginThrottle {
 public:
  static constexpr std::uint64_t kMinute = 60'000;  // milliseconds

  // `wrongs` wrong passwords are tolerated in a minute; no more than `atMost` pairs are remembered.
  ZRLoginThrottle(int wrongs, std::size_t atMost) : tolerated(wrongs), most(atMost) {}

  // For how many seconds no password of them is looked at; 0 if they may try. `now` is in
  // milliseconds and never goes back.
  [[nodiscard]] std::uint32_t HeldUp(std::string_view user, std::string_view address,
                                     std::uint64_t now) const;
  // Counts a wrong password. What HeldUp says from then on.
  [[nodiscard]] std::uint32_t CountWrong(std::string_view user, std::string_view address,
                                         std::uint64_t now);

  [[nodiscard]] std::size_t Size() const { return guessers.size(); }

 private:
  struct tagGuesser {
    std::uint64_t start;   // of the minute
    std::uint64_t number;  // by arrival
    int wrongs = 0;
  };
  // In the order of arrival, which is that of `start` too.
  using tagQueue = std::map<std::uint64_t, std::string>;

  [[nodiscard]] std::uint32_t SecondsLeft(const tagGuesser& guesser, std::uint64_t now) const;
  void DropPassed(tagQueue& queue, std::uint64_t now);
  void DropFirst(tagQueue& queue);

  const int tolerated;
  const std::size_t most;
  std::uint64_t arrivals = 0;
  std::unordered_map<std::string, tagGuesser> guessers;
  tagQueue tolerable;  // keys of `guessers`
  tagQueue heldUp;     // the others
};

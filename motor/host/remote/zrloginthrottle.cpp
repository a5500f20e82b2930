#include "host/remote/zrloginthrottle.h"

namespace {

constexpr std::size_t kMostAddressBytes = 64;

// No name of a user has a line end.
std::string KeyOf(std::string_view user, std::string_view address) {
  return std::string(user).append(1, '\n').append(address.substr(0, kMostAddressBytes));
}

}  // namespace

std::uint32_t ZRLoginThrottle::HeldUp(std::string_view user, std::string_view address,
                                      std::uint64_t now) const {
  const auto place = guessers.find(KeyOf(user, address));
  return place != guessers.end() ? SecondsLeft(place->second, now) : 0;
}

std::uint32_t ZRLoginThrottle::CountWrong(std::string_view user, std::string_view address,
                                          std::uint64_t now) {
  DropPassed(tolerable, now);
  DropPassed(heldUp, now);
  const std::string key = KeyOf(user, address);
  auto place = guessers.find(key);
  if (place == guessers.end()) {
    if (guessers.size() >= most) DropFirst(!tolerable.empty() ? tolerable : heldUp);
    place = guessers.emplace(key, tagGuesser{now, ++arrivals}).first;
    tolerable.emplace(arrivals, key);
  }
  tagGuesser& guesser = place->second;
  if (++guesser.wrongs == tolerated + 1) heldUp.insert(tolerable.extract(guesser.number));
  return SecondsLeft(guesser, now);
}

std::uint32_t ZRLoginThrottle::SecondsLeft(const tagGuesser& guesser, std::uint64_t now) const {
  const std::uint64_t end = guesser.start + kMinute;
  if (guesser.wrongs <= tolerated || now >= end) return 0;
  return static_cast<std::uint32_t>((end - now + 999) / 1000);
}

void ZRLoginThrottle::DropPassed(tagQueue& queue, std::uint64_t now) {
  while (!queue.empty() && now - guessers.find(queue.begin()->second)->second.start >= kMinute)
    DropFirst(queue);
}

void ZRLoginThrottle::DropFirst(tagQueue& queue) {
  guessers.erase(queue.begin()->second);
  queue.erase(queue.begin());
}

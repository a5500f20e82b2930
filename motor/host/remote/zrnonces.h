// The texts that the web server gives clients to sign, each good for a while.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

// A nonce carries its number, its time and a seal that nobody else can make, so that giving one
// away costs no memory. It is remembered from the first time that it is used, which needs a
// password: strangers can't fill the table. If it is full nevertheless the oldest nonce goes, and
// with it all older ones that are in no table.
//
// Threads   one at a time.
// Promise   each count of a nonce is taken once.
class ZRNonces {
 public:
  enum class tagUse {
    kTaken,
    kOld,       // not one of this object, or one that is no longer good
    kRepeated,  // this count was taken before, or is too far behind the highest one
  };

  // Each is good for `toLive` milliseconds; no more than `atMost` are remembered.
  ZRNonces(std::uint64_t toLive, std::size_t atMost);

  // A new one. `now` is in milliseconds and never goes back.
  [[nodiscard]] std::string Issue(std::uint64_t now);

  // Takes a count of a nonce whose signature is good. Counts begin with 1. Those of several
  // connections may come in any order, as long as they lie less than 64 behind the highest.
  [[nodiscard]] tagUse Use(std::string_view nonce, std::uint32_t count, std::uint64_t now);

  [[nodiscard]] std::size_t Size() const { return used.size(); }

 private:
  struct tagHead {
    std::uint64_t number;
    std::uint64_t issued;
  };
  struct tagCounts {
    std::uint64_t issued;
    std::uint32_t highest = 0;
    std::uint64_t taken = 0;  // bit n: `highest` - n
  };

  [[nodiscard]] std::string Sealed(const tagHead& head) const;
  [[nodiscard]] std::optional<tagHead> Opened(std::string_view nonce) const;
  [[nodiscard]] bool IsExpired(std::uint64_t issued, std::uint64_t now) const {
    return now - issued >= life;
  }
  [[nodiscard]] static bool Take(tagCounts& counts, std::uint32_t count);
  void MakeRoom(std::uint64_t now);

  const std::uint64_t life;  // milliseconds
  const std::size_t most;
  const std::string key;
  std::uint64_t last = 0;                   // number of the newest nonce
  std::uint64_t forgotten = 0;              // no number up to it is good unless it is in `used`
  std::map<std::uint64_t, tagCounts> used;  // by number, which is the order of time too
};

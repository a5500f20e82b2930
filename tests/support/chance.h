// Chance that takes the same way on every run.
#pragma once

#include <cstdint>

class Chance {
 public:
  explicit Chance(std::uint64_t seed) : state(seed) {}

  [[nodiscard]] std::uint64_t Next() {
    state += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
  }
  // From 0 up to, and without, `end`, which isn't 0.
  [[nodiscard]] std::uint64_t Below(std::uint64_t end) { return Next() % end; }
  // True in so many cases of a thousand.
  [[nodiscard]] bool Happens(unsigned perMille) { return perMille != 0 && Below(1000) < perMille; }

 private:
  std::uint64_t state;
};

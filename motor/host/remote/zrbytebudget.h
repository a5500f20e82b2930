// Bytes of memory that several may take together.
#pragma once

#include <atomic>
#include <cstddef>

// Threads   any.
class ZRByteBudget {
 public:
  // Before anybody takes.
  void Allow(std::size_t bytes) { left = bytes; }
  // False, and nothing taken, if there aren't so many left.
  [[nodiscard]] bool Take(std::size_t bytes) {
    std::size_t seen = left;
    while (seen >= bytes)
      if (left.compare_exchange_weak(seen, seen - bytes)) return true;
    return false;
  }
  void GiveBack(std::size_t bytes) { left += bytes; }

 private:
  std::atomic<std::size_t> left{0};
};

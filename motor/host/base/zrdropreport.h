// What a queue of bounded length has lost, in the log.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// One line when the dropping begins, and one with the number when the queue is empty again.
//
// Threads   one at a time.
class ZRDropReport {
 public:
  // `who` begins the lines; `waiting` is in the queue now; `dropped` were since the beginning.
  void Tell(const std::string& who, std::size_t waiting, std::uint64_t dropped);

 private:
  bool saidDropping = false;
  std::uint64_t droppedTold = 0;
};

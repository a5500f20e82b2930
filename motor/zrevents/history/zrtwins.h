// Finds out whether some numbers are all different.
#pragma once

#include <cstdint>
#include <span>

// True if one is there twice, and for numbers that were made to be hard to tell from each other.
// Takes a time in proportion to how many there are, most of it in the processor's cache, where a
// table of all of them would be all over the memory.
[[nodiscard]] bool MayHaveTwins(std::span<const std::uint64_t> numbers);

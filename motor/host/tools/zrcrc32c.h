// CRC-32C: the check sum of RFC 3720 (polynomial 1EDC6F41, reflected).
#pragma once

#include <cstddef>
#include <cstdint>

// Of `count` bytes behind others whose sum is `before` (0 for none). Uses the processor's own
// instruction where there is one.
[[nodiscard]] std::uint32_t Crc32c(const void* bytes, std::size_t count, std::uint32_t before = 0);

// The sums of many pieces at once, which is faster than one by one.
struct tagCrc32cPiece {
  const unsigned char* bytes = nullptr;
  std::size_t count = 0;
  std::uint32_t before = 0;
  std::uint32_t sum = 0;  // is set
};
void Crc32c(tagCrc32cPiece* pieces, std::size_t number);

// The same by tables, on every processor.
[[nodiscard]] std::uint32_t Crc32cByTables(const void* bytes, std::size_t count,
                                           std::uint32_t before = 0);

#include "host/tools/zrcrc32c.h"

#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <nmmintrin.h>
#endif

namespace {

constexpr std::uint32_t kPolynomial = 0x82F63B78u;  // reflected
constexpr std::size_t kStep = 8;                    // bytes

using tagTables = std::array<std::array<std::uint32_t, 256>, kStep>;

constexpr tagTables MakeTables() {
  tagTables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t sum = byte;
    for (int bit = 0; bit < 8; ++bit)
      sum = (sum >> 1) ^ ((sum & 1) != 0 ? kPolynomial : 0);
    tables[0][byte] = sum;
  }
  for (std::size_t table = 1; table < kStep; ++table) {
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t shorter = tables[table - 1][byte];
      tables[table][byte] = (shorter >> 8) ^ tables[0][shorter & 0xFF];
    }
  }
  return tables;
}

constexpr tagTables kTables = MakeTables();

std::uint64_t Word(const unsigned char* at) {
  std::uint64_t word = 0;
  for (unsigned i = 0; i < kStep; ++i)
    word |= std::uint64_t{at[i]} << (8 * i);
  return word;
}

std::uint32_t ByTables(const unsigned char* at, std::size_t count, std::uint32_t sum) {
  for (; count >= kStep; at += kStep, count -= kStep) {
    const std::uint64_t word = Word(at) ^ sum;
    sum = 0;
    for (unsigned i = 0; i < kStep; ++i)
      sum ^= kTables[kStep - 1 - i][(word >> (8 * i)) & 0xFF];
  }
  for (; count > 0; ++at, --count)
    sum = (sum >> 8) ^ kTables[0][(sum ^ *at) & 0xFF];
  return sum;
}

// Takes the sums of the pieces as they are, without the inversions before and behind.
using tagSums = void (*)(tagCrc32cPiece*, std::size_t);

void SumsByTables(tagCrc32cPiece* pieces, std::size_t number) {
  for (tagCrc32cPiece* piece = pieces; piece != pieces + number; ++piece)
    piece->sum = ~ByTables(piece->bytes, piece->count, ~piece->before);
}

#if defined(__x86_64__)
// The sums of pieces don't wait for one another: the processor takes several at a time.
__attribute__((target("sse4.2"))) void SumsByInstruction(tagCrc32cPiece* pieces,
                                                         std::size_t number) {
  for (tagCrc32cPiece* piece = pieces; piece != pieces + number; ++piece) {
    const unsigned char* at = piece->bytes;
    std::size_t count = piece->count;
    std::uint64_t sum = ~piece->before;
    for (; count >= kStep; at += kStep, count -= kStep) {
      std::uint64_t word;
      std::memcpy(&word, at, sizeof word);
      sum = _mm_crc32_u64(sum, word);
    }
    auto rest = static_cast<std::uint32_t>(sum);
    if (count >= kStep / 2) {
      std::uint32_t word;
      std::memcpy(&word, at, sizeof word);
      rest = _mm_crc32_u32(rest, word);
      at += kStep / 2;
      count -= kStep / 2;
    }
    for (; count > 0; ++at, --count)
      rest = _mm_crc32_u8(rest, *at);
    piece->sum = ~rest;
  }
}
#endif

tagSums Best() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("sse4.2") != 0) return &SumsByInstruction;
#endif
  return &SumsByTables;
}

}  // namespace

void Crc32c(tagCrc32cPiece* pieces, std::size_t number) {
  static const tagSums sums = Best();
  sums(pieces, number);
}

std::uint32_t Crc32c(const void* bytes, std::size_t count, std::uint32_t before) {
  tagCrc32cPiece piece{static_cast<const unsigned char*>(bytes), count, before, 0};
  Crc32c(&piece, 1);
  return piece.sum;
}

std::uint32_t Crc32cByTables(const void* bytes, std::size_t count, std::uint32_t before) {
  return ~ByTables(static_cast<const unsigned char*>(bytes), count, ~before);
}

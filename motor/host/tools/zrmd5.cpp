#include "host/tools/zrmd5.h"

#include <bit>
#include <cstring>

namespace {

constexpr std::size_t kBlock = 64;       // bytes
constexpr std::size_t kLengthBytes = 8;  // at the end of the last block
constexpr std::size_t kSteps = 64;

// The sine of each step's number, from 1, as a fraction of 2^32.
constexpr std::array<std::uint32_t, kSteps> kConstants = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// By round of 16 steps, and by the place in a group of four.
constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

using tagState = std::array<std::uint32_t, 4>;

constexpr tagState kInitial = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

std::uint32_t LittleEndian(const std::uint8_t* bytes) {
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8 |
         static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

// What a step mixes of the state.
std::uint32_t Mixed(std::size_t round, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  switch (round) {
    case 0:
      return (b & c) | (~b & d);
    case 1:
      return (b & d) | (c & ~d);
    case 2:
      return b ^ c ^ d;
    default:
      return c ^ (b | ~d);
  }
}

// Which word of the block a step takes.
std::size_t WordOf(std::size_t round, std::size_t step) {
  constexpr std::size_t kFactors[4] = {1, 5, 3, 7};
  constexpr std::size_t kStarts[4] = {0, 1, 5, 0};
  return (kFactors[round] * step + kStarts[round]) % 16;
}

void TakeBlock(tagState& state, const std::uint8_t* block) {
  auto [a, b, c, d] = state;
  for (std::size_t step = 0; step < kSteps; ++step) {
    const std::size_t round = step / 16;
    const std::uint32_t sum = a + Mixed(round, b, c, d) + kConstants[step] +
                              LittleEndian(block + 4 * WordOf(round, step));
    a = d;
    d = c;
    c = b;
    b += std::rotl(sum, kShifts[round][step % 4]);
  }
  const tagState change = {a, b, c, d};
  for (std::size_t at = 0; at < state.size(); ++at)
    state[at] += change[at];
}

// What is left, the bit behind it, and the length in bits.
void TakeEnd(tagState& state, const std::uint8_t* rest, std::size_t size, std::uint64_t length) {
  std::array<std::uint8_t, 2 * kBlock> end{};
  if (size != 0) std::memcpy(end.data(), rest, size);
  end[size] = 0x80;
  const std::size_t total = size + 1 + kLengthBytes <= kBlock ? kBlock : 2 * kBlock;
  std::uint64_t bits = length * 8;
  for (std::size_t at = total - kLengthBytes; at < total; ++at, bits >>= 8)
    end[at] = static_cast<std::uint8_t>(bits & 0xFF);
  for (std::size_t at = 0; at < total; at += kBlock)
    TakeBlock(state, end.data() + at);
}

}  // namespace

std::array<std::uint8_t, kMd5Bytes> Md5(const void* data, std::size_t length) {
  const auto* const bytes = static_cast<const std::uint8_t*>(data);
  tagState state = kInitial;
  std::size_t at = 0;
  for (; length - at >= kBlock; at += kBlock)
    TakeBlock(state, bytes + at);
  TakeEnd(state, bytes + at, length - at, length);
  std::array<std::uint8_t, kMd5Bytes> digest{};
  for (std::size_t place = 0; place < digest.size(); ++place)
    digest[place] = static_cast<std::uint8_t>(state[place / 4] >> (8 * (place % 4)) & 0xFF);
  return digest;
}

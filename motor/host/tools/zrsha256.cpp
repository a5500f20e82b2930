#include "host/tools/zrsha256.h"

#include <bit>
#include <cstring>

namespace {

constexpr std::size_t kBlock = 64;       // bytes
constexpr std::size_t kLengthBytes = 8;  // at the end of the last block
constexpr std::size_t kRounds = 64;

constexpr std::array<std::uint32_t, kRounds> kConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using tagState = std::array<std::uint32_t, 8>;

constexpr tagState kInitial = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                               0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

std::uint32_t BigEndian(const std::uint8_t* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

std::array<std::uint32_t, kRounds> Schedule(const std::uint8_t* block) {
  std::array<std::uint32_t, kRounds> words{};
  for (std::size_t at = 0; at < 16; ++at)
    words[at] = BigEndian(block + 4 * at);
  for (std::size_t at = 16; at < kRounds; ++at) {
    const std::uint32_t early = words[at - 15];
    const std::uint32_t late = words[at - 2];
    words[at] = words[at - 16] + words[at - 7] +
                (std::rotr(early, 7) ^ std::rotr(early, 18) ^ (early >> 3)) +
                (std::rotr(late, 17) ^ std::rotr(late, 19) ^ (late >> 10));
  }
  return words;
}

void TakeBlock(tagState& state, const std::uint8_t* block) {
  const auto words = Schedule(block);
  auto [a, b, c, d, e, f, g, h] = state;
  for (std::size_t round = 0; round < kRounds; ++round) {
    const std::uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
                                ((e & f) ^ (~e & g)) + kConstants[round] + words[round];
    const std::uint32_t second =
        (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + first;
    d = c;
    c = b;
    b = a;
    a = first + second;
  }
  const tagState change = {a, b, c, d, e, f, g, h};
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
  for (std::size_t at = total; at > total - kLengthBytes; --at, bits >>= 8)
    end[at - 1] = static_cast<std::uint8_t>(bits & 0xFF);
  for (std::size_t at = 0; at < total; at += kBlock)
    TakeBlock(state, end.data() + at);
}

}  // namespace

std::array<std::uint8_t, kSha256Bytes> Sha256(const void* data, std::size_t length) {
  const auto* const bytes = static_cast<const std::uint8_t*>(data);
  tagState state = kInitial;
  std::size_t at = 0;
  for (; length - at >= kBlock; at += kBlock)
    TakeBlock(state, bytes + at);
  TakeEnd(state, bytes + at, length - at, length);
  std::array<std::uint8_t, kSha256Bytes> digest{};
  for (std::size_t place = 0; place < digest.size(); ++place)
    digest[place] = static_cast<std::uint8_t>(state[place / 4] >> (24 - 8 * (place % 4)) & 0xFF);
  return digest;
}

#include "host/tools/zrcrc32c.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using tagBytes = std::vector<unsigned char>;

// The vectors of RFC 3720, B.4, and the check value of the polynomial.
struct tagVector {
  tagBytes bytes;
  std::uint32_t sum;
};
std::vector<tagVector> Vectors() {
  tagBytes up(32);
  tagBytes down(32);
  for (unsigned char i = 0; i < 32; ++i) {
    up[i] = i;
    down[i] = static_cast<unsigned char>(31 - i);
  }
  const tagBytes command = {0x01, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                            0x00, 0x00, 0x00, 0x00, 0x14, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04, 0x00,
                            0x00, 0x00, 0x00, 0x14, 0x00, 0x00, 0x00, 0x18, 0x28, 0x00, 0x00, 0x00,
                            0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
  const std::string digits = "123456789";
  return {{tagBytes(32, 0x00), 0x8A9136AA},
          {tagBytes(32, 0xFF), 0x62A8AB43},
          {up, 0x46DD794E},
          {down, 0x113FDB5C},
          {command, 0xD9963A56},
          {tagBytes(digits.begin(), digits.end()), 0xE3069283},
          {{}, 0}};
}

TEST(Crc32c, GivesThePublishedSums) {
  for (const tagVector& vector : Vectors()) {
    EXPECT_EQ(Crc32c(vector.bytes.data(), vector.bytes.size()), vector.sum);
    EXPECT_EQ(Crc32cByTables(vector.bytes.data(), vector.bytes.size()), vector.sum);
  }
}

TEST(Crc32c, IsTheSameInPiecesByInstructionAndByTables) {
  tagBytes bytes(200);
  std::uint32_t random = 1;
  for (unsigned char& byte : bytes)
    byte = static_cast<unsigned char>((random = random * 1664525 + 1013904223) >> 24);
  for (std::size_t count = 0; count <= bytes.size(); ++count) {
    const std::uint32_t whole = Crc32cByTables(bytes.data(), count);
    EXPECT_EQ(Crc32c(bytes.data(), count), whole);
    for (std::size_t cut = 0; cut <= count; cut += 7) {
      const unsigned char* const rest = bytes.data() + cut;
      EXPECT_EQ(Crc32c(rest, count - cut, Crc32c(bytes.data(), cut)), whole);
      EXPECT_EQ(Crc32cByTables(rest, count - cut, Crc32cByTables(bytes.data(), cut)), whole);
    }
  }
}

TEST(Crc32c, SumsManyPiecesAtOnce) {
  const std::vector<tagVector> vectors = Vectors();
  std::vector<tagCrc32cPiece> pieces;
  for (const tagVector& vector : vectors)
    pieces.push_back({vector.bytes.data(), vector.bytes.size(), 0, 0});
  Crc32c(pieces.data(), pieces.size());
  for (std::size_t i = 0; i < vectors.size(); ++i)
    EXPECT_EQ(pieces[i].sum, vectors[i].sum);
}

}  // namespace

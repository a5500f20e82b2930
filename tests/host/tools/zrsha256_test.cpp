#include "host/tools/zrsha256.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::string Digest(const std::string& text) {
  std::string hexadecimal;
  for (const std::uint8_t byte : Sha256(text.data(), text.size())) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    hexadecimal += digits;
  }
  return hexadecimal;
}

// The examples of FIPS 180-4, and of the standard's test vectors.
TEST(Sha256, GivesTheDigestsOfTheStandard) {
  EXPECT_EQ(Digest(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(Digest("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(Digest("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(Digest("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmno"
                   "pqklmnopqrlmnopqrsmnopqrstnopqrstu"),
            "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
  EXPECT_EQ(Digest(std::string(100'000, 'a') + std::string(900'000, 'a')),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// Where the length no longer fits behind the text, and where a block is full.
TEST(Sha256, EndsInTheSecondBlockWhenTheFirstHasNoRoom) {
  EXPECT_EQ(Digest(std::string(55, 'a')),
            "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318");
  EXPECT_EQ(Digest(std::string(56, 'a')),
            "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a");
  EXPECT_EQ(Digest(std::string(64, 'a')),
            "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb");
}

}  // namespace

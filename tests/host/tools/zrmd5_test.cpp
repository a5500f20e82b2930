#include "host/tools/zrmd5.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

std::string Digest(const std::string& text) {
  std::string hexadecimal;
  for (const std::uint8_t byte : Md5(text.data(), text.size())) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    hexadecimal += digits;
  }
  return hexadecimal;
}

// The test suite of RFC 1321.
TEST(Md5, GivesTheDigestsOfItsDefinition) {
  EXPECT_EQ(Digest(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Digest("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(Digest("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(Digest("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(Digest("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(Digest("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
            "d174ab98d277d9f5a5611c2c9f419d9f");
  EXPECT_EQ(
      Digest("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
      "57edf4a22be3c955ac49da2e2107b67a");
}

// Where the length no longer fits behind the text, where a block is full, and with many of them.
TEST(Md5, EndsInTheSecondBlockWhenTheFirstHasNoRoom) {
  EXPECT_EQ(Digest(std::string(55, 'a')), "ef1772b6dff9a122358552954ad0df65");
  EXPECT_EQ(Digest(std::string(56, 'a')), "3b0c8ac703f828b04c6c197006d17218");
  EXPECT_EQ(Digest(std::string(64, 'a')), "014842d480b571495a4a0363793f7367");
  EXPECT_EQ(Digest(std::string(1'000'000, 'a')), "7707d6ae4e027c70eea2a935c2296f21");
}

}  // namespace

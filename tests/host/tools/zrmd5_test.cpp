#include "host/tools/zrmd5.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The test suite of RFC 1321.
TEST(Md5, GivesTheDigestsOfTheStandard) {
  EXPECT_EQ(Md5Hex(std::string_view()), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(Md5Hex("a"), "0cc175b9c0f1b6a831c399e269772661");
  EXPECT_EQ(Md5Hex("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(Md5Hex("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
  EXPECT_EQ(Md5Hex("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
  EXPECT_EQ(
      Md5Hex("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
      "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(Md5, TakesEveryByte) {
  EXPECT_NE(Md5Hex(std::string("a\0b", 3)), Md5Hex(std::string("a\0c", 3)));
}

}  // namespace

#include "host/remote/zrsocketaddress.h"

#include <gtest/gtest.h>

namespace {

std::string TextOf(const char* digits) {
  ZRSocketAddress address;
  return address.Parse(digits, 80) ? address.Text() : "none";
}

bool IsLoopback(const char* digits) {
  ZRSocketAddress address;
  EXPECT_TRUE(address.Parse(digits, 0)) << digits;
  return address.IsLoopback();
}

TEST(SocketAddress, IsReadAndShown) {
  EXPECT_EQ("192.0.2.1", TextOf("192.0.2.1"));
  EXPECT_EQ("0.0.0.0", TextOf("0.0.0.0"));
  EXPECT_EQ("2001:db8::1", TextOf("2001:0DB8:0:0::1"));
  EXPECT_EQ("::", TextOf("::"));
  EXPECT_EQ("192.0.2.1", TextOf("::ffff:192.0.2.1"));
  EXPECT_EQ("fe80::1", TextOf("fe80::1%lo"));
}

TEST(SocketAddress, IsReadOfNothingElse) {
  for (const char* text : {"", "a", "localhost", "1.2.3", "1.2.3.256", "1.2.3.4 ", "1.2.3.4%lo",
                           "[::1]", "::1%", "::1%no-such-interface", ":::"})
    EXPECT_EQ("none", TextOf(text)) << text;
}

TEST(SocketAddress, KeepsItsPort) {
  ZRSocketAddress address;
  EXPECT_EQ(0, address.Port());
  ASSERT_TRUE(address.Parse("127.0.0.1", 8480));
  EXPECT_EQ(8480, address.Port());
  ASSERT_TRUE(address.Parse("::1", 65535));
  EXPECT_EQ(65535, address.Port());
  EXPECT_FALSE(address.Parse("x", 1));
  EXPECT_EQ(65535, address.Port());
}

TEST(SocketAddress, KnowsTheLoopback) {
  for (const char* own : {"127.0.0.1", "127.255.255.254", "::1", "::ffff:127.0.0.1"})
    EXPECT_TRUE(IsLoopback(own)) << own;
  for (const char* other : {"0.0.0.0", "128.0.0.1", "126.0.0.1", "::", "::2", "::ffff:10.0.0.1"})
    EXPECT_FALSE(IsLoopback(other)) << other;
  EXPECT_FALSE(ZRSocketAddress().IsLoopback());
}

TEST(SocketAddress, OfAnotherFamilyIsNone) {
  sockaddr other{};
  other.sa_family = AF_UNIX;
  EXPECT_EQ("", ZRSocketAddress(other).Text());
  EXPECT_EQ(0, ZRSocketAddress(other).Port());
}

}  // namespace

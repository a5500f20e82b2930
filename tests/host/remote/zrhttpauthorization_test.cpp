#include "host/remote/zrhttpauthorization.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(HttpAuthorization, KnowsNobodyByDefault) {
  const ZRHttpAuthorization nobody;
  EXPECT_EQ(nobody.Header(), "");
  EXPECT_EQ(nobody.User(), "");
}

TEST(HttpAuthorization, KeepsClaimAndUserApart) {
  const ZRHttpAuthorization known("Basic YTpi", "a");
  EXPECT_EQ(known.Header(), "Basic YTpi");
  EXPECT_EQ(known.User(), "a");
}

TEST(HttpAuthorization, WritesADigestOfFixedLengthWithItsTerminator) {
  std::array<char, ZRHttpAuthorization::kDigestSize + 1> digest{};
  digest.fill('?');
  ZRHttpAuthorization::H("abcd", 3, digest.data());
  EXPECT_STREQ(digest.data(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digest.back(), '?');
  ZRHttpAuthorization::H("", 0, digest.data());
  EXPECT_STREQ(digest.data(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

}  // namespace

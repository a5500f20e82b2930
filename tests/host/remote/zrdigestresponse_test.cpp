#include "host/remote/zrdigestresponse.h"

#include <gtest/gtest.h>

namespace {

constexpr ZRPasswordDigest kMd5 = ZRPasswordDigest::kMd5;
constexpr ZRPasswordDigest kSha256 = ZRPasswordDigest::kSha256;

// The example of RFC 7616, section 3.9.1.
constexpr std::string_view kUser = "Mufasa";
constexpr std::string_view kRealm = "http-auth@example.org";
constexpr std::string_view kPassword = "Circle of Life";
constexpr ZRDigestSubject kSubject = {"GET",
                                      "/dir/index.html",
                                      "7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v",
                                      "00000001",
                                      "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ",
                                      false,
                                      ""};

std::string Response(ZRPasswordDigest kind, const ZRDigestSubject& subject) {
  return DigestResponse(kind, PasswordDigest(kind, kUser, kRealm, kPassword), subject);
}

TEST(DigestResponse, IsThatOfTheStandard) {
  EXPECT_EQ("8ca523f5e9506fed4657c9700eebdbec", Response(kMd5, kSubject));
  EXPECT_EQ("753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1",
            Response(kSha256, kSubject));
}

// The same example with another method and a body, by another program's digests.
TEST(DigestResponse, TakesTheBodyWithIt) {
  ZRDigestSubject subject = kSubject;
  subject.signsBody = true;
  EXPECT_EQ("8804a53d3640a40a4f73cea12c5ba451", Response(kMd5, subject));
  EXPECT_EQ("8bdf6f15638e260831e905028de5450562816d093c9bfc5c13d3a46adcdde940",
            Response(kSha256, subject));
  subject.method = "PUT";
  subject.body = "some body";
  EXPECT_EQ("7daac71bd4f153b1b548286c750cab0e", Response(kMd5, subject));
  EXPECT_EQ("df59b4339885c45dbf76fa7121a21de1ac841756fc95ad0411cb665577159f8f",
            Response(kSha256, subject));
}

TEST(DigestResponse, KeepsOfAPasswordItsDigestWithUserAndRealm) {
  EXPECT_EQ("3d78807defe7de2157e2b0b6573a855f", PasswordDigest(kMd5, kUser, kRealm, kPassword));
  EXPECT_EQ("7987c64c30e25f1b74be53f966b49b90f2808aa92faf9a00262392d7b4794232",
            PasswordDigest(kSha256, kUser, kRealm, kPassword));
}

TEST(DigestResponse, HasTheLengthOfItsKind) {
  EXPECT_EQ(DigestLength(kMd5), DigestText(kMd5, "").size());
  EXPECT_EQ(DigestLength(kSha256), DigestText(kSha256, "").size());
}

TEST(EqualInConstantTime, ComparesEveryByte) {
  EXPECT_TRUE(EqualInConstantTime("", ""));
  EXPECT_TRUE(EqualInConstantTime("abc\xFF", "abc\xFF"));
  EXPECT_FALSE(EqualInConstantTime("abc", "abd"));
  EXPECT_FALSE(EqualInConstantTime("abc", "bbc"));
  EXPECT_FALSE(EqualInConstantTime("abc", "abcd"));
  EXPECT_FALSE(EqualInConstantTime("abc", ""));
  EXPECT_FALSE(EqualInConstantTime("\x7F", "\xFF"));
}

}  // namespace

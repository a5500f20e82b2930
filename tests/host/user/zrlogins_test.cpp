#include "host/user/zrlogins.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Times(int count, const std::string& text) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += text;
  return all;
}

TEST(Logins, NamesAreShortAndPlain) {
  for (const std::string& good :
       {std::string("ana"), std::string("José Núñez"), std::string("a"), std::string(100, 'a'),
        std::string("ana@example.org"), std::string("\xF0\x9F\x94\x91")})
    EXPECT_TRUE(IsLoginName(good)) << good;
  for (const std::string& bad :
       {std::string(), std::string(101, 'a'), std::string("a:b"), std::string("a\nb"),
        std::string("a\0b", 3), std::string("a\x7F"), std::string("a\xC2\x85"), std::string(" a"),
        std::string("a "), std::string("\xFF"), std::string("\xC3"), std::string("\xED\xA0\x80"),
        std::string("\xEF\xBF\xBD")})
    EXPECT_FALSE(IsLoginName(bad)) << bad;
}

TEST(Logins, PasswordsHaveEightCharactersOrMore) {
  EXPECT_TRUE(IsPassword("12345678"));
  EXPECT_TRUE(IsPassword("a: b \"c\\"));
  EXPECT_TRUE(IsPassword(Times(8, "ñ")));
  EXPECT_TRUE(IsPassword(Times(8, "\xF0\x9F\x94\x91")));
  EXPECT_TRUE(IsPassword(std::string(1024, 'x')));
  EXPECT_FALSE(IsPassword(""));
  EXPECT_FALSE(IsPassword("1234567"));
  EXPECT_FALSE(IsPassword(Times(7, "ñ")));
  EXPECT_FALSE(IsPassword(Times(7, "\xF0\x9F\x94\x91")));
  EXPECT_FALSE(IsPassword(std::string(1025, 'x')));
  EXPECT_FALSE(IsPassword("12345678\r"));
  EXPECT_FALSE(IsPassword("1234\t5678"));
  EXPECT_FALSE(IsPassword("12345678\xFF"));
}

TEST(Logins, TheRealmGoesIntoAHeader) {
  EXPECT_TRUE(IsRealm("Tessaly"));
  EXPECT_TRUE(IsRealm("North hall, 2"));
  for (const char* bad : {"", "a\"b", "a\\b", "a:b", "a\nb", "Ñ", "a\x7F"})
    EXPECT_FALSE(IsRealm(bad)) << bad;
  EXPECT_FALSE(IsRealm(std::string(101, 'a')));
}

// With the user and password of the examples in RFC 7616.
TEST(Logins, KeepThePasswordAsADigestWithNameAndRealm) {
  ZRLogins logins;
  logins.realm = "http-auth@example.org";
  logins.users["Mufasa"].md5 = "old";
  SetPassword(logins, "Mufasa", "Circle of Life", false);
  // printf 'Mufasa:http-auth@example.org:Circle of Life' | sha256sum
  EXPECT_EQ(logins.users["Mufasa"].sha256,
            "7987c64c30e25f1b74be53f966b49b90f2808aa92faf9a00262392d7b4794232");
  EXPECT_EQ(logins.users["Mufasa"].md5, "");
  SetPassword(logins, "Mufasa", "Circle of Life", true);
  // ... | md5sum
  EXPECT_EQ(logins.users["Mufasa"].md5, "3d78807defe7de2157e2b0b6573a855f");
}

TEST(Rights, HaveAWordForEachType) {
  const std::pair<const char*, int> words[] = {{"acknowledge", 6},
                                               {"active", 7},
                                               {"notified", 8},
                                               {"client-actions", 11},
                                               {"remote-acknowledge", 16},
                                               {"remote-active", 17},
                                               {"remote-notified", 18},
                                               {"producer", 100},
                                               {"variables", 101},
                                               {"force", 102}};
  EXPECT_EQ(std::size(words), kResourceKinds.size());
  for (const auto& [word, type] : words) {
    ASSERT_NE(ResourceKind(word), nullptr) << word;
    EXPECT_EQ(ResourceKind(word)->type, type);
    EXPECT_EQ(ResourceKind(type)->word, word);
    EXPECT_EQ(ResourceKind(type)->isOfDrivers, type >= 16);
  }
  EXPECT_EQ(ResourceKind("Active"), nullptr);
  EXPECT_EQ(ResourceKind(""), nullptr);
  EXPECT_EQ(ResourceKind(0), nullptr);
  EXPECT_EQ(ResourceKind(9), nullptr);
}

TEST(Rights, AreGrantedAndRevokedOnce) {
  ZRGrants grants;
  EXPECT_TRUE(grants.Grant(7, "a"));
  EXPECT_FALSE(grants.Grant(7, "a"));
  EXPECT_TRUE(grants.Grant(7, "b"));
  EXPECT_FALSE(grants.Revoke(8, "a"));
  EXPECT_FALSE(grants.Revoke(7, "c"));
  EXPECT_TRUE(grants.Revoke(7, "a"));
  EXPECT_TRUE(grants.Revoke(7, "b"));
  EXPECT_EQ(grants, ZRGrants());
}

}  // namespace

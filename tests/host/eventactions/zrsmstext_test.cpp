#include "host/eventactions/zrsmstext.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Sent(std::string_view text) {
  return std::string(SmsText(text).View());
}

TEST(SmsNumber, HasDigitsAndOneSignInFrontAtMost) {
  for (const char* good : {"1", "112", "+34600123456", "00346001234", "+1", "12345678901234567890",
                           "+12345678901234567890"})
    EXPECT_TRUE(IsSmsNumber(good)) << good;
  for (const char* bad : {"",
                          "+",
                          "++34",
                          "3+4",
                          "34+",
                          " 34",
                          "34 ",
                          "3 4",
                          "-34",
                          "--text",
                          "34-6",
                          "(34)",
                          "34\n",
                          "0x12",
                          "12a",
                          "\xd9\xa1\xd9\xa2",
                          "*100#",
                          "$(id)",
                          "123456789012345678901",
                          "+123456789012345678901"})
    EXPECT_FALSE(IsSmsNumber(bad)) << bad;
}

TEST(SmsNumber, HasNoOtherByte) {
  for (int byte = 1; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    const bool isDigit = character >= '0' && character <= '9';
    EXPECT_EQ(isDigit, IsSmsNumber(std::string("12") + character + "3")) << byte;
  }
}

TEST(SmsTextSent, IsTheTextAsItIs) {
  EXPECT_EQ("", Sent(""));
  EXPECT_EQ("-len 5 @file %s \\n 'x' \"$(id)\"", Sent("-len 5 @file %s \\n 'x' \"$(id)\""));
  EXPECT_EQ("caf\xc3\xa9 \xe2\x82\xac \xd0\xb6 \xf0\x9f\x98\x80",
            Sent("caf\xc3\xa9 \xe2\x82\xac \xd0\xb6 \xf0\x9f\x98\x80"));
}

TEST(SmsTextSent, HasBlanksForControls) {
  for (int byte = 1; byte < 0x20; ++byte)
    EXPECT_EQ("a b", Sent(std::string("a") + static_cast<char>(byte) + "b")) << byte;
  EXPECT_EQ("a b", Sent("a\x7f"
                        "b"));
  EXPECT_EQ("a b", Sent("a\xc2\x85"
                        "b"));
  EXPECT_EQ("a b", Sent("a\xe2\x80\xa8"
                        "b"));
  EXPECT_EQ("a b", Sent("a\xe2\x80\xa9"
                        "b"));
  EXPECT_EQ(
      "a\xc2\xa0"
      "b",
      Sent("a\xc2\xa0"
           "b"));
  EXPECT_EQ("a  b", Sent("a\r\nb"));
  EXPECT_EQ("a b", Sent(std::string_view("a\0b", 3)));
}

TEST(SmsTextSent, HasOneMarkForWhatWasCutOffACharacter) {
  const std::string smile = "\xf0\x9f\x98\x80";
  for (std::size_t cut = 1; cut < smile.size(); ++cut) {
    EXPECT_EQ("ab?", Sent("ab" + smile.substr(0, cut))) << cut;
    EXPECT_EQ("?cd", Sent(smile.substr(cut) + "cd")) << cut;
    EXPECT_EQ("?", Sent(smile.substr(cut))) << cut;
  }
}

TEST(SmsTextSent, IsUtf8WhateverTheBytesAre) {
  for (int byte = 0x80; byte < 0x100; ++byte)
    EXPECT_EQ("a?b", Sent(std::string("a") + static_cast<char>(byte) + "b")) << byte;
  EXPECT_EQ("a???b", Sent("a\xed\xa0\x80"
                          "b"));  // an encoded surrogate
  EXPECT_EQ("a??b", Sent("a\xc0\xaf"
                         "b"));  // an overlong form
}

}  // namespace

#include <gtest/gtest.h>

#include <string>

#include "host/tools/zrtext.h"

namespace {

// A replacement character in each encoding.
constexpr wchar_t kWide[] = L"\xFFFD";
constexpr char kNarrow[] = "\xEF\xBF\xBD";

std::wstring Widened(std::string_view narrow) {
  return std::wstring(Utf8ToUtf16(narrow).View());
}
std::string Narrowed(std::wstring_view wide) {
  return std::string(Utf16ToUtf8(wide).View());
}

TEST(Utf, ConvertsEachLengthOfCharacter) {
  EXPECT_EQ(L"a\u00E9\u20AC\xD83D\xDE00z", Widened("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z"));
  EXPECT_EQ("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z", Narrowed(L"a\u00E9\u20AC\xD83D\xDE00z"));
}

TEST(Utf, EveryCharacterRoundTrips) {
  std::wstring all;
  for (unsigned long c = 0; c < 0x10000; ++c) {
    if (c < 0xD800 || c > 0xDFFF) all.push_back(static_cast<wchar_t>(c));
  }
  for (unsigned long c = 0x10000; c <= 0x10FFFF; c += 0x101) {
    all.push_back(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
    all.push_back(static_cast<wchar_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
  }
  all += L"\xDBFF\xDFFF";
  EXPECT_TRUE(all == Widened(Narrowed(all)));
  EXPECT_EQ(std::string::npos, Narrowed(all).find("\xED\xA0"));
}

TEST(Utf, BordersOfTheLengthsAreExact) {
  EXPECT_EQ("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
            Narrowed(L"\x7F\x80\x7FF\x800\xFFFF\xD800\xDC00\xDBFF\xDFFF"));
}

TEST(Utf, AsciiRunsOfAnyLengthAreKept) {
  for (std::size_t length = 0; length < 40; ++length) {
    const std::string narrow(length, 'q');
    const std::wstring wide(length, L'q');
    EXPECT_EQ(wide, Widened(narrow));
    EXPECT_EQ(narrow, Narrowed(wide));
    EXPECT_EQ(wide + L"\u00E9" + wide, Widened(narrow + "\xC3\xA9" + narrow));
  }
}

TEST(Utf, NulIsACharacterLikeOthers) {
  EXPECT_EQ(std::wstring(L"a\0b", 3), Widened(std::string_view("a\0b", 3)));
  EXPECT_EQ(std::string("a\0b", 3), Narrowed(std::wstring_view(L"a\0b", 3)));
}

// `parts` replacement characters stand for the bad part between "a" and "z".
void ExpectReplaced(const std::string& bad, int parts) {
  std::wstring expected = L"a";
  for (int i = 0; i < parts; ++i)
    expected += kWide;
  EXPECT_EQ(expected + L"z", Widened("a" + bad + "z")) << parts << " for " << bad.size();
  EXPECT_EQ(expected, Widened("a" + bad)) << "at the end";
}

TEST(Utf, EachMaximalIllFormedPartIsReplacedOnce) {
  ExpectReplaced("\x80", 1);
  ExpectReplaced("\xBF\xBF", 2);
  ExpectReplaced("\xC0\x80", 2);  // overlong
  ExpectReplaced("\xC1\xBF", 2);
  ExpectReplaced("\xE0\x80\x80", 3);
  ExpectReplaced("\xE0\x9F\xBF", 3);
  ExpectReplaced("\xF0\x80\x80\x80", 4);
  ExpectReplaced("\xF0\x8F\xBF\xBF", 4);
  ExpectReplaced("\xED\xA0\x80", 3);  // surrogates
  ExpectReplaced("\xED\xBF\xBF", 3);
  ExpectReplaced("\xF4\x90\x80\x80", 4);  // above U+10FFFF
  ExpectReplaced("\xF5\x80\x80\x80", 4);
  ExpectReplaced("\xFE\xFF", 2);
  ExpectReplaced("\xC3", 1);  // cut off
  ExpectReplaced("\xE2\x82", 1);
  ExpectReplaced("\xF0\x9F\x98", 1);
  ExpectReplaced("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF", 4);
}

TEST(Utf, IllFormedPartLeavesWhatFollows) {
  EXPECT_EQ(std::wstring(kWide) + L"\u20AC", Widened("\xE2\x82\xE2\x82\xAC"));
  EXPECT_EQ(std::wstring(kWide) + L"abcdefghijkl", Widened("\xF0\x9F\x98"
                                                           "abcdefghijkl"));
}

TEST(Utf, SingleSurrogatesAndWideUnitsAreReplaced) {
  const std::string bad = kNarrow;
  EXPECT_EQ("a" + bad + "z", Narrowed(L"a\xD83Dz"));
  EXPECT_EQ("a" + bad, Narrowed(L"a\xD83D"));
  EXPECT_EQ("a" + bad + "z", Narrowed(L"a\xDE00z"));
  EXPECT_EQ(bad + "\xF0\x9F\x98\x80", Narrowed(L"\xD83D\xD83D\xDE00"));
  EXPECT_EQ(bad, Narrowed(std::wstring(1, static_cast<wchar_t>(0x1F600))));
  EXPECT_EQ(bad, Narrowed(std::wstring(1, static_cast<wchar_t>(-1))));
}

TEST(Utf, TargetIsReplacedOrAppendedTo) {
  ZRWString wide(L"before");
  Utf8ToUtf16(wide, ZRString("\xC3\xA9"));
  EXPECT_STREQ(L"\u00E9", wide.Text());
  AppendUtf16(wide, "b");
  EXPECT_STREQ(
      L"\u00E9"
      L"b",
      wide.Text());
  ZRString narrow("before");
  Utf16ToUtf8(narrow, wide);
  EXPECT_STREQ(
      "\xC3\xA9"
      "b",
      narrow.Text());
  AppendUtf8(narrow, L"\u20AC");
  EXPECT_STREQ(
      "\xC3\xA9"
      "b\xE2\x82\xAC",
      narrow.Text());
  Utf16ToUtf8(narrow, ZRWString());
  EXPECT_TRUE(narrow.IsEmpty());
}

TEST(Utf, TakesExactlyTheMemoryItNeeds) {
  EXPECT_EQ(0u, Utf8ToUtf16("caf\xC3\xA9").Spare());
  EXPECT_EQ(0u, Utf16ToUtf8(L"caf\u00E9").Spare());
}

}  // namespace

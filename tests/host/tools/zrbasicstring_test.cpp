#include "host/tools/zrbasicstring.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>

namespace {

TEST(BasicString, NewOneIsTheSharedEmptyText) {
  const ZRString narrow;
  const ZRWString wide;
  EXPECT_EQ(ZRChar::EmptyString(), narrow.Text());
  EXPECT_EQ(ZRWideChar::EmptyString(), wide.Text());
  EXPECT_EQ(ZRString::kBorrowed, narrow.Flags());
  EXPECT_EQ(0u, narrow.Length());
  EXPECT_EQ(0u, narrow.Spare());
  EXPECT_TRUE(wide.IsEmpty());
  EXPECT_EQ(L'\0', wide[0]);
}

TEST(BasicString, EmptyAndNullTextsAllocateNothing) {
  EXPECT_EQ(ZRChar::EmptyString(), ZRString("").Text());
  EXPECT_EQ(ZRChar::EmptyString(), ZRString(static_cast<const char*>(nullptr)).Text());
  EXPECT_EQ(ZRChar::EmptyString(), ZRString(static_cast<const char*>(nullptr), false).Text());
  const ZRString empty;
  const ZRString copy(empty);
  EXPECT_EQ(ZRChar::EmptyString(), copy.Text());
}

TEST(BasicString, BorrowedLiteralIsUsedAsItStands) {
  const char* const literal = "literal";
  const ZRString borrowed(literal, false);
  EXPECT_EQ(literal, borrowed.Text());
  EXPECT_EQ(ZRString::kBorrowed, borrowed.Flags());
  EXPECT_EQ(7u, borrowed.Length());
}

TEST(BasicString, ChangeOfABorrowedTextMakesAnOwnedCopy) {
  char lent[] = "abc";
  ZRString text(lent, false);
  text += "d";
  EXPECT_NE(static_cast<const char*>(lent), text.Text());
  EXPECT_EQ(0u, text.Flags() & ZRString::kBorrowed);
  EXPECT_STREQ("abcd", text.Text());
  EXPECT_STREQ("abc", lent);
}

TEST(BasicString, CopyOfABorrowedTextOwnsIt) {
  char lent[] = "abc";
  const ZRString borrowed(lent, false);
  const ZRString copy(borrowed);
  ZRString assigned;
  assigned = borrowed;
  lent[0] = 'x';
  EXPECT_STREQ("abc", copy.Text());
  EXPECT_STREQ("abc", assigned.Text());
  EXPECT_EQ(0u, copy.Flags());
}

TEST(BasicString, ClearOfABorrowedTextLeavesItAlone) {
  char lent[] = "abc";
  ZRString text(lent, false);
  text.Clear();
  EXPECT_STREQ("abc", lent);
  EXPECT_EQ(ZRChar::EmptyString(), text.Text());
}

TEST(BasicString, CopiesWithTheFlagTrue) {
  const char* const literal = "abc";
  const ZRString text(literal, true);
  EXPECT_NE(literal, text.Text());
  EXPECT_STREQ("abc", text.Text());
  EXPECT_EQ(0u, text.Flags());
}

TEST(BasicString, WithoutPolicyNothingIsSpare) {
  ZRString text("abc");
  EXPECT_EQ(0u, text.Spare());
  text += "de";
  EXPECT_EQ(0u, text.Spare());
  text.SetGrowth(ZRString::kGrowDouble);
  text += "f";
  EXPECT_EQ(0u, text.Spare());
}

TEST(BasicString, PolicyAddsItsRoomAtEachAllocation) {
  ZRWString text;
  text.SetGrowth(ZRWString::kGrow);
  text += L"abc";
  EXPECT_EQ(255u, text.Spare());
  ZRWString longer;
  longer.SetGrowth(ZRWString::kGrow | ZRWString::kGrowDouble);
  longer += L"abc";
  EXPECT_EQ(65535u, longer.Spare());
}

TEST(BasicString, AppendThatFitsDoesNotAllocate) {
  ZRString text("", true);
  text.GrowInSteps();
  text += "a";
  const char* const buffer = text.Text();
  for (std::uint32_t left = 255; left > 0; --left) {
    ASSERT_EQ(left, text.Spare());
    text += 'b';
    ASSERT_EQ(buffer, text.Text());
  }
  EXPECT_EQ("a" + std::string(255, 'b'), text.Text());
  text += 'c';
  EXPECT_EQ(255u, text.Spare());
  EXPECT_EQ("a" + std::string(255, 'b') + "c", text.Text());
}

TEST(BasicString, GrowInStepsKeepsAPolicyThatIsSet) {
  ZRString text;
  text.SetGrowth(ZRString::kGrowDouble);
  text.GrowInSteps();
  EXPECT_EQ(ZRString::kGrowDouble | ZRString::kBorrowed, text.Flags());
}

TEST(BasicString, PolicyStaysWithTheObject) {
  ZRString target;
  target.GrowInSteps();
  target = ZRString("moved");
  EXPECT_EQ(ZRString::kGrow, target.Flags());
  target = ZRString("a text that is longer than the one before");
  target += "!";
  EXPECT_EQ(255u, target.Spare());
  const ZRString copy(target);
  EXPECT_EQ(0u, copy.Flags());
  target.Reset();
  EXPECT_EQ(ZRString::kGrow | ZRString::kBorrowed, target.Flags());
}

TEST(BasicString, ClearKeepsTheBufferAndResetGivesItBack) {
  ZRString text("0123456789");
  const char* const buffer = text.Text();
  text.Clear();
  EXPECT_TRUE(text.IsEmpty());
  EXPECT_STREQ("", text.Text());
  EXPECT_EQ(10u, text.Spare());
  text += "abc";
  EXPECT_EQ(buffer, text.Text());
  EXPECT_EQ(7u, text.Spare());
  text.Reset();
  EXPECT_EQ(ZRChar::EmptyString(), text.Text());
  EXPECT_EQ(0u, text.Spare());
}

TEST(BasicString, ReserveMakesRoomOnce) {
  ZRString text("ab");
  text.Reserve(10);
  EXPECT_EQ(8u, text.Spare());
  EXPECT_STREQ("ab", text.Text());
  const char* const buffer = text.Text();
  text += "cdefghij";
  EXPECT_EQ(buffer, text.Text());
  text.Reserve(3);
  EXPECT_EQ(buffer, text.Text());
}

TEST(BasicString, MayAppendAndAssignItsOwnText) {
  ZRString text("abcdef");
  text += text;
  EXPECT_STREQ("abcdefabcdef", text.Text());
  text.Append(text.Text() + 3, 3);
  EXPECT_STREQ("abcdefabcdefdef", text.Text());
  text.GrowInSteps();
  text += text.Text() + 12;
  text += text;
  EXPECT_STREQ("abcdefabcdefdefdefabcdefabcdefdefdef", text.Text());
  text = text.Text() + 30;
  EXPECT_STREQ("defdef", text.Text());
  text.Assign(text.Text() + 1, 4);
  EXPECT_STREQ("efde", text.Text());
  const ZRString& same = text;
  text = same;
  EXPECT_STREQ("efde", text.Text());
  ZRString& other = text;
  text = std::move(other);
  EXPECT_STREQ("efde", text.Text());
}

TEST(BasicString, AssignsAPartOfABorrowedTextToItself) {
  ZRString text("abcdef", false);
  text = text.Text() + 2;
  EXPECT_STREQ("cdef", text.Text());
}

TEST(BasicString, MoveTakesTheBufferAndLeavesEmptyText) {
  ZRString from("abc");
  const char* const buffer = from.Text();
  ZRString to(std::move(from));
  EXPECT_EQ(buffer, to.Text());
  EXPECT_TRUE(from.IsEmpty());  // NOLINT(bugprone-use-after-move): the promise
  ZRString assigned("x");
  assigned = std::move(to);
  EXPECT_EQ(buffer, assigned.Text());
  EXPECT_STREQ("", to.Text());  // NOLINT(bugprone-use-after-move)
}

TEST(BasicString, OwnedCopyIsIndependent) {
  ZRWString first(L"abc");
  ZRWString second(first);
  second += L"d";
  first = L"x";
  EXPECT_STREQ(L"x", first.Text());
  EXPECT_STREQ(L"abcd", second.Text());
}

TEST(BasicString, HoldsCountedTextWithNul) {
  const ZRString text("a\0b", std::size_t{3});
  EXPECT_EQ(3u, text.Length());
  EXPECT_EQ(std::string_view("a\0b", 3), text.View());
  const ZRString copy(text);
  EXPECT_EQ(3u, copy.Length());
}

TEST(BasicString, JoinsTexts) {
  const ZRString a("ab");
  const ZRString b("cd");
  EXPECT_STREQ("abcd", (a + b).Text());
  EXPECT_STREQ("abxy", (a + "xy").Text());
  EXPECT_STREQ("xyab", ("xy" + a).Text());
  EXPECT_EQ(0u, (a + b).Spare());
}

TEST(BasicString, RefusesALengthBeyondItsLimit) {
  ZRString text("a");
  const std::size_t tooMany = std::size_t{ZRString::kMaximumLength} + 1;
  EXPECT_THROW(text.Append(text.Text(), tooMany - 1), std::length_error);
  EXPECT_THROW(text.Assign(text.Text(), tooMany), std::length_error);
  EXPECT_THROW(text.Reserve(tooMany), std::length_error);
  EXPECT_STREQ("a", text.Text());
}

TEST(BasicString, ComparesExactly) {
  EXPECT_EQ(0, ZRChar::Compare("name", "name"));
  EXPECT_NE(0, ZRChar::Compare("name", "Name"));
  EXPECT_NE(0, ZRWideChar::Compare(L"name", L"Name"));
  EXPECT_TRUE(ZRString("a") == "a");
  EXPECT_FALSE(ZRString("a") == "A");
  EXPECT_TRUE(ZRWString(L"a") == ZRWString(L"a", false));
  EXPECT_FALSE(ZRWString(L"a") == ZRWString(L"ab"));
}

TEST(BasicString, NullComparesAsTheEmptyText) {
  EXPECT_EQ(0, ZRChar::Compare(nullptr, ""));
  EXPECT_EQ(0, ZRWideChar::Compare(nullptr, nullptr));
  EXPECT_EQ(0u, ZRChar::Length(nullptr));
  EXPECT_LT(ZRWideChar::Compare(nullptr, L"a"), 0);
}

TEST(BasicString, WideOrderIsThatOfTheUnits) {
  EXPECT_LT(ZRWideChar::Compare(L"Z", L"a"), 0);
  EXPECT_LT(ZRWideChar::Compare(L"ab", L"abc"), 0);
  EXPECT_GT(ZRWideChar::Compare(L"b", L"abc"), 0);
  EXPECT_LT(ZRWideChar::Compare(L"\x7f", L"\x80"), 0);
  EXPECT_LT(ZRWideChar::Compare(L"\xD83D\xDE00", L"\xFFFD"), 0);
  EXPECT_TRUE(ZRWString(L"Z") < ZRWString(L"a"));
}

TEST(BasicString, NarrowOrderIsThatOfUnsignedBytes) {
  EXPECT_LT(ZRChar::Compare("z", "\xC3\xA9"), 0);
  EXPECT_TRUE(ZRString("a") < ZRString("ab"));
}

TEST(BasicString, IsAKeyOfUnorderedContainers) {
  std::unordered_set<ZRWString> names{ZRWString(L"a"), ZRWString(L"b"), ZRWString(L"a", false)};
  EXPECT_EQ(2u, names.size());
}

}  // namespace

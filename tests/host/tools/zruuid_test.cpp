#include "host/tools/zruuid.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "host/platform/zrthread.h"

namespace {

constexpr wchar_t kText[] = L"0123abcd-4567-89ef-0123-456789abcdef";

TEST(Uuid, DefaultIsNull) {
  EXPECT_EQ(uuid::null, uuid());
  EXPECT_STREQ(L"00000000-0000-0000-0000-000000000000", uuid::null.toWString().Text());
}

TEST(Uuid, TextFormRoundTrips) {
  const uuid id = wtouuid(kText);
  EXPECT_EQ(0x01, id.bytes[0]);
  EXPECT_EQ(0xEF, id.bytes[15]);
  EXPECT_STREQ(kText, id.toWString().Text());
  EXPECT_EQ(kUuidTextLength, id.toWString().Length());
}

TEST(Uuid, ReadsBracesAndUpperCase) {
  const uuid id = wtouuid(kText);
  EXPECT_EQ(id, wtouuid(L"{0123abcd-4567-89ef-0123-456789abcdef}"));
  EXPECT_EQ(id, wtouuid(L"0123ABCD-4567-89EF-0123-456789ABCDEF"));
  EXPECT_EQ(id, wtouuid(ZRWString(L"{0123aBcD-4567-89EF-0123-456789aBcDeF}")));
}

TEST(Uuid, AnyOtherTextIsNull) {
  const wchar_t* const texts[] = {
      L"",
      L"{}",
      L"0123abcd",
      L"0123abcd-4567-89ef-0123-456789abcde",
      L"0123abcd-4567-89ef-0123-456789abcdef0",
      L"0123abcd-4567-89ef-0123-456789abcdeg",
      L"0123abcd+4567-89ef-0123-456789abcdef",
      L"0123abcd44567-89ef-0123-456789abcdef",
      L"0123abc-d4567-89ef-0123-456789abcdef",
      L"{0123abcd-4567-89ef-0123-456789abcdef",
      L"0123abcd-4567-89ef-0123-456789abcdef}",
      L"{0123abcd-4567-89ef-0123-456789abcdef)",
      L"{{123abcd-4567-89ef-0123-456789abcdef}",
      L" 0123abcd-4567-89ef-0123-456789abcdef",
      L"0123abcd-4567-89ef-0123-456789abcdef ",
      L"0x23abcd-4567-89ef-0123-456789abcdef",
      L"0123abcd-4567-89ef-0123-456789abcde\xFF11",
      L"0123abcd456789ef0123456789abcdef",
  };
  for (const wchar_t* const text : texts)
    EXPECT_EQ(uuid::null, wtouuid(text)) << text;
  EXPECT_EQ(uuid::null, wtouuid(static_cast<const wchar_t*>(nullptr)));
  EXPECT_EQ(uuid::null, wtouuid(ZRWString(L"0123abcd-4567-89ef-0123-456789abcdef\0", 37)));
}

TEST(Uuid, OrderIsThatOfItsText) {
  std::set<uuid> byId;
  std::set<std::wstring> byText;
  for (int i = 0; i < 200; ++i) {
    uuid id;
    NewGUID(&id);
    byId.insert(id);
    byText.insert(id.toWString().Text());
  }
  auto text = byText.begin();
  for (const uuid& id : byId)
    EXPECT_EQ(*text++, id.toWString().Text());
  EXPECT_LT(uuid::null, *byId.begin());
  EXPECT_NE(uuid::null, *byId.begin());
}

TEST(Uuid, NewOnesAreOfVersionFourAndDiffer) {
  std::unordered_set<uuid> seen;
  for (int i = 0; i < 1000; ++i) {
    uuid id;
    NewGUID(&id);
    const ZRWString text = id.toWString();
    EXPECT_EQ(L'4', text[14]);
    EXPECT_NE(std::wstring_view::npos, std::wstring_view(L"89ab").find(text[19]));
    EXPECT_TRUE(seen.insert(id).second);
  }
}

TEST(Uuid, ThreadsNeverDrawTheSame) {
  constexpr int kThreads = 4;
  constexpr int kEach = 500;
  std::vector<uuid> drawn[kThreads];
  {
    ZRThread threads[kThreads];
    for (int i = 0; i < kThreads; ++i) {
      ASSERT_TRUE(threads[i].Start([&mine = drawn[i]] {
        mine.resize(kEach);
        for (uuid& id : mine)
          NewGUID(&id);
      }));
    }
  }
  std::set<uuid> all;
  for (const auto& mine : drawn)
    all.insert(mine.begin(), mine.end());
  EXPECT_EQ(std::size_t{kThreads * kEach}, all.size());
}

TEST(Uuid, WritesIntoBuffers) {
  const uuid id = wtouuid(kText);
  wchar_t wide[kUuidTextLength + 1];
  guidtow(id, wide, std::size(wide));
  EXPECT_STREQ(kText, wide);
  char narrow[kUuidTextLength + 1];
  guidtoc(id, narrow);
  EXPECT_STREQ("0123abcd-4567-89ef-0123-456789abcdef", narrow);
}

TEST(Uuid, TooSmallABufferGetsAnEmptyText) {
  wchar_t wide[kUuidTextLength] = L"before";
  guidtow(wtouuid(kText), wide, std::size(wide));
  EXPECT_STREQ(L"", wide);
  wchar_t untouched = L'x';
  guidtow(wtouuid(kText), &untouched, 0);
  EXPECT_EQ(L'x', untouched);
}

}  // namespace

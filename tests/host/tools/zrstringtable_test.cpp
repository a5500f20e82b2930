#include "host/tools/zrstringtable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "host/platform/zrthread.h"
#include "host/tools/zrtext.h"

namespace {

constexpr int kNumbers[] = {34875, 33210, 36166, 36157, 36185, 24543, 34031, 32830, 32724, 32149,
                            32858, 607,   608,   32347, 34154, 34155, 34156, 34157, 37539, 38591,
                            38600, 34441, 183,   32031, 34100, 34101, 34102, 34103, 34296};
constexpr int kFormats[] = {32347, 34154, 34155, 34156, 34157};
constexpr int kGroups[] = {34875, 33210, 36166, 36157, 36185, 24543, 34031};
constexpr const char* kLanguages[] = {"en", "es"};

class StringTable : public testing::Test {
 protected:
  void TearDown() override { ASSERT_TRUE(SetStringLanguage("en")); }
};

TEST_F(StringTable, EveryNumberHasATextInEachLanguage) {
  for (const char* const language : kLanguages) {
    ASSERT_TRUE(SetStringLanguage(language));
    for (const int id : kNumbers) {
      ZRWString text;
      EXPECT_TRUE(ZRLoadString(id, text)) << language << " " << id;
      EXPECT_FALSE(text.IsEmpty()) << language << " " << id;
      EXPECT_NE(L'#', text[0]) << language << " " << id;
    }
  }
}

TEST_F(StringTable, FormatsTakeOneWideTextAndOthersNone) {
  const std::set<int> formats(std::begin(kFormats), std::end(kFormats));
  for (const char* const language : kLanguages) {
    ASSERT_TRUE(SetStringLanguage(language));
    for (const int id : kNumbers) {
      const ZRWString text = ZRLoadString(id);
      EXPECT_EQ(formats.count(id), static_cast<std::size_t>(CountSubstring(text, L"%"))) << id;
      EXPECT_EQ(formats.count(id), static_cast<std::size_t>(CountSubstring(text, L"%ls"))) << id;
    }
  }
}

TEST_F(StringTable, GroupsHaveDistinctNames) {
  for (const char* const language : kLanguages) {
    ASSERT_TRUE(SetStringLanguage(language));
    std::set<std::wstring> names{L"alarm"};
    for (const int id : kGroups)
      names.insert(ZRLoadString(id).Text());
    EXPECT_EQ(std::size(kGroups) + 1, names.size());
  }
}

TEST_F(StringTable, SpeaksTheLanguageInForce) {
  EXPECT_STREQ(L"Acknowledged", ZRLoadString(zrstring::kAcknowledged).Text());
  ASSERT_TRUE(SetStringLanguage("es"));
  EXPECT_STREQ("es", StringLanguage().Text());
  EXPECT_STREQ(L"Reconocido", ZRLoadString(zrstring::kAcknowledged).Text());
  ZRString narrow;
  ASSERT_TRUE(ZRLoadString(zrstring::kSubjectWhile, narrow));
  EXPECT_STREQ("El evento '%ls' est\xC3\xA1 activo", narrow.Text());
  ZRWString wide;
  ASSERT_TRUE(StringId2String(zrstring::kSubjectWhile, wide));
  EXPECT_STREQ(L"El evento '%ls' est\u00E1 activo", wide.Text());
}

TEST_F(StringTable, UnknownLanguageChangesNothing) {
  ASSERT_TRUE(SetStringLanguage("es"));
  for (const char* const language : {"", "fr", "EN", "en-GB", "e"}) {
    EXPECT_FALSE(SetStringLanguage(language));
    EXPECT_STREQ("es", StringLanguage().Text());
  }
}

TEST_F(StringTable, UnknownNumberShowsItself) {
  ZRWString wide(L"before");
  ZRString narrow("before");
  EXPECT_FALSE(ZRLoadString(1, wide));
  EXPECT_STREQ(L"#1", wide.Text());
  EXPECT_FALSE(ZRLoadString(-5, narrow));
  EXPECT_STREQ("#-5", narrow.Text());
  EXPECT_FALSE(StringId2String(0, wide));
  EXPECT_STREQ(L"#0", ZRLoadString(0).Text());
}

TEST_F(StringTable, IsReadWhileTheLanguageChanges) {
  ZRThread reader;
  ASSERT_TRUE(reader.Start([] {
    for (int i = 0; i < 2000; ++i) {
      const ZRWString text = ZRLoadString(zrstring::kGroupSystem);
      EXPECT_TRUE(text == L"System" || text == L"Sistema");
    }
  }));
  for (int i = 0; i < 2000; ++i)
    ASSERT_TRUE(SetStringLanguage(i % 2 == 0 ? "es" : "en"));
}

}  // namespace

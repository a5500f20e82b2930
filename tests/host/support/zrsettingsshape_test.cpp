#include "host/support/zrsettingsshape.h"

#include <gtest/gtest.h>

#include <string>

#include "host/support/zrtessalysetup.h"

namespace {

// With at most three brackets and three points.
bool IsGood(const std::string& toml) {
  ZRSettingProblem problem;
  return CheckShape(toml, 3, problem);
}

TEST(SettingsShape, CountsOpenBracketsOfBothKinds) {
  EXPECT_TRUE(IsGood("a = [[[1], [2]], [[3]]]\nb = [[[4]]]"));
  EXPECT_FALSE(IsGood("a = [[[[1]]]]"));
  EXPECT_TRUE(IsGood("a = {b = [{c = 1}]}"));
  EXPECT_FALSE(IsGood("a = {b = [{c = {d = 1}}]}"));
}

TEST(SettingsShape, CountsThePointsOfOneKey) {
  EXPECT_TRUE(IsGood("a.b.c.d = 1\ne.f.g.h = 2"));
  EXPECT_FALSE(IsGood("a.b.c.d.e = 1"));
  EXPECT_TRUE(IsGood("[a.b.c.d]\ne.f.g.h = 1"));
  EXPECT_FALSE(IsGood("[a.b.c.d.e]"));
  EXPECT_FALSE(IsGood("a = {b.c.d.e.f = 1}"));
  EXPECT_TRUE(IsGood("a = [1.5, 2.5, 3.5, 4.5, 5.5]"));
}

TEST(SettingsShape, PassesOverComments) {
  EXPECT_TRUE(IsGood("# [[[[ a.b.c.d.e\na = 1 # {{{{\nb = 1"));
  EXPECT_FALSE(IsGood("# \"\na = [[[[1]]]]"));
}

TEST(SettingsShape, PassesOverStrings) {
  EXPECT_TRUE(IsGood(R"(a = "[[[[ 1.2.3.4.5 # ' \" [[[[")"));
  EXPECT_TRUE(IsGood(R"(a = '[[[[ 1.2.3.4.5 # " \')"));
  EXPECT_TRUE(IsGood("a = \"\"\"\n[[[[ \"\" \\\"\"\" [[[[\"\"\"\nb = 1"));
  EXPECT_TRUE(IsGood("a = '''\n[[[[ '' [[[['''\nb = 1"));
}

// A string can't hide what follows it.
TEST(SettingsShape, SeesWhatFollowsAString) {
  EXPECT_FALSE(IsGood(R"(a = ["", [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"(a = ["\\", [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"(a = ['\', [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"(a = ["""x"""", [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"(a = ["""x""""", [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"(a = ['''x'''', [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"(a = ["""""", [[[1]]]])"));
  EXPECT_FALSE(IsGood(R"("a"."b".'c'."d"."e" = 1)"));
}

TEST(SettingsShape, IsAsciiOutsideOfStringsAndComments) {
  EXPECT_TRUE(IsGood("a = \"caf\xc3\xa9\" # caf\xc3\xa9\n'caf\xc3\xa9' = 1"));
  EXPECT_FALSE(IsGood("caf\xc3\xa9 = 1"));
  EXPECT_FALSE(IsGood("a = caf\xc3\xa9"));
  EXPECT_TRUE(
      IsGood("\xEF\xBB\xBF"
             "a = 1"));
  EXPECT_FALSE(IsGood("a = 1\xEF\xBB\xBF"));
}

TEST(SettingsShape, TellsThePlace) {
  ZRSettingProblem problem;
  EXPECT_FALSE(CheckShape("a = 1\nb = [[[[1]]]]", 3, problem));
  EXPECT_EQ(2, problem.line);
  EXPECT_EQ(8, problem.column);
  EXPECT_TRUE(problem.text == "nested deeper than 3");
  EXPECT_FALSE(CheckShape("a = 1\n\nb\xc3\xa9 = 1", 3, problem));
  EXPECT_EQ(3, problem.line);
  EXPECT_EQ(2, problem.column);
  EXPECT_TRUE(problem.text == "a character that only texts and comments may hold");
}

TEST(SettingsShape, EndsWithTheTextInWhateverState) {
  for (const char* cut : {"", "\"", "'", "\"\"\"", "'''", "\"\\", "\"\"\"a\"\"", "#", "]]]"})
    EXPECT_TRUE(IsGood(cut)) << cut;
}

}  // namespace

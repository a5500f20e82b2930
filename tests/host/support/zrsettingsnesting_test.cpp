#include "host/support/zrsettingsnesting.h"

#include <gtest/gtest.h>

#include <string>

#include "host/support/zrtessalysetup.h"

namespace {

// With at most three brackets and three points.
bool IsFlat(const std::string& toml) {
  ZRSettingProblem problem;
  return CheckNesting(toml, 3, problem);
}

TEST(SettingsNesting, CountsOpenBracketsOfBothKinds) {
  EXPECT_TRUE(IsFlat("a = [[[1], [2]], [[3]]]\nb = [[[4]]]"));
  EXPECT_FALSE(IsFlat("a = [[[[1]]]]"));
  EXPECT_TRUE(IsFlat("a = {b = [{c = 1}]}"));
  EXPECT_FALSE(IsFlat("a = {b = [{c = {d = 1}}]}"));
}

TEST(SettingsNesting, CountsThePointsOfOneKey) {
  EXPECT_TRUE(IsFlat("a.b.c.d = 1\ne.f.g.h = 2"));
  EXPECT_FALSE(IsFlat("a.b.c.d.e = 1"));
  EXPECT_TRUE(IsFlat("[a.b.c.d]\ne.f.g.h = 1"));
  EXPECT_FALSE(IsFlat("[a.b.c.d.e]"));
  EXPECT_FALSE(IsFlat("a = {b.c.d.e.f = 1}"));
  EXPECT_TRUE(IsFlat("a = [1.5, 2.5, 3.5, 4.5, 5.5]"));
}

TEST(SettingsNesting, PassesOverComments) {
  EXPECT_TRUE(IsFlat("# [[[[ a.b.c.d.e\na = 1 # {{{{\nb = 1"));
  EXPECT_FALSE(IsFlat("# \"\na = [[[[1]]]]"));
}

TEST(SettingsNesting, PassesOverStrings) {
  EXPECT_TRUE(IsFlat(R"(a = "[[[[ 1.2.3.4.5 # ' \" [[[[")"));
  EXPECT_TRUE(IsFlat(R"(a = '[[[[ 1.2.3.4.5 # " \')"));
  EXPECT_TRUE(IsFlat("a = \"\"\"\n[[[[ \"\" \\\"\"\" [[[[\"\"\"\nb = 1"));
  EXPECT_TRUE(IsFlat("a = '''\n[[[[ '' [[[['''\nb = 1"));
}

// A string can't hide what follows it.
TEST(SettingsNesting, SeesWhatFollowsAString) {
  EXPECT_FALSE(IsFlat(R"(a = ["", [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"(a = ["\\", [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"(a = ['\', [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"(a = ["""x"""", [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"(a = ["""x""""", [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"(a = ['''x'''', [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"(a = ["""""", [[[1]]]])"));
  EXPECT_FALSE(IsFlat(R"("a"."b".'c'."d"."e" = 1)"));
}

TEST(SettingsNesting, TellsThePlace) {
  ZRSettingProblem problem;
  EXPECT_FALSE(CheckNesting("a = 1\nb = [[[[1]]]]", 3, problem));
  EXPECT_EQ(2, problem.line);
  EXPECT_EQ(8, problem.column);
  EXPECT_TRUE(problem.text == "nested deeper than 3");
}

TEST(SettingsNesting, EndsWithTheTextInWhateverState) {
  for (const char* cut : {"", "\"", "'", "\"\"\"", "'''", "\"\\", "\"\"\"a\"\"", "#", "]]]"})
    EXPECT_TRUE(IsFlat(cut)) << cut;
}

}  // namespace

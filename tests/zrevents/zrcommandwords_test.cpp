#include "zrevents/actions/zrcommandwords.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

using Words = std::vector<std::string>;

Words Of(const std::string& line) {
  return CommandWords({{Wide(line), false}});
}

struct tagLine {
  std::string line;
  Words words;
};

TEST(CommandWordsOfALine, AreDividedByBlanksAndHeldTogetherByQuotes) {
  const tagLine rows[] = {
      {"", {}},
      {"   \t ", {}},
      {"one", {"one"}},
      {"  one  two\tthree ", {"one", "two", "three"}},
      {R"("one two" three)", {"one two", "three"}},
      {R"(one" "two)", {"one two"}},
      {R"("one""two")", {"onetwo"}},
      {R"("")", {""}},
      {R"(a "" b)", {"a", "", "b"}},
      {R"(a "b c)", {"a", "b c"}},
      {R"(a ")", {"a", ""}},
      {R"(C:\a\"b c\")", {R"(C:\a\b c\)"}},
      {R"('a b')", {"'a", "b'"}},
      {"a\nb\rc", {"a\nb\rc"}},
      {"a\xC2\xA0"
       "b",
       {"a\xC2\xA0"
        "b"}},  // no blank of a line
      {"\xC3\xB1\xF0\x9F\x94\xA5 x", {"\xC3\xB1\xF0\x9F\x94\xA5", "x"}},
      {"-o --long -", {"-o", "--long", "-"}},
  };
  for (const tagLine& row : rows)
    EXPECT_EQ(Of(row.line), row.words) << row.line;
}

TEST(CommandWordsOfALine, AreNotExpanded) {
  const std::string line = R"($HOME ~ * ? `id` $(id) ; & | > < >> 2>&1 && || # ! \ ' {a,b} %n [a])";
  Words expected;
  std::size_t from = 0;
  for (std::size_t at = line.find(' '); from < line.size(); at = line.find(' ', from)) {
    expected.push_back(line.substr(from, at - from));
    from = at == std::string::npos ? line.size() : at + 1;
  }
  EXPECT_EQ(Of(line), expected);
  EXPECT_EQ(expected.size(), 22u);
}

TEST(CommandWordsOfALine, EndAtANul) {
  ZRWString line;
  line.Append(L"one tw\0o three", 14);
  EXPECT_EQ(CommandWords({{line, false}}), (Words{"one", "tw"}));
}

TEST(CommandWordsOfALine, SingleSurrogatesAreReplaced) {
  ZRWString line(L"a");
  line += wchar_t{0xD800};
  EXPECT_EQ(CommandWords({{line, false}}), Words{"a\xEF\xBF\xBD"});
}

// --- what arguments of an event say ---

struct tagMixed {
  std::vector<tagCommandPart> parts;
  Words words;
};

TEST(CommandWordsOfArguments, AreDividedByTheirBlanksUnlessTheLineQuotesThem) {
  const tagMixed rows[] = {
      {{{L"two words", true}}, {"two", "words"}},
      {{{L" two\t words ", true}, {L"x", false}}, {"two", "words", "x"}},
      {{{L"--file=", false}, {L"a b", true}, {L".txt end", false}}, {"--file=a", "b.txt", "end"}},
      {{{L"\"", false}, {L"two \t words ", true}, {L"\"", false}}, {"two \t words "}},
      {{{L"--file=\"", false}, {L"a b", true}, {L"\".txt", false}}, {"--file=a b.txt"}},
      {{{L"", true}}, {}},
      {{{L" ", true}}, {}},
      {{{L"\"", false}, {L"", true}, {L"\"", false}}, {""}},
      {{{L"a", true}, {L"b", true}}, {"ab"}},
      {{{L"a\nb\r", true}, {L" c", false}}, {"a\nb\r", "c"}},
  };
  for (const tagMixed& row : rows)
    EXPECT_EQ(CommandWords(row.parts), row.words);
}

TEST(CommandWordsOfArguments, HaveQuotesThatStandForThemselves) {
  const tagMixed rows[] = {
      {{{L"a\" b", true}}, {"a\"", "b"}},
      {{{L"\"", true}, {L" --safe x", false}}, {"\"", "--safe", "x"}},
      {{{L"\"", false}, {L"a\" -r \"b", true}, {L"\" x", false}}, {"a\" -r \"b", "x"}},
      {{{L"\"in ", false}, {L"a\" b", true}, {L" out\" x", false}}, {"in a\" b out", "x"}},
  };
  for (const tagMixed& row : rows)
    EXPECT_EQ(CommandWords(row.parts), row.words);
}

TEST(CommandWordsOfArguments, BeginNoOption) {
  const tagMixed rows[] = {
      {{{L"-rf", true}}, {"rf"}},
      {{{L"--output=x", true}}, {"output=x"}},
      {{{L"x -rf  --all\t-", true}}, {"x", "rf", "all", ""}},
      {{{L"-", true}}, {""}},
      {{{L"---", true}, {L"x", false}}, {"x"}},
      {{{L"-", true}, {L"-x", true}}, {"x"}},
      {{{L"", true}, {L"-x", true}}, {"x"}},
      {{{L"\"", false}, {L"-x y", true}, {L"\"", false}}, {"x y"}},
      {{{L"-", true}, {L"-x", false}}, {"-x"}},  // the second dash is the line's own
      {{{L"a ", true}, {L"-x", false}}, {"a", "x"}},
      {{{L"a ", true}, {L"-", false}, {L"rf", true}}, {"a", "rf"}},
      {{{L"a ", true}, {L" -x", false}}, {"a", "-x"}},
      {{{L"a-x", true}}, {"a-x"}},
      {{{L"-o ", false}, {L"-x", true}}, {"-o", "x"}},
      {{{L"-o", false}, {L"-x -y", true}}, {"-o-x", "y"}},
      {{{L"--opt=", false}, {L"-x", true}}, {"--opt=-x"}},
  };
  for (const tagMixed& row : rows)
    EXPECT_EQ(CommandWords(row.parts), row.words);
}

TEST(CommandWordsOfArguments, NumbersKeepTheirSign) {
  for (const wchar_t* number :
       {L"-1", L"-0.5", L"-1,234.50", L"-1.234,50", L"-1.2e+03", L"-7e-05", L"-1e9"})
    EXPECT_EQ(CommandWords({{number, true}}), Words{Narrow(number)});
  EXPECT_EQ(CommandWords({{L"-5", true}, {L"kW", false}}), Words{"-5kW"});
  EXPECT_EQ(CommandWords({{L"at -5 kW", true}}), (Words{"at", "-5", "kW"}));
  for (const wchar_t* text :
       {L"-1x", L"-e5", L"-.5", L"--1", L"-1-r", L"-1e", L"-1e+", L"-1e5-r", L"-1+2"})
    EXPECT_NE(CommandWords({{text, true}}).front().front(), '-') << Narrow(text);
}

}  // namespace

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Formatting, as a text that tests can print.
template <typename... Arguments>
std::wstring F(const wchar_t* format, Arguments... arguments) {
  return std::wstring(FormatWide(format, arguments...).View());
}

TEST(FormatWide, CopiesPlainText) {
  EXPECT_EQ(L"", F(L""));
  EXPECT_EQ(L"plain caf\u00E9", F(L"plain caf\u00E9"));
  EXPECT_EQ(L"100%", F(L"100%%"));
  EXPECT_EQ(L"%d", F(L"%%d"));
  EXPECT_TRUE(FormatWide(nullptr).IsEmpty());
}

TEST(FormatWide, WritesIntegersOfEachLength) {
  EXPECT_EQ(L"1 -2 3", F(L"%d %i %u", 1, -2, 3u));
  EXPECT_EQ(L"-2147483648 4294967295", F(L"%d %u", INT_MIN, UINT_MAX));
  EXPECT_EQ(L"-9223372036854775808 18446744073709551615", F(L"%ld %lu", LONG_MIN, ULONG_MAX));
  EXPECT_EQ(L"-9223372036854775808 18446744073709551615", F(L"%lld %llu", LLONG_MIN, ULLONG_MAX));
  EXPECT_EQ(L"18446744073709551615 -1", F(L"%zu %zd", SIZE_MAX, ssize_t{-1}));
  EXPECT_EQ(L"beef BEEF ffffffffffffffff FF",
            F(L"%x %X %lx %zX", 0xBEEFu, 0xBEEFu, ULONG_MAX, std::size_t{255}));
  EXPECT_EQ(L"0 0 0", F(L"%d %u %x", 0, 0u, 0u));
}

TEST(FormatWide, ObeysFlagsWidthAndPrecisionOfIntegers) {
  EXPECT_EQ(L"[   42][42   ][00042]", F(L"[%5d][%-5d][%05d]", 42, 42, 42));
  EXPECT_EQ(L"[+42][-42][  +42][+0042]", F(L"[%+d][%+d][%+5d][%+05d]", 42, -42, 42, 42));
  EXPECT_EQ(L"[-0042][-42  ][42   ]", F(L"[%05d][%-5d][%-05d]", -42, -42, 42));
  EXPECT_EQ(L"[0042][  042][-042][]", F(L"[%.4d][%05.3d][%.3d][%.0d]", 42, 42, -42, 0));
  EXPECT_EQ(L"[0000002a]", F(L"[%08x]", 42u));
  EXPECT_EQ(L"[42]", F(L"[%1d]", 42));
  EXPECT_EQ(L"21112026080509", F(L"%02d%02d%04d%02d%02d%02d", 21, 11, 2026, 8, 5, 9));
}

TEST(FormatWide, WritesDoublesWithoutALocale) {
  EXPECT_EQ(L"1.500000 -0.250000", F(L"%f %f", 1.5, -0.25));
  EXPECT_EQ(L"2 1.2 1.23 1.235", F(L"%.0f %.1f %.2f %.3f", 1.5, 1.2345, 1.2345, 1.2346));
  EXPECT_EQ(L"1.500000e+00 1.50e-07", F(L"%e %.2e", 1.5, 1.5e-7));
  EXPECT_EQ(L"0.0001 1e-05 100000 1e+06 1.5", F(L"%g %g %g %g %g", 1e-4, 1e-5, 1e5, 1e6, 1.5));
  EXPECT_EQ(L"[   1.50][1.50   ][0001.50][+1.50][-01.50]",
            F(L"[%7.2f][%-7.2f][%07.2f][%+.2f][%06.2f]", 1.5, 1.5, 1.5, 1.5, -1.5));
  EXPECT_EQ(L"1.500000", F(L"%lf", 1.5));
  EXPECT_EQ(L"-0.000000", F(L"%f", -0.0));
}

TEST(FormatWide, WritesWhatIsNoNumber) {
  EXPECT_EQ(L"nan inf -inf +inf",
            F(L"%f %f %f %+f", std::nan(""), kInfinity, -kInfinity, kInfinity));
  EXPECT_EQ(L"nan nan", F(L"%e %g", -std::nan(""), std::nan("")));
  EXPECT_EQ(L"[  inf][-inf ]", F(L"[%05f][%-5g]", kInfinity, -kInfinity));
}

TEST(FormatWide, WritesTheGreatestDoubleInFull) {
  const ZRWString text = FormatWide(L"%.4096f", std::numeric_limits<double>::max());
  EXPECT_EQ(309u + 1 + 4096, text.Length());
  EXPECT_EQ(L'1', text[0]);
  EXPECT_EQ(L'7', text[1]);
}

TEST(FormatWide, WritesTexts) {
  EXPECT_EQ(L"[wide caf\u00E9][narrow caf\u00E9]",
            F(L"[%ls][%s]", L"wide caf\u00E9", "narrow caf\xC3\xA9"));
  EXPECT_EQ(L"[   ab][ab   ][   ab][ab   ]",
            F(L"[%5ls][%-5ls][%5s][%-5s]", L"ab", L"ab", "ab", "ab"));
  EXPECT_EQ(L"[abc][abc][][]", F(L"[%.3ls][%.3s][%.0ls][%.0s]", L"abcdef", "abcdef", L"a", "a"));
  EXPECT_EQ(L"[  abc]", F(L"[%5.3ls]", L"abcdef"));
  EXPECT_EQ(L"[\xD83D\xDE00]", F(L"[%s]", "\xF0\x9F\x98\x80"));
  EXPECT_EQ(L"[\xFFFD]", F(L"[%s]", "\xFF"));
}

TEST(FormatWide, PrecisionOfATextCountsUnitsAndKeepsPairsWhole) {
  EXPECT_EQ(L"[\u20AC\u20AC]", F(L"[%.2s]", "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"));
  EXPECT_EQ(L"[a][a][a\xD83D\xDE00]",
            F(L"[%.2ls][%.2s][%.3s]", L"a\xD83D\xDE00", "a\xF0\x9F\x98\x80", "a\xF0\x9F\x98\x80"));
}

TEST(FormatWide, NullTextIsNamed) {
  EXPECT_EQ(L"[(null)][(null)][  (null)]",
            F(L"[%ls][%s][%8ls]", static_cast<const wchar_t*>(nullptr),
              static_cast<const char*>(nullptr), static_cast<const wchar_t*>(nullptr)));
}

TEST(FormatWide, WritesUnits) {
  EXPECT_EQ(L"[a][\u20AC][  b][b  ]", F(L"[%c][%lc][%3c][%-3c]", 'a', 0x20AC, 'b', 'b'));
}

TEST(FormatWide, UnknownConversionIsCopiedAndTakesNoArgument) {
  EXPECT_EQ(L"%n 7", F(L"%n %d", 7));
  EXPECT_EQ(L"%*d 7", F(L"%*d %d", 7));
  EXPECT_EQ(L"%q%5y%-l.3o 7", F(L"%q%5y%-l.3o %d", 7));
  EXPECT_EQ(L"%5%d", F(L"%5%d", 7));
  EXPECT_EQ(L"%hs %zs %lls 7", F(L"%hs %zs %lls %d", 7));
  EXPECT_EQ(L"%#x % d 7", F(L"%#x % d %d", 7));
}

TEST(FormatWide, FormatMayEndInTheMiddle) {
  for (const wchar_t* const format :
       {L"%", L"%l", L"%ll", L"%5", L"%5.", L"%-+0", L"%z", L"a%.3l"}) {
    EXPECT_EQ(format, F(format));
  }
}

TEST(FormatWide, WidthAndPrecisionAreBounded) {
  EXPECT_EQ(4096u, FormatWide(L"%99999999999999999999d", 1).Length());
  EXPECT_EQ(4096u, FormatWide(L"%.2147483647d", 1).Length());
  EXPECT_EQ(4096u, FormatWide(L"%-2147483648ls", L"a").Length());
  EXPECT_EQ(4098u, FormatWide(L"%.999999999f", 1.0).Length());
}

TEST(FormatWide, TakesManyArgumentsOfMixedKinds) {
  EXPECT_EQ(L"1 2 3.5 4 five six 7 8.5 9 10 11.5 12 13.5 14.5 15.5 16.5 17.5 18.5",
            F(L"%d %ld %.1f %lld %s %ls %zu %.1f %u %c%c %.1f"
              L" %d %.1f %.1f %.1f %.1f %.1f %.1f",
              1, 2L, 3.5, 4LL, "five", L"six", std::size_t{7}, 8.5, 9u, '1', '0', 11.5, 12, 13.5,
              14.5, 15.5, 16.5, 17.5, 18.5));
}

void FormatInto(ZRWString& out, const wchar_t* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  FormatWide(out, format, arguments);
  va_end(arguments);
}

TEST(FormatWide, ArgumentsMayLieInTheTarget) {
  ZRWString text(L"abc");
  FormatInto(text, L"%ls-%ls", text.Text(), text.Text());
  EXPECT_STREQ(L"abc-abc", text.Text());
}

struct tagParsed {
  int digits = 0;
  int decimals = 0;
  bool sign = true;
  bool scientific = true;
  bool operator==(const tagParsed&) const = default;
};

tagParsed Parsed(const wchar_t* format) {
  tagParsed parsed;
  ParseFormat(format, parsed.digits, parsed.decimals, parsed.sign, parsed.scientific);
  return parsed;
}

TEST(ParseFormat, ReadsItsThreeForms) {
  EXPECT_EQ((tagParsed{1, 2, false, false}), Parsed(L"2"));
  EXPECT_EQ((tagParsed{1, 0, false, false}), Parsed(L"0"));
  EXPECT_EQ((tagParsed{1, 15, false, false}), Parsed(L"15"));
  EXPECT_EQ((tagParsed{4, 2, false, false}), Parsed(L"4.2"));
  EXPECT_EQ((tagParsed{15, 15, false, false}), Parsed(L"15.15"));
  EXPECT_EQ((tagParsed{1, 3, false, true}), Parsed(L"e3"));
  EXPECT_EQ((tagParsed{1, 2, true, false}), Parsed(L"+2"));
  EXPECT_EQ((tagParsed{4, 2, true, false}), Parsed(L"+4.2"));
  EXPECT_EQ((tagParsed{1, 0, true, true}), Parsed(L"+e0"));
}

TEST(ParseFormat, AnythingElseIsTheShortestText) {
  const tagParsed shortest{1, -1, false, false};
  for (const wchar_t* const format :
       {L"",     L"+",    L"e",     L"16",   L"002", L"2.",          L".2",
        L"2.16", L"16.2", L"2.2.2", L"e2.2", L"-2",  L" 2",          L"2 ",
        L"x",    L"%.2f", L"+-2",   L"++2",  L"e+2", L"99999999999", L"\xFF12"}) {
    EXPECT_EQ(shortest, Parsed(format)) << format;
  }
}

std::wstring Shown(double value, const wchar_t* format, bool thousands = false) {
  const tagParsed parsed = Parsed(format);
  ZRWString out(L"before");
  FormatDouble(out, value, parsed.digits, parsed.decimals, thousands, parsed.sign,
               parsed.scientific);
  return std::wstring(out.View());
}

TEST(FormatDouble, ObeysItsFormat) {
  EXPECT_EQ(L"1234.50", Shown(1234.5, L"2"));
  EXPECT_EQ(L"01234.5", Shown(1234.5, L"5.1"));
  EXPECT_EQ(L"1.2e+03", Shown(1234.5, L"e1"));
  EXPECT_EQ(L"1235", Shown(1234.6, L"0"));
  EXPECT_EQ(L"+1234.5", Shown(1234.5, L"+1"));
  EXPECT_EQ(L"-1234.5", Shown(-1234.5, L"+1"));
  EXPECT_EQ(L"-00001.5", Shown(-1.5, L"5.1"));
  EXPECT_EQ(L"0.00", Shown(0, L"2"));
  EXPECT_EQ(L"000", Shown(0, L"3.0"));
}

TEST(FormatDouble, ShortestTextGivesTheSameNumber) {
  EXPECT_EQ(L"0.1", Shown(0.1, L""));
  EXPECT_EQ(L"100000", Shown(100000, L""));
  EXPECT_EQ(L"123456789012345", Shown(123456789012345.0, L""));
  EXPECT_EQ(L"1e+15", Shown(1e15, L""));
  EXPECT_EQ(L"0.00001", Shown(1e-5, L""));
  EXPECT_EQ(L"9e-06", Shown(9e-6, L""));
  EXPECT_EQ(L"-2.5", Shown(-2.5, L""));
  EXPECT_EQ(L"0.30000000000000004", Shown(0.1 + 0.2, L""));
  EXPECT_EQ(L"0", Shown(0, L""));
}

TEST(FormatDouble, GroupsTheDigitsBeforeThePoint) {
  EXPECT_EQ(L"1,234,567.8901", Shown(1234567.8901, L"4", true));
  EXPECT_EQ(L"123", Shown(123, L"0", true));
  EXPECT_EQ(L"-1,234", Shown(-1234, L"0", true));
  EXPECT_EQ(L"001,234.5", Shown(1234.5, L"6.1", true));
  EXPECT_EQ(L"1,234.5", Shown(1234.5, L"", true));
  EXPECT_EQ(L"1.2345e+03", Shown(1234.5, L"e4", true));
}

TEST(FormatDouble, ZeroHasNoSign) {
  EXPECT_EQ(L"0.00", Shown(-0.001, L"2"));
  EXPECT_EQ(L"0.00", Shown(0.001, L"+2"));
  EXPECT_EQ(L"0", Shown(-0.0, L""));
  EXPECT_EQ(L"0.0e+00", Shown(-0.0, L"+e1"));
}

TEST(FormatDouble, WritesWhatIsNoNumber) {
  EXPECT_EQ(L"nan", Shown(std::nan(""), L"+2", true));
  EXPECT_EQ(L"nan", Shown(-std::nan(""), L""));
  EXPECT_EQ(L"inf", Shown(kInfinity, L"5.2", true));
  EXPECT_EQ(L"-inf", Shown(-kInfinity, L"e2"));
  EXPECT_EQ(L"+inf", Shown(kInfinity, L"+2"));
}

TEST(FormatDouble, GreatestNumberIsWrittenInFull) {
  ZRWString out;
  FormatDouble(out, std::numeric_limits<double>::max(), 1, 15, true, true, false);
  EXPECT_EQ(1u + 309 + 102 + 1 + 15, out.Length());
}

TEST(FormatDouble, WildDigitsAreBounded) {
  ZRWString out;
  FormatDouble(out, 1.0, INT_MAX, INT_MAX, false, false, false);
  EXPECT_STREQ(L"000000000000001.000000000000000", out.Text());
  FormatDouble(out, 1.5, INT_MIN, INT_MIN, false, false, false);
  EXPECT_STREQ(L"1.5", out.Text());
}

TEST(FormatDouble, SeparatorsGoByTheLanguage) {
  ASSERT_TRUE(SetStringLanguage("es"));
  EXPECT_EQ(L"1.234,50", Shown(1234.5, L"2", true));
  EXPECT_EQ(L"1,2e+03", Shown(1234.5, L"e1"));
  EXPECT_EQ(L"0,1", Shown(0.1, L""));
  EXPECT_EQ(L"0.1", F(L"%.1f", 0.1));
  ASSERT_TRUE(SetStringLanguage("en"));
}

}  // namespace

#include <gtest/gtest.h>

#include <string>

#include "host/tools/zrtext.h"

namespace {

std::string Escaped(const ZRString& text) {
  ZRString out("before");
  Text2Xml(out, text);
  return std::string(out.View());
}

std::string Undone(const ZRString& text) {
  ZRString out("before");
  Xml2Text(out, text);
  return std::string(out.View());
}

std::wstring UndoneWide(const ZRWString& text) {
  ZRWString out(L"before");
  Xml2Text(out, text);
  return std::wstring(out.View());
}

TEST(TextXml, EscapesTheFiveCharacters) {
  EXPECT_EQ("a &amp; b &lt;c&gt; &quot;d&quot; &apos;e&apos;", Escaped("a & b <c> \"d\" 'e'"));
  EXPECT_EQ("&amp;amp;", Escaped("&amp;"));
  EXPECT_EQ("plain \xC3\xA9\t\r\n", Escaped("plain \xC3\xA9\t\r\n"));
  EXPECT_EQ("", Escaped(""));
}

TEST(TextXml, ControlCharactersThatXmlForbidsAreReplaced) {
  EXPECT_EQ(
      "a\xEF\xBF\xBD"
      "b\xEF\xBF\xBD\x7F",
      Escaped("a\x01"
              "b\x1F\x7F"));
  EXPECT_EQ("\xEF\xBF\xBD", Escaped(ZRString("\0", std::size_t{1})));
}

TEST(TextXml, NonCharactersAreReplaced) {
  EXPECT_EQ(
      "a\xEF\xBF\xBD\xEF\xBF\xBD"
      "b",
      Escaped("a\xEF\xBF\xBE\xEF\xBF\xBF"
              "b"));
  EXPECT_EQ("\xEF\xBF\xBD \xEF\xBB\xBF \xEF\xBC\xA1",
            Escaped("\xEF\xBF\xBD \xEF\xBB\xBF \xEF\xBC\xA1"));
  EXPECT_EQ("\xEF\xBF", Escaped("\xEF\xBF")) << "cut off";
}

TEST(TextXml, EscapedTextIsUndone) {
  const char* const text = "<a b='1'>&\"&amp;&#65;;\xE2\x82\xAC</a>";
  EXPECT_EQ(text, Undone(Escaped(text).c_str()));
}

TEST(TextXml, UndoesReferences) {
  EXPECT_EQ("<A B\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80>",
            Undone("&lt;&#65; &#x42;&#233;&#x20ac;&#x1F600;&gt;"));
  EXPECT_EQ(L"<A\u00E9\xD83D\xDE00\"'&", UndoneWide(L"&lt;&#65;&#xe9;&#128512;&quot;&apos;&amp;"));
  EXPECT_EQ("A", Undone("&#00000000000000000000000000000065;"));
}

TEST(TextXml, UndoesOnlyOnce) {
  EXPECT_EQ("&lt;", Undone("&amp;lt;"));
  EXPECT_EQ("&#65;", Undone("&#38;#65;"));
}

TEST(TextXml, WhatIsNoReferenceStays) {
  for (const char* const text : {"&",
                                 "&;",
                                 "&a",
                                 "&amp",
                                 "&AMP;",
                                 "&nbsp;",
                                 "&#;",
                                 "&#x;",
                                 "&#65",
                                 "&#x41",
                                 "&#6a;",
                                 "&#X41;",
                                 "&#-65;",
                                 "&#0;",
                                 "&#xD800;",
                                 "&#xDFFF;",
                                 "&#x110000;",
                                 "&#99999999999999999999;",
                                 "&#4294967361;",
                                 "& lt;",
                                 "&lt ;"}) {
    EXPECT_EQ(text, Undone(text));
    EXPECT_EQ(Utf8ToUtf16(text).View(), UndoneWide(Utf8ToUtf16(text)));
  }
  EXPECT_EQ("&&<", Undone("&&&lt;"));
}

TEST(TextXml, TargetMayBeTheSource) {
  ZRString text("<a>");
  Text2Xml(text, text);
  EXPECT_STREQ("&lt;a&gt;", text.Text());
  Xml2Text(text, text);
  EXPECT_STREQ("<a>", text.Text());
}

TEST(TextXml, XmlTextBecomesWide) {
  ZRWString wide(L"before");
  ParseXMLText(wide, "caf\xC3\xA9 &lt;&#x1F600;&amp;lt;");
  EXPECT_STREQ(L"caf\u00E9 <\xD83D\xDE00&lt;", wide.Text());
  ParseXMLText(wide, "plain");
  EXPECT_STREQ(L"plain", wide.Text());
}

TEST(TextCount, CountsWithoutOverlap) {
  EXPECT_EQ(3, CountSubstring(L"a.b.c.", L"."));
  EXPECT_EQ(2, CountSubstring(L"aaaa", L"aa"));
  EXPECT_EQ(2, CountSubstring("aaaaa", "aa"));
  EXPECT_EQ(0, CountSubstring("abc", "B"));
  EXPECT_EQ(0, CountSubstring("ab", "abc"));
  EXPECT_EQ(1, CountSubstring("abc", "abc"));
}

TEST(TextCount, EmptyPieceIsNowhere) {
  EXPECT_EQ(0, CountSubstring(L"abc", L""));
  EXPECT_EQ(0, CountSubstring("", ""));
}

}  // namespace

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/xmltext.h"

namespace {

using namespace std::string_literals;

std::string Utf16(const std::u16string& text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : u"\uFEFF" + text) {
    const auto low = static_cast<char>(unit & 0xFF);
    const auto high = static_cast<char>(unit >> 8);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  }
  return bytes;
}

// The form in which a text is read back; "refused" if it isn't read.
std::string Reread(std::string_view text) {
  XmlDocument document;
  return document.Parse(text, text.size(), nullptr) ? Code(document) : "refused";
}

// --- what is read ---

TEST(XmlParse, PassesOverAttributesCommentsAndInstructions) {
  EXPECT_EQ("<r><a>xy</a></r>",
            Reread("<?xml version=\"1.0\"?><!-- c --><r k='1' l=\"2\"><?do it?><a z='3'>x<!-- "
                   "<b/> -->y</a></r><!-- end --><?end?>"));
}

TEST(XmlParse, JoinsTextAndCdata) {
  EXPECT_EQ("<r>a&lt;b&gt; &amp;cd</r>", Reread("<r>a<![CDATA[<b> &]]>c<![CDATA[]]>d</r>"));
}

TEST(XmlParse, UndoesReferences) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<r>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;&#13;</r>"));
  EXPECT_EQ("<>&\"'A\xF0\x9F\x98\x80\r", document.Root()->TextUtf8());
}

TEST(XmlParse, KeepsALeafsTextToTheLetter) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<r> \n\t x \n </r>"));
  EXPECT_EQ(" \n\t x \n ", document.Root()->TextUtf8());
  ASSERT_TRUE(document.Parse("<r> \n\t </r>"));
  EXPECT_EQ(" \n\t ", document.Root()->TextUtf8());
}

TEST(XmlParse, LineEndsAreLineFeeds) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<r>a\r\nb\rc\n</r>"));
  EXPECT_EQ("a\nb\nc\n", document.Root()->TextUtf8());
}

TEST(XmlParse, DropsLayoutBetweenElementsAndKeepsOtherText) {
  EXPECT_EQ("<r><a> </a><b></b></r>", Reread("<r>\n  <a> </a>\r\n\t<b/>\n</r>"));
  EXPECT_EQ("<r> x  y <a></a></r>", Reread("<r> x <a/> y </r>"));
}

TEST(XmlParse, KeepsTagsWithAColonAndForeignTags) {
  EXPECT_EQ("<s:r><cl\xC3\xA9>1</cl\xC3\xA9></s:r>",
            Reread("<s:r><cl\xC3\xA9>1</cl\xC3\xA9></s:r>"));
}

TEST(XmlParse, LineIsWhereTheElementBegan) {
  XmlDocument document;
  ASSERT_TRUE(
      document.Parse("<?xml version=\"1.0\"?>\n<r>\r\n<a>x\ny</a><b\n\nk='1'\n/><c/>\n</r>"));
  EXPECT_EQ(2u, document.Root()->Line());
  EXPECT_EQ(3u, document.Root()->Node(L"a")->Line());
  EXPECT_EQ(4u, document.Root()->Node(L"b")->Line());
  EXPECT_EQ(7u, document.Root()->Node(L"c")->Line());
}

TEST(XmlParse, RepeatedAndChangingTagsComeOutAsTheyStand) {
  const std::string text =
      "<r><e><a>1</a><b>2</b></e><e><a>1</a><c>3</c><b>2</b></e><e><b>2</b><a>1</a></e></r>";
  EXPECT_EQ(text, Reread(text));
}

TEST(XmlParse, LongTextIsReadWhole) {
  const std::string longText(300'000, 'x');
  XmlDocument document;
  ASSERT_TRUE(document.Parse(("<r><a>" + longText + "</a><b>y</b></r>").c_str()));
  EXPECT_EQ(longText, document.Root()->ValueUtf8("a"));
  EXPECT_EQ("y", document.Root()->ValueUtf8("b"));
}

// --- encodings ---

TEST(XmlParse, AcceptsAByteOrderMark) {
  EXPECT_EQ("<r>x</r>", Reread("\xEF\xBB\xBF<r>x</r>"));
  EXPECT_EQ("<r>x</r>", Reread("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?><r>x</r>"));
}

TEST(XmlParse, AcceptsUtf16InBothOrders) {
  const std::u16string text = u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>\u00E9\U0001F600</r>";
  EXPECT_EQ("<r>\xC3\xA9\xF0\x9F\x98\x80</r>", Reread(Utf16(text, false)));
  EXPECT_EQ("<r>\xC3\xA9\xF0\x9F\x98\x80</r>", Reread(Utf16(text, true)));
  EXPECT_EQ("<r></r>", Reread(Utf16(u"<r/>", false)));
  EXPECT_EQ("<r></r>", Reread(Utf16(u"<r/>", false).substr(2)));
  EXPECT_EQ("<r></r>", Reread(Utf16(u"<r/>", true).substr(2)));
}

TEST(XmlParse, AcceptsLatin1WhereItIsDeclared) {
  EXPECT_EQ("<r>\xC3\xA9</r>",
            Reread("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r>\xE9</r>"));
}

TEST(XmlParse, RefusesWhatIsNotUtf8) {
  const std::vector<std::string> bad = {
      "\xE9",         "\xC3",        "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
      "\xEF\xBF\xBE", "\xEF\xBF\xBF"};
  for (const std::string& bytes : bad)
    EXPECT_EQ("refused", Reread("<r>" + bytes + "</r>")) << bytes;
}

TEST(XmlParse, RefusesASingleSurrogateInUtf16) {
  std::u16string text = u"<r>x</r>";
  text[3] = 0xD83D;
  EXPECT_EQ("refused", Reread(Utf16(text, false)));
}

// --- refusals ---

TEST(XmlParse, RefusesWhatIsNotWellFormed) {
  const std::vector<std::string> bad = {"",
                                        "   ",
                                        "text",
                                        "<r>",
                                        "<r></R>",
                                        "<r/><r/>",
                                        "<r/>text",
                                        "<r><a></r></a>",
                                        "<r k=1/>",
                                        "<r k='1' k='2'/>",
                                        "<1/>",
                                        "<r>&nope;</r>",
                                        "<r>&</r>",
                                        "<r>]]></r>",
                                        "<r>&#0;</r>",
                                        "<r>&#x1;</r>",
                                        "<r>&#xD800;</r>",
                                        "<r>&#xFFFE;</r>",
                                        "<r>\x01</r>",
                                        "<r>\0</r>"s,
                                        "<r/>\0"s,
                                        "<!-- -- --><r/>",
                                        " <?xml version=\"1.0\"?><r/>",
                                        "<?xml version=\"1.0\" encoding=\"nowhere\"?><r/>"};
  for (const std::string& text : bad)
    EXPECT_EQ("refused", Reread(text)) << text;
}

TEST(XmlParse, RefusesADoctype) {
  EXPECT_EQ("1:12 a DOCTYPE is not allowed", Refusal("<!DOCTYPE r><r/>"));
  EXPECT_EQ("2:13 a DOCTYPE is not allowed",
            Refusal("<?xml version=\"1.0\"?>\n<!DOCTYPE r [<!ENTITY a \"b\">]><r>&a;</r>"));
  EXPECT_EQ("refused", Reread("<!DOCTYPE r SYSTEM \"file:///etc/passwd\"><r/>"));
}

TEST(XmlParse, RefusesMoreThan256Levels) {
  EXPECT_EQ(Nested(256), Reread(Nested(256)));
  EXPECT_EQ("1:769 nested deeper than 256 elements", Refusal(Nested(257)));
  EXPECT_EQ("refused", Reread(Nested(100'000)));
}

TEST(XmlParse, DepthCountsOpenElementsOnly) {
  std::string text = "<r>";
  for (int i = 0; i < 1000; ++i)
    text += "<a></a>";
  EXPECT_NE("refused", Reread(text + "</r>"));
}

TEST(XmlParse, RefusesATextAboveTheLimit) {
  const std::string_view text = "<r>four</r>";
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  EXPECT_TRUE(document.Parse(text, text.size(), &refusal));
  EXPECT_FALSE(document.Parse(text, text.size() - 1, &refusal));
  EXPECT_FALSE(document.IsOK());
  EXPECT_EQ("larger than 10 bytes", refusal.reason);
  EXPECT_EQ(0u, refusal.line);
  EXPECT_EQ(0u, refusal.column);
}

TEST(XmlParse, TellsLineColumnAndReason) {
  EXPECT_EQ("3:3 mismatched tag", Refusal("<r>\n<a>\n</b></r>"));
  EXPECT_EQ("2:3 not well-formed (invalid token)", Refusal("<r>\n\xC3\xA9<<</r>"));
  EXPECT_EQ("1:4 no element found", Refusal("<r>"));
}

TEST(XmlParse, SuccessClearsAnEarlierRefusal) {
  XmlDocument document;
  XmlDocument::tagRefusal refusal{5, 6, "old"};
  ASSERT_TRUE(document.Parse("<r/>", 100, &refusal));
  EXPECT_EQ("", refusal.reason);
  EXPECT_EQ(0u, refusal.line);
}

TEST(XmlParse, NullTextIsRefused) {
  XmlDocument document;
  EXPECT_FALSE(document.Parse(nullptr));
}

}  // namespace

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/xmltext.h"

namespace {

class XmlWrite : public testing::Test {
 protected:
  XmlWrite() { document.Create(L"r"); }

  std::string Written(const ZRWString& text) {
    document.Root()->SetValue(text);
    const std::string code = Code(document);
    return code.substr(3, code.size() - 7);
  }

  XmlDocument document;
};

TEST_F(XmlWrite, DocumentIsWrittenLetterByLetter) {
  XmlDocument::XmlNode& root = *document.Root();
  root.SetValue(L"id", L"7");
  root.SetValue(L"empty", L"");
  XmlDocument::XmlNode* const events = root.NewChild(L"events", nullptr);
  events->NewChild(L"event", nullptr)->SetValue(L"name", L"A & B \u00E9 \"q\" 'a'");
  ZRString code;
  document.CreateXmlCode(code, true);
  EXPECT_STREQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
      "<r><id>7</id><empty></empty><events><event><name>A &amp; B \xC3\xA9 \"q\" 'a'</name></event>"
      "</events></r>",
      code.Text());
}

TEST_F(XmlWrite, CodeIsAppended) {
  ZRString code("before ");
  document.CreateXmlCode(code, false);
  document.Root()->CreateXmlCode(code);
  EXPECT_STREQ("before <r></r><r></r>", code.Text());
  EXPECT_NE(0u, code.Flags() & ZRString::kGrow);
}

TEST_F(XmlWrite, EmptyDocumentWritesNothing) {
  document.Reset();
  ZRString code("x");
  document.CreateXmlCode(code, true);
  EXPECT_STREQ("x", code.Text());
}

TEST_F(XmlWrite, NodeIsWrittenWithItsSubtreeAlone) {
  ASSERT_TRUE(document.Parse("<r><a>1</a><b>t<c>2</c></b><d/></r>"));
  EXPECT_EQ("<b>t<c>2</c></b>", Code(*document.Root()->Node(L"b")));
  EXPECT_EQ("<d></d>", Code(*document.Root()->Node(L"d")));
  EXPECT_EQ("<a>1</a>", Code(*document.Root()->Node(L"a")));
}

TEST_F(XmlWrite, MarkupAndCarriageReturnAreEscaped) {
  EXPECT_EQ("&lt;a&gt; &amp;amp; ]]&gt;", Written(L"<a> &amp; ]]>"));
  EXPECT_EQ("a\tb\nc&#13;d", Written(L"a\tb\nc\rd"));
  EXPECT_EQ("\x7F", Written(L"\x7F"));
}

TEST_F(XmlWrite, ForbiddenCharactersAreReplaced) {
  const std::string replacement = "\xEF\xBF\xBD";
  for (wchar_t unit = 1; unit < L' '; ++unit) {
    if (unit == L'\t' || unit == L'\n' || unit == L'\r') continue;
    const wchar_t text[] = {unit, L'x', 0};
    EXPECT_EQ(replacement + "x", Written(text)) << static_cast<int>(unit);
  }
  const std::vector<wchar_t> others = {0, 0xD800, 0xDFFF, 0xFFFE, 0xFFFF};
  for (const wchar_t unit : others) {
    EXPECT_EQ("a" + replacement + "b", Written(ZRWString(L"a") + ZRWString(&unit, 1) + L"b"));
  }
  EXPECT_EQ("\xEF\xBF\xBC", Written(L"\uFFFC"));
  EXPECT_EQ(replacement, Written(L"\uFFFD"));
}

TEST_F(XmlWrite, ControlsStayInMemory) {
  document.Root()->SetValue(L"a\x01");
  EXPECT_EQ(L"a\x01", document.Root()->Value());
}

TEST_F(XmlWrite, TagThatIsNoNameIsMended) {
  for (const wchar_t* const tag : {L"", L"1st", L"a b", L"<x>", L"a/b", L"-", L"ok-1.x:_"}) {
    document.Root()->NewChild(tag, nullptr);
  }
  EXPECT_EQ(L"a b", (*++ ++document.Root()->ChildsBegin())->Tag());
  EXPECT_EQ(
      "<r><_></_><_1st></_1st><a_b></a_b><_x_></_x_><a_b></a_b><_-></_-><ok-1.x:_></ok-1.x:_></r>",
      Code(document));
  EXPECT_TRUE(document.Parse(Code(document).c_str()));
}

TEST_F(XmlWrite, EveryTextSurvivesARoundTrip) {
  std::wstring text = L" \t\r\n\r<>&\"']]> &amp; &#13; \u00E9\u2028\uFFFC";
  text += {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
  document.Root()->SetValue(text.c_str());
  XmlDocument read;
  ASSERT_TRUE(read.Parse(Code(document).c_str()));
  EXPECT_EQ(ZRWString(text.c_str()), read.Root()->Value());
}

TEST_F(XmlWrite, LargeDocumentIsWrittenToAStreamWhole) {
  for (int i = 0; i < 20'000; ++i)
    document.Root()->SetValue(L"a", L"x");
  for (int i = 0; i < 20'000; ++i)
    document.Root()->NewChild(L"b", nullptr)->SetValue(L"text");
  char* bytes = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = ::open_memstream(&bytes, &size);
  ASSERT_NE(nullptr, stream);
  EXPECT_TRUE(document.Root()->SaveXmlCode(stream));
  ASSERT_EQ(0, std::fclose(stream));
  const std::string written(bytes, size);
  std::free(bytes);
  EXPECT_EQ(Code(document), written);
}

TEST_F(XmlWrite, StreamsAreAppendedTo) {
  char bytes[32] = {};
  std::FILE* const stream = ::fmemopen(bytes, sizeof bytes, "w");
  ASSERT_NE(nullptr, stream);
  ASSERT_GT(std::fputs("x", stream), 0);
  EXPECT_TRUE(document.Root()->SaveXmlCode(stream));
  EXPECT_TRUE(document.Root()->SaveXmlCode(stream));
  ASSERT_EQ(0, std::fclose(stream));
  EXPECT_STREQ("x<r></r><r></r>", bytes);
}

TEST_F(XmlWrite, StreamThatTakesNothingIsAFailure) {
  std::FILE* const full = std::fopen("/dev/full", "w");
  ASSERT_NE(nullptr, full);
  (void)std::setvbuf(full, nullptr, _IONBF, 0);
  EXPECT_FALSE(document.Root()->SaveXmlCode(full));
  (void)std::fclose(full);
  EXPECT_FALSE(document.Root()->SaveXmlCode(nullptr));
}

}  // namespace

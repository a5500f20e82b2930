#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/xmltext.h"

namespace {

using XmlNode = XmlDocument::XmlNode;

class XmlPath : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(
        document.Parse("<r>"
                       "<events>"
                       "<event><id>1</id><name>one</name></event>"
                       "<group><id>2</id></group>"
                       "<event><name>none</name></event>"
                       "<event><id>2</id><name>two</name></event>"
                       "<event><id>2</id><name>later</name></event>"
                       "<event><id></id><name>empty</name></event>"
                       "</events>"
                       "<day1>first</day1><day2>second</day2>"
                       "</r>"));
  }

  // The value `name` of what a path reaches; "null" if it reaches nothing.
  std::string NameAt(const wchar_t* path) { return Name(document.Root()->Node(path)); }
  static std::string Name(const XmlNode* node) {
    return node != nullptr ? std::string(node->ValueUtf8("name")) : "null";
  }
  XmlNode& Events() { return *document.Root()->Node(L"events"); }

  XmlDocument document;
};

// --- plain steps ---

TEST_F(XmlPath, ChainOfTagsReachesTheFirstOfEach) {
  EXPECT_EQ("one", NameAt(L"events/event"));
  EXPECT_EQ("second", document.Root()->Node(L"day2")->TextUtf8());
  EXPECT_EQ(nullptr, document.Root()->Node(L"events/none"));
  EXPECT_EQ(nullptr, document.Root()->Node(L"none/event"));
}

TEST_F(XmlPath, LeadingSlashChangesNothing) {
  EXPECT_EQ(document.Root()->Node(L"day1"), document.Root()->Node(L"/day1"));
  EXPECT_EQ("1", Events().Node(L"/event/id")->TextUtf8());
  EXPECT_EQ(nullptr, Events().Node(L"/events"));
}

TEST_F(XmlPath, TagsAreComparedExactly) {
  EXPECT_EQ(nullptr, document.Root()->Node(L"Events"));
  EXPECT_EQ(nullptr, document.Root()->Node(L"event"));
  EXPECT_EQ(nullptr, document.Root()->Node(L"events2"));
}

TEST_F(XmlPath, MalformedPathReachesNothing) {
  const std::vector<const wchar_t*> malformed = {nullptr,
                                                 L"",
                                                 L"/",
                                                 L"//events",
                                                 L"events/",
                                                 L"events//event",
                                                 L"?id=1?",
                                                 L"events/?id=1?",
                                                 L"events/event?",
                                                 L"events/event??",
                                                 L"events/event?id",
                                                 L"events/event?id?",
                                                 L"events/event?id=1",
                                                 L"events/event?=1?",
                                                 L"events/event?id=1?/",
                                                 L"events/event?id=1?x",
                                                 L"events/event?i/d=1?"};
  for (const wchar_t* const path : malformed) {
    EXPECT_EQ(nullptr, document.Root()->Node(path)) << (path != nullptr ? Narrow(path) : "null");
  }
}

// --- filters ---

TEST_F(XmlPath, FilterTakesTheFirstChildOfThatValue) {
  EXPECT_EQ("one", NameAt(L"events/event?id=1?"));
  EXPECT_EQ("two", NameAt(L"events/event?id=2?"));
  EXPECT_EQ("null", NameAt(L"events/event?id=3?"));
  EXPECT_EQ("later", NameAt(L"/events/event?name=later?"));
  EXPECT_EQ("two", document.Root()->Node(L"events/event?id=2?/name")->TextUtf8());
}

TEST_F(XmlPath, FilterWithoutTextMatchesAnEmptyValueAndNotAnAbsentOne) {
  EXPECT_EQ("empty", NameAt(L"events/event?id=?"));
  EXPECT_EQ("null", NameAt(L"events/event?idn=?"));
}

TEST_F(XmlPath, FilterTextMayHoldWhatAPathIsMadeOf) {
  Events().NewChild(L"event", nullptr)->SetValue(L"id", L"a/b=c?d%");
  Events().Child("event", "id", "a/b=c?d%")->SetValue(L"name", L"odd");
  EXPECT_EQ("odd", NameAt(L"events/event?id=a/b=c?d%?"));
}

TEST_F(XmlPath, ChildTakesTagKeyAndValueAsTheyAre) {
  const XmlNode& events = Events();
  EXPECT_EQ("two", Name(events.Child("event", "id", "2")));
  EXPECT_EQ("null", Name(events.Child("event", "idn", "")));
  EXPECT_EQ("null", Name(events.Child("event?id=2?")));
  EXPECT_EQ("one", Name(events.Child("event")));
  Events().Child("event", "id", "2")->SetValue(L"name", L"changed");
  EXPECT_EQ("changed", NameAt(L"events/event?id=2?"));
}

// --- formatted paths ---

TEST_F(XmlPath, FormatPutsTextsIntoTagsAndFilters) {
  const XmlNode& root = *document.Root();
  EXPECT_EQ("second", root.NodeV(L"/day%d", 2)->TextUtf8());
  EXPECT_EQ("two", Name(root.NodeV(L"events/event?id=%ls?", L"2")));
  EXPECT_EQ("later", Name(root.NodeV(L"%ls/%s?%ls=%s?", L"events", "event", L"name", "later")));
  EXPECT_EQ("2", root.NodeV(L"events/%ls?id=%d?/%ls", L"event", 2, L"id")->TextUtf8());
  EXPECT_EQ("null", Name(root.NodeV(L"events/event?id=%ls?", L"3")));
}

TEST_F(XmlPath, FormatMixesFixedTextAndArguments) {
  Events().NewChild(L"event", nullptr)->SetValue(L"id", L"x-07-y%");
  EXPECT_NE(nullptr, Events().NodeV(L"event?id=%ls-%02d-%ls%%?", L"x", 7, L"y"));
}

TEST_F(XmlPath, FormattedFilterMatchesExactlyWhateverItHolds) {
  const std::vector<std::wstring> hostile = {
      L"?",    L"a?b",    L"a?/x", L"2?/name", L"/",    L"../x",
      L"%ls",  L"%d%n",   L"%%",   L"=",       L"id=2", L"?id=2?",
      L"a b ", L"\u00E9", L"",     L"<&>\"'",  L"two?", L"1?/../event?id=2"};
  for (const std::wstring& id : hostile) {
    SCOPED_TRACE(Narrow(ZRWString(id.c_str())));
    const XmlNode* const before = Events().NodeV(L"event?id=%ls?", id.c_str());
    EXPECT_EQ(id.empty(), before != nullptr);
    XmlNode* const event = Events().NewChild(L"event", nullptr);
    event->SetValue(L"id", id.c_str());
    EXPECT_EQ(id.empty() ? before : event, Events().NodeV(L"event?id=%ls?", id.c_str()));
    EXPECT_EQ("two", Name(Events().NodeV(L"event?id=%ls?", L"2")));
    Events().RemoveChild(event);
  }
}

TEST_F(XmlPath, FormattedTagIsOneTag) {
  EXPECT_EQ(nullptr, document.Root()->NodeV(L"%ls", L"events/event"));
  EXPECT_EQ(nullptr, document.Root()->NodeV(L"%ls", L"/day1"));
  EXPECT_EQ(nullptr, document.Root()->NodeV(L"%ls", L""));
  EXPECT_EQ(nullptr, Events().NodeV(L"%ls", L"event?id=1?"));
}

TEST_F(XmlPath, MalformedFormatReachesNothing) {
  EXPECT_EQ(nullptr, document.Root()->NodeV(nullptr));
  EXPECT_EQ(nullptr, document.Root()->NodeV(L""));
  EXPECT_EQ(nullptr, Events().NodeV(L"event?id=%ls", L"1"));
  EXPECT_EQ(nullptr, Events().NodeV(L"event?id=%ls?/", L"1"));
}

TEST_F(XmlPath, ForeignTextIsFound) {
  const wchar_t pair[] = {0xD83D, 0xDE00, 0};
  Events().NewChild(L"event", nullptr)->SetValue(L"id", pair);
  EXPECT_NE(nullptr, Events().NodeV(L"event?id=%ls?", pair));
  EXPECT_NE(nullptr, Events().NodeV(L"event?id=%s?", "\xF0\x9F\x98\x80"));
}

}  // namespace

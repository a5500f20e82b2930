#include "host/tools/xmldocument.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "host/tools/xmltext.h"

namespace {

using XmlNode = XmlDocument::XmlNode;

std::vector<std::string> Tags(const XmlNode& node) {
  std::vector<std::string> tags;
  for (auto child = node.ChildsBegin(); child != node.ChildsEnd(); ++child) {
    tags.emplace_back((*child)->TagUtf8());
  }
  return tags;
}

class XmlElement : public testing::Test {
 protected:
  XmlElement() { document.Create(L"root"); }

  XmlNode& Root() { return *document.Root(); }

  XmlDocument document;
};

// --- the document ---

TEST(XmlDocument, IsEmptyAtFirst) {
  const XmlDocument document;
  EXPECT_FALSE(document.IsOK());
  EXPECT_EQ(nullptr, document.Root());
  EXPECT_EQ("", Code(document));
}

TEST(XmlDocument, CreateReplacesTheContentByARoot) {
  XmlDocument document;
  document.Create(L"first");
  document.Root()->SetValue(L"a", L"1");
  document.Create(L"second");
  EXPECT_TRUE(document.IsOK());
  EXPECT_EQ("<second></second>", Code(document));
}

TEST(XmlDocument, ResetEmptiesIt) {
  XmlDocument document;
  document.Create(L"root");
  document.Reset();
  EXPECT_FALSE(document.IsOK());
  EXPECT_EQ(nullptr, document.Root());
}

TEST(XmlDocument, FailedParseLeavesItEmpty) {
  XmlDocument document;
  document.Create(L"root");
  EXPECT_FALSE(document.Parse("<a>"));
  EXPECT_FALSE(document.IsOK());
  EXPECT_TRUE(document.Parse("<a></a>"));
  EXPECT_EQ("<a></a>", Code(document));
}

TEST(XmlDocument, CanParseItsOwnText) {
  XmlDocument document;
  document.Create(L"root");
  document.Root()->SetValue(L"<inner>text</inner>");
  const std::string_view text = document.Root()->TextUtf8();
  ASSERT_TRUE(document.Parse(text, text.size(), nullptr));
  EXPECT_EQ("<inner>text</inner>", Code(document));
}

// --- values ---

TEST_F(XmlElement, HasItsTagAndNoTextAtFirst) {
  EXPECT_EQ(L"root", Root().Tag());
  EXPECT_EQ("root", Root().TagUtf8());
  EXPECT_TRUE(Root().Value().IsEmpty());
  EXPECT_EQ("", Root().TextUtf8());
  EXPECT_EQ(0, Root().Size());
  EXPECT_EQ(0u, Root().Line());
}

TEST_F(XmlElement, SetValueReplacesTheText) {
  Root().SetValue(L"one");
  EXPECT_EQ(L"one", Root().Value());
  Root().SetValue(ZRWString(L"two and more"));
  EXPECT_EQ("two and more", Root().TextUtf8());
  Root().SetValue(static_cast<const wchar_t*>(nullptr));
  EXPECT_EQ("", Root().TextUtf8());
}

TEST_F(XmlElement, SetValueOfAKeyAddsItOnceAndThenSetsIt) {
  Root().SetValue(L"id", L"1");
  Root().SetValue(L"name", L"pump");
  Root().SetValue(L"id", L"2");
  EXPECT_EQ("<root><id>2</id><name>pump</name></root>", Code(document));
}

TEST_F(XmlElement, SetValueTakesEveryKindOfText) {
  Root().SetValue(L"a", L"w\u00E9");
  Root().SetValue(L"b", ZRWString(L"w\u00E9"));
  Root().SetValue(L"c", "n\xC3\xA9");
  Root().SetValue(L"d", ZRString("n\xC3\xA9"));
  EXPECT_EQ("w\xC3\xA9", Root().ValueUtf8("a"));
  EXPECT_EQ("w\xC3\xA9", Root().ValueUtf8("b"));
  EXPECT_EQ(L"n\u00E9", Root().Value(L"c", L""));
  EXPECT_EQ(L"n\u00E9", Root().Value(L"d", L""));
}

TEST_F(XmlElement, KeepsCharactersAboveTheBasicPlane) {
  const wchar_t pair[] = {0xD83D, 0xDE00, 0};
  Root().SetValue(pair);
  EXPECT_EQ("\xF0\x9F\x98\x80", Root().TextUtf8());
  EXPECT_EQ(ZRWString(pair), Root().Value());
}

TEST_F(XmlElement, SingleSurrogateAndBadUtf8BecomeReplacements) {
  const wchar_t single[] = {L'a', 0xD83D, L'b', 0};
  Root().SetValue(single);
  EXPECT_EQ(
      "a\xEF\xBF\xBD"
      "b",
      Root().TextUtf8());
  Root().SetValue(L"k", "x\xC3(");
  EXPECT_EQ("x\xEF\xBF\xBD(", Root().ValueUtf8("k"));
}

TEST_F(XmlElement, AbsentValueIsTheDefault) {
  EXPECT_EQ(L"none", Root().Value(L"id", L"none"));
  EXPECT_EQ("", Root().ValueUtf8("id"));
  EXPECT_TRUE(Root().bValue(L"id", true));
  EXPECT_FALSE(Root().bValue(L"id", false));
}

TEST_F(XmlElement, PresentButEmptyValueIsTheEmptyText) {
  Root().SetValue(L"id", L"");
  EXPECT_EQ(L"", Root().Value(L"id", L"none"));
}

TEST_F(XmlElement, FlagIsTrueOnlyForT) {
  const std::vector<std::string> others = {"F", "", "t", "true", "1", " T", "T ", "TT"};
  Root().SetValue(L"flag", L"T");
  EXPECT_TRUE(Root().bValue(L"flag", false));
  for (const std::string& other : others) {
    Root().SetValue(L"flag", other.c_str());
    EXPECT_FALSE(Root().bValue(L"flag", true)) << other;
  }
}

TEST_F(XmlElement, ValueIsThatOfTheFirstChildOfTheKey) {
  ASSERT_TRUE(document.Parse("<r><k>1</k><K>2</K><k>3</k></r>"));
  EXPECT_EQ("1", Root().ValueUtf8("k"));
  EXPECT_EQ(L"2", Root().Value(L"K", L""));
  Root().SetValue(L"k", L"4");
  EXPECT_EQ("<r><k>4</k><K>2</K><k>3</k></r>", Code(document));
}

TEST_F(XmlElement, KeyWithASlashIsAPath) {
  ASSERT_TRUE(document.Parse("<r><a><modem><port>7</port></modem></a></r>"));
  EXPECT_EQ(L"7", Root().Value(L"a/modem/port", L""));
  EXPECT_EQ("7", Root().ValueUtf8("a/modem/port"));
  EXPECT_EQ(L"none", Root().Value(L"a/modem/pin", L"none"));
  EXPECT_FALSE(Root().bValue(L"a/modem/port", true));
}

TEST_F(XmlElement, LongAndForeignKeysAreFound) {
  const std::wstring longKey(300, L'k');
  Root().SetValue(longKey.c_str(), L"long");
  Root().SetValue(L"cl\u00E9", L"foreign");
  EXPECT_EQ(L"long", Root().Value(longKey.c_str(), L""));
  EXPECT_EQ(L"foreign", Root().Value(L"cl\u00E9", L""));
  EXPECT_EQ(L"none", Root().Value((longKey + L"k").c_str(), L"none"));
}

// --- children ---

TEST_F(XmlElement, NewChildrenStandInOrder) {
  EXPECT_EQ(L"a", Root().NewChild(L"a", nullptr)->Tag());
  Root().NewChild(L"b", nullptr);
  Root().NewChild(L"a", nullptr)->NewChild(L"inner", nullptr);
  EXPECT_EQ((std::vector<std::string>{"a", "b", "a"}), Tags(Root()));
  EXPECT_EQ(3, Root().Size());
  EXPECT_EQ("<root><a></a><b></b><a><inner></inner></a></root>", Code(document));
}

TEST_F(XmlElement, IteratorsAreThoseOfAForwardRange) {
  Root().NewChild(L"a", nullptr);
  Root().NewChild(L"b", nullptr);
  const XmlNode& constant = Root();
  static_assert(std::is_same_v<const XmlNode*, decltype(*constant.ChildsBegin())>);
  auto child = constant.ChildsBegin();
  EXPECT_EQ("a", (*child++)->TagUtf8());
  EXPECT_EQ("b", (*child)->TagUtf8());
  EXPECT_EQ(nullptr, (*child)->Next());
  EXPECT_TRUE(++child == constant.ChildsEnd());
}

TEST_F(XmlElement, RemoveChildTakesOutAnyOne) {
  for (const int removed : {0, 1, 2}) {
    document.Create(L"root");
    std::vector<XmlNode*> children;
    std::vector<std::string> left;
    for (const wchar_t* const tag : {L"a", L"b", L"c"}) {
      children.push_back(Root().NewChild(tag, nullptr));
      left.emplace_back(children.back()->TagUtf8());
    }
    left.erase(left.begin() + removed);
    Root().RemoveChild(children[static_cast<std::size_t>(removed)]);
    EXPECT_EQ(left, Tags(Root()));
    Root().NewChild(L"new", nullptr);
    left.emplace_back("new");
    EXPECT_EQ(left, Tags(Root()));
  }
}

TEST_F(XmlElement, LastChildCanBeRemovedAndAnotherAdded) {
  Root().RemoveChild(Root().NewChild(L"a", nullptr));
  EXPECT_EQ(0, Root().Size());
  EXPECT_TRUE(Root().ChildsBegin() == Root().ChildsEnd());
  Root().NewChild(L"b", nullptr);
  EXPECT_EQ("<root><b></b></root>", Code(document));
}

TEST_F(XmlElement, RemoveChildOfAnotherNodeDoesNothing) {
  XmlNode* const child = Root().NewChild(L"a", nullptr);
  XmlNode* const grandchild = child->NewChild(L"b", nullptr);
  Root().RemoveChild(grandchild);
  Root().RemoveChild(nullptr);
  Root().RemoveChild(&Root());
  grandchild->RemoveChild(child);
  EXPECT_EQ("<root><a><b></b></a></root>", Code(document));
}

// Removals remember their place; none of these may lead the next one astray.
TEST_F(XmlElement, RemovalsInAnyOrderAgreeWithAList) {
  std::vector<XmlNode*> children;
  XmlNode* const other = Root().NewChild(L"other", nullptr);
  XmlNode* const list = Root().NewChild(L"list", nullptr);
  std::uint32_t random = 1;
  for (int turn = 0; turn < 2000; ++turn) {
    random = random * 1664525u + 1013904223u;
    const std::uint32_t choice = random >> 24;
    if (choice < 140 || children.empty()) {
      children.push_back(list->NewChild(L"c", nullptr));
    } else if (choice < 150) {
      other->RemoveChild(other->NewChild(L"x", nullptr));
    } else {
      const std::size_t at = (random >> 8) % children.size();
      list->RemoveChild(children[at]);
      children.erase(children.begin() + static_cast<std::ptrdiff_t>(at));
    }
    const std::vector<XmlNode*> walked(list->ChildsBegin(), list->ChildsEnd());
    ASSERT_EQ(children, walked) << "turn " << turn;
  }
}

TEST_F(XmlElement, PlaceOfTheLastRemovalIsForgottenWithItsNode) {
  XmlNode* const list = Root().NewChild(L"list", nullptr);
  XmlNode* const only = list->NewChild(L"a", nullptr);
  list->RemoveChild(list->NewChild(L"b", nullptr));
  list->RemoveChild(only);
  Root().NewChild(L"x", nullptr);
  Root().NewChild(L"y", nullptr);
  list->NewChild(L"c", nullptr);
  list->RemoveChild(list->NewChild(L"d", nullptr));
  EXPECT_EQ("<root><list><c></c></list><x></x><y></y></root>", Code(document));
}

TEST_F(XmlElement, WalkMayRemoveWhatItHasLeft) {
  for (int i = 0; i < 100; ++i)
    Root().NewChild(i % 3 == 0 ? L"keep" : L"drop", nullptr);
  for (auto child = Root().ChildsBegin(); child != Root().ChildsEnd();) {
    XmlNode* const current = *child++;
    if (current->TagUtf8() == "drop") Root().RemoveChild(current);
  }
  EXPECT_EQ(std::vector<std::string>(34, "keep"), Tags(Root()));
}

TEST_F(XmlElement, PlacesOfRemovedNodesAreUsedAgain) {
  std::set<const XmlNode*> places;
  for (int turn = 0; turn < 1000; ++turn) {
    XmlNode* const child = Root().NewChild(L"child", nullptr);
    child->SetValue(L"text", ZRWString(L"some text"));
    places.insert(child);
    places.insert(child->Node(L"text"));
    Root().RemoveChild(child);
  }
  EXPECT_EQ(2u, places.size());
}

// --- copies ---

TEST_F(XmlElement, CopyIsDeepAndApart) {
  XmlDocument source;
  ASSERT_TRUE(source.Parse("<event>x<id>7</id><list><a>1</a><b></b></list></event>"));
  *Root().NewChild(L"old", nullptr) = *source.Root();
  const std::string copied = "<event>x<id>7</id><list><a>1</a><b></b></list></event>";
  EXPECT_EQ("<root>" + copied + "</root>", Code(document));
  source.Root()->SetValue(L"id", L"8");
  source.Reset();
  EXPECT_EQ("<root>" + copied + "</root>", Code(document));
}

TEST_F(XmlElement, CopyKeepsThePlaceAmongTheSiblings) {
  Root().NewChild(L"a", nullptr);
  XmlNode* const middle = Root().NewChild(L"b", nullptr);
  middle->SetValue(L"gone", L"1");
  XmlNode* const end = Root().NewChild(L"c", nullptr);
  end->SetValue(L"text");
  *middle = *end;
  EXPECT_EQ("<root><a></a><c>text</c><c>text</c></root>", Code(document));
  *end = *Root().Node(L"a");
  EXPECT_EQ("<root><a></a><c>text</c><a></a></root>", Code(document));
}

TEST_F(XmlElement, CopyOfADescendantAndOfAnAncestor) {
  ASSERT_TRUE(document.Parse("<r><a>1<b><c>2</c></b></a><z></z></r>"));
  *Root().Node(L"a/b/c") = *Root().Node(L"a");
  EXPECT_EQ("<r><a>1<b><a>1<b><c>2</c></b></a></b></a><z></z></r>", Code(document));
  Root() = *Root().Node(L"a/b");
  EXPECT_EQ("<b><a>1<b><c>2</c></b></a></b>", Code(document));
}

TEST_F(XmlElement, CopyOfItselfChangesNothing) {
  ASSERT_TRUE(document.Parse("<r>t<a>1</a></r>"));
  const XmlNode& same = Root();
  Root() = same;
  EXPECT_EQ("<r>t<a>1</a></r>", Code(document));
}

TEST_F(XmlElement, CopyKeepsTheLines) {
  XmlDocument source;
  ASSERT_TRUE(source.Parse("<r>\n<a>\n<b/></a></r>"));
  Root() = *source.Root()->Node(L"a");
  EXPECT_EQ(2u, Root().Line());
  EXPECT_EQ(3u, Root().Node(L"b")->Line());
}

// A copy is a snapshot: removing in it, and after it, goes by what is there now.
TEST_F(XmlElement, RemovalAfterACopyFindsItsPlace) {
  ASSERT_TRUE(document.Parse("<r><a/><b/><c/><d/></r>"));
  Root().RemoveChild(Root().Node(L"c"));
  XmlDocument other;
  ASSERT_TRUE(other.Parse("<r><x/><y/><z/></r>"));
  Root() = *other.Root();
  Root().RemoveChild(Root().Node(L"y"));
  EXPECT_EQ("<r><x></x><z></z></r>", Code(document));
}

// --- depth ---

TEST_F(XmlElement, MillionLevelsAreCopiedWrittenAndDestroyed) {
  constexpr int kDepth = 1'000'000;
  XmlNode* node = &Root();
  for (int i = 1; i < kDepth; ++i)
    node = node->NewChild(L"a", nullptr);
  node->SetValue(L"bottom");

  XmlDocument copy;
  copy.Create(L"x");
  *copy.Root() = Root();
  Root().RemoveChild(*Root().ChildsBegin());
  EXPECT_EQ("<root></root>", Code(document));

  int depth = 1;
  for (node = copy.Root(); node->Size() > 0; ++depth)
    node = *node->ChildsBegin();
  EXPECT_EQ(kDepth, depth);
  EXPECT_EQ("bottom", node->TextUtf8());
  EXPECT_EQ(13u + 7u * (kDepth - 1) + 6u, Code(copy).size());
}

}  // namespace

// The places of nodes and texts are used again: nothing of what stood there before is left over.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/xmltext.h"
#include "support/chance.h"

namespace {

using tagFields = std::vector<std::pair<std::string, std::string>>;

// Every length around the limits of what is kept how, and now and then a long one.
std::string AnyText(Chance& chance) {
  const std::size_t length =
      chance.Happens(50) ? 4090 + chance.Below(12) : chance.Below(18) * 16 + chance.Below(3);
  return std::string(length, static_cast<char>('a' + chance.Below(26)));
}

std::string CodeOf(const tagFields& fields) {
  std::string code = "<root>";
  for (const auto& [key, text] : fields)
    code += "<" + key + ">" + text + "</" + key + ">";
  return code + "</root>";
}

// A document beside the plain list that it stands for.
class Twin {
 public:
  explicit Twin(std::uint64_t seed) : chance(seed) { Begin(); }

  void Step() {
    switch (chance.Below(12)) {
      case 0:
        return chance.Happens(200) ? Begin() : Read();
      case 1:
      case 2:
      case 3:
        return Remove();
      default:
        return Set();
    }
  }
  [[nodiscard]] bool Agrees() const { return Code(document) == CodeOf(fields); }

 private:
  void Begin() {
    document.Create(L"root");
    fields.clear();
  }
  void Read() { ASSERT_TRUE(document.Parse(CodeOf(fields).c_str())); }
  void Set() {
    const std::string key = "k" + std::to_string(chance.Below(12));
    const std::string text = AnyText(chance);
    document.Root()->SetValue(std::wstring(key.begin(), key.end()).c_str(), text.c_str());
    const auto known = std::find_if(fields.begin(), fields.end(),
                                    [&](const auto& field) { return field.first == key; });
    if (known != fields.end()) {
      known->second = text;
    } else {
      fields.emplace_back(key, text);
    }
  }
  void Remove() {
    if (fields.empty()) return;
    const auto at = static_cast<std::ptrdiff_t>(chance.Below(fields.size()));
    document.Root()->RemoveChild(*std::next(document.Root()->ChildsBegin(), at));
    fields.erase(fields.begin() + at);
  }

  Chance chance;
  XmlDocument document;
  tagFields fields;
};

TEST(XmlDocumentMemory, HoldsWhatWasSetWhateverStoodThereBefore) {
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    Twin twin(seed);
    for (int step = 0; step < 400; ++step) {
      twin.Step();
      ASSERT_TRUE(twin.Agrees()) << "seed " << seed << ", step " << step;
    }
  }
}

TEST(XmlDocumentMemory, DocumentIsMadeAgainAndAgain) {
  XmlDocument document;
  for (const std::size_t size : {2000U, 1U, 0U, 3000U, 10U}) {
    document.Create(L"root");
    tagFields fields;
    for (std::size_t at = 0; at < size; ++at) {
      fields.emplace_back("event",
                          "text " + std::to_string(at) + std::string(at % std::size_t{300}, 'x'));
      document.Root()->NewChild(L"event", nullptr)->SetValue(Utf8ToUtf16(fields.back().second));
    }
    EXPECT_EQ(CodeOf(fields), Code(document)) << size;
  }
}

// A tag that no element has any more is forgotten, also by the tag that stood in front of it.
TEST(XmlDocumentMemory, TagComesBack) {
  XmlDocument document;
  document.Create(L"root");
  for (int round = 0; round < 3; ++round) {
    document.Root()->SetValue(L"a", L"1");
    document.Root()->SetValue(L"b", L"2");
    EXPECT_EQ("<root><a>1</a><b>2</b></root>", Code(document));
    document.Root()->RemoveChild(document.Root()->Child("b"));
  }
}

TEST(XmlDocumentMemory, TextMayBeTheNodesOwn) {
  XmlDocument document;
  document.Create(L"root");
  for (const std::size_t length : {1U, 16U, 17U, 256U, 257U, 5000U}) {
    const std::string text(length, 'z');
    document.Root()->SetValue(L"a", text.c_str());
    document.Root()->SetValue(L"a", ZRString(document.Root()->ValueUtf8("a")));
    EXPECT_EQ(text, document.Root()->ValueUtf8("a"));
  }
}

}  // namespace

// Any bytes are refused or read; what was read is written in a form that is read and written the
// same again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/tools/xmldocument.h"

namespace {

constexpr std::size_t kLimit = 1 << 20;  // bytes

void Require(bool holds) {
  if (!holds) std::abort();
}

// Uses every way of reading an element; the depth is bounded by the parser.
int Walk(const XmlDocument::XmlNode& node, int depth) {
  Require(depth <= XmlDocument::kMaximumDepth);
  Require(node.Line() > 0);
  int nodes = 1;
  int children = 0;
  for (auto child = node.ChildsBegin(); child != node.ChildsEnd(); ++child, ++children) {
    const ZRWString tag = (*child)->Tag();
    const XmlDocument::XmlNode* const first = node.Child((*child)->TagUtf8());
    Require(first != nullptr && first->TagUtf8() == (*child)->TagUtf8());
    Require(node.Node(tag.Text()) == first);
    Require(node.NodeV(L"/%ls", tag.Text()) == first);
    Require(node.Value(tag.Text(), nullptr) == first->Value());
    nodes += Walk(**child, depth + 1);
  }
  Require(children == node.Size());
  return nodes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(bytes), size);
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  if (!document.Parse(text, kLimit, &refusal)) {
    Require(!document.IsOK() && !refusal.reason.empty());
    return 0;
  }
  const int nodes = Walk(*document.Root(), 1);
  ZRString code;
  document.CreateXmlCode(code, true);
  XmlDocument again;
  Require(again.Parse(code.View(), code.Length(), nullptr));
  Require(Walk(*again.Root(), 1) == nodes);
  ZRString codeAgain;
  again.CreateXmlCode(codeAgain, true);
  Require(code == codeAgain);
  *document.Root() = *again.Root();
  ZRString codeOfCopy;
  document.CreateXmlCode(codeOfCopy, true);
  Require(code == codeOfCopy);
  return 0;
}

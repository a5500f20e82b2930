#include "host/support/zrsettingstree.h"

#include <string>

#include "host/tools/zrtext.h"

namespace {

using tagNode = XmlDocument::XmlNode;
using tagKind = ZRSettingNode::tagKind;

constexpr std::string_view kDriver = "driver";
constexpr const wchar_t* kLine = L"__line";

tagNode& NewChild(tagNode& parent, const std::string& tag) {
  return *parent.NewChild(Utf8ToUtf16(tag).Text(), nullptr);
}

// As deep as the file nests, which has been checked.
void AddValue(tagNode& parent, const std::string& tag, const ZRSettingNode& value, bool withLines) {
  if (value.kind == tagKind::kArray) {
    for (const ZRSettingNode& entry : value.children) {
      const bool nested = entry.kind == tagKind::kArray;
      AddValue(nested ? NewChild(parent, tag) : parent, tag, entry, withLines);
    }
    return;
  }
  tagNode& added = NewChild(parent, tag);
  if (value.IsScalar()) {
    added.SetValue(Utf8ToUtf16(value.text));
    return;
  }
  if (withLines) added.SetValue(kLine, std::to_string(value.line).c_str());
  for (const ZRSettingNode& child : value.children)
    AddValue(added, child.key, child, withLines);
}

void SetDefaultIds(tagNode& root) {
  for (auto child = root.ChildsBegin(); child != root.ChildsEnd(); ++child) {
    if ((*child)->TagUtf8() != kDriver || (*child)->Node(L"id") != nullptr) continue;
    (*child)->SetValue(L"id", (*child)->Value(L"name", L""));
  }
}

void RemovePassword(tagNode& root) {
  tagNode* const smtp = root.Node(L"smtp");
  if (smtp == nullptr) return;
  if (tagNode* const password = smtp->Node(L"password")) smtp->RemoveChild(password);
}

}  // namespace

void MakeSettingsTree(const ZRSettingNode& root, XmlDocument& tree) {
  tree.Create(L"settings");
  for (const ZRSettingNode& child : root.children)
    AddValue(*tree.Root(), child.key, child, child.key == kDriver);
  SetDefaultIds(*tree.Root());
  RemovePassword(*tree.Root());
}

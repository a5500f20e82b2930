#include "host/tools/xmldocument.h"

#include <utility>

#include "host/tools/xmldocument_store.h"
#include "host/tools/xmldocument_text.h"
#include "host/tools/zrtext.h"

// --- the document ---

XmlDocument::XmlDocument() = default;

XmlDocument::~XmlDocument() = default;

void XmlDocument::Create(const wchar_t* rootTag) {
  root = nullptr;
  if (content != nullptr) {
    content->Clear();
  } else {
    content = std::make_unique<CStore>();
  }
  root = content->NewNode(ZRNarrowText(rootTag).View());
}

void XmlDocument::Discard() {
  root = nullptr;
  content.reset();
}

void XmlDocument::Reset() {
  Discard();
}

// --- an element ---

XmlDocument::XmlNode& XmlDocument::XmlNode::operator=(const XmlNode& other) {
  if (this != &other) Adopt(tag->store->NewCopy(other));
  return *this;
}

// Takes over everything of a node of the same store that is nobody's child.
void XmlDocument::XmlNode::Adopt(XmlNode* copy) {
  Clear();
  CStore& store = *tag->store;
  store.SetTag(*this, *copy->tag);
  store.DropText(*this);
  last = std::exchange(copy->last, nullptr);
  text = std::exchange(copy->text, nullptr);
  textLength = copy->textLength;
  ownsText = copy->ownsText;
  copy->ownsText = 0;
  line = copy->line;
  store.Release(copy);
}

// Destroys the children.
void XmlDocument::XmlNode::Clear() {
  while (last != nullptr) {
    RemoveChild(last->next);
  }
}

ZRWString XmlDocument::XmlNode::Tag() const {
  return Utf8ToUtf16(TagUtf8());
}

ZRWString XmlDocument::XmlNode::Value() const {
  return Utf8ToUtf16(TextUtf8());
}

std::string_view XmlDocument::XmlNode::TagUtf8() const {
  return tag->text;
}

std::string_view XmlDocument::XmlNode::TextUtf8() const {
  return {text, textLength};
}

int XmlDocument::XmlNode::Size() const {
  return static_cast<int>(std::distance(ChildsBegin(), ChildsEnd()));
}

// --- values ---

ZRWString XmlDocument::XmlNode::Value(const wchar_t* key, const wchar_t* whenAbsent) const {
  const XmlNode* found = ValueNode(ZRNarrowText(key).View());
  return found != nullptr ? found->Value() : ZRWString(whenAbsent);
}

bool XmlDocument::XmlNode::bValue(const wchar_t* key, bool whenAbsent) const {
  const XmlNode* found = ValueNode(ZRNarrowText(key).View());
  return found != nullptr ? found->TextUtf8() == "T" : whenAbsent;
}

std::string_view XmlDocument::XmlNode::ValueUtf8(std::string_view key) const {
  const XmlNode* found = ValueNode(key);
  return found != nullptr ? found->TextUtf8() : std::string_view();
}

void XmlDocument::XmlNode::SetValue(const wchar_t* value) {
  tag->store->SetText(*this, ZRNarrowText(value).View());
}

void XmlDocument::XmlNode::SetValue(const ZRWString& value) {
  tag->store->SetText(*this, ZRNarrowText(value.View()).View());
}

void XmlDocument::XmlNode::SetValue(const wchar_t* key, const wchar_t* value) {
  SetChildText(key, ZRNarrowText(value).View());
}

void XmlDocument::XmlNode::SetValue(const wchar_t* key, const ZRWString& value) {
  SetChildText(key, ZRNarrowText(value.View()).View());
}

void XmlDocument::XmlNode::SetValue(const wchar_t* key, const char* value) {
  SetChildText(key, ZRNarrowText(value).View());
}

void XmlDocument::XmlNode::SetValue(const wchar_t* key, const ZRString& value) {
  SetChildText(key, ZRNarrowText(value.View()).View());
}

void XmlDocument::XmlNode::SetChildText(const wchar_t* key, std::string_view value) {
  CStore& store = *tag->store;
  tagSTag& wanted = store.TagBehind(last != nullptr ? last->tag : tag, ZRNarrowText(key).View());
  XmlNode* child = First();
  while (child != nullptr && child->tag != &wanted)
    child = child->Next();
  if (child == nullptr) {
    child = store.NewNode(wanted);
    Append(child);
  }
  store.SetText(*child, value);
}

// --- children ---

XmlDocument::XmlNode* XmlDocument::XmlNode::NewChild(const wchar_t* childTag, const void*) {
  XmlNode* child = tag->store->NewNode(ZRNarrowText(childTag).View());
  Append(child);
  return child;
}

void XmlDocument::XmlNode::Append(XmlNode* child) {
  if (last != nullptr) {
    child->next = last->next;
    last->next = child;
    last->isLast = 0;
  } else {
    child->next = child;
  }
  child->isLast = 1;
  last = child;
}

void XmlDocument::XmlNode::RemoveChild(XmlNode* child) {
  XmlNode* before = BeforeChild(child);
  if (before == nullptr) return;
  CStore& store = *tag->store;
  if (before == child) {
    last = nullptr;
    store.cursor = {};
  } else {
    before->next = child->next;
    if (last == child) {
      last = before;
      before->isLast = 1;
    }
    store.cursor = {this, before};
  }
  store.Release(child);
}

// The neighbour in front of a child in the ring of this node's children; null if it is none.
XmlDocument::XmlNode* XmlDocument::XmlNode::BeforeChild(const XmlNode* child) {
  if (child == nullptr || last == nullptr) return nullptr;
  const CStore::tagSCursor& cursor = tag->store->cursor;
  XmlNode* start = last->next != child && cursor.parent == this ? cursor.before : last;
  XmlNode* before = start;
  do {
    if (before->next == child) return before;
    before = before->next;
  } while (before != start);
  return nullptr;
}

#include "zrevents/lists/zrlistelement.h"

#include "zrevents/lists/zrremoteevents.h"

ZRListElement::ZRListElement(XmlDocument::XmlNode& parent)
    : element(*parent.NewChild(kEventTag, nullptr)) {}

void ZRListElement::Copy(const XmlDocument::XmlNode& source,
                         std::initializer_list<const wchar_t*> keys) {
  for (const wchar_t* key : keys)
    element.SetValue(key, source.Value(key, L""));
}

ZRWString PathThrough(const ZRWString& driver, const ZRWString& path) {
  return driver + L"." + path;
}

XmlDocument::XmlNode& SectionOf(XmlDocument& document, const wchar_t* section) {
  XmlDocument::XmlNode* const existing = document.Root()->Node(section);
  return existing != nullptr ? *existing : *document.Root()->NewChild(section, nullptr);
}

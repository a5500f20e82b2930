#include "host/xmlsupport/zrdriverlayout.h"

#include "host/tools/zrtext.h"

void ZRDriverLayout::AddControl(ZRDriverControl* control, int size, bool fills) {
  std::unique_ptr<ZRDriverControl> owned(control);
  entries.push_back({std::move(owned), nullptr, size, fills});
}

void ZRDriverLayout::AddGap(int size) {
  entries.push_back({nullptr, nullptr, size, false});
}

void ZRDriverLayout::AddLayout(ZRDriverLayout* layout, int size) {
  std::unique_ptr<ZRDriverLayout> owned(layout);
  entries.push_back({nullptr, std::move(owned), size, false});
}

void ZRDriverLayout::CreateXmlDocument(XmlDocument::XmlNode* node) const {
  WriteXml(*node->NewChild(tag, nullptr));
}

void ZRDriverLayout::WriteXml(XmlDocument::XmlNode& element) const {
  for (const tagSEntry& entry : entries)
    WriteEntry(entry, element);
}

void ZRDriverLayout::WriteEntry(const tagSEntry& entry, XmlDocument::XmlNode& element) const {
  const wchar_t* const kind = entry.control != nullptr  ? entry.control->Tag()
                              : entry.layout != nullptr ? entry.layout->tag
                                                        : L"gap";
  XmlDocument::XmlNode& child = *element.NewChild(kind, nullptr);
  child.SetValue(L"size", FormatWide(L"%d", entry.size));
  if (entry.control != nullptr) {
    child.SetValue(L"fill", entry.fills ? L"T" : L"F");
    entry.control->WriteXml(child);
  } else if (entry.layout != nullptr) {
    entry.layout->WriteXml(child);
  } else if (entry.size == kAsNeeded && metrics != nullptr) {
    child.SetValue(L"least", FormatWide(L"%d", metrics->gap));
  }
}

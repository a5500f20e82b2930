// Elements of a listener's document.
#pragma once

#include <initializer_list>

#include "host/tools/xmldocument.h"

// One element `event`, made as the last child of `parent`. Its values are set in the order in which
// they are to stand.
class ZRListElement {
 public:
  explicit ZRListElement(XmlDocument::XmlNode& parent);

  void Set(const wchar_t* key, const ZRWString& value) { element.SetValue(key, value); }
  void Set(const wchar_t* key, const wchar_t* value) { element.SetValue(key, value); }
  // "T" or "F".
  void Set(const wchar_t* key, bool flag) { element.SetValue(key, flag ? L"T" : L"F"); }
  // The values of these keys as they are in `source`; what is missing there is empty.
  void Copy(const XmlDocument::XmlNode& source, std::initializer_list<const wchar_t*> keys);

 private:
  XmlDocument::XmlNode& element;
};

// The texts of an event, in the order of most documents.
inline constexpr std::initializer_list<const wchar_t*> kTextKeys = {
    L"name", L"description", L"annotation", L"deaAnnotation", L"ackAnnotation"};

// A driver and what is known by `path` behind it, with the "." of the whole system between.
[[nodiscard]] ZRWString PathThrough(const ZRWString& driver, const ZRWString& path);

// The section of the root of `document`, which is made when it is missing.
[[nodiscard]] XmlDocument::XmlNode& SectionOf(XmlDocument& document, const wchar_t* section);

// Short forms for the tests of XML documents.
#pragma once

#include <string>
#include <string_view>

#include "host/tools/xmldocument.h"
#include "support/text.h"

inline std::string Code(const XmlDocument& document) {
  ZRString code;
  document.CreateXmlCode(code, false);
  return Str(code);
}

inline std::string Code(const XmlDocument::XmlNode& node) {
  ZRString code;
  node.CreateXmlCode(code);
  return Str(code);
}

// The refusal of a text as "line:column reason"; empty if it is accepted.
inline std::string Refusal(std::string_view text) {
  XmlDocument document;
  XmlDocument::tagRefusal refusal;
  if (document.Parse(text, text.size(), &refusal)) return "";
  return std::to_string(refusal.line) + ":" + std::to_string(refusal.column) + " " + refusal.reason;
}

// So many elements `a`, one in the other.
inline std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i)
    text += "<a>";
  for (int i = 0; i < depth; ++i)
    text += "</a>";
  return text;
}

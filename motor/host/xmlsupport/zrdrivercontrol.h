// Controls of a form.
#pragma once

#include "host/tools/xmldocument.h"

// One control, which tells of itself as XML.
//
// Threads   one at a time.
class ZRDriverControl {
 public:
  virtual ~ZRDriverControl() = default;

  // Sets what the control shows beside itself, or as itself.
  void AddText(const wchar_t* toShow) { text = toShow; }

  // The tag of its element, and what stands in it.
  [[nodiscard]] virtual const wchar_t* Tag() const = 0;
  virtual void WriteXml(XmlDocument::XmlNode& element) const = 0;

 protected:
  [[nodiscard]] const ZRWString& Text() const { return text; }

 private:
  ZRWString text;
};

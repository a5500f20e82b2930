#pragma once

#include "host/xmlsupport/zrdrivercontrol.h"

// A text.
class ZRDriverControlLabel final : public ZRDriverControl {
 public:
  // The font of the text: its face, its height in tenths of a point, and numbers that are handed
  // to the client as they stand.
  void SetFont(const wchar_t* fontFace, double fontHeight, int fontStyle, int fontHorizontal,
               int fontVertical, unsigned long fontColour, unsigned short fontSet);

  [[nodiscard]] const wchar_t* Tag() const override { return L"label"; }
  void WriteXml(XmlDocument::XmlNode& element) const override;

 private:
  ZRWString face;  // empty: no font was set
  double height = 0;
  int style = 0, horizontal = 0, vertical = 0;
  unsigned long colour = 0;
  unsigned short set = 0;
};

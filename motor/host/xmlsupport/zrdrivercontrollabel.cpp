#include "host/xmlsupport/zrdrivercontrollabel.h"

#include "host/tools/zrtext.h"

void ZRDriverControlLabel::SetFont(const wchar_t* fontFace, double fontHeight, int fontStyle,
                                   int fontHorizontal, int fontVertical, unsigned long fontColour,
                                   unsigned short fontSet) {
  face = fontFace;
  height = fontHeight;
  style = fontStyle;
  horizontal = fontHorizontal;
  vertical = fontVertical;
  colour = fontColour;
  set = fontSet;
}

void ZRDriverControlLabel::WriteXml(XmlDocument::XmlNode& element) const {
  element.SetValue(L"text", Text());
  if (face.IsEmpty()) return;
  XmlDocument::XmlNode& font = *element.NewChild(L"font", nullptr);
  font.SetValue(L"face", face);
  font.SetValue(L"height", FormatWide(L"%g", height));
  font.SetValue(L"style", FormatWide(L"%d", style));
  font.SetValue(L"horizontal", FormatWide(L"%d", horizontal));
  font.SetValue(L"vertical", FormatWide(L"%d", vertical));
  font.SetValue(L"colour", FormatWide(L"%lu", colour));
  font.SetValue(L"set", FormatWide(L"%u", unsigned{set}));
}

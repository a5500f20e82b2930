#include "zrevents/services/zrxmltext.h"

#include "host/tools/zrtext.h"

namespace {

void AppendTag(ZRString& xml, std::string_view opening, std::string_view tag) {
  xml.Append(opening);
  xml.Append(tag);
  xml.Append('>');
}

}  // namespace

void AppendRawElement(ZRString& xml, std::string_view tag, std::string_view text) {
  AppendTag(xml, "<", tag);
  xml.Append(text);
  AppendTag(xml, "</", tag);
}

void AppendElement(ZRString& xml, std::string_view tag, const ZRWString& text) {
  ZRString escaped;
  Text2Xml(escaped, Utf16ToUtf8(text.View()));
  AppendRawElement(xml, tag, escaped.View());
}

void AppendFlag(ZRString& xml, std::string_view tag, bool flag) {
  AppendRawElement(xml, tag, flag ? "T" : "F");
}

ZRWString FourteenDigits(const ZRDateTime& date) {
  return FormatWide(L"%02d%02d%04d%02d%02d%02d", date.Day(), date.Month(), date.Year(), date.Hour(),
                    date.Minute(), date.Second());
}

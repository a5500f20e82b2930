#include "zrevents/actions/zractionfragment.h"

#include "host/tools/zrtext.h"

void AppendWhat(ZRString& xml, std::string_view word) {
  xml += "<what>";
  xml.Append(word);
  xml += "</what>";
}

void AppendHow(ZRString& xml, std::wstring_view text, std::wstring_view behind) {
  xml += "<how>";
  AppendUtf8(xml, text);
  AppendUtf8(xml, behind);
  xml += "</how>";
}

#include "host/xmlsupport/zrdrivercontrolcheck.h"

#include "host/tools/zrtext.h"

void ZRDriverControlCheck::WriteXml(XmlDocument::XmlNode& element) const {
  element.SetValue(L"kind", FormatWide(L"%d", kind));
  if (!Text().IsEmpty()) element.SetValue(L"text", Text());
  for (const ZRWString& variable : variables)
    element.NewChild(L"var", nullptr)->SetValue(variable);
}

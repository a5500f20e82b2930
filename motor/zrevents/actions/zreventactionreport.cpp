#include "zrevents/actions/zreventactionreport.h"

#include "zrevents/actions/zractionfragment.h"

bool ZREventActionReport::Execute(int /*moment*/) {
  return true;
}

bool ZREventActionReport::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != "report") return false;
  if (!ZREventAction::LoadXml(node)) return false;
  name = node->Value(L"name", L"");
  return !name.IsEmpty();
}

bool ZREventActionReport::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml.Clear();
  ZREventAction::ProcessHttpServiceEventsActions(xml);
  AppendWhat(xml, "REPORT");
  AppendHow(xml, name.View());
  return true;
}

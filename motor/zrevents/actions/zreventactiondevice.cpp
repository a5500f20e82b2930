#include "zrevents/actions/zreventactiondevice.h"

#include "zrevents/actions/zractionfragment.h"

bool ZREventActionDevice::Execute(int /*moment*/) {
  return true;
}

bool ZREventActionDevice::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != "device") return false;
  if (!ZREventAction::LoadXml(node)) return false;
  name = node->Value(L"name", L"");
  return !name.IsEmpty();
}

bool ZREventActionDevice::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml.Clear();
  ZREventAction::ProcessHttpServiceEventsActions(xml);
  AppendWhat(xml, "DEVICE");
  AppendHow(xml, name.View());
  return true;
}

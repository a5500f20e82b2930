#include "zrevents/actions/zreventactionbeep.h"

#include "zrevents/actions/zractionfragment.h"

bool ZREventActionBeep::Execute(int /*moment*/) {
  return true;
}

bool ZREventActionBeep::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != "beep") return false;
  return ZREventAction::LoadXml(node);
}

bool ZREventActionBeep::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml.Clear();
  ZREventAction::ProcessHttpServiceEventsActions(xml);
  AppendWhat(xml, "BEEP");
  return true;
}

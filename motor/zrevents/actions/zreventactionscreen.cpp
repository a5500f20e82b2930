#include "zrevents/actions/zreventactionscreen.h"

#include "zrevents/actions/zractionfragment.h"

bool ZREventActionScreen::Execute(int /*moment*/) {
  return true;
}

bool ZREventActionScreen::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != "screen") return false;
  if (!ZREventAction::LoadXml(node)) return false;
  name = node->Value(L"name", L"");
  return !name.IsEmpty();
}

bool ZREventActionScreen::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml.Clear();
  ZREventAction::ProcessHttpServiceEventsActions(xml);
  AppendWhat(xml, "SCREEN");
  AppendHow(xml, name.View());
  return true;
}

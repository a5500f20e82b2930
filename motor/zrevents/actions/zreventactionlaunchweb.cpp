#include "zrevents/actions/zreventactionlaunchweb.h"

#include "zrevents/actions/zractionfragment.h"

bool ZREventActionLaunchWeb::Execute(int /*moment*/) {
  return true;
}

bool ZREventActionLaunchWeb::LoadXml(const XmlDocument::XmlNode* node) {
  if (node->TagUtf8() != "launchWeb") return false;
  if (!ZREventAction::LoadXml(node)) return false;
  url = node->Value(L"url", L"");
  window = node->Value(L"window", L"");
  return !url.IsEmpty() && !window.IsEmpty();
}

bool ZREventActionLaunchWeb::ProcessHttpServiceEventsActions(ZRBasicString<char>& xml) {
  xml.Clear();
  ZREventAction::ProcessHttpServiceEventsActions(xml);
  AppendWhat(xml, "LAUNCHWEB");
  AppendHow(xml, window == L"TAB" ? L"#" : L"", url.View());
  return true;
}

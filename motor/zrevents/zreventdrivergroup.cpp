#include "zrevents/zreventdrivergroup.h"

bool ZREventDriverGroup::LoadXml(const XmlDocument::XmlNode& node) {
  idStr = node.Value(L"id", L"");
  if (idStr.IsEmpty()) return false;
  id = wtouuid(idStr);
  if (id == uuid::null) return false;
  name = node.Value(L"name", L"");
  return !name.IsEmpty();
}

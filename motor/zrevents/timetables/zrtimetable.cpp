#include "zrevents/timetables/zrtimetable.h"

ZRTimeTable::~ZRTimeTable() = default;

bool ZRTimeTable::LoadXml(const XmlDocument::XmlNode* node) {
  id = node->Value(L"id", L"");
  name = node->Value(L"name", L"");
  return !id.IsEmpty() && !name.IsEmpty();
}

bool ZRTimeTable::NeedCheck(const ZRDateTime& /*now*/) {
  return false;
}

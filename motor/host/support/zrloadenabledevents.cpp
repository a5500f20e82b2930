#include "host/support/zrloadenabledevents.h"

namespace {

constexpr std::string_view kEnabled = "enabled";
constexpr std::string_view kNo = "F";

void RemoveDisabled(XmlDocument::XmlNode& list) {
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd();) {
    XmlDocument::XmlNode* const element = *child++;
    if (element->ValueUtf8(kEnabled) == kNo) list.RemoveChild(element);
  }
}

}  // namespace

bool ZRLoadEnabledEvents::Load(const wchar_t* path, XmlDocument& document,
                               XmlDocument::tagRefusal* refusal) {
  if (!document.Load(path, refusal)) return false;
  for (const wchar_t* const name : {L"events", L"eventsGroups"})
    if (XmlDocument::XmlNode* const list = document.Root()->Node(name)) RemoveDisabled(*list);
  return true;
}

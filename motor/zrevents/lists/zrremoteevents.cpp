#include "zrevents/lists/zrremoteevents.h"

#include <vector>

#include "host/tools/zrtext.h"

namespace {

constexpr const wchar_t* kRootTag = L"eventsTM";

}  // namespace

void ZRRemoteEvents::Prepare() {
  if (!document.IsOK()) document.Create(kRootTag);
  for (const wchar_t* section : {kSectionActived, kSectionNotified})
    if (document.Root()->Node(section) == nullptr) document.Root()->NewChild(section, nullptr);
}

const XmlDocument::XmlNode* ZRRemoteEvents::Section(const wchar_t* section) const {
  return document.IsOK() ? document.Root()->Node(section) : nullptr;
}

XmlDocument::XmlNode* ZRRemoteEvents::SectionOf(bool isActive) {
  return document.IsOK() ? document.Root()->Child(isActive ? kActivedTag : kNotifiedTag) : nullptr;
}

XmlDocument::XmlNode* ZRRemoteEvents::Find(bool isActive, std::string_view id) {
  const tagIndex& ids = IndexOf(isActive);
  const auto found = ids.find(id);
  return found != ids.end() ? found->second : nullptr;
}

XmlDocument::XmlNode* ZRRemoteEvents::Add(bool isActive, std::string_view id) {
  tagNode* const element = SectionOf(isActive)->NewChild(kEventTag, nullptr);
  element->SetValue(L"id", ZRString(id));
  IndexOf(isActive).emplace(id, element);
  return element;
}

void ZRRemoteEvents::Remove(bool isActive, std::string_view id) {
  tagIndex& ids = IndexOf(isActive);
  const auto found = ids.find(id);
  if (found == ids.end()) return;
  tagNode* const element = found->second;
  ids.erase(found);
  SectionOf(isActive)->RemoveChild(element);
}

void ZRRemoteEvents::RemoveIf(bool isActive, const std::function<bool(const tagNode&)>& isToGo) {
  tagNode* const section = SectionOf(isActive);
  if (section == nullptr) return;
  std::vector<std::string> leaving;
  for (auto element = section->ChildsBegin(); element != section->ChildsEnd(); ++element)
    if (isToGo(**element)) leaving.emplace_back((*element)->ValueUtf8("id"));
  for (const std::string& id : leaving)
    Remove(isActive, id);
}

bool DriverIdOf(const XmlDocument::XmlNode& element, ZRWString& driverId) {
  const std::string_view id = element.ValueUtf8("id");
  const std::size_t point = id.find('.');
  if (point == id.npos) return false;
  driverId = Utf8ToUtf16(id.substr(0, point));
  return true;
}

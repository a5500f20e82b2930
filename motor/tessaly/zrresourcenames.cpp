#include "tessaly/zrresourcenames.h"

#include "host/driversupport/zrdriver.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrelementcheck.h"
#include "zrevents/zreventdrivergroup.h"

namespace {

std::string Narrow(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}

}  // namespace

ZRResourceNames::ZRResourceNames(const ZREventSystem& system) {
  for (auto group = system.EventsGroupsBegin(); group != system.EventsGroupsEnd(); ++group)
    groups.emplace_back(Narrow((*group)->IdStr()), Narrow((*group)->Name()));
  for (auto driver = ZRDriver::DriversBegin(); driver != ZRDriver::DriversEnd(); ++driver)
    drivers.emplace_back(Narrow((*driver)->Id()), Narrow((*driver)->Name()));
}

ZRResourceNames::tagAnswer ZRResourceNames::Find(const ZRResourceKind& kind,
                                                 const std::string& text, std::string& id) const {
  id = text;
  std::string ignored;
  if (text == ZRGrants::kAll || NameOf(kind, text, ignored)) return tagAnswer::kFound;
  int found = 0;
  for (const auto& [itsId, name] : Names(kind)) {
    if (name != text || itsId.empty()) continue;
    id = itsId;
    ++found;
  }
  if (found > 1) return tagAnswer::kSeveral;
  return found == 1 ? tagAnswer::kFound : tagAnswer::kUnknown;
}

bool ZRResourceNames::NameOf(const ZRResourceKind& kind, std::string_view id,
                             std::string& name) const {
  for (const auto& [itsId, itsName] : Names(kind)) {
    if (itsId != id || id.empty()) continue;
    name = itsName;
    return true;
  }
  return false;
}

std::string MissingText(const ZRResourceKind& kind, const std::string& text) {
  return std::string("there is no ") + (kind.isOfDrivers ? "driver " : "group ") + Quoted(text);
}

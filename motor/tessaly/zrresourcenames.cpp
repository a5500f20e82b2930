#include "tessaly/zrresourcenames.h"

#include "host/tools/xmldocument.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrelementcheck.h"
#include "tessaly/zrsitecheck.h"

namespace {

using Node = XmlDocument::XmlNode;

std::pair<std::string, std::string> IdAndName(const Node& element) {
  return {std::string(element.ValueUtf8("id")), std::string(element.ValueUtf8("name"))};
}

}  // namespace

ZRResourceNames::ZRResourceNames(const ZRTessalySetup& setup) {
  for (const Node* const driver : setup.Drivers())
    drivers.push_back(IdAndName(*driver));
  XmlDocument document;
  const ZRWString path = setup.CfgPath() + Utf8ToUtf16(kEventsFile);
  if (!document.Load(path.Text(), nullptr)) return;
  const Node* const list = std::as_const(document).Root()->Child("eventsGroups");
  if (list == nullptr) return;
  for (auto group = list->ChildsBegin(); group != list->ChildsEnd(); ++group)
    groups.push_back(IdAndName(**group));
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

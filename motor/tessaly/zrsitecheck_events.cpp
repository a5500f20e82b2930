// Groups and events: what was dropped, what is in force differently, and why.

#include <set>
#include <string>
#include <unordered_map>

#include "host/tools/zrtext.h"
#include "host/tools/zruuid.h"
#include "tessaly/zreventcheck.h"
#include "tessaly/zrsitecheck.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

void CheckGroup(const ZRElementCheck& check, ZREventSystem& system) {
  const ZRWString id = check.Element().Value(L"id", L"");
  const ZRWString name = check.Element().Value(L"name", L"");
  const uuid groupId = wtouuid(id);
  if (id.IsEmpty()) return check.Say(Kind::kDropped, "it has no id");
  if (groupId == uuid::null) {
    return check.Say(Kind::kDropped,
                     "its id " + Quoted(check.Element().ValueUtf8("id")) + " is no uuid");
  }
  if (name.IsEmpty()) return check.Say(Kind::kDropped, "it has no name");
  check.CheckKeys(check.Element(), [](std::string_view tag) {
    return tag == "id" || tag == "name" || tag == "enabled";
  });
  check.CheckSwitch();
  if (system.LockEventsGroup(groupId)->Name() != name) {
    check.Say(Kind::kChanged, "another group has its id: no event finds this one");
  } else if (system.LockEventsGroup(name.Text())->Id() != groupId) {
    check.Say(Kind::kHint, "another group has its name: one worker runs the events of both");
  }
}

// The events of the store by their elements.
using tagLoaded = std::unordered_map<const Node*, ZREventDriver*>;

tagLoaded LoadedEvents(const ZREventSystem& system) {
  tagLoaded loaded;
  for (auto event = system.EventsBegin(); event != system.EventsEnd(); ++event)
    loaded.emplace((*event)->Node(), *event);
  return loaded;
}

void CheckEventList(const Node& list, ZREventSystem& system, const std::string& file,
                    ZRFindings& findings) {
  const tagLoaded loaded = LoadedEvents(system);
  std::set<std::string_view> names;
  std::set<uuid> ids;
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd(); ++child) {
    const ZRElementCheck check(**child, "event", file, findings);
    const auto found = loaded.find(*child);
    if (found == loaded.end()) {
      CheckRefusedEvent(check);
      continue;
    }
    if (!names.insert((*child)->ValueUtf8("name")).second)
      check.Say(Kind::kChanged, "another event has its name: the variables are the first one's");
    if (!ids.insert(found->second->Id()).second)
      check.Say(Kind::kChanged, "another event has its id: a search by id finds only one of them");
    CheckLoadedEvent(check, *found->second, system);
  }
}

}  // namespace

void CheckEvents(const XmlDocument& document, ZREventSystem& system, const std::string& file,
                 ZRFindings& findings) {
  const Node& root = *document.Root();
  ZRElementCheck(root, file, findings).CheckKeys(root, [](std::string_view tag) {
    return tag == "eventsGroups" || tag == "events";
  });
  if (const Node* const list = root.Child("eventsGroups")) {
    for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child)
      CheckGroup(ZRElementCheck(**child, "group", file, findings), system);
  }
  if (const Node* const list = root.Child("events")) CheckEventList(*list, system, file, findings);
}

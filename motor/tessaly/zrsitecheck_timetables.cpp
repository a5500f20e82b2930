// Time tables: what was dropped, and entries that lead nowhere.

#include <string>

#include "tessaly/zrsitecheck.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

class CTableCheck {
 public:
  CTableCheck(const Node& toCheck, ZREventSystem& ofTables, ZRFindings& toFill)
      : table(toCheck), system(ofTables), findings(toFill) {
    const std::string_view name = table.ValueUtf8("name");
    subject = name.empty() ? "time table without a name" : "time table '" + std::string(name) + "'";
  }

  // False if the table isn't kept.
  [[nodiscard]] bool CheckIdentity() const {
    for (const char* key : {"id", "name"}) {
      if (!table.ValueUtf8(key).empty()) continue;
      Say(Kind::kDropped, table, std::string("it has no ") + key);
      return false;
    }
    return true;
  }

  void CheckSlots() const {
    for (auto child = table.ChildsBegin(); child != table.ChildsEnd(); ++child)
      if ((*child)->TagUtf8() == "slot") CheckSlot(**child);
  }

  // An entry that names no table counts as none.
  void CheckEntry(const Node& entry) const {
    const ZRWString wanted = entry.Value();
    if (system.LockTimeTable(wanted.Text()) != nullptr) return;
    Say(Kind::kDropped, entry,
        "'" + std::string(entry.TagUtf8()) + "' names no time table: '" +
            std::string(entry.TextUtf8()) + "'");
  }

  void CheckDays(const Node& node) const {
    for (auto child = node.ChildsBegin(); child != node.ChildsEnd(); ++child)
      if ((*child)->TagUtf8().substr(0, 3) == "day") CheckEntry(**child);
  }

  void CheckCalendar() const {
    for (auto year = table.ChildsBegin(); year != table.ChildsEnd(); ++year) {
      if ((*year)->TagUtf8() != "year") continue;
      for (auto month = (*year)->ChildsBegin(); month != (*year)->ChildsEnd(); ++month)
        CheckDays(**month);
    }
  }

 private:
  void CheckSlot(const Node& slot) const {
    switch (ZREventSystem::SlotFault(slot)) {
      case ZRSlotFault::kFrom:
        return Say(Kind::kDropped, slot, "a slot's 'from' is no time of day");
      case ZRSlotFault::kTo:
        return Say(Kind::kDropped, slot, "a slot's 'to' is no time of day");
      case ZRSlotFault::kBackwards:
        return Say(Kind::kDropped, slot,
                   "a slot ends before it begins: a span across midnight needs two");
      case ZRSlotFault::kNone:
        return;
    }
  }

  void Say(Kind kind, const Node& place, const std::string& text) const {
    findings.push_back({kind, kTimeTablesFile, place.Line(), 0, subject + ": " + text});
  }

  const Node& table;
  ZREventSystem& system;
  ZRFindings& findings;
  std::string subject;
};

template <typename Check>
void CheckBranch(const XmlDocument& document, const wchar_t* branch, ZREventSystem& system,
                 ZRFindings& findings, Check checkInside) {
  const Node* const list = document.Root()->Node(branch);
  if (list == nullptr) return;
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
    const CTableCheck check(**child, system, findings);
    if (check.CheckIdentity()) checkInside(check, **child);
  }
}

}  // namespace

void CheckTimeTables(const XmlDocument& document, ZREventSystem& system, ZRFindings& findings) {
  CheckBranch(document, L"days", system, findings,
              [](const CTableCheck& check, const Node&) { check.CheckSlots(); });
  CheckBranch(document, L"weeks", system, findings,
              [](const CTableCheck& check, const Node& table) { check.CheckDays(table); });
  CheckBranch(document, L"calendars", system, findings,
              [](const CTableCheck& check, const Node&) { check.CheckCalendar(); });
}

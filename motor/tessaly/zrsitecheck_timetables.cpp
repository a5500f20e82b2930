// Time tables: what was dropped, entries that lead nowhere, and tables that lead in a circle.

#include <string>
#include <vector>

#include "host/tools/zrtext.h"
#include "tessaly/zrelementcheck.h"
#include "tessaly/zrsitecheck.h"
#include "zrevents/timetables/zrtimeofday.h"

namespace {

using Kind = ZRFinding::tagKind;
using Node = XmlDocument::XmlNode;

bool IsIdentity(std::string_view tag) {
  return tag == "id" || tag == "name";
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// True for h:mm, hh:mm with any sign between, and hhmm: what is read is what a reader sees.
bool IsPlainTime(std::string_view text) {
  const std::size_t length = text.size();
  if (length < 4 || length > 5) return false;
  for (std::size_t at = 0; at < length; ++at) {
    const bool maySeparate = at + 3 == length;
    if (!IsDigit(text[at]) && !maySeparate) return false;
  }
  return length == 4 || !IsDigit(text[2]);
}

std::string TimeText(int minutes) {
  const ZRWString text =
      FormatWide(L"%02d:%02d", minutes / kMinutesInHour, minutes % kMinutesInHour);
  return std::string(Utf16ToUtf8(text.View()).View());
}

// The tables of the document in the order of the store, and which of them each one names.
class CTables {
 public:
  CTables(ZREventSystem& ofTables, const std::string& ofFile, ZRFindings& toFill)
      : system(ofTables), file(ofFile), findings(toFill) {}

  // Checks what all tables have. False if the table isn't kept.
  [[nodiscard]] bool Enter(const ZRElementCheck& check) {
    for (const char* key : {"id", "name"}) {
      if (!check.Element().ValueUtf8(key).empty()) continue;
      check.Say(Kind::kDropped, std::string("it has no ") + key);
      return false;
    }
    kept.push_back({&check.Element(), {}});
    for (const char* key : {"id", "name"}) {
      const ZRWString text = Utf8ToUtf16(check.Element().ValueUtf8(key));
      if (system.TimeTableNumber(text.Text()) != kept.size())
        check.Say(Kind::kChanged, std::string("its ") + key + " finds another time table");
    }
    return true;
  }

  void CheckDay(const ZRElementCheck& check) {
    check.CheckKeys(
        check.Element(), [](std::string_view tag) { return IsIdentity(tag) || tag == "slot"; },
        "slot");
    for (auto child = check.Element().ChildsBegin(); child != check.Element().ChildsEnd(); ++child)
      if ((*child)->TagUtf8() == "slot") CheckSlot(check, **child);
  }

  void CheckWeek(const ZRElementCheck& check) {
    check.CheckKeys(check.Element(),
                    [](std::string_view tag) { return IsIdentity(tag) || IsWeekday(tag); });
    CheckEntries(check, check.Element(), IsWeekday);
  }

  void CheckCalendar(const ZRElementCheck& check) {
    const Node& table = check.Element();
    check.CheckKeys(
        table, [](std::string_view tag) { return IsIdentity(tag) || tag == "year"; }, "year");
    for (auto year = table.ChildsBegin(); year != table.ChildsEnd(); ++year)
      if ((*year)->TagUtf8() == "year") CheckYear(check, **year);
  }

  // Says which tables lead round in a circle, or to one that does.
  void CheckCircles();

 private:
  struct tagKept {
    const Node* table;
    std::vector<std::uint32_t> named;  // numbers in the store, from 1
  };

  static bool IsWeekday(std::string_view tag) { return IsNumberedTag(tag, "day", 0, 6); }
  static bool IsDayOfMonth(std::string_view tag) { return IsNumberedTag(tag, "day", 1, 31); }
  static bool IsMonth(std::string_view tag) { return IsNumberedTag(tag, "month", 1, 12); }

  static void CheckSlot(const ZRElementCheck& check, const Node& slot) {
    check.CheckKeys(slot, [](std::string_view tag) { return tag == "from" || tag == "to"; });
    switch (ZREventSystem::SlotFault(slot)) {
      case ZRSlotFault::kFrom:
        return check.Say(Kind::kDropped, slot, "a slot's 'from' is no time of day");
      case ZRSlotFault::kTo:
        return check.Say(Kind::kDropped, slot, "a slot's 'to' is no time of day");
      case ZRSlotFault::kBackwards:
        return check.Say(Kind::kDropped, slot,
                         "a slot ends before it begins: a span across midnight needs two");
      case ZRSlotFault::kNone:
        break;
    }
    for (const wchar_t* key : {L"from", L"to"})
      CheckTime(check, *slot.Node(key));
    if (slot.ValueUtf8("from") == slot.ValueUtf8("to"))
      check.Say(Kind::kHint, slot, "a slot ends where it begins: it switches nothing off");
  }

  static void CheckTime(const ZRElementCheck& check, const Node& time) {
    std::uint16_t minutes = 0;
    if (IsPlainTime(time.TextUtf8()) || !ParseTimeOfDay(time.Value(), minutes)) return;
    check.Say(Kind::kChanged, time,
              "a slot's " + Quoted(time.TagUtf8()) + " is " + Quoted(time.TextUtf8()) +
                  " and is read as " + TimeText(minutes));
  }

  void CheckYear(const ZRElementCheck& check, const Node& year) {
    constexpr int kLastYear = 9999;
    check.CheckKeys(year, [](std::string_view tag) { return tag == "year" || IsMonth(tag); });
    const std::string_view number = year.ValueUtf8("year");
    if (!IsNumberedTag(number, "", 1, kLastYear))
      return check.Say(Kind::kDropped, year, "a year has no number: " + Quoted(number));
    if (check.Element().Child("year", "year", number) != &year) {
      return check.Say(Kind::kDropped, year,
                       "a second year " + std::string(number) + " isn't read");
    }
    for (auto month = year.ChildsBegin(); month != year.ChildsEnd(); ++month) {
      if (!IsMonth((*month)->TagUtf8())) continue;
      check.CheckKeys(**month, IsDayOfMonth);
      CheckEntries(check, **month, IsDayOfMonth);
    }
  }

  // An entry that names no table counts as none.
  void CheckEntries(const ZRElementCheck& check, const Node& parent,
                    ZRElementCheck::tagKnows isEntry) {
    for (auto entry = parent.ChildsBegin(); entry != parent.ChildsEnd(); ++entry) {
      if (!isEntry((*entry)->TagUtf8()) || (*entry)->TextUtf8().empty()) continue;
      const std::uint32_t number = system.TimeTableNumber((*entry)->Value().Text());
      if (number != 0) {
        kept.back().named.push_back(number);
      } else {
        check.Say(
            Kind::kDropped, **entry,
            Quoted((*entry)->TagUtf8()) + " names no time table: " + Quoted((*entry)->TextUtf8()));
      }
    }
  }

  ZREventSystem& system;
  const std::string& file;
  ZRFindings& findings;
  std::vector<tagKept> kept;
};

// Takes away, again and again, the tables that name none of those that are left.
void CTables::CheckCircles() {
  std::vector<std::vector<std::size_t>> namedBy(kept.size());
  std::vector<std::size_t> left(kept.size(), 0);
  std::vector<std::size_t> ends;
  for (std::size_t at = 0; at < kept.size(); ++at) {
    for (const std::uint32_t number : kept[at].named)
      namedBy[number - 1].push_back(at);
    left[at] = kept[at].named.size();
    if (left[at] == 0) ends.push_back(at);
  }
  while (!ends.empty()) {
    const std::size_t end = ends.back();
    ends.pop_back();
    for (const std::size_t at : namedBy[end])
      if (--left[at] == 0) ends.push_back(at);
  }
  for (std::size_t at = 0; at < kept.size(); ++at) {
    if (left[at] == 0) continue;
    ZRElementCheck(*kept[at].table, "time table", file, findings)
        .Say(Kind::kHint, "it leads round in a circle: on such a day it switches nothing off");
  }
}

}  // namespace

void CheckTimeTables(const XmlDocument& document, ZREventSystem& system, const std::string& file,
                     ZRFindings& findings) {
  using tagCheck = void (CTables::*)(const ZRElementCheck&);
  const Node& root = *document.Root();
  ZRElementCheck(root, file, findings).CheckKeys(root, [](std::string_view tag) {
    return tag == "days" || tag == "weeks" || tag == "calendars";
  });
  CTables tables(system, file, findings);
  const auto checkBranch = [&](std::string_view branch, tagCheck checkInside) {
    const Node* const list = root.Child(branch);
    if (list == nullptr) return;
    for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child) {
      const ZRElementCheck check(**child, "time table", file, findings);
      if (tables.Enter(check)) (tables.*checkInside)(check);
    }
  };
  checkBranch("days", &CTables::CheckDay);
  checkBranch("weeks", &CTables::CheckWeek);
  checkBranch("calendars", &CTables::CheckCalendar);
  tables.CheckCircles();
}

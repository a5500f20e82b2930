#include "tessaly/zrrenameplan.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrdatafolder.h"

namespace {

using Node = XmlDocument::XmlNode;
using tagEvent = ZRRenamePlan::tagEvent;

constexpr int kFirstYear = 2000;

std::string Narrow(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}

// The one walk through the months that all events of a rename share.
class CWalk {
 public:
  CWalk(const ZRWString& dataFolder, const ZRDateTime& now)
      : folder(dataFolder), year(now.Year()), month(now.Month()) {}

  void PlanMoves(const ZRWString& oldName, const ZRWString& newName, tagEvent& event) {
    for (; year >= kFirstYear; --year) {
      if (ZRFileFind().FindFile(folder + FormatWide(L"%04d/*.*", year)) == 0) continue;
      for (; month > 0; --month)
        PlanMonth(oldName, newName, event);
    }
  }

 private:
  void PlanMonth(const ZRWString& oldName, const ZRWString& newName, tagEvent& event) const {
    const ZRWString inFolder = FormatWide(L"%04d/%02d/", year, month);
    const ZRWString pattern = FormatWide(L"%ls %02d-%04d.*", oldName.Text(), month, year);
    ZRFileFind find;
    int more = find.FindFile(folder + inFolder + pattern);
    while (more != 0) {
      more = find.FindNextFileW();
      const ZRWString file = find.GetFileName();
      // By length only: as it is done.
      const ZRWString suffix(
          file.View().substr(std::min(file.View().size(), oldName.View().size())));
      const ZRWString to = inFolder + newName + suffix;
      const bool isTaken = Exists(folder + to) || IsPlanned(event, Narrow(to));
      event.moves.push_back({Narrow(inFolder + file), Narrow(to), isTaken});
    }
  }
  [[nodiscard]] static bool IsPlanned(const tagEvent& event, const std::string& to) {
    return std::any_of(event.moves.begin(), event.moves.end(),
                       [&to](const auto& move) { return move.to == to; });
  }
  [[nodiscard]] static bool Exists(const ZRWString& path) {
    ZRFileFind find;
    return find.FindFile(path) != 0 || find.FindFile(path + L"/*.*") != 0;
  }

  const ZRWString folder;
  int year;
  int month;
};

// "2026/11/Pump 11-2026.suc" is one of Pump.
bool IsFileOf(const std::string& event, const std::string& file) {
  constexpr std::size_t kYear = 4;
  constexpr std::size_t kMonthAt = 5;
  constexpr std::size_t kMonth = 2;
  constexpr std::size_t kNameAt = 8;
  const std::string start =
      event + " " + file.substr(kMonthAt, kMonth) + "-" + file.substr(0, kYear) + ".";
  return std::string_view(file).substr(kNameAt).starts_with(start);
}

void NoteWhatStays(const std::vector<ZRDataFile>& files, tagEvent& event) {
  for (const ZRDataFile& file : files) {
    const auto moves = [&file](const auto& move) {
      return move.from == file.name && !move.isTaken;
    };
    if (IsFileOf(event.oldName, file.name) &&
        std::none_of(event.moves.begin(), event.moves.end(), moves))
      event.stays.push_back(file.name);
  }
}

template <typename Count>
std::size_t Sum(const std::vector<tagEvent>& events, Count count) {
  std::size_t sum = 0;
  for (const tagEvent& event : events)
    sum += count(event);
  return sum;
}

std::size_t TakenOf(const tagEvent& event) {
  return static_cast<std::size_t>(std::count_if(event.moves.begin(), event.moves.end(),
                                                [](const auto& move) { return move.isTaken; }));
}

}  // namespace

std::size_t ZRRenamePlan::Moves() const {
  return Sum(events, [](const tagEvent& event) { return event.moves.size() - TakenOf(event); });
}

std::size_t ZRRenamePlan::Taken() const {
  return Sum(events, TakenOf);
}

std::size_t ZRRenamePlan::Stays() const {
  return Sum(events, [](const tagEvent& event) { return event.stays.size(); });
}

ZRRenamePlan PlanRename(const Node* oldEvents, const Node* newEvents, const ZRWString& dataFolder,
                        const ZRDateTime& utcNow) {
  ZRRenamePlan plan;
  if (oldEvents == nullptr || newEvents == nullptr) return plan;
  std::vector<ZRDataFile> files;
  (void)ListDataFiles(Narrow(dataFolder), files);
  CWalk walk(dataFolder, utcNow);
  for (auto child = oldEvents->ChildsBegin(); child != oldEvents->ChildsEnd(); ++child) {
    const ZRWString id = (*child)->Value(L"id", L"");
    const Node* const changed = newEvents->NodeV(L"event?id=%ls?", id.Text());
    if (changed == nullptr) continue;
    const ZRWString oldName = (*child)->Value(L"name", L"");
    const ZRWString newName = changed->Value(L"name", L"");
    if (oldName == newName) continue;
    tagEvent event{Narrow(oldName), Narrow(newName), {}, {}};
    walk.PlanMoves(oldName, newName, event);
    NoteWhatStays(files, event);
    plan.events.push_back(std::move(event));
  }
  return plan;
}

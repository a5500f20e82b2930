// The data files of an event, read back.

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <unordered_map>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/tools/zrtext.h"
#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/history/zrhistorymonth.h"
#include "zrevents/history/zrhistorypath.h"
#include "zrevents/history/zrloggerintake.h"
#include "zrevents/history/zrstep.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr int kFirstAtOrAfter = 1;  // the mode of SearchByTime
constexpr ZRHistoryMonth kFirstToCount = {2000, 1};
constexpr std::int32_t kPercent = 100;
// Records that are taken from a file at once, and from a small one.
constexpr std::size_t kAtOnce = 128;
constexpr std::size_t kFewAtOnce = 16;

using tagFields = ZREventFile::tagFields;

const char* NameOf(int value) {
  switch (value) {
    case kActivated:
      return "ON";
    case kDeactivated:
      return "OFF";
    case kAcknowledged:
      return "ACK";
    default:
      return "NONE";
  }
}

// Compares the dates of a file with an instant. Most are far from it: then two numbers tell.
class CInstant {
 public:
  explicit CInstant(const ZRDateTime& toCompare)
      : instant(ZRDateTime::FromUtcMilliseconds(toCompare.UtcMilliseconds())),
        days(static_cast<double>(instant)),
        isValid(toCompare.Valid()) {}

  // It comes behind that date; an invalid date is before each valid one.
  [[nodiscard]] bool IsAfter(double date) const {
    if (isValid && date < days - kNear) return true;
    if (date > days + kNear && date < kNoDate) return false;
    return isValid && ZRDateTime(date) < instant;
  }

 private:
  static constexpr double kNear = 1e-7;         // days: some milliseconds
  static constexpr double kNoDate = 2'958'465;  // from the last day of all on

  ZRDateTime instant;
  double days;
  bool isValid;
};

// Calls `visit(records)` for the readable records from `index` on, at most kMost at a time, while
// it gives true.
template <std::size_t kMost, typename Visit>
void ForEachPiece(ZREventFile& file, int index, Visit visit) {
  std::array<tagFields, kMost> records;
  while (const std::size_t count = file.ReadFrom(index, records.data(), records.size()))
    if (!visit(std::span<const tagFields>(records.data(), count))) return;
}

// The same from the first record on whose date isn't before `from`. Later ones may be.
template <typename Visit>
void ForEachPieceFrom(ZREventFile& file, const ZRDateTime& from, Visit visit) {
  const int index = file.SearchByTime(from, kFirstAtOrAfter);
  if (index < 0) return;
  if (static_cast<std::size_t>(file.numRecords - index) <= kFewAtOnce) {
    ForEachPiece<kFewAtOnce>(file, index, visit);
  } else {
    ForEachPiece<kAtOnce>(file, index, visit);
  }
}

// The same with `visit(record)` for each whose date isn't before `from`.
template <typename Visit>
void ForEachFrom(ZREventFile& file, const ZRDateTime& from, Visit visit) {
  const CInstant begin(from);
  ForEachPieceFrom(file, from, [&](std::span<const tagFields> records) {
    return std::all_of(records.begin(), records.end(), [&](const tagFields& each) {
      return begin.IsAfter(each.date) || visit(each);
    });
  });
}

// Goes back from `from` to an activation or a deactivation, whosever it is. False if there is none.
bool FindStepBefore(ZREventFile& file, const ZRDateTime& from) {
  ZRDateTime date;
  for (int i = file.SearchByTime(from, kFirstAtOrAfter); i >= 0; --i) {
    if (!file.GoRecord(i)) continue;
    file.DateValue(date);
    if (date >= from) continue;
    const int value = StepOf(file.EventValue());
    if (value == kActivated || value == kDeactivated) return true;
  }
  return false;
}

// Adds a record as a step of that event.
ZREventLoggerData::CDataRecord* AddStep(const tagFields& record, const ZREventDriver& event,
                                        ZREventLoggerData& data) {
  return data.RecordGroup().AddStep({event.Id(), record.id, ZRDateTime(record.date),
                                     StepOf(record.value), record.annotation, event.Notify()});
}

// The same with the current record of a file.
void AddCurrent(const ZREventFile& file, const ZREventDriver& event, ZREventLoggerData& data) {
  tagFields record{{}, file.DateValue(), file.EventValue(), file.EventAnnotationView()};
  file.EventId(record.id);
  (void)AddStep(record, event, data);
}

// Closes a file at the end of a step: nobody else has its lock then.
class CClosing {
 public:
  explicit CClosing(ZREventFile& toClose) : file(toClose) {}
  ~CClosing() { file.Close(); }
  CClosing(const CClosing&) = delete;
  CClosing& operator=(const CClosing&) = delete;

 private:
  ZREventFile& file;
};

// Finds the entries of a list. Made when the first one is looked for.
class CEntries {
 public:
  explicit CEntries(std::list<uuid>& toSearch) : list(toSearch) {}

  // Removes the first entry that is equal.
  void Remove(const uuid& id) {
    if (places.empty()) Prepare();
    const auto found = places.find(id);
    if (found == places.end() || found->second.empty()) return;
    list.erase(found->second.front());
    found->second.pop_front();
  }

 private:
  void Prepare() {
    places.reserve(list.size());
    for (auto entry = list.begin(); entry != list.end(); ++entry)
      places[*entry].push_back(entry);
  }

  std::list<uuid>& list;
  std::unordered_map<uuid, std::list<std::list<uuid>::iterator>> places;
};

void AppendElement(ZRString& xml, std::string_view tag, std::string_view text) {
  for (const std::string_view piece : {std::string_view("<"), tag, std::string_view(">"), text,
                                       std::string_view("</"), tag, std::string_view(">")})
    xml.Append(piece);
}

// A record as an element.
void AppendRecord(ZRString& xml, const tagFields& record) {
  ZRString escaped;
  ZRString date;
  std::array<char, kUuidTextLength + 1> idText{};
  guidtoc(record.id, idText.data());
  Text2Xml(escaped, ZRString(record.annotation));
  (void)DateTime2String(date, ZRDateTime(record.date), false, false);
  xml.Append("<record>");
  AppendElement(xml, "eventId", {idText.data(), kUuidTextLength});
  AppendElement(xml, "annotation", escaped.View());
  AppendElement(xml, "value", NameOf(StepOf(record.value)));
  AppendElement(xml, "date", date.View());
  xml.Append("</record>");
}

}  // namespace

bool ZREventDriver::Load(ZREventLoggerData& data, const ZRDateTime& from, const ZRDateTime& to,
                         bool searchBefore) {
  using tagWay = ZRLoggerIntake::tagWay;
  std::list<uuid> incomplete;
  bool isAnyLoaded = false;
  const auto load = [&](tagWay way) {
    if (searchBefore) (void)SearchActivationBeforePeriod(data, from);
    ZRLoggerIntake intake(data.RecordGroup(), id, notify, way);
    isAnyLoaded = Load(data.Reader(), intake, from, to);
    if (!intake.Finish()) return false;
    for (const auto* occurrence : intake.Incomplete())
      incomplete.push_back(occurrence->RecordId());
    return true;
  };
  if (!data.RecordGroup().IsNew()) {
    (void)load(tagWay::kLookForAll);
  } else if (!load(tagWay::kTrustOrder)) {
    data.RecordGroup().Reset();
    (void)load(tagWay::kLookForAll);
  }
  LoadBehind(data.Reader(), data, to, incomplete);
  return isAnyLoaded;
}

// The files of all months.
bool ZREventDriver::Load(ZREventFile& file, ZRLoggerIntake& intake, const ZRDateTime& from,
                         const ZRDateTime& to) {
  ZREventPath path;
  bool isAnyLoaded = false;
  ForEachMonth(from, to, [&](const ZRDateTime& month) {
    if (intake.IsWrong()) return;
    EventFileName(path.data(), kEventPathSize, month, kEventHistory);
    isAnyLoaded = Load(file, intake, from, to, path.data()) || isAnyLoaded;
  });
  return isAnyLoaded;
}

// The rest of the month of `to`, and one more month.
void ZREventDriver::LoadBehind(ZREventFile& file, ZREventLoggerData& data, const ZRDateTime& to,
                               std::list<uuid>& incomplete) {
  if (incomplete.empty()) return;
  ZREventPath path{};
  const ZRDateTime next = ZRHistoryMonth::Of(to).Next().Begin();
  for (const ZRDateTime& date : {to, next}) {
    if (incomplete.empty()) return;
    EventFileName(path.data(), kEventPathSize, date, kEventHistory);
    (void)LoadIncomplete(file, data, date, path.data(), incomplete);
  }
}

bool ZREventDriver::Load(ZREventLoggerData& data, const ZRDateTime& from, const ZRDateTime& to,
                         const wchar_t* fileName) {
  ZREventFile file(true);
  ZRLoggerIntake intake(data.RecordGroup(), id, notify, ZRLoggerIntake::tagWay::kLookForAll);
  const bool isLoaded = Load(file, intake, from, to, fileName);
  return intake.Finish() && isLoaded;
}

bool ZREventDriver::Load(ZREventFile& file, ZRLoggerIntake& intake, const ZRDateTime& from,
                         const ZRDateTime& to, const wchar_t* fileName) {
  const ZRMutexLock lock(fileMutex);
  if (!file.Open(fileName, true)) return false;
  const CClosing closing(file);
  const ZRLoggerIntake::tagPeriod period{from, to};
  ForEachPieceFrom(file, from,
                   [&](std::span<const tagFields> records) { return intake.Add(records, period); });
  return true;
}

bool ZREventDriver::SearchActivationBeforePeriod(ZREventLoggerData& data, const ZRDateTime& from) {
  const ZRHistoryMonth month = ZRHistoryMonth::Of(from);
  const ZRMutexLock lock(fileMutex);
  ZREventFile file(true);
  ZREventPath path{};
  for (const ZRDateTime& date : {month.Begin(), month.Before().Begin()}) {
    EventFileName(path.data(), kEventPathSize, date, kEventHistory);
    if (!file.Open(path.data(), true)) continue;
    const CClosing closing(file);
    if (!FindStepBefore(file, from)) continue;
    if (StepOf(file.EventValue()) == kActivated) AddCurrent(file, *this, data);
    return true;
  }
  return true;
}

bool ZREventDriver::LoadIncomplete(ZREventLoggerData& data, const ZRDateTime& from,
                                   const wchar_t* fileName, std::list<uuid>& incomplete) {
  ZREventFile file(true);
  return LoadIncomplete(file, data, from, fileName, incomplete);
}

bool ZREventDriver::LoadIncomplete(ZREventFile& file, ZREventLoggerData& data,
                                   const ZRDateTime& from, const wchar_t* fileName,
                                   std::list<uuid>& incomplete) {
  const ZRMutexLock lock(fileMutex);
  if (!file.Open(fileName, true)) return false;
  const CClosing closing(file);
  CEntries entries(incomplete);
  ForEachFrom(file, from, [&](const tagFields& read) {
    const int value = StepOf(read.value);
    if (value != kDeactivated && value != kAcknowledged) return true;
    const auto* const touched = AddStep(read, *this, data);
    if (touched == nullptr || touched->IsIncomplete()) return true;
    entries.Remove(touched->RecordId());
    return !incomplete.empty();
  });
  return true;
}

void ZREventDriver::LoadFileEvents(const ZRDateTime& from, const ZRDateTime& to,
                                   ZRHttpResponse& response) {
  ZREventFile file(true);
  ZREventPath path{};
  ZRString xml;
  const CInstant end(to);
  const ZRMutexLock lock(fileMutex);
  ForEachMonth(from, to, [&](const ZRDateTime& month) {
    EventFileName(path.data(), kEventPathSize, month, kEventHistory);
    if (!file.Open(path.data(), true)) return;
    ForEachFrom(file, from, [&](const tagFields& read) {
      if (!end.IsAfter(read.date)) return false;
      xml.Clear();
      AppendRecord(xml, read);
      response.Write(xml);
      return true;
    });
  });
}

void ZREventDriver::VisitRecords(const ZRDateTime& from, const ZRDateTime& to,
                                 const tagRecordVisitor& visit) {
  ZREventFile file(true);
  ZREventPath path{};
  const CInstant end(to);
  bool isWanted = true;
  ForEachMonth(from, to, [&](const ZRDateTime& month) {
    if (!isWanted) return;
    EventFileName(path.data(), kEventPathSize, month, kEventHistory);
    const ZRMutexLock lock(fileMutex);
    if (!file.Open(path.data(), true)) return;
    const CClosing closing(file);
    ForEachFrom(file, from, [&](const tagFields& read) {
      if (!end.IsAfter(read.date)) return false;
      isWanted = visit(ZRDateTime(read.date), StepOf(read.value));
      return isWanted;
    });
  });
}

// Without the lock, and without any December: both required.
int ZREventDriver::GetAbsoluteNumEvents(int percent) {
  const ZRDateTime last = ZRHistoryMonth::Of(ZRDateTime::UTC()).Begin();
  ZREventFile file(true);
  ZREventPath path{};
  std::uint32_t total = 0;
  for (ZRHistoryMonth month = kFirstToCount; month.Begin() <= last; month = month.NextToCount()) {
    EventFileName(path.data(), kEventPathSize, month.Begin(), kEventHistory);
    if (!file.Open(path.data(), false)) continue;
    total += static_cast<std::uint32_t>(file.numRecords);
    file.Close();
  }
  const auto product = static_cast<std::int32_t>(total * static_cast<std::uint32_t>(percent));
  return std::max(product / kPercent, 1);
}

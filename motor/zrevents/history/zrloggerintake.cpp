#include "zrevents/history/zrloggerintake.h"

#include <algorithm>
#include <functional>

#include "zrevents/history/zrloggerstore.h"
#include "zrevents/history/zrrecordgroup.h"
#include "zrevents/history/zrstep.h"
#include "zrevents/history/zrtwins.h"

namespace {

constexpr std::size_t kAhead = 24;  // records whose places in memory are on their way

}  // namespace

ZRLoggerIntake::ZRLoggerIntake(CRecordGroup& toFill, const uuid& event, bool isNotified, tagWay way)
    : group(toFill),
      eventId(event),
      notify(isNotified),
      first(toFill.store->Made()),
      trustsOrder(way == tagWay::kTrustOrder) {
  for (std::uint32_t number = 0; trustsOrder && number != first; ++number)
    hashes.push_back(std::hash<uuid>()(group.RecordIdOf(number)));
}

bool ZRLoggerIntake::Add(std::span<const ZREventFile::tagFields> toAdd, const tagPeriod& period) {
  const auto prefetch = [&](std::size_t i) {
    if (!trustsOrder && i < toAdd.size()) group.index.Prefetch(toAdd[i].id);
  };
  for (std::size_t i = 0; i < kAhead; ++i)
    prefetch(i);
  const CDataRecord::tagEvent* event = nullptr;
  for (std::size_t i = 0; i < toAdd.size() && !isWrong; ++i) {
    prefetch(i + kAhead);
    const ZREventFile::tagFields& record = toAdd[i];
    const ZRDateTime date(record.date);
    if (date < period.from) continue;
    if (date >= period.to) return false;
    const int value = StepOf(record.value);
    if (value == kActivated) {
      if (event == nullptr) event = &group.store->EventOf(eventId);
      Make(*event, record, date);
    } else if (CRecordGroup::IsLater(value)) {
      Put(record, date, value);
    }
  }
  return !isWrong;
}

inline void ZRLoggerIntake::Make(const CDataRecord::tagEvent& event,
                                 const ZREventFile::tagFields& activation, const ZRDateTime& date) {
  ++open;
  const CRecordGroup::tagTransition transition{activation.id, date, activation.annotation};
  if (trustsOrder) {
    hashes.push_back(std::hash<uuid>()(activation.id));
    (void)group.MakeApart(event, transition, notify);
  } else {
    (void)group.Make(event, transition, notify);
  }
}

inline void ZRLoggerIntake::Put(const ZREventFile::tagFields& step, const ZRDateTime& date,
                                int value) {
  const std::uint32_t number = NumberOf(step.id);
  if (number == CRecordGroup::kNone) return;
  CDataRecord& record = group.store->At(number);
  const bool wasOpen = record.IsIncomplete();
  (void)CRecordGroup::PutInto(record, date, value, group.store->Keep(step.annotation));
  if (number >= first) open += int{record.IsIncomplete()} - int{wasOpen};
}

inline std::uint32_t ZRLoggerIntake::NumberOf(const uuid& recordId) {
  if (trustsOrder) {
    const std::uint32_t made = group.store->Made();
    if (made == 0) return CRecordGroup::kNone;
    if (group.RecordIdOf(made - 1) == recordId) return made - 1;
    if (!StopTrusting()) return CRecordGroup::kNone;
  }
  return group.Find(recordId);
}

// False if it was wrong to do so.
bool ZRLoggerIntake::StopTrusting() {
  trustsOrder = false;
  isWrong = MayHaveTwins(hashes);
  decltype(hashes)().swap(hashes);
  return !isWrong;
}

bool ZRLoggerIntake::Finish() {
  return trustsOrder ? StopTrusting() : !isWrong;
}

std::vector<const ZRLoggerIntake::CDataRecord*> ZRLoggerIntake::Incomplete() const {
  return open == 0 && !HasOthers() ? std::vector<const CDataRecord*>()
                                   : group.IncompleteOf(eventId);
}

// Records of the event from before.
bool ZRLoggerIntake::HasOthers() const {
  const std::uint32_t place = group.lastRuns.Find(
      eventId, [this](std::uint32_t i) -> const uuid& { return group.EventIdOf(i); });
  if (place == CRecordGroup::kNone) return false;
  const CRecordGroup::tagRun& run = group.runs[place];
  return run.first < first || run.before != CRecordGroup::kNone;
}

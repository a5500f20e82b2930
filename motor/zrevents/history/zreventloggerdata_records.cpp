// The group of records: adding steps, and their order.

#include <algorithm>
#include <iterator>

#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/history/zrloggerstore.h"
#include "zrevents/history/zrrecordorder.h"
#include "zrevents/zreventstatus.h"

using CDataRecord = ZREventLoggerData::CDataRecord;
using CRecordGroup = ZREventLoggerData::CRecordGroup;

namespace {

std::uint32_t SecondsBetween(const ZRDateTime& from, const ZRDateTime& to) {
  return static_cast<std::uint32_t>((to - from).TotalSeconds());
}

}  // namespace

CRecordGroup::CRecordGroup(const ZREventLoggerInfo* toAsk)
    : info(toAsk), store(std::make_shared<ZRLoggerStore>()) {}

CRecordGroup::CRecordGroup(const CRecordGroup& other) : CRecordGroup(other.info) {}

CRecordGroup& CRecordGroup::operator=(const CRecordGroup& other) {
  if (this == &other) return *this;
  other.Settle();
  info = other.info;
  store = other.store;
  records = other.records;
  runs = other.runs;
  waitingRun = other.waitingRun;
  waitingNumber = other.waitingNumber;
  latest = other.latest;
  isAscending = true;
  runEvent = other.runEvent;
  literal = other.literal;
  cursor = other.cursor;
  index.Clear();
  lastRuns.Clear();
  for (std::uint32_t place = 0; place < runs.size(); ++place)
    Remember(place);
  return *this;
}

CRecordGroup::~CRecordGroup() = default;

// Enters a run and its records into the tables, as when they were added.
void CRecordGroup::Remember(std::uint32_t place) {
  const tagRun& run = runs[place];
  const auto recordIdOf = [this](std::uint32_t i) -> const uuid& { return RecordIdOf(i); };
  const auto eventIdOf = [this](std::uint32_t i) -> const uuid& { return EventIdOf(i); };
  const uuid& eventId = EventIdOf(place);
  if (lastRuns.FindOrAdd(eventId, place, eventIdOf) != kNone)
    lastRuns.Replace(eventId, place, eventIdOf);
  for (std::uint32_t number = run.first; number != run.end; ++number)
    (void)index.FindOrAdd(RecordIdOf(number), number, recordIdOf);
}

void CRecordGroup::Initialize(const ZREventLoggerInfo* toAsk) {
  info = toAsk;
  Settle();
  if (records.empty()) return;
  literal = true;
  cursor = kAtEnd;
}

void CRecordGroup::Reset() {
  *this = CRecordGroup(info);
}

CRecordGroup::const_iterator CRecordGroup::Begin() const {
  Settle();
  return records.begin();
}

CRecordGroup::const_iterator CRecordGroup::End() const {
  Settle();
  return records.end();
}

CDataRecord* CRecordGroup::AddRecord(const uuid& eventId, const uuid& recordId,
                                     const ZRDateTime& date, int value,
                                     const ZRBasicString<char>& annotation,
                                     const ZRBasicString<char>& /*reserved1*/,
                                     const ZRBasicString<char>& /*reserved2*/, bool notify) {
  return AddStep({eventId, recordId, date, value, annotation.View(), notify});
}

CDataRecord* CRecordGroup::AddStep(const tagStep& step) {
  switch (step.value) {
    case kActivated:
      return AddActivation(step);
    case kDeactivated:
      return AddDeactivation(step);
    case kAcknowledged:
      return AddAcknowledgement(step);
    default:
      return nullptr;
  }
}

CDataRecord* CRecordGroup::AddActivation(const tagStep& step) {
  const std::uint32_t number = store->Made();
  CDataRecord& record = store->Make(store->EventOf(step.eventId), step.recordId, step.date);
  if (!step.annotation.empty()) record.annotation = store->Keep(step.annotation);
  record.notify = step.notify;
  Extend(record, number);
  (void)index.FindOrAdd(step.recordId, number,
                        [this](std::uint32_t i) -> const uuid& { return RecordIdOf(i); });
  if (literal) InsertFromCursor(&record);
  return &record;
}

CDataRecord* CRecordGroup::AddDeactivation(const tagStep& step) {
  CDataRecord* const record = Find(step.recordId);
  if (record == nullptr) return nullptr;
  record->SetText(record->deaAnnotation, step.annotation);
  record->disableOffset = SecondsBetween(record->time, step.date);
  return record;
}

CDataRecord* CRecordGroup::AddAcknowledgement(const tagStep& step) {
  CDataRecord* const record = Find(step.recordId);
  if (record == nullptr || !record->time.Valid()) return nullptr;
  record->SetText(record->ackAnnotation, step.annotation);
  record->ackOffset = SecondsBetween(record->time, step.date);
  return record;
}

void CRecordGroup::Extend(const CDataRecord& record, std::uint32_t number) {
  const bool goesOn = !runs.empty() && runs.back().end == number && runEvent == record.event;
  if (goesOn) {
    ++runs.back().end;
  } else {
    BeginRun(number);
    runEvent = record.event;
  }
  isAscending = isAscending && (latest == nullptr || latest->time < record.time);
  latest = &record;
}

void CRecordGroup::BeginRun(std::uint32_t number) {
  const auto place = static_cast<std::uint32_t>(runs.size());
  const auto eventIdOf = [this](std::uint32_t i) -> const uuid& { return EventIdOf(i); };
  runs.push_back({number, number + 1, kNone});
  const uuid& eventId = EventIdOf(place);
  runs.back().before = lastRuns.FindOrAdd(eventId, place, eventIdOf);
  if (runs.back().before != kNone) lastRuns.Replace(eventId, place, eventIdOf);
}

// The walk forwards that gives the order its name; on a group that isn't in order it is the order.
void CRecordGroup::InsertFromCursor(CDataRecord* record) {
  auto place = records.cbegin();
  if (cursor != kAtEnd) {
    const auto last = place + static_cast<std::ptrdiff_t>(cursor);
    if (record->time >= (*last)->time) place = last;
    place = std::find_if(place, records.cend(),
                         [&](const CDataRecord* other) { return other->time >= record->time; });
  }
  cursor = static_cast<std::size_t>(records.insert(place, record) - records.begin());
  waitingRun = runs.size() - 1;
  waitingNumber = runs.back().end;
}

CDataRecord* CRecordGroup::Find(const uuid& recordId) const {
  const std::uint32_t number =
      index.Find(recordId, [this](std::uint32_t i) -> const uuid& { return RecordIdOf(i); });
  return number == kNone ? nullptr : &store->At(number);
}

const uuid& CRecordGroup::RecordIdOf(std::uint32_t number) const {
  return store->At(number).recordId;
}

const uuid& CRecordGroup::EventIdOf(std::uint32_t run) const {
  return store->At(runs[run].first).EventId();
}

std::vector<const CDataRecord*> CRecordGroup::IncompleteOf(const uuid& eventId) const {
  std::vector<const CDataRecord*> found;
  std::uint32_t place =
      lastRuns.Find(eventId, [this](std::uint32_t i) -> const uuid& { return EventIdOf(i); });
  for (; place != kNone; place = runs[place].before) {
    for (std::uint32_t number = runs[place].first; number != runs[place].end; ++number)
      if (store->At(number).IsIncomplete()) found.push_back(&store->At(number));
  }
  return found;
}

// What the walk would have made of it: ascending, and of equal times the later one in front. So the
// waiting records are looked at from the last to the first, and go in front of their equals.
void CRecordGroup::Settle() const {
  const std::size_t count = Waiting();
  if (count == 0) return;
  if (isAscending) {
    records.reserve(records.size() + count);
    ForEachWaiting([&](CDataRecord& record) { records.push_back(&record); });
  } else {
    Merge(count);
  }
  waitingRun = runs.size() - 1;
  waitingNumber = runs.back().end;
  latest = records.back();
  isAscending = true;
}

void CRecordGroup::Merge(std::size_t count) const {
  ZRDatedRecords dated(count);
  auto place = dated.rbegin();
  ForEachWaiting([&](CDataRecord& record) { *place++ = {TimeKey(record.time), &record}; });
  OrderByKey(dated);
  tagRecords added(count);
  std::transform(dated.begin(), dated.end(), added.begin(),
                 [](const ZRDatedRecord& each) { return each.record; });
  if (records.empty()) {
    records.swap(added);
    return;
  }
  tagRecords merged(records.size() + count);
  std::merge(added.begin(), added.end(), records.begin(), records.end(), merged.begin(),
             [](const CDataRecord* a, const CDataRecord* b) { return a->time < b->time; });
  records.swap(merged);
}

std::size_t CRecordGroup::Waiting() const {
  std::size_t count = 0;
  for (std::size_t run = waitingRun; run < runs.size(); ++run)
    count += runs[run].end - std::max(runs[run].first, waitingNumber);
  return count;
}

template <typename Visit>
void CRecordGroup::ForEachWaiting(Visit visit) const {
  for (std::size_t run = waitingRun; run < runs.size(); ++run)
    for (std::uint32_t i = std::max(runs[run].first, waitingNumber); i != runs[run].end; ++i)
      visit(store->At(i));
}

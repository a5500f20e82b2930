// The group of records: adding steps, and their order.

#include <algorithm>
#include <iterator>

#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/history/zrloggerstore.h"
#include "zrevents/history/zrrecordgroup.h"
#include "zrevents/history/zrrecordorder.h"

using CDataRecord = ZREventLoggerData::CDataRecord;
using CRecordGroup = ZREventLoggerData::CRecordGroup;

namespace {

constexpr std::uint32_t kAhead = 24;  // records whose places in memory are on their way

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
  waiting = 0;
  runs = other.runs;
  waitingRun = other.waitingRun;
  waitingNumber = other.waitingNumber;
  latest = other.latest;
  isAscending = true;
  runEvent = other.runEvent;
  literal = other.literal;
  cursor = other.cursor;
  index.Clear();
  notIndexed = 0;
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

// Enters the records that aren't in the index yet.
void CRecordGroup::Index() {
  const auto idOf = [this](std::uint32_t i) -> const uuid& { return RecordIdOf(i); };
  for (std::uint32_t number = 0; number != notIndexed; ++number) {
    if (number + kAhead < notIndexed) index.Prefetch(RecordIdOf(number + kAhead));
    (void)index.FindOrAdd(RecordIdOf(number), number, idOf);
  }
  notIndexed = 0;
}

void CRecordGroup::Initialize(const ZREventLoggerInfo* toAsk) {
  info = toAsk;
  Settle();
  if (records.empty()) return;
  literal = true;
  cursor = kAtEnd;
}

bool CRecordGroup::IsNew() const {
  return store->Made() == 0;
}

void CRecordGroup::Reset() {
  *this = CRecordGroup(info);
}

// NOLINTNEXTLINE(readability-function-size): its arguments are given
CDataRecord* CRecordGroup::AddRecord(const uuid& eventId, const uuid& recordId,
                                     const ZRDateTime& date, int value,
                                     const ZRBasicString<char>& annotation,
                                     const ZRBasicString<char>& /*reserved1*/,
                                     const ZRBasicString<char>& /*reserved2*/, bool notify) {
  return AddStep({eventId, recordId, date, value, annotation.View(), notify});
}

CDataRecord* CRecordGroup::AddStep(const tagStep& step) {
  const tagTransition transition{step.recordId, step.date, step.annotation};
  if (step.value != kActivated) return Put(transition, step.value);
  return &Make(store->EventOf(step.eventId), transition, step.notify);
}

CDataRecord* CRecordGroup::Put(const tagTransition& step, int value) {
  if (!IsLater(value)) return nullptr;
  const std::uint32_t number = Find(step.recordId);
  if (number == kNone) return nullptr;
  CDataRecord& record = store->At(number);
  return PutInto(record, step.date, value, store->Keep(step.annotation)) ? &record : nullptr;
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
  const auto inserted = records.insert(place, record);
  cursor = static_cast<std::size_t>(inserted - records.begin());
  waiting = 0;
  waitingRun = runs.size() - 1;
  waitingNumber = runs.back().end;
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
void CRecordGroup::PutInOrder() const {
  if (isAscending) {
    records.reserve(records.size() + waiting);
    ForEachWaiting([&](CDataRecord& record) { records.push_back(&record); });
  } else {
    Merge();
  }
  waiting = 0;
  waitingRun = runs.size() - 1;
  waitingNumber = runs.back().end;
  latest = TimeKey(records.back()->time);
  isAscending = true;
}

void CRecordGroup::Merge() const {
  ZRDatedRecords dated(waiting);
  auto place = dated.rbegin();
  ForEachWaiting([&](CDataRecord& record) { *place++ = {TimeKey(record.time), &record}; });
  OrderByKey(dated);
  tagRecords added(waiting);
  std::transform(dated.begin(), dated.end(), added.begin(),
                 [](const ZRDatedRecord& each) { return each.record; });
  if (records.empty()) {
    records.swap(added);
    return;
  }
  tagRecords merged(records.size() + waiting);
  std::merge(added.begin(), added.end(), records.begin(), records.end(), merged.begin(),
             [](const CDataRecord* a, const CDataRecord* b) { return a->time < b->time; });
  records.swap(merged);
}

template <typename Visit>
void CRecordGroup::ForEachWaiting(Visit visit) const {
  for (std::size_t run = waitingRun; run < runs.size(); ++run) {
    for (std::uint32_t i = std::max(runs[run].first, waitingNumber); i != runs[run].end; ++i)
      visit(store->At(i));
  }
}

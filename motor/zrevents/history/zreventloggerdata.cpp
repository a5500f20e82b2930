#include "zrevents/history/zreventloggerdata.h"

#include <cstring>
#include <utility>

#include "zrevents/history/zrloggerstore.h"
#include "zrevents/zreventdriver.h"

ZREventLoggerData::ZREventLoggerData()
    : info(std::make_shared<ZREventLoggerInfo>()),
      infoOfGroups(info),
      recordGroup(std::make_shared<CRecordGroup>(info.get())) {}

ZREventLoggerData::ZREventLoggerData(const ZREventLoggerData& other)
    : info(std::make_shared<ZREventLoggerInfo>(*other.info)),
      infoOfGroups(other.infoOfGroups),
      recordGroup(other.recordGroup),
      recordGroupTotalized(other.recordGroupTotalized) {}

ZREventLoggerData& ZREventLoggerData::operator=(const ZREventLoggerData& other) {
  if (this == &other) return *this;
  *info = *other.info;
  recordGroup = other.recordGroup;
  recordGroupTotalized = other.recordGroupTotalized;
  infoOfGroups = other.infoOfGroups;
  return *this;
}

ZREventLoggerData::~ZREventLoggerData() = default;

void ZREventLoggerData::Setup(const ZREventLoggerInfo& toAsk) {
  *info = toAsk;
  info->Lock();
}

bool ZREventLoggerData::SelectData(const ZRDateTime& from, const ZRDateTime& to,
                                   bool searchBefore) {
  recordGroup->Reset();
  recordGroupTotalized.reset();
  return Load(from, to, searchBefore);
}

ZREventFile& ZREventLoggerData::Reader() {
  if (reader == nullptr) reader = std::make_unique<ZREventFile>(true);
  return *reader;
}

bool ZREventLoggerData::Load(const ZRDateTime& from, const ZRDateTime& to, bool searchBefore) {
  constexpr int kAhead = 3;  // events that are on their way from the memory
  bool isWhole = true;
  auto ahead = info->EventsBegin();
  for (int i = 0; i < kAhead && ahead != info->EventsEnd(); ++i)
    ++ahead;
  for (auto event = info->EventsBegin(); event != info->EventsEnd(); ++event) {
    if (ahead != info->EventsEnd()) {
      if ((*ahead)->Driver() != nullptr) (*ahead)->Driver()->PrefetchHistory();
      ++ahead;
    }
    ZREventDriver* const driver = (*event)->Driver();
    isWhole = driver != nullptr && driver->Load(*this, from, to, searchBefore) && isWhole;
  }
  return isWhole;
}

ZREventLoggerData::CRecordGroup& ZREventLoggerData::RecordGroup() {
  return *recordGroup;
}

ZREventLoggerData::CRecordGroupTotalized& ZREventLoggerData::RecordGroupTotalized() {
  if (recordGroupTotalized == nullptr) {
    recordGroupTotalized = std::make_shared<CRecordGroupTotalized>(info.get());
    recordGroupTotalized->AddAll(*recordGroup);
  }
  return *recordGroupTotalized;
}

// NOLINTNEXTLINE(readability-function-size): its arguments are given
ZREventLoggerData::CDataRecord* ZREventLoggerData::AddRecord(
    const uuid& eventId, const uuid& recordId, const ZRDateTime& date, int value,
    const ZRBasicString<char>& annotation, const ZRBasicString<char>& reserved1,
    const ZRBasicString<char>& reserved2, bool notify) {
  return recordGroup->AddRecord(eventId, recordId, date, value, annotation, reserved1, reserved2,
                                notify);
}

// --- one occurrence ---

using CDataRecord = ZREventLoggerData::CDataRecord;

CDataRecord::CDataRecord(const uuid& eventId, const uuid& id, const ZRDateTime& activation)
    : recordId(id),
      time(activation),
      event(std::make_unique<tagEvent>(tagEvent{eventId}).release()) {}

CDataRecord::CDataRecord(const CDataRecord& other)
    : CDataRecord(other.EventId(), other.recordId, other.time) {
  CopyValues(other);
}

CDataRecord& CDataRecord::operator=(const CDataRecord& other) {
  if (this == &other) return *this;
  recordId = other.recordId;
  time = other.time;
  if (!IsAlone()) {
    event = &event->store->EventOf(other.EventId());
  } else if (EventId() != other.EventId()) {
    const std::unique_ptr<const tagEvent> old(event);
    event = std::make_unique<tagEvent>(tagEvent{other.EventId()}).release();
  }
  CopyValues(other);
  return *this;
}

void CDataRecord::CopyValues(const CDataRecord& other) {
  SetText(annotation, other.AnnotationView());
  SetText(ackAnnotation, other.AckAnnotationView());
  SetText(deaAnnotation, other.DeaAnnotationView());
  ackOffset = other.ackOffset;
  disableOffset = other.disableOffset;
  notify = other.notify;
}

void CDataRecord::SetText(tagText& text, std::string_view toSet) {
  if (!IsAlone()) {
    text = event->store->Keep(toSet);
    return;
  }
  const std::unique_ptr<const char[]> old(std::exchange(text, nullptr));
  if (toSet.empty()) return;
  const auto length = static_cast<std::uint32_t>(toSet.size());
  auto kept = std::make_unique<char[]>(sizeof length + toSet.size());
  std::memcpy(kept.get(), &length, sizeof length);
  std::memcpy(kept.get() + sizeof length, toSet.data(), toSet.size());
  text = kept.release();
}

void CDataRecord::Free() {
  for (const tagText text : {annotation, ackAnnotation, deaAnnotation})
    const std::unique_ptr<const char[]> old(text);
  const std::unique_ptr<const tagEvent> old(event);
}

// --- sums ---

bool ZREventLoggerData::CDataRecordTotalized::AddDataRecord(const CDataRecord* record) {
  if (record == nullptr || record->EventId() != eventId) return false;
  ++enableCount;
  if (record->DisableOffset() != kNoOffset) {
    ++disableCount;
    duration = static_cast<int>(static_cast<std::uint32_t>(duration) + record->DisableOffset());
  }
  if (notify && record->AckOffset() != kNoOffset) ++ackCount;
  return true;
}

using CRecordGroupTotalized = ZREventLoggerData::CRecordGroupTotalized;

CRecordGroupTotalized::CRecordGroupTotalized(const ZREventLoggerInfo* toAsk) : info(toAsk) {}

CRecordGroupTotalized::CRecordGroupTotalized(const CRecordGroupTotalized& other)
    : info(other.info) {}

CRecordGroupTotalized& CRecordGroupTotalized::operator=(const CRecordGroupTotalized& other) {
  if (this == &other) return *this;
  info = other.info;
  totals = other.totals;
  byEvent.Clear();
  const auto idOf = [this](std::uint32_t at) -> const uuid& { return totals[at]->EventId(); };
  for (std::uint32_t at = 0; at < totals.size(); ++at)
    (void)byEvent.FindOrAdd(totals[at]->EventId(), at, idOf);
  return *this;
}

CRecordGroupTotalized::~CRecordGroupTotalized() = default;

ZREventLoggerData::CDataRecordTotalized* CRecordGroupTotalized::AddRecord(CDataRecord* record) {
  if (record == nullptr) return nullptr;
  const auto idOf = [this](std::uint32_t at) -> const uuid& { return totals[at]->EventId(); };
  const auto next = static_cast<std::uint32_t>(totals.size());
  std::uint32_t place = byEvent.FindOrAdd(record->EventId(), next, idOf);
  if (place == ZRUuidTable::kNone) {
    place = next;
    totals.push_back(std::make_shared<CDataRecordTotalized>(record->EventId(), record->Notify()));
  }
  (void)totals[place]->AddDataRecord(record);
  return totals[place].get();
}

// The sums of events in no order.
class CRecordGroupTotalized::CSums {
 public:
  void Add(const CDataRecord& record) {
    if (record.event != event) Take(record.event);
    (void)sums[place].AddDataRecord(&record);
  }
  [[nodiscard]] std::size_t Size() const { return sums.size(); }
  [[nodiscard]] const CDataRecordTotalized& Of(const uuid& id) const {
    return sums[places.Find(id, [this](std::uint32_t at) -> const uuid& { return IdOf(at); })];
  }

 private:
  [[nodiscard]] const uuid& IdOf(std::uint32_t at) const { return sums[at].EventId(); }
  // Whose records come now.
  void Take(const CDataRecord::tagEvent* toTake) {
    event = toTake;
    const auto next = static_cast<std::uint32_t>(sums.size());
    place = places.FindOrAdd(event->id, next,
                             [this](std::uint32_t at) -> const uuid& { return IdOf(at); });
    if (place != ZRUuidTable::kNone) return;
    place = next;
    sums.emplace_back(event->id, true);
  }

  std::vector<CDataRecordTotalized> sums;
  ZRUuidTable places;
  const CDataRecord::tagEvent* event = nullptr;
  std::uint32_t place = 0;  // in `sums`, of the event
};

// The order of the records is that of their times, and in it they lie all over the memory. So the
// sums are made in the order of the memory; the other one only tells which event comes first, and
// is followed until each has come.
void CRecordGroupTotalized::AddAll(const CRecordGroup& group) {
  CSums sums;
  for (const CRecordGroup::tagRun& run : group.runs) {
    for (std::uint32_t number = run.first; number != run.end; ++number)
      sums.Add(group.store->At(number));
  }
  const auto idOf = [this](std::uint32_t at) -> const uuid& { return totals[at]->EventId(); };
  for (auto record = group.Begin(); totals.size() != sums.Size(); ++record) {
    const uuid& id = (*record)->EventId();
    const auto next = static_cast<std::uint32_t>(totals.size());
    if (byEvent.FindOrAdd(id, next, idOf) != ZRUuidTable::kNone) continue;
    totals.push_back(std::make_shared<CDataRecordTotalized>(sums.Of(id)));
    totals.back()->SetNotify((*record)->Notify());
  }
}

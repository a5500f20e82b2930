// The inside of a group of records that its own code and the intake share.
#pragma once

#include "zrevents/history/zreventloggerdata.h"
#include "zrevents/history/zrloggerstore.h"
#include "zrevents/history/zrrecordorder.h"
#include "zrevents/zreventstatus.h"

inline ZREventLoggerData::CDataRecord& ZREventLoggerData::CRecordGroup::Make(
    const CDataRecord::tagEvent& event, const tagTransition& activation, bool notify) {
  if (notIndexed != 0) Index();
  const std::uint32_t number = store->Made();
  CDataRecord& record = MakeApart(event, activation, notify);
  (void)index.FindOrAdd(activation.recordId, number,
                        [this](std::uint32_t i) -> const uuid& { return RecordIdOf(i); });
  notIndexed = 0;
  return record;
}

inline ZREventLoggerData::CDataRecord& ZREventLoggerData::CRecordGroup::MakeApart(
    const CDataRecord::tagEvent& event, const tagTransition& activation, bool notify) {
  const std::uint32_t number = store->Made();
  CDataRecord& record = store->Make(event, activation.recordId, activation.date);
  record.annotation = store->Keep(activation.annotation);
  record.notify = notify;
  Extend(record, number);
  if (literal) InsertFromCursor(&record);
  notIndexed = number + 1;
  return record;
}

inline void ZREventLoggerData::CRecordGroup::Extend(const CDataRecord& record,
                                                    std::uint32_t number) {
  const bool goesOn = !runs.empty() && runs.back().end == number && runEvent == record.event;
  if (goesOn) {
    ++runs.back().end;
  } else {
    BeginRun(number);
    runEvent = record.event;
  }
  const std::uint64_t key = TimeKey(record.time);
  isAscending = isAscending && latest < key;
  latest = key;
  ++waiting;
}

inline bool ZREventLoggerData::CRecordGroup::IsLater(int value) {
  return value == kDeactivated || value == kAcknowledged;
}

inline bool ZREventLoggerData::CRecordGroup::PutInto(CDataRecord& record, const ZRDateTime& date,
                                                     int value, CDataRecord::tagText annotation) {
  const bool isDeactivation = value == kDeactivated;
  if (!isDeactivation && !record.time.Valid()) return false;
  (isDeactivation ? record.deaAnnotation : record.ackAnnotation) = annotation;
  (isDeactivation ? record.disableOffset : record.ackOffset) =
      static_cast<std::uint32_t>((date - record.time).TotalSeconds());
  return true;
}

inline std::uint32_t ZREventLoggerData::CRecordGroup::Find(const uuid& recordId) {
  if (notIndexed != 0) Index();
  return index.Find(recordId, [this](std::uint32_t i) -> const uuid& { return RecordIdOf(i); });
}

inline const uuid& ZREventLoggerData::CRecordGroup::RecordIdOf(std::uint32_t number) const {
  return store->At(number).recordId;
}

inline const uuid& ZREventLoggerData::CRecordGroup::EventIdOf(std::uint32_t run) const {
  return store->At(runs[run].first).EventId();
}

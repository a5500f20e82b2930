// The order of records by their time.
#pragma once

#include <cstdint>
#include <vector>

#include "host/platform/zrlargememory.h"
#include "zrevents/history/zreventloggerdata.h"

struct ZRDatedRecord {
  std::uint64_t key;  // any number that grows with the time
  ZREventLoggerData::CDataRecord* record;
};
using ZRDatedRecords = std::vector<ZRDatedRecord, ZRLargeAllocator<ZRDatedRecord>>;

// Grows with the time; an invalid one comes before all others.
[[nodiscard]] inline std::uint64_t TimeKey(const ZRDateTime& time) {
  constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
  return time.Valid() ? static_cast<std::uint64_t>(time.UtcMilliseconds()) ^ kSign : 0;
}

// Puts the records in ascending order of their keys; what has the same key keeps its order. Takes
// a time in proportion to the number of records.
void OrderByKey(ZRDatedRecords& records);

// How the files of an event fill a group of records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/platform/zrlargememory.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zruuid.h"
#include "zrevents/history/zreventloggerdata.h"

// Adds many steps of one event, as CRecordGroup::AddStep does one by one, but nobody is told their
// results. Nothing else is added to the group meanwhile.
//
// Most steps belong to the activation right before them. As long as all do, none is looked for
// among the others: it is enough to find out in the end that no two activations have the same id,
// which is a small part of the work.
//
// Threads   that of the group.
// Owns      nothing.
class ZRLoggerIntake {
 public:
  using CRecordGroup = ZREventLoggerData::CRecordGroup;
  using CDataRecord = ZREventLoggerData::CDataRecord;

  enum class tagWay {
    kLookForAll,
    // Not into a group with many records, and not into one that shares them with another one.
    kTrustOrder,
  };
  ZRLoggerIntake(CRecordGroup& toFill, const uuid& event, bool isNotified, tagWay way);

  struct tagPeriod {
    ZRDateTime from;
    ZRDateTime to;  // the first instant behind it
  };
  // Adds records of a data file, one behind the other: those that aren't before the period, until
  // the first one that is behind it. False if no more are wanted.
  bool Add(std::span<const ZREventFile::tagFields> toAdd, const tagPeriod& period);
  // No more are wanted: Finish will be false.
  [[nodiscard]] bool IsWrong() const { return isWrong; }
  // False if the order wasn't to be trusted, and steps may be in a wrong record: then the group is
  // of no use, and a new one must be filled with kLookForAll.
  [[nodiscard]] bool Finish();
  // IncompleteOf that event, after Finish.
  [[nodiscard]] std::vector<const CDataRecord*> Incomplete() const;

 private:
  void Make(const CDataRecord::tagEvent& event, const ZREventFile::tagFields& activation,
            const ZRDateTime& date);
  void Put(const ZREventFile::tagFields& step, const ZRDateTime& date, int value);
  [[nodiscard]] std::uint32_t NumberOf(const uuid& recordId);
  [[nodiscard]] bool StopTrusting();
  [[nodiscard]] bool HasOthers() const;

  CRecordGroup& group;
  const uuid& eventId;
  const bool notify;
  const std::uint32_t first;  // the number of the first record that is made here
  std::int64_t open = 0;      // so many of those are incomplete
  bool trustsOrder;
  bool isWrong = false;
  // Of the records' ids, while the order is trusted.
  std::vector<std::uint64_t, ZRLargeAllocator<std::uint64_t>> hashes;
};

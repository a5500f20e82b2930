// A question to the history and its answer: the steps of occurrences, put together again.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <string_view>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "host/platform/zrlargememory.h"
#include "host/tools/zrbasicstring.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zruuid.h"
#include "zrevents/history/zreventloggerinfo.h"
#include "zrevents/history/zruuidtable.h"
#include "zrevents/zreventsexport.h"

class ZRLoggerStore;

// The order of a question: fill a ZREventLoggerInfo, Setup, SelectData once, then read
// RecordGroup() or RecordGroupTotalized().
//
// Threads   the one that made it; copies stay on it too.
// Owns      a copy of the info, the records and the totals. A copy shares the last two with its
//           source, and either may go first.
class ZREVENTS_API ZREventLoggerData {
 public:
  class CDataRecord;
  class CRecordGroup;
  class CDataRecordTotalized;
  class CRecordGroupTotalized;

  // An offset of something that hasn't happened.
  static constexpr std::uint32_t kNoOffset = 0xFFFFFFFFu;

  // What became of an occurrence at one date, as a data file tells it.
  struct tagStep {
    const uuid& eventId;
    const uuid& recordId;
    const ZRDateTime& date;  // UTC
    int value;               // kActivated, kDeactivated or kAcknowledged
    std::string_view annotation;
    bool notify;
  };

  ZREventLoggerData();
  ZREventLoggerData(const ZREventLoggerData& other);
  ZREventLoggerData& operator=(const ZREventLoggerData& other);
  virtual ~ZREventLoggerData();

  // Takes over the events asked for, and locks them: those that don't exist drop out.
  virtual void Setup(const ZREventLoggerInfo& toAsk);
  // Loads every event of Info() in turn, also after a failure. True if all could be loaded, and
  // for no event at all.
  virtual bool Load(const ZRDateTime& from, const ZRDateTime& to, bool searchBefore);

  // What happened from `from` until before `to`, UTC. With `searchBefore` also what was going on
  // at `from`. False if an event gave nothing; the others are there nevertheless. One selection
  // for each object.
  bool SelectData(const ZRDateTime& from, const ZRDateTime& to, bool searchBefore);

  [[nodiscard]] CRecordGroup& RecordGroup();
  // Summed up when it is asked for the first time after a selection.
  [[nodiscard]] CRecordGroupTotalized& RecordGroupTotalized();
  [[nodiscard]] const ZREventLoggerInfo& Info() const { return *info; }

  // As CRecordGroup::AddRecord.
  CDataRecord* AddRecord(const uuid& eventId, const uuid& recordId, const ZRDateTime& date,
                         int value, const ZRBasicString<char>& annotation,
                         const ZRBasicString<char>& reserved1, const ZRBasicString<char>& reserved2,
                         bool notify);

 private:
  friend class ZREventDriver;
  // Reads the files of all events, one after the other; closed in between.
  [[nodiscard]] ZREventFile& Reader();

  std::unique_ptr<ZREventFile> reader;  // null before the first one
  std::shared_ptr<ZREventLoggerInfo> info;
  std::shared_ptr<const ZREventLoggerInfo> infoOfGroups;  // the one they point to
  std::shared_ptr<CRecordGroup> recordGroup;
  std::shared_ptr<CRecordGroupTotalized> recordGroupTotalized;  // null until asked for
};

// One occurrence. A copy is a value of its own, whatever becomes of the group.
class ZREVENTS_API ZREventLoggerData::CDataRecord {
 public:
  CDataRecord(const uuid& eventId, const uuid& recordId, const ZRDateTime& activation);
  CDataRecord(const CDataRecord& other);
  CDataRecord& operator=(const CDataRecord& other);
  ~CDataRecord() {
    if (IsAlone()) Free();
  }

  [[nodiscard]] const uuid& EventId() const { return event->id; }
  [[nodiscard]] const uuid& RecordId() const { return recordId; }
  [[nodiscard]] const ZRDateTime& Time() const { return time; }  // of the activation, UTC

  // UTF-8, as it was stored: the first escaped for XML, the other two plain, and empty until the
  // step is there.
  [[nodiscard]] ZRString Annotation() const { return ZRString(AnnotationView()); }
  [[nodiscard]] ZRString AckAnnotation() const { return ZRString(AckAnnotationView()); }
  [[nodiscard]] ZRString DeaAnnotation() const { return ZRString(DeaAnnotationView()); }
  void SetAnnotation(const ZRBasicString<char>& text) { SetText(annotation, text.View()); }
  void SetAckAnnotation(const ZRBasicString<char>& text) { SetText(ackAnnotation, text.View()); }
  void SetDeaAnnotation(const ZRBasicString<char>& text) { SetText(deaAnnotation, text.View()); }
  // The same without a copy, until the text is set or the record goes.
  [[nodiscard]] std::string_view AnnotationView() const { return ViewOf(annotation); }
  [[nodiscard]] std::string_view AckAnnotationView() const { return ViewOf(ackAnnotation); }
  [[nodiscard]] std::string_view DeaAnnotationView() const { return ViewOf(deaAnnotation); }

  // Whole seconds from the activation; kNoOffset until the step is there.
  [[nodiscard]] std::uint32_t AckOffset() const { return ackOffset; }
  [[nodiscard]] std::uint32_t DisableOffset() const { return disableOffset; }
  void SetAckOffset(std::uint32_t seconds) { ackOffset = seconds; }
  void SetDisableOffset(std::uint32_t seconds) { disableOffset = seconds; }

  // The event owes an acknowledgement.
  [[nodiscard]] bool Notify() const { return notify; }
  void SetNotify(bool toSet) { notify = toSet; }

  // Something is still to come.
  [[nodiscard]] bool IsIncomplete() const {
    return disableOffset == kNoOffset || (notify && ackOffset == kNoOffset);
  }

 private:
  friend class CRecordGroup;
  friend class CRecordGroupTotalized;
  friend class ZRLoggerIntake;
  friend class ZRLoggerStore;
  // What the records of one event share.
  struct tagEvent {
    uuid id;
    ZRLoggerStore* store = nullptr;  // keeps the texts; null for a record alone, which owns them
  };
  // A text with its length in front of it; null is the empty one.
  using tagText = const char*;

  CDataRecord(const tagEvent& ofGroup, const uuid& id, const ZRDateTime& activation)
      : recordId(id), time(activation), event(&ofGroup) {}

  [[nodiscard]] bool IsAlone() const { return event->store == nullptr; }
  [[nodiscard]] static std::string_view ViewOf(tagText text) {
    if (text == nullptr) return {};
    std::uint32_t length = 0;
    std::memcpy(&length, text, sizeof length);
    return {text + sizeof length, length};
  }
  void SetText(tagText& text, std::string_view toSet);
  void CopyValues(const CDataRecord& other);
  void Free();

  uuid recordId;
  ZRDateTime time;
  const tagEvent* event;
  tagText annotation = nullptr;
  tagText ackAnnotation = nullptr;
  tagText deaAnnotation = nullptr;
  std::uint32_t ackOffset = kNoOffset;
  std::uint32_t disableOffset = kNoOffset;
  bool notify = false;
};

// Occurrences, ascending by time; of equal times the one that was added later comes first.
//
// Owns      the records. The copy constructor makes an empty group; an assignment shares the
//           records of its source, which live as long as either group.
class ZREVENTS_API ZREventLoggerData::CRecordGroup {
 public:
  using tagRecords = std::vector<CDataRecord*, ZRLargeAllocator<CDataRecord*>>;
  using const_iterator = tagRecords::const_iterator;

  explicit CRecordGroup(const ZREventLoggerInfo* toAsk);
  CRecordGroup(const CRecordGroup& other);
  CRecordGroup& operator=(const CRecordGroup& other);
  ~CRecordGroup();

  // On a group with records: the next one goes to the head, whatever its time, and from there on
  // each finds its place from the last one forwards, or from the head if that one is later.
  void Initialize(const ZREventLoggerInfo* toAsk);
  void Reset();

  // It has no record, and shares none with another one.
  [[nodiscard]] bool IsNew() const;

  // Good until the next AddRecord, Initialize or Reset.
  [[nodiscard]] const_iterator Begin() const {
    Settle();
    return records.begin();
  }
  [[nodiscard]] const_iterator End() const {
    Settle();
    return records.end();
  }
  [[nodiscard]] const ZREventLoggerInfo& Info() const { return *info; }

  // An activation makes a record. A deactivation or acknowledgement is put into the record of its
  // activation, over what was there; null if that isn't here, for an acknowledgement of a record
  // without a valid time, and for any other value. The reserved texts aren't looked at.
  CDataRecord* AddRecord(const uuid& eventId, const uuid& recordId, const ZRDateTime& date,
                         int value, const ZRBasicString<char>& annotation,
                         const ZRBasicString<char>& reserved1, const ZRBasicString<char>& reserved2,
                         bool notify);
  CDataRecord* AddStep(const tagStep& step);

  // The records of one event that are incomplete, each once, in the order of their adding.
  [[nodiscard]] std::vector<const CDataRecord*> IncompleteOf(const uuid& eventId) const;

 private:
  friend class CRecordGroupTotalized;
  friend class ZRLoggerIntake;
  // Records of one event that were added one behind the other, by their numbers in the store.
  struct tagRun {
    std::uint32_t first;
    std::uint32_t end;
    std::uint32_t before;  // the run of the same event before it, or kNone
  };
  static constexpr std::uint32_t kNone = ZRUuidTable::kNone;
  static constexpr std::size_t kAtEnd = static_cast<std::size_t>(-1);

  // A transition without its event.
  struct tagTransition {
    const uuid& recordId;
    const ZRDateTime& date;
    std::string_view annotation;
  };
  CDataRecord& Make(const CDataRecord::tagEvent& event, const tagTransition& activation,
                    bool notify);
  // The same without an entry in the index.
  CDataRecord& MakeApart(const CDataRecord::tagEvent& event, const tagTransition& activation,
                         bool notify);
  // Puts a later step into the record of its activation; null if it doesn't belong there.
  CDataRecord* Put(const tagTransition& step, int value);
  [[nodiscard]] static bool IsLater(int value);
  [[nodiscard]] static bool PutInto(CDataRecord& record, const ZRDateTime& date, int value,
                                    CDataRecord::tagText annotation);
  void Extend(const CDataRecord& record, std::uint32_t number);
  void BeginRun(std::uint32_t number);
  void Remember(std::uint32_t place);
  void InsertFromCursor(CDataRecord* record);
  // Puts in order what was added since somebody looked.
  void Settle() const {
    if (waiting != 0) PutInOrder();
  }
  void PutInOrder() const;
  void Merge() const;
  template <typename Visit>
  void ForEachWaiting(Visit visit) const;
  [[nodiscard]] std::uint32_t Find(const uuid& recordId);
  void Index();
  [[nodiscard]] const uuid& RecordIdOf(std::uint32_t number) const;
  [[nodiscard]] const uuid& EventIdOf(std::uint32_t run) const;

  const ZREventLoggerInfo* info;
  std::shared_ptr<ZRLoggerStore> store;
  ZRUuidTable index;             // numbers of records,
  std::uint32_t notIndexed = 0;  // of which those before this one may be missing
  std::vector<tagRun> runs;
  ZRUuidTable lastRuns;                             // of each event, places in `runs`
  const CDataRecord::tagEvent* runEvent = nullptr;  // of the last run
  mutable tagRecords records;
  // What isn't in `records` yet: so many, from this run on, and of it from this number on.
  mutable std::size_t waiting = 0;
  mutable std::size_t waitingRun = 0;
  mutable std::uint32_t waitingNumber = 0;
  // What waits is in ascending order, and behind all that doesn't. `latest` is the key of the time
  // that was added, or put in order, last; 0 before the first.
  mutable bool isAscending = true;
  mutable std::uint64_t latest = 0;
  bool literal = false;         // after an Initialize of a group with records
  std::size_t cursor = kAtEnd;  // the last insertion, while `literal`
};

// Sums of one event.
class ZREVENTS_API ZREventLoggerData::CDataRecordTotalized {
 public:
  CDataRecordTotalized(const uuid& toSum, bool isNotified) : eventId(toSum), notify(isNotified) {}

  // False, with nothing added, for null and for a record of another event.
  bool AddDataRecord(const CDataRecord* record);

  [[nodiscard]] const uuid& EventId() const { return eventId; }
  // Seconds that its occurrences took; one that still runs adds nothing.
  [[nodiscard]] int Duration() const { return duration; }
  [[nodiscard]] int EnableCount() const { return enableCount; }
  [[nodiscard]] int DisableCount() const { return disableCount; }
  // Always 0 for an event that isn't notified.
  [[nodiscard]] int AckCount() const { return ackCount; }
  [[nodiscard]] bool Notify() const { return notify; }

 private:
  friend class CRecordGroupTotalized;
  // What would have been summed up for an event that is notified, or isn't; before, it was.
  void SetNotify(bool isNotified) {
    notify = isNotified;
    if (!notify) ackCount = 0;
  }

  uuid eventId;
  int duration = 0;
  int enableCount = 0;
  int disableCount = 0;
  int ackCount = 0;
  bool notify;
};

// Sums of each event, in the order in which they were first met.
//
// Owns      the sums. Copies and assignments are as those of CRecordGroup.
class ZREVENTS_API ZREventLoggerData::CRecordGroupTotalized {
 public:
  using tagTotals = std::vector<std::shared_ptr<CDataRecordTotalized>>;
  // Walks the sums as plain pointers.
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = CDataRecordTotalized*;
    using difference_type = std::ptrdiff_t;
    using pointer = CDataRecordTotalized* const*;
    using reference = CDataRecordTotalized*;

    const_iterator() = default;
    explicit const_iterator(tagTotals::const_iterator first) : at(first) {}
    CDataRecordTotalized* operator*() const { return at->get(); }
    const_iterator& operator++() {
      ++at;
      return *this;
    }
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++*this;
      return before;
    }
    bool operator==(const const_iterator&) const = default;

   private:
    tagTotals::const_iterator at{};
  };

  explicit CRecordGroupTotalized(const ZREventLoggerInfo* toAsk);
  CRecordGroupTotalized(const CRecordGroupTotalized& other);
  CRecordGroupTotalized& operator=(const CRecordGroupTotalized& other);
  ~CRecordGroupTotalized();

  void Initialize(const ZREventLoggerInfo* toAsk) { info = toAsk; }

  [[nodiscard]] const_iterator Begin() const { return const_iterator(totals.begin()); }
  [[nodiscard]] const_iterator End() const { return const_iterator(totals.end()); }
  [[nodiscard]] const ZREventLoggerInfo& Info() const { return *info; }

  // Adds a record to the sums of its event, and gives these; null for null.
  CDataRecordTotalized* AddRecord(CDataRecord* record);
  // Adds all records of a group in their order. Nothing has been added before.
  void AddAll(const CRecordGroup& group);

 private:
  class CSums;

  const ZREventLoggerInfo* info;
  tagTotals totals;
  ZRUuidTable byEvent;  // places in `totals`
};

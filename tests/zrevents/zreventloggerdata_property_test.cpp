// The rules of a group of records, written down as they are said, beside the group.

#include <array>
#include <deque>
#include <list>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "support/text.h"
#include "zrevents/history/zrloggerintake.h"
#include "zrevents/loggerrecords.h"

namespace {

// A list, a cursor and a map: what the group promises to behave like.
class CLiteral {
 public:
  struct tagRecord {
    uuid event, id;
    ZRDateTime time;
    std::string annotation, ackAnnotation, deaAnnotation;
    std::uint32_t ack = kNever, disable = kNever;
    bool notify = false;

    [[nodiscard]] std::string Text() const {
      return Narrow(event.toWString()) + Narrow(id.toWString()) + Narrow(time.ToCompleteWString()) +
             "|" + annotation + "|" + ackAnnotation + "|" + deaAnnotation + "|" +
             std::to_string(ack) + "|" + std::to_string(disable) + (notify ? "n" : "");
    }
  };

  void Initialize() { cursor = records.end(); }
  bool Add(const ZREventLoggerData::tagStep& step) {
    if (step.value == 1) return Activate(step);
    const auto found = index.find(step.recordId);
    if (found == index.end()) return false;
    tagRecord& record = *found->second;
    const auto seconds = static_cast<std::uint32_t>((step.date - record.time).TotalSeconds());
    if (step.value == 2) {
      record.deaAnnotation = step.annotation;
      record.disable = seconds;
      return true;
    }
    if (step.value != 4 || !record.time.Valid()) return false;
    record.ackAnnotation = step.annotation;
    record.ack = seconds;
    return true;
  }
  [[nodiscard]] std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const tagRecord& record : records)
      texts.push_back(record.Text());
    return texts;
  }
  [[nodiscard]] std::multiset<uuid> Incomplete(const uuid& event) const {
    std::multiset<uuid> ids;
    for (const tagRecord& record : records)
      if (record.event == event &&
          (record.disable == kNever || (record.notify && record.ack == kNever)))
        ids.insert(record.id);
    return ids;
  }

 private:
  bool Activate(const ZREventLoggerData::tagStep& step) {
    auto place = records.begin();
    if (cursor != records.end()) {
      if (step.date >= cursor->time) place = cursor;
      while (place != records.end() && place->time < step.date)
        ++place;
    }
    tagRecord made{step.eventId, step.recordId, step.date, std::string(step.annotation), "", ""};
    made.notify = step.notify;
    cursor = records.insert(place, made);
    index.emplace(step.recordId, cursor);
    return true;
  }

  std::list<tagRecord> records;
  std::list<tagRecord>::iterator cursor = records.end();
  std::map<uuid, std::list<tagRecord>::iterator> index;
};

std::vector<std::string> Texts(const CRecordGroup& group) {
  std::vector<std::string> texts;
  for (auto at = group.Begin(); at != group.End(); ++at) {
    const CDataRecord& record = **at;
    texts.push_back(CLiteral::tagRecord{record.EventId(), record.RecordId(), record.Time(),
                                        Str(record.Annotation()), Str(record.AckAnnotation()),
                                        Str(record.DeaAnnotation()), record.AckOffset(),
                                        record.DisableOffset(), record.Notify()}
                        .Text());
  }
  return texts;
}

// A series of steps as files give them, more or less: times go on, back, and stand still.
class LoggerProperty : public ::testing::TestWithParam<int> {
 protected:
  void Round() {
    const int steps = static_cast<int>(random() % 120);
    for (int i = 0; i < steps; ++i)
      Step();
    Compare();
  }
  void Step() {
    const unsigned kind = Below(200);
    if (kind == 0) {
      Compare();
      group.Initialize(&info);
      literal.Initialize();
    } else if (kind < 4) {
      Compare();
    } else if (kind < 14) {
      event = static_cast<int>(Below(4));
      second = Below(2) == 0 ? 0 : static_cast<int>(Below(30));
    } else if (kind < 24) {
      Compare();
      Intake();
    } else {
      AddOne();
    }
  }
  void AddOne() {
    const auto [id, date, value, text, notify] = Draw();
    const ZREventLoggerData::tagStep step{Event(event), id, date, value, text, notify};
    EXPECT_EQ(group.AddStep(step) != nullptr, literal.Add(step));
  }
  void Intake() {
    const uuid of = Event(event);
    ZRLoggerIntake intake(group, of, true, ZRLoggerIntake::tagWay::kLookForAll);
    const ZRLoggerIntake::tagPeriod always{ZRDateTime(), At(1e9)};
    for (unsigned left = Below(12); left > 0; --left) {
      std::deque<std::string> texts;
      std::vector<ZREventFile::tagFields> records;
      for (unsigned some = Below(60); some > 0; --some) {
        const auto [id, date, value, text, notify] = Draw();
        const double stored = date.Valid() ? static_cast<double>(date) : std::nan("");
        records.push_back({id, stored, static_cast<double>(value), texts.emplace_back(text)});
        (void)literal.Add({of, id, ZRDateTime(records.back().date), value, text, true});
      }
      ASSERT_TRUE(intake.Add(records, always));
    }
    ASSERT_TRUE(intake.Finish());
    std::multiset<uuid> ids;
    for (const CDataRecord* record : intake.Incomplete())
      ids.insert(record->RecordId());
    ASSERT_EQ(ids, literal.Incomplete(of));
  }
  using tagSums = std::tuple<uuid, int, int, int, int, bool>;
  static std::vector<tagSums> Sums(const CRecordGroupTotalized& totals) {
    std::vector<tagSums> all;
    for (auto each = totals.Begin(); each != totals.End(); ++each)
      all.emplace_back((*each)->EventId(), (*each)->Duration(), (*each)->EnableCount(),
                       (*each)->DisableCount(), (*each)->AckCount(), (*each)->Notify());
    return all;
  }
  void CompareTotals() {
    CRecordGroupTotalized atOnce(&info);
    CRecordGroupTotalized oneByOne(&info);
    atOnce.AddAll(group);
    for (auto record = group.Begin(); record != group.End(); ++record)
      (void)oneByOne.AddRecord(*record);
    ASSERT_EQ(Sums(atOnce), Sums(oneByOne));
  }
  void Compare() {
    ASSERT_EQ(Texts(group), literal.Texts());
    CompareTotals();
    for (int each = 0; each < 4; ++each) {
      std::multiset<uuid> ids;
      for (const CDataRecord* record : group.IncompleteOf(Event(each)))
        ids.insert(record->RecordId());
      ASSERT_EQ(ids, literal.Incomplete(Event(each)));
    }
  }

 private:
  struct tagDrawn {
    uuid id;
    ZRDateTime date;
    int value;
    std::string text;
    bool notify;
  };
  unsigned Below(unsigned limit) { return static_cast<unsigned>(random() % limit); }
  tagDrawn Draw() {
    static constexpr std::array<int, 8> kValues = {1, 1, 1, 1, 2, 2, 4, 7};
    second += static_cast<int>(Below(3)) - (Below(20) == 0 ? 10 : 0);
    return {Id(static_cast<int>(Below(60))), Below(50) == 0 ? ZRDateTime() : At(second),
            kValues.at(Below(8)), Below(5) == 0 ? "" : "text " + std::to_string(Below(1000)),
            Below(2) == 0};
  }

  std::mt19937 random{static_cast<unsigned>(GetParam())};
  ZREventLoggerInfo info;
  CRecordGroup group{&info};
  CLiteral literal;
  int event = 0;
  int second = 0;
};

TEST_P(LoggerProperty, GroupIsWhatAListWithACursorAndAMapWouldBe) {
  ASSERT_NO_FATAL_FAILURE(Round());
}

INSTANTIATE_TEST_SUITE_P(Seeds, LoggerProperty, ::testing::Range(0, 200));

TEST_F(LoggerRecords, ManyOfThemAreFoundAndOrderedTheSame) {
  constexpr int kMany = 3000;
  CLiteral literal;
  std::mt19937 random(5);
  for (int i = 0; i < kMany; ++i) {
    const uuid id = Id(i);
    const ZRDateTime date = At(static_cast<double>(random() % 1'000'000'000));
    const ZREventLoggerData::tagStep on{Event(1), id, date, kActivated, "some text", false};
    (void)group.AddStep(on);
    (void)literal.Add(on);
  }
  for (int i = 0; i < kMany; ++i) {
    const uuid id = Id(i);
    const ZREventLoggerData::tagStep off{Event(1), id, At(2e9), kDeactivated, "end", false};
    ASSERT_NE(group.AddStep(off), nullptr);
    (void)literal.Add(off);
  }
  EXPECT_EQ(Texts(group), literal.Texts());
}

}  // namespace

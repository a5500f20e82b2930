#include "zrevents/history/zreventloggerdata.h"

#include <gtest/gtest.h>

#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/text.h"
#include "zrevents/loggerrecords.h"

namespace {

// --- one occurrence ---

TEST(LoggerDataRecord, BeginsWithoutTextsOffsetsAndNotify) {
  const CDataRecord record(Event(1), Id(2), At(3));
  EXPECT_EQ(record.EventId(), Event(1));
  EXPECT_EQ(record.RecordId(), Id(2));
  EXPECT_EQ(record.Time(), At(3));
  EXPECT_EQ(record.Annotation(), "");
  EXPECT_EQ(record.AckAnnotation(), "");
  EXPECT_EQ(record.DeaAnnotation(), "");
  EXPECT_EQ(record.AckOffset(), kNever);
  EXPECT_EQ(record.DisableOffset(), kNever);
  EXPECT_FALSE(record.Notify());
}

TEST(LoggerDataRecord, KeepsWhatIsSet) {
  CDataRecord record(Event(1), Id(2), At(3));
  record.SetAnnotation("on");
  record.SetAckAnnotation("ack");
  record.SetDeaAnnotation("off");
  record.SetAckOffset(0);
  record.SetDisableOffset(7);
  record.SetNotify(true);
  EXPECT_EQ(record.Annotation(), "on");
  EXPECT_EQ(record.AckAnnotation(), "ack");
  EXPECT_EQ(record.DeaAnnotation(), "off");
  EXPECT_EQ(record.AckOffset(), 0U);
  EXPECT_EQ(record.DisableOffset(), 7U);
  EXPECT_TRUE(record.Notify());
  record.SetAnnotation("another");
  EXPECT_EQ(record.Annotation(), "another");
  record.SetAnnotation("");
  EXPECT_EQ(record.Annotation(), "");
}

TEST(LoggerDataRecord, TextsAreHeldToTheLetter) {
  CDataRecord record(Event(1), Id(2), At(3));
  const ZRString odd("a\0b", 3);
  record.SetAnnotation(odd);
  EXPECT_EQ(record.Annotation(), odd);
  EXPECT_EQ(record.AnnotationView().size(), 3U);
}

// They may lie in one place: a change of one isn't a change of the other.
TEST_F(LoggerRecords, WithEqualTextsHaveEachTheirOwn) {
  const std::string text = "pressure too high in hall B";
  CDataRecord* const first = Add(1, 1, At(0), kActivated, text);
  CDataRecord* const second = Add(1, 2, At(1), kActivated, text);
  (void)Add(1, 2, At(2), kDeactivated, text);
  first->SetAnnotation(ZRString("another"));
  EXPECT_EQ(first->AnnotationView(), "another");
  EXPECT_EQ(second->AnnotationView(), text);
  EXPECT_EQ(second->DeaAnnotationView(), text);
}

// Of texts of one length that are almost the same, and of all short lengths.
TEST_F(LoggerRecords, KeepTextsThatDifferInOneByte) {
  std::vector<std::string> texts;
  for (std::size_t length = 1; length <= 40; length += length < 18 ? 1 : 11) {
    for (std::size_t i = 0; i < length; ++i) {
      texts.emplace_back(length, 'a');
      texts.back()[i] = 'b';
    }
  }
  std::vector<CDataRecord*> records;
  for (const std::string& text : texts)
    records.push_back(Add(1, static_cast<int>(records.size()), At(0), kActivated, text));
  for (std::size_t i = 0; i < texts.size(); ++i)
    EXPECT_EQ(records[i]->AnnotationView(), texts[i]);
}

TEST_F(LoggerRecords, CopyOfARecordOutlivesItsGroup) {
  std::unique_ptr<CDataRecord> copy;
  CDataRecord assigned(Event(9), Id(9), At(9));
  {
    CRecordGroup shortLived(&info);
    CDataRecord* const record = shortLived.AddStep({Event(1), Id(2), At(3), 1, "text", true});
    (void)shortLived.AddStep({Event(1), Id(2), At(8), 2, "end", true});
    copy = std::make_unique<CDataRecord>(*record);
    assigned = *record;
  }
  for (const CDataRecord* each : {copy.get(), &assigned}) {
    EXPECT_EQ(each->EventId(), Event(1));
    EXPECT_EQ(each->RecordId(), Id(2));
    EXPECT_EQ(each->Time(), At(3));
    EXPECT_EQ(each->Annotation(), "text");
    EXPECT_EQ(each->DeaAnnotation(), "end");
    EXPECT_EQ(each->DisableOffset(), 5U);
    EXPECT_TRUE(each->Notify());
  }
}

TEST_F(LoggerRecords, RecordInAGroupCanBeAssignedTo) {
  CDataRecord* const record = On(1, 0);
  {
    CDataRecord other(Event(5), Id(6), At(0));
    other.SetAckAnnotation("seen");
    *record = other;
    *record = *record;
  }
  EXPECT_EQ(record->EventId(), Event(5));
  EXPECT_EQ(record->AckAnnotation(), "seen");
}

// --- steps ---

TEST_F(LoggerRecords, ActivationMakesARecordAndTheReservedTextsAreNotLookedAt) {
  const CDataRecord* const record = Add(7, 1, At(10), kActivated, "on", true);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->EventId(), Event(7));
  EXPECT_EQ(record->RecordId(), Id(1));
  EXPECT_EQ(record->Time(), At(10));
  EXPECT_EQ(record->Annotation(), "on");
  EXPECT_EQ(record->AckAnnotation(), "");
  EXPECT_EQ(record->DeaAnnotation(), "");
  EXPECT_TRUE(record->Notify());
  EXPECT_EQ(*group.Begin(), record);
}

TEST_F(LoggerRecords, LaterStepsAreSecondsFromTheActivationInWhateverOrderTheyCome) {
  On(1, 0);
  EXPECT_EQ(Add(1, 1, At(90), kAcknowledged, "seen"), *group.Begin());
  EXPECT_EQ(Add(1, 1, At(120), kDeactivated, "over"), *group.Begin());
  On(2, 500);
  Off(2, 620);
  Ack(2, 590);
  for (auto record = group.Begin(); record != group.End(); ++record) {
    EXPECT_EQ((*record)->AckOffset(), 90U);
    EXPECT_EQ((*record)->DisableOffset(), 120U);
  }
  EXPECT_EQ((*group.Begin())->AckAnnotation(), "seen");
  EXPECT_EQ((*group.Begin())->DeaAnnotation(), "over");
}

TEST_F(LoggerRecords, OffsetsAreWholeSecondsTowardZero) {
  On(1, 0);
  EXPECT_EQ(Off(1, 0.999)->DisableOffset(), 0U);
  EXPECT_EQ(Ack(1, 1.999)->AckOffset(), 1U);
  EXPECT_EQ(Off(1, -2)->DisableOffset(), 0xFFFFFFFEu);  // the clock was set back
}

TEST_F(LoggerRecords, LaterStepOfTheSameKindReplacesTheFirst) {
  On(1, 0);
  Add(1, 1, At(5), kDeactivated, "first");
  Add(1, 1, At(9), kDeactivated, "second");
  EXPECT_EQ((*group.Begin())->DisableOffset(), 9U);
  EXPECT_EQ((*group.Begin())->DeaAnnotation(), "second");
  Add(1, 1, At(9), kDeactivated, "");
  EXPECT_EQ((*group.Begin())->DeaAnnotation(), "");
}

TEST_F(LoggerRecords, StepsWithoutTheirActivationAndUnknownOnesAreDropped) {
  EXPECT_EQ(Off(1, 5), nullptr);
  EXPECT_EQ(Ack(1, 5), nullptr);
  EXPECT_EQ(Order(), "");
  On(1, 6);
  for (const int value : {0, 3, 5, 8, -1, 256}) {
    EXPECT_EQ(Add(1, 1, At(9), value, "odd"), nullptr) << value;
    EXPECT_EQ(Add(1, 2, At(9), value, "odd"), nullptr) << value;
  }
  EXPECT_EQ(Order(), "1");
  EXPECT_EQ((*group.Begin())->Annotation(), "");
  EXPECT_EQ((*group.Begin())->DisableOffset(), kNever);
}

TEST_F(LoggerRecords, RecordWithoutAValidTimeIsNotAcknowledged) {
  CDataRecord* const record = Add(1, 1, ZRDateTime(), kActivated);
  EXPECT_EQ(Ack(1, 5), nullptr);
  EXPECT_EQ(record->AckOffset(), kNever);
  EXPECT_EQ(Off(1, 5), record);
  EXPECT_EQ(record->DisableOffset(), 0U);
}

TEST_F(LoggerRecords, OfTwoActivationsWithOneIdTheFirstGetsTheSteps) {
  CDataRecord* const first = On(1, 10);
  CDataRecord* const second = On(1, 5);
  EXPECT_NE(first, second);
  EXPECT_EQ(Off(1, 12), first);
  EXPECT_EQ(Order(), "1 1");
  EXPECT_EQ(*group.Begin(), second);
  EXPECT_EQ(second->DisableOffset(), kNever);
}

// --- the order ---

TEST_F(LoggerRecords, AreInOrderOfTime) {
  On(1, 10);
  On(2, 30);
  On(3, 20);
  On(4, 0);
  On(5, 40);
  EXPECT_EQ(Order(), "4 1 3 2 5");
}

TEST_F(LoggerRecords, OfEqualTimesTheLaterAddedComesFirst) {
  On(1, 10);
  On(2, 10);
  On(3, 10);
  On(4, 20);
  On(5, 20);
  EXPECT_EQ(Order(), "3 2 1 5 4");
  On(6, 10);
  EXPECT_EQ(Order(), "6 3 2 1 5 4");
}

TEST_F(LoggerRecords, OfSeveralEventsInterleaveTheLaterLoadedInFrontAtEqualTimes) {
  for (int i = 0; i < 3; ++i)
    On(1 + i, 10 * i, 1);
  for (int i = 0; i < 3; ++i)
    On(11 + i, 10 * i + (i == 1 ? 5 : 0), 2);
  EXPECT_EQ(Order(), "11 1 2 12 13 3");
}

TEST_F(LoggerRecords, InvalidTimesComeFirst) {
  On(1, 0);
  Add(1, 2, ZRDateTime(), kActivated);
  EXPECT_EQ(Order(), "2 1");
}

TEST_F(LoggerRecords, AfterInitializeTheNextOneGoesToTheHeadWithoutASearch) {
  On(1, 10);
  On(2, 20);
  group.Initialize(&info);
  On(3, 30);
  EXPECT_EQ(Order(), "3 1 2");
  On(4, 40);  // not before the last one: searched from there
  EXPECT_EQ(Order(), "3 1 2 4");
  On(5, 15);
  EXPECT_EQ(Order(), "5 3 1 2 4");
}

TEST_F(LoggerRecords, InitializeOfAnEmptyGroupChangesTheInfoOnly) {
  ZREventLoggerInfo other;
  group.Initialize(&other);
  EXPECT_EQ(&group.Info(), &other);
  On(1, 20);
  On(2, 10);
  EXPECT_EQ(Order(), "2 1");
}

TEST_F(LoggerRecords, ResetEmptiesTheGroupForAnotherUse) {
  On(1, 10);
  group.Initialize(&info);
  group.Reset();
  EXPECT_EQ(Order(), "");
  EXPECT_EQ(Off(1, 12), nullptr);
  On(2, 20);
  On(3, 10);
  EXPECT_EQ(Order(), "3 2");
}

TEST_F(LoggerRecords, LongTextsAreKept) {
  const std::string text(20'000'000, 'x');
  EXPECT_EQ(Str(Add(1, 1, At(0), kActivated, text)->Annotation()), text);
  EXPECT_EQ(Str(Add(1, 2, At(0), kActivated, "short")->Annotation()), "short");
}

// --- sharing ---

TEST_F(LoggerRecords, CopyConstructorMakesAnEmptyGroupOfTheSameInfo) {
  On(1, 10);
  const CRecordGroup copy(group);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(Order(copy), "");
  EXPECT_EQ(&copy.Info(), &info);
}

TEST_F(LoggerRecords, AssignmentSharesTheRecordsWhicheverGroupGoesFirst) {
  auto first = std::make_unique<CRecordGroup>(&info);
  (void)first->AddStep({Event(1), Id(1), At(10), 1, "text", false});
  auto second = std::make_unique<CRecordGroup>(&info);
  *second = *first;
  EXPECT_EQ(*first->Begin(), *second->Begin());
  // A step that one of them adds shows in the record of both; a record that one adds is its own.
  (void)second->AddStep({Event(1), Id(1), At(15), 2, "end", false});
  (void)second->AddStep({Event(1), Id(2), At(20), 1, "own", false});
  (void)first->AddStep({Event(1), Id(3), At(30), 1, "own too", false});
  EXPECT_EQ((*first->Begin())->DisableOffset(), 5U);
  EXPECT_EQ(Order(*first), "1 3");
  EXPECT_EQ(Order(*second), "1 2");
  EXPECT_EQ(first->IncompleteOf(Event(1)).size(), 1U);
  first.reset();
  EXPECT_EQ(Order(*second), "1 2");
  EXPECT_EQ((*second->Begin())->DeaAnnotation(), "end");
  EXPECT_EQ(second->AddStep({Event(1), Id(3), At(40), 2, "", false}), nullptr);
}

TEST_F(LoggerRecords, CopiesOfAQuestionShareItsAnswerAndEitherMayGoFirst) {
  for (const bool isSourceFirst : {true, false}) {
    auto source = std::make_unique<ZREventLoggerData>();
    source->AddRecord(Event(1), Id(1), At(0), 1, "text", "", "", false);
    auto copy = std::make_unique<ZREventLoggerData>(*source);
    ZREventLoggerData assigned;
    assigned = *copy;
    (void)source->RecordGroupTotalized();
    (isSourceFirst ? source : copy).reset();
    ZREventLoggerData& left = isSourceFirst ? *copy : *source;
    EXPECT_EQ(Order(left.RecordGroup()), "1");
    EXPECT_EQ(Order(assigned.RecordGroup()), "1");
    EXPECT_EQ(left.RecordGroup().Info().NVariables(), 0);
    EXPECT_EQ((*left.RecordGroupTotalized().Begin())->EnableCount(), 1);
  }
}

// --- sums ---

TEST_F(LoggerRecords, AreSummedUpByEventInTheOrderOfTheirFirstMeeting) {
  ZREventLoggerData data;
  const auto add = [&](int event, int occurrence, double second, int value, bool notify) {
    (void)data.AddRecord(Event(event), Id(occurrence), At(second), value, "", "", "", notify);
  };
  add(1, 1, 10, kActivated, true);
  add(1, 1, 10, kDeactivated, true);  // an offset of 0 counts
  add(1, 2, 20, kActivated, true);
  add(1, 2, 25, kDeactivated, true);
  add(1, 2, 26, kAcknowledged, true);
  add(1, 3, 30, kActivated, true);
  add(2, 4, 5, kActivated, false);
  add(2, 4, 8, kAcknowledged, false);
  CRecordGroupTotalized& totals = data.RecordGroupTotalized();
  ASSERT_EQ(std::distance(totals.Begin(), totals.End()), 2);
  auto total = totals.Begin();
  EXPECT_EQ((*total)->EventId(), Event(2));
  EXPECT_EQ((*total)->EnableCount(), 1);
  EXPECT_EQ((*total)->DisableCount(), 0);
  EXPECT_EQ((*total)->Duration(), 0);
  EXPECT_EQ((*total)->AckCount(), 0) << "not notified";
  EXPECT_FALSE((*total)->Notify());
  ++total;
  EXPECT_EQ((*total)->EventId(), Event(1));
  EXPECT_EQ((*total)->EnableCount(), 3);
  EXPECT_EQ((*total)->DisableCount(), 2);
  EXPECT_EQ((*total)->Duration(), 5);
  EXPECT_EQ((*total)->AckCount(), 1);
  EXPECT_TRUE((*total)->Notify());
  EXPECT_EQ(&data.RecordGroupTotalized(), &totals) << "kept";
}

TEST(LoggerTotals, TakeNoRecordOfAnotherEvent) {
  CDataRecordTotalized total(Event(1), true);
  const CDataRecord other(Event(2), Id(1), At(0));
  EXPECT_FALSE(total.AddDataRecord(nullptr));
  EXPECT_FALSE(total.AddDataRecord(&other));
  EXPECT_EQ(total.EnableCount(), 0);
}

TEST(LoggerTotals, AreSharedByAssignmentAndNotByCopying) {
  ZREventLoggerInfo info;
  CDataRecord record(Event(1), Id(1), At(0));
  CRecordGroupTotalized first(&info);
  EXPECT_EQ(first.AddRecord(nullptr), nullptr);
  CDataRecordTotalized* const total = first.AddRecord(&record);
  const CRecordGroupTotalized copy(first);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_TRUE(copy.Begin() == copy.End());
  CRecordGroupTotalized assigned(nullptr);
  assigned = first;
  EXPECT_EQ(*assigned.Begin(), total);
  EXPECT_EQ(assigned.AddRecord(&record), total);
  EXPECT_EQ(total->EnableCount(), 2);
  EXPECT_EQ(&assigned.Info(), &info);
  ZREventLoggerInfo other;
  assigned.Initialize(&other);
  EXPECT_EQ(&assigned.Info(), &other);
}

TEST(LoggerTotals, OfManyEventsKeepTheirOrder) {
  ZREventLoggerInfo info;
  CRecordGroupTotalized totals(&info);
  for (int turn = 0; turn < 2; ++turn) {
    for (int event = 0; event < 1000; ++event) {
      CDataRecord record(Event((event * 7) % 1000), Id(event), At(0));
      (void)totals.AddRecord(&record);
    }
  }
  int place = 0;
  for (auto total = totals.Begin(); total != totals.End(); ++total, ++place) {
    EXPECT_EQ((*total)->EventId(), Event((place * 7) % 1000));
    EXPECT_EQ((*total)->EnableCount(), 2);
  }
  EXPECT_EQ(place, 1000);
}

// --- questions ---

TEST(LoggerData, HasNeitherEventsNorRecordsAtFirst) {
  ZREventLoggerData data;
  EXPECT_EQ(data.Info().NVariables(), 0);
  EXPECT_TRUE(data.RecordGroup().Begin() == data.RecordGroup().End());
  EXPECT_EQ(&data.RecordGroup().Info(), &data.Info());
  EXPECT_TRUE(data.SelectData(At(0), At(1), false)) << "no event, no failure";
  EXPECT_TRUE(data.RecordGroupTotalized().Begin() == data.RecordGroupTotalized().End());
  EXPECT_EQ(&data.RecordGroupTotalized().Info(), &data.Info());
}

// A question with another source.
class OtherSource final : public ZREventLoggerData {
 public:
  bool Load(const ZRDateTime& from, const ZRDateTime& to, bool searchBefore) override {
    ++loads;
    (void)AddRecord(Event(1), Id(loads), searchBefore ? from : to, 1, "", "", "", false);
    return loads > 1;
  }
  int loads = 0;
};

TEST(LoggerData, SelectionAsksTheDerivedClassAndDropsTheOldTotals) {
  OtherSource data;
  EXPECT_FALSE(data.SelectData(At(5), At(6), true));
  EXPECT_EQ((*data.RecordGroup().Begin())->Time(), At(5));
  EXPECT_EQ((*data.RecordGroupTotalized().Begin())->EnableCount(), 1);
  (void)data.AddRecord(Event(1), Id(9), At(7), 1, "", "", "", false);
  EXPECT_EQ((*data.RecordGroupTotalized().Begin())->EnableCount(), 1) << "kept";
  EXPECT_TRUE(data.SelectData(At(5), At(6), false));
  EXPECT_EQ((*data.RecordGroup().Begin())->Time(), At(6));
  EXPECT_EQ((*data.RecordGroup().Begin())->RecordId(), Id(2));
  EXPECT_EQ((*data.RecordGroupTotalized().Begin())->EnableCount(), 1);
}

}  // namespace

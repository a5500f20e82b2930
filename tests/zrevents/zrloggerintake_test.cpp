// What a question makes of the files of an event is what its steps give one by one.

#include "zrevents/history/zrloggerintake.h"

#include <string>
#include <vector>

#include "support/chance.h"
#include "support/historytest.h"

namespace {

struct tagStep {
  int occurrence;
  int second;  // of the month
  int value;
};

class LoggerIntake : public HistoryTest {
 protected:
  static constexpr int kLastSecond = 3000;

  [[nodiscard]] static ZRDateTime Second(int second) {
    return ZRDateTime::FromUtcMilliseconds(At("2026-03-05").UtcMilliseconds() + second * 1000LL);
  }
  // Steps as they come, or in no order at all.
  [[nodiscard]] std::vector<tagStep> Some() {
    std::vector<tagStep> some;
    const bool isOrderly = chance.Happens(500);
    const bool hasTwins = chance.Happens(300);
    int occurrence = 0;
    const std::uint64_t count = chance.Below(isOrderly ? 60 : 100);
    for (std::uint64_t i = 0; i < count; ++i) {
      const bool begins = chance.Happens(400);
      if (begins) occurrence = occurrence % (hasTwins ? 6 : kMostOccurrences) + 1;
      const int other = 1 + static_cast<int>(chance.Below(kMostOccurrences));
      some.push_back({begins || isOrderly ? occurrence : other,
                      static_cast<int>(chance.Happens(900) ? i * 20 : chance.Below(kLastSecond)),
                      begins ? kActivated : (chance.Happens(300) ? kAcknowledged : kDeactivated)});
    }
    return some;
  }
  // Puts the steps into a file of its own, of another event than the one before.
  void Fill(const std::vector<tagStep>& toWrite) {
    Make("Boiler " + std::to_string(++made), chance.Happens(500));
    steps = toWrite;
    const ZRWString path = Wide(event->PathAt(Second(0)));
    ASSERT_TRUE(ZREventFile::Create(path.Text(), {ZREventFile::kType, ZREventFile::kCapacity}));
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), false));
    for (std::size_t i = 0; i < steps.size(); ++i) {
      ZRDateTime date = Second(steps[i].second);
      ASSERT_TRUE(file.NewRecord());
      file.SetEventId(Id(steps[i].occurrence));
      file.SetDateValue(date);
      file.SetEventValue(steps[i].value);
      file.SetEventAnnotation(TextOf(i));
      ASSERT_TRUE(file.Update());
    }
  }
  [[nodiscard]] static ZRString TextOf(std::size_t step) {
    return ZRString(("step " + std::to_string(step)).c_str());
  }

  // The steps, one by one.
  void AddAll(ZREventLoggerData& data, int from) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      if (steps[i].second < from) continue;
      (void)data.RecordGroup().AddStep({event->Id(), Id(steps[i].occurrence),
                                        Second(steps[i].second), steps[i].value, TextOf(i).View(),
                                        event->Notify()});
    }
  }
  void ExpectTheSame(int from, bool searchBefore) {
    ZREventLoggerData expected;
    if (searchBefore) (void)event->SearchBefore(expected, Second(from));
    AddAll(expected, from);
    ZREventLoggerData data;
    EXPECT_TRUE(event->Load(data, Second(from), Second(kLastSecond + 1), searchBefore));
    EXPECT_EQ(Texts(data), Texts(expected));
    EXPECT_EQ(Incomplete(data), Incomplete(expected));
    // What is added afterwards finds what is there.
    const int last = kLastSecond + 5;
    for (int occurrence = 1; occurrence <= kMostOccurrences; ++occurrence) {
      const ZREventLoggerData::tagStep end{event->Id(),  Id(occurrence), Second(last),
                                           kDeactivated, "later",        false};
      EXPECT_EQ(data.RecordGroup().AddStep(end) != nullptr,
                expected.RecordGroup().AddStep(end) != nullptr);
    }
    EXPECT_EQ(Texts(data), Texts(expected));
  }
  [[nodiscard]] static std::string Texts(ZREventLoggerData& data) {
    std::string all = Shown(data);
    for (auto at = data.RecordGroup().Begin(); at != data.RecordGroup().End(); ++at) {
      all += "\n" + std::string((*at)->AnnotationView()) + ", " +
             std::string((*at)->AckAnnotationView()) + ", " +
             std::string((*at)->DeaAnnotationView());
    }
    return all;
  }
  [[nodiscard]] std::string Incomplete(ZREventLoggerData& data) const {
    std::string all;
    for (const auto* record : data.RecordGroup().IncompleteOf(event->Id()))
      all += std::to_string(record->RecordId().bytes[15]) + " ";
    return all;
  }

  static constexpr int kMostOccurrences = 40;
  Chance chance{1};
  int made = 0;
  std::vector<tagStep> steps;
};

TEST_F(LoggerIntake, StepsRightBehindTheirActivationBelongToIt) {
  Fill({{1, 10, kActivated}, {1, 20, kAcknowledged}, {1, 30, kDeactivated}, {2, 40, kActivated}});
  ExpectTheSame(0, false);
  ZREventLoggerData data;
  ASSERT_TRUE(event->Load(data, Second(0), Second(100), false));
  EXPECT_EQ(Shown(data), "1 03-05 00:00:10 a10 d20; 2 03-05 00:00:40");
}

TEST_F(LoggerIntake, OfTwoActivationsWithOneIdTheFirstGetsTheSteps) {
  Fill({{1, 10, kActivated},
        {1, 20, kDeactivated},
        {2, 25, kActivated},
        {1, 30, kActivated},
        {1, 50, kDeactivated}});
  ZREventLoggerData data;
  ASSERT_TRUE(event->Load(data, Second(0), Second(100), false));
  EXPECT_EQ(Shown(data), "1 03-05 00:00:10 d40; 2 03-05 00:00:25; 1 03-05 00:00:30");
  ExpectTheSame(0, false);
}

TEST_F(LoggerIntake, AnActivationOfBeforeThatComesAgainGetsTheSteps) {
  Fill({{1, 10, kActivated}, {1, 30, kActivated}, {1, 50, kDeactivated}});
  ExpectTheSame(20, true);
  ZREventLoggerData data;
  ASSERT_TRUE(event->Load(data, Second(20), Second(100), true));
  EXPECT_EQ(Shown(data), "1 03-05 00:00:10 d40; 1 03-05 00:00:30");
}

TEST_F(LoggerIntake, TheSecondEventOfAQuestionMayHaveTheIdsOfTheFirst) {
  Fill({{1, 10, kActivated}, {1, 20, kDeactivated}});
  ZREventLoggerData data;
  ASSERT_TRUE(event->Load(data, Second(0), Second(100), false));
  Fill({{1, 15, kActivated}, {1, 40, kDeactivated}});
  ASSERT_TRUE(event->Load(data, Second(0), Second(100), false));
  EXPECT_EQ(Shown(data), "1 03-05 00:00:10 d30; 1 03-05 00:00:15");
}

TEST_F(LoggerIntake, GivesWhatTheStepsGiveOneByOne) {
  for (std::uint64_t round = 0; round < 300 && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    chance = Chance(round);
    Fill(Some());
    ExpectTheSame(0, false);
    ExpectTheSame(300, true);
  }
}

}  // namespace

#include "zrevents/actions/zreventsmsqueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "host/platform/zrvirtualtime.h"
#include "host/support/zrtessalysetup.h"
#include "host/systemevents/zrsystemeventsserver.h"
#include "support/fakesmssender.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"

namespace {

// --- cutting ---

// The lengths of the parts of a text of `size` bytes.
std::vector<std::size_t> Lengths(std::size_t size, bool forceBreak) {
  std::string text;
  for (std::size_t index = 0; index < size; ++index)
    text += static_cast<char>('a' + index % 26);
  std::vector<std::size_t> lengths;
  std::string joined;
  for (const ZRString& part : CutIntoSms(ZRString(std::string_view(text)), forceBreak)) {
    lengths.push_back(part.Length());
    joined += part.View();
  }
  EXPECT_EQ(text.substr(0, joined.size()), joined);
  return lengths;
}

using tagLengths = std::vector<std::size_t>;

TEST(SmsParts, HaveAtMost160Bytes) {
  EXPECT_EQ((tagLengths{0}), Lengths(0, false));
  EXPECT_EQ((tagLengths{1}), Lengths(1, false));
  EXPECT_EQ((tagLengths{160}), Lengths(160, false));
  EXPECT_EQ((tagLengths{160, 1}), Lengths(161, false));
  EXPECT_EQ((tagLengths{160, 160}), Lengths(320, false));
  EXPECT_EQ((tagLengths{160, 160, 1}), Lengths(321, false));
}

TEST(SmsParts, AreOnlyOneWhenTheBreakIsForced) {
  EXPECT_EQ((tagLengths{0}), Lengths(0, true));
  EXPECT_EQ((tagLengths{160}), Lengths(160, true));
  EXPECT_EQ((tagLengths{160}), Lengths(161, true));
  EXPECT_EQ((tagLengths{160}), Lengths(1000, true));
}

TEST(SmsParts, CountBytesAlsoWithinACharacter) {
  const std::string text = std::string(159, 'x') + "\xc3\xa9y";
  const auto parts = CutIntoSms(ZRString(std::string_view(text)), false);
  ASSERT_EQ(2u, parts.size());
  EXPECT_EQ(std::string(159, 'x') + "\xc3", parts[0].Text());
  EXPECT_STREQ("\xa9y", parts[1].Text());
}

// --- the queue ---

// Vocabulary: Add texts, let time go by, read what was tried and what was logged.
class SmsQueue : public ::testing::Test {
 protected:
  static constexpr int kPause = 10'000;  // ms between two passes

  SmsQueue() {
    Settings("");
    std::string reason;
    EXPECT_TRUE(ZRSystemEventsServer::get().UseDatabase(Database(), reason)) << reason;
    queue = std::make_unique<ZREventSmsQueue>(std::make_unique<FakeSmsSender>(sms));
  }
  ~SmsQueue() override {
    queue.reset();
    ZRSystemEventsServer::get().Close();
    Settings("");
  }

  static void Settings(const std::string& inSms) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText("[sms]\n" + inSms, L"/nowhere", problems, warnings));
  }
  [[nodiscard]] ZRWString Database() const { return Wide((site.path / "events").string()); }

  void Add(const std::vector<std::string>& to, const std::string& text, bool forceBreak = false) {
    std::vector<ZRString> phones;
    for (const std::string& phone : to)
      phones.emplace_back(std::string_view(phone));
    EXPECT_TRUE(queue->Add(phones, ZRString(std::string_view(text)), forceBreak));
  }
  // Texts to one number each, called as the number, that are all there when the thread begins.
  void AddTogether(const std::vector<std::string>& to) {
    time.FailThreadsAfter(0);
    for (const std::string& phone : to) {
      if (phone == to.back()) time.FailThreadsAfter(-1);
      Add({phone}, "for " + phone);
    }
  }
  [[nodiscard]] std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (const LogCapture::tagLine& line : log.Lines())
      lines.push_back(std::to_string(line.level) + " " + line.text);
    return lines;
  }
  [[nodiscard]] std::size_t Count(const std::string& line) const {
    const auto lines = Lines();
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
  }
  [[nodiscard]] int SystemEvents() const {
    int rows = 0;
    std::string reason;
    ZRSystemEventsDatabase database;
    EXPECT_TRUE(database.OpenToRead(Database(), reason)) << reason;
    EXPECT_TRUE(database.ForEach(
        [&rows](std::string_view, std::string_view className, std::string_view text) {
          EXPECT_EQ("SystemEventSmsSendMessageError", className);
          EXPECT_EQ("An SMS of an event couldn't be sent", text);
          ++rows;
        },
        reason));
    return rows;
  }

  using tagTexts = std::vector<std::string>;
  using tagTimes = std::vector<std::uint32_t>;
  static constexpr const char* kOut = "0 All SMS groups have been managed. Going out.";

  ZRVirtualTime time;
  SiteFolder site;
  LogCapture log;
  SmsTrials sms;
  std::unique_ptr<ZREventSmsQueue> queue;
};

TEST_F(SmsQueue, SendsEachPartToEachNumberAndSaysEachStep) {
  const std::string first(160, 'x');
  Add({"1", "2"}, first + "rest");
  time.Advance(100);
  EXPECT_EQ((tagTexts{"1:" + first, "2:" + first, "1:rest", "2:rest"}), sms.Words());
  EXPECT_EQ(
      (tagTexts{"0 Managing 1 SMS groups...", "0 There are 2 SMS messages to be sent in group 1...",
                "0 SMS message 1 to be sent to 2 phone numbers...",
                "0 SMS message completely sent to 2 phone numbers group",
                "0 SMS message 2 to be sent to 2 phone numbers...",
                "0 SMS message completely sent to 2 phone numbers group",
                "0 All SMS messages in group 1 completely sent. Group deleted.", kOut}),
      Lines());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(SmsQueue, FailureEndsTheTurnAtOnceAndWhatWasSentIsNotSentAgain) {
  const std::string first(160, 'x');
  sms.failing = {"2"};
  Add({"1", "2", "3"}, first + "rest");
  time.Advance(100);
  EXPECT_EQ((tagTexts{"1:" + first, "2:" + first}), sms.Words());
  EXPECT_EQ("1 Calling 'sendSingleSms' failed. Skipping group 1 (retry can exist)!",
            Lines().back());
  sms.failing.clear();
  sms.all.clear();
  time.Advance(kPause);
  EXPECT_EQ((tagTexts{"2:" + first, "3:" + first, "1:rest", "2:rest", "3:rest"}), sms.Words());
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(SmsQueue, PartThatIsDoneIsPassedOverInTheNextTurn) {
  const std::string first(160, 'x');
  sms.takes = 1000;
  Add({"1"}, first + "rest");
  time.Advance(1500);
  sms.failing = {"1"};  // the second part
  time.Advance(kPause);
  sms.failing.clear();
  time.Advance(kPause);
  EXPECT_EQ((tagTexts{"1:" + first, "1:rest", "1:rest"}), sms.Words());
  EXPECT_EQ(1u, Count("0 SMS message 1 to be sent to 1 phone numbers..."));
  EXPECT_EQ(2u, Count("0 SMS message 2 to be sent to 1 phone numbers..."));
  EXPECT_EQ(1u, Count("0 All SMS messages in group 1 completely sent. Group deleted."));
}

TEST_F(SmsQueue, GroupIsGivenUpAfterThreeTurns) {
  sms.failing = {"1"};
  Add({"1", "2"}, "T");
  time.Advance(3 * kPause);
  EXPECT_EQ((tagTexts{"1:T", "1:T", "1:T"}), sms.Words());
  EXPECT_EQ((tagTimes{0, 10'010, 20'020}), sms.Starts());
  const tagTexts lines = Lines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ("0 Deleting SMS group 1 (max number of retries reached)!", lines[lines.size() - 2]);
  EXPECT_EQ(kOut, lines.back());
  EXPECT_EQ(1, SystemEvents());
}

TEST_F(SmsQueue, NoPauseFollowsTheLastGroup) {
  sms.failing = {"1"};
  Add({"1"}, "T");
  time.Advance(20'020 + 10);
  EXPECT_EQ(kOut, Lines().back());
}

// --- the end of a group empties the others ---

TEST_F(SmsQueue, CompleteGroupEmptiesTheOneThatWaits) {
  AddTogether({"1", "2"});
  time.Advance(100);
  EXPECT_EQ((tagTexts{"1:for 1"}), sms.Words());
  EXPECT_EQ(
      (tagTexts{"0 Managing 2 SMS groups...", "0 There are 1 SMS messages to be sent in group 1...",
                "0 SMS message 1 to be sent to 1 phone numbers...",
                "0 SMS message completely sent to 1 phone numbers group",
                "0 All SMS messages in group 1 completely sent. Group deleted.",
                "0 Managing 1 SMS groups...", "0 There are 0 SMS messages to be sent in group 2...",
                "0 All SMS messages in group 2 completely sent. Group deleted.", kOut}),
      Lines());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(SmsQueue, CompleteGroupEmptiesTheOnesInFrontOfItToo) {
  sms.failing = {"1"};
  AddTogether({"1", "2"});
  time.Advance(3 * kPause);
  EXPECT_EQ((tagTexts{"1:for 1", "2:for 2"}), sms.Words());
  EXPECT_EQ(1u, Count("0 There are 0 SMS messages to be sent in group 1..."));
  EXPECT_EQ(1u, Count("0 All SMS messages in group 1 completely sent. Group deleted."));
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(SmsQueue, EmptiedGroupThatHadSentAPartGoesOnUntilItIsGivenUp) {
  sms.failing = {"1"};
  sms.takes = 1000;
  time.FailThreadsAfter(0);
  Add({"1"}, "T");
  time.FailThreadsAfter(-1);
  Add({"2"}, std::string(161, 'x'));
  time.Advance(2500);   // 1 has failed, and 2 has got its first part
  sms.failing = {"2"};  // but not its second one
  time.Advance(4 * kPause);
  EXPECT_EQ(4u, sms.all.size());  // 1, 2, 2 and in the second pass 1
  EXPECT_EQ(1u, Count("0 All SMS messages in group 1 completely sent. Group deleted."));
  EXPECT_EQ(1u, Count("0 There are 2 SMS messages to be sent in group 2..."));
  EXPECT_EQ(2u, Count("0 There are 0 SMS messages to be sent in group 2..."));
  EXPECT_EQ(0u, Count("0 All SMS messages in group 2 completely sent. Group deleted."));
  EXPECT_EQ(1u, Count("0 Deleting SMS group 2 (max number of retries reached)!"));
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(1, SystemEvents());
}

// The position stands on the first group while the end of the pass deletes it.
TEST_F(SmsQueue, GroupGivenUpEmptiesTheNextWhichHasTheNextTurn) {
  sms.failing = {"1", "2"};
  Add({"1"}, "T");
  time.Advance(kPause / 2);
  Add({"2"}, "U");  // behind the pause and the second turn of the first
  time.Advance(3 * kPause);
  EXPECT_EQ((tagTexts{"1:T", "1:T", "1:T", "2:U"}), sms.Words());
  const tagTexts lines = Lines();
  const auto deleted = std::find(lines.begin(), lines.end(),
                                 "0 Deleting SMS group 1 (max number of retries reached)!");
  ASSERT_LT(3, lines.end() - deleted);
  EXPECT_EQ("0 Managing 1 SMS groups...", deleted[1]);
  EXPECT_EQ("0 There are 0 SMS messages to be sent in group 2...", deleted[2]);
  EXPECT_EQ("0 All SMS messages in group 2 completely sent. Group deleted.", deleted[3]);
  EXPECT_EQ(kOut, lines.back());
  EXPECT_EQ(1, SystemEvents());
}

TEST_F(SmsQueue, GroupsGivenUpTogetherRaiseAnEventEach) {
  sms.failing = {"1", "2", "3"};
  AddTogether({"1", "2", "3"});
  time.Advance(4 * kPause);
  EXPECT_EQ(9u, sms.all.size());
  EXPECT_EQ(3u, log.Starting("Deleting SMS group").size());
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(3, SystemEvents());
}

// --- passes ---

TEST_F(SmsQueue, GroupThatArrivesDuringAPassIsTakenUpInIt) {
  sms.failing = {"1", "2", "3"};
  sms.takes = 1000;
  AddTogether({"1", "2"});
  time.Advance(500);
  Add({"3"}, "for 3");
  time.Advance(5000);
  EXPECT_EQ((tagTexts{"1:for 1", "2:for 2", "3:for 3"}), sms.Words());
  EXPECT_EQ((tagTimes{0, 1010, 2020}), sms.Starts());
}

TEST_F(SmsQueue, GroupThatArrivesAtTheEndOfAPassHasTwoTurns) {
  sms.failing = {"1", "2"};
  Add({"1"}, "T");
  time.Advance(5);  // the only turn is over, and the end of the pass is 5 ms away
  Add({"2"}, "U");
  time.Advance(2 * kPause + 5000);
  EXPECT_EQ((tagTexts{"1:T", "1:T", "2:U", "1:T", "2:U"}), sms.Words());
  EXPECT_EQ(2, SystemEvents());
}

TEST_F(SmsQueue, GroupThatArrivesAfterTheLastOneWasSentWaitsForThePauseToo) {
  Add({"1"}, "T");
  time.Advance(5);
  Add({"2"}, "U");
  time.Advance(kPause - 100);
  EXPECT_EQ((tagTexts{"1:T"}), sms.Words());
  time.Advance(200);
  EXPECT_EQ((tagTexts{"1:T", "2:U"}), sms.Words());
}

TEST_F(SmsQueue, AddWaitsThroughTheTurnAndThePauseOfAPass) {
  sms.failing = {"1"};
  sms.takes = 3000;
  Add({"1"}, "T");
  time.Advance(1);
  std::uint32_t begun = time.TickCount();
  Add({"2"}, "U");
  EXPECT_EQ(2999u, time.TickCount() - begun);
  time.Advance(100);  // in the pause
  begun = time.TickCount();
  Add({"3"}, "V");
  EXPECT_GT(time.TickCount() - begun, 9000u);
}

TEST_F(SmsQueue, ThreadLivesOnlyWhileThereIsWorkAndIdsGoOn) {
  Add({"1"}, "T");
  time.Advance(100);
  Add({"1"}, "U");
  time.Advance(100);
  EXPECT_EQ(2u, Count(kOut));
  EXPECT_EQ(1u, Count("0 There are 1 SMS messages to be sent in group 2..."));
  queue = std::make_unique<ZREventSmsQueue>(std::make_unique<FakeSmsSender>(sms));
  Add({"1"}, "V");
  time.Advance(100);
  EXPECT_EQ(2u, Count("0 There are 1 SMS messages to be sent in group 1..."));
}

// --- overflow ---

TEST_F(SmsQueue, OverflowDropsTheOldestAndEmptiesTheRest) {
  Settings("queue = 1\n");
  AddTogether({"1", "2"});
  EXPECT_EQ(1, SystemEvents());  // in Add, before any turn
  time.Advance(100);
  EXPECT_TRUE(sms.all.empty());
  EXPECT_EQ(
      (tagTexts{"0 Managing 1 SMS groups...", "0 There are 0 SMS messages to be sent in group 2...",
                "0 All SMS messages in group 2 completely sent. Group deleted.", kOut}),
      Lines());
  EXPECT_EQ(1, SystemEvents());
}

TEST_F(SmsQueue, OverflowDropsOneForEachAdd) {
  sms.failing = {"1", "2", "3", "4"};
  AddTogether({"1", "2", "3"});
  time.Advance(15);  // the first two have had their turns
  Settings("queue = 1\n");
  log.Clear();
  Add({"4"}, "for 4");
  EXPECT_EQ(1, SystemEvents());
  time.Advance(10);
  EXPECT_EQ(1u, Count("0 Managing 3 SMS groups..."));  // two would be left of a loop
}

// The position stands on the group that is dropped.
TEST_F(SmsQueue, OverflowMovesThePositionToTheNewFirst) {
  AddTogether({"1", "2"});
  time.Advance(5);  // the first is complete, and the second has the next turn
  Settings("queue = 1\n");
  Add({"3"}, "for 3");
  time.Advance(100);
  EXPECT_EQ((tagTexts{"1:for 1"}), sms.Words());
  EXPECT_EQ(0u, log.Starting("There are 0 SMS messages to be sent in group 2...").size());
  EXPECT_EQ(1u, Count("0 There are 0 SMS messages to be sent in group 3..."));
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(1, SystemEvents());
}

TEST_F(SmsQueue, OverflowLeavesAPositionAtTheEndThere) {
  Settings("queue = 1\n");
  sms.failing = {"1"};
  Add({"1"}, "T");
  time.Advance(5);  // the turn is over
  Add({"2"}, "U");
  time.Advance(kPause - 100);
  EXPECT_EQ(1u, log.Starting("Managing").size());  // the next pass is 10 s away
  time.Advance(200);
  EXPECT_EQ(1u, Count("0 There are 0 SMS messages to be sent in group 2..."));
}

TEST_F(SmsQueue, SizeOfZeroSendsNothing) {
  Settings("queue = 0\n");
  Add({"1"}, "T");
  time.Advance(100);
  Add({"2"}, "U");
  time.Advance(100);
  EXPECT_TRUE(sms.all.empty());
  EXPECT_TRUE(Lines().empty());  // its thread finds nothing at all
  EXPECT_EQ(2, SystemEvents());
}

TEST_F(SmsQueue, NegativeSizeIsNoLimit) {
  Settings("queue = -1\n");
  std::vector<std::string> many;
  for (int index = 0; index < 200; ++index)
    many.push_back(std::to_string(index));
  sms.failing.insert(many.begin(), many.end());
  AddTogether(many);
  time.Advance(5000);
  EXPECT_EQ(200u, sms.all.size());
  EXPECT_EQ(0, SystemEvents());
}

// --- without a sender, without a thread, and the end ---

TEST_F(SmsQueue, WithoutASenderEverythingCountsAsSent) {
  queue = std::make_unique<ZREventSmsQueue>(nullptr);
  EXPECT_FALSE(sms.isAlive);
  Add({"1", "2"}, "T");
  time.Advance(100);
  EXPECT_EQ(
      (tagTexts{"3 No 'eventActionSmsSender' specified! No SMS message will be sent!",
                "0 Managing 1 SMS groups...", "0 There are 1 SMS messages to be sent in group 1...",
                "0 SMS message 1 to be sent to 2 phone numbers...",
                "0 SMS message completely sent to 2 phone numbers group",
                "0 All SMS messages in group 1 completely sent. Group deleted.", kOut}),
      Lines());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(SmsQueue, WithoutAThreadTheGroupWaitsForTheNextAdd) {
  time.FailThreadsAfter(0);
  Add({"1"}, "T");
  time.Advance(100);
  EXPECT_TRUE(sms.all.empty());
  time.FailThreadsAfter(-1);
  Add({"2"}, "U");
  time.Advance(100);
  EXPECT_EQ((tagTexts{"1:T"}), sms.Words());  // its end has emptied the second
}

TEST_F(SmsQueue, EndsWithAGroupThatNoThreadHasSeen) {
  time.FailThreadsAfter(0);
  Add({"1"}, "T");
  queue.reset();
  EXPECT_TRUE(Lines().empty());
  EXPECT_FALSE(sms.isAlive);
}

TEST_F(SmsQueue, EndsAfterTheTurnUnderWayAndLosesTheRest) {
  sms.takes = 5000;
  AddTogether({"1", "2"});
  time.Advance(1000);
  const std::uint32_t begun = time.TickCount();
  queue.reset();
  EXPECT_EQ(4010u, time.TickCount() - begun);  // the turn, and the pause of a step
  EXPECT_EQ((tagTexts{"1:for 1"}), sms.Words());
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_FALSE(sms.isAlive);
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(SmsQueue, EndWaitsThroughThePauseOfAPass) {
  sms.failing = {"1"};
  Add({"1"}, "T");
  time.Advance(100);  // in the pause
  const std::uint32_t begun = time.TickCount();
  queue.reset();
  EXPECT_GT(time.TickCount() - begun, 9900u);
  EXPECT_EQ((tagTexts{"1:T", "1:T"}), sms.Words());  // the step goes on behind its pause
  EXPECT_EQ(1u, Count(kOut));
}

TEST_F(SmsQueue, EndDoesNotWaitForAThreadThatHasEnded) {
  Add({"1"}, "T");
  time.Advance(100);
  const std::uint32_t begun = time.TickCount();
  queue.reset();
  EXPECT_EQ(begun, time.TickCount());
}

TEST_F(SmsQueue, TwoAddsAtOnceShareOneThread) {
  sms.failing = {"1", "2"};
  ZRThread first;
  ZRThread second;
  ASSERT_TRUE(first.Start([this] { Add({"1"}, "T"); }));
  ASSERT_TRUE(second.Start([this] { Add({"2"}, "U"); }));
  time.Advance(4 * kPause);
  EXPECT_EQ(6u, sms.all.size());
  EXPECT_EQ(1u, Count(kOut));
}

TEST_F(SmsQueue, TextWithoutNumbersIsComplete) {
  Add({}, "T");
  time.Advance(100);
  EXPECT_EQ(1u, Count("0 SMS message completely sent to 0 phone numbers group"));
  EXPECT_EQ(1u, Count("0 All SMS messages in group 1 completely sent. Group deleted."));
  EXPECT_TRUE(sms.all.empty());
}

TEST_F(SmsQueue, EmptyTextIsSent) {
  Add({"1"}, "");
  time.Advance(100);
  EXPECT_EQ((tagTexts{"1:"}), sms.Words());
}

}  // namespace

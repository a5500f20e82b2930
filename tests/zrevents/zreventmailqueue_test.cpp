#include "zrevents/actions/zreventmailqueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "host/platform/zrthread.h"
#include "host/support/zrtessalysetup.h"
#include "host/systemevents/zrsystemeventsserver.h"
#include "support/faketool.h"
#include "support/logcapture.h"

namespace {

// Vocabulary: Add messages, let time go by, read what was tried and what was logged.
class MailQueue : public ::testing::Test {
 protected:
  static constexpr int kPause = 10'000;  // ms between two passes

  MailQueue() {
    Settings("");
    tool.answer = [this](const FakeTool::tagRun& run) {
      return FakeTool::tagResult{failing.count(run.to) != 0 ? 1 : 0, takes};
    };
    std::string reason;
    EXPECT_TRUE(ZRSystemEventsServer::get().UseDatabase(Database(), reason)) << reason;
    queue = std::make_unique<ZREventMailQueue>();
  }
  ~MailQueue() override {
    queue.reset();
    ZRSystemEventsServer::get().Close();
    Settings("");
  }

  static void Settings(const std::string& smtp) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText("[smtp]\nserver = \"mail\"\n" + smtp, L"/nowhere",
                                               problems, warnings));
  }
  [[nodiscard]] ZRWString Database() const { return Wide((other.path / "events").string()); }

  void Add(const std::vector<std::string>& to, const std::string& subject = "S") {
    std::vector<ZRString> addresses;
    for (const std::string& address : to)
      addresses.emplace_back(std::string_view(address));
    EXPECT_TRUE(queue->Add(addresses, ZRString(std::string_view(subject)), "B"));
  }
  // Messages to one address each, that are all there when the thread begins.
  void AddTogether(const std::vector<std::string>& to) {
    tool.FailThreadsAfter(0);
    for (const std::string& address : to) {
      if (address == to.back()) tool.FailThreadsAfter(-1);
      Add({address});
    }
  }
  // The lines of the queue itself, without those of each submission.
  [[nodiscard]] std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    for (const LogCapture::tagLine& line : log.Lines()) {
      if (line.text.starts_with("Calling command") || line.text.starts_with("Unable")) continue;
      lines.push_back(std::to_string(line.level) + " " + line.text);
    }
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
          EXPECT_EQ("SystemEventEMailSendMessageError", className);
          EXPECT_EQ("A mail of an event couldn't be sent", text);
          ++rows;
        },
        reason));
    return rows;
  }
  // When each run began, since the first one, in ms.
  [[nodiscard]] std::vector<std::uint32_t> Starts() const {
    std::vector<std::uint32_t> starts;
    for (const FakeTool::tagRun& run : tool.runs)
      starts.push_back(run.begun - tool.runs.front().begun);
    return starts;
  }

  using tagTexts = std::vector<std::string>;
  static constexpr const char* kOut = "0 All eMail groups have been managed. Going out.";

  FakeTool tool;
  ShareFolder share;
  ShareFolder other;  // for the database; the share folder in force is the first one
  LogCapture log;
  std::set<std::string> failing;  // recipients
  std::uint32_t takes = 0;        // ms for each mail
  std::unique_ptr<ZREventMailQueue> queue;
};

TEST_F(MailQueue, SendsToEachAddressAndSaysEachStep) {
  Add({"a", "b"});
  tool.Advance(100);
  EXPECT_EQ((tagTexts{"a", "b"}), tool.Recipients());
  EXPECT_EQ((tagTexts{"0 Managing 1 eMail groups...",
                      "0 There are 2 eMail messages to be sent in group 1...",
                      "0 eMail 0 in group 1 correctly sent to destination",
                      "0 eMail 1 in group 1 correctly sent to destination",
                      "0 All eMail messages in group 1 completely sent. Group deleted.", kOut}),
            Lines());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(MailQueue, FailureDoesNotEndTheTurnAndOnlyItIsTriedAgain) {
  failing = {"b"};
  Add({"a", "b", "c"});
  tool.Advance(100);
  EXPECT_EQ((tagTexts{"a", "b", "c"}), tool.Recipients());
  EXPECT_EQ(1u, Count("1 Calling 'Send' failed with eMail 1. Skipping group 1 (retry can exist)!"));
  failing.clear();
  tool.Advance(kPause);
  EXPECT_EQ((tagTexts{"a", "b", "c", "b"}), tool.Recipients());
  EXPECT_EQ(2u, Count("0 There are 3 eMail messages to be sent in group 1..."));
  EXPECT_EQ(1u, Count("0 All eMail messages in group 1 completely sent. Group deleted."));
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(MailQueue, GroupIsGivenUpAfterThreeTurns) {
  failing = {"a"};
  Add({"a", "b"});
  tool.Advance(3 * kPause);
  EXPECT_EQ((tagTexts{"a", "b", "a", "a"}), tool.Recipients());
  EXPECT_EQ((std::vector<std::uint32_t>{0, 0, 10'010, 20'020}), Starts());
  EXPECT_EQ(1u, Count("0 Deleting eMail group 1 (max number of retries reached)!"));
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(1, SystemEvents());
}

TEST_F(MailQueue, GroupsHaveTheirTurnsInTheOrderOfTheirArrival) {
  failing = {"a"};
  AddTogether({"a", "b", "c"});
  tool.Advance(100);
  EXPECT_EQ((tagTexts{"a", "b", "c"}), tool.Recipients());
  EXPECT_EQ((std::vector<std::uint32_t>{0, 10, 20}), Starts());
}

TEST_F(MailQueue, GroupThatArrivesDuringAPassIsTakenUpInIt) {
  takes = 1000;
  failing = {"a"};
  AddTogether({"a", "b"});
  tool.Advance(500);
  Add({"c"});  // waits for the turn of the first, and b's is still to come
  tool.Advance(5000);
  EXPECT_EQ((tagTexts{"a", "b", "c"}), tool.Recipients());
}

TEST_F(MailQueue, GroupThatArrivesAtTheEndOfAPassHasTwoTurns) {
  failing = {"a", "late"};
  Add({"a"});
  tool.Advance(5);  // the only turn is over, and the end of the pass is 5 ms away
  Add({"late"});
  tool.Advance(4 * kPause);
  EXPECT_EQ((tagTexts{"a", "a", "late", "a", "late"}), tool.Recipients());
  EXPECT_EQ(2, SystemEvents());
}

// A message that comes when the position stands at the end isn't reached by it any more.
TEST_F(MailQueue, GroupThatArrivesInTheLastTurnOfAPassWaitsForTheNextOne) {
  takes = 1000;
  failing = {"a"};
  Add({"a"});
  tool.Advance(500);
  Add({"b"});  // while a has its turn
  tool.Advance(5000);
  EXPECT_EQ((tagTexts{"a"}), tool.Recipients());
  tool.Advance(kPause);
  EXPECT_EQ((tagTexts{"a", "a", "b"}), tool.Recipients());
}

TEST_F(MailQueue, AddWaitsThroughTheTurnAndThePauseOfAPass) {
  failing = {"a"};
  takes = 3000;
  Add({"a"});
  tool.Advance(1);
  std::uint32_t begun = tool.TickCount();
  Add({"b"});
  EXPECT_EQ(2999u, tool.TickCount() - begun);
  tool.Advance(3100);  // b is sent, and the pause has begun
  begun = tool.TickCount();
  Add({"c"});
  EXPECT_GT(tool.TickCount() - begun, 9000u);
}

TEST_F(MailQueue, ThreadLivesOnlyWhileThereIsWorkAndReadsTheSettingsAnew) {
  Settings("port = 2525\n");
  Add({"a"});
  tool.Advance(100);
  Settings("port = 2526\nssl = true\n");
  Add({"b"});
  tool.Advance(100);
  Settings("port = 2526\nssl = true\nauthenticated = true\nuser = \"u\"\npassword = \"p\"\n");
  Add({"c"});
  tool.Advance(100);
  ASSERT_EQ(3u, tool.runs.size());
  EXPECT_NE(std::string::npos, tool.runs[0].account.find("port 2525\r\n"));
  EXPECT_NE(std::string::npos, tool.runs[1].account.find("port 2526\r\n"));
  EXPECT_EQ(std::string::npos, tool.runs[1].account.find("tls on"));  // no authentication
  EXPECT_NE(std::string::npos,
            tool.runs[2].account.find("auth on\r\nuser u\r\npassword p\r\ntls on"));
  EXPECT_EQ(3u, Count(kOut));
  EXPECT_EQ(1u, Count("0 There are 1 eMail messages to be sent in group 3..."));
}

TEST_F(MailQueue, SettingsOfTheThreadStayForItsLife) {
  Settings("port = 2525\n");
  failing = {"a"};
  Add({"a"});
  tool.Advance(5);  // behind the first turn
  Settings("port = 2526\n");
  tool.Advance(kPause + 100);
  ASSERT_EQ(2u, tool.runs.size());
  EXPECT_NE(std::string::npos, tool.runs[1].account.find("port 2525\r\n"));
}

TEST_F(MailQueue, CountsItsGroupsAnewWithEachQueue) {
  Add({"a"});
  tool.Advance(100);
  queue = std::make_unique<ZREventMailQueue>();
  Add({"b"});
  tool.Advance(100);
  EXPECT_EQ(2u, Count("0 There are 1 eMail messages to be sent in group 1..."));
}

TEST_F(MailQueue, OverflowDropsTheOldestWithoutALine) {
  Settings("queue = 1\n");
  failing = {"a", "b", "c"};
  AddTogether({"a", "b", "c"});
  EXPECT_EQ(0, SystemEvents());
  tool.Advance(1);  // the turn of a is over: a and b go, and c is the next
  EXPECT_EQ(2, SystemEvents());
  tool.Advance(kPause / 2);
  EXPECT_EQ((tagTexts{"a", "c"}), tool.Recipients());
  Add({"d"});  // behind the pause and one more turn of c
  tool.Advance(kPause / 2);
  EXPECT_EQ(2, SystemEvents());
  tool.Advance(kPause);  // c had its third turn, and is the oldest of two
  EXPECT_EQ((tagTexts{"a", "c", "c", "c", "d"}), tool.Recipients());
  EXPECT_EQ(3, SystemEvents());
  EXPECT_EQ(0u, log.Starting("Deleting").size());
}

TEST_F(MailQueue, NegativeSizeIsNoLimit) {
  Settings("queue = -1\n");
  std::vector<std::string> many;
  for (int index = 0; index < 200; ++index)
    many.push_back(std::to_string(index));
  failing.insert(many.begin(), many.end());
  AddTogether(many);
  tool.Advance(5000);
  EXPECT_EQ(200u, tool.runs.size());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(MailQueue, SizeOfZeroKeepsNoFailure) {
  Settings("queue = 0\n");
  failing = {"a"};
  Add({"a"});
  Add({"b"});
  tool.Advance(4 * kPause);
  EXPECT_EQ((tagTexts{"a", "b"}), tool.Recipients());
  EXPECT_EQ(1, SystemEvents());
  EXPECT_EQ(kOut, Lines().back());
}

// At the size that the settings allow nothing is dropped: the rule asks after each turn.
TEST_F(MailQueue, SizeIsReadAnewInEachStep) {
  Settings("queue = 3\n");
  failing = {"a", "b", "c"};
  AddTogether({"a", "b", "c"});
  tool.Advance(100);
  EXPECT_EQ(0, SystemEvents());
  Settings("queue = 1\n");
  tool.Advance(kPause);
  EXPECT_EQ(2, SystemEvents());
}

TEST_F(MailQueue, WithoutAThreadTheGroupWaitsForTheNextAdd) {
  tool.FailThreadsAfter(0);
  Add({"a"});
  tool.Advance(100);
  EXPECT_TRUE(tool.runs.empty());
  tool.FailThreadsAfter(-1);
  Add({"b"});
  tool.Advance(100);
  EXPECT_EQ((tagTexts{"a", "b"}), tool.Recipients());
}

TEST_F(MailQueue, EndsWithAGroupThatNoThreadHasSeen) {
  tool.FailThreadsAfter(0);
  Add({"a"});
  queue.reset();
  EXPECT_TRUE(Lines().empty());
}

TEST_F(MailQueue, EndsAfterTheTurnUnderWay) {
  takes = 5000;
  AddTogether({"a", "b"});
  tool.Advance(1000);
  const std::uint32_t begun = tool.TickCount();
  queue.reset();
  EXPECT_EQ(4010u, tool.TickCount() - begun);  // the turn, and the pause of a step
  EXPECT_EQ((tagTexts{"a"}), tool.Recipients());
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(MailQueue, EndsAfterTheSendingUnderWayAndLosesTheRest) {
  takes = 5000;
  Add({"a", "b"});
  ZRThread adder;
  ASSERT_TRUE(adder.Start([this] { Add({"c"}); }));
  tool.Advance(1000);
  adder.Join();  // it has waited for the turn
  EXPECT_EQ((tagTexts{"a", "b"}), tool.Recipients());
  queue.reset();
  EXPECT_EQ((tagTexts{"a", "b"}), tool.Recipients());
  EXPECT_EQ(kOut, Lines().back());
  EXPECT_EQ(0, SystemEvents());
}

TEST_F(MailQueue, EndWaitsThroughThePauseOfAPass) {
  failing = {"a"};
  Add({"a"});
  tool.Advance(100);  // in the pause
  const std::uint32_t begun = tool.TickCount();
  queue.reset();
  EXPECT_GT(tool.TickCount() - begun, 9900u);
  EXPECT_EQ((tagTexts{"a", "a"}), tool.Recipients());  // the step goes on behind its pause
  EXPECT_EQ(1u, Count(kOut));
}

TEST_F(MailQueue, EndDoesNotWaitForAThreadThatHasEnded) {
  Add({"a"});
  tool.Advance(100);
  const std::uint32_t begun = tool.TickCount();
  queue.reset();
  EXPECT_EQ(begun, tool.TickCount());
}

TEST_F(MailQueue, TwoAddsAtOnceShareOneThread) {
  ZRThread first;
  ZRThread second;
  ASSERT_TRUE(first.Start([this] { Add({"a"}); }));
  ASSERT_TRUE(second.Start([this] { Add({"b"}); }));
  tool.Advance(100);
  EXPECT_EQ((tagTexts{"a", "b"}), tool.Recipients());
  EXPECT_EQ(1u, Count(kOut));
}

TEST_F(MailQueue, MessageWithoutAddressesIsComplete) {
  Add({});
  tool.Advance(100);
  EXPECT_EQ(1u, Count("0 All eMail messages in group 1 completely sent. Group deleted."));
  EXPECT_TRUE(tool.runs.empty());
}

}  // namespace

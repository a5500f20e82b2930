// The words of the verbs that ask a running site.
#include <gtest/gtest.h>

#include <vector>

#include "tessaly/zrcommandline.h"

namespace {

using Verb = ZRCommand::tagVerb;

class LiveWords : public ::testing::Test {
 protected:
  ZRCommand Parse(const std::vector<const char*>& behindProgram) {
    std::vector<const char*> words{"tessaly"};
    words.insert(words.end(), behindProgram.begin(), behindProgram.end());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ZRCommand command = ParseCommandLine(static_cast<int>(words.size()), words.data());
    out = testing::internal::GetCapturedStdout();
    error = testing::internal::GetCapturedStderr();
    return command;
  }
  bool IsRefused(const std::vector<const char*>& words) {
    const ZRCommand command = Parse(words);
    return command.verb == Verb::kNone && command.exitCode == kExitImpossible && !error.empty();
  }
  std::string out;
  std::string error;
};

TEST_F(LiveWords, NameASite) {
  const ZRCommand active = Parse({"active", "house"});
  EXPECT_EQ(active.verb, Verb::kActive) << error;
  EXPECT_EQ(active.site, "house");
  EXPECT_EQ(active.port, -1);
  EXPECT_EQ(active.client.user, "");
  EXPECT_EQ(active.client.authorities, "");
  EXPECT_EQ(active.client.format, ZRHistoryFormat::kTable);
  EXPECT_EQ(Parse({"notified", "house"}).verb, Verb::kNotified);
  EXPECT_EQ(Parse({"listeners", "house"}).verb, Verb::kListeners);
  EXPECT_EQ(Parse({"drivers", "house"}).verb, Verb::kDrivers);
  EXPECT_EQ(Parse({"drivers", "house"}).client.driver, "");
  EXPECT_EQ(Parse({"drivers", "house", "Pump running"}).client.driver, "Pump running");
  const ZRCommand force = Parse({"force", "house", "hall.LIMIT", "--", "-5"});
  EXPECT_EQ(force.verb, Verb::kForce) << error;
  EXPECT_EQ(force.client.variable, "hall.LIMIT");
  EXPECT_EQ(force.client.value, "-5");
  EXPECT_TRUE(IsRefused({"force", "house", "hall.LIMIT"}));
  EXPECT_TRUE(IsRefused({"active"}));
  EXPECT_TRUE(IsRefused({"active", "house", "more"}));
}

TEST_F(LiveWords, MaySayWhoAsksAndWhere) {
  const ZRCommand command = Parse({"notified", "house", "--user", "ana", "--port", "8480", "--ca",
                                   "root.pem", "--format", "json"});
  EXPECT_EQ(command.verb, Verb::kNotified) << error;
  EXPECT_EQ(command.client.user, "ana");
  EXPECT_EQ(command.port, 8480);
  EXPECT_EQ(command.client.authorities, "root.pem");
  EXPECT_EQ(command.client.format, ZRHistoryFormat::kJson);
}

TEST_F(LiveWords, HaveNoPassword) {
  EXPECT_TRUE(IsRefused({"active", "house", "--password", "secret"}));
  EXPECT_TRUE(IsRefused({"active", "house", "--user", "ana", "secret"}));
}

TEST_F(LiveWords, HaveAPortThatSomebodyCanListenOn) {
  EXPECT_TRUE(IsRefused({"active", "house", "--port", "0"}));
  EXPECT_TRUE(IsRefused({"active", "house", "--port", "65536"}));
}

TEST_F(LiveWords, AcknowledgeOneOrMore) {
  const ZRCommand command = Parse({"ack", "house", "one", "R.two", "--user", "ana"});
  EXPECT_EQ(command.verb, Verb::kAck) << error;
  EXPECT_EQ(command.site, "house");
  EXPECT_EQ(command.client.ids, (std::vector<std::string>{"one", "R.two"}));
  EXPECT_EQ(command.client.user, "ana");
  EXPECT_TRUE(IsRefused({"ack", "house"}));
  EXPECT_TRUE(IsRefused({"ack", "house", "one", "--format", "csv"}));
}

}  // namespace

#include "zrevents/actions/zrmsmtp.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "support/faketool.h"
#include "support/golden.h"
#include "support/logcapture.h"

namespace {

// A sender, and the mail program played by the test.
class Submission : public ::testing::Test {
 protected:
  Submission() { smtp.SetFrom("hall@example.org"); }

  // What is wrong: the code and the text.
  [[nodiscard]] std::string Send(const char* to = "ana@example.org") {
    const bool sent = smtp.Send(to, "Subject", "body");
    EXPECT_EQ(sent, smtp.ErrorCode() == 0 && smtp.ErrorMsg().IsEmpty());
    EXPECT_TRUE(share.Files().empty());
    EXPECT_EQ(0u, tool.UnderWay());
    return std::to_string(smtp.ErrorCode()) + " " + Str(smtp.ErrorMsg());
  }
  // With names of files and folders that are the same in each run.
  [[nodiscard]] std::string Named(std::string text) const {
    const std::string id = "[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}";
    for (const char* name : {"ACCOUNT", "MAIL"})
      text =
          std::regex_replace(text, std::regex(id), name, std::regex_constants::format_first_only);
    for (std::size_t at = 0; (at = text.find(share.path.string())) != std::string::npos;)
      text.replace(at, share.path.string().size(), "SHARE");
    return text;
  }

  FakeTool tool;
  ShareFolder share;
  LogCapture log;
  ZRMSmtp smtp{"mail.example.org", 587};
};

TEST_F(Submission, WritesAccountMailAndScript) {
  smtp.SetUserPassword("hall", "s3cret \"x\"");
  smtp.SetSSL(true);
  ASSERT_TRUE(smtp.Send("josé@example.org", "Caldera – avería", "Temperatura: 92 °C\nsecond line"));
  ASSERT_EQ(1u, tool.runs.size());
  EXPECT_EQ(Golden("mail/account-full.txt"), tool.runs[0].account);
  EXPECT_EQ(Golden("mail/mail.txt"), tool.runs[0].mail);
  EXPECT_EQ(Golden("mail/script.sh"), Named(tool.runs[0].script));
  EXPECT_EQ("/bin/sh", tool.runs[0].program);
}

TEST_F(Submission, LeavesOutDomainAuthenticationAndEncryption) {
  ZRMSmtp plain("mail.example.org", 25);
  plain.SetFrom("hall");
  ASSERT_TRUE(plain.Send("a@b", "s", "b"));
  EXPECT_EQ(Golden("mail/account-plain.txt"), tool.runs[0].account);
}

TEST_F(Submission, EncryptsWithoutAuthenticationToo) {
  smtp.SetSSL(true);
  ASSERT_TRUE(smtp.Send("a@b", "s", "b"));
  EXPECT_NE(std::string::npos, tool.runs[0].account.find("from hall@example.org\r\ntls on\r\n"));
}

TEST_F(Submission, DomainIsWhatFollowsTheFirstAt) {
  smtp.SetFrom("a@b@c");
  ASSERT_TRUE(smtp.Send("a@b", "s", "b"));
  EXPECT_NE(std::string::npos, tool.runs[0].account.find("domain b@c\r\nfrom a@b@c\r\n"));
}

TEST_F(Submission, AuthenticationCanBeSwitchedOff) {
  smtp.SetPassword("p");
  smtp.SetAuth(false);
  ASSERT_TRUE(smtp.Send("a@b", "s", "b"));
  EXPECT_EQ(std::string::npos, tool.runs[0].account.find("auth on"));
}

TEST_F(Submission, LogsTheCommandAndNoPassword) {
  smtp.SetUserPassword("hall", "canary-password");
  ASSERT_TRUE(smtp.Send("ana@example.org --help", "s", "b"));
  ASSERT_EQ(1u, log.Lines().size());
  EXPECT_EQ(kLogTrace, log.Lines()[0].level);
  EXPECT_EQ(
      "Calling command line order '\"SHARE/msmtp\" -d -a tz -C \"SHARE/ACCOUNT.txt\" "
      "ana@example.org --help < \"SHARE/MAIL.txt\"'...",
      Named(log.Lines()[0].text));
}

TEST_F(Submission, ShowsTheRecipientInTheLogByteByByte) {
  tool.answer = [](const auto&) { return FakeTool::tagResult{1, 0}; };
  EXPECT_FALSE(smtp.Send("josé@b", "é", "b"));
  ASSERT_EQ(2u, log.Lines().size());
  EXPECT_NE(std::string::npos, log.Lines()[0].text.find("\" josÃ©@b < \""));
  EXPECT_TRUE(log.Has(kLogDelivery, "Unable to send eMail \"é\" to josÃ©@b (errorCode: 1)"));
}

TEST_F(Submission, FilesAreTheOwnersAlone) {
  tool.answer = [this](const auto&) {
    EXPECT_EQ(3u, share.Files().size());
    for (const std::string& name : share.Files()) {
      struct stat found {};
      EXPECT_EQ(0, ::stat((share.path / name).c_str(), &found));
      EXPECT_EQ(0600u, found.st_mode & 07777u) << name;
    }
    return FakeTool::tagResult{};
  };
  const mode_t before = ::umask(0);
  EXPECT_EQ("0 ", Send());
  (void)::umask(before);
}

TEST_F(Submission, FilesGoInTheOrderInWhichTheyCame) {
  ASSERT_TRUE(smtp.Send("a@b", "s", "b"));
  ASSERT_EQ(3u, tool.removed.size());
  const FakeTool::tagRun& run = tool.runs[0];
  EXPECT_NE(std::string::npos, run.script.find(" -C '" + tool.removed[0] + "'"));
  EXPECT_NE(std::string::npos, run.script.find(" < '" + tool.removed[1] + "'"));
  EXPECT_EQ(run.arguments.back(), tool.removed[2]);
}

TEST_F(Submission, HeadersStayOnTheirLines) {
  ASSERT_TRUE(smtp.Send("a@b\r\nBcc: c@d", "One\r\nX: y\n.", "b"));
  EXPECT_EQ(0u, tool.runs[0].mail.find("To: a@b  Bcc: c@d\r\nSubject: One  X: y .\r\nFrom: "));
  EXPECT_NE(std::string::npos, tool.runs[0].script.find(" -- 'a@b' 'Bcc:' 'c@d' < "));
}

TEST_F(Submission, RecipientsAreQuotedAndNeverOptions) {
  ASSERT_TRUE(smtp.Send(" --help\t'$(x)' \"a b\"  ", "s", "b"));
  EXPECT_NE(std::string::npos,
            tool.runs[0].script.find(" -- '--help' ''\\''$(x)'\\''' '\"a' 'b\"' < "));
}

TEST_F(Submission, SettingThatRunsOverItsLineIsNoAccount) {
  const std::string error = "1 Unable to create configuration file account";
  ZRMSmtp hostile("mail\nlogfile /tmp/x", 25);
  EXPECT_FALSE(hostile.Send("a@b", "s", "b"));
  EXPECT_EQ(1u, hostile.ErrorCode());
  smtp.SetFrom("a\r@b");
  EXPECT_EQ(error, Send());
  smtp.SetFrom("a@b");
  smtp.SetUserPassword("u\n", "p");
  EXPECT_EQ(error, Send());
  smtp.SetUserPassword("u", "p\r");
  EXPECT_EQ(error, Send());
  smtp.SetAuth(false);  // then neither is written
  EXPECT_EQ("0 ", Send());
  EXPECT_EQ(1u, tool.runs.size());
}

TEST_F(Submission, FileThatCannotBeMadeIsTold) {
  const std::vector<std::string> errors = {"1 Unable to create configuration file account",
                                           "2 Unable to create mail file",
                                           "3 Unable to create bat file"};
  for (std::size_t files = 0; files < errors.size(); ++files) {
    tool.filesLeft = static_cast<int>(files);
    EXPECT_EQ(errors[files], Send());
  }
  EXPECT_TRUE(tool.runs.empty());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Submission, ShareFolderThatOthersMayEnterIsNotUsed) {
  std::filesystem::permissions(share.path, std::filesystem::perms::group_exec,
                               std::filesystem::perm_options::add);
  EXPECT_EQ("1 Unable to create configuration file account", Send());
  EXPECT_TRUE(tool.runs.empty());
}

TEST_F(Submission, ProcessThatCannotStartIsTold) {
  tool.starts = false;
  EXPECT_EQ("4 Unable to start process", Send());
}

TEST_F(Submission, CommandThatDoesNotFitIsNotStarted) {
  const std::string before = "\"" + share.path.string() + "/msmtp\" -d -a tz -C \"" +
                             share.path.string() + "/" + std::string(40, 'x') + "\"  < \"" +
                             share.path.string() + "/" + std::string(40, 'x') + "\"";
  const std::string fits(1023 - before.size(), 'a');
  EXPECT_EQ("0 ", Send(fits.c_str()));
  EXPECT_EQ("4 Unable to start process", Send((fits + "a").c_str()));
  EXPECT_EQ(1u, tool.runs.size());
}

TEST_F(Submission, ExitCodeIsTheError) {
  for (const int code : {1, 6, 64, 127, 137}) {
    tool.answer = [code](const auto&) { return FakeTool::tagResult{code, 5}; };
    EXPECT_EQ(std::to_string(code) + " Unable to send mail -2-", Send());
    EXPECT_TRUE(log.Has(kLogDelivery,
                        "Unable to send eMail \"Subject\" to ana@example.org "
                        "(errorCode: " +
                            std::to_string(code) + ")"));
  }
}

TEST_F(Submission, ExitCodeThatSomebodyElseTookIsTold) {
  tool.answer = [](const auto&) { return FakeTool::tagResult{ZRPlatform::kNoExitCode, 0}; };
  EXPECT_EQ("6 Unable to access process", Send());
  EXPECT_EQ(1u, log.Lines().size());  // the command
}

TEST_F(Submission, HangingToolIsEndedAfterTwelveSeconds) {
  tool.answer = [](const auto&) { return FakeTool::tagResult{0, FakeTool::kForEver}; };
  const std::uint32_t begun = tool.TickCount();
  EXPECT_EQ("6 Unable to send mail -1-", Send());
  EXPECT_EQ(12'000u, tool.TickCount() - begun);
  EXPECT_EQ(1u, tool.ended.size());
  EXPECT_TRUE(
      log.Has(kLogDelivery, "TIMEOUT received when sending eMail \"Subject\" to ana@example.org"));
}

TEST_F(Submission, EndedToolIsWaitedForForOneSecondMore) {
  for (const std::uint32_t takes : {400u, 1000u, FakeTool::kForEver}) {
    tool.answer = [](const auto&) { return FakeTool::tagResult{0, FakeTool::kForEver}; };
    tool.endTakes = takes;
    const std::uint32_t begun = tool.TickCount();
    EXPECT_FALSE(smtp.Send("a@b", "s", "b"));
    EXPECT_EQ(12'000 + std::min(takes, 1000u), tool.TickCount() - begun);
    EXPECT_STREQ("Unable to send mail -1-", smtp.ErrorMsg().Text());
    EXPECT_TRUE(share.Files().empty());
  }
}

TEST_F(Submission, RunOfJustTwelveSecondsIsInTime) {
  tool.answer = [](const auto&) { return FakeTool::tagResult{0, 12'000}; };
  EXPECT_EQ("0 ", Send());
}

TEST_F(Submission, EachSendForgetsTheFailureBefore) {
  tool.starts = false;
  EXPECT_EQ("4 Unable to start process", Send());
  tool.starts = true;
  EXPECT_EQ("0 ", Send());
}

TEST_F(Submission, CopyHasSettingsOfItsOwn) {
  ZRMSmtp copy(smtp);
  copy.SetFrom("other@example.org");
  EXPECT_EQ("0 ", Send());
  EXPECT_TRUE(copy.Send("a@b", "s", "b"));
  EXPECT_NE(std::string::npos, tool.runs[0].account.find("from hall@example.org"));
  EXPECT_NE(std::string::npos, tool.runs[1].account.find("from other@example.org"));
}

}  // namespace

// Mails through the real tool to a real server.

#include <gtest/gtest.h>

#include <thread>

#include "support/logcapture.h"
#include "zrevents/actions/zrmsmtp.h"
#include "zrevents/peers/mailbox.h"

namespace {

constexpr const char* kPassword = "canary-of-the-password";

// What is left of a Send: nothing.
class Msmtp : public ::testing::Test {
 protected:
  using Clock = std::chrono::steady_clock;

  ~Msmtp() override {
    EXPECT_EQ(std::vector<std::string>{"msmtp"}, share.Files());
    EXPECT_TRUE(ProcessesNaming(share.path.string()).empty());
    for (const LogCapture::tagLine& line : log.Lines())
      EXPECT_EQ(std::string::npos, line.text.find(kPassword)) << line.text;
  }
  [[nodiscard]] static ZRMSmtp Sender(int port, const char* server = "127.0.0.1") {
    ZRMSmtp smtp(server, port);
    smtp.SetFrom("hall@example.org");
    return smtp;
  }

  SharedTool share;
  LogCapture log;
};

TEST_F(Msmtp, DeliversTextBeyondAscii) {
  const Mailbox box;
  ZRMSmtp smtp = Sender(box.Port());
  ASSERT_TRUE(smtp.Send("ana@example.org", "Caldera – avería", "Temperatura: 92 °C\n.\nend"));
  const std::string mail = box.Mail();  // the tool puts a date and an id in front
  EXPECT_TRUE(mail.ends_with(
      "\r\nTo: ana@example.org\r\nSubject: Caldera – avería\r\nFrom: hall@example.org\r\n"
      "User-Agent: Tessaly\r\nContent-type: text/plain; charset=UTF-8\r\n\r\n"
      "Temperatura: 92 °C\r\n.\r\nend\r\n"))
      << mail;
  EXPECT_EQ("hall@example.org\nana@example.org\nplain\nnobody\n", box.Envelope());
}

TEST_F(Msmtp, DeliversEncryptedAndWithALogin) {
  const Certificate certificate;
  const Mailbox box({"--tls", certificate.File(), certificate.Key(), "--login", "hall", kPassword});
  ZRMSmtp smtp = Sender(box.Port());
  smtp.SetUserPassword("hall", kPassword);
  smtp.SetSSL(true);
  ASSERT_TRUE(smtp.Send("josé@example.org", "Subject", "body")) << smtp.ErrorCode();
  EXPECT_EQ("hall@example.org\njosé@example.org\ntls\nlogin\n", box.Envelope());
}

TEST_F(Msmtp, DeliversToEachOfSeveralRecipients) {
  const Mailbox box;
  ZRMSmtp smtp = Sender(box.Port());
  ASSERT_TRUE(smtp.Send("ana@example.org leo@example.org", "Subject", "body"));
  EXPECT_EQ("hall@example.org\nana@example.org\nleo@example.org\nplain\nnobody\n", box.Envelope());
}

TEST_F(Msmtp, WrongPasswordIsAFailure) {
  const Certificate certificate;
  const Mailbox box(
      {"--tls", certificate.File(), certificate.Key(), "--login", "hall", "another one"});
  ZRMSmtp smtp = Sender(box.Port());
  smtp.SetUserPassword("hall", kPassword);
  smtp.SetSSL(true);
  EXPECT_FALSE(smtp.Send("ana@example.org", "Subject", "body"));
  EXPECT_EQ(77u, smtp.ErrorCode());
  EXPECT_EQ("", box.Envelope());
}

TEST_F(Msmtp, RefusedRecipientIsAFailure) {
  for (const char* answer : {"450 later", "550 never"}) {
    const Mailbox box({"--answer", answer});
    ZRMSmtp smtp = Sender(box.Port());
    EXPECT_FALSE(smtp.Send("ana@example.org", "Subject", "body"));
    EXPECT_NE(0u, smtp.ErrorCode());
    EXPECT_EQ("Unable to send mail -2-", Str(smtp.ErrorMsg()));
    EXPECT_EQ("", box.Envelope());
  }
}

TEST_F(Msmtp, ServerThatIsNotThereIsAFailure) {
  int port = 0;
  {
    const Mailbox box;
    port = box.Port();
  }
  ZRMSmtp smtp = Sender(port);
  EXPECT_FALSE(smtp.Send("ana@example.org", "Subject", "body"));
  EXPECT_EQ(75u, smtp.ErrorCode());
  EXPECT_TRUE(
      log.Has(kLogDelivery, "Unable to send eMail \"Subject\" to ana@example.org (errorCode: 75)"));
}

TEST_F(Msmtp, UnknownNameIsAFailure) {
  ZRMSmtp smtp = Sender(25, "no-such-host.invalid");
  const auto begun = Clock::now();
  EXPECT_FALSE(smtp.Send("ana@example.org", "Subject", "body"));
  EXPECT_NE(0u, smtp.ErrorCode());
  EXPECT_LT(Clock::now() - begun, std::chrono::milliseconds(13'100));
}

TEST_F(Msmtp, MissingToolIsAFailure) {
  std::filesystem::remove(share.path / "msmtp");
  ZRMSmtp smtp = Sender(25);
  EXPECT_FALSE(smtp.Send("ana@example.org", "Subject", "body"));
  EXPECT_EQ(127u, smtp.ErrorCode());
  std::filesystem::create_symlink("/usr/bin/msmtp", share.path / "msmtp");
}

// In real time, both at once: the tool gives up a silent server after 10 s by itself, and is ended
// after 12 s with one that never stops talking.
TEST_F(Msmtp, SilentAndDrippingServersTakeThirteenSecondsAtMost) {
  const Mailbox silent({"--silent"});
  const Mailbox dripping({"--dripping"});
  ZRMSmtp toSilent = Sender(silent.Port());
  ZRMSmtp toDripping = Sender(dripping.Port());
  toSilent.SetUserPassword("hall", kPassword);
  const auto begun = Clock::now();
  std::thread other([&] { EXPECT_FALSE(toSilent.Send("ana@example.org", "Subject", "body")); });
  EXPECT_FALSE(toDripping.Send("leo@example.org", "Subject", "body"));
  other.join();
  const auto taken = Clock::now() - begun;
  EXPECT_GE(taken, std::chrono::milliseconds(12'000));
  EXPECT_LT(taken, std::chrono::milliseconds(13'100));
  EXPECT_EQ(74u, toSilent.ErrorCode());
  EXPECT_EQ("Unable to send mail -1-", Str(toDripping.ErrorMsg()));
  EXPECT_TRUE(
      log.Has(kLogDelivery, "TIMEOUT received when sending eMail \"Subject\" to leo@example.org"));
}

}  // namespace

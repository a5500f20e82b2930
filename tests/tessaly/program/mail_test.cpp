// Mails of a running site, to a real server.

#include <chrono>
#include <thread>

#include "tessaly/program/programfixture.h"
#include "zrevents/peers/mailbox.h"

namespace {

constexpr const char* kPassword = "canary-of-the-password";

class ProgramMails : public Program {
 protected:
  ProgramMails() {
    Events(EventXml("Caldera", 1)
               .Condition("1 = 1")
               .Argument("[sim.LEVEL] * 2")
               .Actions("actions", "activate",
                        "<mail><message>%n: %a1 °C</message><users><user><id>ana</id>"
                        "<mail>0</mail></user></users></mail>"));
    site.Write("config/users.toml", "[[user]]\nname = \"ana\"\nmail = [\"ana@example.org\"]\n");
  }
  ~ProgramMails() override {
    EXPECT_EQ(std::string::npos, (program->Out() + Log()).find(kPassword));
    EXPECT_EQ((std::vector<std::string>{"tessaly.toml"}), FilesWithThePassword());
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(site.path / "share"))
      left.push_back(entry.path().filename().string());
    EXPECT_EQ(std::vector<std::string>{"msmtp"}, left);
    EXPECT_TRUE(ProcessesNaming(site.path.string()).empty());
  }
  void MailSettings(int port, const std::string& more, const std::string& log = "terminal") const {
    Settings("[log]\nlevel = 0\ntarget = \"" + log + "\"\n[smtp]\nserver = \"127.0.0.1\"\nport = " +
             std::to_string(port) + "\nfrom = \"hall@example.org\"\n" + more);
  }
  [[nodiscard]] std::string Log() const { return program->Error(); }
  // Waits until the log file holds `text`.
  [[nodiscard]] bool Logs(const std::string& text) const {
    const auto end = std::chrono::steady_clock::now() + RunningProgram::kPatience;
    while (FileText(site.path / "tessaly.log").find(text) == std::string::npos) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
  }
  // What is kept and left below the site, by the names of the files.
  [[nodiscard]] std::vector<std::string> FilesWithThePassword() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(site.path))
      if (entry.is_regular_file() && FileText(entry.path()).find(kPassword) != std::string::npos)
        found.push_back(entry.path().lexically_relative(site.path).string());
    return found;
  }
};

TEST_F(ProgramMails, AreDeliveredEncryptedAndWithALogin) {
  const Certificate certificate;
  const Mailbox box({"--tls", certificate.File(), certificate.Key(), "--login", "hall", kPassword});
  MailSettings(box.Port(), std::string("authenticated = true\nssl = true\nuser = \"hall\"\n") +
                               "password = \"" + kPassword + "\"\n");
  EXPECT_EQ(kDone, Run({"check"})) << out;
  ASSERT_NE(0, Start()) << Log();
  const std::string done = "All eMail groups have been managed. Going out.\n";
  ASSERT_TRUE(Says(done) || program->WaitFor(done)) << Log();
  EXPECT_EQ("hall@example.org\nana@example.org\ntls\nlogin\n", box.Envelope());
  EXPECT_NE(std::string::npos,
            box.Mail().find("Subject: Tessaly - The event 'Caldera' has been activated\r\n"));
  EXPECT_TRUE(box.Mail().ends_with("\r\n\r\nCaldera: 5 °C\r\n")) << box.Mail();
  EXPECT_EQ(kDone, Stop());
  EXPECT_EQ(kDone, Run({"sysevents"}));
  EXPECT_EQ("", out);
}

// A log file, so that it is among what is searched for the password.
TEST_F(ProgramMails, WithAWrongPasswordKeepItOutOfTheLogAndOfWhatIsLeft) {
  const Certificate certificate;
  const Mailbox box(
      {"--tls", certificate.File(), certificate.Key(), "--login", "hall", "another one"});
  MailSettings(box.Port(),
               std::string("authenticated = true\nssl = true\nuser = \"hall\"\n") +
                   "queue = 0\npassword = \"" + kPassword + "\"\n",
               "tessaly.log");
  program = std::make_unique<RunningProgram>(Words({"run", site.path.string(), "--port", "0"}));
  EXPECT_TRUE(Logs("to ana@example.org (errorCode: 77)")) << FileText(site.path / "tessaly.log");
  EXPECT_EQ(kDone, Stop());
  EXPECT_TRUE(Logs("All eMail groups have been managed. Going out.\n"));
  EXPECT_EQ("", box.Envelope());
}

TEST_F(ProgramMails, ThatAreDroppedAreASystemEvent) {
  const Mailbox box({"--answer", "550 never"});
  MailSettings(box.Port(), std::string("queue = 0\npassword = \"") + kPassword + "\"\n");
  ASSERT_NE(0, Start()) << Log();
  const std::string done = "All eMail groups have been managed. Going out.\n";
  ASSERT_TRUE(Says(done) || program->WaitFor(done)) << Log();
  EXPECT_TRUE(Says("Calling 'Send' failed with eMail 0. Skipping group 1 (retry can exist)!\n"));
  EXPECT_EQ(kDone, Run({"sysevents"})) << error;  // also while the site runs
  EXPECT_TRUE(
      out.ends_with("Z  SystemEventEMailSendMessageError: A mail of an event couldn't be sent\n"))
      << out;
  EXPECT_EQ(kDone, Stop());
}

TEST_F(ProgramMails, EndWithTheSendingUnderWay) {
  const Mailbox box({"--silent"});
  MailSettings(box.Port(), std::string("password = \"") + kPassword + "\"\n");
  ASSERT_NE(0, Start()) << Log();
  ASSERT_TRUE(Says("Calling command line") || program->WaitFor("Calling command line")) << Log();
  EXPECT_EQ(kDone, Stop());
  EXPECT_TRUE(Says("All eMail groups have been managed. Going out.\n"));
}

}  // namespace

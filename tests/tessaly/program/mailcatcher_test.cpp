// The mail server of the sample site, as ./run starts it.

#include "support/sourcedir.h"
#include "tessaly/program/programfixture.h"
#include "zrevents/peers/mailbox.h"

namespace {

const std::string kCatcher = RepositoryPath("examples/mailcatcher");

class Mailcatcher : public Program {
 protected:
  Mailcatcher() {
    {
      const Mailbox once;
      port = once.Port();  // free behind it
    }
    Settings(Smtp("127.0.0.1"));
    Events(EventXml("Caldera", 1)
               .Condition("1 = 1")
               .Actions("actions", "activate",
                        "<mail><message>92 °C&#9;now</message>"
                        "<address>ana@example.org</address></mail>"));
  }
  [[nodiscard]] std::string Smtp(const std::string& server) const {
    return "[smtp]\nserver = \"" + server + "\"\nport = " + std::to_string(port) +
           "\nfrom = \"hall@example.org\"\n";
  }
  // What it says when it can't do its work.
  [[nodiscard]] std::string Complaint() const {
    RunningProgram catcher({kCatcher, site.path.string()});
    EXPECT_EQ(kFaulty, catcher.Wait());
    return catcher.Error();
  }

  int port = 0;
};

// It writes to the same stream as the site, so that the stream ends only when both have ended.
TEST_F(Mailcatcher, ShowsAndKeepsMailsForAsLongAsTheProcessRuns) {
  const std::string folder = site.path.string();
  program = std::make_unique<RunningProgram>(
      std::vector<std::string>{"sh", "-c",
                               kCatcher + " " + folder + " --while $$ && exec " + TessalyProgram() +
                                   " run " + folder + " --port 0"});
  EXPECT_TRUE(program->WaitFor(
      " [mail ] to ana@example.org: Tessaly - The event 'Caldera' has been activated: 92 °C now\n"))
      << program->Error();
  EXPECT_EQ(kDone, Stop());
  EXPECT_TRUE(ProcessesNaming(folder).empty());
  std::vector<std::string> mails;
  for (const auto& entry : std::filesystem::directory_iterator(site.path / "mail"))
    mails.push_back(FileText(entry.path()));
  ASSERT_EQ(1u, mails.size());
  EXPECT_NE(std::string::npos, mails[0].find("\r\nTo: ana@example.org\r\n")) << mails[0];
}

TEST_F(Mailcatcher, SaysWhyItCatchesNothing) {
  Settings(Smtp("mail.example.org"));
  EXPECT_EQ("mailcatcher: no mail is caught: smtp.server of the site isn't 127.0.0.1\n",
            Complaint());
  const Mailbox other;
  port = other.Port();
  Settings(Smtp("127.0.0.1"));
  EXPECT_TRUE(Complaint().starts_with("mailcatcher: no mail is caught: [Errno 98]"));
}

}  // namespace

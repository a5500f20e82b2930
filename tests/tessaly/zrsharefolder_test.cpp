#include "tessaly/zrsharefolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/systemevents/zrsystemeventsserver.h"
#include "host/tools/zrfiles.h"
#include "support/eventxml.h"
#include "support/faketool.h"
#include "support/findinglines.h"
#include "support/sitefolder.h"
#include "tessaly/zrcommands.h"
#include "tessaly/zrsilentactions.h"
#include "tessaly/zrsitecheck.h"
#include "tessaly/zrsystemeventsfile.h"
#include "tessaly/zrusers.h"

namespace {

namespace fs = std::filesystem;

// A site, and a PATH with a mail program in it.
class ShareOfASite : public ::testing::Test {
 protected:
  ShareOfASite() : before(std::getenv("PATH")) {
    fs::create_directory(programs());
    Program(true);
    (void)::setenv("PATH", programs().c_str(), 1);
    Settings("[smtp]\nserver = \"mail\"\nfrom = \"hall@b\"\n");
  }
  ~ShareOfASite() override {
    (void)::setenv("PATH", before.c_str(), 1);
    SetSharePath(L"");
  }

  [[nodiscard]] fs::path programs() const { return site.path / "bin"; }
  [[nodiscard]] fs::path share() const { return site.path / "share"; }
  void Program(bool exists) const {
    fs::remove(programs() / "msmtp");
    if (!exists) return;
    std::ofstream(programs() / "msmtp") << "#!/bin/sh\n";
    fs::permissions(programs() / "msmtp", fs::perms::owner_all);
  }
  void Settings(const std::string& text) {
    std::vector<ZRSettingProblem> none;
    ASSERT_TRUE(setup.LoadText(text, site.WidePath(), none, none));
  }
  Lines Prepare() {
    return Found([this](ZRFindings& findings) { PrepareShareFolder(setup, findings); });
  }
  // What is said of a site with an event that has this action.
  Lines Check(const std::string& action = "<mail><address>a@b</address></mail>") {
    XmlDocument document;
    const EventXml event = EventXml().Condition("1 = 1").Actions("actions", "deactivate", action);
    EXPECT_TRUE(document.Parse(("<main><events>" + event.Xml() + "</events></main>").c_str()));
    return Found([&](ZRFindings& findings) { CheckMail(document, setup, findings); });
  }

  SiteFolder site;
  ZRTessalySetup setup;
  const std::string before;
};

TEST_F(ShareOfASite, IsMadeForItsOwnerAloneWithALinkToTheProgram) {
  const mode_t mask = ::umask(0);
  EXPECT_EQ(Lines{}, Prepare());
  (void)::umask(mask);
  struct stat found {};
  ASSERT_EQ(0, ::stat(share().c_str(), &found));
  EXPECT_EQ(0700u, found.st_mode & 07777u);
  EXPECT_EQ(programs() / "msmtp", fs::read_symlink(share() / "msmtp"));
  EXPECT_EQ(share().string() + "/", Narrow(GetSharePath()));
  EXPECT_EQ(Lines{}, Check());
}

TEST_F(ShareOfASite, LosesWhatAKilledRunHasLeft) {
  EXPECT_EQ(Lines{}, Prepare());
  const std::string id = "22222222-2222-2222-2222-222222222222";
  for (const std::string& name :
       {id + ".txt", id + ".bat", "sms-" + id + ".txt", id + ".txt2", id, id + ".csv",
        std::string("notes.txt"), std::string(36, 'x') + ".txt"})
    std::ofstream(share() / name) << "x";
  EXPECT_EQ(Lines{}, Prepare());
  std::vector<std::string> left;
  for (const auto& entry : fs::directory_iterator(share()))
    left.push_back(entry.path().filename().string());
  std::sort(left.begin(), left.end());
  EXPECT_EQ((std::vector<std::string>{id, id + ".csv", id + ".txt2", "msmtp", "notes.txt",
                                      std::string(36, 'x') + ".txt"}),
            left);
}

TEST_F(ShareOfASite, KeepsAProgramOfItsOwnAndReplacesALinkThatLeadsNowhere) {
  EXPECT_EQ(Lines{}, Prepare());
  fs::remove(share() / "msmtp");
  fs::create_symlink("/nowhere/at/all", share() / "msmtp");
  EXPECT_EQ(Lines{}, Prepare());
  EXPECT_EQ(programs() / "msmtp", fs::read_symlink(share() / "msmtp"));
  fs::remove(share() / "msmtp");
  std::ofstream(share() / "msmtp") << "own";
  EXPECT_EQ(Lines{}, Prepare());
  EXPECT_EQ("own", FileText(share() / "msmtp"));
}

TEST_F(ShareOfASite, ThatOthersMayEnterIsLeftAlone) {
  fs::create_directory(share());
  fs::permissions(share(), fs::perms::owner_all | fs::perms::group_exec);
  EXPECT_EQ(Lines{}, Prepare());
  EXPECT_FALSE(fs::exists(share() / "msmtp"));
  EXPECT_EQ(
      (Lines{
          "share: dropped: no mail is sent: it must be a folder of this user alone (mode 0700)"}),
      Check());
}

TEST_F(ShareOfASite, ThatCannotBeMadeIsSaid) {
  Settings("");
  std::ofstream(share()) << "a file";
  EXPECT_EQ(1u, Prepare().size());
}

TEST_F(ShareOfASite, CheckSaysWhatMailsAreMissing) {
  Program(false);
  Settings("");
  EXPECT_EQ((Lines{"share: dropped: no mail is sent: there is no program msmtp here or in PATH",
                   "tessaly.toml: dropped: no mail is sent: smtp.server isn't set",
                   "tessaly.toml: dropped: no mail is sent: smtp.from isn't set"}),
            Check());
  EXPECT_EQ(Lines{}, Check("<beep/>"));
  EXPECT_FALSE(fs::exists(share()));
}

TEST(UsersOfASite, AreADocumentThatIsChecked) {
  const SiteFolder site;
  std::vector<ZRSettingProblem> none;
  ZRTessalySetup setup;
  ASSERT_TRUE(setup.LoadText("", site.WidePath(), none, none));
  site.Write("config/default.xeve", "<main></main>");
  const auto check = [&setup](ZRFindings& findings) { CheckDocuments(setup, findings); };
  EXPECT_EQ(Lines{}, Found(check));
  site.Write("config/users.toml", "[[user]]\nname = \"a\"\nage = 1\n");
  EXPECT_EQ((Lines{"config/users.toml:3:1: hint: the key \"age\" in user is not known"}),
            Found(check));
  site.Write("config/users.toml", "[[user]]\n");
  EXPECT_EQ((Lines{"config/users.toml:1:1: broken: user.name must be given"}), Found(check));
}

TEST(SystemEventsOfASite, AreShownWithControlsAsEscapes) {
  const SiteFolder site;
  ZRCommand command;
  command.site = site.path.string();
  EXPECT_EQ(kExitDone, ShowSystemEvents(command));  // it has never run
  {
    const ZRVirtualTime time;
    std::vector<ZRSettingProblem> none;
    ZRTessalySetup setup;
    ASSERT_TRUE(setup.LoadText("", site.WidePath(), none, none));
    EXPECT_EQ(Lines{},
              Found([&setup](ZRFindings& findings) { KeepSystemEvents(setup, findings); }));
    ZRSystemEventsServer::get().saveSystemEvent(
        std::make_unique<SystemEventModemPortEmpty>().release(), L"avería\n\x1b[2J");
    ZRSystemEventsServer::get().Close();
  }
  ::testing::internal::CaptureStdout();
  const int exitCode = ShowSystemEvents(command);
  EXPECT_EQ("2026-01-01T00:00:00.000Z  SystemEventModemPortEmpty: avería\\n\\x1b[2J\n",
            ::testing::internal::GetCapturedStdout());
  EXPECT_EQ(kExitDone, exitCode);
  site.Write("data/system-events.sqlite", "no database at all, but long enough to be looked at");
  EXPECT_EQ(kExitImpossible, ShowSystemEvents(command));
}

TEST(SilentActions, LoadAndDoNothing) {
  const SiteFolder site;
  const std::string canary = (site.path / "canary").string();
  XmlDocument document;
  ASSERT_TRUE(document.Parse(
      ("<shellExecute><name>touch</name><command>touch " + canary + "</command></shellExecute>")
          .c_str()));
  {
    const ZRSilentActions silent;
    for (const char* tag : {"shellExecute", "mail", "sms"}) {
      const auto action = ZREventActionKinds::Make(ZREventActionKinds::KindOf(tag), nullptr);
      EXPECT_TRUE(action->LoadXml(document.Root()));
      EXPECT_TRUE(action->Execute(0));  // a real one would ask for its event
    }
  }
  const auto mail = ZREventActionKinds::Make(ZREventActionKinds::KindOf("mail"), nullptr);
  EXPECT_FALSE(mail->LoadXml(document.Root()));
}

}  // namespace

// What a site needs to send SMS: zrsharefolder.h.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/eventxml.h"
#include "support/findinglines.h"
#include "support/sitefolder.h"
#include "tessaly/zrsharefolder.h"

namespace {

namespace fs = std::filesystem;

class SmsOfASite : public ::testing::Test {
 protected:
  void Settings(const std::string& text) {
    std::vector<ZRSettingProblem> none;
    ASSERT_TRUE(setup.LoadText(text, site.WidePath(), none, none));
  }
  [[nodiscard]] fs::path Folder() const { return site.path / "sms"; }
  Lines Prepare() {
    return Found([this](ZRFindings& findings) { PrepareSmsFolder(setup, findings); });
  }
  // What is said of a site with an event that has this action.
  Lines Check(const std::string& action = "<sms><phone>+341</phone></sms>") {
    XmlDocument document;
    const EventXml event = EventXml().Condition("1 = 1").Actions("actions", "while", action);
    EXPECT_TRUE(document.Parse(("<main><events>" + event.Xml() + "</events></main>").c_str()));
    return Found([&](ZRFindings& findings) { CheckSms(document, setup, findings); });
  }

  SiteFolder site;
  ZRTessalySetup setup;
};

TEST_F(SmsOfASite, FolderIsMadeForItsOwnerAlone) {
  Settings("sms.sender = \"file\"");
  EXPECT_EQ(Lines{}, Check());  // before it is there
  const mode_t mask = ::umask(0);
  EXPECT_EQ(Lines{}, Prepare());
  EXPECT_EQ(Lines{}, Prepare());
  (void)::umask(mask);
  struct stat found {};
  ASSERT_EQ(0, ::stat(Folder().c_str(), &found));
  EXPECT_EQ(0700u, found.st_mode & 07777u);
  EXPECT_EQ(Lines{}, Check());
  fs::permissions(Folder(), fs::perms::others_exec, fs::perm_options::add);
  EXPECT_EQ((Lines{"tessaly.toml: dropped: no SMS is sent: sms.folder must be this user's alone "
                   "(mode 0700)"}),
            Check());
}

TEST_F(SmsOfASite, FolderThatCannotBeMadeIsSaid) {
  Settings("[sms]\nsender = \"file\"\nfolder = \"none/sms\"");
  EXPECT_EQ(1u, Prepare().size());
}

TEST_F(SmsOfASite, WithAModemHasNoFolder) {
  Settings("");
  EXPECT_EQ(Lines{}, Prepare());
  EXPECT_FALSE(fs::exists(Folder()));
}

TEST_F(SmsOfASite, ModemNeedsAPortADeviceAndAProgram) {
  Settings("sms.program = \"/nowhere/gammu\"");
  EXPECT_EQ((Lines{"tessaly.toml: dropped: no SMS is sent: preferences.modem.port isn't set",
                   "tessaly.toml: dropped: no SMS is sent: sms.program isn't there"}),
            Check());
  EXPECT_EQ(Lines{}, Check("<mail><address>a@b</address></mail>"));
  Settings("preferences.modem.port = 0\nsms.program = \"/bin/sh\"");
  EXPECT_EQ((Lines{"tessaly.toml: dropped: no SMS is sent: the modem's port 0 has no device"}),
            Check());
  Settings("preferences.modem.port = 1\nsms.program = \"/bin/sh\"");
  EXPECT_EQ(Lines{}, Check());
}

}  // namespace

#include "tessaly/zrdriverpasswords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/findinglines.h"
#include "support/sitefolder.h"
#include "tessaly/zrsitecheck.h"

namespace {

using testing::HasSubstr;

constexpr const char* kAccount = "[[account]]\ndriver = \"farm\"\npassword = \"c4n4ry\"\n";

class DriverPasswords : public testing::Test {
 protected:
  void Read(const std::string& text, mode_t mode = 0600) {
    site.Write("tessaly.toml", "[[driver]]\ntype = \"mqtt\"\nname = \"farm\"\n");
    site.Write("config/drivers.toml", text);
    ASSERT_EQ(0, ::chmod((site.path / "config/drivers.toml").c_str(), mode));
    ZRTessalySetup setup;
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    ASSERT_TRUE(setup.Load(site.WidePath(), problems, warnings));
    ZRFindings findings;
    passwords = ReadDriverPasswords(setup, findings);
    said.clear();
    for (const ZRFinding& finding : findings)
      said += FindingLine(finding) + "\n";
    EXPECT_EQ(std::string::npos, said.find("c4n4ry")) << said;
    ZRFindings all;
    CheckDocuments(setup, all);
    checked.clear();
    for (const ZRFinding& finding : all)
      checked += FindingLine(finding) + "\n";
    EXPECT_THAT(checked, HasSubstr(said));
  }

  SiteFolder site;
  ZRDriverPasswords passwords;
  std::string said;
  std::string checked;
};

TEST_F(DriverPasswords, AreFoundByTheDriversName) {
  Read(kAccount);
  EXPECT_EQ("", said);
  EXPECT_EQ((ZRDriverPasswords{{"farm", "c4n4ry"}}), passwords);
}

TEST_F(DriverPasswords, ThatOthersMayReadAreRefused) {
  Read(kAccount, 0644);
  EXPECT_THAT(said, HasSubstr("config/drivers.toml: broken: its mode must be 0600"));
  EXPECT_TRUE(passwords.empty());
}

TEST_F(DriverPasswords, SayWhatIsWrongWithThem) {
  Read("[[account]]\ndriver = \"farm\"\n");
  EXPECT_THAT(said, HasSubstr("config/drivers.toml:1:"));
  EXPECT_THAT(said, HasSubstr("account.password must be given"));
  Read("[account]\ndriver = \"farm\"\n");
  EXPECT_THAT(said, HasSubstr("account must be written as [[account]]"));
  Read(std::string(kAccount) + kAccount);
  EXPECT_THAT(said, HasSubstr("account.driver stands twice with the same name"));
  Read(std::string(kAccount) + "pasword = \"c4n4ry\"\n");
  EXPECT_THAT(said, HasSubstr("hint: "));
  EXPECT_EQ(1u, passwords.size());
}

TEST_F(DriverPasswords, HintAtADriverThatIsNotThere) {
  Read("[[account]]\ndriver = \"barn\"\npassword = \"c4n4ry\"\n");
  EXPECT_EQ("config/drivers.toml: hint: there is no driver 'barn'\n", said);
}

}  // namespace

// A site with two groups, a driver, and the users that a test writes.
#pragma once

#include <filesystem>
#include <string>

#include "host/support/zrtessalysetup.h"
#include "host/user/zrloginsfile.h"
#include "support/sitefolder.h"

class LoginSite {
 public:
  static constexpr const char* kNorth = "bbbbbbbb-0000-4000-8000-000000000001";
  static constexpr const char* kSouth = "BBBBBBBB-0000-4000-8000-000000000002";

  LoginSite() {
    const auto group = [](const std::string& id, const std::string& name) {
      return "<g><id>" + id + "</id><name>" + name + "</name></g>";
    };
    folder.Write("config/default.xeve", "<main><eventsGroups>" + group(kNorth, "North") +
                                            group(kSouth, "South") + "</eventsGroups></main>");
    Settings("");
  }

  void Settings(const std::string& more) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    const std::string toml = more +
                             "\n[[driver]]\ntype = \"simulator\"\nname = \"Plant B\"\nid = \"b\"\n"
                             "[[driver.variable]]\nname = \"V\"\nform = \"constant\"\nvalue = 1\n";
    folder.Write("tessaly.toml", toml);
    isGood = setup.LoadText(toml, folder.WidePath(), problems, warnings);
  }
  void Write(const std::string& toml, bool isPrivate = true) const {
    using std::filesystem::perms;
    folder.Write("config/logins.toml", toml);
    std::filesystem::permissions(
        folder.path / "config/logins.toml",
        perms::owner_read | perms::owner_write | (isPrivate ? perms::none : perms::others_read));
  }
  void Write(const ZRLogins& logins) const {
    std::string reason;
    isGood = ZRLoginsFile(setup.CfgPath())
                 .Change(
                     [&](ZRLogins& inFile) {
                       inFile = logins;
                       return true;
                     },
                     reason) &&
             isGood;
  }

  SiteFolder folder;
  ZRTessalySetup setup;
  mutable bool isGood = true;  // nothing has failed so far
};

#include "tessaly/zrlogincheck.h"

#include <gtest/gtest.h>

#include "support/findinglines.h"
#include "tessaly/loginsite.h"
#include "tessaly/zrlogintable.h"
#include "tessaly/zrsite.h"
#include "tessaly/zrsitecheck.h"
#include "zrevents/zreventdrivergroup.h"

namespace {

const std::string kDigest(64, 'd');
const std::string kMd5(32, 'e');

class LoginCheck : public ::testing::Test {
 protected:
  ~LoginCheck() override { EXPECT_TRUE(site.isGood); }

  // Fills the store.
  void Load() {
    ZRFindings findings;
    ASSERT_TRUE(loaded.LoadSettings(findings));
    loaded.MakeDrivers(findings);
    loaded.LoadEvents({});
  }
  Lines CheckOfRights(const ZRLogins& toWrite) {
    site.Write(toWrite);
    return Found(
        [this](ZRFindings& findings) { CheckRights(site.setup, ZREventSystem::Get(), findings); });
  }

  Lines Check() {
    return Found([this](ZRFindings& findings) { CheckLogins(site.setup, findings); });
  }
  Lines Check(const ZRLogins& toWrite) {
    site.Write(toWrite);
    return Check();
  }
  static std::string Hint(const std::string& text) { return "config/logins.toml: hint: " + text; }
  ZRLogin& Good(const std::string& name) {
    logins.users[name].sha256 = kDigest;
    return logins.users[name];
  }

  LoginSite site;
  ZRSite loaded{site.folder.path.string()};
  ZRLogins logins;
};

TEST_F(LoginCheck, SaysNothingOfAGoodFile) {
  EXPECT_EQ(Check(), Lines{});
  Good("ana").grants.administrator = true;
  Good("leo").roles = {"guard"};
  for (const ZRResourceKind& kind : kResourceKinds) {
    logins.roles["guard"].Grant(kind.type, "*");
    logins.users["leo"].grants.Grant(kind.type, kind.isOfDrivers ? "b" : LoginSite::kNorth);
  }
  EXPECT_EQ(Check(logins), Lines{});
  Load();
  EXPECT_EQ(CheckOfRights(logins), Lines{});
}

TEST_F(LoginCheck, SaysWhyTheFileCannotBeUsed) {
  site.Write("[[user]\n");
  ASSERT_EQ(Check().size(), 1u);
  EXPECT_EQ(Check()[0].rfind("config/logins.toml:1:", 0), 0u) << Check()[0];
  site.Write("", false);
  EXPECT_EQ(Check(), Lines{"config/logins.toml: broken: its mode must be 0600: others may read or "
                           "change it"});
  site.Write("relm = \"x\"\n");
  ASSERT_EQ(Check().size(), 1u);
  EXPECT_EQ(Check()[0].rfind("config/logins.toml:1:1: hint: ", 0), 0u) << Check()[0];
}

TEST_F(LoginCheck, IsPartOfTheLookAtTheDocuments) {
  site.Write("", false);
  const Lines lines = Found([this](ZRFindings& findings) { CheckDocuments(site.setup, findings); });
  EXPECT_EQ(lines, Lines{"config/logins.toml: broken: its mode must be 0600: others may read or "
                         "change it"});
}

TEST_F(LoginCheck, NamesWhoCannotLogIn) {
  logins.users["ana"];
  logins.users["leo"].md5 = kMd5;
  EXPECT_EQ(Check(logins),
            (Lines{Hint("user 'ana' has no password and can't log in"),
                   Hint("user 'leo' has no password and can't log in"),
                   Hint("user 'leo' has an MD5 digest that isn't used: set the password anew to "
                        "remove it")}));
  site.Settings("http.md5 = true");
  Good("zoe");
  EXPECT_EQ(Check(logins),
            (Lines{Hint("user 'ana' has no password and can't log in"),
                   Hint("user 'zoe' has no MD5 digest: set the password anew to let old clients "
                        "log in")}));
}

TEST_F(LoginCheck, NamesRolesThatAreNotThere) {
  Good("ana").roles = {"guard", "cook"};
  logins.roles["guard"];
  EXPECT_EQ(Check(logins), Lines{Hint("user 'ana': there is no role 'cook'")});
}

TEST_F(LoginCheck, NamesRightsOnWhatIsNotThere) {
  Good("ana").grants.Grant(7, "North");  // a name is no id
  logins.users["ana"].grants.Grant(17, "Plant B");
  logins.roles["guard"].Grant(6, LoginSite::kSouth);
  logins.roles["guard"].Grant(6, "bbbbbbbb-0000-4000-8000-000000000002");  // the case counts
  Load();
  EXPECT_EQ(
      CheckOfRights(logins),
      (Lines{Hint("role 'guard' has the right 'acknowledge', but there is no group "
                  "'bbbbbbbb-0000-4000-8000-000000000002'"),
             Hint("user 'ana' has the right 'active', but there is no group 'North'"),
             Hint("user 'ana' has the right 'remote-active', but there is no driver 'Plant B'")}));
  site.Write("", false);
  EXPECT_EQ(Found([this](ZRFindings& findings) {
              CheckRights(site.setup, ZREventSystem::Get(), findings);
            }),
            Lines{});
}

// Every group that the engine may ask with, also one that no document names.
TEST_F(LoginCheck, KnowsTheGroupsThatAreAlwaysThere) {
  Load();
  const ZREventSystem& store = ZREventSystem::Get();
  ASSERT_GT(store.EventsGroupsSize(), 2);
  for (auto group = store.EventsGroupsBegin(); group != store.EventsGroupsEnd(); ++group)
    logins.roles["guard"].Grant(7, Narrow((*group)->IdStr()));
  EXPECT_EQ(CheckOfRights(logins), Lines{});
}

TEST_F(LoginCheck, SaysThatAnAddressIsNotUsed) {
  site.Settings("http.address = \"0.0.0.0\"");
  EXPECT_EQ(Check(), Lines{"tessaly.toml: hint: http.address isn't used: nobody needs to log in, "
                           "so the web server listens on 127.0.0.1 only"});
  Good("ana");
  EXPECT_EQ(Check(logins), Lines{});
}

TEST_F(LoginCheck, FindsGroupsAndDriversByIdOrName) {
  Load();
  const auto find = [](const char* word, const std::string& text) {
    std::string id;
    switch (ZRResourceNames(ZREventSystem::Get()).Find(*ResourceKind(word), text, id)) {
      case ZRResourceNames::tagAnswer::kFound:
        return id;
      case ZRResourceNames::tagAnswer::kSeveral:
        return std::string("several");
      case ZRResourceNames::tagAnswer::kUnknown:
        break;
    }
    return std::string("unknown");
  };
  EXPECT_EQ(find("active", "*"), "*");
  EXPECT_EQ(find("active", LoginSite::kNorth), LoginSite::kNorth);
  EXPECT_EQ(find("acknowledge", "South"), LoginSite::kSouth);
  EXPECT_EQ(find("active", "south"), "unknown");
  EXPECT_EQ(find("active", "Plant B"), "unknown");
  EXPECT_EQ(find("remote-active", "Plant B"), "b");
  EXPECT_EQ(find("remote-active", "b"), "b");
  EXPECT_EQ(find("remote-active", "North"), "unknown");
  EXPECT_EQ(find("active", ""), "unknown");
}

TEST_F(LoginCheck, FindsNothingByANameOfSeveral) {
  site.folder.Write("config/default.xeve",
                    "<main><eventsGroups><g><id>" + std::string(LoginSite::kNorth) +
                        "</id><name>A</name></g><g><id>" + LoginSite::kSouth +
                        "</id><name>A</name></g></eventsGroups></main>");
  Load();
  const ZRResourceNames names(ZREventSystem::Get());
  std::string id;
  EXPECT_EQ(names.Find(*ResourceKind("active"), "A", id), ZRResourceNames::tagAnswer::kSeveral);
  EXPECT_EQ(names.Find(*ResourceKind("active"), LoginSite::kSouth, id),
            ZRResourceNames::tagAnswer::kFound);
  EXPECT_EQ(id, LoginSite::kSouth);
}

TEST_F(LoginCheck, ShowsAllButTheDigests) {
  Good("ana").grants.Grant(7, LoginSite::kNorth);
  logins.users["ana"].grants.Grant(7, "*");
  logins.users["ana"].md5 = kMd5;
  logins.users["ana"].roles = {"guard", "cook"};
  logins.users["l\xC2\x9Bo"].grants.administrator = true;
  logins.roles["guard"].Grant(18, "b");
  logins.roles["guard"].Grant(18, "c");
  Load();
  EXPECT_EQ(LoginTable(logins, ZRResourceNames(ZREventSystem::Get())),
            "user ana\n  role cook (isn't there)\n  role guard\n  active: all\n  active: North "
            "(bbbbbbbb-0000-4000-8000-000000000001)\n"
            "user l\\u009bo (no password)\n  administrator\n"
            "role guard\n  remote-notified: Plant B (b)\n  remote-notified: c (isn't there)\n");
}

}  // namespace

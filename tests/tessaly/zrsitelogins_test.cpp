#include "tessaly/zrsitelogins.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/fakehttp.h"
#include "support/findinglines.h"
#include "support/logcapture.h"
#include "tessaly/loginsite.h"

namespace {

// Users of a site in force. ZRTessalySetup::Get() is the site's.
class SiteLogins : public ::testing::Test {
 protected:
  SiteLogins() {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().Load(site.folder.WidePath(), problems, warnings));
  }
  ~SiteLogins() override { EXPECT_TRUE(site.isGood); }

  Lines Load() {
    return Found([this](ZRFindings& findings) { answer = force.Load(site.setup, findings); });
  }
  // The rule of the services, for a user whose name the web server has proved.
  static bool MayUse(const char* user, int type, const wchar_t* id) {
    FakeRequest request(false, user);
    return CanAccessResourcesFromEngine(type, id, request, "");
  }
  [[nodiscard]] std::string Digest(const char* user, ZRPasswordDigest kind) const {
    std::string digest = "left";
    return force.Passwords().DigestOf(user, kind, digest) ? digest : "-";
  }

  LoginSite site;
  ZRLogins logins;
  ZRSiteLogins force;
  bool answer = false;
};

TEST_F(SiteLogins, NobodyNeedsToLogInWithoutUsers) {
  const LogCapture log;
  EXPECT_EQ(Load(), Lines{});
  EXPECT_TRUE(answer);
  EXPECT_FALSE(ZRSecurityManagerEnabled());
  EXPECT_FALSE(force.Passwords().HasUsers());
  EXPECT_TRUE(MayUse("", 7, L"g"));
  force.SayWhoMayLogIn();
  EXPECT_TRUE(log.Has(kLogNotice,
                      "no user is defined: nobody needs to log in, and only this machine is "
                      "served"));
}

TEST_F(SiteLogins, GiveTheirRightsToServicesAndLists) {
  logins.users["José"].grants.Grant(7, "g");
  site.Write(logins);
  EXPECT_EQ(Load(), Lines{});
  EXPECT_TRUE(ZRSecurityManagerEnabled());
  EXPECT_TRUE(MayUse("José", 7, L"g"));
  EXPECT_FALSE(MayUse("José", 8, L"g"));
  EXPECT_FALSE(MayUse("José", 7, L"G"));
  EXPECT_FALSE(MayUse("ana", 7, L"g"));
  EXPECT_FALSE(MayUse("", 7, L"g"));
  const ZRUser* const jose = ZRSecurityManager::Get().User(L"José", 0);
  ASSERT_NE(jose, nullptr);
  EXPECT_TRUE(ZRSecurityManager::Get().CanAccessResource({7, L"g"}, *jose));
}

// A claim in the header alone gives nothing: the name has to be proved.
TEST_F(SiteLogins, LookAtTheProvedNameOnly) {
  class Claim final : public ZRHttpRequest {
   public:
    [[nodiscard]] bool AcceptDeflate() const override { return false; }
    [[nodiscard]] const ZRHttpAuthorization& Authorization() const override { return claim; }

   private:
    const ZRHttpAuthorization claim{"Digest username=\"ana\"", ""};
  };
  logins.users["ana"].grants.administrator = true;
  site.Write(logins);
  EXPECT_EQ(Load(), Lines{});
  Claim request;
  EXPECT_FALSE(CanAccessResourcesFromEngine(7, L"g", request, ""));
}

TEST_F(SiteLogins, AreOutOfForceWhenTheyGo) {
  {
    ZRSiteLogins other;
    logins.users["ana"];
    site.Write(logins);
    ZRFindings findings;
    EXPECT_TRUE(other.Load(site.setup, findings));
    EXPECT_FALSE(MayUse("leo", 7, L"g"));
  }
  EXPECT_TRUE(MayUse("leo", 7, L"g"));
  EXPECT_FALSE(ZRSecurityManagerEnabled());
}

TEST_F(SiteLogins, TellTheWebServerItsDigests) {
  logins.realm = "Hall 2";
  for (const char* name : {"ana", "leo", "zoe"})
    logins.users[name];
  SetPassword(logins, "ana", "open sesame", true);
  SetPassword(logins, "leo", "open sesame", false);
  site.Write(logins);
  EXPECT_EQ(Load(), Lines{});
  EXPECT_TRUE(force.Passwords().HasUsers());
  EXPECT_EQ(force.Passwords().Realm(), "Hall 2");
  EXPECT_EQ(Digest("ana", ZRPasswordDigest::kSha256), logins.users["ana"].sha256);
  EXPECT_EQ(Digest("leo", ZRPasswordDigest::kSha256), logins.users["leo"].sha256);
  EXPECT_NE(Digest("leo", ZRPasswordDigest::kSha256), Digest("ana", ZRPasswordDigest::kSha256));
  for (const char* name : {"zoe", "nobody", ""})
    EXPECT_EQ(Digest(name, ZRPasswordDigest::kSha256), "-") << name;
  EXPECT_EQ(Digest("ana", ZRPasswordDigest::kMd5), "-");  // it isn't switched on
  site.Settings("http.md5 = true");
  EXPECT_EQ(Load(), Lines{});
  EXPECT_EQ(Digest("ana", ZRPasswordDigest::kMd5), logins.users["ana"].md5);
  EXPECT_EQ(Digest("leo", ZRPasswordDigest::kMd5), "-");
}

TEST_F(SiteLogins, StayWhenTheFileCannotBeUsed) {
  logins.users["ana"].grants.administrator = true;
  site.Write(logins);
  EXPECT_EQ(Load(), Lines{});
  site.Write("realm = 1\n");
  EXPECT_EQ(Load(), Lines{"config/logins.toml:1:1: broken: realm must be a text"});
  EXPECT_FALSE(answer);
  site.Write("", false);
  EXPECT_EQ(Load(), Lines{"config/logins.toml: broken: its mode must be 0600: others may read or "
                          "change it"});
  EXPECT_TRUE(MayUse("ana", 7, L"g"));
  EXPECT_FALSE(MayUse("leo", 7, L"g"));
}

TEST_F(SiteLogins, FollowTheirFile) {
  const LogCapture log(kLogNotice);
  force.Look();  // before the first Load
  EXPECT_EQ(Load(), Lines{});
  force.Look();
  EXPECT_TRUE(log.Lines().empty());
  logins.users["ana"].grants.Grant(7, "g");
  site.Write(logins);
  EXPECT_TRUE(MayUse("ana", 8, L"g"));
  force.Look();
  EXPECT_TRUE(MayUse("ana", 7, L"g"));
  EXPECT_FALSE(MayUse("ana", 8, L"g"));
  force.Look();
  EXPECT_EQ(log.Lines(), (std::vector<LogCapture::tagLine>{{kLogNotice, "1 users may log in"}}));
}

TEST_F(SiteLogins, PassOverAFileThatBreaks) {
  logins.users["ana"].grants.administrator = true;
  site.Write(logins);
  EXPECT_EQ(Load(), Lines{});
  const LogCapture log(kLogNotice);
  site.Write("realm = \"half a li");
  force.Look();
  force.Look();
  ASSERT_EQ(log.Lines().size(), 2u);
  EXPECT_EQ(log.Lines()[0].text.rfind("config/logins.toml:1:", 0), 0u) << log.Lines()[0].text;
  EXPECT_EQ(log.Lines()[0].text.find("half"), std::string::npos) << log.Lines()[0].text;
  EXPECT_EQ(log.Lines()[1].text, "the users in force stay");
  EXPECT_TRUE(MayUse("ana", 7, L"g"));
  EXPECT_FALSE(MayUse("leo", 7, L"g"));
}

TEST_F(SiteLogins, LetNobodyInWhenTheLastUserGoes) {
  logins.users["ana"].grants.administrator = true;
  site.Write(logins);
  EXPECT_EQ(Load(), Lines{});
  const LogCapture log(kLogNotice);
  site.folder.Remove("config/logins.toml");
  force.Look();
  EXPECT_TRUE(
      log.Has(kLogConfiguration, "no user is left: nobody can log in until the next start"));
  EXPECT_TRUE(force.Passwords().HasUsers());
  EXPECT_EQ(Digest("ana", ZRPasswordDigest::kSha256), "-");
  EXPECT_FALSE(MayUse("ana", 7, L"g"));
  EXPECT_FALSE(MayUse("", 7, L"g"));
}

TEST_F(SiteLogins, DecideWhoIsServed) {
  EXPECT_EQ(AddressToListenOn(site.setup, false), "127.0.0.1");
  EXPECT_EQ(AddressToListenOn(site.setup, true), "127.0.0.1");
  for (const char* loopback : {"127.0.0.1", "127.0.0.2", "::1"}) {
    site.Settings("http.address = \"" + std::string(loopback) + "\"");
    EXPECT_EQ(AddressToListenOn(site.setup, false), loopback);
    EXPECT_EQ(AddressToListenOn(site.setup, true), loopback);
  }
  for (const char* open :
       {"0.0.0.0", "::", "192.0.2.1", "fe80::1%no-such-link", "::ffff:10.0.0.1"}) {
    site.Settings("http.address = \"" + std::string(open) + "\"");
    EXPECT_EQ(AddressToListenOn(site.setup, false), "127.0.0.1") << open;
    EXPECT_EQ(AddressToListenOn(site.setup, true), open);
  }
}

}  // namespace

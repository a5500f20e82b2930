#include "tessaly/zrsiteweb.h"

#include <gtest/gtest.h>

#include "host/remote/fakepasswords.h"
#include "host/remote/zrlistensocket.h"
#include "support/httpclient.h"
#include "zrevents/zreventserver.h"

namespace {

class SiteWeb : public ::testing::Test {
 protected:
  SiteWeb() { passwords.Add("ana", "secret"); }

  static ZRTessalySetup Setup(const std::string& toml) {
    ZRTessalySetup setup;
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(setup.LoadText(toml, L"/site", problems, warnings));
    return setup;
  }
  bool Start(const std::string& toml) { return web.Start(Setup(toml), "127.0.0.1", -1, reason); }
  bool Renew(const std::string& toml) { return web.Renew(Setup(toml), "127.0.0.1", -1); }
  std::uint16_t Port() const {
    const std::string url = web.Url();
    return static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1)));
  }
  HttpReply Get(const std::string& path, const std::string& headers = "") const {
    return HttpClient(Port()).Get(path, headers);
  }
  int StatusFor(const std::string& host) const {
    HttpClient client(Port());
    (void)client.Send("GET /healthz HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
    return client.ReceiveReply().status;
  }

  ZREventServer engine;
  FakePasswords passwords;
  ZRSiteWeb web{engine, passwords};
  std::string reason;
};

TEST_F(SiteWeb, TellsEverybodyThatItLives) {
  ASSERT_TRUE(Start("http.port = 0")) << reason;
  const HttpReply reply = Get("/healthz");
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("ok\n", reply.body);
  EXPECT_EQ("text/plain; charset=utf-8", reply.Header("Content-Type"));
}

TEST_F(SiteWeb, TellsEverybodyWhetherTheSiteWorks) {
  ASSERT_TRUE(Start("http.port = 0"));
  EXPECT_EQ(503, Get("/readyz").status);
  EXPECT_EQ("loading\n", Get("/readyz").body);
  web.Readiness().Set(ZRReadiness::tagState::kRunning);
  EXPECT_EQ(200, Get("/readyz").status);
  EXPECT_EQ("ok\n", Get("/readyz").body);
  web.Readiness().Set(ZRReadiness::tagState::kStopping);
  EXPECT_EQ(503, Get("/readyz").status);
  EXPECT_EQ("stopping\n", Get("/readyz").body);
}

TEST_F(SiteWeb, HasEachServiceForUsersOnly) {
  ASSERT_TRUE(Start("http.port = 0"));
  for (const char* name : {"actived", "notified", "actions", "counts", "logger"}) {
    const std::string path = std::string("/services/events/") + name + ".xml";
    const HttpReply refused = Get(path);
    EXPECT_EQ(401, refused.status) << path;
    DigestClient ana;
    ana.uri = path;
    ana.nonce = ChallengeValue(refused.Header("WWW-Authenticate"), "nonce");
    EXPECT_NE(401, Get(path, "Authorization: " + ana.Header() + "\r\n").status) << path;
  }
  HttpClient client(Port());
  (void)client.Send(
      "PUT /services/events/ack.xml HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\n");
  EXPECT_EQ(401, client.ReceiveReply().status);
}

TEST_F(SiteWeb, OffersMd5AsItsSettingsSay) {
  ASSERT_TRUE(Start("http.port = 0"));
  const std::string path = "/services/events/counts.xml";
  EXPECT_EQ(std::string::npos, Get(path).head.find("algorithm=MD5"));
  EXPECT_TRUE(Renew("[http]\nport = 0\nmd5 = true"));
  EXPECT_NE(std::string::npos, Get(path).head.find("algorithm=MD5"));
}

TEST_F(SiteWeb, TakesOverNewSettings) {
  ASSERT_TRUE(Start("http.port = 0"));
  const std::string url = web.Url();
  EXPECT_EQ(403, StatusFor("hall.example"));
  EXPECT_TRUE(Renew("[http]\nport = 0\nnames = [\"hall.example\"]"));
  EXPECT_EQ(url, web.Url());
  EXPECT_EQ(200, StatusFor("hall.example"));
}

TEST_F(SiteWeb, LeavesItsClientsAloneWithoutNewSettings) {
  ASSERT_TRUE(Start("http.port = 0"));
  HttpClient client(Port());
  EXPECT_EQ(200, client.Get("/healthz").status);
  EXPECT_TRUE(Renew("name = \"another\"\nhttp.port = 0"));
  EXPECT_EQ(200, client.Get("/healthz").status);
}

TEST_F(SiteWeb, StaysAsItIsWithSettingsThatCannotBeUsed) {
  ASSERT_TRUE(Start("http.port = 0"));
  const std::string url = web.Url();
  ZRListenSocket taken;
  ASSERT_TRUE(taken.Open("127.0.0.1", 0, reason));
  EXPECT_TRUE(Renew("http.port = " + std::to_string(taken.Port())));
  EXPECT_EQ(url, web.Url());
  EXPECT_EQ(200, Get("/healthz").status);
  EXPECT_TRUE(Renew("[http]\nport = 0\ncertificate = \"missing.pem\"\nkey = \"missing.key\""));
  EXPECT_EQ(url, web.Url());
  EXPECT_EQ(200, Get("/healthz").status);
}

TEST_F(SiteWeb, SaysWhyItCannotStart) {
  EXPECT_FALSE(Start("[http]\nport = 0\ncertificate = \"missing.pem\"\nkey = \"missing.key\""));
  EXPECT_EQ("/site/missing.pem can't be opened: No such file or directory", reason);
  EXPECT_EQ("", web.Url());
  ZRListenSocket taken;
  ASSERT_TRUE(taken.Open("127.0.0.1", 0, reason));
  const std::string port = std::to_string(taken.Port());
  EXPECT_FALSE(Start("http.port = " + port));
  EXPECT_EQ("port " + port + " of 127.0.0.1 is in use", reason);
}

TEST_F(SiteWeb, SaysWhereItCanBeReached) {
  EXPECT_EQ("", web.Url());
  ASSERT_TRUE(web.Start(Setup(""), "0.0.0.0", 0, reason));
  EXPECT_TRUE(web.Url().starts_with("http://127.0.0.1:")) << web.Url();
  EXPECT_EQ(200, Get("/healthz").status);
  web.Stop();
  EXPECT_EQ("", web.Url());
  EXPECT_FALSE(web.Readiness().IsReady());
}

TEST_F(SiteWeb, IsLookedAtBeforeItStarts) {
  ZRFindings findings;
  CheckWeb(Setup(""), findings);
  EXPECT_TRUE(findings.empty());
  CheckWeb(Setup("[http]\ncertificate = \"missing.pem\"\nkey = \"missing.key\""), findings);
  ASSERT_EQ(1u, findings.size());
  EXPECT_EQ(ZRFinding::tagKind::kBroken, findings[0].kind);
  EXPECT_EQ("/site/missing.pem can't be opened: No such file or directory", findings[0].text);
}

}  // namespace

#include "tessaly/zrfeed.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "host/remote/fakepasswords.h"
#include "host/tools/zrfiles.h"
#include "support/eventxml.h"
#include "support/findinglines.h"
#include "support/httpclient.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"
#include "tessaly/zrsiteweb.h"
#include "zrevents/zreventserver.h"

namespace {

namespace fs = std::filesystem;

// A site with a web server, before its engine starts.
class SiteFeed : public ::testing::Test {
 protected:
  SiteFeed() : before(GetAppPath()) {}
  ~SiteFeed() override { SetAppPath(before); }

  Lines Prepare(const std::string& toml) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText("http.port = 0\n" + toml, site.WidePath(), problems,
                                               warnings));
    EXPECT_TRUE(warnings.empty());
    return Found(
        [&](ZRFindings& findings) { PrepareFeed(ZRTessalySetup::Get(), Store(), findings); });
  }
  static ZREventSystem& Store() { return ZREventSystem::Get(); }
  static void Publish(const wchar_t* title = L"Pump (Activated)") {
    Store().PublishRSS(title, L"text", ZRDateTime::UTC(), 1);
  }
  bool StartWeb() { return web.Start(ZRTessalySetup::Get(), "127.0.0.1", -1, reason); }
  HttpReply Get(const std::string& path = "/html/events.rss") const {
    const std::string url = web.Url();
    return HttpClient(static_cast<std::uint16_t>(std::stoi(url.substr(url.rfind(':') + 1))))
        .Get(path);
  }

  static constexpr const char* kOn = "feed.active = true\n";

  SiteFolder site;
  const ZRWString before;
  ZREventServer engine;
  FakePasswords passwords;
  ZRSiteWeb web{engine, passwords};
  std::string reason;
};

TEST_F(SiteFeed, IsOffWithoutASetting) {
  for (const char* toml : {"", "[feed]\n", "feed.active = false\nfeed.items = 3\n"}) {
    EXPECT_EQ(Lines{}, Prepare(toml)) << toml;
    EXPECT_FALSE(Store().GetRssActive()) << toml;
    EXPECT_FALSE(fs::exists(site.path / kHtmlFolder)) << toml;
  }
}

TEST_F(SiteFeed, IsTurnedOnInAFolderOfThisUserAlone) {
  EXPECT_EQ(Lines{}, Prepare("[feed]\nactive = true\nitems = 3\n"));
  EXPECT_TRUE(Store().GetRssActive());
  EXPECT_EQ(3, Store().GetRssMaxNumberOfItems());
  EXPECT_EQ(fs::perms::owner_all, fs::status(site.path / kHtmlFolder).permissions());
  Publish();
  EXPECT_TRUE(fs::exists(site.path / "html/events.rss"));
}

TEST_F(SiteFeed, FollowsTheSettingsOfAReload) {
  (void)Prepare(kOn);
  Publish();
  (void)Prepare("feed.active = false\n");
  EXPECT_FALSE(Store().GetRssActive());
  (void)Prepare("[feed]\nactive = true\nhost = \"hall.example\"\n");
  EXPECT_TRUE(Store().GetRssActive());
  Publish();
  EXPECT_EQ(2, Store().GetRssNumberOfItems());
  ZRString channel;
  ASSERT_TRUE(ReadWholeFile(site.WidePath() + L"/html/channelevents.rss", 10'000, channel));
  EXPECT_NE(std::string::npos, channel.View().find("<link>http://hall.example:0</link>"));
}

TEST_F(SiteFeed, FolderThatCanNotBeMadeIsAHint) {
  site.Write("html", "a file");
  const Lines found = Prepare(kOn);
  ASSERT_EQ(1u, found.size());
  EXPECT_TRUE(found[0].starts_with("html: hint: can't be made, and the feed can't be written: "))
      << found[0];
}

TEST_F(SiteFeed, EventsThatPublishWhileItIsOffAreAHint) {
  const auto check = [&](EventXml event, const std::string& toml) {
    (void)Prepare(toml);
    XmlDocument document;
    EXPECT_TRUE(document.Parse(
        ("<main><events>" + event.Condition("1 = 1").Xml() + "</events></main>").c_str()));
    Store().Reset();
    EXPECT_TRUE(Store().LoadXml(document));
    const Lines found =
        Found([&](ZRFindings& findings) { CheckFeed(ZRTessalySetup::Get(), Store(), findings); });
    Store().Reset();
    return found;
  };
  const Lines hint{
      "tessaly.toml: hint: events that publish to the feed: 1, but feed.active isn't true"};
  for (const char* flag : {"rssActivate", "rssDeactivate", "rssAcknowledge"}) {
    EXPECT_EQ(hint, check(EventXml().With(flag, "T"), "")) << flag;
    EXPECT_EQ(hint, check(EventXml().With(flag, "T"), "feed.active = false\n")) << flag;
    EXPECT_EQ(Lines{}, check(EventXml().With(flag, "T"), kOn)) << flag;
  }
  EXPECT_EQ(Lines{}, check(EventXml(), ""));
}

// --- on the web ---

TEST_F(SiteFeed, IsServedAsItLies) {
  (void)Prepare(kOn);
  Publish();
  ASSERT_TRUE(StartWeb()) << reason;
  const HttpReply reply = Get();
  EXPECT_EQ(200, reply.status);
  EXPECT_EQ("application/rss+xml", reply.Header("Content-Type"));
  EXPECT_EQ("nosniff", reply.Header("X-Content-Type-Options"));
  EXPECT_EQ("default-src 'none'; sandbox", reply.Header("Content-Security-Policy"));
  ZRString file;
  ASSERT_TRUE(ReadWholeFile(site.WidePath() + L"/html/events.rss", 10'000, file));
  EXPECT_EQ(file.View(), reply.body);
}

TEST_F(SiteFeed, IsNotFoundBeforeItsFirstItemAndWhileItIsOff) {
  (void)Prepare(kOn);
  ASSERT_TRUE(StartWeb()) << reason;
  EXPECT_EQ(404, Get().status);
  EXPECT_EQ("There is no feed.\n", Get().body);
  EXPECT_EQ("", Get().Header("Content-Security-Policy"));
  Publish();
  EXPECT_EQ(200, Get().status);
  (void)Prepare("");
  EXPECT_EQ(404, Get().status);
}

TEST_F(SiteFeed, IsAllThatIsServedOfItsFolder) {
  (void)Prepare(kOn);
  Publish();
  ASSERT_TRUE(StartWeb()) << reason;
  for (const char* path :
       {"/html", "/html/", "/html/channelevents.rss", "/html/../html/events.rss",
        "/html/./events.rss", "/html//events.rss", "/html/%2e%2e/tessaly.toml",
        "/html/../tessaly.toml", "/html/events.rss/", "/html/events.rss%00", "/HTML/events.rss"})
    EXPECT_NE(200, Get(path).status) << path;
}

TEST_F(SiteFeed, WantsALoginWhereUsersAreDefined) {
  passwords.Add("ana", "secret");
  (void)Prepare(kOn);
  Publish();
  ASSERT_TRUE(StartWeb()) << reason;
  EXPECT_EQ(401, Get().status);
  EXPECT_EQ(std::string::npos, Get().body.find("Pump"));
}

// --- failures ---

TEST_F(SiteFeed, FailureIsSaidOnceAndItsEndToo) {
  const LogCapture log;
  (void)Prepare(kOn);
  ZRFeedWatch watch;
  watch.Look(Store());
  fs::remove(site.path / kHtmlFolder);
  for (int round = 0; round < 3; ++round) {
    Publish();
    watch.Look(Store());
  }
  EXPECT_EQ(1u, log.Starting("the feed can't be written in the folder html").size());
  EXPECT_EQ(0u, log.Starting("the feed is written again").size());
  fs::create_directory(site.path / kHtmlFolder);
  for (int round = 0; round < 3; ++round) {
    Publish();
    watch.Look(Store());
  }
  EXPECT_EQ(1u, log.Starting("the feed is written again").size());
}

}  // namespace

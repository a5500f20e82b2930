// The feed: what its two files hold, and that nobody suffers from them.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "host/tools/zrfiles.h"
#include "host/tools/zrstringtable.h"
#include "support/chance.h"
#include "support/enginetest.h"
#include "support/golden.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kMorning = 1'795'248'309'000;  // 2026-11-21T08:05:09Z

constexpr const char* kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel>";
constexpr const char* kTail = "</channel></rss>";

// Files that can't be made, written or renamed on demand.
class FaultyFiles : public ZRVirtualTime {
 public:
  std::FILE* OpenFile(const std::string& path, const char* mode) override {
    if (*mode == 'w') ++written;
    if (*mode == 'w' && opensFail && path.find(opensFail) != std::string::npos) return nullptr;
    if (*mode == 'w' && disksAreFull) return ZRPlatform::OpenFile("/dev/full", mode);
    return ZRPlatform::OpenFile(path, mode);
  }
  bool RenameFile(const std::string& from, const std::string& to) override {
    return !renamesFail && ZRPlatform::RenameFile(from, to);
  }

  const char* opensFail = nullptr;  // a part of the path
  bool disksAreFull = false;
  bool renamesFail = false;
  int written = 0;  // files opened to be written
};

// A store with its feed in a folder of its own.
class Feed : public ::testing::Test {
 protected:
  Feed() : before(GetAppPath()) {
    time.SetUtc(kMorning);
    SetAppPath(site.WidePath());
    fs::create_directory(Html());
    Settings("name = \"Hall\"\n[http]\nport = 80\n[feed]\nhost = \"hall.example.org\"\n");
  }
  ~Feed() override {
    SetAppPath(before);
    EXPECT_TRUE(SetStringLanguage("en"));
  }

  static void Settings(const std::string& toml) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText(toml, L"/nowhere/", problems, warnings));
  }
  [[nodiscard]] fs::path Html() const { return site.path / "html"; }

  // A start with that node.
  void Begin(const std::string& inside = "<active>T</active>") {
    XmlDocument node;
    ASSERT_TRUE(node.Parse(("<feed>" + inside + "</feed>").c_str()));
    EXPECT_TRUE(store.LoadRssCfg(node.Root()));
  }
  void Publish(const std::string& title, int status = 1) {
    store.PublishRSS(Wide(title), L"text", ZRDateTime::UTC(), status);
  }
  [[nodiscard]] std::string Content(const std::string& name) const {
    std::ifstream file(Html() / name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  [[nodiscard]] std::string FeedFile() const { return Content("events.rss"); }
  [[nodiscard]] std::string ChannelFile() const { return Content("channelevents.rss"); }
  void WriteChannel(const std::string& content) const {
    site.Write("html/channelevents.rss", content);
  }
  // The titles of the items of a file, in its order.
  static std::vector<std::string> Titles(const std::string& content) {
    constexpr std::string_view kStart = "<item><title>";
    std::vector<std::string> titles;
    for (std::size_t at = content.find(kStart); at != std::string::npos;
         at = content.find(kStart, at + 1)) {
      const std::size_t from = at + kStart.size();
      titles.push_back(content.substr(from, content.find('<', from) - from));
    }
    return titles;
  }
  // The names in the folder.
  [[nodiscard]] std::ptrdiff_t Files() const {
    return std::distance(fs::directory_iterator(Html()), {});
  }

  using Names = std::vector<std::string>;

  FaultyFiles time;
  SiteFolder site;
  const ZRWString before;
  ZREventSystem store;
};

// --- the settings ---

TEST_F(Feed, IsOffUntilItIsTurnedOn) {
  EXPECT_FALSE(store.GetRssActive());
  EXPECT_EQ(20, store.GetRssMaxNumberOfItems());
  EXPECT_EQ(0, store.GetRssNumberOfItems());
  for (const char* inside : {"", "<active>F</active>", "<active></active>", "<active>t</active>",
                             "<active>T </active>"}) {
    Begin(std::string(inside) + "<items>3</items>");
    EXPECT_FALSE(store.GetRssActive()) << inside;
    EXPECT_EQ(20, store.GetRssMaxNumberOfItems()) << inside;
  }
  EXPECT_EQ(0, Files());
  EXPECT_EQ(0, time.written);
}

TEST_F(Feed, WithoutANodeIsOff) {
  Begin();
  EXPECT_TRUE(store.GetRssActive());
  EXPECT_TRUE(store.LoadRssCfg(nullptr));
  EXPECT_FALSE(store.GetRssActive());
}

TEST_F(Feed, LimitIsReadAsANumberInFront) {
  const std::pair<const char*, int> limits[] = {{"7", 7},
                                                {" 7", 7},
                                                {"-7", -7},
                                                {"+7x", 7},
                                                {"x7", 0},
                                                {"", 0},
                                                {"99999999999", 2147483647},
                                                {"-99999999999", -2147483647 - 1}};
  for (const auto& [text, limit] : limits) {
    Begin("<active>T</active><items>" + std::string(text) + "</items>");
    EXPECT_EQ(limit, store.GetRssMaxNumberOfItems()) << text;
  }
}

TEST_F(Feed, LimitStaysWithoutItsChild) {
  Begin("<active>T</active><items>3</items>");
  Begin();
  EXPECT_EQ(3, store.GetRssMaxNumberOfItems());
}

TEST_F(Feed, OutlivesAResetOfTheStore) {
  Begin("<active>T</active><items>3</items>");
  Publish("A");
  store.Reset();
  EXPECT_TRUE(store.GetRssActive());
  EXPECT_EQ(3, store.GetRssMaxNumberOfItems());
  Publish("B");
  EXPECT_EQ((Names{"B", "A"}), Titles(FeedFile()));
}

// --- the channel ---

TEST_F(Feed, NewChannelIsNotSavedBeforeItsFirstItem) {
  Begin();
  EXPECT_EQ(0, Files());
  Publish("A");
  EXPECT_EQ(2, Files());
}

TEST_F(Feed, ChannelTellsOfTheSite) {
  Begin();
  Publish("A");
  EXPECT_TRUE(ChannelFile().starts_with(
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><channel><title>Events</title>"
      "<link>http://hall.example.org:80</link><language>en</language>"
      "<docs>http://hall.example.org:80/html</docs><generator>Hall 24.11.14</generator>"
      "<lastBuildDate>Sat, 21 Nov 2026 08:05:09 GMT</lastBuildDate><item>"))
      << ChannelFile();
}

TEST_F(Feed, ChannelSpeaksTheLanguageOfTheSite) {
  Settings("language = \"es\"\n");
  ASSERT_TRUE(SetStringLanguage("es"));
  Begin();
  Publish("A");
  EXPECT_NE(std::string::npos, ChannelFile().find("<title>Eventos</title>"));
  EXPECT_NE(std::string::npos, ChannelFile().find("<language>es</language>"));
  EXPECT_NE(std::string::npos, ChannelFile().find("<category>Activado</category>"));
}

TEST_F(Feed, ReloadedChannelGetsTheNewAddressOnly) {
  Begin();
  Publish("A");
  Settings(
      "name = \"Another\"\nlanguage = \"es\"\n[http]\nport = 8480\n[feed]\nhost = \"[::1]\"\n");
  time.SetUtc(kMorning + 60'000);
  Begin();
  EXPECT_TRUE(ChannelFile().find(
                  "<title>Events</title><link>http://[::1]:8480</link><language>en</language>"
                  "<docs>http://[::1]:8480/html</docs><generator>Hall 24.11.14</generator>"
                  "<lastBuildDate>Sat, 21 Nov 2026 08:05:09 GMT</lastBuildDate>") !=
              std::string::npos)
      << ChannelFile();
  EXPECT_EQ(Names{"A"}, Titles(ChannelFile()));
  EXPECT_EQ(1, store.GetRssNumberOfItems());
}

TEST_F(Feed, ReloadedChannelWithoutAnAddressGetsOne) {
  WriteChannel("<channel><title>Old</title><item><title>A</title></item></channel>");
  Begin();
  EXPECT_TRUE(ChannelFile().ends_with(
      "<channel><title>Old</title><item><title>A</title></item>"
      "<link>http://hall.example.org:80</link><docs>http://hall.example.org:80/html</docs>"
      "</channel>"))
      << ChannelFile();
  Publish("B");
  EXPECT_NE(std::string::npos, ChannelFile().find("<lastBuildDate>Sat, 21 Nov 2026 08:05:09 GMT"));
  EXPECT_EQ((Names{"A", "B"}), Titles(ChannelFile()));
}

TEST_F(Feed, ReloadDoesNotTouchTheFeedItself) {
  Begin();
  Publish("A");
  site.Write("html/events.rss", "as it was");
  Begin();
  EXPECT_EQ("as it was", FeedFile());
}

TEST_F(Feed, UnreadableChannelIsLostAtTheNextItem) {
  const std::string broken = "<channel><item><title>Old</title></item>";
  WriteChannel(broken);
  Begin();
  EXPECT_EQ(0, store.GetRssNumberOfItems());
  EXPECT_EQ(broken, ChannelFile());
  Publish("New");
  EXPECT_EQ(Names{"New"}, Titles(ChannelFile()));
}

TEST_F(Feed, ItemsAreCountedByTheirTag) {
  WriteChannel("<channel><item/><items/><x><item/></x><item/><Item/></channel>");
  Begin();
  EXPECT_EQ(2, store.GetRssNumberOfItems());
}

// --- items ---

TEST_F(Feed, IsNotPublishedWithoutAChannel) {
  Publish("A");
  EXPECT_EQ(0, store.GetRssNumberOfItems());
  EXPECT_EQ(0, Files());
}

TEST_F(Feed, ItemsStandInTheirOrderInTheChannelAndTheNewestFirstInTheFeed) {
  Begin();
  for (const char* title : {"A", "B", "C"})
    Publish(title);
  EXPECT_EQ((Names{"A", "B", "C"}), Titles(ChannelFile()));
  EXPECT_EQ((Names{"C", "B", "A"}), Titles(FeedFile()));
  EXPECT_EQ(3, store.GetRssNumberOfItems());
}

TEST_F(Feed, OldestItemGoesWhenTheLimitIsReached) {
  Begin("<active>T</active><items>3</items>");
  for (const char* title : {"A", "B", "C", "D"})
    Publish(title);
  EXPECT_EQ((Names{"D", "C", "B"}), Titles(FeedFile()));
  EXPECT_EQ((Names{"B", "C", "D"}), Titles(ChannelFile()));
  EXPECT_EQ(3, store.GetRssNumberOfItems());
}

TEST_F(Feed, LowerLimitTakesEffectAtTheNextItem) {
  Begin("<active>T</active><items>4</items>");
  for (const char* title : {"A", "B", "C", "D"})
    Publish(title);
  Begin("<active>T</active><items>2</items>");
  EXPECT_EQ(4, store.GetRssNumberOfItems());
  EXPECT_EQ(4u, Titles(ChannelFile()).size());
  Publish("E");
  EXPECT_EQ((Names{"D", "E"}), Titles(ChannelFile()));
}

TEST_F(Feed, LimitOfNoItemsRemovesAllAndPublishesNone) {
  for (const char* limit : {"0", "-1", "none"}) {
    Begin("<active>T</active><items>2</items>");
    Publish("A");
    Publish("B");
    const std::string channel = ChannelFile();
    const std::string feed = FeedFile();
    Begin("<active>T</active><items>" + std::string(limit) + "</items>");
    Publish("C");
    EXPECT_EQ(0, store.GetRssNumberOfItems()) << limit;
    EXPECT_EQ(channel, ChannelFile()) << limit;
    EXPECT_EQ(feed, FeedFile()) << limit;
  }
}

TEST_F(Feed, ItemsSurviveARestart) {
  Begin();
  Publish("A");
  Publish("B");
  store.LoadRssCfg(nullptr);
  Begin("<active>T</active><items>2</items>");
  EXPECT_EQ(2, store.GetRssNumberOfItems());
  Publish("C");
  EXPECT_EQ((Names{"C", "B"}), Titles(FeedFile()));
}

TEST_F(Feed, CategoryIsTheWordForTheTransition) {
  const std::pair<int, std::string> words[] = {
      {1, "Activated"}, {2, "Deactivated"}, {4, "Acknowledged"}, {3, ""}, {0, ""}, {-1, ""},
      {8, ""}};
  Begin("<active>T</active><items>1</items>");
  for (const auto& [status, word] : words) {
    Publish("A", status);
    EXPECT_NE(std::string::npos, FeedFile().find("<category>" + word + "</category></item>"))
        << status;
  }
}

TEST_F(Feed, DatesAreOfUtcWhereverTheSiteIs) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  Begin();
  time.SetUtc(kMorning + 1000);
  store.PublishRSS(L"A", L"text", ZRDateTime::FromUtcMilliseconds(kMorning).UTC2LTC(), 1);
  EXPECT_NE(std::string::npos,
            FeedFile().find("<lastBuildDate>Sat, 21 Nov 2026 08:05:10 GMT</lastBuildDate>"));
  EXPECT_NE(std::string::npos, FeedFile().find("<pubDate>Sat, 21 Nov 2026 08:05:09 GMT</pubDate>"));
  ASSERT_TRUE(ZRDateTime::SetLocalZone(""));
}

TEST_F(Feed, TextsAreEscapedAndKept) {
  Begin();
  store.PublishRSS(L"<A> & \"B\"", L"<p>95 \u00B0C</p>", ZRDateTime::UTC(), 1);
  EXPECT_NE(std::string::npos,
            FeedFile().find("<item><title>&lt;A&gt; &amp; \"B\"</title>"
                            "<description>&lt;p&gt;95 \u00B0C&lt;/p&gt;</description>"))
      << FeedFile();
}

TEST_F(Feed, WhatIsNoItemStandsInFrontInItsOrder) {
  WriteChannel(
      "<channel>text<item><title>A</title></item><x/><item><title>B</title></item><y/></channel>");
  Begin();
  Publish("C");
  EXPECT_TRUE(FeedFile().starts_with(std::string(kHead) + "<x></x><y></y><link>")) << FeedFile();
  EXPECT_EQ((Names{"C", "B", "A"}), Titles(FeedFile()));
  EXPECT_TRUE(FeedFile().ends_with(std::string("</item>") + kTail));
}

// --- files that fail ---

TEST_F(Feed, GoesOnWithoutItsFolder) {
  fs::remove(Html());
  Begin();
  Publish("A");
  Publish("B");
  EXPECT_EQ(2, store.GetRssNumberOfItems());
  EXPECT_EQ(2, store.RssFailures());
  fs::create_directory(Html());
  Publish("C");
  EXPECT_EQ(0, store.RssFailures());
  EXPECT_EQ((Names{"C", "B", "A"}), Titles(FeedFile()));
}

TEST_F(Feed, FileThatCanNotBeWrittenStaysAsItWas) {
  Begin();
  Publish("A");
  const std::string feed = FeedFile();
  const auto fails = [&](const char* what) {
    Publish("B");
    EXPECT_EQ(feed, FeedFile()) << what;
    EXPECT_LT(0, store.RssFailures()) << what;
    EXPECT_EQ(2, Files()) << what;
  };
  time.opensFail = "events.rss";
  fails("open");
  time.opensFail = nullptr;
  time.disksAreFull = true;
  fails("write");
  time.disksAreFull = false;
  time.renamesFail = true;
  fails("rename");
  time.renamesFail = false;
  Publish("C");
  EXPECT_EQ((Names{"C", "B", "B", "B", "A"}), Titles(FeedFile()));
  EXPECT_EQ(0, store.RssFailures());
}

TEST_F(Feed, IsWrittenThoughItsChannelCanNotBeSaved) {
  Begin();
  Publish("A");
  time.opensFail = "channelevents.rss";
  Publish("B");
  EXPECT_EQ(Names{"A"}, Titles(ChannelFile()));
  EXPECT_EQ((Names{"B", "A"}), Titles(FeedFile()));
  EXPECT_EQ(1, store.RssFailures());
}

TEST_F(Feed, ReloadThatCanNotSaveIsAFailure) {
  Begin();
  Publish("A");
  time.renamesFail = true;
  Begin();
  EXPECT_TRUE(store.GetRssActive());
  EXPECT_EQ(1, store.RssFailures());
}

TEST_F(Feed, FailureOfTheFeedAloneLeavesItsChannelSaved) {
  Begin();
  Publish("A");
  time.opensFail = "html/events.rss";
  Publish("B");
  EXPECT_EQ((Names{"A", "B"}), Titles(ChannelFile()));
  EXPECT_EQ(Names{"A"}, Titles(FeedFile()));
  EXPECT_EQ(1, store.RssFailures());
}

TEST_F(Feed, ReloadThatSavesTheChannelDoesNotEndTheFailureOfTheFeed) {
  Begin();
  time.opensFail = "html/events.rss";
  Publish("A");
  ASSERT_EQ(1, store.RssFailures());
  Begin();
  EXPECT_EQ(1, store.RssFailures());
  time.opensFail = nullptr;
  Publish("B");
  EXPECT_EQ(0, store.RssFailures());
}

// Whatever fails, a reader finds a whole document or none, of a size within bounds.
TEST_F(Feed, IsNeverSeenInPart) {
  Chance chance(7);
  Begin("<active>T</active><items>20</items>");
  std::size_t largest = 0;
  for (int number = 0; number < 200; ++number) {
    time.opensFail = chance.Happens(250) ? "events.rss" : nullptr;
    time.disksAreFull = chance.Happens(250);
    time.renamesFail = chance.Happens(250);
    Publish("Item " + std::to_string(number));
    const std::string feed = FeedFile();
    XmlDocument document;
    ASSERT_TRUE(feed.empty() || document.Parse(feed.c_str())) << number;
    ASSERT_LE(Titles(feed).size(), 20u);
    largest = std::max(largest, feed.size());
  }
  EXPECT_GT(largest, 1000u);
  EXPECT_LT(largest, 20u * 200 + 1000);
}

// --- golden files ---

TEST_F(Feed, HasTheFormOfItsPage) {
  Begin("<active>T</active><items>2</items>");
  Publish("Gone");
  store.PublishRSS(L"Boiler \"2\" (Activated)",
                   L"<p><b>Too hot & under pressure</b></p><p>93.5 \u00B0C > 90</p>",
                   ZRDateTime::UTC(), 1);
  time.SetUtc(kMorning + 90'000);
  store.PublishRSS(L"Boiler \"2\" (Deactivated)",
                   L"<p><b>Too hot & under pressure</b></p><p>93.5 \u00B0C > 90</p>",
                   ZRDateTime::UTC(), 2);
  EXPECT_EQ(Golden("feed.rss"), FeedFile());
  EXPECT_EQ(Golden("feed-channel.rss"), ChannelFile());
  EXPECT_EQ(PageExample("docs/wire/feed.md"), Golden("feed.rss"));
}

// --- events ---

class FeedOfEvents : public EngineTest {
 protected:
  FeedOfEvents() : before(GetAppPath()) {
    SetAppPath(site.WidePath());
    fs::create_directory(site.path / "html");
    time.SetUtc(kMorning);
    XmlDocument node;
    EXPECT_TRUE(node.Parse("<feed><active>T</active></feed>"));
    EXPECT_TRUE(Store().LoadRssCfg(node.Root()));
  }
  ~FeedOfEvents() override { SetAppPath(before); }

  // The event begins, and a minute later it ends.
  void Happen(const EventXml& event) {
    Load(event);
    Set("RUN", 1);
    StartServer();
    time.Advance(60'000);
    Set("RUN", 0);
    Passes(2);
  }
  [[nodiscard]] std::string Items() const {
    std::ifstream file(site.path / "html/events.rss", std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    const std::string all = content.str();
    const std::size_t first = all.find("<item>");
    return first == std::string::npos ? "" : all.substr(first, all.rfind(kTail) - first);
  }

  const ZRWString before;
};

TEST_F(FeedOfEvents, TransitionsThatAreWantedAreItems) {
  Happen(EventXml("Pump")
             .Condition("[P.RUN] = 1")
             .With("description", "Runs &amp;amp; runs")
             .With("annotation", "fast")
             .With("rssActivate", "T")
             .With("rssDeactivate", "T"));
  EXPECT_EQ(
      "<item><title>Pump (Deactivated)</title><description>&lt;p&gt;&lt;b&gt;Runs &amp; runs"
      "&lt;/b&gt;&lt;/p&gt;&lt;p&gt;fast&lt;/p&gt;</description>"
      "<pubDate>Sat, 21 Nov 2026 08:06:10 GMT</pubDate><category>Deactivated</category></item>"
      "<item><title>Pump (Activated)</title><description>&lt;p&gt;&lt;b&gt;Runs &amp; runs"
      "&lt;/b&gt;&lt;/p&gt;&lt;p&gt;fast&lt;/p&gt;</description>"
      "<pubDate>Sat, 21 Nov 2026 08:05:09 GMT</pubDate><category>Activated</category></item>",
      Items());
}

TEST_F(FeedOfEvents, TransitionsThatAreNotWantedAreNone) {
  Happen(EventXml("Pump").Condition("[P.RUN] = 1").With("rssDeactivate", "T"));
  EXPECT_NE(std::string::npos, Items().find("Pump (Deactivated)"));
  EXPECT_EQ(std::string::npos, Items().find("Pump (Activated)"));
}

TEST_F(FeedOfEvents, FailureDisturbsNoChangeOfAnEvent) {
  fs::remove(site.path / "html");
  Happen(EventXml("Pump")
             .Condition("[P.RUN] = 1")
             .Record()
             .With("rssActivate", "T")
             .With("rssDeactivate", "T"));
  EXPECT_EQ(2, Store().RssFailures());
  EXPECT_FALSE(Find("Pump")->IsEnabled());
  EXPECT_TRUE(Find("Pump")->GetLastEventDeActivedDateTime().Valid());
  EXPECT_EQ(0, Find("Pump")->WaitingRecords());
}

TEST_F(FeedOfEvents, AcknowledgementIsAnItem) {
  Load(EventXml("Pump").Condition("1 = 1").Notify().With("rssAcknowledge", "T"));
  StartServer();
  const std::string xml = NotifiedXml();
  const std::size_t id = xml.find("<id>");
  const std::string body =
      "<eventsAck>" + xml.substr(id, xml.find("</id>") + 5 - id) + "</eventsAck>";
  FakeRequest request;
  ASSERT_TRUE(
      server->ProcessHttpServiceAck(request, reinterpret_cast<const unsigned char*>(body.c_str())));
  EXPECT_EQ(
      "<item><title>Pump (Acknowledged)</title><description></description>"
      "<pubDate>Sat, 21 Nov 2026 08:05:09 GMT</pubDate><category>Acknowledged</category></item>",
      Items());
}

TEST_F(FeedOfEvents, NothingIsPublishedWhileItIsOff) {
  (void)Store().LoadRssCfg(nullptr);
  Happen(EventXml("Pump").Condition("[P.RUN] = 1").With("rssActivate", "T"));
  EXPECT_EQ("", Items());
}

}  // namespace

// The feed, to a reader of feeds that isn't ours.

#include <gtest/gtest.h>

#include "host/platform/zrvirtualtime.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrfiles.h"
#include "support/runningprogram.h"
#include "support/sitefolder.h"
#include "support/sourcedir.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr std::int64_t kMorning = 1'795'248'309'000;  // 2026-11-21T08:05:09Z

class FeedReader : public ::testing::Test {
 protected:
  FeedReader() : before(GetAppPath()) {
    SetAppPath(site.WidePath());
    std::filesystem::create_directory(site.path / "html");
    const ZRVirtualTime time(kMorning);
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(
        ZRTessalySetup::Get().LoadText("name = \"Hall\"", L"/nowhere/", problems, warnings));
    XmlDocument node;
    EXPECT_TRUE(node.Parse("<feed><active>T</active><items>3</items></feed>"));
    EXPECT_TRUE(store.LoadRssCfg(node.Root()));
    for (int number = 1; number <= 3; ++number) {
      store.PublishRSS(Wide("Caldera " + std::to_string(number) + " <ñ & \"k\">"),
                       Wide("<p><b>Presión > 3</b></p>"),
                       ZRDateTime::FromUtcMilliseconds(kMorning + number * 1000), 1);
    }
  }
  ~FeedReader() override { SetAppPath(before); }

  // What the program says of the feed; it must succeed.
  [[nodiscard]] std::string Told(std::vector<std::string> words) const {
    words.push_back((site.path / "html/events.rss").string());
    RunningProgram program(std::move(words));
    EXPECT_EQ(0, program.Wait()) << program.Error();
    return program.Out();
  }

  SiteFolder site;
  const ZRWString before;
  ZREventSystem store;
};

TEST_F(FeedReader, UnderstandsTheFeed) {
  std::string expected =
      "version rss20\nfaults 0\ntitle Events\nlink http://localhost:8480\nlanguage en\n"
      "generator Hall 24.11.14\nupdated 2026 11 21 8 5 9\n";
  for (const char* number : {"3", "2", "1"}) {
    expected += "item Caldera " + std::string(number) + " <ñ & \"k\">\n" +
                "text <p><b>Presión > 3</b></p>\n" + "time 2026 11 21 8 5 1" +
                std::to_string(std::stoi(number) - 1) + "\nwords Activated\n";
  }
  EXPECT_EQ(expected,
            Told({"/usr/bin/python3", RepositoryPath("tests/zrevents/peers/readfeed.py")}));
}

TEST_F(FeedReader, OfXmlFindsNoFault) {
  EXPECT_EQ("", Told({"xmllint", "--noout", "--nonet"}));
}

}  // namespace

// The feed on real threads: who reads it while it is written never sees half a document.
// ZR_FEED_PUBLICATIONS is how many items are published; each of them writes both files.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "host/platform/zrthread.h"
#include "host/tools/zrfiles.h"
#include "support/sitefolder.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr int kItems = 20;

class FeedThreads : public ::testing::Test {
 protected:
  FeedThreads() : before(GetAppPath()) {
    SetAppPath(site.WidePath());
    std::filesystem::create_directory(site.path / "html");
    XmlDocument node;
    EXPECT_TRUE(node.Parse("<feed><active>T</active><items>20</items></feed>"));
    EXPECT_TRUE(store.LoadRssCfg(node.Root()));
  }
  ~FeedThreads() override { SetAppPath(before); }

  static int Publications() {
    constexpr int kFew = 100;
    const char* const wanted = std::getenv("ZR_FEED_PUBLICATIONS");
    return wanted != nullptr ? std::atoi(wanted) : kFew;
  }
  // What is wrong with the feed as it lies there; empty for nothing.
  std::string Fault() {
    ZRString feed;
    if (!ReadWholeFile(site.WidePath() + L"/html/events.rss", kMostBytes, feed)) return "no file";
    largest = std::max(largest, feed.Length());
    XmlDocument document;
    if (!document.Parse(feed.Text())) return "no document";
    const XmlDocument::XmlNode* const channel = document.Root()->Child("channel");
    if (channel == nullptr) return "no channel";
    const auto items = std::count_if(channel->ChildsBegin(), channel->ChildsEnd(),
                                     [](const auto* child) { return child->TagUtf8() == "item"; });
    return items >= 1 && items <= kItems ? "" : "a wrong number of items";
  }

  static constexpr std::size_t kMostBytes = std::size_t{64} * 1024;

  SiteFolder site;
  const ZRWString before;
  ZREventSystem store;
  std::uint32_t largest = 0;  // feed that was read, in bytes
};

TEST_F(FeedThreads, ReadersNeverSeeHalfADocument) {
  const auto publish = [this] {
    store.PublishRSS(L"Pump (Activated)", L"<p><b>The pump runs</b></p>", ZRDateTime::UTC(), 1);
  };
  publish();
  std::atomic<bool> ended{false};
  std::atomic<int> reads{0};
  std::string fault;
  ZRThread reader;
  ASSERT_TRUE(reader.Start([&] {
    while (!ended.load() && fault.empty()) {
      fault = Fault();
      ++reads;
    }
  }));
  while (reads == 0)
    ZRPlatform::Get().Sleep(0);
  const int count = Publications();
  for (int number = 0; number < count; ++number)
    publish();
  ended = true;
  reader.Join();
  EXPECT_EQ("", fault) << "after " << reads << " reads";
  EXPECT_EQ(0, store.RssFailures());
  EXPECT_EQ(std::min(kItems, count + 1), store.GetRssNumberOfItems());
  RecordProperty("reads", reads);
  RecordProperty("largest", static_cast<int>(largest));
}

TEST_F(FeedThreads, WritersAreNeverMixed) {
  constexpr int kEach = 25;
  ZRThread writers[2];
  for (ZRThread& writer : writers) {
    ASSERT_TRUE(writer.Start([this] {
      for (int number = 0; number < kEach; ++number)
        store.PublishRSS(L"A", L"", ZRDateTime::UTC(), 1);
    }));
  }
  for (ZRThread& writer : writers)
    writer.Join();
  EXPECT_EQ("", Fault());
  EXPECT_EQ(kItems, store.GetRssNumberOfItems());
}

}  // namespace

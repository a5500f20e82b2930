// Who is told of a transition, in which order, and with which of its times.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/tools/zrfiles.h"
#include "support/pumpevent.h"
#include "zrevents/lists/zreventlist.h"

namespace {

namespace fs = std::filesystem;

// An event while the feed is on.
class EventTelling : public PumpEvent {
 protected:
  EventTelling() : before(GetAppPath()) {
    SetAppPath(site.WidePath());
    fs::create_directory(site.path / "html");
    XmlDocument node;
    EXPECT_TRUE(node.Parse("<feed><active>T</active></feed>"));
    EXPECT_TRUE(Store().LoadRssCfg(node.Root()));
  }
  ~EventTelling() override {
    EXPECT_TRUE(Store().LoadRssCfg(nullptr));
    SetAppPath(before);
  }

  static EventXml WithFeed(EventXml definition) {
    return definition.With("rssActivate", "T")
        .With("rssDeactivate", "T")
        .With("rssAcknowledge", "T");
  }
  // Sets the three marks of a new occurrence.
  void SetAllMarks() {
    tagSEventRT* const occurrence = event->AddOccurrence();
    for (const int mark : {kActivated, kDeactivated, kAcknowledged})
      EXPECT_TRUE(event->SetMark(occurrence, mark));
  }
  // A notifying event whose acknowledge action takes two seconds, acknowledged at 00:00:00.
  tagSEventRT& AcknowledgedSlowly() {
    Make(WithFeed(Pump().Notify()));
    onRun = [](ZREventDriver&, int) { ZRPlatform::Get().Sleep(2000); };
    tagSEventRT* const occurrence = event->AddOccurrence();
    EXPECT_TRUE(event->SetMark(occurrence, kActivated));
    messages.clear();
    EXPECT_TRUE(event->SetMark(occurrence, kAcknowledged));
    return *occurrence;
  }

  [[nodiscard]] std::string FeedFile() const {
    std::ifstream file(site.path / "html/events.rss", std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  // What the elements `tag` of the feed's items say, the oldest item first.
  [[nodiscard]] std::vector<std::string> OfItems(const std::string& tag) const {
    constexpr std::string_view kItem = "<item>";
    const std::string feed = FeedFile();
    std::vector<std::string> texts;
    for (std::size_t at = feed.find(kItem); at != std::string::npos; at = feed.find(kItem, at + 1))
      texts.insert(texts.begin(), Element(feed.substr(at), tag));
    return texts;
  }
  // The event's files of records.
  [[nodiscard]] std::ptrdiff_t RecordFiles() const {
    const fs::recursive_directory_iterator files(site.path);
    return std::count_if(begin(files), end(files),
                         [](const auto& file) { return file.path().extension() == ".suc"; });
  }

  using Names = std::vector<std::string>;

  const ZRWString before;
};

// --- the feed ---

TEST_F(EventTelling, FeedHasTheTransitionsThatAreWantedAndNoOthers) {
  const std::pair<const char*, Names> flags[] = {{"none", {}},
                                                 {"rssActivate", {"Activated"}},
                                                 {"rssDeactivate", {"Deactivated"}},
                                                 {"rssAcknowledge", {"Acknowledged"}}};
  Names expected;
  for (const auto& [flag, wanted] : flags) {
    SCOPED_TRACE(flag);
    Make(Pump().Notify().With(flag, "T"));
    SetAllMarks();
    expected.insert(expected.end(), wanted.begin(), wanted.end());
    EXPECT_EQ(OfItems("category"), expected);
  }
}

TEST_F(EventTelling, EventWithoutRecordIsInTheFeedAndNeitherOnTheBusNorInAFile) {
  Make(WithFeed(EventXml("Pump").Condition("[P.RUN] = 1").Notify()));
  messages.clear();
  SetAllMarks();
  EXPECT_EQ(OfItems("category"), (Names{"Activated", "Deactivated", "Acknowledged"}));
  EXPECT_EQ(messages, Names{});
  EXPECT_EQ(RecordFiles(), 0);
}

// --- times ---

TEST_F(EventTelling, BusHearsTheTimeBehindTheAcknowledgeActions) {
  const tagSEventRT& occurrence = AcknowledgedSlowly();
  EXPECT_EQ(Narrow(occurrence.acknowledged.ToCompleteWString()), "2026-01-01T00:00:00.000Z");
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_NE(messages[0].find(R"("time":"2026-01-01T00:00:02.000Z")"), std::string::npos)
      << messages[0];
}

TEST_F(EventTelling, FeedHasTheTimeOfTheMarkItself) {
  AcknowledgedSlowly();
  EXPECT_EQ(OfItems("pubDate"),
            (Names{"Thu, 01 Jan 2026 00:00:00 GMT", "Thu, 01 Jan 2026 00:00:00 GMT"}));
  EXPECT_EQ(Element(FeedFile(), "lastBuildDate"), "Thu, 01 Jan 2026 00:00:02 GMT");
}

// --- order ---

TEST_F(EventTelling, BusHearsOfATransitionBeforeItsRecordIsSaved) {
  Make(Pump().Notify());
  std::ptrdiff_t filesSeen = -1;
  const ZRInProcessBus watched([&](const std::wstring&) { filesSeen = RecordFiles(); });
  ASSERT_TRUE(event->SetMark(event->AddOccurrence(), kActivated));
  EXPECT_EQ(filesSeen, 0);
  EXPECT_EQ(RecordFiles(), 1);
}

TEST_F(EventTelling, ListenersComeFirstThenTheBusAndTheFeedLast) {
  ZREventList list;
  list.listenerCount = 1;
  Make(WithFeed(Pump().Notify()));
  event->SetEventList(&list);
  int changesSeen = -1;
  int itemsSeen = -1;
  const ZRInProcessBus watched([&](const std::wstring&) {
    changesSeen = list.PendingChangesSize();
    itemsSeen = Store().GetRssNumberOfItems();
  });
  ASSERT_TRUE(event->SetMark(event->AddOccurrence(), kActivated));
  EXPECT_EQ(changesSeen, 1);
  EXPECT_EQ(itemsSeen, 0);
  EXPECT_EQ(Store().GetRssNumberOfItems(), 1);
  event->SetEventList(nullptr);
}

TEST_F(EventTelling, OccurrencesEndInTheOrderOfTheirList) {
  Make(WithFeed(Pump().Notify().With("annotation", "first")));
  Holds();
  for (const char* text : {"second", "third"}) {
    tagSEventRT* const occurrence = event->AddOccurrence();
    occurrence->status = kActivated;
    occurrence->annotation = text;
  }
  Fails();
  EXPECT_EQ(OfItems("description"), (Names{"first", "first", "second", "third"}))
      << "the activation, then the three ends";
}

// --- what the actions of a transition find ---

TEST_F(EventTelling, ActivateActionsStillSeeTheDelay) {
  Make(Pump().DelayToActivate("2"));
  std::string seen;
  onRun = [&](ZREventDriver&, int moment) {
    if (moment == kMomentActivate) seen = event->Expand("%b/%e");
  };
  Set("RUN", 1);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
  EXPECT_EQ(seen, "2/0");
  EXPECT_EQ(event->Expand("%b/%e"), "0/0");
}

TEST_F(EventTelling, DeactivateActionsStillSeeTheDelay) {
  Make(PumpInShift().DelayToDeactivate("2"));
  std::string seen;
  onRun = [&](ZREventDriver&, int moment) {
    if (moment == kMomentDeactivate) seen = event->Expand("%b/%e");
  };
  Holds();
  Set("RUN", 0);
  EXPECT_EQ(CyclesUntilItChanges(), 3);
  EXPECT_EQ(seen, "0/2");
  EXPECT_EQ(event->Expand("%b/%e"), "0/0");
  seen.clear();
  Holds();
  CycleAt(Closed());
  EXPECT_EQ(seen, "0/2") << "by the time table";
  EXPECT_EQ(event->Expand("%b/%e"), "0/0");
}

// The end stops where the action threw: the event is inactive, its occurrence never ends.
TEST_F(EventTelling, WhatADeactivateActionThrowsIsNotCaught) {
  Make(Pump().Notify().DelayToDeactivate("1").With("annotation", "on"));
  Holds();
  Fails();
  onRun = [](ZREventDriver&, int) { throw std::out_of_range("probe"); };
  EXPECT_THROW(event->Work(ZRDateTime::LTC()), std::out_of_range);
  EXPECT_EQ(Trace(), "S=0 T=0 T=0 deactivate");
  EXPECT_FALSE(event->IsEnabled());
  EXPECT_TRUE(event->LastActiveDateTime().Valid());
  EXPECT_EQ(event->Annotation(), L"on");
  EXPECT_EQ(event->Expand("%b/%e"), "0/1");
  EXPECT_EQ(Fails(), "S=0 T=0");
  EXPECT_EQ(Element(Notified(), "disableDateTime"), "-");
}

}  // namespace

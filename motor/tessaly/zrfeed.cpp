#include "tessaly/zrfeed.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>

#include "host/base/zrlogger.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"
#include "tessaly/zranswers.h"
#include "tessaly/zrsharefolder.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr const wchar_t* kFeedFile = L"html/events.rss";
constexpr std::size_t kMostFeedBytes = std::size_t{64} * 1024 * 1024;

// Null without the table.
const XmlDocument::XmlNode* FeedSettings(const ZRTessalySetup& setup) {
  return setup.Tree() != nullptr ? setup.Tree()->Node(L"feed") : nullptr;
}

bool IsActive(const XmlDocument::XmlNode* settings) {
  return settings != nullptr && settings->bValue(L"active", false);
}

bool Publishes(const ZREventDriver* event) {
  return event->RssActivate() || event->RssDeactivate() || event->RssAcknowledge();
}

}  // namespace

void PrepareFeed(const ZRTessalySetup& setup, ZREventSystem& store, ZRFindings& findings) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path site =
      fs::absolute(std::string(Utf16ToUtf8(setup.SitePath().View()).View()), error);
  SetAppPath(Utf8ToUtf16(site.string()));
  const XmlDocument::XmlNode* const settings = FeedSettings(setup);
  if (IsActive(settings) && !MakePrivateFolder(site / kHtmlFolder, error)) {
    findings.push_back({ZRFinding::tagKind::kHint, kHtmlFolder, 0, 0,
                        "can't be made, and the feed can't be written: " + error.message()});
  }
  (void)store.LoadRssCfg(settings);
}

void CheckFeed(const ZRTessalySetup& setup, const ZREventSystem& store, ZRFindings& findings) {
  if (IsActive(FeedSettings(setup))) return;
  const auto count = std::count_if(store.EventsBegin(), store.EventsEnd(), Publishes);
  if (count == 0) return;
  findings.push_back({ZRFinding::tagKind::kHint, ZRTessalySetup::kFileName, 0, 0,
                      "events that publish to the feed: " + std::to_string(count) +
                          ", but feed.active isn't true"});
}

void AnswerFeed(const ZREventSystem& store, ZRHttpResponse& response) {
  ZRString feed;
  if (!store.GetRssActive() || !ReadWholeFile(GetAppPath() + kFeedFile, kMostFeedBytes, feed))
    return AnswerWord(response, kNotFound, "There is no feed.");
  response.Begin(kOk, kContentRss);
  response.Write(feed);
  (void)response.End();
}

void ZRFeedWatch::Look(const ZREventSystem& store) {
  const bool fails = store.RssFailures() > 0;
  if (fails && !isFailing) {
    logger(kLogDelivery, L"the feed can't be written in the folder %s", kHtmlFolder);
  } else if (isFailing && !fails) {
    logger(kLogNotice, L"the feed is written again");
  }
  isFailing = fails;
}

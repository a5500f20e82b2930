// The feed: its channel and items, and the two files that each item changes.

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cwchar>
#include <vector>

#include "host/support/zrtessalysetup.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrstringtable.h"
#include "host/tools/zrtext.h"
#include "zrevents/zreventstatus.h"
#include "zrevents/zreventsystem.h"

namespace {

using Node = XmlDocument::XmlNode;

// Below the application's folder.
constexpr const wchar_t* kChannelFile = L"html/channelevents.rss";
constexpr const wchar_t* kFeedFile = L"html/events.rss";
constexpr const wchar_t* kUnfinished = L".unfinished";  // end of the name of a file in work

constexpr const wchar_t* kFeedVersion = L"24.11.14";
constexpr const char* kFeedHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel>";
constexpr const char* kFeedTail = "</channel></rss>";

constexpr const wchar_t* kItem = L"item";
constexpr std::string_view kItemUtf8 = "item";
constexpr int kDecimal = 10;

bool IsItem(const Node* child) {
  return child->TagUtf8() == kItemUtf8;
}

int LimitOf(const ZRWString& text) {
  const long number = std::wcstol(text.Text(), nullptr, kDecimal);
  return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

// Where the site is; the port is always there.
void SetAddress(Node& channel) {
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  const ZRWString link =
      FormatWide(L"http://%ls:%d", setup.RssUrl().Text(), setup.HttpServerPort());
  channel.SetValue(L"link", link);
  channel.SetValue(L"docs", link + L"/html");
}

// Empty for what is no transition.
ZRWString Category(int status) {
  switch (status) {
    case kActivated:
      return ZRLoadString(zrstring::kActivated);
    case kDeactivated:
      return ZRLoadString(zrstring::kDeactivated);
    case kAcknowledged:
      return ZRLoadString(zrstring::kAcknowledged);
    default:
      return {};
  }
}

// What stands in front of the items, then the newest item first.
[[nodiscard]] bool WriteChannel(const Node& channel, std::FILE* file) {
  std::vector<const Node*> items;
  bool isWritten = std::fputs(kFeedHead, file) >= 0;
  for (auto child = channel.ChildsBegin(); child != channel.ChildsEnd(); ++child) {
    if (IsItem(*child)) {
      items.push_back(*child);
    } else {
      isWritten = isWritten && (*child)->SaveXmlCode(file);
    }
  }
  std::for_each(items.rbegin(), items.rend(),
                [&](const Node* item) { isWritten = isWritten && item->SaveXmlCode(file); });
  return isWritten && std::fputs(kFeedTail, file) >= 0;
}

}  // namespace

bool ZREventSystem::LoadRssCfg(const XmlDocument::XmlNode* node) {
  rssActive = false;
  if (node == nullptr) return true;
  rssActive = node->bValue(L"active", false);
  if (!rssActive) return true;

  const ZRMutexLock lock(rssMutex);
  const ZRWString path = GetAppPath() + kChannelFile;
  if (const Node* limit = node->Child("items")) rssMaxItems = LimitOf(limit->Value());
  if (rssDocument.Load(path.Text())) {
    SetAddress(*rssDocument.Root());
    // A saved channel says nothing of the feed itself.
    if (!rssDocument.Save()) NoteRssFiles(false);
  } else {
    CreateEventsRSS(rssDocument);
  }
  const Node& channel = *rssDocument.Root();
  rssItems = static_cast<int>(std::count_if(channel.ChildsBegin(), channel.ChildsEnd(), IsItem));
  return true;
}

// A new channel, without items.
void ZREventSystem::CreateEventsRSS(XmlDocument& document) {
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  document.Create(L"channel");
  Node& channel = *document.Root();
  channel.SetValue(L"title", ZRLoadString(zrstring::kFeedTitle));
  channel.SetValue(L"link", L"");
  channel.SetValue(L"language", setup.CurrentLanguage());
  SetAddress(channel);
  channel.SetValue(L"generator", setup.ProgramName() + L" " + kFeedVersion);
  channel.SetValue(L"lastBuildDate", DateTime2RFC822(ZRDateTime::UTC(), true));
}

void ZREventSystem::PublishRSS(const ZRWString& title, const ZRWString& description,
                               const ZRDateTime& time, int status) {
  const ZRMutexLock lock(rssMutex);
  Node* const channel = rssDocument.Root();
  if (channel == nullptr || !MakeRoomForItem(*channel)) return;
  Node& item = *channel->NewChild(kItem, nullptr);
  channel->SetValue(L"lastBuildDate", DateTime2RFC822(ZRDateTime::UTC(), true));
  item.SetValue(L"title", title);
  item.SetValue(L"description", description);
  item.SetValue(L"pubDate", DateTime2RFC822(time, true));
  item.SetValue(L"category", Category(status));
  ++rssItems;
  const bool isSaved = rssDocument.Save();
  const bool isPublished = CreateEventsRSSFile();
  NoteRssFiles(isSaved && isPublished);
}

// Lets the oldest items go; false if not even that makes room.
bool ZREventSystem::MakeRoomForItem(XmlDocument::XmlNode& channel) {
  while (rssItems >= rssMaxItems) {
    Node* const oldest = channel.Child(kItemUtf8);
    if (oldest == nullptr) return false;
    channel.RemoveChild(oldest);
    --rssItems;
  }
  return true;
}

// Writes beside the old feed and puts the new one in its place: no reader meets half of one.
bool ZREventSystem::CreateEventsRSSFile() {
  const ZRWString path = GetAppPath() + kFeedFile;
  const ZRWString unfinished = path + kUnfinished;
  std::FILE* const file = widefopen(unfinished.Text(), L"w+");
  if (file == nullptr) return false;
  bool isWritten = WriteChannel(*rssDocument.Root(), file);
  isWritten = std::fclose(file) == 0 && isWritten;
  isWritten = isWritten && widerename(unfinished.Text(), path.Text()) == 0;
  if (!isWritten) (void)wideremove(unfinished.Text());
  return isWritten;
}

void ZREventSystem::NoteRssFiles(bool areWritten) {
  rssFailures = areWritten ? 0 : rssFailures + 1;
}

int ZREventSystem::GetRssMaxNumberOfItems() const {
  const ZRMutexLock lock(rssMutex);
  return rssMaxItems;
}

int ZREventSystem::GetRssNumberOfItems() const {
  const ZRMutexLock lock(rssMutex);
  return rssItems;
}

// The feed of a site: its folder, its settings, its document on the web, and its failures.
#pragma once

#include "host/remote/zrhttpresponse.h"
#include "host/support/zrtessalysetup.h"
#include "tessaly/zrfinding.h"

class ZREventSystem;

// Below the site: the feed and its channel lie there.
inline constexpr const char* kHtmlFolder = "html";

// Hands the table `feed` of the settings to `store`, before the engine starts. For a feed that is
// on, the folder is made, this user's alone; kHint if it can't be.
void PrepareFeed(const ZRTessalySetup& setup, ZREventSystem& store, ZRFindings& findings);

// kHint if events of `store` publish and the settings have the feed off.
void CheckFeed(const ZRTessalySetup& setup, const ZREventSystem& store, ZRFindings& findings);

// The feed as it was written last; 404 while it is off or has never been written.
void AnswerFeed(const ZREventSystem& store, ZRHttpResponse& response);

// Tells in the log what the engine passes over in silence: that the feed couldn't be written.
//
// Threads   one, the host's.
class ZRFeedWatch {
 public:
  // For every second. Says when it begins to fail, and when it is written again.
  void Look(const ZREventSystem& store);

 private:
  bool isFailing = false;  // as it was said
};

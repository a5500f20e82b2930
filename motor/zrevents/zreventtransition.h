// What leaves an event at a transition, as plain records.
#pragma once

#include "zrevents/zreventrt.h"

// The copy for listeners: named by the event, with the single transition as its status, and the
// times and texts of the occurrence.
[[nodiscard]] tagSEventRT ListenerChange(const tagSEventRT& occurrence, const uuid& eventId,
                                         int status);

// The record for the data file and the bus: the transition, its text, and the time `now` whatever
// the transition.
[[nodiscard]] tagSEventRT TransitionRecord(const tagSEventRT& occurrence, int status,
                                           const ZRDateTime& now);

// An item of the feed. It quotes the activation text, whatever the transition.
struct tagFeedItem {
  ZRWString title;
  ZRWString text;
};
[[nodiscard]] tagFeedItem FeedItem(const ZRWString& name, const ZRWString& description,
                                   const tagSEventRT& occurrence, const ZRWString& statusText);

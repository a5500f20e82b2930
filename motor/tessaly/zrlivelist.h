// The active and the notified events, as a site that runs answers them.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tessaly/zrcommandline.h"
#include "tessaly/zrhistorytext.h"

// An event or an occurrence. Texts are UTF-8, as the site sent them; a time is empty until it has
// come.
struct ZRLiveEvent {
  std::string id;     // what an acknowledgement names
  std::string names;  // of a remote event: the way to it, in names
  std::string name;
  std::string description;
  std::string text;
  std::string endText;
  std::string ackText;
  std::string began;
  std::string ended;         // of a notified one
  std::string acknowledged;  // of a notified one
  // An active one has to be acknowledged; a notified one may be, by who has asked.
  bool isToAcknowledge = false;
};

class ZRLiveList {
 public:
  enum class tagKind { kActive, kNotified };
  // The groups of an event in one text.
  using tagGroups = std::function<std::string(const ZRLiveEvent&)>;

  explicit ZRLiveList(tagKind kindOfEvents) : kind(kindOfEvents) {}

  // Replaces the list by that of a document. False with a reason if it isn't one.
  [[nodiscard]] bool Read(std::string_view document, std::string& reason);
  [[nodiscard]] const std::vector<ZRLiveEvent>& Events() const { return events; }

  // A line for each event, in their order:
  //
  //   kTable  for people: local time; controls as escapes
  //   kCsv    RFC 4180, with a header; times by ISO 8601 in UTC; controls as escapes
  //   kJson   an array of objects, with the same times
  //
  // A time that can't be read is shown as it was sent.
  void Write(ZRHistoryFormat format, const tagGroups& groups, const ZRTextSink& sink) const;

 private:
  const tagKind kind;
  std::vector<ZRLiveEvent> events;
};

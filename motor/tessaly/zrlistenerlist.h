// The listeners of a site that runs, as it answers them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tessaly/zrcommandline.h"
#include "tessaly/zrhistorytext.h"

// Texts are UTF-8, as the site sent them.
struct ZRListenerShown {
  std::string id;
  std::string name;
  std::string user;  // who registered it
  std::string host;
  std::string port;
  std::string since;
  std::string status;     // of the last document; empty before the first one, "0" without answer
  bool isUser = false;    // a user's client, no engine
  bool needsAll = false;  // a complete document waits for it
};

class ZRListenerList {
 public:
  // Replaces the list by that of a document. False with a reason if it isn't one.
  [[nodiscard]] bool Read(std::string_view document, std::string& reason);
  [[nodiscard]] const std::vector<ZRListenerShown>& Listeners() const { return listeners; }
  [[nodiscard]] const std::string& Waiting() const { return waiting; }

  // A line for each, in the formats of ZRLiveList; the table ends with what waits for them.
  void Write(ZRHistoryFormat format, const ZRTextSink& sink) const;

 private:
  std::vector<ZRListenerShown> listeners;
  std::string waiting;  // changes, for all of them
};

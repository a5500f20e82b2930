// What the listener thread works with.
#pragma once

#include <vector>

#include "host/remote/zrhttpclient.h"
#include "host/tools/xmldocument.h"
#include "zrevents/zreventlistener.h"

class ZRListenerBoard;

// Used again in every round, and by the listener thread only.
struct ZRListenerRound {
  explicit ZRListenerRound(ZRListenerBoard& toTell) : board(toTell) {}

  XmlDocument document;  // made anew for each listener
  ZRString text;         // of it
  ZRHttpClient client{true};
  ZRListenerBoard& board;  // is told each answer
  std::vector<const ZREventListener*> failed;

  // Makes `document` one with the head for `listener`.
  void Begin(const ZREventListener& listener, bool isComplete);
  // Puts the document to `listener`, five times at most, with a second between. Without success
  // the listener has failed.
  void Send(const ZREventListener& listener);
};

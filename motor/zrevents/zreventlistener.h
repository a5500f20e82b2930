#pragma once

#include <cstdint>

#include "host/tools/zrbasicstring.h"

// One registered listener: another engine that gets the events of this one pushed, or a user's
// client.
//
// Threads   guarded by the lock of the list that it stands in.
class ZREventListener {
 public:
  ZREventListener(const ZRWString& listenerDriverId, const ZRString& listenerHost,
                  std::int32_t listenerPort)
      : driverId(listenerDriverId), host(listenerHost), port(listenerPort) {}
  virtual ~ZREventListener() = default;
  ZREventListener(const ZREventListener&) = delete;
  ZREventListener& operator=(const ZREventListener&) = delete;

  bool isUser = false;   // a user's client: it gets the user form of the document
  ZRWString user;        // who registered it
  ZRWString driverId;    // its key: the id by which the other side knows this engine
  ZRWString driverName;  // the name of this engine on the other side
  ZRString host;         // where documents are put to
  std::int32_t port;
  bool needsAll = false;       // the next document has to be a complete one
  bool actived = false;        // it wants active events
  bool notified = false;       // it wants notified events
  bool clientActions = false;  // kept, and never read
};

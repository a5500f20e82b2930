// The connections that clients have to the web server.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "host/platform/zrmutex.h"
#include "host/remote/zrconnectionpace.h"
#include "host/remote/zrsocketbytes.h"

// Threads   any.
// Order     its mutex is taken last.
// Promise   a socket is shut only between its Add and its Remove, while it is certain to be open.
class ZROpenConnections {
 public:
  using tagMeter = std::function<std::optional<ZRSocketBytes>(int socket)>;

  // `toCount` tells what a socket has carried. A connection of which it knows nothing may take its
  // time.
  explicit ZROpenConnections(tagMeter toCount = &BytesOfSocket) : meter(std::move(toCount)) {}

  // Connections may come, at first or after ShutAll, and have to keep to `toKeep`.
  void Allow(const ZRPaceLimits& toKeep) ZR_EXCLUDES(mutex);
  // `socket` is open, and a head is expected; it is shut at once after ShutAll.
  void Add(int socket) ZR_EXCLUDES(mutex);
  // What the connection is busy with from now on.
  void Begin(int socket, ZRConnectionStep step) ZR_EXCLUDES(mutex);
  // `socket` is about to be closed.
  void Remove(int socket) ZR_EXCLUDES(mutex);

  // Ends every connection, for both sides; their owner notices and closes them.
  void ShutAll() ZR_EXCLUDES(mutex);
  // Ends those whose clients are too slow now.
  void ShutSlow() ZR_EXCLUDES(mutex);
  // Does so each `milliseconds`, as long as there are connections, until EndWatch.
  void Watch(std::uint32_t milliseconds) ZR_EXCLUDES(mutex);
  void EndWatch() ZR_EXCLUDES(mutex);
  // False if some are still there after `milliseconds`.
  [[nodiscard]] bool WaitUntilNone(std::uint32_t milliseconds) ZR_EXCLUDES(mutex);

 private:
  struct tagConnection {
    ZRConnectionPace pace;
    bool shut = false;
  };

  void BeginStep(int socket, ZRConnectionPace& pace, ZRConnectionStep step) ZR_REQUIRES(mutex);
  [[nodiscard]] bool IsSlow(int socket, ZRConnectionPace& pace) ZR_REQUIRES(mutex);
  static void Shut(int socket, tagConnection& connection);
  void ShutSlowOnes() ZR_REQUIRES(mutex);

  const tagMeter meter;
  ZRMutex mutex;
  ZRCondition changed;  // a connection has gone
  ZRCondition toWatch;  // a first connection has come, or the watch is to end
  std::map<int, tagConnection> connections ZR_GUARDED_BY(mutex);  // by socket
  ZRPaceLimits limits ZR_GUARDED_BY(mutex);
  bool shut ZR_GUARDED_BY(mutex) = false;
  bool watchIsOver ZR_GUARDED_BY(mutex) = false;
};

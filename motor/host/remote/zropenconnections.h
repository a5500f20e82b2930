// The connections that clients have to the web server.
#pragma once

#include <cstdint>
#include <set>

#include "host/platform/zrmutex.h"

// Threads   any.
// Order     its mutex is taken last.
// Promise   a socket is shut only between its Add and its Remove, while it is certain to be open.
class ZROpenConnections {
 public:
  // Connections may come, after ShutAll.
  void Allow() ZR_EXCLUDES(mutex);
  // `socket` is open; it is shut at once after ShutAll.
  void Add(int socket) ZR_EXCLUDES(mutex);
  // `socket` is about to be closed.
  void Remove(int socket) ZR_EXCLUDES(mutex);

  // Ends every connection, for both sides; their owner notices and closes them.
  void ShutAll() ZR_EXCLUDES(mutex);
  // False if some are still there after `milliseconds`.
  [[nodiscard]] bool WaitUntilNone(std::uint32_t milliseconds) ZR_EXCLUDES(mutex);

 private:
  ZRMutex mutex;
  ZRCondition changed;
  std::set<int> sockets ZR_GUARDED_BY(mutex);
  bool shut ZR_GUARDED_BY(mutex) = false;
};

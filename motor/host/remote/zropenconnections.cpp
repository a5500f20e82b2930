#include "host/remote/zropenconnections.h"

#include <sys/socket.h>

void ZROpenConnections::Allow() {
  const ZRMutexLock lock(mutex);
  shut = false;
}

void ZROpenConnections::Add(int socket) {
  const ZRMutexLock lock(mutex);
  sockets.insert(socket);
  if (shut) (void)::shutdown(socket, SHUT_RDWR);
}

void ZROpenConnections::Remove(int socket) {
  const ZRMutexLock lock(mutex);
  sockets.erase(socket);
  changed.NotifyAll();
}

void ZROpenConnections::ShutAll() {
  const ZRMutexLock lock(mutex);
  shut = true;
  for (const int socket : sockets)
    (void)::shutdown(socket, SHUT_RDWR);
}

bool ZROpenConnections::WaitUntilNone(std::uint32_t milliseconds) {
  const ZRMutexLock lock(mutex);
  const std::uint32_t start = ZRPlatform::Get().TickCount();
  while (!sockets.empty()) {
    const std::uint32_t gone = ZRPlatform::Get().TickCount() - start;
    if (gone >= milliseconds) return false;
    (void)changed.Wait(mutex, milliseconds - gone);
  }
  return true;
}

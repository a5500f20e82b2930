#include "host/remote/zropenconnections.h"

#include <sys/socket.h>

void ZROpenConnections::Allow(const ZRPaceLimits& toKeep) {
  const ZRMutexLock lock(mutex);
  limits = toKeep;
  shut = false;
  watchIsOver = false;
}

void ZROpenConnections::Add(int socket) {
  const ZRMutexLock lock(mutex);
  tagConnection& connection = connections[socket];
  BeginStep(socket, connection.pace, ZRConnectionStep::kHead);
  if (shut) Shut(socket, connection);
  if (connections.size() == 1) toWatch.NotifyAll();
}

void ZROpenConnections::Begin(int socket, ZRConnectionStep step) {
  const ZRMutexLock lock(mutex);
  const auto found = connections.find(socket);
  if (found != connections.end()) BeginStep(socket, found->second.pace, step);
}

void ZROpenConnections::BeginStep(int socket, ZRConnectionPace& pace, ZRConnectionStep step) {
  const ZRSocketBytes bytes = meter(socket).value_or(ZRSocketBytes());
  pace.Begin(step, limits, ZRPlatform::Get().TickCount(), bytes);
}

void ZROpenConnections::Remove(int socket) {
  const ZRMutexLock lock(mutex);
  connections.erase(socket);
  changed.NotifyAll();
}

void ZROpenConnections::Shut(int socket, tagConnection& connection) {
  if (!connection.shut) (void)::shutdown(socket, SHUT_RDWR);
  connection.shut = true;
}

void ZROpenConnections::ShutAll() {
  const ZRMutexLock lock(mutex);
  shut = true;
  for (auto& [socket, connection] : connections)
    Shut(socket, connection);
}

void ZROpenConnections::ShutSlow() {
  const ZRMutexLock lock(mutex);
  ShutSlowOnes();
}

void ZROpenConnections::ShutSlowOnes() {
  for (auto& [socket, connection] : connections)
    if (!connection.shut && IsSlow(socket, connection.pace)) Shut(socket, connection);
}

bool ZROpenConnections::IsSlow(int socket, ZRConnectionPace& pace) {
  const std::optional<ZRSocketBytes> bytes = meter(socket);
  return bytes && pace.IsTooSlow(limits, ZRPlatform::Get().TickCount(), *bytes);
}

void ZROpenConnections::Watch(std::uint32_t milliseconds) {
  const ZRMutexLock lock(mutex);
  while (!watchIsOver) {
    (void)toWatch.Wait(mutex, connections.empty() ? ZRPlatform::kInfinite : milliseconds);
    ShutSlowOnes();
  }
}

void ZROpenConnections::EndWatch() {
  const ZRMutexLock lock(mutex);
  watchIsOver = true;
  toWatch.NotifyAll();
}

bool ZROpenConnections::WaitUntilNone(std::uint32_t milliseconds) {
  const ZRMutexLock lock(mutex);
  const std::uint32_t start = ZRPlatform::Get().TickCount();
  while (!connections.empty()) {
    const std::uint32_t gone = ZRPlatform::Get().TickCount() - start;
    if (gone >= milliseconds) return false;
    (void)changed.Wait(mutex, milliseconds - gone);
  }
  return true;
}

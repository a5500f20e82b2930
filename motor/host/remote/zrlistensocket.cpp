#include "host/remote/zrlistensocket.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr int kBacklog = 128;

}  // namespace

bool ZRListenSocket::Open(const std::string& address, std::uint16_t wantedPort,
                          std::string& reason) {
  if (address != kLoopback) {
    reason = "address " + address + " is not served, only " + kLoopback;
    return false;
  }
  if (Listen(wantedPort)) return true;
  reason = ReasonOf(errno, address, wantedPort);
  Close();
  return false;
}

bool ZRListenSocket::Listen(std::uint16_t wantedPort) {
  descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return false;
  // The port of a server that has just ended can be had again at once.
  const int yes = 1;
  if (::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) != 0) return false;
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(wantedPort);
  name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const plainName = reinterpret_cast<sockaddr*>(&name);
  socklen_t length = sizeof name;
  if (::bind(descriptor, plainName, length) != 0 || ::listen(descriptor, kBacklog) != 0 ||
      ::getsockname(descriptor, plainName, &length) != 0) {
    return false;
  }
  port = ntohs(name.sin_port);
  return true;
}

void ZRListenSocket::Refuse() {
  (void)::shutdown(descriptor, SHUT_RDWR);
}

void ZRListenSocket::Close() {
  if (descriptor >= 0) (void)::close(std::exchange(descriptor, -1));
  port = 0;
}

std::string ZRListenSocket::ReasonOf(int error, const std::string& address, std::uint16_t port) {
  const std::string place = "port " + std::to_string(port) + " of " + address;
  if (error == EADDRINUSE) return place + " is in use";
  if (error == EACCES || error == EPERM) return place + " needs more rights than this process has";
  return place + " can't be listened on: " + std::generic_category().message(error);
}

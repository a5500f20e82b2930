#include "host/remote/zrlistensocket.h"

#include <netinet/in.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace {

constexpr int kBacklog = 512;
// What the system keeps of an answer for a client that doesn't take it. Connections inherit it.
constexpr int kSendBytes = 256 * 1024;

bool SetOption(int descriptor, int level, int option, int value) {
  return ::setsockopt(descriptor, level, option, &value, sizeof value) == 0;
}

}  // namespace

bool ZRListenSocket::Open(const std::string& text, std::uint16_t wantedPort, std::string& reason) {
  ZRSocketAddress wanted;
  if (!wanted.Parse(text, wantedPort)) {
    reason = "'" + text + "' is no address of IPv4 or IPv6 in digits";
    return false;
  }
  if (Listen(wanted)) return true;
  reason = ReasonOf(errno, text, wantedPort);
  Close();
  return false;
}

bool ZRListenSocket::Listen(const ZRSocketAddress& wanted) {
  descriptor = ::socket(wanted.Family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0 || !Prepare(wanted.Family())) return false;
  sockaddr_storage name{};
  auto* const plainName = reinterpret_cast<sockaddr*>(&name);
  socklen_t length = sizeof name;
  if (::bind(descriptor, wanted.Name(), wanted.Size()) != 0 ||
      ::listen(descriptor, kBacklog) != 0 || ::getsockname(descriptor, plainName, &length) != 0) {
    return false;
  }
  address = ZRSocketAddress(*plainName);
  return true;
}

bool ZRListenSocket::Prepare(int family) const {
  // The port of a server that has just ended can be had again at once.
  if (!SetOption(descriptor, SOL_SOCKET, SO_REUSEADDR, 1)) return false;
  if (!SetOption(descriptor, SOL_SOCKET, SO_SNDBUF, kSendBytes)) return false;
  return family != AF_INET6 || SetOption(descriptor, IPPROTO_IPV6, IPV6_V6ONLY, 0);
}

void ZRListenSocket::Refuse() {
  (void)::shutdown(descriptor, SHUT_RDWR);
}

void ZRListenSocket::Close() {
  if (descriptor >= 0) (void)::close(std::exchange(descriptor, -1));
  address = ZRSocketAddress();
}

std::string ZRListenSocket::ReasonOf(int error, const std::string& address, std::uint16_t port) {
  const std::string place = "port " + std::to_string(port) + " of " + address;
  if (error == EADDRINUSE) return place + " is in use";
  if (error == EACCES || error == EPERM) return place + " needs more rights than this process has";
  if (error == EADDRNOTAVAIL) return address + " is no address of this machine";
  if (error == EAFNOSUPPORT) return "this machine has no addresses of the kind of " + address;
  return place + " can't be listened on: " + std::generic_category().message(error);
}

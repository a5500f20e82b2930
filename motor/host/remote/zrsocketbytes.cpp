#include "host/remote/zrsocketbytes.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstddef>

std::optional<ZRSocketBytes> BytesOfSocket(int socket) {
  constexpr std::size_t kNeeded =
      offsetof(tcp_info, tcpi_bytes_received) + sizeof(tcp_info::tcpi_bytes_received);
  tcp_info info{};
  socklen_t size = sizeof info;
  if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 || size < kNeeded) return {};
  int unread = 0;
  int untaken = 0;
  if (::ioctl(socket, SIOCINQ, &unread) != 0 || ::ioctl(socket, SIOCOUTQ, &untaken) != 0) return {};
  return ZRSocketBytes{info.tcpi_bytes_received, info.tcpi_bytes_acked,
                       static_cast<std::uint64_t>(unread), static_cast<std::uint64_t>(untaken)};
}

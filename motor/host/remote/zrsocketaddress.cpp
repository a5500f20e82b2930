#include "host/remote/zrsocketaddress.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <cstring>

namespace {

constexpr std::uint32_t kLoopbackNet = 127;
constexpr unsigned int kNetShift = 24;
constexpr std::size_t kMappedPrefix = 12;  // bytes of an IPv6 address before that of IPv4

bool IsLoopbackFour(std::uint32_t networkOrder) {
  return ntohl(networkOrder) >> kNetShift == kLoopbackNet;
}

std::uint32_t MappedFour(const in6_addr& address) {
  std::uint32_t four = 0;
  std::memcpy(&four, &address.s6_addr[kMappedPrefix], sizeof four);
  return four;
}

// The interface that stands behind the "%" of `text`; 0 for none.
bool ReadScope(const std::string& text, std::size_t percent, std::uint32_t& scope) {
  if (percent == std::string::npos) return true;
  scope = ::if_nametoindex(text.substr(percent + 1).c_str());
  return scope != 0;
}

}  // namespace

ZRSocketAddress::ZRSocketAddress(const sockaddr& toCopy) {
  if (toCopy.sa_family != AF_INET && toCopy.sa_family != AF_INET6) return;
  const std::size_t size = toCopy.sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
  std::memcpy(&name, &toCopy, size);
}

bool ZRSocketAddress::Parse(const std::string& text, std::uint16_t port) {
  sockaddr_in four{};
  if (::inet_pton(AF_INET, text.c_str(), &four.sin_addr) == 1) {
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    *this = ZRSocketAddress(reinterpret_cast<const sockaddr&>(four));
    return true;
  }
  sockaddr_in6 six{};
  const std::size_t percent = text.find('%');
  if (::inet_pton(AF_INET6, text.substr(0, percent).c_str(), &six.sin6_addr) != 1) return false;
  std::uint32_t scope = 0;
  if (!ReadScope(text, percent, scope)) return false;
  six.sin6_family = AF_INET6;
  six.sin6_port = htons(port);
  six.sin6_scope_id = scope;
  *this = ZRSocketAddress(reinterpret_cast<const sockaddr&>(six));
  return true;
}

std::string ZRSocketAddress::Text() const {
  char digits[INET6_ADDRSTRLEN] = "";
  if (Family() == AF_INET) (void)::inet_ntop(AF_INET, &Four().sin_addr, digits, sizeof digits);
  if (Family() != AF_INET6) return digits;
  if (IN6_IS_ADDR_V4MAPPED(&Six().sin6_addr)) {
    const std::uint32_t four = MappedFour(Six().sin6_addr);
    (void)::inet_ntop(AF_INET, &four, digits, sizeof digits);
  } else {
    (void)::inet_ntop(AF_INET6, &Six().sin6_addr, digits, sizeof digits);
  }
  return digits;
}

std::uint16_t ZRSocketAddress::Port() const {
  if (Family() == AF_INET) return ntohs(Four().sin_port);
  return Family() == AF_INET6 ? ntohs(Six().sin6_port) : std::uint16_t{0};
}

bool ZRSocketAddress::IsLoopback() const {
  if (Family() == AF_INET) return IsLoopbackFour(Four().sin_addr.s_addr);
  if (Family() != AF_INET6) return false;
  const in6_addr& address = Six().sin6_addr;
  if (IN6_IS_ADDR_V4MAPPED(&address)) return IsLoopbackFour(MappedFour(address));
  return IN6_IS_ADDR_LOOPBACK(&address);
}

socklen_t ZRSocketAddress::Size() const {
  return Family() == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
}

// An address of IPv4 or IPv6 with its port.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

// Threads   as any value.
class ZRSocketAddress {
 public:
  ZRSocketAddress() = default;  // of no family
  // Of IPv4 or IPv6; one of another family has an empty Text.
  explicit ZRSocketAddress(const sockaddr& toCopy);

  // Reads an address in digits, that of a link with its interface behind a "%". False, with
  // nothing changed, if it is none, or no interface of this machine.
  [[nodiscard]] bool Parse(const std::string& text, std::uint16_t port);

  // In digits, without the port. One of IPv4 that came through a socket of IPv6 is that of IPv4.
  [[nodiscard]] std::string Text() const;
  [[nodiscard]] std::uint16_t Port() const;
  // Nobody but this machine can reach it.
  [[nodiscard]] bool IsLoopback() const;

  // As the system's calls take it.
  [[nodiscard]] int Family() const { return name.ss_family; }
  [[nodiscard]] const sockaddr* Name() const { return reinterpret_cast<const sockaddr*>(&name); }
  [[nodiscard]] socklen_t Size() const;

 private:
  [[nodiscard]] const sockaddr_in& Four() const {
    return reinterpret_cast<const sockaddr_in&>(name);
  }
  [[nodiscard]] const sockaddr_in6& Six() const {
    return reinterpret_cast<const sockaddr_in6&>(name);
  }

  sockaddr_storage name{};
};

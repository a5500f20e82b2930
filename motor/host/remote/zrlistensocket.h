// The socket on which the web server listens.
#pragma once

#include <cstdint>
#include <string>

#include "host/remote/zrsocketaddress.h"

// Threads   one at a time.
// Owns      the descriptor.
class ZRListenSocket {
 public:
  ZRListenSocket() = default;
  ~ZRListenSocket() { Close(); }
  ZRListenSocket(const ZRListenSocket&) = delete;
  ZRListenSocket& operator=(const ZRListenSocket&) = delete;

  // Listens on `text`, an address of this machine in digits; "::" is that of IPv4 too. False with a
  // reason. Port 0 takes any free one.
  [[nodiscard]] bool Open(const std::string& text, std::uint16_t wantedPort, std::string& reason);
  // Turns away everybody from now on; the descriptor stays.
  void Refuse();
  void Close();

  [[nodiscard]] int Descriptor() const { return descriptor; }
  // Where it listens; of no family while it doesn't.
  [[nodiscard]] const ZRSocketAddress& Address() const { return address; }
  [[nodiscard]] std::uint16_t Port() const { return address.Port(); }

  // Why it can't listen, in words, from an errno.
  [[nodiscard]] static std::string ReasonOf(int error, const std::string& address,
                                            std::uint16_t port);

 private:
  [[nodiscard]] bool Listen(const ZRSocketAddress& wanted);
  [[nodiscard]] bool Prepare(int family) const;

  int descriptor = -1;
  ZRSocketAddress address;
};

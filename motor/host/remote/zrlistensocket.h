// The socket on which the web server listens.
#pragma once

#include <cstdint>
#include <string>

// Threads   one at a time.
// Owns      the descriptor.
class ZRListenSocket {
 public:
  ZRListenSocket() = default;
  ~ZRListenSocket() { Close(); }
  ZRListenSocket(const ZRListenSocket&) = delete;
  ZRListenSocket& operator=(const ZRListenSocket&) = delete;

  // False with a reason. Only 127.0.0.1 is served. Port 0 takes any free one.
  [[nodiscard]] bool Open(const std::string& address, std::uint16_t wantedPort,
                          std::string& reason);
  // Turns away everybody from now on; the descriptor stays.
  void Refuse();
  void Close();

  [[nodiscard]] int Descriptor() const { return descriptor; }
  [[nodiscard]] std::uint16_t Port() const { return port; }

  // Why it can't listen, in words, from an errno.
  [[nodiscard]] static std::string ReasonOf(int error, const std::string& address,
                                            std::uint16_t port);

 private:
  [[nodiscard]] bool Listen(std::uint16_t wantedPort);

  int descriptor = -1;
  std::uint16_t port = 0;
};

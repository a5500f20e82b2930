// Ports for servers of tests.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <random>

// A port of the loopback that is free, and that the system gives to no client: a server that is
// killed finds it free again, and one that starts later finds it free still.
inline std::uint16_t FreePort() {
  static std::mt19937 numbers{std::random_device{}()};
  for (;;) {
    const auto port = std::uniform_int_distribution<std::uint16_t>(20'000, 32'000)(numbers);
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isFree = ::bind(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
    (void)::close(socket);
    if (isFree) return port;
  }
}

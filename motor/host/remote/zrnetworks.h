// Which addresses this program may connect to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Threads   a plain value.
class ZRNetworks {
 public:
  // Loopback and the private ranges: 127.0.0.0/8, 10.0.0.0/8, 172.16.0.0/12, 192.168.0.0/16,
  // 169.254.0.0/16, ::1/128, fc00::/7, fe80::/10 (RFC 1122, 1918, 3927, 4193, 4291).
  [[nodiscard]] static ZRNetworks Private();

  // Adds "10.0.0.0/8", "fd00::/8", or a single address. False if the text is none of them, or has
  // bits behind its length.
  [[nodiscard]] bool Add(std::string_view text);

  // `address` is 4 bytes of IPv4 or 16 of IPv6, as on the wire. An IPv4 address inside IPv6
  // (::ffff:a.b.c.d) counts as the IPv4 address.
  [[nodiscard]] bool Holds(const std::uint8_t* address, std::size_t size) const;

 private:
  static constexpr std::size_t kLongest = 16;

  struct tagNetwork {
    std::array<std::uint8_t, kLongest> address{};
    std::size_t size = 0;  // 4 or 16
    unsigned int bits = 0;
  };

  std::vector<tagNetwork> networks;
};

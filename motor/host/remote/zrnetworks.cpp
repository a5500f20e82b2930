#include "host/remote/zrnetworks.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::size_t kSize4 = 4;
constexpr std::size_t kSize6 = 16;
constexpr unsigned int kByteBits = 8;
constexpr std::size_t kMappedPrefix = kSize6 - kSize4;
constexpr std::array<std::uint8_t, kMappedPrefix> kMapped = {0, 0, 0, 0, 0,    0,
                                                             0, 0, 0, 0, 0xff, 0xff};

// The bits of `byte` that stand before `bits`, counted from the highest.
std::uint8_t Front(std::uint8_t byte, unsigned int bits) {
  const unsigned int shift = kByteBits - std::min(bits, kByteBits);
  return static_cast<std::uint8_t>((byte >> shift) << shift);
}

bool ParseBits(std::string_view text, unsigned int most, unsigned int& bits) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), bits);
  return error == std::errc() && end == text.data() + text.size() && bits <= most;
}

}  // namespace

ZRNetworks ZRNetworks::Private() {
  ZRNetworks networks;
  for (const std::string_view text :
       {"127.0.0.0/8", "10.0.0.0/8", "172.16.0.0/12", "192.168.0.0/16", "169.254.0.0/16", "::1/128",
        "fc00::/7", "fe80::/10"})
    (void)networks.Add(text);
  return networks;
}

bool ZRNetworks::Add(std::string_view text) {
  const std::size_t slash = text.find('/');
  const std::string address(text.substr(0, slash));
  tagNetwork network;
  if (inet_pton(AF_INET, address.c_str(), network.address.data()) == 1) {
    network.size = kSize4;
  } else if (inet_pton(AF_INET6, address.c_str(), network.address.data()) == 1) {
    network.size = kSize6;
  } else {
    return false;
  }
  const unsigned int most = static_cast<unsigned int>(network.size) * kByteBits;
  network.bits = most;
  if (slash != std::string_view::npos && !ParseBits(text.substr(slash + 1), most, network.bits))
    return false;
  for (std::size_t index = 0; index < network.size; ++index) {
    const auto before = static_cast<unsigned int>(index) * kByteBits;
    const unsigned int bits = network.bits > before ? network.bits - before : 0;
    if (network.address[index] != Front(network.address[index], bits)) return false;
  }
  networks.push_back(network);
  return true;
}

bool ZRNetworks::Holds(const std::uint8_t* address, std::size_t size) const {
  if (size == kSize6 && std::equal(kMapped.begin(), kMapped.end(), address)) {
    address += kMappedPrefix;
    size = kSize4;
  }
  const auto holds = [&](const tagNetwork& network) {
    if (network.size != size) return false;
    for (std::size_t index = 0; index < size; ++index) {
      const auto before = static_cast<unsigned int>(index) * kByteBits;
      const unsigned int bits = network.bits > before ? network.bits - before : 0;
      if (network.address[index] != Front(address[index], bits)) return false;
    }
    return true;
  };
  return std::any_of(networks.begin(), networks.end(), holds);
}

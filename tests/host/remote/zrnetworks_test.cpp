#include "host/remote/zrnetworks.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace {

bool Holds(const ZRNetworks& networks, const std::string& address) {
  std::array<std::uint8_t, 16> bytes{};
  if (inet_pton(AF_INET, address.c_str(), bytes.data()) == 1)
    return networks.Holds(bytes.data(), 4);
  EXPECT_EQ(inet_pton(AF_INET6, address.c_str(), bytes.data()), 1) << address;
  return networks.Holds(bytes.data(), 16);
}

TEST(Networks, WithoutOneHoldNothing) {
  EXPECT_FALSE(Holds(ZRNetworks(), "127.0.0.1"));
}

TEST(Networks, PrivateOnesAreThoseOfTheStandards) {
  const ZRNetworks networks = ZRNetworks::Private();
  for (const char* address :
       {"127.0.0.1", "127.255.255.255", "10.0.0.0", "10.255.255.255", "172.16.0.1",
        "172.31.255.255", "192.168.0.1", "192.168.255.255", "169.254.1.1", "::1", "fc00::1",
        "fdff::1", "fe80::1", "febf::1", "::ffff:10.1.2.3"})
    EXPECT_TRUE(Holds(networks, address)) << address;
  for (const char* address :
       {"126.255.255.255", "128.0.0.0", "9.255.255.255", "11.0.0.0", "172.15.255.255", "172.32.0.0",
        "192.167.255.255", "192.169.0.0", "169.253.1.1", "0.0.0.0", "8.8.8.8", "::", "::2",
        "2001:db8::1", "fbff::1", "fe00::1", "fec0::1", "::ffff:8.8.8.8", "::10.1.2.3"})
    EXPECT_FALSE(Holds(networks, address)) << address;
}

TEST(Networks, OfAnyLengthHoldWhatBeginsLikeThem) {
  ZRNetworks networks;
  EXPECT_TRUE(networks.Add("203.0.113.128/25"));
  EXPECT_TRUE(networks.Add("198.51.100.7"));
  EXPECT_TRUE(networks.Add("2001:db8:0:8000::/49"));
  EXPECT_TRUE(Holds(networks, "203.0.113.128"));
  EXPECT_TRUE(Holds(networks, "203.0.113.255"));
  EXPECT_FALSE(Holds(networks, "203.0.113.127"));
  EXPECT_TRUE(Holds(networks, "198.51.100.7"));
  EXPECT_FALSE(Holds(networks, "198.51.100.6"));
  EXPECT_TRUE(Holds(networks, "2001:db8:0:ffff::1"));
  EXPECT_FALSE(Holds(networks, "2001:db8:0:7fff::1"));
  EXPECT_FALSE(Holds(networks, "2001:db8:1:8000::1"));
}

TEST(Networks, OfLengthZeroHoldAllOfTheirKind) {
  ZRNetworks networks;
  EXPECT_TRUE(networks.Add("0.0.0.0/0"));
  EXPECT_TRUE(Holds(networks, "8.8.8.8"));
  EXPECT_FALSE(Holds(networks, "2001:db8::1"));
}

TEST(Networks, TextThatIsNoneIsRefused) {
  ZRNetworks networks;
  for (const char* text :
       {"", "10", "10.0.0", "10.0.0.0/", "10.0.0.0/33", "10.0.0.0/-1", "10.0.0.0/8 ",
        "10.0.0.0/8/8", "10.0.0.1/8", "example.org", "::/129", "fd00::1/8", " 10.0.0.0/8"})
    EXPECT_FALSE(networks.Add(text)) << text;
  EXPECT_FALSE(Holds(networks, "10.0.0.1"));
}

}  // namespace

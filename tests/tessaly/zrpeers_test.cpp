#include "tessaly/zrpeers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/findinglines.h"
#include "support/sitefolder.h"

namespace {

constexpr const char* kAna =
    "[[account]]\nhost = \"plant\"\nport = 81\nuser = \"ana\"\npassword = \"c4n4ry\"\n";

class Peers : public ::testing::Test {
 protected:
  // The settings, and peers.toml with its mode.
  void Write(const std::string& chain, const std::string& peers, mode_t mode = 0600) {
    site.Write("tessaly.toml", "[chain]\n" + chain);
    site.Write("config/peers.toml", peers);
    ASSERT_EQ(::chmod((site.path / "config/peers.toml").c_str(), mode), 0);
    Load();
  }
  void Load() {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    ASSERT_TRUE(setup.Load(site.WidePath(), problems, warnings));
    EXPECT_TRUE(warnings.empty());
    findings.clear();
    accounts.clear();
    ReadPeers(setup, networks, accounts, findings);
  }
  bool Allows(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) const {
    const std::uint8_t address[] = {a, b, c, d};
    return networks.Holds(address, sizeof address);
  }
  // What is said, without values of the file.
  std::string Said() {
    std::string text;
    for (const ZRFinding& finding : findings)
      text += FindingLine(finding) + "\n";
    EXPECT_EQ(text.find("c4n4ry"), std::string::npos) << text;
    return text;
  }

  SiteFolder site;
  ZRTessalySetup setup;
  ZRNetworks networks;
  std::vector<ZRNetworkWire::tagAccount> accounts;
  ZRFindings findings;
};

TEST_F(Peers, WithoutAnythingAreThePrivateNetworksAndNoAccount) {
  site.Write("tessaly.toml", "");
  Load();
  EXPECT_EQ(Said(), "");
  EXPECT_TRUE(accounts.empty());
  EXPECT_TRUE(Allows(127, 0, 0, 1));
  EXPECT_FALSE(Allows(8, 8, 8, 8));
}

TEST_F(Peers, AreTheNetworksOfTheSettingsAlone) {
  Write("networks = [\"203.0.113.0/24\", \"198.51.100.7\"]\n", "");
  EXPECT_EQ(Said(), "");
  EXPECT_TRUE(Allows(203, 0, 113, 9));
  EXPECT_TRUE(Allows(198, 51, 100, 7));
  EXPECT_FALSE(Allows(127, 0, 0, 1));
}

TEST_F(Peers, HaveAccountsByHostAndPort) {
  Write("", std::string(kAna) + "[[account]]\nhost = \"::1\"\nuser = \"b\"\npassword = \"p\"\n");
  EXPECT_EQ(Said(), "");
  ASSERT_EQ(accounts.size(), 2u);
  EXPECT_EQ(accounts[0].host, "plant");
  EXPECT_EQ(accounts[0].port, 81);
  EXPECT_EQ(accounts[0].user, "ana");
  EXPECT_EQ(accounts[0].password, "c4n4ry");
  EXPECT_EQ(accounts[1].port, 8480);
}

TEST_F(Peers, ThatOthersMayReadAreRefused) {
  Write("", kAna, 0644);
  EXPECT_TRUE(HasKind(findings, ZRFinding::tagKind::kBroken));
  EXPECT_NE(Said().find("config/peers.toml: "), std::string::npos);
  EXPECT_NE(Said().find("0600"), std::string::npos);
  EXPECT_TRUE(accounts.empty());
}

TEST_F(Peers, ThatAreBrokenFillNothing) {
  for (const char* text :
       {"[[account]\n", "[[account]]\nhost = \"plant\"\nuser = \"ana\"\n",
        "[[account]]\nhost = \"pl ant\"\nuser = \"ana\"\npassword = \"c4n4ry\"\n",
        "[[account]]\nhost = \"plant\"\nport = 0\nuser = \"ana\"\npassword = \"c4n4ry\"\n",
        "[account]\nhost = \"plant\"\nuser = \"ana\"\npassword = \"c4n4ry\"\n"}) {
    Write("", std::string(kAna) + text);
    EXPECT_TRUE(HasKind(findings, ZRFinding::tagKind::kBroken)) << text;
    EXPECT_NE(Said().find("config/peers.toml"), std::string::npos) << text;
    EXPECT_TRUE(accounts.empty()) << text;
  }
  Write("", "account = [1]\n");
  EXPECT_TRUE(HasKind(findings, ZRFinding::tagKind::kBroken));
  Write("networks = [\"10.0.0.1/8\"]\n", kAna);
  EXPECT_NE(Said().find("chain.networks"), std::string::npos);
  EXPECT_TRUE(accounts.empty());
}

TEST_F(Peers, WithAKeyThatNobodyKnowsAreTaken) {
  Write("", std::string(kAna) + "pasword = \"x\"\n");
  EXPECT_FALSE(HasKind(findings, ZRFinding::tagKind::kBroken));
  EXPECT_NE(Said().find("pasword"), std::string::npos) << Said();
  EXPECT_EQ(accounts.size(), 1u);
}

}  // namespace

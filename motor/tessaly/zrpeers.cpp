#include "tessaly/zrpeers.h"

#include <string>
#include <utility>

#include "tessaly/zrsecretsettings.h"

namespace {

using Kind = ZRFinding::tagKind;
using tagAccounts = std::vector<ZRNetworkWire::tagAccount>;

constexpr int kMostPort = 65535;

void AddBroken(ZRFindings& findings, const std::string& file, const std::string& text) {
  findings.push_back({Kind::kBroken, file, 0, 0, text});
}

void ReadNetworks(const ZRTessalySetup& setup, ZRNetworks& networks, ZRFindings& findings) {
  if (setup.ChainNetworks().empty()) {
    networks = ZRNetworks::Private();
    return;
  }
  for (const ZRString& text : setup.ChainNetworks()) {
    if (networks.Add(text.View())) continue;
    AddBroken(findings, ZRTessalySetup::kFileName,
              "chain.networks must be networks such as \"10.0.0.0/8\" or addresses");
  }
}

void ReadAccount(ZRSettingsTable& table, tagAccounts& accounts) {
  ZRNetworkWire::tagAccount account;
  account.host = RequiredText(table, "host");
  account.port = ZRTessalySetup::kDefaultHttpPort;
  table.Integer("port", account.port, 1, kMostPort);
  account.user = RequiredText(table, "user");
  account.password = RequiredText(table, "password");
  if (!account.host.empty() && !IsPeer(account.host, account.port))
    table.Problem("host", "must be a host's name or address");
  accounts.push_back(std::move(account));
}

}  // namespace

void ReadPeers(const ZRTessalySetup& setup, ZRNetworks& networks,
               std::vector<ZRNetworkWire::tagAccount>& accounts, ZRFindings& findings) {
  ZRNetworks allowed;
  tagAccounts known;
  ZRFindings said;
  ReadNetworks(setup, allowed, said);
  ReadSecretSettings(
      setup, kPeersFile, said, [&known](const ZRSettingNode& root, ZRSettingReport& report) {
        ReadAccounts(root, report, [&known](ZRSettingsTable& table) { ReadAccount(table, known); });
      });
  if (!HasKind(said, Kind::kBroken)) {
    networks = std::move(allowed);
    accounts = std::move(known);
  }
  findings.insert(findings.end(), said.begin(), said.end());
}

void CheckPeers(const ZRTessalySetup& setup, ZRFindings& findings) {
  ZRNetworks networks;
  tagAccounts accounts;
  ReadPeers(setup, networks, accounts, findings);
}

void TakePeers(const ZRTessalySetup& setup) {
  ZRNetworks networks;
  tagAccounts accounts;
  ZRFindings said;
  ReadPeers(setup, networks, accounts, said);
  if (HasKind(said, Kind::kBroken)) return;
  ZRNetworkWire::Get().Allow(networks);
  ZRNetworkWire::Get().SetAccounts(std::move(accounts));
}

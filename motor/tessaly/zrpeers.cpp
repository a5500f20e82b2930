#include "tessaly/zrpeers.h"

#include <string>
#include <utility>

#include "host/platform/zrsecretfile.h"
#include "host/support/zrsettingnode.h"
#include "host/support/zrsettingstable.h"
#include "host/support/zrsettingstext.h"
#include "host/tools/zrtext.h"
#include "tessaly/zrsitecheck.h"

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

// Texts that must be there.
std::string Required(ZRSettingsTable& table, std::string_view key) {
  ZRString text;
  table.Text(key, text);
  if (text.IsEmpty()) table.Problem(key, "must be given");
  return std::string(text.View());
}

void ReadAccount(const ZRSettingNode& node, ZRSettingReport& report, tagAccounts& accounts) {
  ZRSettingsTable table(&node, "account.", report);
  ZRNetworkWire::tagAccount account;
  account.host = Required(table, "host");
  account.port = ZRTessalySetup::kDefaultHttpPort;
  table.Integer("port", account.port, 1, kMostPort);
  account.user = Required(table, "user");
  account.password = Required(table, "password");
  if (!account.host.empty() && !IsPeer(account.host, account.port))
    table.Problem("host", "must be a host's name or address");
  table.WarnOfUnknownKeys();
  accounts.push_back(std::move(account));
}

void ReadAccounts(const ZRSettingNode& root, ZRSettingReport& report, tagAccounts& accounts) {
  ZRSettingsTable file(&root, "", report);
  const ZRSettingNode* const list = file.Any("account");
  file.WarnOfUnknownKeys();
  if (list == nullptr) return;
  for (const ZRSettingNode& node : list->children) {
    if (list->kind != ZRSettingNode::tagKind::kArray ||
        node.kind != ZRSettingNode::tagKind::kTable) {
      report.Problem("account must be written as [[account]]", *list);
      return;
    }
    ReadAccount(node, report, accounts);
  }
}

void ReadAccounts(const ZRTessalySetup& setup, tagAccounts& accounts, ZRFindings& findings) {
  const std::string shown = ShownFile(setup, kPeersFile);
  const ZRSecretFile file(std::string(Utf16ToUtf8(setup.CfgPath().View()).View()), kPeersFile);
  std::string content;
  std::string reason;
  switch (file.Read(kMaximumSettingsSize, content, reason)) {
    case ZRSecretFile::tagAnswer::kMissing:
      return;
    case ZRSecretFile::tagAnswer::kRefused:
      return AddBroken(findings, shown, reason);
    case ZRSecretFile::tagAnswer::kDone:
      break;
  }
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  ZRSettingReport report{problems, warnings};
  ZRSettingNode root;
  ZRSettingProblem problem;
  if (ParseSettings(content, root, problem)) {
    ReadAccounts(root, report, accounts);
  } else {
    problems.push_back(problem);
  }
  const std::size_t first = findings.size();
  AddProblems(problems, Kind::kBroken, findings);
  AddProblems(warnings, Kind::kHint, findings);
  for (std::size_t index = first; index < findings.size(); ++index)
    findings[index].file = shown;
}

}  // namespace

void ReadPeers(const ZRTessalySetup& setup, ZRNetworks& networks,
               std::vector<ZRNetworkWire::tagAccount>& accounts, ZRFindings& findings) {
  ZRNetworks allowed;
  tagAccounts known;
  ZRFindings said;
  ReadNetworks(setup, allowed, said);
  ReadAccounts(setup, known, said);
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

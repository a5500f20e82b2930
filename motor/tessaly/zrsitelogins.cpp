#include "tessaly/zrsitelogins.h"

#include <atomic>

#include "host/base/zrlogger.h"
#include "host/remote/zrhttprequest.h"
#include "host/remote/zrsocketaddress.h"
#include "tessaly/zrsitecheck.h"

namespace {

using Kind = ZRFinding::tagKind;

constexpr const char* kLoopback = "127.0.0.1";

// The access rule: `context` is the security manager. The web server has proved the user's name.
bool MayUse(void* context, int resourceType, const wchar_t* resourceId, ZRHttpRequest& request,
            const char* /*bodyDigest*/) {
  const auto& security = *static_cast<const ZRLoginSecurity*>(context);
  return security.MayUse(request.Authorization().User().View(), resourceType, resourceId);
}

bool IsLoopback(const std::string& address) {
  ZRSocketAddress parsed;
  return parsed.Parse(address, 0) && parsed.IsLoopback();
}

}  // namespace

bool LoadLogins(const ZRTessalySetup& setup, ZRLogins& logins, ZRFindings& findings) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  const std::size_t first = findings.size();
  const bool isLoaded = ZRLoginsFile(setup.CfgPath()).Load(logins, problems, warnings);
  AddProblems(problems, Kind::kBroken, findings);
  AddProblems(warnings, Kind::kHint, findings);
  for (std::size_t index = first; index < findings.size(); ++index)
    findings[index].file = ShownFile(setup, ZRLoginsFile::kFileName);
  return isLoaded;
}

std::string AddressToListenOn(const ZRTessalySetup& setup, bool hasUsers) {
  const std::string wanted(setup.HttpAddress().View());
  return hasUsers || IsLoopback(wanted) ? wanted : kLoopback;
}

// The digests of what is in force.
class ZRSiteLogins::CPasswords final : public ZRPasswords {
 public:
  explicit CPasswords(const ZRLoginSecurity& toAsk) : security(toAsk) {}

  void KeepMd5(bool isKept) { keepsMd5 = isKept; }

  [[nodiscard]] bool HasUsers() const override { return security.Enabled(); }
  [[nodiscard]] std::string Realm() const override { return security.Logins().realm; }
  [[nodiscard]] bool DigestOf(std::string_view user, ZRPasswordDigest kind,
                              std::string& digest) const override {
    if (kind == ZRPasswordDigest::kMd5 && !keepsMd5) return false;
    const ZRLogins& logins = security.Logins();
    const auto found = logins.users.find(std::string(user));
    if (found == logins.users.end()) return false;
    const ZRLogin& login = found->second;
    digest = kind == ZRPasswordDigest::kMd5 ? login.md5 : login.sha256;
    return !digest.empty();
  }

 private:
  const ZRLoginSecurity& security;
  std::atomic<bool> keepsMd5{false};
};

ZRSiteLogins::ZRSiteLogins() : passwords(std::make_unique<CPasswords>(security)) {
  ZRSecurityManager::Replace(&security);
  SetAccessRule(&MayUse, &security);
}

ZRSiteLogins::~ZRSiteLogins() {
  SetAccessRule(nullptr, nullptr);
  ZRSecurityManager::Replace(nullptr);
}

bool ZRSiteLogins::Load(const ZRTessalySetup& setup, ZRFindings& findings) {
  file = std::make_unique<ZRLoginsFile>(setup.CfgPath());
  passwords->KeepMd5(setup.HttpMd5());
  return Take(setup, findings);
}

bool ZRSiteLogins::Take(const ZRTessalySetup& setup, ZRFindings& findings) {
  stamp = file->Stamp();  // what comes behind it is looked at once more
  ZRLogins logins;
  ZRFindings said;
  if (!LoadLogins(setup, logins, said)) {
    findings.insert(findings.end(), said.begin(), said.end());
    return false;
  }
  security.Take(logins);
  return true;
}

void ZRSiteLogins::Look() {
  if (file == nullptr || file->Stamp() == stamp) return;
  ZRFindings findings;
  if (Take(ZRTessalySetup::Get(), findings)) return SayWhoMayLogIn();
  LogFindings(findings);
  logger(kLogConfiguration, L"the users in force stay");
}

void ZRSiteLogins::SayWhoMayLogIn() const {
  const int count = static_cast<int>(security.Logins().users.size());
  if (count > 0) return logger(kLogNotice, L"%d users may log in", count);
  if (HasUsers()) {
    logger(kLogConfiguration, L"no user is left: nobody can log in until the next start");
  } else {
    logger(kLogNotice,
           L"no user is defined: nobody needs to log in, and only this machine is "
           L"served");
  }
}

const ZRPasswords& ZRSiteLogins::Passwords() const {
  return *passwords;
}

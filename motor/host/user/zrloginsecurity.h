// Who may do what at a site whose users log in.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/user/zrlogins.h"
#include "host/user/zrsecuritymanager.h"

// The security manager of a site. It is off until the first user is taken over, and then on for as
// long as it lives: when no user is left, nobody may do anything.
//
// Threads   Take on the host's thread; everything else on any, without a lock. Who asks twice may
//           be answered by what was in force before a Take, and after it.
// Owns      its users, until it is destroyed: each Take that changes something keeps those before.
class ZRLoginSecurity final : public ZRSecurityManager {
 public:
  ZRLoginSecurity();
  ~ZRLoginSecurity() override;

  // Puts these users, roles and rights into force. Does nothing if they are already.
  void Take(const ZRLogins& logins);

  [[nodiscard]] bool Enabled() const override;
  [[nodiscard]] const ZRUser* User(const ZRWString& name, int reserved) const override;
  // By what was in force when `user`, one of these, was asked for.
  [[nodiscard]] bool CanAccessResource(const ZRResource& resource,
                                       const ZRUser& user) const override;

  // The same for a name in UTF-8. False for an unknown user; true while this is off.
  [[nodiscard]] bool MayUse(std::string_view user, int type, std::wstring_view id) const;

  // The logins in force, until this is destroyed.
  [[nodiscard]] const ZRLogins& Logins() const;

 private:
  class CSnapshot;

  std::vector<std::unique_ptr<const CSnapshot>> snapshots;  // host's thread only; the newest last
  std::atomic<const CSnapshot*> current;
};

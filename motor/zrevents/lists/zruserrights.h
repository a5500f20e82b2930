#pragma once

#include "host/user/zrsecuritymanager.h"
#include "zrevents/zreventdriver.h"

// What one user may do, asked of the security manager in force when the object was made. While
// that is off, everybody may do everything.
//
// Threads   one. Lives as long as one call.
class ZRUserRights {
 public:
  explicit ZRUserRights(const ZRWString& userName);

  // False if the security manager is on and there is no such user.
  [[nodiscard]] bool KnowsUser() const { return !enabled || user != nullptr; }
  // Always false for an unknown user.
  [[nodiscard]] bool Has(int right, const ZRWString& resourceId) const;
  // The first group of the event that he has `right` on, or null.
  [[nodiscard]] const ZREventDriverGroup* FirstGroup(const ZREventDriver& event, int right) const;

 private:
  const ZRSecurityManager& manager;
  const bool enabled;
  const ZRUser* const user;
};

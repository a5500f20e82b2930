#include "zrevents/lists/zruserrights.h"

#include "zrevents/zreventdrivergroup.h"

ZRUserRights::ZRUserRights(const ZRWString& userName)
    : manager(ZRSecurityManager::Get()),
      enabled(manager.Enabled()),
      user(enabled ? manager.User(userName, 0) : nullptr) {}

bool ZRUserRights::Has(int right, const ZRWString& resourceId) const {
  if (!enabled) return true;
  return user != nullptr && manager.CanAccessResource({right, resourceId}, *user);
}

const ZREventDriverGroup* ZRUserRights::FirstGroup(const ZREventDriver& event, int right) const {
  for (auto group = event.GroupsVectorBegin(); group != event.GroupsVectorEnd(); ++group)
    if (Has(right, (*group)->IdStr())) return *group;
  return nullptr;
}

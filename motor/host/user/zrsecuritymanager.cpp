#include "host/user/zrsecuritymanager.h"

#include <atomic>

#include "host/platform/zrmutex.h"

namespace {

// The rule in force with the context it is called with.
struct tagRule {
  ZRAccessRule rule = nullptr;
  void* context = nullptr;
};

// A leaf: nothing is called while it is held.
ZRMutex ruleMutex;
tagRule ruleInForce ZR_GUARDED_BY(ruleMutex);

std::atomic<ZRSecurityManager*> managerInForce{nullptr};  // null: the default one

tagRule RuleInForce() {
  const ZRMutexLock lock(ruleMutex);
  return ruleInForce;
}

}  // namespace

bool CanAccessResourcesFromEngine(int resourceType, const wchar_t* resourceId,
                                  ZRHttpRequest& request, const char* bodyDigest) {
  const tagRule current = RuleInForce();
  if (current.rule == nullptr) return true;
  return current.rule(current.context, resourceType, resourceId, request, bodyDigest);
}

void SetAccessRule(ZRAccessRule rule, void* context) {
  const ZRMutexLock lock(ruleMutex);
  ruleInForce = {rule, context};
}

ZRSecurityManager& ZRSecurityManager::Get() {
  static ZRSecurityManager off;
  ZRSecurityManager* const manager = managerInForce.load(std::memory_order_acquire);
  return manager != nullptr ? *manager : off;
}

void ZRSecurityManager::Replace(ZRSecurityManager* manager) {
  managerInForce.store(manager, std::memory_order_release);
}

const ZRUser* ZRSecurityManager::User(const ZRWString& /*name*/, int /*reserved*/) const {
  return nullptr;
}

bool ZRSecurityManager::CanAccessResource(const ZRResource& /*resource*/,
                                          const ZRUser& /*user*/) const {
  return false;
}

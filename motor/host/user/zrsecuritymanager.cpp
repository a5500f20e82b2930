#include "host/user/zrsecuritymanager.h"

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

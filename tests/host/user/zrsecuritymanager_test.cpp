#include "host/user/zrsecuritymanager.h"

#include <gtest/gtest.h>

#include <string>

// Requests are only handed through here.
class ZRHttpRequest {};

namespace {

struct tagCall {
  int calls = 0;
  int resourceType = 0;
  std::wstring resourceId;
  ZRHttpRequest* request = nullptr;
  std::string bodyDigest;
  bool answer = false;
};

bool Record(void* context, int resourceType, const wchar_t* resourceId, ZRHttpRequest& request,
            const char* bodyDigest) {
  tagCall& call = *static_cast<tagCall*>(context);
  ++call.calls;
  call.resourceType = resourceType;
  call.resourceId = resourceId;
  call.request = &request;
  call.bodyDigest = bodyDigest;
  return call.answer;
}

class AccessRule : public testing::Test {
 protected:
  ~AccessRule() override { SetAccessRule(nullptr, nullptr); }
  bool Ask() {
    return CanAccessResourcesFromEngine(kResourceAcknowledgeEvents, L"group", request, "digest");
  }
  ZRHttpRequest request;
  tagCall call;
};

TEST_F(AccessRule, EveryoneMayDoEverythingByDefault) {
  EXPECT_TRUE(Ask());
}

TEST_F(AccessRule, IsAskedWithEverythingThatTheCallerGives) {
  SetAccessRule(&Record, &call);
  EXPECT_FALSE(Ask());
  EXPECT_EQ(1, call.calls);
  EXPECT_EQ(6, call.resourceType);
  EXPECT_EQ(L"group", call.resourceId);
  EXPECT_EQ(&request, call.request);
  EXPECT_EQ("digest", call.bodyDigest);
  call.answer = true;
  EXPECT_TRUE(Ask());
}

TEST_F(AccessRule, NullBringsTheDefaultBack) {
  SetAccessRule(&Record, &call);
  SetAccessRule(nullptr, nullptr);
  EXPECT_TRUE(Ask());
  EXPECT_EQ(0, call.calls);
}

TEST(AccessResources, HaveTheNumbersThatRightsAreStoredBy) {
  EXPECT_EQ(6, kResourceAcknowledgeEvents);
  EXPECT_EQ(7, kResourceActiveEvents);
  EXPECT_EQ(8, kResourceNotifiedEvents);
  EXPECT_EQ(11, kResourceClientActions);
  EXPECT_EQ(16, kResourceRemoteAcknowledge);
  EXPECT_EQ(17, kResourceRemoteActive);
  EXPECT_EQ(18, kResourceRemoteNotified);
}

// --- the security manager ---

TEST(SecurityManager, IsOffByDefaultAndKnowsNobody) {
  EXPECT_FALSE(ZRSecurityManagerEnabled());
  EXPECT_EQ(nullptr, ZRSecurityManager::Get().User(L"", 0));
  const ZRUser user(L"Ann");
  EXPECT_EQ(L"Ann", user.Name());
  EXPECT_FALSE(ZRSecurityManager::Get().CanAccessResource({7, L"group"}, user));
}

TEST(SecurityManager, IsTheOneInForceUntilNullBringsTheDefaultBack) {
  class COn final : public ZRSecurityManager {
   public:
    [[nodiscard]] bool Enabled() const override { return true; }
  } on;
  ZRSecurityManager::Replace(&on);
  EXPECT_EQ(&on, &ZRSecurityManager::Get());
  EXPECT_TRUE(ZRSecurityManagerEnabled());
  ZRSecurityManager::Replace(nullptr);
  EXPECT_FALSE(ZRSecurityManagerEnabled());
}

TEST(SecurityManager, ResourceIsAKindAndAnId) {
  const ZRSecurityManager::ZRResource resource(kResourceRemoteActive, L"driver");
  EXPECT_EQ(17, resource.Type());
  EXPECT_EQ(L"driver", resource.Id());
}

}  // namespace

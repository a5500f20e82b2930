// Users, and drivers of remote engines, for as long as the objects live.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/remote/zrhttprequest.h"
#include "host/user/zrsecuritymanager.h"
#include "support/text.h"

// A security manager that is on and knows one user, Ann unless told otherwise, who has the rights
// given and nothing else.
class FakeSecurity final : public ZRSecurityManager {
 public:
  explicit FakeSecurity(std::set<std::pair<int, std::string>> allowed,
                        const std::string& name = "Ann")
      : user(Wide(name)), rights(std::move(allowed)) {
    Replace(this);
  }
  ~FakeSecurity() override { Replace(nullptr); }
  FakeSecurity(const FakeSecurity&) = delete;
  FakeSecurity& operator=(const FakeSecurity&) = delete;

  [[nodiscard]] bool Enabled() const override {
    if (onEnabled) onEnabled();
    return true;
  }
  // Nobody if the reserved argument isn't 0.
  [[nodiscard]] const ZRUser* User(const ZRWString& name, int reserved) const override {
    return reserved == 0 && name == user.Name() ? &user : nullptr;
  }
  [[nodiscard]] bool CanAccessResource(const ZRResource& resource,
                                       const ZRUser& asked) const override {
    return &asked == &user && rights.contains({resource.Type(), Narrow(resource.Id())});
  }

  std::function<void()> onEnabled;  // called whenever somebody asks whether it is on

 private:
  const ZRUser user;
  const std::set<std::pair<int, std::string>> rights;
};

// A driver of a remote engine.
class RemoteDriver final : public ZRDriver {
 public:
  explicit RemoteDriver(const std::string& id, const std::string& name)
      : ZRDriver(Wide(id), Wide(name)) {}
  [[nodiscard]] bool IsOnline() const override { return online; }
  bool AcknowledgeRemoteEvent(ZRHttpRequest& request, const ZRWString& remoteEventId) override {
    acknowledged.push_back(Narrow(remoteEventId));
    asker = &request;
    if (onAcknowledge) onAcknowledge();
    return accepts;
  }
  [[nodiscard]] bool LacksRemoteEvents() const override { return lacks; }
  void TookRemoteEvents() override { lacks = false; }

  bool online = true;
  bool lacks = false;
  bool accepts = true;
  std::vector<std::string> acknowledged;  // in order
  ZRHttpRequest* asker = nullptr;         // of the last one
  std::function<void()> onAcknowledge;    // called while one is handed on
};

// Rights of the callers, for as long as the object lives.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host/user/zrsecuritymanager.h"
#include "support/text.h"

class AccessRule {
 public:
  struct tagQuestion {
    int right;
    std::string resource;
    ZRHttpRequest* request;
    std::string digest;
  };

  // Everybody has the rights given, and nothing else.
  explicit AccessRule(std::set<std::pair<int, std::string>> allowed) : rights(std::move(allowed)) {
    SetAccessRule(&AccessRule::Ask, this);
  }
  ~AccessRule() { SetAccessRule(nullptr, nullptr); }
  AccessRule(const AccessRule&) = delete;
  AccessRule& operator=(const AccessRule&) = delete;

  std::vector<tagQuestion> asked;  // in order
  std::function<void()> onAsk;     // called while somebody waits for the answer

 private:
  static bool Ask(void* context, int right, const wchar_t* resource, ZRHttpRequest& request,
                  const char* digest) {
    auto& self = *static_cast<AccessRule*>(context);
    const std::string id = Narrow(resource);
    self.asked.push_back({right, id, &request, digest});
    if (self.onAsk) self.onAsk();
    return self.rights.contains({right, id});
  }

  const std::set<std::pair<int, std::string>> rights;
};

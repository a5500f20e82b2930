// Who may do what.
#pragma once

#include "host/tools/zrbasicstring.h"

class ZRHttpRequest;

// Kinds of resource of the events engine.
inline constexpr int kResourceAcknowledgeEvents = 6;
inline constexpr int kResourceActiveEvents = 7;
inline constexpr int kResourceNotifiedEvents = 8;
inline constexpr int kResourceClientActions = 11;
inline constexpr int kResourceRemoteAcknowledge = 16;
inline constexpr int kResourceRemoteActive = 17;
inline constexpr int kResourceRemoteNotified = 18;
// One of the host's own: documents that come through a driver of a remote engine.
inline constexpr int kResourceProducer = 100;
// And two more: the variables of a driver, seen and forced over HTTP.
inline constexpr int kResourceVariables = 101;
inline constexpr int kResourceForce = 102;

// True if the caller of `request` may use the resource: always, as long as no users are defined.
// `bodyDigest` is the digest of the request's body, empty for a request without one.
// Safe from any thread.
[[nodiscard]] bool CanAccessResourcesFromEngine(int resourceType, const wchar_t* resourceId,
                                                ZRHttpRequest& request, const char* bodyDigest);

// Replaces the rule in force; null brings the default back. The rule is called without a lock, by
// several threads at once, and possibly once more just after it has been replaced.
using ZRAccessRule = bool (*)(void* context, int resourceType, const wchar_t* resourceId,
                              ZRHttpRequest& request, const char* bodyDigest);
void SetAccessRule(ZRAccessRule rule, void* context);

// A user that the security manager knows.
class ZRUser {
 public:
  explicit ZRUser(const ZRWString& called) : name(called) {}
  virtual ~ZRUser() = default;
  ZRUser(const ZRUser&) = delete;
  ZRUser& operator=(const ZRUser&) = delete;

  [[nodiscard]] const ZRWString& Name() const { return name; }

 private:
  const ZRWString name;
};

// What users may do, for whoever has a user's name and no request: the one of the process. The
// default one is off and knows nobody.
//
// Threads   replaced on the host's thread while nobody asks; everything else on any. May be asked
//           with locks of the engine held: it must not call the engine.
class ZRSecurityManager {
 public:
  // One thing that rights are granted on.
  class ZRResource {
   public:
    ZRResource(int resourceType, const ZRWString& resourceId)
        : type(resourceType), id(resourceId) {}
    [[nodiscard]] int Type() const { return type; }
    [[nodiscard]] const ZRWString& Id() const { return id; }

   private:
    int type;
    ZRWString id;
  };

  ZRSecurityManager() = default;
  virtual ~ZRSecurityManager() = default;
  ZRSecurityManager(const ZRSecurityManager&) = delete;
  ZRSecurityManager& operator=(const ZRSecurityManager&) = delete;

  [[nodiscard]] static ZRSecurityManager& Get();
  // Puts another one in force, which must live until it is replaced; null brings the default back.
  static void Replace(ZRSecurityManager* manager);

  // False: everybody may do everything, and the other operations aren't asked.
  [[nodiscard]] virtual bool Enabled() const { return false; }
  // The user of that name, owned here while this manager is in force; null if there is none. The
  // second argument is reserved (0).
  [[nodiscard]] virtual const ZRUser* User(const ZRWString& name, int reserved) const;
  [[nodiscard]] virtual bool CanAccessResource(const ZRResource& resource,
                                               const ZRUser& user) const;
};

// True if the security manager in force is on.
[[nodiscard]] inline bool ZRSecurityManagerEnabled() {
  return ZRSecurityManager::Get().Enabled();
}

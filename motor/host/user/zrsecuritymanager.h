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

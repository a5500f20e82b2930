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
// The rule in force can be replaced by a test; null brings the default back.
[[nodiscard]] bool CanAccessResourcesFromEngine(int resourceType, const wchar_t* resourceId,
                                                ZRHttpRequest& request, const char* bodyDigest);
using ZRAccessRule = bool (*)(void* context, int resourceType, const wchar_t* resourceId,
                              ZRHttpRequest& request, const char* bodyDigest);
void SetAccessRule(ZRAccessRule rule, void* context);

// What is granted to users and roles.
#pragma once

#include <array>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "host/user/zrsecuritymanager.h"

// The kinds of resource that rights are granted on, each with its word in files and commands.
struct ZRResourceKind {
  int type;
  std::string_view word;
  bool isOfDrivers;  // its resources are ids of drivers; else ids of groups
};
inline constexpr std::array<ZRResourceKind, 10> kResourceKinds = {{
    {kResourceActiveEvents, "active", false},
    {kResourceNotifiedEvents, "notified", false},
    {kResourceAcknowledgeEvents, "acknowledge", false},
    {kResourceClientActions, "client-actions", false},
    {kResourceRemoteActive, "remote-active", true},
    {kResourceRemoteNotified, "remote-notified", true},
    {kResourceRemoteAcknowledge, "remote-acknowledge", true},
    {kResourceProducer, "producer", true},
    {kResourceVariables, "variables", true},
    {kResourceForce, "force", true},
}};

// Null for a word, or a type, that there isn't.
[[nodiscard]] const ZRResourceKind* ResourceKind(std::string_view word);
[[nodiscard]] const ZRResourceKind* ResourceKind(int type);

// Rights by the type of the resource: ids in UTF-8, or kAll for every one.
struct ZRGrants {
  static constexpr std::string_view kAll = "*";

  bool administrator = false;  // may do everything
  std::map<int, std::set<std::string>> rights;

  // False if nothing changes by it.
  bool Grant(int type, const std::string& id) { return rights[type].insert(id).second; }
  bool Revoke(int type, const std::string& id);

  bool operator==(const ZRGrants&) const = default;
};

#include "host/user/zrrights.h"

const ZRResourceKind* ResourceKind(std::string_view word) {
  for (const ZRResourceKind& kind : kResourceKinds)
    if (kind.word == word) return &kind;
  return nullptr;
}

const ZRResourceKind* ResourceKind(int type) {
  for (const ZRResourceKind& kind : kResourceKinds)
    if (kind.type == type) return &kind;
  return nullptr;
}

bool ZRGrants::Revoke(int type, const std::string& id) {
  const auto found = rights.find(type);
  if (found == rights.end() || found->second.erase(id) == 0) return false;
  if (found->second.empty()) rights.erase(found);
  return true;
}

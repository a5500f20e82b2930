#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "host/driversupport/zrlivevalue.h"

struct ZRLiveValues::tagEntry : ZRLiveValue {
  explicit tagEntry(std::wstring_view fullName) : name(fullName) {}

  const ZRWString name;
  std::size_t references = 0;  // those of publishers included
  std::size_t published = 0;
};

struct ZRLiveValues::tagNames {
  // By the name in the entry.
  std::unordered_map<std::wstring_view, std::unique_ptr<tagEntry>> entries;
};

ZRLiveValues& ZRLiveValues::Get() {
  // Never destroyed: evaluators and drivers of static objects may still give values back.
  static ZRLiveValues* const values = std::make_unique<ZRLiveValues>().release();
  return *values;
}

ZRLiveValues::ZRLiveValues() : names(std::make_unique<tagNames>()) {}
ZRLiveValues::~ZRLiveValues() = default;

ZRLiveValue* ZRLiveValues::Reference(std::wstring_view fullName) {
  const ZRMutexLock lock(mutex);
  return Enter(fullName);
}

void ZRLiveValues::Release(ZRLiveValue* value) {
  const ZRMutexLock lock(mutex);
  Leave(static_cast<tagEntry*>(value));
}

ZRLiveValue* ZRLiveValues::Publish(const ZRWString& fullName) {
  const ZRMutexLock lock(mutex);
  tagEntry* const entry = Enter(fullName.View());
  if (entry->published++ == 0) entry->SetUnavailable();
  return entry;
}

void ZRLiveValues::Withdraw(ZRLiveValue* value) {
  const ZRMutexLock lock(mutex);
  auto* const entry = static_cast<tagEntry*>(value);
  if (--entry->published == 0) entry->SetUnknown();
  Leave(entry);
}

ZRLiveValue* ZRLiveValues::Find(const ZRWString& fullName) {
  const ZRMutexLock lock(mutex);
  const auto found = names->entries.find(fullName.View());
  if (found == names->entries.end() || found->second->published == 0) return nullptr;
  ++found->second->references;
  return found->second.get();
}

std::size_t ZRLiveValues::Size() {
  const ZRMutexLock lock(mutex);
  return names->entries.size();
}

ZRLiveValues::tagEntry* ZRLiveValues::Enter(std::wstring_view fullName) {
  auto found = names->entries.find(fullName);
  if (found == names->entries.end()) {
    auto entry = std::make_unique<tagEntry>(fullName);
    const std::wstring_view key = entry->name.View();
    found = names->entries.emplace(key, std::move(entry)).first;
  }
  ++found->second->references;
  return found->second.get();
}

void ZRLiveValues::Leave(tagEntry* entry) {
  if (--entry->references == 0) names->entries.erase(names->entries.find(entry->name.View()));
}

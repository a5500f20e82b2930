#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

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
  tagEntry* entry = nullptr;
  bool isPublished = false;
  {
    const ZRMutexLock lock(mutex);
    entry = Enter(fullName);
    isPublished = entry->published != 0;
  }
  if (!isPublished) Ask(fullName);
  return entry;
}

void ZRLiveValues::Ask(std::wstring_view fullName) {
  ZRLiveSource* const toAsk = source.load(std::memory_order_acquire);
  if (toAsk != nullptr) toAsk->Bring(ZRWString(fullName));
}

void ZRLiveValues::UseSource(ZRLiveSource* toAsk) {
  source.store(toAsk, std::memory_order_release);
  if (toAsk == nullptr) return;
  std::vector<ZRWString> missing;
  {
    const ZRMutexLock lock(mutex);
    for (const auto& [name, entry] : names->entries)
      if (entry->published == 0) missing.push_back(entry->name);
  }
  for (const ZRWString& name : missing)
    toAsk->Bring(name);
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
  ZRLiveValue* const found = FindPublished(fullName.View());
  if (found != nullptr) return found;
  Ask(fullName.View());
  return FindPublished(fullName.View());
}

bool ZRLiveValues::IsPublished(const ZRWString& fullName) {
  const ZRMutexLock lock(mutex);
  const auto found = names->entries.find(fullName.View());
  return found != names->entries.end() && found->second->published != 0;
}

ZRLiveValue* ZRLiveValues::FindPublished(std::wstring_view fullName) {
  const ZRMutexLock lock(mutex);
  const auto found = names->entries.find(fullName);
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

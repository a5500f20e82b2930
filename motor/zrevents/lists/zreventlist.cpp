// The changes that wait for listeners.

#include "zrevents/lists/zreventlist.h"

#include <utility>

namespace {

// Takes the oldest ones out: `count`, or all of them if there aren't so many or none is asked for.
template <typename Change>
std::deque<Change> TakeFirst(std::deque<Change>& changes, int count) {
  std::deque<Change> first;
  if (count <= 0 || static_cast<std::size_t>(count) >= changes.size()) {
    first.swap(changes);
    return first;
  }
  for (int taken = 0; taken < count; ++taken) {
    first.push_back(std::move(changes.front()));
    changes.pop_front();
  }
  return first;
}

}  // namespace

void ZREventList::QueueChange(tagSEventRT* change) {
  std::unique_ptr<tagSEventRT> owned(change);
  if (listenerCount <= 0) return;
  const ZRMutexLock lock(localMutex);
  pendingChanges.push_back(std::move(owned));
}

void ZREventList::QueueRemoteChange(const XmlDocument::XmlNode* event, bool isActive) {
  if (event == nullptr || listenerCount < 1) return;
  auto change = std::make_unique<XmlDocument>();
  change->Create(kEventTag);
  *change->Root() = *event;
  change->Root()->SetValue(L"isActived", isActive ? L"T" : L"F");
  const ZRMutexLock lock(remoteMutex);
  pendingRemoteChanges.push_back(std::move(change));
}

std::size_t ZREventList::RemoteSize() {
  const ZRMutexLock lock(documentMutex);
  return document.Size();
}

int ZREventList::PendingChangesSize() {
  const ZRMutexLock lock(localMutex);
  return static_cast<int>(pendingChanges.size());
}

int ZREventList::PendingRemoteChangesSize() {
  const ZRMutexLock lock(remoteMutex);
  return static_cast<int>(pendingRemoteChanges.size());
}

// What goes is destroyed after the lock.
void ZREventList::DropChanges(int count) {
  std::deque<std::unique_ptr<tagSEventRT>> leaving;
  const ZRMutexLock lock(localMutex);
  leaving = TakeFirst(pendingChanges, count);
}

void ZREventList::DropRemoteChanges(int count) {
  std::deque<std::unique_ptr<XmlDocument>> leaving;
  const ZRMutexLock lock(remoteMutex);
  leaving = TakeFirst(pendingRemoteChanges, count);
}

bool ZREventList::AreQueued(int localCount, int remoteCount) {
  return localCount >= 0 && remoteCount >= 0 && localCount <= PendingChangesSize() &&
         remoteCount <= PendingRemoteChangesSize();
}

std::vector<const tagSEventRT*> ZREventList::FirstChanges(int count) {
  std::vector<const tagSEventRT*> first;
  if (count == 0) return first;
  const ZRMutexLock lock(localMutex);
  for (const auto& change : pendingChanges) {
    if (first.size() == static_cast<std::size_t>(count)) break;
    first.push_back(change.get());
  }
  return first;
}

std::vector<const XmlDocument::XmlNode*> ZREventList::FirstRemoteChanges(int count) {
  std::vector<const tagNode*> first;
  if (count == 0) return first;
  const ZRMutexLock lock(remoteMutex);
  for (const auto& change : pendingRemoteChanges) {
    if (first.size() == static_cast<std::size_t>(count)) break;
    first.push_back(std::as_const(*change).Root());
  }
  return first;
}

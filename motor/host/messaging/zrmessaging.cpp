#include "host/messaging/zrmessaging.h"

#include <utility>

#include "host/platform/zrmutex.h"

namespace {

// A value that any thread reads and replaces. Its lock is a leaf: a replaced value is destroyed
// outside of it.
template <typename Value>
class CHeld {
 public:
  Value Get() {
    const ZRMutexLock lock(mutex);
    return value;
  }
  void Set(Value toHold) {
    const ZRMutexLock lock(mutex);
    std::swap(value, toHold);
  }

 private:
  ZRMutex mutex;
  Value value ZR_GUARDED_BY(mutex);
};

CHeld<EventCreationPublisherManager::tagFactory> creationFactory;
CHeld<EventTriggeredPublisherManager::tagFactory> triggeredFactory;
CHeld<std::wstring> engineUuid;

}  // namespace

EventCreationPublisherManager::tagFactory
EventCreationPublisherManager::GetEventCreationPublisherFactory() {
  return creationFactory.Get();
}

void EventCreationPublisherManager::SetEventCreationPublisherFactory(tagFactory factory) {
  creationFactory.Set(std::move(factory));
}

EventTriggeredPublisherManager::tagFactory
EventTriggeredPublisherManager::GetEventTriggeredPublisherManagerFactory() {
  return triggeredFactory.Get();
}

void EventTriggeredPublisherManager::SetEventTriggeredPublisherManagerFactory(tagFactory factory) {
  triggeredFactory.Set(std::move(factory));
}

std::wstring EngineCreationPublisherManager::GetEngineUuid() {
  return engineUuid.Get();
}

void EngineCreationPublisherManager::SetEngineUuid(const std::wstring& uuid) {
  engineUuid.Set(uuid);
}

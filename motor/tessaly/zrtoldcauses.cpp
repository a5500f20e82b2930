#include "tessaly/zrtoldcauses.h"

#include "host/platform/zrplatform.h"

bool ZRToldCauses::IsNews(const std::string& subject, const std::string& cause) {
  const std::uint32_t now = ZRPlatform::Get().TickCount();
  const ZRMutexLock lock(mutex);
  std::erase_if(told, [now](const auto& one) { return now - one.second.when >= kMemory; });
  const auto known = told.find(subject);
  if (known != told.end() && known->second.cause == cause) return false;
  if (known == told.end() && told.size() == kMostSubjects) return false;
  told[subject] = {cause, now};
  return true;
}

#include "host/systemevents/zrsystemeventsserver.h"

#include <memory>

#include "host/base/zrlogger.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

constexpr const wchar_t* kLogLost = L"a system event can't be saved: %s: %ls (%s)";

// "2026-11-21T10:00:05.123Z"
ZRString UtcText() {
  const ZRDateTime now = ZRDateTime::UTC();
  const ZRWString text =
      FormatWide(L"%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", now.Year(), now.Month(), now.Day(),
                 now.Hour(), now.Minute(), now.Second(), now.Millisecond());
  return Utf16ToUtf8(text.View());
}

}  // namespace

ZRSystemEventsServer& ZRSystemEventsServer::get() {
  static ZRSystemEventsServer server;
  return server;
}

bool ZRSystemEventsServer::UseDatabase(const ZRWString& toUse, std::string& reason) {
  const ZRMutexLock lock(mutex);
  file = toUse;
  return database.Open(file, reason);
}

void ZRSystemEventsServer::Close() {
  const ZRMutexLock lock(mutex);
  file.Reset();
  database.Close();
}

bool ZRSystemEventsServer::isSaveEventsEnabled() {
  const ZRMutexLock lock(mutex);
  return !file.IsEmpty();
}

void ZRSystemEventsServer::saveSystemEvent(const SystemEvent* event, std::wstring_view text) {
  const std::unique_ptr<const SystemEvent> owned(event);
  std::string reason;
  const ZRMutexLock lock(mutex);
  if (file.IsEmpty() || Save(*owned, text, reason)) return;
  database.Close();
  logger(kLogConfiguration, kLogLost, std::string(owned->ClassName()).c_str(),
         ZRWString(text).Text(), reason.c_str());
}

bool ZRSystemEventsServer::Save(const SystemEvent& event, std::wstring_view text,
                                std::string& reason) {
  if (!database.IsOpen() && !database.Open(file, reason)) return false;
  return database.Append(UtcText().View(), event.ClassName(), Utf16ToUtf8(text).View(), reason);
}

#pragma once

#include <string>
#include <string_view>

#include "host/platform/zrmutex.h"
#include "host/systemevents/systemevent.h"
#include "host/systemevents/zrsystemeventsdatabase.h"
#include "host/tools/zrbasicstring.h"

// Keeps system events in the site's database.
//
// Threads   any.
// Order     its mutex is a leaf but for the log.
// Promise   a database that is missing, broken or full disturbs nobody: an event that can't be
//           saved is a line of the log (kLogConfiguration), and the next one tries again.
class ZRSystemEventsServer {
 public:
  static constexpr const char* kFileName = "system-events.sqlite";

  // The one of the process.
  [[nodiscard]] static ZRSystemEventsServer& get();

  // Keeps events in this file from now on. False, with a reason, if it can't be opened now.
  [[nodiscard]] bool UseDatabase(const ZRWString& toUse, std::string& reason);
  // Until UseDatabase events are forgotten, as they are before the first one.
  void Close();
  // True from UseDatabase until Close, also while the file can't be opened.
  [[nodiscard]] bool isSaveEventsEnabled();

  // Takes over the event. Takes as long as the disk does.
  void saveSystemEvent(const SystemEvent* event, std::wstring_view text);

 private:
  [[nodiscard]] bool Save(const SystemEvent& event, std::wstring_view text, std::string& reason)
      ZR_REQUIRES(mutex);

  ZRMutex mutex;
  ZRWString file ZR_GUARDED_BY(mutex);  // empty: events are forgotten
  ZRSystemEventsDatabase database ZR_GUARDED_BY(mutex);
};

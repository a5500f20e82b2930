// Who listens, for whoever asks, without waiting for a round of documents.
#pragma once

#include <memory>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/tools/zrdatetime.h"
#include "zrevents/zreventlistener.h"
#include "zrevents/zreventsexport.h"

// Threads   any.
// Order     a leaf.
class ZREVENTS_API ZRListenerBoard {
 public:
  // What is told of one listener.
  struct tagRow {
    ZRWString driverId;
    ZRWString driverName;
    ZRWString user;
    ZRString host;
    std::int32_t port = 0;
    bool isUser = false;
    bool needsAll = false;
    ZRDateTime since;     // UTC
    int lastStatus = -1;  // of the last document that was put; 0: no answer; -1: none yet
  };

  // Replaces the rows by these listeners. Who was there before keeps `since` and `lastStatus`;
  // the others are there since `now`.
  void Show(const std::vector<std::unique_ptr<ZREventListener>>& listeners, const ZRDateTime& now)
      ZR_EXCLUDES(mutex);
  // A document was put to the listener.
  void Answered(const ZRWString& driverId, int status) ZR_EXCLUDES(mutex);
  [[nodiscard]] std::vector<tagRow> Rows() ZR_EXCLUDES(mutex);

 private:
  [[nodiscard]] tagRow* Find(const ZRWString& driverId) ZR_REQUIRES(mutex);

  ZRMutex mutex;
  std::vector<tagRow> rows ZR_GUARDED_BY(mutex);
};

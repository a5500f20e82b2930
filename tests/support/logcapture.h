// The lines of the log while the object lives.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/base/zrlogger.h"
#include "host/platform/zrmutex.h"
#include "support/text.h"

class LogCapture {
 public:
  explicit LogCapture(int level = kLogTrace) {
    SetLogSink(&LogCapture::Take, this);
    SetLogLevel(level);
  }
  ~LogCapture() {
    SetLogLevel(kLogDelivery);
    SetLogSink(nullptr, nullptr);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  struct tagLine {
    int level;
    std::string text;
    bool operator==(const tagLine&) const = default;
  };

  [[nodiscard]] std::vector<tagLine> Lines() const {
    const ZRMutexLock lock(mutex);
    return lines;
  }
  // The lines that begin with `start`.
  [[nodiscard]] std::vector<std::string> Starting(const std::string& start) const {
    std::vector<std::string> found;
    for (const tagLine& line : Lines())
      if (line.text.rfind(start, 0) == 0) found.push_back(line.text);
    return found;
  }
  [[nodiscard]] bool Has(int level, const std::string& text) const {
    const auto all = Lines();
    return std::find(all.begin(), all.end(), tagLine{level, text}) != all.end();
  }
  void Clear() {
    const ZRMutexLock lock(mutex);
    lines.clear();
  }

 private:
  static void Take(void* context, int level, const ZRWString& line) {
    auto& self = *static_cast<LogCapture*>(context);
    const ZRMutexLock lock(self.mutex);
    self.lines.push_back({level, Narrow(line)});
  }
  mutable ZRMutex mutex;
  std::vector<tagLine> lines ZR_GUARDED_BY(mutex);
};

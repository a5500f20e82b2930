// A driver that shows recorded readings again.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/drivers/zrpolleddriver.h"
#include "host/drivers/zrreadingfile.h"

// What to replay, and how fast.
struct ZRReplaySettings {
  std::string path;   // of the file, UTF-8
  std::string title;  // the file as messages call it
  ZRReadingsForm form;
  bool isStep = false;       // one reading each `step`, whatever the dates
  std::int64_t step = 1000;  // ms
  double factor = 1.0;       // else: so many times as fast as it was recorded
  bool loop = false;         // begins again at the end
};

// Shows each reading of a file when it is due: the first one at the start, the others at the
// distances of their dates. Behind the last one, after the distance of the last two, it begins
// again or the variables become unavailable for good.
//
// Threads   as ZRPolledDriver.
// Owns      the open file, read as it goes.
// Promise   readings that are due together are shown in their order within one pass.
class ZRReplayDriver final : public ZRPolledDriver {
 public:
  ZRReplayDriver(const ZRWString& ofId, const ZRWString& ofName, ZRReplaySettings settingsToUse);
  ~ZRReplayDriver() override { Stop(); }

  // Reads the whole file once and tells what it holds. False, with a reason, if it can't be read
  // or holds no reading.
  [[nodiscard]] static bool Measure(const ZRReplaySettings& ofFile, ZRReadingsSpan& held,
                                    std::string& reason);

  // Measures the file, makes a variable of each of its columns, and logs what is wrong with it.
  [[nodiscard]] bool Prepare() override;
  void Poll(std::int64_t utc) override;

  // What the file holds, from Prepare on; and the number of readings that this run has shown.
  [[nodiscard]] const ZRReadingsSpan& Span() const { return span; }
  [[nodiscard]] std::int64_t Shown() const { return shown; }  // in Poll's thread

 protected:
  [[nodiscard]] std::int64_t NextDue(std::int64_t dueNow) const override;

 private:
  enum class tagState { kPlaying, kEnding, kOver };

  [[nodiscard]] bool OpenFile(std::string& reason);
  void AddVariables();
  void LogFaults() const;

  // Takes the next reading out of the file and finds when it is due.
  void Fetch();
  void FetchAfterEnd();
  void Show(std::int64_t utc);
  void End(const wchar_t* why);
  void LogProgress();
  // Recorded time as time of this run, in ms.
  [[nodiscard]] std::int64_t Scaled(std::int64_t recorded) const;

  const ZRReplaySettings settings;
  ZRReadingFile file;
  ZRReadingsSpan span;                // constant after Prepare
  std::vector<std::int64_t> columns;  // variables, in the order of the columns

  // The thread of the passes only; times in ms since the start of the driver.
  tagState state = tagState::kOver;
  std::int64_t now = 0;       // of the pass
  std::int64_t due = 0;       // of the reading that was fetched, or of the end
  std::int64_t runStart = 0;  // of this run through the file
  std::int64_t lastUtc = 0;   // of the reading that was fetched last
  std::int64_t shownUtc = 0;  // of the reading that was shown last
  std::int64_t distance = 0;  // of the last two readings
  std::int64_t shown = 0;
  std::int64_t reportedAt = 0;
  std::int64_t reportedPercent = 0;
};

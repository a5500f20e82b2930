// The thread of the events' variables: it reads the counts out of the history, and begins each
// period.

#include <algorithm>

#include "host/base/zrlogger.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrtext.h"
#include "tessaly/zreventvariables.h"
#include "tessaly/zrsitecheck.h"
#include "zrevents/zreventdriver.h"

namespace {

constexpr int kFirstYear = 1970;      // of the history
constexpr std::int64_t kLook = 1000;  // ms between two looks at a clock that may be set

// Tells from time to time how far a long reading is.
class CProgress {
 public:
  explicit CProgress(std::size_t toRead) : all(toRead) {}

  void Tell(std::size_t done) {
    const std::uint32_t now = ZRPlatform::Get().TickCount();
    if (now - last < kBetween) return;
    logger(kLogNotice, L"counts of the events: the history of %zu of %zu is read", done, all);
    last = now;
    isLong = true;
  }
  void TellTheEnd() const {
    if (isLong) logger(kLogNotice, L"counts of the events: the history of all %zu is read", all);
  }

 private:
  static constexpr std::uint32_t kBetween = 10'000;  // ms

  const std::size_t all;
  std::uint32_t last = ZRPlatform::Get().TickCount();
  bool isLong = false;
};

// The first instant of the oldest year that the data folder has, or of the next one; UTC in ms.
std::int64_t BeginOfHistory() {
  const int last = ZRDateTime::UTC().Year() + 1;
  int year = kFirstYear;
  while (year < last && !FolderExists(ZRTessalySetup::Get().DataPath() + FormatWide(L"%04d", year)))
    ++year;
  ZRDateTime begin;
  begin.SetDate(year, 1, 1);
  return begin.UtcMilliseconds();
}

}  // namespace

bool ZREventVariables::Start() {
  return thread.Start([this] { Work(); });
}

void ZREventVariables::Stop() {
  if (Source() == this) UseSource(nullptr);
  {
    const ZRMutexLock lock(mutex);
    stops = true;
  }
  stopAsked.NotifyAll();
  thread.Join();
}

void ZREventVariables::Work() {
  ReadHistory();
  std::int64_t settled = CountPeriodAround(unit, bound).begin;
  while (WaitForNextPeriod(settled)) {
    for (tagEntry& entry : entries) {
      const ZRMutexLock lock(mutex);
      Settle(entry, ZRPlatform::Get().UtcMilliseconds());
    }
  }
}

// False if the thread is to end.
bool ZREventVariables::WaitForNextPeriod(std::int64_t& settled) {
  const ZRMutexLock lock(mutex);
  while (!stops) {
    const std::int64_t now = ZRPlatform::Get().UtcMilliseconds();
    if (period.IsToBeLeft(now)) period = CountPeriodAround(unit, now);
    if (period.begin != settled) {
      settled = period.begin;
      return true;
    }
    (void)stopAsked.Wait(mutex, static_cast<std::uint32_t>(std::min(kLook, period.next - now)));
  }
  return false;
}

void ZREventVariables::ReadHistory() {
  const std::int64_t begin = CountPeriodAround(unit, bound).begin;
  const std::int64_t from = begin == ZRCountPeriod::kNever ? BeginOfHistory() : begin;
  CProgress progress(entries.size());
  std::size_t done = 0;
  for (tagEntry& entry : entries) {
    const ZREventCounts history = ReadHistoryOf(*entry.event, begin, from);
    if (!TakeHistory(entry, history)) return;
    progress.Tell(++done);
  }
  progress.TellTheEnd();
}

// What was before Bind. An end without a beginning tells that the event was active when the period
// began.
ZREventCounts ZREventVariables::ReadHistoryOf(ZREventDriver& event, std::int64_t begin,
                                              std::int64_t from) const {
  ZREventCounts history(begin);
  history.SupposeActive();
  event.VisitRecords(ZRDateTime::FromUtcMilliseconds(from), ZRDateTime::FromUtcMilliseconds(bound),
                     [&](const ZRDateTime& when, int mark) {
                       history.Note(mark, when.UtcMilliseconds());
                       return !stops;
                     });
  return history;
}

// False if the rest of the history isn't wanted any more.
bool ZREventVariables::TakeHistory(tagEntry& entry, const ZREventCounts& history) {
  const ZRMutexLock lock(mutex);
  if (stops) return false;
  const std::int64_t now = ZRPlatform::Get().UtcMilliseconds();
  Settle(entry, now);
  if (entry.isRead) return false;
  entry.counts.Add(history);
  entry.isRead = true;
  ShowCounts(entry, now);
  return true;
}

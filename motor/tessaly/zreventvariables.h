// The events' own variables: their states, times and counts, for other events' conditions and for
// whoever asks.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"
#include "tessaly/zreventcounts.h"
#include "tessaly/zreventdevice.h"

class ZREventDriver;
class ZREventSystem;

// Makes a device of each event (ZREventDevice), as soon as somebody asks for it by its id, its name
// or a variable: until then an event costs one tagEntry. Of two events with one name the first has
// the variables. A name that is taken already, by a driver of the settings, stays as it is.
//
// The counts are of the site's running period. What happened in it before Bind is read from the
// history by a thread of its own, event by event; until then the counts of an event are
// unavailable. What happens from Bind on is counted as it happens: an instant is the one's or the
// other's. At the first instant of the next period the counts begin again with 0.
//
// Threads   bound, started, stopped and destroyed on the host's thread, Stop before the events go;
//           written by the workers, and by whoever acknowledges; asked for devices by any.
// Order     mutex behind occurrencesMutex, evaluatorsMutex and documentMutex; under it the
//           registry's lock and the zone.
// Owns      the devices; the events are the store's.
class ZREventVariables final : public ZRDriver, private ZRDriverSource {
 public:
  // Told when an event becomes active or inactive, on its worker, with the seconds it was active.
  // Quick: the event's cycle waits.
  using tagObserver = std::function<void(ZREventDriver& event, bool active, double seconds)>;

  ZREventVariables(tagObserver toTell, ZRCountUnit countUnit);
  ~ZREventVariables() override;

  // Binds every event of the store, which is sorted. From now on the devices are there.
  void Bind(ZREventSystem& system);
  // Begins to read the history. False if the system gives no thread.
  bool Start() override;
  // Ends that, wherever it is. From then on no device is found.
  void Stop() override;

  void SetVariableValue(std::int64_t variable, double value) override;
  void NoteMark(std::int64_t state, int mark, std::int64_t utc) override;

 private:
  // One event; the variables that it is bound to have the numbers 2 * place and 2 * place + 1.
  struct tagEntry {
    ZREventDriver* event = nullptr;               // constant
    std::atomic<ZREventDevice*> device{nullptr};  // null until somebody asks for it
    std::atomic<double> seconds{0.0};             // since the activation; the worker's own
    std::int64_t since = 0;                       // UTC in ms of that; the worker's own
    // Guarded by mutex; `active` changes on the worker only, which reads it without.
    ZREventCounts counts;
    bool active = false;
    bool isRead = false;  // the history is in the counts
  };

  void SetState(tagEntry& entry, bool active);
  void SetTime(tagEntry& entry, double seconds);
  // Goes over to the period of `now` if that is another one.
  void Settle(tagEntry& entry, std::int64_t now) ZR_REQUIRES(mutex);
  static void ShowState(const tagEntry& entry, std::int64_t now);
  static void ShowTimes(const tagEntry& entry, std::int64_t now);
  static void ShowCounts(const tagEntry& entry, std::int64_t now);

  // --- devices ---
  ZRDriver* DriverOfId(const ZRWString& id) override;
  ZRDriver* DriverOfName(const ZRWString& name) override;
  ZRDriver* DriverOfVariable(const ZRWString& fullName, std::int64_t& variable) override;
  void Bring(const ZRWString& fullName) override;
  [[nodiscard]] std::size_t PlaceOfName(const ZRWString& name) const;
  [[nodiscard]] ZRDriver* DeviceAt(std::size_t place);

  // --- the thread ---
  void Work();
  void ReadHistory();
  [[nodiscard]] ZREventCounts ReadHistoryOf(ZREventDriver& event, std::int64_t begin,
                                            std::int64_t from) const;
  [[nodiscard]] bool TakeHistory(tagEntry& entry, const ZREventCounts& history);
  [[nodiscard]] bool WaitForNextPeriod(std::int64_t& settled);

  const tagObserver observer;
  const ZRCountUnit unit;
  ZREventSystem* store = nullptr;  // constant after Bind, as the next two
  std::int64_t bound = 0;          // UTC in ms
  std::vector<tagEntry> entries;   // by the names of the events
  ZRMutex mutex;
  ZRCondition stopAsked;
  std::atomic<bool> stops{false};  // set with the mutex held
  ZRCountPeriod period ZR_GUARDED_BY(mutex);
  std::vector<std::unique_ptr<ZREventDevice>> devices ZR_GUARDED_BY(mutex);
  ZRThread thread;
};

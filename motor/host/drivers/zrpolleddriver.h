// What drivers have in common that read, or make up, their values again and again.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

// A driver with a thread of its own that makes one pass after another.
//
// Threads   Start and Stop on the host's thread. Poll runs in Start, then on the driver's thread.
// Order     its mutex is a leaf.
// Promise   the first pass is over when Start returns, so that values exist from then on. Stop
//           waits for the pass that runs at most, never for the next one. Passes that were missed
//           aren't made up for. A class derived from it calls Stop in its destructor.
class ZRPolledDriver : public ZRDriver {
 public:
  static constexpr std::uint32_t kShortestPeriod = 10;            // ms
  static constexpr std::uint32_t kLongestPeriod = 24 * 3600'000;  // ms

  ZRPolledDriver(const ZRWString& ofId, const ZRWString& ofName, std::uint32_t periodMilliseconds);
  ~ZRPolledDriver() override;

  // False if Prepare fails or the system gives no thread; a driver that runs already goes on.
  [[nodiscard]] bool Start() override;
  // All variables are unavailable when it returns.
  void Stop() override;
  [[nodiscard]] bool IsOnline() const override { return online.load(std::memory_order_acquire); }

  // False: what is polled can't be forced, and its description says so. A derived class may allow
  // it.
  [[nodiscard]] bool ForceValue(std::int64_t variable, const ZRValue& value,
                                const wchar_t* name) override;
  [[nodiscard]] bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override;

  // One pass at `utc` (ms since 1970): reads everything and writes the variables. Public so that
  // it can be called without a thread, after Prepare.
  virtual void Poll(std::int64_t utc) = 0;

  // Called once by Start before the first pass. False: the driver can't start; it has logged why.
  [[nodiscard]] virtual bool Prepare() { return true; }

 protected:
  // When the next pass is due after the one that was due at `due`: both in ms since the start, as
  // Elapsed. Asked by the thread of the passes. A pass that is due already follows at once.
  [[nodiscard]] virtual std::int64_t NextDue(std::int64_t due) const { return due + period; }
  [[nodiscard]] std::uint32_t Period() const { return period; }  // ms

  // Milliseconds since the driver was started, or made, by the tick count; not stepped with the
  // clock. In the thread of the passes.
  [[nodiscard]] std::int64_t Elapsed();

  // A request to stop is there: a long pass ends early.
  [[nodiscard]] bool IsStopping();
  // The next pass follows at once. On any thread.
  void Wake();
  // Not online any more, and no value in the variables made by AddPolled.
  void GoOffline();

  // What a state of a switch is called, as text of XML: `word`, or without one the language's.
  [[nodiscard]] static ZRString StateLabel(bool isOn, const std::string* word);

  // AddVariable, remembered for GoOffline. A name that is there already keeps its number.
  std::int64_t AddPolled(const ZRWString& variable);

 private:
  void Run();
  // Waits until `due`, ms since the start. False if the driver is to stop.
  [[nodiscard]] bool WaitUntilDue(std::int64_t due);
  void RestartElapsed();

  const std::uint32_t period;
  ZRMutex mutex;
  ZRCondition changed;
  bool stopping ZR_GUARDED_BY(mutex) = false;
  bool woken ZR_GUARDED_BY(mutex) = false;
  std::atomic<bool> online{false};
  bool running = false;              // host's thread only
  std::uint32_t lastTicks = 0;       // the thread of the passes only
  std::int64_t elapsed = 0;          // the thread of the passes only
  std::vector<std::int64_t> polled;  // constant after Prepare
  ZRThread thread;
};

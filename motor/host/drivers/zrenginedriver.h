// The driver of a remote engine: its events are seen and acknowledged here.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "host/drivers/zrpolleddriver.h"
#include "host/remote/zrhttpclient.h"

// Where the remote engine is, where this one can be reached from there, and what is wanted.
struct ZRRemoteEngine {
  std::string host;
  int port = 0;
  std::string replyHost;  // this machine, as the remote engine calls it
  int replyPort = 0;
  bool actived = true;   // its active events are wanted
  bool notified = true;  // the notified ones are
};

// Registers this engine as a listener of a remote one, and again and again: so it notices within
// two periods that the remote engine is gone or has forgotten it, and gets everything anew when it
// is back: it asks for everything until it has come. The documents that the remote engine pushes
// come in through the web server.
//
// It has the variable ONLINE: 1 or 0.
//
// Threads   as ZRPolledDriver; AcknowledgeRemoteEvent on any.
class ZREngineDriver final : public ZRPolledDriver {
 public:
  static constexpr std::uint32_t kDefaultPeriod = 5000;  // ms between two registrations
  static constexpr std::uint32_t kRetry = 1000;          // ms, while the remote engine is away

  ZREngineDriver(const ZRWString& ofId, const ZRWString& ofName, std::uint32_t periodMilliseconds,
                 ZRRemoteEngine remoteEngine);
  ~ZREngineDriver() override { Stop(); }

  [[nodiscard]] bool Prepare() override;
  void Poll(std::int64_t utc) override;
  void Stop() override;
  // From a registration that was taken until two in a row that weren't.
  [[nodiscard]] bool IsOnline() const override { return taken.load(std::memory_order_acquire); }
  // Waits for the remote engine's answer: 3 s at most.
  [[nodiscard]] bool AcknowledgeRemoteEvent(ZRHttpRequest& request,
                                            const ZRWString& remoteEventId) override;
  [[nodiscard]] bool LacksRemoteEvents() const override {
    return lacksEvents.load(std::memory_order_acquire);
  }
  // One that came while the driver was away has been swept out again.
  void TookRemoteEvents() override;

 protected:
  [[nodiscard]] std::int64_t NextDue(std::int64_t due) const override;

 private:
  [[nodiscard]] std::string Registration(bool wantsAll) const;
  void TellChange(int status);
  void Show(std::int64_t utc);

  const ZRRemoteEngine remote;
  ZRHttpClient client{true};  // the thread of the passes only
  std::atomic<bool> taken{false};
  std::atomic<bool> lacksEvents{true};
  bool isFirstPass = true;   // the thread of the passes only, as all that follow
  int failures = 0;          // in a row
  int toldStatus = -1;       // in the log; -1: nothing yet
  std::int64_t online = -1;  // number of the variable; constant after Prepare
};

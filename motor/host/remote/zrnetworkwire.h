// The wire of ZRHttpClient that goes over the network.
#pragma once

#include <memory>

#include "host/platform/zrmutex.h"
#include "host/remote/zrhttpclient.h"
#include "host/remote/zrnetworks.h"

// Threads   any. The waits of an exchange are real ones, also in virtual time.
class ZRNetworkWire final : public ZRHttpWire {
 public:
  static constexpr long kConnectMilliseconds = 1000;
  static constexpr long kExchangeMilliseconds = 3000;
  static constexpr std::size_t kMostAnswerBytes = std::size_t{64} * 1024;

  // The one of the process.
  [[nodiscard]] static ZRNetworkWire& Get();

  // The networks that may be connected to from now on; the private ones until then. What is
  // checked is the address itself, after a name was resolved.
  void Allow(const ZRNetworks& toAllow) ZR_EXCLUDES(mutex);
  [[nodiscard]] ZRNetworks Allowed() ZR_EXCLUDES(mutex);

  [[nodiscard]] std::unique_ptr<ZRExchange> NewExchange() override;

 private:
  ZRMutex mutex;  // a leaf
  ZRNetworks networks ZR_GUARDED_BY(mutex) = ZRNetworks::Private();
};

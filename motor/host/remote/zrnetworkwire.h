// The wire of ZRHttpClient that goes over the network.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/remote/zrhttpclient.h"
#include "host/remote/zrnetworks.h"

// A server that wants a login gets it by HTTP Digest, with the body signed if it takes that; a
// password is never sent.
//
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

  // Whom this program is at a server: requests without a login of their own use it.
  struct tagAccount {
    std::string host;
    int port = 0;
    std::string user;
    std::string password;
  };
  void SetAccounts(std::vector<tagAccount> toUse) ZR_EXCLUDES(mutex);
  // With empty user and password if there is none.
  [[nodiscard]] tagAccount AccountAt(std::string_view host, int port) ZR_EXCLUDES(mutex);

  [[nodiscard]] std::unique_ptr<ZRExchange> NewExchange() override;

 private:
  ZRMutex mutex;  // a leaf
  ZRNetworks networks ZR_GUARDED_BY(mutex) = ZRNetworks::Private();
  std::vector<tagAccount> accounts ZR_GUARDED_BY(mutex);
};

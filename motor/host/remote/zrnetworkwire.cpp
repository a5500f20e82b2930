#include "host/remote/zrnetworkwire.h"

#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <new>

namespace {

std::atomic<ZRHttpWire*> wireInForce{nullptr};  // null: the network

struct CFreeHandle {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct CFreeHeaders {
  void operator()(curl_slist* headers) const { curl_slist_free_all(headers); }
};

// What an exchange keeps of the answer.
struct CAnswer {
  std::string* text = nullptr;
  bool isTooLong = false;
};

std::size_t TakeAnswer(const char* bytes, std::size_t size, std::size_t count, void* context) {
  auto& answer = *static_cast<CAnswer*>(context);
  const std::size_t length = size * count;
  answer.isTooLong = ZRNetworkWire::kMostAnswerBytes - answer.text->size() < length;
  if (answer.isTooLong) return 0;
  answer.text->append(bytes, length);
  return length;
}

bool MayConnect(const ZRNetworks& networks, const curl_sockaddr& address) {
  if (address.family == AF_INET) {
    const auto& four = reinterpret_cast<const sockaddr_in&>(address.addr);
    return networks.Holds(reinterpret_cast<const std::uint8_t*>(&four.sin_addr),
                          sizeof four.sin_addr);
  }
  if (address.family == AF_INET6) {
    const auto& six = reinterpret_cast<const sockaddr_in6&>(address.addr);
    return networks.Holds(six.sin6_addr.s6_addr, sizeof six.sin6_addr.s6_addr);
  }
  return false;
}

curl_socket_t OpenSocket(void* context, curlsocktype, curl_sockaddr* address) {
  const ZRNetworks networks = static_cast<ZRNetworkWire*>(context)->Allowed();
  if (!MayConnect(networks, *address)) return CURL_SOCKET_BAD;
  return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

std::string UrlOf(const std::string& host, int port, const std::string& path) {
  const bool isAddress6 = host.find(':') != std::string::npos;
  return "http://" + (isAddress6 ? "[" + host + "]" : host) + ":" + std::to_string(port) + path;
}

class CExchange final : public ZRHttpWire::ZRExchange {
 public:
  explicit CExchange(ZRNetworkWire& wire);

  int Put(const std::string& host, int port, const std::string& path, std::string_view body,
          const std::string& user, const std::string& password, std::string& answer) override;

 private:
  template <typename Value>
  void Set(CURLoption option, Value value) {
    if (curl_easy_setopt(handle.get(), option, value) != CURLE_OK) throw std::bad_alloc();
  }
  void SetLogin(const std::string& user, const std::string& password);

  std::unique_ptr<CURL, CFreeHandle> handle;
  std::unique_ptr<curl_slist, CFreeHeaders> headers;
};

CExchange::CExchange(ZRNetworkWire& wire) : handle(curl_easy_init()) {
  if (handle == nullptr) throw std::bad_alloc();
  Set(CURLOPT_NOSIGNAL, 1L);
  Set(CURLOPT_PROTOCOLS_STR, "http,https");
  Set(CURLOPT_FOLLOWLOCATION, 0L);
  Set(CURLOPT_PROXY, "");
  Set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  Set(CURLOPT_CONNECTTIMEOUT_MS, ZRNetworkWire::kConnectMilliseconds);
  Set(CURLOPT_TIMEOUT_MS, ZRNetworkWire::kExchangeMilliseconds);
  Set(CURLOPT_OPENSOCKETFUNCTION, &OpenSocket);
  Set(CURLOPT_OPENSOCKETDATA, &wire);
  Set(CURLOPT_WRITEFUNCTION, &TakeAnswer);
  Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  // The body goes with the head: no server has to be asked first whether it takes it.
  for (const char* header : {"Content-Type: application/xml; charset=utf-8", "Expect:"}) {
    curl_slist* const longer = curl_slist_append(headers.get(), header);
    if (longer == nullptr) throw std::bad_alloc();
    (void)headers.release();
    headers.reset(longer);
  }
  Set(CURLOPT_HTTPHEADER, headers.get());
}

void CExchange::SetLogin(const std::string& user, const std::string& password) {
  const bool hasLogin = !user.empty();
  Set(CURLOPT_HTTPAUTH, static_cast<long>(hasLogin ? CURLAUTH_DIGEST : CURLAUTH_NONE));
  Set(CURLOPT_USERNAME, hasLogin ? user.c_str() : nullptr);
  Set(CURLOPT_PASSWORD, hasLogin ? password.c_str() : nullptr);
}

int CExchange::Put(const std::string& host, int port, const std::string& path,
                   std::string_view body, const std::string& user, const std::string& password,
                   std::string& answer) {
  answer.clear();
  CAnswer taken{&answer};
  Set(CURLOPT_URL, UrlOf(host, port, path).c_str());
  Set(CURLOPT_POST, 1L);
  Set(CURLOPT_CUSTOMREQUEST, "PUT");
  Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  Set(CURLOPT_POSTFIELDS, body.data());
  Set(CURLOPT_WRITEDATA, &taken);
  SetLogin(user, password);
  long status = 0;
  if (curl_easy_perform(handle.get()) != CURLE_OK ||
      curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status) != CURLE_OK) {
    answer.clear();
    return 0;
  }
  return static_cast<int>(status);
}

}  // namespace

ZRHttpWire& ZRHttpWire::Get() {
  ZRHttpWire* const wire = wireInForce.load(std::memory_order_acquire);
  return wire != nullptr ? *wire : ZRNetworkWire::Get();
}

void ZRHttpWire::Replace(ZRHttpWire* wire) {
  wireInForce.store(wire, std::memory_order_release);
}

ZRNetworkWire& ZRNetworkWire::Get() {
  static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
  static ZRNetworkWire wire;
  (void)isReady;
  return wire;
}

void ZRNetworkWire::Allow(const ZRNetworks& toAllow) {
  const ZRMutexLock lock(mutex);
  networks = toAllow;
}

ZRNetworks ZRNetworkWire::Allowed() {
  const ZRMutexLock lock(mutex);
  return networks;
}

std::unique_ptr<ZRHttpWire::ZRExchange> ZRNetworkWire::NewExchange() {
  return std::make_unique<CExchange>(*this);
}

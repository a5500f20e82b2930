#include "host/remote/zrnetworkwire.h"

#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <string_view>
#include <utility>

#include "host/remote/zrasciitext.h"
#include "host/remote/zrdigestsigner.h"

namespace {

std::atomic<ZRHttpWire*> wireInForce{nullptr};  // null: the network

struct CFreeHandle {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct CFreeHeaders {
  void operator()(curl_slist* headers) const { curl_slist_free_all(headers); }
};

constexpr long kUnauthorized = 401;
constexpr curl_off_t kMicroseconds = 1000;  // in a ms

// What an exchange keeps of the answer.
struct CAnswer {
  std::string* text = nullptr;
  bool isTooLong = false;
  ZRDigestSigner signer;  // what the server wants to be signed
};

std::size_t TakeAnswer(const char* bytes, std::size_t size, std::size_t count, void* context) {
  auto& answer = *static_cast<CAnswer*>(context);
  const std::size_t length = size * count;
  answer.isTooLong = ZRNetworkWire::kMostAnswerBytes - answer.text->size() < length;
  if (answer.isTooLong) return 0;
  answer.text->append(bytes, length);
  return length;
}

std::size_t TakeHeader(const char* bytes, std::size_t size, std::size_t count, void* context) {
  constexpr std::string_view kName = "www-authenticate:";
  const std::size_t length = size * count;
  std::string_view line(bytes, length);
  if (line.size() < kName.size() || !EqualIgnoringCase(line.substr(0, kName.size()), kName))
    return length;
  line.remove_prefix(kName.size());
  while (!line.empty() && line.front() == ' ')
    line.remove_prefix(1);
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n'))
    line.remove_suffix(1);
  static_cast<CAnswer*>(context)->signer.Take(line);
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

curl_slist* Longer(curl_slist* list, const std::string& header) {
  curl_slist* const longer = curl_slist_append(list, header.c_str());
  if (longer == nullptr) throw std::bad_alloc();
  return longer;
}

class CExchange final : public ZRHttpWire::ZRExchange {
 public:
  explicit CExchange(ZRNetworkWire& ofExchange);

  int Put(const std::string& host, int port, const std::string& path, std::string_view body,
          const std::string& user, const std::string& password, std::string& answer) override;

 private:
  template <typename Value>
  void Set(CURLoption option, Value value) {
    if (curl_easy_setopt(handle.get(), option, value) != CURLE_OK) throw std::bad_alloc();
  }
  // One request, with the content of an Authorization header, or without. 0 for no answer.
  long PutOnce(std::string_view body, const std::string& authorization, CAnswer& taken);
  [[nodiscard]] std::string Signature(const std::string& path, std::string_view body,
                                      const ZRNetworkWire::tagAccount& account);

  ZRNetworkWire& wire;
  std::unique_ptr<CURL, CFreeHandle> handle;
  long left = 0;          // ms of the exchange under way
  std::string signedUrl;  // of the server and path that the signer has its nonce from
  ZRDigestSigner signer;
};

CExchange::CExchange(ZRNetworkWire& ofExchange) : wire(ofExchange), handle(curl_easy_init()) {
  if (handle == nullptr) throw std::bad_alloc();
  Set(CURLOPT_NOSIGNAL, 1L);
  Set(CURLOPT_PROTOCOLS_STR, "http,https");
  Set(CURLOPT_FOLLOWLOCATION, 0L);
  Set(CURLOPT_PROXY, "");
  Set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  Set(CURLOPT_CONNECTTIMEOUT_MS, ZRNetworkWire::kConnectMilliseconds);
  Set(CURLOPT_OPENSOCKETFUNCTION, &OpenSocket);
  Set(CURLOPT_OPENSOCKETDATA, &wire);
  Set(CURLOPT_WRITEFUNCTION, &TakeAnswer);
  Set(CURLOPT_HEADERFUNCTION, &TakeHeader);
  Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
}

long CExchange::PutOnce(std::string_view body, const std::string& authorization, CAnswer& taken) {
  taken.text->clear();
  // The body goes with the head: no server has to be asked first whether it takes it.
  std::unique_ptr<curl_slist, CFreeHeaders> headers(Longer(nullptr, "Expect:"));
  (void)Longer(headers.get(), "Content-Type: application/xml; charset=utf-8");
  if (!authorization.empty()) (void)Longer(headers.get(), "Authorization: " + authorization);
  Set(CURLOPT_HTTPHEADER, headers.get());
  Set(CURLOPT_POST, 1L);
  Set(CURLOPT_CUSTOMREQUEST, "PUT");
  Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  Set(CURLOPT_POSTFIELDS, body.data());
  Set(CURLOPT_WRITEDATA, &taken);
  Set(CURLOPT_HEADERDATA, &taken);
  Set(CURLOPT_TIMEOUT_MS, left);
  long status = 0;
  const CURLcode result = curl_easy_perform(handle.get());
  curl_off_t used = 0;  // us
  (void)curl_easy_getinfo(handle.get(), CURLINFO_TOTAL_TIME_T, &used);
  left = std::max<long>(left - used / kMicroseconds, 1);
  Set(CURLOPT_HTTPHEADER, static_cast<curl_slist*>(nullptr));
  if (result == CURLE_OK &&
      curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status) == CURLE_OK)
    return status;
  taken.text->clear();
  return 0;
}

int CExchange::Put(const std::string& host, int port, const std::string& path,
                   std::string_view body, const std::string& user, const std::string& password,
                   std::string& answer) {
  const std::string url = UrlOf(host, port, path);
  Set(CURLOPT_URL, url.c_str());
  if (url != signedUrl) signer.Forget();
  signedUrl = url;
  left = ZRNetworkWire::kExchangeMilliseconds;
  const ZRNetworkWire::tagAccount account =
      user.empty() ? wire.AccountAt(host, port)
                   : ZRNetworkWire::tagAccount{host, port, user, password};
  CAnswer taken{&answer, false, {}};
  const long status = PutOnce(body, Signature(path, body, account), taken);
  if (status != kUnauthorized || account.user.empty() || !taken.signer.CanSign())
    return static_cast<int>(status);
  // A first request, or a nonce that isn't good any more.
  signer = taken.signer;
  return static_cast<int>(PutOnce(body, Signature(path, body, account), taken));
}

// Empty without an account, and as long as the server hasn't asked.
std::string CExchange::Signature(const std::string& path, std::string_view body,
                                 const ZRNetworkWire::tagAccount& account) {
  if (account.user.empty() || !signer.CanSign()) return {};
  return signer.Sign("PUT", path, body, account.user, account.password);
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

void ZRNetworkWire::SetAccounts(std::vector<tagAccount> toUse) {
  const ZRMutexLock lock(mutex);
  accounts = std::move(toUse);
}

ZRNetworkWire::tagAccount ZRNetworkWire::AccountAt(std::string_view host, int port) {
  const ZRMutexLock lock(mutex);
  for (const tagAccount& account : accounts)
    if (account.host == host && account.port == port) return account;
  return {};
}

std::unique_ptr<ZRHttpWire::ZRExchange> ZRNetworkWire::NewExchange() {
  return std::make_unique<CExchange>(*this);
}

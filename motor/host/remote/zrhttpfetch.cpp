#include "host/remote/zrhttpfetch.h"

#include <curl/curl.h>

#include <memory>
#include <new>

namespace {

struct CFreeHandle {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct CFreeList {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using tagHandle = std::unique_ptr<CURL, CFreeHandle>;
using tagList = std::unique_ptr<curl_slist, CFreeList>;

// An IPv6 address stands in brackets.
std::string InUrl(const std::string& host) {
  return host.find(':') == std::string::npos ? host : "[" + host + "]";
}

void Append(tagList& list, const std::string& line) {
  curl_slist* const longer = curl_slist_append(list.get(), line.c_str());
  if (longer == nullptr) throw std::bad_alloc();
  (void)list.release();
  list.reset(longer);
}

// One exchange.
class CFetch {
 public:
  explicit CFetch(const ZRHttpQuestion& toAsk) : question(toAsk), handle(curl_easy_init()) {
    if (handle == nullptr) throw std::bad_alloc();
  }

  ZRHttpReply Run() {
    SetBounds();
    SetPlace();
    SetLogin();
    SetDocument();
    const CURLcode code = fault == CURLE_OK ? curl_easy_perform(handle.get()) : fault;
    if (code != CURLE_OK) return Failure(code);
    long status = 0;
    curl_off_t seconds = 0;
    (void)curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    (void)curl_easy_getinfo(handle.get(), CURLINFO_RETRY_AFTER, &seconds);
    reply.status = static_cast<int>(status);
    reply.retrySeconds = static_cast<std::uint32_t>(seconds);
    return std::move(reply);
  }

 private:
  template <typename Value>
  void Set(CURLoption option, Value value) {
    const CURLcode code = curl_easy_setopt(handle.get(), option, value);
    if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (code != CURLE_OK && fault == CURLE_OK) fault = code;
  }

  void SetBounds() {
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FOLLOWLOCATION, 0L);
    Set(CURLOPT_PROXY, "");
    Set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    Set(CURLOPT_ACCEPT_ENCODING, "");  // all that can be unpacked
    Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(question.connectMilliseconds));
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(question.milliseconds));
    Set(CURLOPT_WRITEFUNCTION, &CFetch::Take);
    Set(CURLOPT_WRITEDATA, this);
  }
  void SetPlace() {
    Set(CURLOPT_URL, (HttpPlace(question) + question.path).c_str());
    if (!question.address.empty()) {
      Append(places, "::" + InUrl(question.address) + ":" + std::to_string(question.port));
      Set(CURLOPT_CONNECT_TO, places.get());
    }
    if (!question.isSecure) return;
    Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (question.authorities.empty()) return;
    Set(CURLOPT_CAINFO, question.authorities.c_str());
    Set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  void SetLogin() {
    if (question.user.empty()) return;
    Set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_DIGEST));
    Set(CURLOPT_USERNAME, question.user.c_str());
    Set(CURLOPT_PASSWORD, question.password.c_str());
  }
  void SetDocument() {
    if (!question.document) return;
    Append(headers, "Content-Type: application/xml; charset=utf-8");
    Append(headers, "Expect:");  // the body goes with the head
    Set(CURLOPT_HTTPHEADER, headers.get());
    Set(CURLOPT_POST, 1L);
    Set(CURLOPT_CUSTOMREQUEST, "PUT");
    Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(question.document->size()));
    Set(CURLOPT_POSTFIELDS, question.document->data());
  }

  static std::size_t Take(const char* bytes, std::size_t size, std::size_t count, void* context) {
    auto& fetch = *static_cast<CFetch*>(context);
    const std::size_t length = size * count;
    fetch.isTooLong = fetch.question.mostBytes - fetch.reply.body.size() < length;
    if (fetch.isTooLong) return 0;
    fetch.reply.body.append(bytes, length);
    return length;
  }

  [[nodiscard]] ZRHttpReply Failure(CURLcode code) const {
    ZRHttpReply failure;
    failure.problem = Problem(code);
    return failure;
  }
  [[nodiscard]] std::string Problem(CURLcode code) const {
    switch (code) {
      case CURLE_COULDNT_RESOLVE_HOST:
        return "the name leads nowhere";
      case CURLE_COULDNT_CONNECT:
        return "nobody listens there";
      case CURLE_OPERATION_TIMEDOUT:
        return "there was no answer in time";
      case CURLE_PEER_FAILED_VERIFICATION:
        return "its certificate isn't one to trust, or not one of " + question.host;
      case CURLE_SSL_CACERT_BADFILE:
        return question.authorities + " holds no certificates";
      case CURLE_SSL_CONNECT_ERROR:
        return "it doesn't speak TLS as it should";
      case CURLE_WRITE_ERROR:
        if (isTooLong) return "its answer is too large";
        [[fallthrough]];
      default:
        return std::string("its answer isn't whole: ") + curl_easy_strerror(code);
    }
  }

  const ZRHttpQuestion& question;
  tagList places;
  tagList headers;
  tagHandle handle;
  CURLcode fault = CURLE_OK;  // of an option that isn't taken: then nothing is sent
  bool isTooLong = false;
  ZRHttpReply reply;
};

}  // namespace

ZRHttpReply FetchHttp(const ZRHttpQuestion& question) {
  static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
  (void)isReady;
  return CFetch(question).Run();
}

std::string HttpPlace(const ZRHttpQuestion& question) {
  return (question.isSecure ? "https://" : "http://") + InUrl(question.host) + ":" +
         std::to_string(question.port);
}

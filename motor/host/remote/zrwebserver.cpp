#include "host/remote/zrwebserver.h"

#include <microhttpd.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/remote/zracceptencoding.h"
#include "host/remote/zrasciitext.h"
#include "host/remote/zrhttpanswer.h"
#include "host/remote/zrlistensocket.h"
#include "host/remote/zropenconnections.h"
#include "host/remote/zrquerytext.h"
#include "host/remote/zrrequestprogress.h"
#include "host/remote/zrrequestrules.h"

namespace {

constexpr std::size_t kReplyHeadBytes = std::size_t{8} * 1024;
constexpr const char* kXmlType = "application/xml; charset=utf-8";
constexpr const char* kTextType = "text/plain; charset=utf-8";
constexpr const char* kAllowedToRead = "GET, HEAD";
constexpr const char* kAllowedToWrite = "PUT, POST";

struct CDestroyResponse {
  void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using tagResponse = std::unique_ptr<MHD_Response, CDestroyResponse>;

void AddHeader(MHD_Response* response, const char* name, const char* value) {
  if (MHD_add_response_header(response, name, value) != MHD_YES) throw std::bad_alloc();
}

void FreeText(void* text) {
  const std::unique_ptr<std::string> owned(static_cast<std::string*>(text));
}

tagResponse ResponseOfText(std::string text) {
  auto kept = std::make_unique<std::string>(std::move(text));
  tagResponse response(MHD_create_response_from_buffer_with_free_callback_cls(
      kept->size(), kept->data(), &FreeText, kept.get()));
  if (response == nullptr) throw std::bad_alloc();
  (void)kept.release();
  return response;
}

tagResponse ResponseOfFile(int file, std::uint64_t size) {
  tagResponse response(MHD_create_response_from_fd64(size, file));
  if (response != nullptr) return response;
  (void)::close(file);
  throw std::bad_alloc();
}

tagResponse ResponseOf(ZRHttpAnswer& answer) {
  ZRAnswerBody& body = answer.Body();
  tagResponse response = body.IsInFile() ? ResponseOfFile(body.TakeFile(), body.Size())
                                         : ResponseOfText(body.TakeMemory());
  if (!answer.HasBody()) return response;
  AddHeader(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, answer.IsText() ? kTextType : kXmlType);
  AddHeader(response.get(), MHD_HTTP_HEADER_VARY, MHD_HTTP_HEADER_ACCEPT_ENCODING);
  const char* const coding = ContentCodingName(answer.Coding());
  if (coding != nullptr) AddHeader(response.get(), MHD_HTTP_HEADER_CONTENT_ENCODING, coding);
  return response;
}

// Leaves the target of a request as it came.
std::size_t KeepEscapes(void*, MHD_Connection*, char* text) {
  return std::string_view(text).size();
}

// The headers that the server looks at.
struct CRequestHeaders {
  ZRRequestHead head;
  std::string acceptEncoding;
  std::string_view authorization;
  bool complete = true;

  void Take(std::string_view name, std::string_view value);
};

void CRequestHeaders::Take(std::string_view name, std::string_view value) {
  head.isMalformed = head.isMalformed || !IsHeader(name, value);
  if (EqualIgnoringCase(name, "host")) {
    head.hosts.push_back(value);
  } else if (EqualIgnoringCase(name, "content-length")) {
    head.contentLengths.push_back(value);
  } else if (EqualIgnoringCase(name, "transfer-encoding")) {
    head.hasTransferEncoding = true;
  } else if (EqualIgnoringCase(name, "accept-encoding")) {
    acceptEncoding.append(value).append(",");
  } else if (EqualIgnoringCase(name, "origin")) {
    head.origins.push_back(value);
  } else if (EqualIgnoringCase(name, "authorization") && authorization.empty()) {
    authorization = value;
  }
}

MHD_Result TakeHeader(void* headers, MHD_ValueKind, const char* name, std::size_t nameSize,
                      const char* value, std::size_t valueSize) {
  auto& taken = *static_cast<CRequestHeaders*>(headers);
  try {
    taken.Take({name, nameSize}, {value != nullptr ? value : "", valueSize});
  } catch (const std::exception&) {
    taken.complete = false;
    return MHD_NO;
  }
  return MHD_YES;
}

CRequestHeaders HeadersOf(MHD_Connection* connection) {
  CRequestHeaders headers;
  (void)MHD_get_connection_values_n(connection, MHD_HEADER_KIND, &TakeHeader, &headers);
  if (!headers.complete) throw std::bad_alloc();
  const MHD_ConnectionInfo* const size =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE);
  headers.head.headBytes = size != nullptr ? size->header_size : 0;
  return headers;
}

class CHttpRequest final : public ZRHttpRequest {
 public:
  CHttpRequest(MHD_Connection* toRead, const CRequestHeaders& headers)
      : connection(toRead),
        coding(ChooseContentCoding(headers.acceptEncoding)),
        authorization(ZRString(headers.authorization), {}) {}

  [[nodiscard]] bool AcceptDeflate() const override { return coding != ZRContentCoding::kIdentity; }
  [[nodiscard]] const ZRHttpAuthorization& Authorization() const override { return authorization; }
  [[nodiscard]] ZRString Parameter(std::string_view name) const override {
    const char* value = nullptr;
    std::size_t size = 0;
    const auto found = MHD_lookup_connection_value_n(connection, MHD_GET_ARGUMENT_KIND, name.data(),
                                                     name.size(), &value, &size);
    return found == MHD_YES && value != nullptr ? UndoPercents({value, size}) : ZRString();
  }
  [[nodiscard]] ZRContentCoding Coding() const { return coding; }

 private:
  MHD_Connection* const connection;
  const ZRContentCoding coding;
  const ZRHttpAuthorization authorization;
};

// What answers at a path.
struct CBoundRoute {
  ZRWebServer::tagBodyRoute answer;
  bool takesBody = false;
  std::size_t mostBodyBytes = 0;
};

// A request from its head to the end of its answer.
struct CRequestInProgress {
  std::string body;
  std::size_t mostBodyBytes = 0;  // 0: it has none, or is refused
};

// The time in which a route runs, if any may be called.
class CRouteTurn {
 public:
  explicit CRouteTurn(ZRRequestProgress& ofServer)
      : progress(ofServer), taken(progress.BeginRoute()) {}
  ~CRouteTurn() {
    if (taken) progress.EndRoute();
  }
  CRouteTurn(const CRouteTurn&) = delete;
  CRouteTurn& operator=(const CRouteTurn&) = delete;
  [[nodiscard]] bool Taken() const { return taken; }

 private:
  ZRRequestProgress& progress;
  const bool taken;
};

}  // namespace

// The library behind the server. Its threads call OnRequest once when the head of a request is
// there and again when all of it is, and OnCompleted when the answer has gone.
class ZRWebServer::CServer {
 public:
  ~CServer() { Stop(); }

  bool Start(const ZRWebServerSettings& settings, std::string& reason);
  void Stop();

  std::map<std::string, CBoundRoute, std::less<>> routes;  // constant after Start
  tagFault fault;                                          // constant after Start
  ZRListenSocket listener;

 private:
  static MHD_Result OnRequest(void* server, MHD_Connection* connection, const char* url,
                              const char* method, const char* version, const char* upload,
                              std::size_t* uploadSize, void** state);
  static void OnCompleted(void* server, MHD_Connection* connection, void** state,
                          MHD_RequestTerminationCode how);

  static void OnConnection(void* server, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode what);

  bool StartDaemon(const ZRWebServerSettings& settings);
  MHD_Result Begin(MHD_Connection* connection, std::string_view path, std::string_view method,
                   CRequestInProgress& request);
  MHD_Result Finish(MHD_Connection* connection, std::string_view path, std::string_view method,
                    const CRequestInProgress& request);
  CRequestHeaders RequestOf(MHD_Connection* connection, std::string_view path,
                            std::string_view method) const;
  MHD_Result Answer(MHD_Connection* connection, std::string_view path,
                    const CRequestHeaders& headers, const std::string& body);
  bool CallRoute(std::string_view path, CHttpRequest& request, const std::string& body,
                 ZRHttpAnswer& answer);
  void TellFault(std::string_view path, const char* what) const;
  MHD_Result Refuse(MHD_Connection* connection, int status, const char* allowed = nullptr);
  MHD_Result Send(MHD_Connection* connection, int status, const tagResponse& response);

  ZRAnswerLimits limits;               // constant after Start
  std::size_t mostHeadBytes = 0;       // constant after Start
  std::uint32_t stopMilliseconds = 0;  // the host's thread only
  ZRRequestProgress progress;
  ZROpenConnections connections;
  MHD_Daemon* daemon = nullptr;  // the host's thread only
};

bool ZRWebServer::CServer::Start(const ZRWebServerSettings& settings, std::string& reason) {
  if (daemon != nullptr) {
    reason = "the web server runs already";
    return false;
  }
  if (settings.threads == 0 || settings.connections < settings.threads) {
    reason = "the web server needs a thread, and a connection for each of its threads";
    return false;
  }
  std::error_code ignored;
  limits = {settings.memoryBytes, settings.answerBytes, settings.temporaryFolder};
  if (limits.temporaryFolder.empty()) {
    limits.temporaryFolder = std::filesystem::temp_directory_path(ignored).string();
  }
  mostHeadBytes = settings.headerBytes;
  stopMilliseconds = settings.stopMilliseconds;
  if (!listener.Open(settings.address, settings.port, reason)) return false;
  progress.Open();
  connections.Allow();
  if (StartDaemon(settings)) return true;
  listener.Close();
  reason = "the threads of the web server can't be started";
  return false;
}

bool ZRWebServer::CServer::StartDaemon(const ZRWebServerSettings& settings) {
  // Not its epoll: that overlooks clients that leave, and can abort when it is made quiet.
  constexpr unsigned int kFlags = MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC;
  // The library reads a head into half of a connection's memory, and notes its parts beside.
  const std::size_t connectionBytes = 2 * settings.headerBytes + kReplyHeadBytes;
  const unsigned int pool = settings.threads > 1 ? settings.threads : 0;
  daemon = MHD_start_daemon(
      kFlags, 0, nullptr, nullptr, &OnRequest, this, MHD_OPTION_LISTEN_SOCKET,
      listener.Descriptor(), MHD_OPTION_THREAD_POOL_SIZE, pool, MHD_OPTION_CONNECTION_LIMIT,
      settings.connections, MHD_OPTION_CONNECTION_TIMEOUT, settings.idleSeconds,
      MHD_OPTION_CONNECTION_MEMORY_LIMIT, connectionBytes, MHD_OPTION_UNESCAPE_CALLBACK,
      &KeepEscapes, nullptr, MHD_OPTION_NOTIFY_COMPLETED, &OnCompleted, this,
      MHD_OPTION_NOTIFY_CONNECTION, &OnConnection, this, MHD_OPTION_END);
  return daemon != nullptr;
}

void ZRWebServer::CServer::Stop() {
  if (daemon == nullptr) return;
  progress.Shut();
  (void)MHD_quiesce_daemon(daemon);
  listener.Refuse();
  progress.WaitUntilQuiet(stopMilliseconds);
  // The library must have nothing left to read when it stops: an answer of its own to a request
  // that isn't HTTP, begun in that moment, would crash it.
  connections.ShutAll();
  (void)connections.WaitUntilNone(stopMilliseconds);
  MHD_stop_daemon(std::exchange(daemon, nullptr));
  listener.Close();
}

// Called with the head, then with the parts of a body, then without any.
// NOLINTNEXTLINE(readability-function-size): the library calls it so.
MHD_Result ZRWebServer::CServer::OnRequest(void* server, MHD_Connection* connection,
                                           const char* url, const char* method, const char*,
                                           const char* upload, std::size_t* uploadSize,
                                           void** state) {
  auto& self = *static_cast<CServer*>(server);
  try {
    if (*state == nullptr) {
      auto request = std::make_unique<CRequestInProgress>();
      self.progress.BeginRequest();
      *state = request.release();
      return self.Begin(connection, url, method, *static_cast<CRequestInProgress*>(*state));
    }
    auto& request = *static_cast<CRequestInProgress*>(*state);
    if (*uploadSize == 0) return self.Finish(connection, url, method, request);
    if (request.mostBodyBytes - request.body.size() < *uploadSize) return MHD_NO;
    request.body.append(upload, *uploadSize);
    *uploadSize = 0;
    return MHD_YES;
  } catch (const std::exception&) {
    return MHD_NO;
  }
}

void ZRWebServer::CServer::OnCompleted(void* server, MHD_Connection*, void** state,
                                       MHD_RequestTerminationCode) {
  const std::unique_ptr<CRequestInProgress> request(
      static_cast<CRequestInProgress*>(std::exchange(*state, nullptr)));
  if (request != nullptr) static_cast<CServer*>(server)->progress.EndRequest();
}

void ZRWebServer::CServer::OnConnection(void* server, MHD_Connection* connection, void**,
                                        MHD_ConnectionNotificationCode what) {
  auto& connections = static_cast<CServer*>(server)->connections;
  const int socket =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
  if (what == MHD_CONNECTION_NOTIFY_STARTED) {
    connections.Add(socket);
  } else {
    connections.Remove(socket);
  }
}

CRequestHeaders ZRWebServer::CServer::RequestOf(MHD_Connection* connection, std::string_view path,
                                                std::string_view method) const {
  CRequestHeaders headers = HeadersOf(connection);
  const auto route = routes.find(path);
  headers.head.method = method;
  headers.head.isKnownPath = route != routes.end();
  if (headers.head.isKnownPath) {
    headers.head.takesBody = route->second.takesBody;
    headers.head.mostBodyBytes = route->second.mostBodyBytes;
  }
  return headers;
}

// What has no body is refused when it is whole: then the connection can be used again after the
// answer. What has one is refused before it comes.
MHD_Result ZRWebServer::CServer::Begin(MHD_Connection* connection, std::string_view path,
                                       std::string_view method, CRequestInProgress& request) {
  const CRequestHeaders headers = RequestOf(connection, path, method);
  if (BodyOf(headers.head) == ZRRequestBody::kNone) return MHD_YES;
  const int refusal = RefusalOf(headers.head, mostHeadBytes);
  if (refusal != 0) {
    return Refuse(connection, refusal, headers.head.takesBody ? kAllowedToWrite : kAllowedToRead);
  }
  request.mostBodyBytes = headers.head.mostBodyBytes;
  return MHD_YES;
}

MHD_Result ZRWebServer::CServer::Finish(MHD_Connection* connection, std::string_view path,
                                        std::string_view method,
                                        const CRequestInProgress& request) {
  const CRequestHeaders headers = RequestOf(connection, path, method);
  const int refusal = RefusalOf(headers.head, mostHeadBytes);
  if (refusal == 0) return Answer(connection, path, headers, request.body);
  return Refuse(connection, refusal, headers.head.takesBody ? kAllowedToWrite : kAllowedToRead);
}

MHD_Result ZRWebServer::CServer::Answer(MHD_Connection* connection, std::string_view path,
                                        const CRequestHeaders& headers, const std::string& body) {
  CHttpRequest request(connection, headers);
  ZRHttpAnswer answer(limits, request.Coding());
  {
    const CRouteTurn turn(progress);
    if (!turn.Taken()) return Refuse(connection, kStatusUnavailable);
    if (!CallRoute(path, request, body, answer)) return Refuse(connection, kStatusInternalError);
  }
  return Send(connection, answer.Status(), ResponseOf(answer));
}

bool ZRWebServer::CServer::CallRoute(std::string_view path, CHttpRequest& request,
                                     const std::string& body, ZRHttpAnswer& answer) {
  try {
    routes.find(path)->second.answer(request, body, answer);
    return answer.IsComplete();
  } catch (const std::exception& thrown) {
    TellFault(path, thrown.what());
  } catch (...) {
    TellFault(path, "unknown exception");
  }
  return false;
}

void ZRWebServer::CServer::TellFault(std::string_view path, const char* what) const {
  if (fault) fault(path, what);
}

// `allowed`: the methods that a refused one is told of.
MHD_Result ZRWebServer::CServer::Refuse(MHD_Connection* connection, int status,
                                        const char* allowed) {
  const std::string number = std::to_string(status);
  const char* const phrase = MHD_get_reason_phrase_for(static_cast<unsigned int>(status));
  const tagResponse response = ResponseOfText(number + " " + phrase + "\n");
  AddHeader(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, kTextType);
  if (status == kStatusMethodNotAllowed && allowed != nullptr) {
    AddHeader(response.get(), MHD_HTTP_HEADER_ALLOW, allowed);
  }
  return Send(connection, status, response);
}

MHD_Result ZRWebServer::CServer::Send(MHD_Connection* connection, int status,
                                      const tagResponse& response) {
  AddHeader(response.get(), MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
  AddHeader(response.get(), "X-Content-Type-Options", "nosniff");
  if (progress.IsShut()) AddHeader(response.get(), MHD_HTTP_HEADER_CONNECTION, "close");
  return MHD_queue_response(connection, static_cast<unsigned int>(status), response.get());
}

ZRWebServer::ZRWebServer() : server(std::make_unique<CServer>()) {}

ZRWebServer::~ZRWebServer() = default;

void ZRWebServer::Get(std::string_view path, tagRoute route) {
  auto answer = [toCall = std::move(route)](ZRHttpRequest& request, const std::string&,
                                            ZRHttpResponse& response) {
    toCall(request, response);
  };
  server->routes.insert_or_assign(std::string(path), CBoundRoute{std::move(answer)});
}

void ZRWebServer::Put(std::string_view path, std::size_t mostBytes, tagBodyRoute route) {
  server->routes.insert_or_assign(std::string(path),
                                  CBoundRoute{std::move(route), true, mostBytes});
}

void ZRWebServer::OnFault(tagFault fault) {
  server->fault = std::move(fault);
}

bool ZRWebServer::Start(const ZRWebServerSettings& settings, ZRString& reason) {
  std::string words;
  if (server->Start(settings, words)) return true;
  reason = words.c_str();
  return false;
}

void ZRWebServer::Stop() {
  server->Stop();
}

std::uint16_t ZRWebServer::Port() const {
  return server->listener.Port();
}

#include "host/remote/zrwebserver.h"

#include <microhttpd.h>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <map>
#include <new>
#include <system_error>
#include <utility>

#include "host/platform/zrthread.h"
#include "host/remote/zrbytebudget.h"
#include "host/remote/zrlistensocket.h"
#include "host/remote/zropenconnections.h"
#include "host/remote/zrrequestprogress.h"
#include "host/remote/zrrequestrules.h"
#include "host/remote/zrservicethreads.h"
#include "host/remote/zrwebheaders.h"
#include "host/remote/zrwebrequest.h"
#include "host/remote/zrwebresponse.h"

namespace {

constexpr std::size_t kReplyHeadBytes = std::size_t{8} * 1024;
constexpr const char* kAllowedToRead = "GET, HEAD";
constexpr const char* kAllowedToWrite = "PUT, POST";
constexpr const char* kTlsVersions = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2";
// Of the library, to close what has been shut. It takes moments.
constexpr std::uint32_t kCloseMilliseconds = 10'000;
constexpr std::uint32_t kRetrySeconds = 1;  // where there was no room for a body

// Leaves the target of a request as it came.
std::size_t KeepEscapes(void*, MHD_Connection*, char* text) {
  return std::string_view(text).size();
}

int SocketOf(MHD_Connection* connection) {
  return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

std::string PeerOf(MHD_Connection* connection) {
  const MHD_ConnectionInfo* const info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  return info != nullptr && info->client_addr != nullptr
             ? ZRSocketAddress(*info->client_addr).Text()
             : std::string();
}

// The time between two looks at the clients' pace, in ms.
std::uint32_t WatchPeriod(const ZRPaceLimits& pace) {
  constexpr std::uint32_t kLooks = 8;  // in the shortest limit
  constexpr std::uint32_t kLeast = 10;
  constexpr std::uint32_t kMost = 250;
  return std::clamp(std::min(pace.headMilliseconds, pace.graceMilliseconds) / kLooks, kLeast,
                    kMost);
}

// What answers at a path.
struct CBoundRoute {
  ZRWebServer::tagBodyRoute answer;
  bool takesBody = false;
  std::size_t mostBodyBytes = 0;
  ZRWebServer::tagFor whom = ZRWebServer::tagFor::kUsers;
  ZRWebServer::tagPace pace = ZRWebServer::tagPace::kQuick;
};

// The call of a route, with its answer.
struct CRouteCall {
  CRouteCall(MHD_Connection* connection, const ZRWebHeaders& headers, std::string_view user,
             const ZRAnswerLimits& limits)
      : asked(connection, headers, user), answer(limits, asked.Coding()) {}

  ZRWebRequest asked;
  ZRHttpAnswer answer;
  int refusal = 0;  // a status in place of the answer; 0 for none
  ZRMutex mutex;    // a leaf
  bool isOver ZR_GUARDED_BY(mutex) = false;

  void End() ZR_EXCLUDES(mutex) {
    const ZRMutexLock lock(mutex);
    isOver = true;
  }
  [[nodiscard]] bool IsOver() ZR_EXCLUDES(mutex) {
    const ZRMutexLock lock(mutex);
    return isOver;
  }
};

// A request from its first line to the end of its answer.
struct CRequestInProgress {
  std::string target;  // as it came
  bool hasHead = false;
  bool isCounted = false;  // as one that Stop waits for
  int refusal = 0;         // a status; 0 for none
  ZRLoginVerdict login;
  std::string body;
  std::size_t bodyBytes = 0;           // as stated, and taken of the budget
  std::unique_ptr<CRouteCall> called;  // once its route is called
};

// A connection, from its accept to its close. It owns its request: the library says nothing of the
// end of one whose query it can't take.
struct CConnection {
  std::unique_ptr<CRequestInProgress> request;
};

// Null if there was no memory for it.
CConnection* ConnectionOf(MHD_Connection* connection) {
  const MHD_ConnectionInfo* const info =
      MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
  return info != nullptr ? static_cast<CConnection*>(info->socket_context) : nullptr;
}

// What the library says of a request each time.
struct CCall {
  MHD_Connection* connection;
  std::string_view path;
  std::string_view method;
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

// How a request is refused by what was found of its sender; 0 if it isn't.
int StatusOf(ZRLoginVerdict::tagKind kind) {
  if (kind == ZRLoginVerdict::tagKind::kRefused) return kStatusUnauthorized;
  return kind == ZRLoginVerdict::tagKind::kThrottled ? kStatusTooManyRequests : 0;
}

void AddChallenges(ZRWebResponse& response, const std::vector<std::string>& challenges) {
  for (const std::string& challenge : challenges)
    response.Add(MHD_HTTP_HEADER_WWW_AUTHENTICATE, challenge);
}

void AddRetry(ZRWebResponse& response, std::uint32_t seconds) {
  response.Add(MHD_HTTP_HEADER_RETRY_AFTER, std::to_string(seconds));
}

}  // namespace

// The library behind the server. Its threads call OnTarget when the first line of a request is
// there, OnRequest when its head is, with each part of its body and when all of it has come, and
// OnCompleted when the answer has gone, or never will.
class ZRWebServer::CServer {
 public:
  ~CServer() { Stop(); }

  bool Start(const ZRWebServerSettings& settings, std::string& reason);
  void Stop();

  std::map<std::string, CBoundRoute, std::less<>> routes;  // constant after Start
  tagFault fault;                                          // constant after Start
  tagLoginNote loginNote;                                  // constant after Start
  ZRAuthenticator* authenticator = nullptr;                // constant after Start
  ZRListenSocket listener;

 private:
  static void* OnTarget(void* server, const char* target, MHD_Connection* connection);
  static MHD_Result OnRequest(void* server, MHD_Connection* connection, const char* url,
                              const char* method, const char* version, const char* upload,
                              std::size_t* uploadSize, void** state);
  static void OnCompleted(void* server, MHD_Connection* connection, void** state,
                          MHD_RequestTerminationCode how);
  static void OnConnection(void* server, MHD_Connection* connection, void** context,
                           MHD_ConnectionNotificationCode what);

  void TakeSettings(const ZRWebServerSettings& settings);
  bool StartThreads(const ZRWebServerSettings& settings);
  bool StartDaemon(const ZRWebServerSettings& settings);
  void EndWatch();
  ZRWebHeaders HeadersOfCall(const CCall& call) const;
  MHD_Result Begin(const CCall& call, CRequestInProgress& request);
  MHD_Result Finish(const CCall& call, CRequestInProgress& request);
  void JudgeHead(const CCall& call, const ZRWebHeaders& headers, CRequestInProgress& request);
  bool MakeRoom(std::size_t bytes, CRequestInProgress& request);
  void Count(CRequestInProgress& request);
  void Open(int socket, void** context);
  void Close(int socket, void** context);
  void Complete(CConnection* connection);
  MHD_Result CallRoute(const CCall& call, CRequestInProgress& request);
  MHD_Result CallLater(const CCall& call, CRequestInProgress& request);
  MHD_Result Answer(const CCall& call, const CRequestInProgress& request);
  void RunRoute(std::string_view path, const std::string& body, CRouteCall& called);
  bool RunRoute(std::string_view path, ZRWebRequest& request, const std::string& body,
                ZRHttpAnswer& answer);
  void TellFault(std::string_view path, const char* what) const;
  void TellNote(const ZRLoginVerdict& login) const;
  ZRLoginVerdict Judge(const CCall& call, const CRequestInProgress& request,
                       std::string_view authorization) const;
  MHD_Result Refuse(const CCall& call, const CRequestInProgress& request, int status);
  MHD_Result Send(const CCall& call, ZRWebResponse& response);

  ZRAnswerLimits limits;               // constant after Start
  ZRServerRules rules;                 // constant after Start
  std::uint32_t stopMilliseconds = 0;  // the host's thread only
  ZRRequestProgress progress;
  ZROpenConnections connections;
  ZRByteBudget bodyRoom;
  ZRServiceThreads waiters;      // of routes that may wait
  ZRThread watch;                // the host's thread only
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
  if (!listener.Open(settings.address, settings.port, reason)) return false;
  TakeSettings(settings);
  progress.Open();
  connections.Allow(settings.pace);
  if (StartThreads(settings)) return true;
  listener.Close();
  reason = "the threads of the web server can't be started";
  return false;
}

// Behind the opening of the listener.
void ZRWebServer::CServer::TakeSettings(const ZRWebServerSettings& settings) {
  std::error_code ignored;
  limits = {settings.memoryBytes, settings.answerBytes, settings.temporaryFolder};
  if (limits.temporaryFolder.empty()) {
    limits.temporaryFolder = std::filesystem::temp_directory_path(ignored).string();
  }
  const bool isFour = listener.Address().Family() == AF_INET;
  rules = {settings.headerBytes,
           {settings.names, !listener.Address().IsLoopback()},
           !settings.tls.certificate.empty()};
  rules.host.names.push_back(isFour ? settings.address : "[" + settings.address + "]");
  bodyRoom.Allow(settings.bodyBytes);
  stopMilliseconds = settings.stopMilliseconds;
}

bool ZRWebServer::CServer::StartThreads(const ZRWebServerSettings& settings) {
  const std::uint32_t period = WatchPeriod(settings.pace);
  if (!waiters.Start(settings.waitingThreads)) return false;
  if (watch.Start([this, period] { connections.Watch(period); })) {
    if (StartDaemon(settings)) return true;
    EndWatch();
  }
  waiters.End();
  return false;
}

void ZRWebServer::CServer::EndWatch() {
  connections.EndWatch();
  watch.Join();
}

bool ZRWebServer::CServer::StartDaemon(const ZRWebServerSettings& settings) {
  // Not its epoll: that overlooks clients that leave, and can abort when it is made quiet.
  constexpr unsigned int kFlags =
      MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL | MHD_USE_ITC | MHD_ALLOW_SUSPEND_RESUME;
  const unsigned int tlsFlag = rules.isSecure ? unsigned{MHD_USE_TLS} : 0u;
  const auto option = [](MHD_OPTION name, const char* text) {
    return MHD_OptionItem{name, 0, const_cast<char*>(text)};
  };
  const MHD_OptionItem end{MHD_OPTION_END, 0, nullptr};
  std::array<MHD_OptionItem, 4> tls{
      option(MHD_OPTION_HTTPS_MEM_CERT, settings.tls.certificate.c_str()),
      option(MHD_OPTION_HTTPS_MEM_KEY, settings.tls.key.c_str()),
      option(MHD_OPTION_HTTPS_PRIORITIES, kTlsVersions), end};
  if (!rules.isSecure) tls.front() = end;
  // The library reads a head into half of a connection's memory, and notes its parts beside.
  const std::size_t connectionBytes = 2 * settings.headerBytes + kReplyHeadBytes;
  const unsigned int pool = settings.threads > 1 ? settings.threads : 0;
  daemon = MHD_start_daemon(
      kFlags | tlsFlag, 0, nullptr, nullptr, &OnRequest, this, MHD_OPTION_LISTEN_SOCKET,
      listener.Descriptor(), MHD_OPTION_THREAD_POOL_SIZE, pool, MHD_OPTION_CONNECTION_LIMIT,
      settings.connections, MHD_OPTION_PER_IP_CONNECTION_LIMIT, settings.connectionsPerAddress,
      MHD_OPTION_CONNECTION_TIMEOUT, settings.idleSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT,
      connectionBytes, MHD_OPTION_UNESCAPE_CALLBACK, &KeepEscapes, nullptr,
      MHD_OPTION_URI_LOG_CALLBACK, &OnTarget, this, MHD_OPTION_NOTIFY_COMPLETED, &OnCompleted, this,
      MHD_OPTION_NOTIFY_CONNECTION, &OnConnection, this, MHD_OPTION_ARRAY, tls.data(),
      MHD_OPTION_END);
  return daemon != nullptr;
}

void ZRWebServer::CServer::Stop() {
  if (daemon == nullptr) return;
  progress.Shut();
  (void)MHD_quiesce_daemon(daemon);
  listener.Refuse();
  progress.WaitUntilQuiet(stopMilliseconds);
  waiters.End();  // then no connection is set aside any more
  // The library must have nothing left to read when it stops: an answer of its own to a request
  // that isn't HTTP, begun in that moment, would crash it.
  connections.ShutAll();
  (void)connections.WaitUntilNone(kCloseMilliseconds);
  MHD_stop_daemon(std::exchange(daemon, nullptr));
  EndWatch();
  listener.Close();
}

void* ZRWebServer::CServer::OnTarget(void* server, const char* target, MHD_Connection* connection) {
  auto& self = *static_cast<CServer*>(server);
  CConnection* const owner = ConnectionOf(connection);
  if (owner == nullptr) return nullptr;
  self.Complete(owner);
  try {
    auto request = std::make_unique<CRequestInProgress>();
    if (target != nullptr) request->target = target;
    owner->request = std::move(request);
  } catch (const std::exception&) {
    return nullptr;
  }
  self.connections.Begin(SocketOf(connection), ZRConnectionStep::kHead);
  return owner->request.get();
}

// NOLINTNEXTLINE(readability-function-size): the library calls it so.
MHD_Result ZRWebServer::CServer::OnRequest(void* server, MHD_Connection* connection,
                                           const char* url, const char* method, const char*,
                                           const char* upload, std::size_t* uploadSize,
                                           void** state) {
  if (*state == nullptr) return MHD_NO;
  auto& self = *static_cast<CServer*>(server);
  auto& request = *static_cast<CRequestInProgress*>(*state);
  const CCall call{connection, url, method};
  try {
    if (!std::exchange(request.hasHead, true)) return self.Begin(call, request);
    if (*uploadSize == 0) return self.Finish(call, request);
    if (request.bodyBytes - request.body.size() < *uploadSize) return MHD_NO;
    request.body.append(upload, *uploadSize);
    *uploadSize = 0;
    return MHD_YES;
  } catch (const std::exception&) {
    return MHD_NO;
  }
}

void ZRWebServer::CServer::OnCompleted(void* server, MHD_Connection* connection, void** state,
                                       MHD_RequestTerminationCode) {
  *state = nullptr;
  auto& self = *static_cast<CServer*>(server);
  self.Complete(ConnectionOf(connection));
  self.connections.Begin(SocketOf(connection), ZRConnectionStep::kWaits);
}

void ZRWebServer::CServer::Count(CRequestInProgress& request) {
  if (!std::exchange(request.isCounted, true)) progress.BeginRequest();
}

// Of the request of the connection, if it has one.
void ZRWebServer::CServer::Complete(CConnection* connection) {
  if (connection == nullptr || connection->request == nullptr) return;
  const std::unique_ptr<CRequestInProgress> request = std::move(connection->request);
  bodyRoom.GiveBack(request->bodyBytes);
  if (request->isCounted) progress.EndRequest();
}

void ZRWebServer::CServer::OnConnection(void* server, MHD_Connection* connection, void** context,
                                        MHD_ConnectionNotificationCode what) {
  auto& self = *static_cast<CServer*>(server);
  const int socket = SocketOf(connection);
  if (what == MHD_CONNECTION_NOTIFY_STARTED) {
    self.Open(socket, context);
  } else {
    self.Close(socket, context);
  }
}

void ZRWebServer::CServer::Open(int socket, void** context) {
  try {
    *context = std::make_unique<CConnection>().release();
  } catch (const std::bad_alloc&) {
    *context = nullptr;
  }
  connections.Add(socket);
}

void ZRWebServer::CServer::Close(int socket, void** context) {
  const std::unique_ptr<CConnection> closed(
      static_cast<CConnection*>(std::exchange(*context, nullptr)));
  Complete(closed.get());
  connections.Remove(socket);
}

ZRWebHeaders ZRWebServer::CServer::HeadersOfCall(const CCall& call) const {
  ZRWebHeaders headers = HeadersOf(call.connection);
  const auto route = routes.find(call.path);
  headers.head.method = call.method;
  headers.head.isKnownPath = route != routes.end();
  if (headers.head.isKnownPath) {
    headers.head.takesBody = route->second.takesBody;
    headers.head.mostBodyBytes = route->second.mostBodyBytes;
  }
  return headers;
}

// What has no body is refused when it is whole: then the connection can be used again after the
// answer. What has one is refused before it comes.
MHD_Result ZRWebServer::CServer::Begin(const CCall& call, CRequestInProgress& request) {
  const ZRWebHeaders headers = HeadersOfCall(call);
  JudgeHead(call, headers, request);
  const bool hasBody = BodyOf(headers.head) != ZRRequestBody::kNone;
  if (!hasBody) {
    Count(request);
    return MHD_YES;
  }
  if (request.refusal == 0 && !MakeRoom(LengthOfBody(headers.head), request)) {
    request.refusal = kStatusUnavailable;
  }
  if (request.refusal != 0) return Refuse(call, request, request.refusal);
  connections.Begin(SocketOf(call.connection), ZRConnectionStep::kBody);
  return MHD_YES;
}

void ZRWebServer::CServer::JudgeHead(const CCall& call, const ZRWebHeaders& headers,
                                     CRequestInProgress& request) {
  request.login.kind = ZRLoginVerdict::tagKind::kOpen;
  request.refusal = RefusalOf(headers.head, rules);
  if (request.refusal != 0 || routes.find(call.path)->second.whom == tagFor::kEverybody) return;
  request.login = Judge(call, request, headers.authorization);
  TellNote(request.login);
  request.refusal = StatusOf(request.login.kind);
}

bool ZRWebServer::CServer::MakeRoom(std::size_t bytes, CRequestInProgress& request) {
  if (!bodyRoom.Take(bytes)) return false;
  request.bodyBytes = bytes;
  request.body.reserve(bytes);
  return true;
}

// Called once more when a route that may wait is over.
MHD_Result ZRWebServer::CServer::Finish(const CCall& call, CRequestInProgress& request) {
  if (request.called != nullptr) return Answer(call, request);
  Count(request);
  connections.Begin(SocketOf(call.connection), ZRConnectionStep::kRoute);
  if (request.refusal == 0 && request.login.kind == ZRLoginVerdict::tagKind::kNeedsBody) {
    request.login = authenticator->JudgeBody(request.login, request.body);
    TellNote(request.login);
    const bool isHis = request.login.kind == ZRLoginVerdict::tagKind::kAccepted;
    const int status = StatusOf(request.login.kind);
    request.refusal = isHis || status != 0 ? status : kStatusUnauthorized;
  }
  if (request.refusal != 0) return Refuse(call, request, request.refusal);
  return CallRoute(call, request);
}

MHD_Result ZRWebServer::CServer::CallRoute(const CCall& call, CRequestInProgress& request) {
  request.called = std::make_unique<CRouteCall>(call.connection, HeadersOfCall(call),
                                                request.login.user, limits);
  if (routes.find(call.path)->second.pace == tagPace::kMayWait) return CallLater(call, request);
  RunRoute(call.path, request.body, *request.called);
  return Answer(call, request);
}

// The connection is set aside: the library does nothing with it until it is taken up again.
MHD_Result ZRWebServer::CServer::CallLater(const CCall& call, CRequestInProgress& request) {
  MHD_Connection* const connection = call.connection;
  auto work = [this, connection, path = std::string(call.path), &request] {
    RunRoute(path, request.body, *request.called);
    MHD_resume_connection(connection);
  };
  MHD_suspend_connection(connection);
  waiters.Do(std::move(work));
  return MHD_YES;
}

void ZRWebServer::CServer::RunRoute(std::string_view path, const std::string& body,
                                    CRouteCall& called) {
  {
    const CRouteTurn turn(progress);
    if (!turn.Taken()) {
      called.refusal = kStatusUnavailable;
    } else if (!RunRoute(path, called.asked, body, called.answer)) {
      called.refusal = kStatusInternalError;
    }
  }
  called.End();
}

MHD_Result ZRWebServer::CServer::Answer(const CCall& call, const CRequestInProgress& request) {
  CRouteCall& called = *request.called;
  if (!called.IsOver()) return MHD_NO;
  if (called.refusal != 0) return Refuse(call, request, called.refusal);
  ZRWebResponse response(called.answer);
  if (called.answer.Status() == kStatusUnauthorized) {
    AddChallenges(response, Judge(call, request, {}).challenges);
  }
  return Send(call, response);
}

bool ZRWebServer::CServer::RunRoute(std::string_view path, ZRWebRequest& request,
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

void ZRWebServer::CServer::TellNote(const ZRLoginVerdict& login) const {
  if (loginNote && !login.note.empty()) loginNote(login.note);
}

ZRLoginVerdict ZRWebServer::CServer::Judge(const CCall& call, const CRequestInProgress& request,
                                           std::string_view authorization) const {
  ZRLoginVerdict everybody;
  everybody.kind = ZRLoginVerdict::tagKind::kOpen;
  if (authenticator == nullptr) return everybody;
  const std::string peer = PeerOf(call.connection);
  return authenticator->Judge({call.method, request.target, authorization, peer, rules.isSecure});
}

MHD_Result ZRWebServer::CServer::Refuse(const CCall& call, const CRequestInProgress& request,
                                        int status) {
  ZRWebResponse response(status);
  if (status == kStatusMethodNotAllowed) {
    const auto route = routes.find(call.path);
    const bool takesBody = route != routes.end() && route->second.takesBody;
    response.Add(MHD_HTTP_HEADER_ALLOW, takesBody ? kAllowedToWrite : kAllowedToRead);
  }
  if (status == kStatusUnauthorized) AddChallenges(response, request.login.challenges);
  if (status == kStatusTooManyRequests) AddRetry(response, request.login.retrySeconds);
  if (status == kStatusUnavailable) AddRetry(response, kRetrySeconds);
  return Send(call, response);
}

MHD_Result ZRWebServer::CServer::Send(const CCall& call, ZRWebResponse& response) {
  response.Add(MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
  response.Add("X-Content-Type-Options", "nosniff");
  if (progress.IsShut()) response.Add(MHD_HTTP_HEADER_CONNECTION, "close");
  connections.Begin(SocketOf(call.connection), ZRConnectionStep::kAnswer);
  return response.Send(call.connection) ? MHD_YES : MHD_NO;
}

ZRWebServer::ZRWebServer() : server(std::make_unique<CServer>()) {}

ZRWebServer::~ZRWebServer() = default;

void ZRWebServer::Get(std::string_view path, tagRoute route, tagFor whom, tagPace pace) {
  auto answer = [toCall = std::move(route)](ZRHttpRequest& request, const std::string&,
                                            ZRHttpResponse& response) {
    toCall(request, response);
  };
  server->routes.insert_or_assign(std::string(path),
                                  CBoundRoute{std::move(answer), false, 0, whom, pace});
}

void ZRWebServer::Put(std::string_view path, std::size_t mostBytes, tagBodyRoute route,
                      tagPace pace) {
  server->routes.insert_or_assign(
      std::string(path), CBoundRoute{std::move(route), true, mostBytes, tagFor::kUsers, pace});
}

void ZRWebServer::Authenticate(ZRAuthenticator* authenticator) {
  server->authenticator = authenticator;
}

void ZRWebServer::OnFault(tagFault fault) {
  server->fault = std::move(fault);
}

void ZRWebServer::OnLoginNote(tagLoginNote note) {
  server->loginNote = std::move(note);
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

// The host's web server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/remote/zrauthenticator.h"
#include "host/remote/zrconnectionpace.h"
#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"
#include "host/remote/zrtlsidentity.h"

// The numbers are those of docs/wire/limits.md.
struct ZRWebServerSettings {
  std::string address = "127.0.0.1";  // in digits, of this machine
  std::uint16_t port = 0;             // 0: any free one
  std::vector<std::string> names;     // under which clients know it, besides its address
  ZRTlsIdentity tls;                  // empty: plain http

  unsigned int threads = 32;
  unsigned int waitingThreads = 16;         // of routes that may wait
  unsigned int connections = 1024;          // at once
  unsigned int connectionsPerAddress = 32;  // at once, of one client
  unsigned int idleSeconds = 15;            // then a silent connection is closed
  ZRPaceLimits pace;                        // what is slower is cut off
  std::uint32_t stopMilliseconds = 1000;    // of Stop, for clients that still take answers
  std::size_t headerBytes = std::size_t{16} * 1024;
  std::size_t bodyBytes = std::size_t{128} * 1024 * 1024;  // of all bodies that are coming
  std::size_t memoryBytes = std::size_t{256} * 1024;       // of an answer, before it goes to a file
  std::uint64_t answerBytes = 1ull << 30;                  // of an answer; beyond, it is given up
  std::string temporaryFolder;                             // of that file; empty for the system's

  bool operator==(const ZRWebServerSettings&) const = default;
};

// Answers requests, over http or https.
//
// What it refuses by itself: an unknown path (404; a path is compared byte by byte, a query is
// passed over), another method (405), a body with a GET (400, and 413 above 64 KiB or of unstated
// length), a body above what its path takes or of unstated length (413), a body that a page of
// another site sends (403), a head that is too large (431), a Host that is another site's name
// (403), whom the authenticator doesn't let in (401, 429), a body for which there is no room (503),
// and whatever isn't HTTP (400, or a closed connection). An answer that a route didn't complete is
// a 500: the client never takes part of an answer for the whole. A client that is too slow is cut
// off.
//
// Threads   Start and Stop on the host's thread; routes and the authenticator are called on the
//           server's own threads, several at a time. They are real ones: a server doesn't run in
//           virtual time.
// Owns      its sockets and threads.
// Promise   nothing is sent before the route has returned: what a route locks is never held for
//           the network. Nobody whom the authenticator doesn't let in has a body read.
class ZRWebServer {
 public:
  // Answers a request: calls Begin, Write, End on the response, or nothing at all for a 500.
  using tagRoute = std::function<void(ZRHttpRequest&, ZRHttpResponse&)>;
  // The same with the body, which may hold any bytes.
  using tagBodyRoute =
      std::function<void(ZRHttpRequest&, const std::string& body, ZRHttpResponse&)>;
  // Told of an exception that left a route, on the route's thread: the path, and what it said.
  using tagFault = std::function<void(std::string_view path, std::string_view what)>;
  // Told of a verdict's `note`, on the thread of the request.
  using tagLoginNote = std::function<void(std::string_view note)>;

  ZRWebServer();
  ~ZRWebServer();  // stops
  ZRWebServer(const ZRWebServer&) = delete;
  ZRWebServer& operator=(const ZRWebServer&) = delete;

  // Who may ask for a path.
  enum class tagFor { kUsers, kEverybody };

  // Whether a route may wait for more than moments: for other machines, or for whole rounds of the
  // engine. One that may is called on a thread of its own kind, so that nobody else waits with it.
  enum class tagPace { kQuick, kMayWait };

  // Binds a GET (and HEAD) of an exact path. Before Start.
  void Get(std::string_view path, tagRoute route, tagFor whom = tagFor::kUsers,
           tagPace pace = tagPace::kQuick);
  // Binds a PUT and POST of an exact path, whose body is of at most `mostBytes`. It is kept in
  // memory and complete when the route is called. Before Start.
  void Put(std::string_view path, std::size_t mostBytes, tagBodyRoute route,
           tagPace pace = tagPace::kQuick);
  // Who says which users send requests, on paths for users; it outlives the server's work. Without
  // one everybody is let in. Before Start.
  void Authenticate(ZRAuthenticator* authenticator);
  // The place for faults, for a log. Before Start.
  void OnFault(tagFault fault);
  // The same for what is to be told of logins. Before Start.
  void OnLoginNote(tagLoginNote note);

  // False with a reason ("port 8080 of 127.0.0.1 is in use") if it can't listen.
  [[nodiscard]] bool Start(const ZRWebServerSettings& settings, ZRString& reason);
  // Takes no new request, lets those in progress finish, and returns when no thread is left. A
  // client that is slow to take its answer is cut off after `stopMilliseconds`. Not from a route.
  void Stop();
  [[nodiscard]] std::uint16_t Port() const;  // while it listens; else 0

 private:
  class CServer;
  std::unique_ptr<CServer> server;
};

// The host's web server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"

struct ZRWebServerSettings {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;  // 0: any free one
  unsigned int threads = 4;
  unsigned int connections = 256;         // at once
  unsigned int idleSeconds = 15;          // then a silent connection is closed
  std::uint32_t stopMilliseconds = 2000;  // of Stop, for clients that still take answers
  std::size_t headerBytes = std::size_t{16} * 1024;
  std::size_t memoryBytes = std::size_t{1024} * 1024;  // of an answer, before it goes to a file
  std::uint64_t answerBytes = 1ull << 30;              // of an answer; beyond, it is given up
  std::string temporaryFolder;                         // of that file; empty for the system's
};

// Answers requests of this machine's own programs.
//
// What it refuses by itself: an unknown path (404; a path is compared byte by byte, a query is
// passed over), another method (405), a body with a GET (400, and 413 above 64 KiB or of unstated
// length), a body above what its path takes or of unstated length (413), a body that a page of
// another site sends (403), a head that is too large (431), a Host that is another site's name
// (403), and whatever isn't HTTP (400, or a closed connection). An answer that a route didn't
// complete is a 500: the client never takes part of an answer for the whole.
//
// Threads   Start and Stop on the host's thread; routes are called on the server's own threads,
//           several at a time. They are real ones: a server doesn't run in virtual time.
// Owns      its sockets and threads.
// Promise   nothing is sent before the route has returned: what a route locks is never held for
//           the network.
class ZRWebServer {
 public:
  // Answers a request: calls Begin, Write, End on the response, or nothing at all for a 500.
  using tagRoute = std::function<void(ZRHttpRequest&, ZRHttpResponse&)>;
  // The same with the body, which may hold any bytes.
  using tagBodyRoute =
      std::function<void(ZRHttpRequest&, const std::string& body, ZRHttpResponse&)>;
  // Told of an exception that left a route, on the route's thread: the path, and what it said.
  using tagFault = std::function<void(std::string_view path, std::string_view what)>;

  ZRWebServer();
  ~ZRWebServer();  // stops
  ZRWebServer(const ZRWebServer&) = delete;
  ZRWebServer& operator=(const ZRWebServer&) = delete;

  // Binds a GET (and HEAD) of an exact path. Before Start.
  void Get(std::string_view path, tagRoute route);
  // Binds a PUT and POST of an exact path, whose body is of at most `mostBytes`. It is kept in
  // memory and complete when the route is called. Before Start.
  void Put(std::string_view path, std::size_t mostBytes, tagBodyRoute route);
  // The place for faults, for a log. Before Start.
  void OnFault(tagFault fault);

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

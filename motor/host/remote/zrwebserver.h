// The host's web server.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"

struct ZRWebServerSettings {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;             // 0: any free one
  unsigned int threads = 4;
  unsigned int connections = 256;     // at once
  unsigned int idleSeconds = 15;      // then a silent connection is closed
  std::size_t headerBytes = 16 * 1024;
  std::size_t memoryBytes = 1024 * 1024;     // of an answer, before it goes to a file
  std::uint64_t answerBytes = 1ull << 30;    // of an answer; beyond, it is given up
};

// Threads   Start and Stop on the host's thread; routes are called on the server's own threads.
// Owns      its sockets and threads.
class ZRWebServer {
 public:
  // Answers a request: calls Begin, Write, End on the response, or nothing at all for a 500.
  using tagRoute = std::function<void(ZRHttpRequest&, ZRHttpResponse&)>;

  ZRWebServer();
  ~ZRWebServer();  // stops
  ZRWebServer(const ZRWebServer&) = delete;
  ZRWebServer& operator=(const ZRWebServer&) = delete;

  // Binds a GET (and HEAD) of an exact path. Before Start.
  void Get(std::string_view path, tagRoute route);

  // False with a reason ("port 8080 of 127.0.0.1 is in use") if it can't listen.
  [[nodiscard]] bool Start(const ZRWebServerSettings& settings, ZRString& reason);
  // Takes no new request, lets those in progress finish, and returns when no thread is left.
  void Stop();
  [[nodiscard]] std::uint16_t Port() const;  // while it listens

 private:
  class CServer;
  std::unique_ptr<CServer> server;
};

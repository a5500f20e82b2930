// Requests of this program to the web servers of others.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "host/tools/zrbasicstring.h"

// What carries the requests of all clients. The one of the process goes over the network, and
// keeps to these bounds: 1 s to connect, 3 s in all, 64 KiB of answer; no redirect is followed, no
// proxy asked.
//
// Threads   any, several at a time; an exchange stays on its thread.
class ZRHttpWire {
 public:
  // One client's way to it: the connections that it keeps open.
  class ZRExchange {
   public:
    virtual ~ZRExchange() = default;
    // Puts `body` to http://host:port/path and waits for the whole of the answer, which replaces
    // `answer`. The status; 0 if there was none. `user` empty: without a login.
    [[nodiscard]] virtual int Put(const std::string& host, int port, const std::string& path,
                                  std::string_view body, const std::string& user,
                                  const std::string& password, std::string& answer) = 0;
  };

  virtual ~ZRHttpWire() = default;
  [[nodiscard]] virtual std::unique_ptr<ZRExchange> NewExchange() = 0;

  [[nodiscard]] static ZRHttpWire& Get();
  // Puts another one in force, which outlives the clients that are made while it is; null brings
  // the network back.
  static void Replace(ZRHttpWire* wire);
};

// Threads   one at a time.
class ZRHttpClient {
 public:
  // `keepsConnections`: the next request to the same server may go over the same connection.
  explicit ZRHttpClient(bool keepsConnections);
  ~ZRHttpClient();
  ZRHttpClient(const ZRHttpClient&) = delete;
  ZRHttpClient& operator=(const ZRHttpClient&) = delete;

  // Puts `length` bytes and returns the status of the answer: 0 if the server can't be reached,
  // doesn't answer in time or as it should, or if host or port aren't of the kind of IsPeer. Null
  // user and password: without a login.
  [[nodiscard]] int Put(const ZRString& host, int port, const ZRString& path, const void* body,
                        int length, const char* user, const char* password);
  // The next byte of the answer's body, 0 to 255; -1 if there is none left.
  [[nodiscard]] int Read();
  // Ends the exchange: what is left of the answer is dropped.
  void Cancel();

 private:
  const bool keepsExchange;
  std::unique_ptr<ZRHttpWire::ZRExchange> exchange;
  std::string answer;
  std::size_t next = 0;  // of the answer, to be read
};

// True if `host` is made of the characters of a host's name or address, and `port` is 1 to 65535.
[[nodiscard]] bool IsPeer(std::string_view host, int port);

// One request to a web server, for who waits for the answer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

struct ZRHttpQuestion {
  std::string host;         // a name or an address in digits: whom the request is for
  std::string address;      // where that is, in digits; empty: where `host` leads
  std::uint16_t port = 0;   // 1 to 65535
  bool isSecure = false;    // over TLS, whose certificate has to be that of `host`
  std::string authorities;  // PEM file of the certificates to trust; empty: those of the system
  std::string path;         // with its query: "/services/events/actived.xml"
  std::string user;         // UTF-8; empty: without a login
  std::string password;
  std::optional<std::string> document;  // XML that is put; without it the path is got

  std::size_t mostBytes = std::size_t{256} * 1024 * 1024;  // of an answer, unpacked
  std::uint32_t connectMilliseconds = 5000;
  std::uint32_t milliseconds = 60'000;  // for all of it
};

struct ZRHttpReply {
  int status = 0;  // 0: there was no whole answer, and `problem` says why
  std::string body;
  std::uint32_t retrySeconds = 0;  // what the server asks to wait for; 0 if it doesn't
  std::string problem;             // "nobody listens there"
};

// Sends the request and waits for the whole answer. The login is HTTP Digest, and never Basic.
// No redirect is followed, no proxy asked, and no file of the user read.
//
// Threads   any, several at a time. The waits are real ones, also in virtual time.
[[nodiscard]] ZRHttpReply FetchHttp(const ZRHttpQuestion& question);

// "https://plant.example:8480"
[[nodiscard]] std::string HttpPlace(const ZRHttpQuestion& question);

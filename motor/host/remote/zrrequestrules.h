// What the web server refuses before any route is called.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

inline constexpr int kStatusBadRequest = 400;
inline constexpr int kStatusUnauthorized = 401;
inline constexpr int kStatusForbidden = 403;
inline constexpr int kStatusNotFound = 404;
inline constexpr int kStatusMethodNotAllowed = 405;
inline constexpr int kStatusContentTooLarge = 413;
inline constexpr int kStatusTooManyRequests = 429;
inline constexpr int kStatusHeadersTooLarge = 431;
inline constexpr int kStatusInternalError = 500;
inline constexpr int kStatusUnavailable = 503;

inline constexpr std::size_t kMostRequestBodyBytes = std::size_t{64} * 1024;

// The head of a request, as it came.
struct ZRRequestHead {
  std::string_view method;
  std::vector<std::string_view> hosts;           // contents of every Host header
  std::vector<std::string_view> contentLengths;  // of every Content-Length header
  bool hasTransferEncoding = false;
  bool isMalformed = false;  // some header isn't one by IsHeader
  bool isKnownPath = false;
  bool takesBody = false;                 // the path is one of PUT and POST
  std::size_t mostBodyBytes = 0;          // of such a path
  std::vector<std::string_view> origins;  // contents of every Origin header
  std::size_t headBytes = 0;
};

// False for a name that isn't one word of a header's letters ("Content-Length " with its blank is
// none: others might take it for the length), and for a content with control characters.
[[nodiscard]] bool IsHeader(std::string_view name, std::string_view content);

// What `head` says of a body that may have `mostBytes`.
enum class ZRRequestBody { kNone, kSmall, kTooLarge };
[[nodiscard]] ZRRequestBody BodyOf(const ZRRequestHead& head,
                                   std::size_t mostBytes = kMostRequestBodyBytes);

// The length of the body of a `head` that RefusalOf lets pass; 0 without a body.
[[nodiscard]] std::size_t LengthOfBody(const ZRRequestHead& head);

// True if `origin` is "https" on this very `host`, or "http" on it where the server speaks that:
// what a browser says of a page that came from here.
[[nodiscard]] bool IsOwnOrigin(std::string_view origin, std::string_view host, bool isSecure);

// Whom a Host header may mean.
struct ZRHostRule {
  std::vector<std::string> names;  // besides this machine's; an address of IPv6 in brackets
  bool allowsAddresses = false;    // any address in digits: no page of another site has one
};

// True for localhost, 127.0.0.1 and [::1] and for what `rule` adds, with any port or none: a page
// of another site whose name was made to lead here gives itself away by its own name.
[[nodiscard]] bool IsOwnHost(std::string_view host, const ZRHostRule& rule);

// What holds for every request to a server.
struct ZRServerRules {
  std::size_t mostHeadBytes = 0;
  ZRHostRule host;
  bool isSecure = false;  // it speaks TLS
};

// The status of the refusal; 0 for a request that a route may answer. In this order: a head that
// is too large, a malformed one, no single Host, a Host that isn't this server, an unknown path,
// another method than GET and HEAD (PUT and POST, if the path takes a body), and a body. Where a
// body is taken: the page of another site that sends it, more than one length, one that is too
// large or not stated.
[[nodiscard]] int RefusalOf(const ZRRequestHead& head, const ZRServerRules& rules);

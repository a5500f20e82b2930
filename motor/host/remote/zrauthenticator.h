// Who sends a request, and how a client is told to say so.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What a request says of its sender. Borrowed from the request.
struct ZRLoginClaim {
  std::string_view method;
  std::string_view target;         // as it came: path and query, nothing undone
  std::string_view authorization;  // content of the Authorization header; empty without one
  std::string_view peer;           // the client's address as text, without its port
  bool isSecure = false;           // it came over TLS
};

struct ZRLoginVerdict {
  enum class tagKind {
    kOpen,       // nobody needs to log in: no user is defined
    kAccepted,   // by `user`
    kNeedsBody,  // accepted by `user`, if the body is the one that was signed: ask JudgeBody
    kRefused,    // 401 with `challenges`
    kThrottled   // 429: too many wrong passwords, try again after `retrySeconds`
  };

  tagKind kind = tagKind::kRefused;
  std::string user;                     // UTF-8
  std::vector<std::string> challenges;  // contents of the WWW-Authenticate headers, best first
  std::uint32_t retrySeconds = 0;
  std::string bodyProof;  // of kNeedsBody: for JudgeBody, to be kept and not looked at
  // For a log, without line ends and secrets: "the name or password of 'ana' from 10.0.0.7 is
  // wrong". Empty if there is nothing to tell.
  std::string note;
};

// Threads   any, several at a time.
class ZRAuthenticator {
 public:
  virtual ~ZRAuthenticator() = default;

  // Judges the head of a request, once: a signature that is good is used up by it.
  [[nodiscard]] virtual ZRLoginVerdict Judge(const ZRLoginClaim& claim) = 0;
  // Judges the body of a request whose head was found kNeedsBody: kAccepted or kRefused.
  [[nodiscard]] virtual ZRLoginVerdict JudgeBody(const ZRLoginVerdict& head,
                                                 std::string_view body) = 0;
};

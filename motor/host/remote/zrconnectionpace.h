// How long a client may take for each step of a connection.
#pragma once

#include <cstdint>

// What a connection is busy with.
enum class ZRConnectionStep {
  kWaits,  // for another request, of which nothing has come yet
  kHead,   // the head of a request comes
  kBody,   // its body comes
  kRoute,  // the server works: the client isn't to blame
  kAnswer  // the client takes the answer
};

struct ZRPaceLimits {
  std::uint32_t headMilliseconds = 10'000;   // of a head, from its first byte or the accept
  std::uint32_t graceMilliseconds = 10'000;  // how far a client may fall behind the speed below
  std::uint32_t bytesPerSecond = 1024;       // of a body or an answer

  bool operator==(const ZRPaceLimits&) const = default;
};

// What a socket has carried since it was opened, and what it holds.
struct ZRSocketBytes {
  std::uint64_t received = 0;  // from the client
  std::uint64_t taken = 0;     // by the client
  std::uint64_t unread = 0;    // they have come, and the server hasn't looked at them
  std::uint64_t untaken = 0;   // they have been sent, and the client hasn't taken them
};

// A head has a deadline, however busily its bytes come. The bytes of a body or an answer pay for
// time: at the start, and at most ever, `graceMilliseconds` are paid for. While it is the server's
// turn, because bytes lie unread or none is left to take, the client isn't to blame.
//
// Threads   one at a time.
class ZRConnectionPace {
 public:
  // A step begins.
  void Begin(ZRConnectionStep next, const ZRPaceLimits& limits, std::uint32_t now,
             const ZRSocketBytes& bytes);
  // A look at the connection: true if its client is too slow. A head that nobody has told of
  // begins at the look that finds its first byte.
  [[nodiscard]] bool IsTooSlow(const ZRPaceLimits& limits, std::uint32_t now,
                               const ZRSocketBytes& bytes);

 private:
  [[nodiscard]] bool IsInDebt(const ZRPaceLimits& limits, std::uint32_t passed,
                              std::uint64_t moved);

  ZRConnectionStep step = ZRConnectionStep::kHead;
  std::uint32_t since = 0;  // of the step
  std::uint32_t lastLook = 0;
  ZRSocketBytes lastBytes;
  std::uint64_t credit = 0;  // bytes paid in advance, in thousandths
};

// The addresses of a host, by its name.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// Asks the system's resolver on a thread of its own, which nobody joins: the resolver knows no
// bound of time, and can't be interrupted.
//
// Threads   one. The waits are real ones, also in virtual time.
// Promise   Ask waits no longer than it is told, the destructor for nobody. A question that is
//           still open then ends by itself, unheard; of all objects of the process there are at
//           most kMostOpen, and an object asks one at a time.
class ZRResolver {
 public:
  static constexpr int kMostOpen = 64;

  enum class tagAnswer { kDone, kPending, kFailed };
  struct tagFound {
    std::vector<std::string> addresses;  // in digits, the best one first; empty: it failed
    std::string reason;                  // why there are none
  };
  using tagLookup = std::function<tagFound(const std::string& host)>;

  ZRResolver();  // asks the system
  explicit ZRResolver(tagLookup toAsk);
  ~ZRResolver();
  ZRResolver(const ZRResolver&) = delete;
  ZRResolver& operator=(const ZRResolver&) = delete;

  // Asks for a host, or goes on waiting for the answer to the same question. An address in digits
  // is its own answer. kPending, with a reason, if there is none within so many ms.
  [[nodiscard]] tagAnswer Ask(const std::string& host, std::uint32_t milliseconds, tagFound& found);

 private:
  struct tagQuestion;
  [[nodiscard]] bool Begin(const std::string& host, std::string& reason);

  const tagLookup lookup;
  std::shared_ptr<tagQuestion> question;  // the open one, or null
};

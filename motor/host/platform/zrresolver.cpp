#include "host/platform/zrresolver.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace {

using tagFound = ZRResolver::tagFound;

std::atomic<int> openQuestions{0};  // of the process

tagFound AskSystem(const std::string& host, int flags) {
  addrinfo wanted{};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = flags;
  addrinfo* list = nullptr;
  const int code = ::getaddrinfo(host.c_str(), nullptr, &wanted, &list);
  if (code != 0) return {{}, ::gai_strerror(code)};
  tagFound found;
  for (const addrinfo* at = list; at != nullptr; at = at->ai_next) {
    std::array<char, NI_MAXHOST> text{};
    if (::getnameinfo(at->ai_addr, at->ai_addrlen, text.data(), text.size(), nullptr, 0,
                      NI_NUMERICHOST) == 0)
      found.addresses.emplace_back(text.data());
  }
  ::freeaddrinfo(list);
  if (found.addresses.empty()) found.reason = "it has no address";
  return found;
}

}  // namespace

struct ZRResolver::tagQuestion {
  std::string host;
  std::mutex monitor;
  std::condition_variable answered;
  bool isAnswered = false;  // this and `found`: under the monitor
  tagFound found;
};

ZRResolver::ZRResolver() : ZRResolver([](const std::string& host) { return AskSystem(host, 0); }) {}

ZRResolver::ZRResolver(tagLookup toAsk) : lookup(std::move(toAsk)) {}

ZRResolver::~ZRResolver() = default;

bool ZRResolver::Begin(const std::string& host, std::string& reason) {
  if (openQuestions.fetch_add(1) >= kMostOpen) {
    openQuestions.fetch_sub(1);
    reason = "too many names are being looked up";
    return false;
  }
  const auto begun = std::make_shared<tagQuestion>();
  begun->host = host;
  try {
    std::thread([begun, ask = lookup] {
      tagFound found = ask(begun->host);
      openQuestions.fetch_sub(1);
      const std::lock_guard lock(begun->monitor);
      begun->found = std::move(found);
      begun->isAnswered = true;
      begun->answered.notify_all();
    }).detach();
  } catch (const std::system_error&) {
    openQuestions.fetch_sub(1);
    reason = "the system gives no thread";
    return false;
  }
  question = begun;
  return true;
}

ZRResolver::tagAnswer ZRResolver::Ask(const std::string& host, std::uint32_t milliseconds,
                                      tagFound& found) {
  found = AskSystem(host, AI_NUMERICHOST);
  if (!found.addresses.empty()) return tagAnswer::kDone;
  if (question != nullptr && question->host != host) question.reset();
  if (question == nullptr && !Begin(host, found.reason)) return tagAnswer::kFailed;
  std::unique_lock lock(question->monitor);
  if (!question->answered.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                   [this] { return question->isAnswered; })) {
    found.reason = "its name isn't looked up yet";
    return tagAnswer::kPending;
  }
  found = std::move(question->found);
  lock.unlock();
  question.reset();
  return found.addresses.empty() ? tagAnswer::kFailed : tagAnswer::kDone;
}

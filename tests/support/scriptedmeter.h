// A Modbus TCP server of the tests that answers as it likes, over real connections of this machine.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "host/platform/zrthread.h"

// One connection after the other; the object's end ends what is under way.
class ScriptedMeter {
 public:
  using tagBytes = std::vector<std::uint8_t>;
  // What it does upon a request (a whole message, with its header).
  struct tagReply {
    tagBytes bytes;         // sent at once
    bool closes = false;    // then
    bool resets = false;    // then, with what the client sent left unread
    bool trickles = false;  // one byte each 20 ms instead
  };
  using tagScript = std::function<tagReply(const tagBytes& request)>;

  explicit ScriptedMeter(tagScript toPlay)
      : script(std::move(toPlay)), listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof name;
    constexpr int kWaiting = 16;
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&name), size) != 0 ||
        ::listen(listener, kWaiting) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&name), &size) != 0)
      return;
    if (thread.Start([this] { Serve(); })) port = ntohs(name.sin_port);
  }
  ~ScriptedMeter() {
    ended = true;
    (void)::shutdown(listener, SHUT_RDWR);
    const int open = client;
    if (open >= 0) (void)::shutdown(open, SHUT_RDWR);
    thread.Join();
    (void)::close(listener);
  }
  ScriptedMeter(const ScriptedMeter&) = delete;
  ScriptedMeter& operator=(const ScriptedMeter&) = delete;

  // 0 if there is none.
  [[nodiscard]] std::uint16_t Port() const { return port; }
  [[nodiscard]] int Connections() const { return connections; }
  [[nodiscard]] int Requests() const { return requests; }

  // The right answer to a reading of holding registers, each of which is `value`.
  static tagBytes Answer(const tagBytes& request, std::uint16_t value) {
    const std::size_t count = request[11];
    tagBytes answer(request.begin(), request.begin() + 8);
    answer[5] = static_cast<std::uint8_t>(3 + 2 * count);
    answer.push_back(static_cast<std::uint8_t>(2 * count));
    for (std::size_t at = 0; at < count; ++at) {
      answer.push_back(static_cast<std::uint8_t>(value >> 8));
      answer.push_back(static_cast<std::uint8_t>(value));
    }
    return answer;
  }

 private:
  void Serve() {
    while (!ended) {
      const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      if (accepted < 0) return;
      ++connections;
      client = accepted;
      while (!ended && Converse(accepted)) {
      }
      client = -1;
      (void)::close(accepted);
    }
  }
  // False when the connection is over.
  bool Converse(int with) {
    constexpr std::size_t kHeader = 6;
    tagBytes request(kHeader);
    if (::recv(with, request.data(), kHeader, MSG_WAITALL) != static_cast<ssize_t>(kHeader))
      return false;
    const std::size_t rest = request[5];
    request.resize(kHeader + rest);
    if (::recv(with, request.data() + kHeader, rest, MSG_WAITALL) != static_cast<ssize_t>(rest))
      return false;
    ++requests;
    const tagReply reply = script(request);
    if (reply.trickles) return Trickle(with, reply.bytes);
    if (!reply.bytes.empty())
      (void)::send(with, reply.bytes.data(), reply.bytes.size(), MSG_NOSIGNAL);
    if (reply.resets) {
      const linger atOnce{1, 0};
      (void)::setsockopt(with, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    }
    return !reply.closes && !reply.resets;
  }
  bool Trickle(int to, const tagBytes& bytes) {
    constexpr std::uint32_t kBetween = 20;  // ms
    for (const std::uint8_t byte : bytes) {
      if (ended || ::send(to, &byte, 1, MSG_NOSIGNAL) != 1) return false;
      ZRPlatform::System().Sleep(kBetween);
    }
    return true;
  }

  const tagScript script;
  const int listener;
  std::uint16_t port = 0;
  std::atomic<bool> ended{false};
  std::atomic<int> client{-1};
  std::atomic<int> connections{0};
  std::atomic<int> requests{0};
  ZRThread thread;
};

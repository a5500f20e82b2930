// A server of the tests that answers as it likes, over real connections of this machine.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "host/platform/zrthread.h"

// One connection after the other; the object's end ends what is under way.
class ScriptedServer {
 public:
  // What it says to a client, whose request has been read as a whole.
  class CConversation {
   public:
    explicit CConversation(int ofClient) : client(ofClient) {}
    // False when the client has gone.
    bool Say(std::string_view bytes) {
      while (!bytes.empty()) {
        const ssize_t sent = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
      }
      return true;
    }
    // Says nothing until the client has gone.
    void WaitForTheEnd() const {
      char byte = 0;
      while (::recv(client, &byte, 1, 0) > 0) {
      }
    }
    // Waits so long for the client to go. True if it has.
    [[nodiscard]] bool HasGoneWithin(int milliseconds) const {
      const timeval patience{milliseconds / 1000, milliseconds % 1000 * 1000};
      (void)::setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
      char byte = 0;
      return ::recv(client, &byte, 1, 0) == 0;
    }

   private:
    const int client;
  };
  // `path` is that of the request.
  using tagScript = std::function<void(CConversation&, const std::string& path)>;

  explicit ScriptedServer(tagScript toPlay)
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
  ~ScriptedServer() {
    ended = true;
    (void)::shutdown(listener, SHUT_RDWR);
    const int open = client;
    if (open >= 0) (void)::shutdown(open, SHUT_RDWR);
    thread.Join();
    (void)::close(listener);
  }
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  // 0 if there is none.
  [[nodiscard]] std::uint16_t Port() const { return port; }
  // Requests that were read.
  [[nodiscard]] int Requests() const { return requests; }

 private:
  void Serve() {
    while (!ended) {
      const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      if (accepted < 0) return;
      client = accepted;
      std::string path;
      if (!ended && ReadRequest(accepted, path)) {
        ++requests;
        CConversation conversation(accepted);
        script(conversation, path);
      }
      client = -1;
      (void)::close(accepted);
    }
  }
  static bool ReadRequest(int from, std::string& path) {
    std::string read;
    std::size_t whole = std::string::npos;
    while (read.size() < whole) {
      char piece[16 * 1024];
      const ssize_t size = ::recv(from, piece, sizeof piece, 0);
      if (size <= 0) return false;
      read.append(piece, static_cast<std::size_t>(size));
      const std::size_t end = read.find("\r\n\r\n");
      if (whole != std::string::npos || end == std::string::npos) continue;
      const std::size_t length = read.find("Content-Length: ");
      const char* const digits = length < end ? read.c_str() + length + 16 : "0";
      whole = end + 4 + std::strtoull(digits, nullptr, 10);
    }
    const std::size_t start = read.find(' ') + 1;
    path = read.substr(start, read.find(' ', start) - start);
    return true;
  }

  const tagScript script;
  const int listener;
  std::uint16_t port = 0;
  std::atomic<bool> ended{false};
  std::atomic<int> client{-1};
  std::atomic<int> requests{0};
  ZRThread thread;
};

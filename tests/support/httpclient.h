// A client of the tests: raw bytes out, raw bytes in, over a real connection of this machine.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

// One answer, taken apart. A status of 0: there was none, or none that can be read.
struct HttpReply {
  int status = 0;
  std::string head;  // status line and header lines
  std::string body;
  bool isWhole = false;  // as long as its Content-Length says

  // The content of a header; empty without one.
  [[nodiscard]] std::string Header(const std::string& name) const {
    const std::string key = "\r\n" + name + ": ";
    const std::size_t found = head.find(key);
    if (found == std::string::npos) return "";
    const std::size_t start = found + key.size();
    return head.substr(start, head.find("\r\n", start) - start);
  }
};

// Every wait ends after kPatienceSeconds.
class HttpClient {
 public:
  static constexpr int kPatienceSeconds = 20;

  // `receiveBytes`: how much the system takes in before this client reads; 0 for its own choice.
  // `from`: the client's own address, of the loopback; empty for any. `to`: the server's.
  explicit HttpClient(std::uint16_t port, int receiveBytes = 0, const std::string& from = "",
                      const std::string& to = "127.0.0.1")
      : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval patience{kPatienceSeconds, 0};
    (void)::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    (void)::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (receiveBytes != 0) {
      (void)::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBytes, sizeof receiveBytes);
    }
    sockaddr_in name{};
    name.sin_family = AF_INET;
    if (!from.empty()) {
      (void)::inet_pton(AF_INET, from.c_str(), &name.sin_addr);
      (void)::bind(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name);
    }
    name.sin_port = htons(port);
    (void)::inet_pton(AF_INET, to.c_str(), &name.sin_addr);
    connected = ::connect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
  }
  ~HttpClient() { Close(); }
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  [[nodiscard]] bool IsConnected() const { return connected; }
  void Close() {
    if (socket >= 0) (void)::close(std::exchange(socket, -1));
  }
  void FinishSending() { (void)::shutdown(socket, SHUT_WR); }
  // The server has closed the connection, and nothing more will come.
  [[nodiscard]] bool IsClosed() const { return closed; }

  // False if the server doesn't take it.
  bool Send(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  // Everything until the server closes; IsClosed tells whether it did.
  [[nodiscard]] std::string ReceiveAll() {
    while (ReceiveMore()) {
    }
    return std::exchange(received, {});
  }

  // The next answer on this connection. `hasBody` is false for the answer to a HEAD.
  [[nodiscard]] HttpReply ReceiveReply(bool hasBody = true) {
    std::size_t headEnd = received.find("\r\n\r\n");
    while (headEnd == std::string::npos) {
      if (!ReceiveMore()) return {};
      headEnd = received.find("\r\n\r\n");
    }
    HttpReply reply;
    reply.head = received.substr(0, headEnd + 2);
    received.erase(0, headEnd + 4);
    if (reply.head.starts_with("HTTP/1.")) reply.status = std::atoi(reply.head.c_str() + 9);
    const std::size_t length =
        hasBody ? std::strtoull(reply.Header("Content-Length").c_str(), nullptr, 10) : 0;
    while (received.size() < length && ReceiveMore()) {
    }
    reply.isWhole = received.size() >= length;
    reply.body = received.substr(0, length);
    received.erase(0, reply.body.size());
    return reply;
  }

  // A GET with the head that a decent client sends; `headers` are lines that end with CR LF.
  [[nodiscard]] HttpReply Get(const std::string& target, const std::string& headers = "") {
    (void)Send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
    return ReceiveReply();
  }

 private:
  bool ReceiveMore() {
    char piece[16 * 1024];
    const ssize_t size = ::recv(socket, piece, sizeof piece, 0);
    closed = size == 0 || (size < 0 && errno == ECONNRESET);
    if (size <= 0) return false;
    received.append(piece, static_cast<std::size_t>(size));
    return true;
  }

  int socket;
  bool connected = false;
  bool closed = false;
  std::string received;
};

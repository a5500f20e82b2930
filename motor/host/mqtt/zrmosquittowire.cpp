#include "host/mqtt/zrmosquittowire.h"

#include <mosquitto.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>
#include <vector>

#include "host/platform/zrresolver.h"

namespace {

constexpr const char* kSystemCertificates = "/etc/ssl/certs";
// The client hands over fewer at a time, so none waits inside the library.
constexpr int kAnyNumber = 65535;

std::string Reason(int code, int number) {
  if (code == MOSQ_ERR_ERRNO) return std::generic_category().message(number);
  // The library has no text for it.
  if (code == MOSQ_ERR_KEEPALIVE) return "it has fallen silent";
  return ::mosquitto_strerror(code);
}

// A key with a password isn't taken, and nobody is asked on the terminal.
int NoPassword(char*, int, int, void*) {
  return 0;
}

class CWire final : public ZRMqttWire {
 public:
  CWire(const ZRMqttSettings& toUse, ZRListener& toTell)
      : settings(toUse), listener(toTell), bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~CWire() override {
    End();
    if (bell >= 0) (void)::close(bell);
  }
  CWire(const CWire&) = delete;
  CWire& operator=(const CWire&) = delete;

  bool Connect(std::string& reason) override;
  bool Turn(std::uint32_t milliseconds, std::string& reason) override;
  bool Publish(const ZRMqttMessage& message, int& id) override;
  bool Subscribe(const std::string& filter, int qos) override {
    return handle != nullptr &&
           ::mosquitto_subscribe(handle, nullptr, filter.c_str(), qos) == MOSQ_ERR_SUCCESS;
  }
  bool Unsubscribe(const std::string& filter) override {
    return handle != nullptr &&
           ::mosquitto_unsubscribe(handle, nullptr, filter.c_str()) == MOSQ_ERR_SUCCESS;
  }
  void Disconnect(bool politely) override {
    if (politely && handle != nullptr) (void)::mosquitto_disconnect(handle);
    End();
  }
  void Wake() override {
    constexpr std::uint64_t kOne = 1;
    (void)!::write(bell, &kOne, sizeof kOne);
  }

 private:
  // What to connect to, one after the other; none, with a reason, if nobody knows. With TLS it is
  // the name, which the certificate has to be for, and else its addresses, each time with another
  // one first: one that never answers is given up by the client.
  [[nodiscard]] std::vector<std::string> Targets(std::string& reason);
  [[nodiscard]] int Configure();
  [[nodiscard]] int ConfigureTls();
  void SetCallbacks();
  // What poll says of the socket becomes work of the library. A code of it.
  [[nodiscard]] int Serve(short events);
  void TellSent();
  void End() {
    if (handle != nullptr) ::mosquitto_destroy(std::exchange(handle, nullptr));
    sent.clear();
  }

  const ZRMqttSettings& settings;
  ZRListener& listener;
  const int bell;
  mosquitto* handle = nullptr;
  ZRResolver resolver;
  std::size_t attempts = 0;
  int answer = 0;  // of the broker to the login; not 0: refused
  bool accepted = false;
  std::vector<int> sent;  // not told yet
};

bool CWire::Connect(std::string& reason) {
  End();
  answer = 0;
  accepted = false;
  if (bell < 0) {
    reason = "the system gives no descriptor";
    return false;
  }
  const std::vector<std::string> targets = Targets(reason);
  if (targets.empty()) return false;
  handle = ::mosquitto_new(settings.clientId.c_str(), true, this);
  if (handle == nullptr) {
    reason = "the client's id can't be used";
    return false;
  }
  SetCallbacks();
  int code = Configure();
  const bool isReady = code == MOSQ_ERR_SUCCESS;
  for (std::size_t at = 0; isReady && at < targets.size(); ++at) {
    code = ::mosquitto_connect_async(handle, targets[at].c_str(), settings.port,
                                     ZRMosquittoWires::kKeepAlive);
    if (code == MOSQ_ERR_SUCCESS) return true;
  }
  reason = Reason(code, errno);
  End();
  return false;
}

std::vector<std::string> CWire::Targets(std::string& reason) {
  ZRResolver::tagFound found;
  const auto known = resolver.Ask(settings.host, ZRMosquittoWires::kNameTime, found);
  reason = found.reason;
  if (known != ZRResolver::tagAnswer::kDone) return {};
  if (settings.tls) return {settings.host};
  const auto first = static_cast<std::ptrdiff_t>(attempts++ % found.addresses.size());
  std::rotate(found.addresses.begin(), found.addresses.begin() + first, found.addresses.end());
  return found.addresses;
}

int CWire::Configure() {
  int code = ::mosquitto_int_option(handle, MOSQ_OPT_TCP_NODELAY, 1);
  if (code == MOSQ_ERR_SUCCESS)
    code = ::mosquitto_int_option(handle, MOSQ_OPT_SEND_MAXIMUM, kAnyNumber);
  if (code == MOSQ_ERR_SUCCESS && !settings.user.empty()) {
    code = ::mosquitto_username_pw_set(handle, settings.user.c_str(), settings.password.c_str());
  }
  if (code == MOSQ_ERR_SUCCESS && settings.will) {
    const ZRMqttMessage& will = *settings.will;
    code = ::mosquitto_will_set(handle, will.topic.c_str(), static_cast<int>(will.payload.size()),
                                will.payload.data(), will.qos, will.retain);
  }
  return code == MOSQ_ERR_SUCCESS && settings.tls ? ConfigureTls() : code;
}

int CWire::ConfigureTls() {
  const auto orNull = [](const std::string& path) { return path.empty() ? nullptr : path.c_str(); };
  return ::mosquitto_tls_set(handle, orNull(settings.ca),
                             settings.ca.empty() ? kSystemCertificates : nullptr,
                             orNull(settings.certificate), orNull(settings.key), NoPassword);
}

void CWire::SetCallbacks() {
  ::mosquitto_connect_callback_set(handle, [](mosquitto*, void* self, int code) {
    auto& wire = *static_cast<CWire*>(self);
    wire.answer = code;
    if (code != 0) return;
    wire.accepted = true;
    wire.listener.OnAccepted();
  });
  ::mosquitto_message_callback_set(
      handle, [](mosquitto*, void* self, const mosquitto_message* message) {
        const auto size = static_cast<std::size_t>(message->payloadlen);
        const char* const bytes = static_cast<const char*>(message->payload);
        static_cast<CWire*>(self)->listener.OnMessage(
            {message->topic, size == 0 ? std::string() : std::string(bytes, size), message->qos,
             message->retain});
      });
  // Also called from within mosquitto_publish, when nobody knows the id yet.
  ::mosquitto_publish_callback_set(handle, [](mosquitto*, void* self, int id) {
    static_cast<CWire*>(self)->sent.push_back(id);
  });
}

bool CWire::Turn(std::uint32_t milliseconds, std::string& reason) {
  const int socket = handle != nullptr ? ::mosquitto_socket(handle) : -1;
  if (socket < 0) {
    reason = Reason(MOSQ_ERR_CONN_LOST, 0);
    return false;
  }
  TellSent();
  const auto wanted =
      static_cast<short>(::mosquitto_want_write(handle) ? POLLIN | POLLOUT : POLLIN);
  std::array<pollfd, 2> polled{{{socket, wanted, 0}, {bell, POLLIN, 0}}};
  constexpr auto kLongest = static_cast<std::uint32_t>(std::numeric_limits<int>::max());
  (void)::poll(polled.data(), polled.size(), static_cast<int>(std::min(milliseconds, kLongest)));
  std::uint64_t rings = 0;
  if (polled[1].revents != 0) (void)!::read(bell, &rings, sizeof rings);
  const int code = Serve(polled[0].revents);
  const int number = errno;
  TellSent();
  if (answer != 0) {
    reason = ::mosquitto_connack_string(answer);
  } else if (code != MOSQ_ERR_SUCCESS) {
    reason = Reason(code, number);
  }
  return answer == 0 && code == MOSQ_ERR_SUCCESS;
}

int CWire::Serve(short events) {
  const int socket = ::mosquitto_socket(handle);
  int code = MOSQ_ERR_SUCCESS;
  errno = 0;
  if ((events & (POLLIN | POLLHUP | POLLERR)) != 0) code = ::mosquitto_loop_read(handle, 1);
  // The library doesn't look why a connection didn't come about.
  if (code == MOSQ_ERR_SUCCESS && !accepted && answer == 0 && (events & (POLLHUP | POLLERR)) != 0) {
    int number = 0;
    socklen_t size = sizeof number;
    (void)::getsockopt(socket, SOL_SOCKET, SO_ERROR, &number, &size);
    errno = number != 0 ? number : ECONNREFUSED;
    return MOSQ_ERR_ERRNO;
  }
  if (code == MOSQ_ERR_SUCCESS && (events & POLLOUT) != 0) code = ::mosquitto_loop_write(handle, 1);
  if (code == MOSQ_ERR_SUCCESS) code = ::mosquitto_loop_misc(handle);
  return code;
}

bool CWire::Publish(const ZRMqttMessage& message, int& id) {
  return handle != nullptr &&
         ::mosquitto_publish(handle, &id, message.topic.c_str(),
                             static_cast<int>(message.payload.size()), message.payload.data(),
                             message.qos, message.retain) == MOSQ_ERR_SUCCESS;
}

void CWire::TellSent() {
  for (const int id : std::exchange(sent, {}))
    listener.OnSent(id);
}

std::atomic<ZRMqttWires*> replaced{nullptr};

}  // namespace

std::unique_ptr<ZRMqttWire> ZRMosquittoWires::NewWire(const ZRMqttSettings& settings,
                                                      ZRMqttWire::ZRListener& listener) {
  static const int kReady = ::mosquitto_lib_init();
  (void)kReady;
  return std::make_unique<CWire>(settings, listener);
}

ZRMqttWires& ZRMqttWires::Get() {
  static ZRMosquittoWires network;
  ZRMqttWires* const other = replaced.load();
  return other != nullptr ? *other : network;
}

void ZRMqttWires::Replace(ZRMqttWires* wires) {
  replaced.store(wires);
}

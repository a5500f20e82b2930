#include "host/modbus/zrmodbuswire.h"

#include <modbus/modbus.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>

#include "host/platform/zrplatform.h"
#include "host/platform/zrresolver.h"
#include "host/remote/zrsocketaddress.h"

namespace {

constexpr std::uint32_t kSecond = 1000;       // ms
constexpr std::uint32_t kMicrosecond = 1000;  // in a ms

struct tagRelease {
  void operator()(modbus_t* context) const {
    modbus_close(context);
    modbus_free(context);
  }
};

std::string TextOf(int error) {
  return std::generic_category().message(error);
}

// What TCP and serial lines have in common: time, and the reading of whole messages.
class CLink : public ZRModbusLink {
 public:
  explicit CLink(const ZRModbusBus& toUse) : bus(toUse) {}

  ZRModbusOutcome Exchange(std::uint8_t unit, ZRByteView request, ZRBytes& answer) final {
    reason.clear();
    if (context != nullptr && !IsClean()) Close();
    if (context == nullptr && !Open()) {
      Close();
      return ZRModbusOutcome::kUnreachable;
    }
    if (!Send(unit, request)) return Failed(ZRModbusOutcome::kLost);
    std::array<std::uint8_t, MODBUS_MAX_ADU_LENGTH> frame{};
    const int size = modbus_receive_confirmation(context.get(), frame.data());
    if (size < 0) {
      const bool isSystems = errno < MODBUS_ENOBASE;
      if (!isSystems) return Failed(ZRModbusOutcome::kWrong);
      return Failed(errno == ETIMEDOUT ? ZRModbusOutcome::kSilent : ZRModbusOutcome::kLost);
    }
    ZRByteView bytes;
    if (!Take({frame.data(), static_cast<std::size_t>(size)}, unit, bytes)) {
      Close();
      return ZRModbusOutcome::kWrong;
    }
    answer.assign(bytes.begin(), bytes.end());
    return ZRModbusOutcome::kDone;
  }
  void Close() final { context.reset(); }
  [[nodiscard]] std::string Reason() const final { return reason; }

 protected:
  // Makes `context`. False with a reason.
  [[nodiscard]] virtual bool Open() = 0;
  // Nothing is left on the line of what was said before.
  [[nodiscard]] virtual bool IsClean() = 0;
  [[nodiscard]] virtual bool Send(std::uint8_t unit, ZRByteView request) = 0;
  [[nodiscard]] virtual bool Take(ZRByteView frame, std::uint8_t unit, ZRByteView& bytes) const = 0;

  // The whole answer has to be there in time, not each of its bytes.
  [[nodiscard]] bool Prepare(modbus_t* made) {
    context.reset(made);
    return made != nullptr &&
           modbus_set_response_timeout(made, bus.timeout / kSecond,
                                       bus.timeout % kSecond * kMicrosecond) == 0 &&
           modbus_set_byte_timeout(made, 0, 0) == 0;
  }
  [[nodiscard]] bool Fail(const std::string& why) {
    reason = why;
    return false;
  }
  [[nodiscard]] bool Fail(int error) { return Fail(TextOf(error)); }

  const ZRModbusBus bus;
  std::unique_ptr<modbus_t, tagRelease> context;

 private:
  ZRModbusOutcome Failed(ZRModbusOutcome outcome) {
    reason = errno < MODBUS_ENOBASE ? TextOf(errno) : modbus_strerror(errno);
    Close();
    return outcome;
  }

  std::string reason;
};

class CTcpLink final : public CLink {
 public:
  using CLink::CLink;

 private:
  bool Open() override {
    const std::uint32_t begin = ZRPlatform::Get().TickCount();
    ZRResolver::tagFound found;
    if (resolver.Ask(bus.host, bus.timeout, found) != ZRResolver::tagAnswer::kDone)
      return Fail(found.reason);
    // Each gets its share of the time that is left.
    for (std::size_t left = found.addresses.size(); left > 0; --left) {
      const std::uint32_t gone = ZRPlatform::Get().TickCount() - begin;
      const auto share = (bus.timeout - std::min(gone, bus.timeout)) / left;
      if (OpenAt(found.addresses[found.addresses.size() - left], static_cast<int>(share)))
        return true;
    }
    return false;
  }

  [[nodiscard]] bool OpenAt(const std::string& host, int milliseconds) {
    ZRSocketAddress address;
    if (!address.Parse(host, static_cast<std::uint16_t>(bus.port))) return Fail(EINVAL);
    const int made = ::socket(address.Family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (made < 0) return Fail(errno);
    // libmodbus waits with select, which has no place for more.
    const int error = made >= FD_SETSIZE ? EMFILE : Connect(made, address, milliseconds);
    // The address given here is never used.
    if (error == 0 && Prepare(modbus_new_tcp("127.0.0.1", MODBUS_TCP_DEFAULT_PORT)))
      return modbus_set_socket(context.get(), made) == 0;
    (void)::close(made);
    return Fail(error != 0 ? error : ENOMEM);
  }

  // 0, or what the system says.
  [[nodiscard]] static int Connect(int to, const ZRSocketAddress& address, int milliseconds) {
    if (::connect(to, address.Name(), address.Size()) == 0) return 0;
    if (errno != EINPROGRESS) return errno;
    pollfd waiting{to, POLLOUT, 0};
    const int ready = ::poll(&waiting, 1, milliseconds);
    if (ready == 0) return ETIMEDOUT;
    int error = 0;
    socklen_t size = sizeof error;
    if (ready < 0 || ::getsockopt(to, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
    return error;
  }

  // Neither bytes that nobody asked for, nor the end of the connection.
  bool IsClean() override {
    std::uint8_t byte = 0;
    const ssize_t waiting =
        ::recv(modbus_get_socket(context.get()), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return waiting < 0 && errno == EAGAIN;
  }

  bool Send(std::uint8_t unit, ZRByteView request) override {
    const ZRBytes frame = TcpFrame(++transaction, unit, request);
    return ::send(modbus_get_socket(context.get()), frame.data(), frame.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(frame.size());
  }

  bool Take(ZRByteView frame, std::uint8_t unit, ZRByteView& bytes) const override {
    return TakeTcpFrame(frame, transaction, unit, bytes);
  }

  ZRResolver resolver;
  std::uint16_t transaction = 0;
};

class CSerialLink final : public CLink {
 public:
  using CLink::CLink;

 private:
  bool Open() override {
    constexpr int kDataBits = 8;
    if (!Prepare(modbus_new_rtu(bus.device.c_str(), bus.baud, bus.parity, kDataBits, bus.stopBits)))
      return Fail(ENOMEM);
    if (modbus_connect(context.get()) != 0) return Fail(errno);
    if (modbus_get_socket(context.get()) >= FD_SETSIZE) return Fail(EMFILE);
    return IsClean();
  }

  bool IsClean() override { return modbus_flush(context.get()) >= 0; }

  bool Send(std::uint8_t unit, ZRByteView request) override {
    ZRBytes bytes{unit};
    bytes.insert(bytes.end(), request.begin(), request.end());
    return modbus_set_slave(context.get(), unit) == 0 &&
           modbus_send_raw_request(context.get(), bytes.data(), static_cast<int>(bytes.size())) >=
               0;
  }

  bool Take(ZRByteView frame, std::uint8_t unit, ZRByteView& bytes) const override {
    return TakeSerialFrame(frame, unit, bytes);
  }
};

class CWire final : public ZRModbusWire {
 public:
  std::unique_ptr<ZRModbusLink> NewLink(const ZRModbusBus& bus) override {
    if (bus.device.empty()) return std::make_unique<CTcpLink>(bus);
    return std::make_unique<CSerialLink>(bus);
  }
};

std::atomic<ZRModbusWire*> inForce{nullptr};

}  // namespace

std::string NameOfBus(const ZRModbusBus& bus) {
  if (!bus.device.empty()) return bus.device;
  const bool isLong = bus.host.find(':') != std::string::npos;
  return (isLong ? "[" + bus.host + "]" : bus.host) + ":" + std::to_string(bus.port);
}

ZRModbusWire& ZRModbusWire::Get() {
  static CWire wire;
  ZRModbusWire* const replaced = inForce.load(std::memory_order_acquire);
  return replaced != nullptr ? *replaced : wire;
}

void ZRModbusWire::Replace(ZRModbusWire* toUse) {
  inForce.store(toUse, std::memory_order_release);
}

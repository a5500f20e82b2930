// The way to Modbus devices: over TCP, or over a serial line. libmodbus stands behind it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/modbus/zrmodbusmessage.h"

// Where a bus is.
struct ZRModbusBus {
  std::string host;  // name or address; empty for a serial line
  int port = 0;
  std::string device;
  int baud = 0;
  char parity = 'N';  // or 'E', 'O'
  int stopBits = 1;
  std::uint32_t timeout = 0;  // ms: for a connection with its name, and for a whole answer
};

// The bus as people call it: "192.168.1.50:502" or "/dev/ttyUSB0".
[[nodiscard]] std::string NameOfBus(const ZRModbusBus& bus);

// One connection, made when it is needed and kept.
//
// Threads   one.
// Promise   no call takes longer than twice the bus's timeout. An answer is given for the request
//           that was put last, or none is: what came late, from another unit or in another
//           transaction is kWrong.
class ZRModbusLink {
 public:
  virtual ~ZRModbusLink() = default;

  // Puts the bytes of a request (from the function on) to a unit and waits for the answer. kDone
  // with its bytes, whatever they say; else kWrong, kSilent, kLost or kUnreachable.
  [[nodiscard]] virtual ZRModbusOutcome Exchange(std::uint8_t unit, ZRByteView request,
                                                 ZRBytes& answer) = 0;
  // Gives the connection up, and what may still come over it.
  virtual void Close() = 0;
  // Why the last Exchange wasn't kDone, in the system's words; empty if it has none.
  [[nodiscard]] virtual std::string Reason() const = 0;
};

// Makes the links of the process.
//
// Threads   NewLink on any; Replace before the first one.
class ZRModbusWire {
 public:
  virtual ~ZRModbusWire() = default;
  [[nodiscard]] virtual std::unique_ptr<ZRModbusLink> NewLink(const ZRModbusBus& bus) = 0;

  [[nodiscard]] static ZRModbusWire& Get();
  // Null brings libmodbus back. The object has to live on while it is in use.
  static void Replace(ZRModbusWire* toUse);
};

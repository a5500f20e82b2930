// What is said on a Modbus bus: requests as bytes, and answers checked against their requests.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/modbus/zrmodbusregister.h"

using ZRBytes = std::vector<std::uint8_t>;
using ZRByteView = std::span<const std::uint8_t>;

enum class ZRModbusOutcome : std::uint8_t {
  kDone,
  kException,    // the device refuses
  kWrong,        // the answer isn't one to the request
  kSilent,       // no answer, or not the whole of it, in time
  kLost,         // the connection ended, or the line failed
  kUnreachable,  // there is no connection
};

// One request, without the unit that it is for.
struct ZRModbusRequest {
  static constexpr std::uint8_t kWriteCoil = 5;
  static constexpr std::uint8_t kWriteRegister = 6;
  static constexpr std::uint8_t kWriteRegisters = 16;

  std::uint8_t function = 0;  // reading: that of the table
  std::uint16_t address = 0;
  std::uint16_t count = 1;
  std::vector<std::uint16_t> values;  // writing: `count` of them; a coil is 0 or 1
};

struct ZRModbusAnswer {
  ZRModbusOutcome outcome = ZRModbusOutcome::kSilent;
  std::uint8_t exception = 0;         // of kException
  std::vector<std::uint16_t> values;  // of a reading that is kDone; bits are 0 or 1
};

// Reads `count` registers or bits of a table.
[[nodiscard]] ZRModbusRequest ReadRequest(ZRModbusTable table, std::uint16_t address,
                                          std::uint16_t count);
// Writes into the coils or the holding registers, by function 5, 6 or 16.
[[nodiscard]] ZRModbusRequest WriteRequest(ZRModbusTable table, std::uint16_t address,
                                           std::vector<std::uint16_t> values);

// The bytes of a request, from the function on.
[[nodiscard]] ZRBytes RequestBytes(const ZRModbusRequest& request);

// Reads the bytes of an answer, from the function on. kDone and kException only for an answer of
// exactly the form and size that the request asks for, kWrong otherwise.
[[nodiscard]] ZRModbusAnswer ReadAnswer(const ZRModbusRequest& request, ZRByteView bytes);

// What a device means by refusing.
[[nodiscard]] std::string ExceptionText(std::uint8_t exception);

// A message of Modbus TCP.
[[nodiscard]] ZRBytes TcpFrame(std::uint16_t transaction, std::uint8_t unit, ZRByteView bytes);
// False unless `frame` is one whole message of that transaction and unit: then its bytes from the
// function on, a part of `frame`.
[[nodiscard]] bool TakeTcpFrame(ZRByteView frame, std::uint16_t transaction, std::uint8_t unit,
                                ZRByteView& bytes);
// The same for a message on a serial line whose check sum has been looked at.
[[nodiscard]] bool TakeSerialFrame(ZRByteView frame, std::uint8_t unit, ZRByteView& bytes);

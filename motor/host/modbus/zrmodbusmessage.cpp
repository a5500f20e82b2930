#include "host/modbus/zrmodbusmessage.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace {

constexpr std::uint8_t kRefused = 0x80;
constexpr unsigned int kByteBits = 8;
constexpr std::uint16_t kCoilOn = 0xFF00;
constexpr std::size_t kEcho = 5;       // of a write: function, address, value or count
constexpr std::size_t kTcpHeader = 7;  // transaction, protocol, length, unit
constexpr std::size_t kLengthAt = 4;
constexpr std::size_t kCheckSum = 2;

void Put(ZRBytes& bytes, std::uint16_t word) {
  bytes.push_back(static_cast<std::uint8_t>(word >> kByteBits));
  bytes.push_back(static_cast<std::uint8_t>(word));
}

std::uint16_t WordAt(ZRByteView bytes, std::size_t at) {
  return static_cast<std::uint16_t>((bytes[at] << kByteBits) | bytes[at + 1]);
}

bool IsRead(std::uint8_t function) {
  return function >= static_cast<std::uint8_t>(ZRModbusTable::kCoils) &&
         function <= static_cast<std::uint8_t>(ZRModbusTable::kInput);
}

bool ReadsBits(std::uint8_t function) {
  return IsRead(function) && IsBitTable(static_cast<ZRModbusTable>(function));
}

std::uint16_t BitAt(ZRByteView data, std::size_t at) {
  const unsigned byte = data[at / kByteBits];
  return static_cast<std::uint16_t>((byte >> (at % kByteBits)) & 1U);
}

std::vector<std::uint16_t> Values(const ZRModbusRequest& request, ZRByteView data) {
  std::vector<std::uint16_t> values(request.count);
  for (std::size_t at = 0; at < values.size(); ++at) {
    values[at] = ReadsBits(request.function) ? BitAt(data, at) : WordAt(data, 2 * at);
  }
  return values;
}

}  // namespace

ZRModbusRequest ReadRequest(ZRModbusTable table, std::uint16_t address, std::uint16_t count) {
  return {static_cast<std::uint8_t>(table), address, count, {}};
}

ZRModbusRequest WriteRequest(ZRModbusTable table, std::uint16_t address,
                             std::vector<std::uint16_t> values) {
  ZRModbusRequest request;
  request.address = address;
  request.count = static_cast<std::uint16_t>(values.size());
  request.function = ZRModbusRequest::kWriteRegisters;
  if (values.size() == 1) request.function = ZRModbusRequest::kWriteRegister;
  if (table == ZRModbusTable::kCoils) request.function = ZRModbusRequest::kWriteCoil;
  request.values = std::move(values);
  return request;
}

ZRBytes RequestBytes(const ZRModbusRequest& request) {
  ZRBytes bytes{request.function};
  Put(bytes, request.address);
  if (request.function == ZRModbusRequest::kWriteCoil) {
    Put(bytes, request.values.front() != 0 ? kCoilOn : std::uint16_t{0});
  } else if (request.function == ZRModbusRequest::kWriteRegister) {
    Put(bytes, request.values.front());
  } else {
    Put(bytes, request.count);
  }
  if (request.function != ZRModbusRequest::kWriteRegisters) return bytes;
  bytes.push_back(static_cast<std::uint8_t>(2 * request.values.size()));
  for (const std::uint16_t value : request.values)
    Put(bytes, value);
  return bytes;
}

ZRModbusAnswer ReadAnswer(const ZRModbusRequest& request, ZRByteView bytes) {
  ZRModbusAnswer answer;
  answer.outcome = ZRModbusOutcome::kWrong;
  if (bytes.size() == 2 && bytes[0] == (request.function | kRefused)) {
    answer.outcome = ZRModbusOutcome::kException;
    answer.exception = bytes[1];
    return answer;
  }
  if (bytes.size() < 2 || bytes[0] != request.function) return answer;
  if (!IsRead(request.function)) {
    const ZRBytes asked = RequestBytes(request);
    const bool same =
        bytes.size() == kEcho && std::equal(bytes.begin(), bytes.end(), asked.begin());
    if (same) answer.outcome = ZRModbusOutcome::kDone;
    return answer;
  }
  const std::size_t expected = ReadsBits(request.function)
                                   ? (request.count + kByteBits - 1) / kByteBits
                                   : std::size_t{2} * request.count;
  if (bytes[1] != expected || bytes.size() != 2 + expected) return answer;
  answer.values = Values(request, bytes.subspan(2));
  answer.outcome = ZRModbusOutcome::kDone;
  return answer;
}

std::string ExceptionText(std::uint8_t exception) {
  constexpr std::array<std::string_view, 12> kTexts{"",
                                                    "illegal function",
                                                    "illegal data address",
                                                    "illegal data value",
                                                    "device failure",
                                                    "acknowledge",
                                                    "device busy",
                                                    "negative acknowledge",
                                                    "memory parity error",
                                                    "",
                                                    "gateway path unavailable",
                                                    "gateway target doesn't respond"};
  std::string text = "exception " + std::to_string(exception);
  if (exception < kTexts.size() && !kTexts[exception].empty())
    text.append(", ").append(kTexts[exception]);
  return text;
}

ZRBytes TcpFrame(std::uint16_t transaction, std::uint8_t unit, ZRByteView bytes) {
  ZRBytes frame;
  Put(frame, transaction);
  Put(frame, 0);
  Put(frame, static_cast<std::uint16_t>(bytes.size() + 1));
  frame.push_back(unit);
  frame.insert(frame.end(), bytes.begin(), bytes.end());
  return frame;
}

bool TakeTcpFrame(ZRByteView frame, std::uint16_t transaction, std::uint8_t unit,
                  ZRByteView& bytes) {
  if (frame.size() <= kTcpHeader) return false;
  const bool isAnswer = WordAt(frame, 0) == transaction && WordAt(frame, 2) == 0 &&
                        WordAt(frame, kLengthAt) == frame.size() - kTcpHeader + 1 &&
                        frame[kTcpHeader - 1] == unit;
  if (isAnswer) bytes = frame.subspan(kTcpHeader);
  return isAnswer;
}

bool TakeSerialFrame(ZRByteView frame, std::uint8_t unit, ZRByteView& bytes) {
  if (frame.size() <= 1 + kCheckSum || frame[0] != unit) return false;
  bytes = frame.subspan(1, frame.size() - 1 - kCheckSum);
  return true;
}

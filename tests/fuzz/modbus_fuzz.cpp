// Any bytes as the answer of a device: none is read beyond its end, and what is accepted has the
// size that was asked for. The first bytes choose what is asked, and how the registers are read.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "host/modbus/zrmodbusmessage.h"

namespace {

constexpr std::size_t kHead = 6;

void Require(bool promise) {
  if (!promise) std::abort();
}

void CheckValues(const std::uint8_t* head, const std::vector<std::uint16_t>& values) {
  ZRModbusRegister about;
  about.type = static_cast<ZRModbusType>(head[4] % 11);
  about.order = static_cast<ZRModbusOrder>(head[5] % 4);
  about.firstBit = head[3] % 16;
  about.bits = 16 - about.firstBit;
  about.writable = true;
  about.least = -1e18;
  about.most = 1e18;
  about.count = WordsOf(about.type);
  const std::string text = RegisterText(about, values);
  Require(text.size() <= 2 * values.size());
  for (const char character : text)
    Require(character >= ' ' && character <= '~');
  if (about.count == 0 || values.size() < about.count) return;
  const std::span<const std::uint16_t> words(values.data(), about.count);
  const auto raw = RawNumber(about, words);
  if (!raw) return;
  Require(std::isfinite(*raw));
  const auto scaled = Scaled(about, *raw, head[0] % 24 - 12);
  Require(!scaled || std::isfinite(*scaled));
  (void)EncodeNumber(about, *raw, head[0] % 24 - 12);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHead) return 0;
  const auto table = static_cast<ZRModbusTable>(1 + data[0] % 4);
  const auto count = static_cast<std::uint16_t>(1 + data[1] % 125);
  const ZRModbusRequest request = data[0] >= 128
                                      ? WriteRequest(ZRModbusTable::kHolding, data[2], {1, 2})
                                      : ReadRequest(table, data[2], count);
  const ZRByteView frame(data + kHead, size - kHead);
  ZRByteView bytes;
  if (!TakeTcpFrame(frame, 0x0102, data[3], bytes) && !TakeSerialFrame(frame, data[3], bytes))
    bytes = frame;
  const ZRModbusAnswer answer = ReadAnswer(request, bytes);
  Require(answer.outcome == ZRModbusOutcome::kDone || answer.outcome == ZRModbusOutcome::kWrong ||
          answer.outcome == ZRModbusOutcome::kException);
  const bool isReading = data[0] < 128 && answer.outcome == ZRModbusOutcome::kDone;
  Require(answer.values.size() == (isReading ? count : 0u));
  CheckValues(data, answer.values);
  return 0;
}

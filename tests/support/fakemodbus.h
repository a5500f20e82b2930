// Devices on a Modbus bus that exist in a test only, for as long as the object lives.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/modbus/zrmodbuswire.h"
#include "host/platform/zrplatform.h"

class FakeModbus final : public ZRModbusWire {
 public:
  struct tagDevice {
    std::array<std::map<std::uint16_t, std::uint16_t>, 5> tables;  // by the function that reads
    bool isSilent = false;
    std::uint8_t refuses = 0;  // with that exception
    std::map<std::uint16_t, std::uint16_t>& Holding() { return tables[3]; }
  };

  FakeModbus() { Replace(this); }
  ~FakeModbus() override { Replace(nullptr); }
  FakeModbus(const FakeModbus&) = delete;
  FakeModbus& operator=(const FakeModbus&) = delete;

  std::unique_ptr<ZRModbusLink> NewLink(const ZRModbusBus& bus) override {
    return std::make_unique<CLink>(*this, bus.timeout);
  }

  std::map<std::uint8_t, tagDevice> devices;
  bool isUnreachable = false;
  std::uint32_t takes = 0;  // ms, each answer
  // Another answer than the right one; nothing for the right one.
  std::function<std::optional<ZRBytes>(const ZRBytes& request)> lie;
  std::vector<std::pair<int, ZRBytes>> asked;  // unit and request, in order
  int closed = 0;

  // "unit:function:address:count" of what was asked since the last look.
  std::string Asked() {
    std::string text;
    for (; seen < asked.size(); ++seen) {
      const ZRBytes& bytes = asked[seen].second;
      text += (text.empty() ? "" : " ") + std::to_string(asked[seen].first) + ":" +
              std::to_string(bytes[0]) + ":" + std::to_string(Word(bytes, 1)) + ":" +
              std::to_string(Word(bytes, 3));
    }
    return text;
  }

 private:
  static constexpr std::uint8_t kIllegalAddress = 2;

  static std::uint16_t Word(const ZRBytes& bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
  }
  static ZRBytes Refusal(std::uint8_t function, std::uint8_t exception) {
    return {static_cast<std::uint8_t>(function | 0x80), exception};
  }
  static ZRBytes Read(const tagDevice& device, const ZRBytes& request) {
    const bool isBits = request[0] < 3;
    const std::uint16_t first = Word(request, 1);
    const std::uint16_t count = Word(request, 3);
    ZRBytes answer{request[0]};
    answer.resize(2 + (isBits ? (count + 7u) / 8u : 2u * count));
    answer[1] = static_cast<std::uint8_t>(answer.size() - 2);
    const auto& table = device.tables[request[0]];
    for (unsigned int at = 0; at < count; ++at) {
      const auto found = table.find(static_cast<std::uint16_t>(first + at));
      if (found == table.end()) return Refusal(request[0], kIllegalAddress);
      if (isBits) {
        answer[2 + at / 8] =
            static_cast<std::uint8_t>(answer[2 + at / 8] | found->second << at % 8);
      } else {
        answer[2 + 2 * at] = static_cast<std::uint8_t>(found->second >> 8);
        answer[3 + 2 * at] = static_cast<std::uint8_t>(found->second);
      }
    }
    return answer;
  }
  static ZRBytes Write(tagDevice& device, const ZRBytes& request) {
    const std::uint16_t first = Word(request, 1);
    const std::uint16_t value = Word(request, 3);
    if (request[0] == ZRModbusRequest::kWriteCoil) {
      device.tables[1][first] = value == 0xFF00 ? 1 : 0;
    } else if (request[0] == ZRModbusRequest::kWriteRegister) {
      device.Holding()[first] = value;
    } else {
      for (std::uint16_t at = 0; at < value; ++at)
        device.Holding()[static_cast<std::uint16_t>(first + at)] = Word(request, 6 + 2u * at);
    }
    return {request.begin(), request.begin() + 5};
  }

  class CLink final : public ZRModbusLink {
   public:
    CLink(FakeModbus& ofTest, std::uint32_t patience) : wire(ofTest), timeout(patience) {}

    ZRModbusOutcome Exchange(std::uint8_t unit, ZRByteView request, ZRBytes& answer) override {
      const ZRBytes bytes(request.begin(), request.end());
      wire.asked.emplace_back(unit, bytes);
      if (wire.isUnreachable) return ZRModbusOutcome::kUnreachable;
      const auto found = wire.devices.find(unit);
      if (found == wire.devices.end() || found->second.isSilent) {
        ZRPlatform::Get().Sleep(timeout);
        return ZRModbusOutcome::kSilent;
      }
      if (wire.takes > 0) ZRPlatform::Get().Sleep(wire.takes);
      const auto lied = wire.lie ? wire.lie(bytes) : std::nullopt;
      if (lied) {
        answer = *lied;
      } else if (found->second.refuses != 0) {
        answer = Refusal(bytes[0], found->second.refuses);
      } else {
        answer = bytes[0] < 5 ? Read(found->second, bytes) : Write(found->second, bytes);
      }
      return ZRModbusOutcome::kDone;
    }
    void Close() override { ++wire.closed; }
    std::string Reason() const override { return wire.isUnreachable ? "No route to host" : ""; }

   private:
    FakeModbus& wire;
    const std::uint32_t timeout;
  };

  std::size_t seen = 0;
};

// The way over TCP against a server that misbehaves.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

#include "host/modbus/zrmodbuswire.h"
#include "support/scriptedmeter.h"

namespace {

using Outcome = ZRModbusOutcome;
using tagReply = ScriptedMeter::tagReply;
using tagBytes = ScriptedMeter::tagBytes;

constexpr std::uint32_t kTimeout = 200;  // ms
constexpr std::uint8_t kUnit = 9;

class ModbusWire : public ::testing::Test {
 protected:
  void Play(ScriptedMeter::tagScript script) {
    meter = std::make_unique<ScriptedMeter>(std::move(script));
    ASSERT_NE(0, meter->Port());
    Connect(meter->Port());
  }
  void Connect(int port, const std::string& host = "127.0.0.1") {
    ZRModbusBus bus;
    bus.host = host;
    bus.port = port;
    bus.timeout = kTimeout;
    link = ZRModbusWire::Get().NewLink(bus);
  }
  // Asks for two registers.
  Outcome Ask() {
    const ZRModbusRequest request = ReadRequest(ZRModbusTable::kHolding, 5, 2);
    ZRBytes bytes;
    const Outcome outcome = link->Exchange(kUnit, RequestBytes(request), bytes);
    if (outcome != Outcome::kDone) return outcome;
    answer = ReadAnswer(request, bytes);
    return answer.outcome;
  }

  std::unique_ptr<ScriptedMeter> meter;
  std::unique_ptr<ZRModbusLink> link;
  ZRModbusAnswer answer;
};

TEST_F(ModbusWire, KeepsItsConnection) {
  std::uint16_t value = 0;
  Play([&](const tagBytes& request) { return tagReply{ScriptedMeter::Answer(request, ++value)}; });
  for (std::uint16_t at = 1; at <= 3; ++at) {
    ASSERT_EQ(Outcome::kDone, Ask());
    EXPECT_EQ((std::vector<std::uint16_t>{at, at}), answer.values);
  }
  EXPECT_EQ(1, meter->Connections());
}

TEST_F(ModbusWire, NeverTakesALateAnswerForTheNext) {
  tagBytes late;
  Play([&](const tagBytes& request) {
    if (meter->Requests() == 1) {
      late = ScriptedMeter::Answer(request, 1);
      return tagReply{};
    }
    tagReply reply{late};  // of the first one; the connection is another one by now
    const tagBytes right = ScriptedMeter::Answer(request, 2);
    reply.bytes.insert(reply.bytes.end(), right.begin(), right.end());
    return reply;
  });
  EXPECT_EQ(Outcome::kSilent, Ask());
  EXPECT_EQ(Outcome::kWrong, Ask());
  EXPECT_EQ(Outcome::kWrong, Ask()) << "nor what was left of the second answer";
  EXPECT_EQ(3, meter->Connections());
}

TEST_F(ModbusWire, ThrowsAwayWhatNobodyAskedFor) {
  Play([&](const tagBytes& request) {
    tagReply reply{ScriptedMeter::Answer(request, 7)};
    if (meter->Requests() == 1)
      reply.bytes.insert(reply.bytes.end(), reply.bytes.begin(), reply.bytes.end());
    return reply;
  });
  EXPECT_EQ(Outcome::kDone, Ask());
  EXPECT_EQ(Outcome::kDone, Ask());
  EXPECT_EQ(2, meter->Connections());
}

TEST_F(ModbusWire, TakesNoAnswerOfAnotherUnitTransactionOrFunction) {
  std::atomic<int> changed{0};
  Play([&](const tagBytes& request) {
    tagReply reply{ScriptedMeter::Answer(request, 7)};
    reply.bytes[static_cast<std::size_t>(changed.load())] ^= 1;
    return reply;
  });
  // Transaction, protocol, length, unit, function.
  for (changed = 0; changed < 8; ++changed)
    EXPECT_NE(Outcome::kDone, Ask()) << changed.load();
}

TEST_F(ModbusWire, KnowsRefusals) {
  Play([](const tagBytes& request) {
    tagBytes refusal(request.begin(), request.begin() + 8);
    refusal[5] = 3;
    refusal[7] |= 0x80;
    refusal.push_back(2);
    return tagReply{refusal};
  });
  EXPECT_EQ(Outcome::kException, Ask());
  EXPECT_EQ(2, answer.exception);
}

TEST_F(ModbusWire, AnAnswerThatIsCutIsNone) {
  Play([](const tagBytes& request) {
    tagReply reply{ScriptedMeter::Answer(request, 7)};
    reply.bytes.resize(10);
    return reply;
  });
  EXPECT_EQ(Outcome::kSilent, Ask());
}

TEST_F(ModbusWire, AnAnswerThatTricklesEndsInTime) {
  using Clock = std::chrono::steady_clock;
  Play([](const tagBytes& request) {
    tagReply reply{ScriptedMeter::Answer(request, 7)};
    reply.bytes.resize(8);
    reply.bytes.push_back(250);
    reply.bytes.resize(259, 1);
    reply.trickles = true;
    return reply;
  });
  const auto begin = Clock::now();
  EXPECT_EQ(Outcome::kSilent, Ask());
  // All of it takes 5 s; the bound is generous to a busy machine.
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(4));
}

TEST_F(ModbusWire, ComesBackAfterAReset) {
  Play([&](const tagBytes& request) {
    tagReply reply;
    reply.resets = meter->Requests() == 1;
    if (!reply.resets) reply.bytes = ScriptedMeter::Answer(request, 7);
    return reply;
  });
  EXPECT_EQ(Outcome::kLost, Ask());
  EXPECT_NE("", link->Reason());
  EXPECT_EQ(Outcome::kDone, Ask());
}

TEST_F(ModbusWire, AConnectionThatEndsBetweenRequestsIsMadeAnew) {
  std::atomic<int> ended{0};
  Play([&](const tagBytes& request) {
    tagReply reply{ScriptedMeter::Answer(request, 7)};
    reply.closes = true;
    ++ended;
    return reply;
  });
  EXPECT_EQ(Outcome::kDone, Ask());
  const std::uint32_t begin = ZRPlatform::Get().TickCount();
  Outcome outcome = Outcome::kLost;
  while (outcome == Outcome::kLost && ZRPlatform::Get().TickCount() - begin < 5000)
    outcome = Ask();  // the end may not have come yet
  EXPECT_EQ(Outcome::kDone, outcome);
}

TEST_F(ModbusWire, SaysWhyItCantReachAnybody) {
  Play([](const tagBytes&) { return tagReply{}; });
  const int port = meter->Port();
  meter.reset();
  Connect(port);
  EXPECT_EQ(Outcome::kUnreachable, Ask());
  EXPECT_EQ("Connection refused", link->Reason());
}

TEST_F(ModbusWire, FindsAHostByItsName) {
  Play([](const tagBytes& request) { return tagReply{ScriptedMeter::Answer(request, 7)}; });
  Connect(meter->Port(), "localhost");
  EXPECT_EQ(Outcome::kDone, Ask());
  Connect(meter->Port(), "name with blanks");
  EXPECT_EQ(Outcome::kUnreachable, Ask());
  EXPECT_NE("", link->Reason());
}

TEST_F(ModbusWire, ASerialLineThatIsNoneIsUnreachable) {
  for (const char* const device : {"/nonexistent/tty", "/dev/null"}) {
    ZRModbusBus bus;
    bus.device = device;
    bus.baud = 9600;
    bus.timeout = kTimeout;
    link = ZRModbusWire::Get().NewLink(bus);
    EXPECT_NE(Outcome::kDone, Ask()) << device;
    EXPECT_NE("", link->Reason()) << device;
  }
}

}  // namespace

// Servers that nobody here wrote: two of Modbus TCP, one on a serial line.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "host/drivers/zrmodbusdriver.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/modbus/zrmodbuswire.h"
#include "support/runningprogram.h"
#include "support/sourcedir.h"

namespace {

using Outcome = ZRModbusOutcome;
using Words = std::vector<std::uint16_t>;
namespace fs = std::filesystem;

constexpr std::uint32_t kTimeout = 2000;  // ms

std::string Peers(const std::string& file) {
  return RepositoryPath("tests/host/modbus/peers/" + file);
}

// Where a server is, while it runs.
class Server {
 public:
  virtual ~Server() = default;
  [[nodiscard]] virtual ZRModbusBus Bus() const = 0;
  [[nodiscard]] virtual std::uint8_t Unit() const = 0;
};

class TcpServer final : public Server {
 public:
  explicit TcpServer(const std::string& kind) {
    const std::string folder = (fs::read_symlink("/proc/self/exe").parent_path() / "npm").string();
    RunningProgram installing({Peers("npm/install"), folder});
    EXPECT_EQ(0, installing.Wait()) << installing.Error();
    program.emplace(std::vector<std::string>{"node", Peers("tcpserver.js"), folder, kind});
    const bool runs = program->WaitFor("port ") && program->WaitFor(".");
    EXPECT_TRUE(runs) << program->Error();
    const std::size_t at = program->Error().find("port ");
    if (runs) port = std::atoi(program->Error().c_str() + at + 5);
  }
  ZRModbusBus Bus() const override {
    ZRModbusBus bus;
    bus.host = "127.0.0.1";
    bus.port = port;
    bus.timeout = kTimeout;
    return bus;
  }
  std::uint8_t Unit() const override { return 9; }

 private:
  std::optional<RunningProgram> program;
  int port = 0;
};

class SerialServer final : public Server {
 public:
  SerialServer() {
    std::string pattern = (fs::temp_directory_path() / "tessaly-line-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    const std::string pty = "pty,raw,echo=0,link=";
    line.emplace(std::vector<std::string>{"socat", "-d", "-d", pty + (folder / "here").string(),
                                          pty + (folder / "there").string()});
    EXPECT_TRUE(line->WaitFor("starting data transfer loop")) << line->Error();
    program.emplace(std::vector<std::string>{"/usr/bin/python3", Peers("rtuserver.py"),
                                             (folder / "there").string()});
    EXPECT_TRUE(program->WaitFor("serving")) << program->Error();
  }
  ~SerialServer() override {
    program.reset();
    line.reset();
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }
  ZRModbusBus Bus() const override {
    ZRModbusBus bus;
    bus.device = (folder / "here").string();
    bus.baud = 19200;
    bus.parity = 'E';
    bus.timeout = kTimeout;
    return bus;
  }
  std::uint8_t Unit() const override { return 7; }
  void EndLine() { line.reset(); }

 private:
  fs::path folder;
  std::optional<RunningProgram> line;
  std::optional<RunningProgram> program;
};

class ModbusPeer : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const std::string kind = GetParam();
    if (kind == "pymodbus") {
      auto made = std::make_unique<SerialServer>();
      serial = made.get();
      server = std::move(made);
    } else {
      server = std::make_unique<TcpServer>(kind);
    }
    link = ZRModbusWire::Get().NewLink(server->Bus());
  }
  ZRModbusAnswer Say(const ZRModbusRequest& request, std::optional<std::uint8_t> to = {}) {
    ZRBytes bytes;
    ZRModbusAnswer answer;
    const std::uint8_t unit = to.value_or(server->Unit());
    answer.outcome = link->Exchange(unit, RequestBytes(request), bytes);
    if (answer.outcome == Outcome::kDone) answer = ReadAnswer(request, bytes);
    return answer;
  }
  Words Read(ZRModbusTable table, std::uint16_t address, std::uint16_t count) {
    const ZRModbusAnswer answer = Say(ReadRequest(table, address, count));
    EXPECT_EQ(Outcome::kDone, answer.outcome) << link->Reason();
    return answer.values;
  }

  std::unique_ptr<Server> server;
  SerialServer* serial = nullptr;  // of the server, if it is one
  std::unique_ptr<ZRModbusLink> link;
};

TEST_P(ModbusPeer, EachTableIsRead) {
  EXPECT_EQ((Words{257, 514, 771}), Read(ZRModbusTable::kHolding, 1, 3));
  EXPECT_EQ((Words{65535, 65534}), Read(ZRModbusTable::kInput, 0, 2));
  EXPECT_EQ((Words{0, 0, 1, 0, 0, 1, 0, 0, 1, 0}), Read(ZRModbusTable::kCoils, 1, 10));
  EXPECT_EQ((Words{1, 0, 1}), Read(ZRModbusTable::kDiscrete, 1, 3));
}

TEST_P(ModbusPeer, TheLongestReadingIsRead) {
  const Words words = Read(ZRModbusTable::kHolding, 75, 125);
  ASSERT_EQ(125u, words.size());
  EXPECT_EQ(75 * 257, words.front());
  EXPECT_EQ(199 * 257, words.back());
}

TEST_P(ModbusPeer, WhatIsWrittenIsRead) {
  EXPECT_EQ(Outcome::kDone, Say(WriteRequest(ZRModbusTable::kHolding, 10, {4711})).outcome);
  EXPECT_EQ(Outcome::kDone, Say(WriteRequest(ZRModbusTable::kHolding, 11, {1, 2, 3, 4})).outcome);
  EXPECT_EQ((Words{4711, 1, 2, 3, 4, 15 * 257}), Read(ZRModbusTable::kHolding, 10, 6));
  EXPECT_EQ(Outcome::kDone, Say(WriteRequest(ZRModbusTable::kCoils, 1, {1})).outcome);
  EXPECT_EQ(Outcome::kDone, Say(WriteRequest(ZRModbusTable::kCoils, 0, {0})).outcome);
  EXPECT_EQ((Words{0, 1, 0, 1}), Read(ZRModbusTable::kCoils, 0, 4));
}

TEST_P(ModbusPeer, ManyRequestsFollowEachOther) {
  for (std::uint16_t at = 0; at < 100; ++at)
    ASSERT_EQ((Words{static_cast<std::uint16_t>(257 * at)}), Read(ZRModbusTable::kHolding, at, 1));
}

// What there isn't is refused, and the line is good for the next request. One of the servers
// answers with fewer registers than it was asked for instead.
TEST_P(ModbusPeer, RefusesWhatItDoesntHave) {
  const ZRModbusAnswer answer = Say(ReadRequest(ZRModbusTable::kHolding, 500, 2));
  if (std::string(GetParam()) == "jsmodbus") {
    EXPECT_EQ(Outcome::kWrong, answer.outcome);
  } else {
    EXPECT_EQ(Outcome::kException, answer.outcome);
    EXPECT_EQ(2, answer.exception);
  }
  EXPECT_EQ((Words{257}), Read(ZRModbusTable::kHolding, 1, 1));
}

TEST_P(ModbusPeer, TheDriverShowsAndForces) {
  auto map = std::make_shared<ZRModbusMap>();
  ZRModbusRegister limit;
  limit.name = "LIMIT";
  limit.address = 20;
  limit.type = ZRModbusType::kFloat32;
  limit.count = 2;
  limit.order = ZRModbusOrder::kCdab;
  limit.writable = true;
  limit.most = 100;
  map->registers = {limit};
  map->blocks = PlanReads(map->registers, {}, 100);
  ZRModbusSettings settings;
  settings.bus = server->Bus();
  settings.meters = {{L"", server->Unit(), map}};
  ZRModbusDriver driver(L"peer", L"peer", 100, std::move(settings));
  ASSERT_TRUE(driver.Start());
  ZRPlatform& platform = ZRPlatform::Get();
  const std::uint32_t begin = platform.TickCount();
  const auto waits = [&] { return platform.TickCount() - begin < 10'000; };
  while (!driver.IsOnline() && waits())
    platform.Sleep(5);
  ZRValue value;
  value.SetNumeric(56.5);
  EXPECT_TRUE(driver.ForceValue(driver.VariableNumber(L"LIMIT"), value, L"LIMIT"));
  ZRLiveValue* const live = ZRLiveValues::Get().Find(L"peer.LIMIT");
  double shown = 0;
  while ((!live->Number(shown) || shown != 56.5) && waits())
    platform.Sleep(5);
  ZRLiveValues::Get().Release(live);
  EXPECT_EQ(56.5, shown);
  driver.Stop();
  EXPECT_EQ((Words{0, 0x4262}), Read(ZRModbusTable::kHolding, 20, 2));
}

INSTANTIATE_TEST_SUITE_P(Tcp, ModbusPeer, ::testing::Values("modbus-serial", "jsmodbus"),
                         [](const auto& about) {
                           return std::string(about.param) == "jsmodbus" ? "Jsmodbus"
                                                                         : "ModbusSerial";
                         });
INSTANTIATE_TEST_SUITE_P(Serial, ModbusPeer, ::testing::Values("pymodbus"),
                         [](const auto&) { return std::string("Pymodbus"); });

class ModbusSerialPeer : public ModbusPeer {};

TEST_P(ModbusSerialPeer, EachUnitHasItsOwnAnswers) {
  EXPECT_EQ((Words{5}), Say(ReadRequest(ZRModbusTable::kHolding, 0, 1), 8).values);
  EXPECT_EQ((Words{0}), Say(ReadRequest(ZRModbusTable::kHolding, 0, 1), 7).values);
}

TEST_P(ModbusSerialPeer, AUnitThatIsntThereIsSilentAndTheLineStaysGood) {
  EXPECT_EQ(Outcome::kSilent, Say(ReadRequest(ZRModbusTable::kHolding, 1, 1), 33).outcome);
  EXPECT_EQ((Words{257}), Read(ZRModbusTable::kHolding, 1, 1));
}

TEST_P(ModbusSerialPeer, ALineThatEndsIsLost) {
  EXPECT_EQ((Words{257}), Read(ZRModbusTable::kHolding, 1, 1));
  serial->EndLine();
  const Outcome outcome = Say(ReadRequest(ZRModbusTable::kHolding, 1, 1)).outcome;
  EXPECT_TRUE(outcome == Outcome::kLost || outcome == Outcome::kUnreachable);
  EXPECT_EQ(Outcome::kUnreachable, Say(ReadRequest(ZRModbusTable::kHolding, 1, 1)).outcome);
}

INSTANTIATE_TEST_SUITE_P(Serial, ModbusSerialPeer, ::testing::Values("pymodbus"),
                         [](const auto&) { return std::string("Pymodbus"); });

}  // namespace

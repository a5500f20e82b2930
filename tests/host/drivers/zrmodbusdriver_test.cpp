#include "host/drivers/zrmodbusdriver.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/drivers/drivers_fixture.h"
#include "host/drivers/zrdriverfactory.h"
#include "support/fakemodbus.h"
#include "support/logcapture.h"

namespace {

constexpr const char* kHall =
    "<type>modbus</type><name>hall</name><host>10.0.0.5</host><period_ms>1000</period_ms>";
constexpr const char* kPower =
    "<register><name>P</name><address>10</address><scale>0.1</scale></register>";

std::string Meter(const std::string& unit, const std::string& registers = kPower) {
  return "<meter><name>M#</name><unit>" + unit + "</unit>" + registers + "</meter>";
}

class ModbusDriver : public ::testing::Test {
 protected:
  ModbusDriver() {
    for (const std::uint8_t unit : {std::uint8_t{1}, std::uint8_t{2}}) {
      bus.devices[unit].Holding() = {{10, 2305}, {11, 1}, {12, 2}};
      bus.devices[unit].tables[1] = {{0, 1}};
    }
  }
  ~ModbusDriver() override {
    if (driver) driver->Stop();
  }

  void Start(const std::string& elements) {
    std::vector<ZRSettingProblem> problems;
    const CSettings settings(kHall + elements);
    driver = ZRDriverFactory::Make(settings.Table(), problems);
    ASSERT_NE(nullptr, driver) << TextsOf(problems);
    EXPECT_EQ("", TextsOf(problems));
    ASSERT_TRUE(driver->Start());
  }
  bool Force(const char* variable, double number) {
    ZRValue value;
    value.SetNumeric(number);
    const std::int64_t id = driver->VariableNumber(Utf8ToUtf16(variable));
    return driver->ForceValue(id, value, L"hall");
  }

  ZRVirtualTime time;
  FakeModbus bus;
  std::unique_ptr<ZRDriver> driver;
};

TEST_F(ModbusDriver, StartWaitsForNoDevice) {
  bus.devices.clear();
  const std::uint32_t before = time.TickCount();
  Start(Meter("1-20"));
  EXPECT_EQ(before, time.TickCount());
  EXPECT_EQ("", bus.Asked());
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.P"));
  EXPECT_EQ(0, NumberOf(L"hall.M1.ONLINE"));
  EXPECT_FALSE(driver->IsOnline());
}

TEST_F(ModbusDriver, ReadsEachDeviceInItsPeriod) {
  Start(Meter("1-2"));
  time.Advance(0);
  EXPECT_EQ("1:3:10:1 2:3:10:1", bus.Asked());
  EXPECT_EQ(230.5, NumberOf(L"hall.M1.P"));
  EXPECT_EQ(1, NumberOf(L"hall.M2.ONLINE"));
  EXPECT_TRUE(driver->IsOnline());
  bus.devices[2].Holding()[10] = 2310;
  time.Advance(999);
  EXPECT_EQ("", bus.Asked());
  EXPECT_EQ(230.5, NumberOf(L"hall.M2.P"));
  time.Advance(1);
  EXPECT_EQ("1:3:10:1 2:3:10:1", bus.Asked());
  EXPECT_EQ(231.0, NumberOf(L"hall.M2.P"));
}

TEST_F(ModbusDriver, OneDeviceNeedsNoTableOfItsOwn) {
  Start(std::string("<unit>2</unit>") + kPower);
  time.Advance(0);
  EXPECT_EQ("2:3:10:1", bus.Asked());
  EXPECT_EQ(230.5, NumberOf(L"hall.P"));
  EXPECT_EQ(1, NumberOf(L"hall.ONLINE"));
}

TEST_F(ModbusDriver, ARegisterMayHaveAPeriodOfItsOwn) {
  Start(Meter("1", std::string(kPower) + "<register><name>E</name><address>11</address>"
                                         "<period_ms>5000</period_ms></register>"));
  time.Advance(0);
  EXPECT_EQ("1:3:10:1 1:3:11:1", bus.Asked());
  time.Advance(4999);
  EXPECT_EQ("1:3:10:1 1:3:10:1 1:3:10:1 1:3:10:1", bus.Asked());
  time.Advance(1);
  EXPECT_EQ("1:3:10:1 1:3:11:1", bus.Asked());
}

TEST_F(ModbusDriver, ShowsBitsAndTexts) {
  bus.devices[1].Holding()[20] = 0x4142;
  Start(Meter("1",
              "<register><name>S</name><function>coil</function><address>0</address></register>"
              "<register><name>T</name><type>text</type><length>1</length>"
              "<address>20</address></register>"));
  time.Advance(0);
  EXPECT_EQ(1, NumberOf(L"hall.M1.S"));
  EXPECT_EQ("AB", TextOf(L"hall.M1.T"));
}

TEST_F(ModbusDriver, ScalesByARegisterWhereverItStands) {
  bus.devices[1].Holding() = {{10, 2305}, {11, 0xFFFF}};
  Start(Meter("1",
              "<register><name>W</name><address>10</address><scale_from>F</scale_from></register>"
              "<register><name>F</name><type>int16</type><address>11</address></register>"));
  time.Advance(0);
  EXPECT_EQ(230.5, NumberOf(L"hall.M1.W"));
  bus.devices[1].Holding()[11] = 0x8000;
  time.Advance(1000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.W"));
}

TEST_F(ModbusDriver, ForgetsValuesAfterTheMissedPeriods) {
  Start(Meter("1"));
  time.Advance(0);
  bus.devices[1].isSilent = true;
  time.Advance(2999);
  EXPECT_EQ(230.5, NumberOf(L"hall.M1.P"));
  EXPECT_EQ(1, NumberOf(L"hall.M1.ONLINE"));
  time.Advance(1002);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.P"));
  EXPECT_EQ(0, NumberOf(L"hall.M1.ONLINE"));
  EXPECT_FALSE(driver->IsOnline());
  bus.devices[1].isSilent = false;
  time.Advance(30'000);
  EXPECT_EQ(230.5, NumberOf(L"hall.M1.P"));
  EXPECT_TRUE(driver->IsOnline());
}

TEST_F(ModbusDriver, AsksASilentDeviceLessAndLessOftenAndTheOthersAsEver) {
  bus.devices[2].isSilent = true;
  Start(std::string("<timeout_ms>100</timeout_ms>") + Meter("1-2"));
  time.Advance(600'000);
  int good = 0;
  int silent = 0;
  for (const auto& [unit, bytes] : bus.asked)
    ++(unit == 1 ? good : silent);
  EXPECT_EQ(601, good);
  EXPECT_EQ(24, silent) << "at 0, 1, 3, 7, 15, 31 and from then on each 30.1 s";
}

TEST_F(ModbusDriver, ClosesTheConnectionAfterSilence) {
  bus.devices[1].isSilent = true;
  Start(Meter("1"));
  time.Advance(1000);
  EXPECT_EQ(1, bus.closed);
}

TEST_F(ModbusDriver, AWrongAnswerIsNone) {
  const LogCapture log(kLogDelivery);
  bus.lie = [](const ZRBytes&) { return ZRBytes{3, 4, 1, 2, 3, 4}; };
  Start(Meter("1"));
  time.Advance(10'000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.P"));
  EXPECT_EQ(4, bus.closed) << "at 0, 1, 3 and 7 s";
  EXPECT_EQ(std::vector<std::string>{"driver 'hall': unit 1 answers what it wasn't asked"},
            log.Starting("driver 'hall'"));
}

TEST_F(ModbusDriver, ARefusedBlockHoldsNoOtherBlockUp) {
  const LogCapture log(kLogDelivery);
  Start(Meter("1",
              std::string(kPower) + "<register><name>X</name><address>500</address></register>"));
  time.Advance(60'000);
  EXPECT_EQ(230.5, NumberOf(L"hall.M1.P"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.X"));
  EXPECT_EQ(1, NumberOf(L"hall.M1.ONLINE"));
  EXPECT_EQ(0, bus.closed);
  EXPECT_EQ(std::vector<std::string>{"driver 'hall': unit 1, holding registers 500 to 500 can't be "
                                     "read: exception 2, illegal data address"},
            log.Starting("driver 'hall'"));
}

TEST_F(ModbusDriver, SaysACauseOnce) {
  const LogCapture log(kLogDelivery);
  bus.isUnreachable = true;
  Start(Meter("1-2"));
  time.Advance(120'000);
  bus.isUnreachable = false;
  bus.devices[1].isSilent = true;
  time.Advance(60'000);
  bus.devices[1].isSilent = false;
  time.Advance(60'000);
  EXPECT_EQ((std::vector<std::string>{"driver 'hall': 10.0.0.5:502 can't be reached: No route to "
                                      "host",
                                      "driver 'hall': 10.0.0.5:502 is there again",
                                      "driver 'hall': unit 1 doesn't answer",
                                      "driver 'hall': unit 1 is there again"}),
            log.Starting("driver 'hall'"));
}

TEST_F(ModbusDriver, TellsItsTrouble) {
  bus.devices[2].isSilent = true;
  bus.devices.erase(3);
  Start(Meter("1-3"));
  time.Advance(2500);
  EXPECT_STREQ("unit 2 doesn't answer; and 1 more", driver->Trouble().Text());
  bus.isUnreachable = true;
  time.Advance(10'000);
  EXPECT_STREQ("10.0.0.5:502 can't be reached: No route to host", driver->Trouble().Text());
  bus.isUnreachable = false;
  bus.devices[2].isSilent = false;
  bus.devices[3] = bus.devices[1];
  time.Advance(60'000);
  EXPECT_STREQ("", driver->Trouble().Text());
}

TEST_F(ModbusDriver, ABusOutOfReachCostsOneAttemptForAllDevices) {
  bus.isUnreachable = true;
  Start(Meter("1-200"));
  time.Advance(0);
  EXPECT_EQ("1:3:10:1", bus.Asked());
}

TEST_F(ModbusDriver, ValuesGoWithTheBus) {
  Start(Meter("1-2"));
  time.Advance(0);
  bus.isUnreachable = true;
  time.Advance(3001);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M2.P"));
  EXPECT_EQ(0, NumberOf(L"hall.M2.ONLINE"));
}

TEST_F(ModbusDriver, ABusThatIsTooSlowIsToldOnceAndShownStill) {
  const LogCapture log(kLogDelivery);
  bus.takes = 700;
  Start(Meter("1-2"));
  time.Advance(60'000);
  EXPECT_EQ(std::vector<std::string>{"driver 'hall': the bus is too slow for its periods"},
            log.Starting("driver 'hall'"));
  EXPECT_EQ(230.5, NumberOf(L"hall.M2.P"));
}

TEST_F(ModbusDriver, StopWaitsForOneAnswerAtMost) {
  bus.devices.clear();
  Start(Meter("1-200"));
  time.Advance(10'500);
  const std::uint32_t before = time.TickCount();
  driver->Stop();
  EXPECT_LE(time.TickCount() - before, 1000u);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.ONLINE"));
}

TEST_F(ModbusDriver, StartsAgain) {
  Start(Meter("1"));
  time.Advance(0);
  driver->Stop();
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.M1.P"));
  ASSERT_TRUE(driver->Start());
  time.Advance(0);
  EXPECT_EQ(230.5, NumberOf(L"hall.M1.P"));
}

constexpr const char* kLimit =
    "<register><name>L</name><address>11</address><type>uint32</type><write>true</write>"
    "<least>0</least><most>100000</most></register>"
    "<register><name>R</name><address>10</address><write>true</write></register>"
    "<register><name>C</name><function>coil</function><address>0</address><write>true</write>"
    "</register>";

TEST_F(ModbusDriver, WritesWhatIsForcedAndReadsItAtOnce) {
  Start(Meter("1", kLimit));
  time.Advance(0);
  (void)bus.Asked();
  EXPECT_TRUE(Force("M1.L", 70'000));
  EXPECT_TRUE(Force("M1.R", 7));
  EXPECT_TRUE(Force("M1.C", 0));
  EXPECT_EQ(0, bus.devices[1].tables[1][0]);
  EXPECT_EQ(1, bus.devices[1].Holding()[11]);
  EXPECT_EQ(4464, bus.devices[1].Holding()[12]);
  time.Advance(0);
  const std::string said = bus.Asked();
  EXPECT_NE(std::string::npos, said.find("1:16:11:2")) << said;
  EXPECT_NE(std::string::npos, said.find("1:6:10:7")) << said;
  EXPECT_NE(std::string::npos, said.find("1:5:0:0")) << said;
  EXPECT_EQ(70'000, NumberOf(L"hall.M1.L"));
  EXPECT_EQ(0, NumberOf(L"hall.M1.C"));
}

TEST_F(ModbusDriver, ForcesNothingOutOfLimitsOrReadOnly) {
  Start(
      Meter("1", std::string(kLimit) + "<register><name>P</name><address>12</address></register>"));
  time.Advance(0);
  (void)bus.Asked();
  EXPECT_FALSE(Force("M1.L", -1));
  EXPECT_FALSE(Force("M1.L", 100'001));
  EXPECT_FALSE(Force("M1.L", std::nan("")));
  EXPECT_FALSE(Force("M1.R", 65'536)) << "out of the type's range";
  EXPECT_FALSE(Force("M1.C", 2));
  EXPECT_FALSE(Force("M1.P", 1));
  EXPECT_FALSE(Force("M1.ONLINE", 1));
  EXPECT_FALSE(Force("M1.NONE", 1));
  ZRValue text;
  text.SetString(L"1");
  EXPECT_FALSE(driver->ForceValue(driver->VariableNumber(L"M1.L"), text, L""));
  EXPECT_EQ("", bus.Asked());
}

TEST_F(ModbusDriver, ForcingWaitsForASlowBusNoLongerThanASecond) {
  Start(Meter("1", kLimit));
  time.Advance(0);
  bus.takes = 5000;
  time.Advance(1000);  // a reading is under way
  (void)bus.Asked();
  const std::uint32_t before = time.TickCount();
  EXPECT_FALSE(Force("M1.R", 7));
  EXPECT_EQ(1000u, time.TickCount() - before);
  time.Advance(60'000);
  EXPECT_EQ(std::string::npos, bus.Asked().find("1:6:")) << "what wasn't begun isn't done";
}

TEST_F(ModbusDriver, ForcingADeviceThatIsAwayFailsAtOnce) {
  Start(Meter("1-2", kLimit));
  time.Advance(0);
  bus.devices[1].isSilent = true;
  time.Advance(10'000);
  const std::uint32_t before = time.TickCount();
  EXPECT_FALSE(Force("M1.R", 7));
  EXPECT_EQ(before, time.TickCount());
  EXPECT_TRUE(Force("M2.R", 7));
  driver->Stop();
  EXPECT_FALSE(Force("M2.R", 7));
}

TEST_F(ModbusDriver, SaysWhatCanBeForced) {
  Start(Meter("1", kLimit));
  tagSVariableValueInfo info;
  ASSERT_TRUE(driver->ValueInfo(driver->VariableNumber(L"M1.C"), info));
  EXPECT_EQ(tagSVariableValueInfo::kForceable, info.flags);
  EXPECT_EQ(2u, info.labels.size());
  ASSERT_TRUE(driver->ValueInfo(driver->VariableNumber(L"M1.ONLINE"), info));
  EXPECT_EQ(0, info.flags);
  EXPECT_FALSE(driver->ValueInfo(-1, info));
  EXPECT_FALSE(driver->ValueInfo(99, info));
}

// On the system's own threads.
TEST(ModbusDriverThreads, ForceAtOnce) {
  FakeModbus bus;
  bus.devices[1].Holding() = {{10, 1}, {11, 2}};
  std::vector<ZRSettingProblem> problems;
  const CSettings settings(std::string(kHall) +
                           "<register><name>A</name><address>10</address><write>true</write>"
                           "</register><register><name>B</name><address>11</address>"
                           "<write>true</write></register>");
  const std::unique_ptr<ZRDriver> driver = ZRDriverFactory::Make(settings.Table(), problems);
  ASSERT_NE(nullptr, driver) << TextsOf(problems);
  ASSERT_TRUE(driver->Start());
  while (!driver->IsOnline())
    ZRPlatform::Get().Sleep(0);
  const std::int64_t a = driver->VariableNumber(L"A");
  ZRThread threads[4];
  for (int at = 0; at < 4; ++at) {
    ASSERT_TRUE(threads[at].Start([&driver, a, at] {
      ZRValue value;
      value.SetNumeric(100 + at);
      for (int times = 0; times < 20; ++times)
        EXPECT_TRUE(driver->ForceValue(a + at % 2, value, L"A"));
    }));
  }
  for (ZRThread& thread : threads)
    thread.Join();
  driver->Stop();
  EXPECT_GE(bus.devices[1].Holding()[10], 100);
  EXPECT_GE(bus.devices[1].Holding()[11], 101);
}

}  // namespace

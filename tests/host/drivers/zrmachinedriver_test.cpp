#include "host/drivers/zrmachinedriver.h"

#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"
#include "host/driversupport/zrdrivervariable.h"

namespace {

class MachineDriver : public testing::Test {
 protected:
  MachineDriver() {
    machine.files["/proc/loadavg"] = "0.50 1.25 2.75 2/345 6789\n";
    machine.files["/proc/stat"] = "cpu  100 0 0 900 0 0 0 0 0 0\n";
    machine.files["/proc/meminfo"] = "MemTotal: 1000000 kB\nMemAvailable: 250000 kB\n";
    machine.files["/proc/uptime"] = "86400.25 1.0\n";
    machine.folders["/proc"] = {"1", "22", "333", "self", "stat"};
    machine.folders["/sys/class/thermal"] = {"thermal_zone0", "cooling_device0"};
    machine.folders["/sys/class/thermal/thermal_zone0"] = {"temp", "type"};
    machine.files["/sys/class/thermal/thermal_zone0/temp"] = "41000\n";
    machine.folders["/sys/class/hwmon"] = {"hwmon0"};
    machine.folders["/sys/class/hwmon/hwmon0"] = {"temp1_input", "temp2_input", "temp3_input",
                                                  "temp1_max"};
    machine.files["/sys/class/hwmon/hwmon0/temp1_input"] = "52500\n";
    machine.files["/sys/class/hwmon/hwmon0/temp2_input"] = "-273000\n";
    machine.files["/sys/class/hwmon/hwmon0/temp3_input"] = "30000\n";
    machine.files["/sys/class/hwmon/hwmon0/temp1_max"] = "99000\n";
  }

  CFakeMachine machine;
  std::optional<ZRDiskSpace> space{ZRDiskSpace{200'000'000'000, 50'000'000'000}};
  std::string probed;
  ZRMachineDriver driver{1000, "/var/site/data/", [this](const std::string& folder) {
                           probed = folder;
                           return space;
                         }};
};

TEST_F(MachineDriver, IsTheSystemDriver) {
  EXPECT_TRUE(driver.Id() == L"R$SYS");
  EXPECT_TRUE(driver.Name() == L"R$SYS");
}

TEST_F(MachineDriver, HasItsFactsWhenItHasStarted) {
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(0.5, NumberOf(L"R$SYS.LOAD1"));
  EXPECT_EQ(1.25, NumberOf(L"R$SYS.LOAD5"));
  EXPECT_EQ(2.75, NumberOf(L"R$SYS.LOAD15"));
  EXPECT_EQ(75.0, NumberOf(L"R$SYS.MEMUSED"));
  EXPECT_EQ(256.0, NumberOf(L"R$SYS.MEMFREE"));
  EXPECT_EQ(75.0, NumberOf(L"R$SYS.DISKUSED"));
  EXPECT_EQ(50.0, NumberOf(L"R$SYS.DISKFREE"));
  EXPECT_EQ(52.5, NumberOf(L"R$SYS.TEMP"));
  EXPECT_EQ(86400.25, NumberOf(L"R$SYS.UPTIME"));
  EXPECT_EQ(3.0, NumberOf(L"R$SYS.PROCS"));
  EXPECT_EQ("/var/site/data/", probed);
  driver.Stop();
}

TEST_F(MachineDriver, NeedsTwoReadingsToTellHowBusyTheProcessorsWere) {
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.CPU"));
  machine.files["/proc/stat"] = "cpu  130 0 0 970 0 0 0 0 0 0\n";
  machine.Advance(1000);
  EXPECT_EQ(30.0, NumberOf(L"R$SYS.CPU"));
  machine.files["/proc/stat"] = "cpu  230 0 0 970 0 0 0 0 0 0\n";
  machine.Advance(1000);
  EXPECT_EQ(100.0, NumberOf(L"R$SYS.CPU"));
  driver.Stop();
}

TEST_F(MachineDriver, WhatCantBeReadIsUnavailableAndTheRestIsnt) {
  ASSERT_TRUE(driver.Start());
  machine.files.erase("/proc/meminfo");
  machine.folders.erase("/sys/class/hwmon");
  machine.folders.erase("/sys/class/thermal");
  space.reset();
  machine.Advance(1000);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.MEMUSED"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.MEMFREE"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.TEMP"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.DISKFREE"));
  EXPECT_EQ(0.5, NumberOf(L"R$SYS.LOAD1"));
  machine.files["/proc/meminfo"] = "MemTotal: 4 kB\nMemAvailable: 1 kB\n";
  machine.Advance(1000);
  EXPECT_EQ(75.0, NumberOf(L"R$SYS.MEMUSED"));
  driver.Stop();
}

TEST_F(MachineDriver, TheEngineWritesItsNumberOfEventsAndTheHostItsCycle) {
  ASSERT_TRUE(driver.Start());
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.NEVE"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"R$SYS.CYCLE"));
  ZRDriverVariable variable;
  variable.Setup(L"R$SYS.NEVE");
  ASSERT_TRUE(variable.Lock(false));
  ZRValue value;
  value.SetNumeric(12.0);
  variable.SetValue(value);
  driver.SetCycle(3.5);
  machine.Advance(5000);
  EXPECT_EQ(12.0, NumberOf(L"R$SYS.NEVE"));
  EXPECT_EQ(3.5, NumberOf(L"R$SYS.CYCLE"));
  driver.Stop();
  EXPECT_EQ(12.0, NumberOf(L"R$SYS.NEVE"));
}

TEST_F(MachineDriver, FactsCantBeForced) {
  ASSERT_TRUE(driver.Start());
  const std::int64_t uptime = driver.VariableNumber(L"UPTIME");
  ZRValue value;
  value.SetNumeric(1.0);
  EXPECT_FALSE(driver.ForceValue(uptime, value, L"somebody"));
  tagSVariableValueInfo info;
  ASSERT_TRUE(driver.ValueInfo(uptime, info));
  EXPECT_EQ(0, info.flags);
  EXPECT_FALSE(driver.ValueInfo(-1, info));
  EXPECT_EQ(86400.25, NumberOf(L"R$SYS.UPTIME"));
  driver.Stop();
}

TEST(MachineDriverOnThisMachine, FindsTheFactsThatEverySystemHas) {
  ZRMachineDriver driver(1000, "/");
  driver.Poll(ZRPlatform::Get().UtcMilliseconds());
  ASSERT_TRUE(NumberOf(L"R$SYS.MEMUSED"));
  EXPECT_GT(*NumberOf(L"R$SYS.MEMUSED"), 0.0);
  EXPECT_LE(*NumberOf(L"R$SYS.MEMUSED"), 100.0);
  ASSERT_TRUE(NumberOf(L"R$SYS.DISKUSED"));
  EXPECT_LE(*NumberOf(L"R$SYS.DISKUSED"), 100.0);
  ASSERT_TRUE(NumberOf(L"R$SYS.UPTIME"));
  EXPECT_GT(*NumberOf(L"R$SYS.UPTIME"), 0.0);
  ASSERT_TRUE(NumberOf(L"R$SYS.PROCS"));
  EXPECT_GE(*NumberOf(L"R$SYS.PROCS"), 1.0);
  EXPECT_TRUE(NumberOf(L"R$SYS.LOAD1"));
}

TEST(MachineDriverOnThisMachine, AFolderThatIsntThereHasNoSpace) {
  EXPECT_FALSE(ZRMachineDriver::ProbeDisk("/no such folder/at all"));
}

}  // namespace

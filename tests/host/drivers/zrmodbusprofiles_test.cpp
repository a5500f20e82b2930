#include "host/drivers/zrmodbusprofiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "host/drivers/drivers_fixture.h"
#include "host/drivers/zrdriverfactory.h"
#include "host/drivers/zrmodbusmap.h"
#include "host/modbus/zrmodbusplan.h"
#include "support/fakemodbus.h"

namespace {

namespace fs = std::filesystem;

TEST(ModbusProfiles, AreThoseOfTheirPage) {
  std::set<std::string_view> names;
  for (const ZRModbusProfile& profile : ModbusProfiles())
    names.insert(profile.name);
  EXPECT_EQ(
      (std::set<std::string_view>{"sunspec-common", "sunspec-inverter-single-phase",
                                  "sunspec-inverter-split-phase", "sunspec-inverter-three-phase",
                                  "sunspec-meter-single-phase", "sunspec-meter-three-phase"}),
      names);
}

TEST(ModbusProfiles, AreReadWithoutAProblemAndInTwoRequestsAtMost) {
  for (const ZRModbusProfile& profile : ModbusProfiles()) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRModbusRegister> registers;
    EXPECT_TRUE(ReadModbusProfile(profile.toml, std::string(profile.name), std::nullopt, problems,
                                  registers));
    EXPECT_EQ("", TextsOf(problems)) << profile.name;
    EXPECT_GE(2u, PlanReads(registers, {4, 125}, 1000).size()) << profile.name;
    EXPECT_NE(std::string_view::npos, profile.toml.find("\nsource = ")) << profile.name;
  }
}

class ModbusProfileDriver : public ::testing::Test {
 protected:
  ~ModbusProfileDriver() override {
    if (driver) driver->Stop();
  }
  // Words from `first` on; everything up to `last` is there.
  void Fill(std::uint16_t first, std::uint16_t last, const std::vector<std::uint16_t>& words) {
    for (std::uint32_t at = first; at <= last; ++at) {
      const std::size_t index = at - first;
      bus.devices[1].Holding()[static_cast<std::uint16_t>(at)] =
          index < words.size() ? words[index] : 0;
    }
  }
  void Start(const std::string& profile) {
    std::vector<ZRSettingProblem> problems;
    const CSettings settings("<type>modbus</type><name>roof</name><host>10.0.0.5</host><profile>" +
                             profile + "</profile>");
    driver = ZRDriverFactory::Make(settings.Table(), problems);
    ASSERT_NE(nullptr, driver) << TextsOf(problems);
    ASSERT_TRUE(driver->Start());
    time.Advance(0);
  }

  ZRVirtualTime time;
  FakeModbus bus;
  std::unique_ptr<ZRDriver> driver;
};

TEST_F(ModbusProfileDriver, ShowsAnInverter) {
  // As far as W_SF: model, length, four currents, 10^-2, six voltages, 10^-1, power, 10^1.
  Fill(40070, 40121,
       {103, 50, 1234, 411, 412, 411, 0xFFFE, 4000, 4001, 4002, 2301, 2302, 2303, 0xFFFF, 0xFE0C, 1,
        5001, 0xFFFE});
  bus.devices[1].Holding()[40094] = 0x0001;
  bus.devices[1].Holding()[40095] = 0x86A0;
  bus.devices[1].Holding()[40103] = 0x8000;  // no temperature of the cabinet
  bus.devices[1].Holding()[40104] = 455;
  bus.devices[1].Holding()[40107] = 0xFFFF;
  bus.devices[1].Holding()[40108] = 4;
  bus.devices[1].Holding()[40098] = 0x8000;  // no scale of the direct current
  Start("sunspec-inverter-three-phase");
  EXPECT_EQ(103, NumberOf(L"roof.ID"));
  EXPECT_EQ(12.34, NumberOf(L"roof.A"));
  EXPECT_EQ(4.12, NumberOf(L"roof.A_B"));
  EXPECT_EQ(400.2, NumberOf(L"roof.V_CA"));
  EXPECT_EQ(230.3, NumberOf(L"roof.V_C"));
  EXPECT_EQ(-5000, NumberOf(L"roof.W"));
  EXPECT_EQ(50.01, NumberOf(L"roof.HZ"));
  EXPECT_EQ(100000, NumberOf(L"roof.WH"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"roof.TEMP_CABINET"));
  EXPECT_EQ(45.5, NumberOf(L"roof.TEMP_SINK"));
  EXPECT_EQ(4, NumberOf(L"roof.STATE"));
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"roof.DCA"));
}

TEST_F(ModbusProfileDriver, ShowsAPlate) {
  Fill(40002, 40068, {1, 66, 0x4163, 0x6D65});
  bus.devices[1].Holding()[40052] = 0x5334;
  Start("sunspec-common");
  EXPECT_EQ("Acme", TextOf(L"roof.MAKER"));
  EXPECT_EQ("S4", TextOf(L"roof.SERIAL"));
  EXPECT_EQ("", TextOf(L"roof.VERSION"));
}

TEST_F(ModbusProfileDriver, ShowsAMeter) {
  Fill(40070, 40124, {203, 105});
  bus.devices[1].Holding()[40088] = 0xFFFF;  // W: -1 kW
  bus.devices[1].Holding()[40092] = 3;
  bus.devices[1].Holding()[40117] = 7;  // imported: 7 * 10^2 Wh
  bus.devices[1].Holding()[40124] = 2;
  Start("sunspec-meter-three-phase");
  EXPECT_EQ(-1000, NumberOf(L"roof.W"));
  EXPECT_EQ(700, NumberOf(L"roof.WH_IMPORTED"));
}

// A site of its own with one profile.
class OwnProfile : public ::testing::Test {
 protected:
  OwnProfile() {
    std::string pattern = (fs::temp_directory_path() / "tessaly-profile-XXXXXX").string();
    site = ::mkdtemp(pattern.data());
    fs::create_directory(site / "profiles");
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText("", Utf8ToUtf16(site.string()), problems, warnings));
  }
  ~OwnProfile() override {
    std::error_code ignored;
    fs::remove_all(site, ignored);
  }
  std::unique_ptr<ZRDriver> Make(const std::string& name, const std::string& toml) {
    std::ofstream(site / "profiles" / (name + ".toml")) << toml;
    const CSettings settings("<type>modbus</type><name>roof</name><host>10.0.0.5</host><profile>" +
                             name + "</profile>");
    return ZRDriverFactory::Make(settings.Table(), problems);
  }

  fs::path site;
  std::vector<ZRSettingProblem> problems;
};

TEST_F(OwnProfile, IsInFrontOfOneThatCameWithTheProgram) {
  const auto driver = Make("sunspec-common", "[[register]]\nname = \"MINE\"\naddress = 1\n");
  ASSERT_NE(nullptr, driver) << TextsOf(problems);
  EXPECT_LT(0, driver->VariableNumber(L"MINE"));
  EXPECT_EQ(-1, driver->VariableNumber(L"SERIAL"));
}

TEST_F(OwnProfile, IsRefusedWithItsFileAndLine) {
  EXPECT_EQ(nullptr, Make("mine", "\n\n[[register]]\nname = \"A\"\n"));
  ASSERT_EQ(2u, problems.size());
  const std::string file = (site / "profiles" / "mine.toml").string();
  EXPECT_EQ(file + ", line 3: profile \"" + file + "\", register \"A\": \"address\" is missing",
            std::string(problems[0].text.Text()));
  EXPECT_EQ("driver \"roof\": \"profile\" is broken: " + file,
            std::string(problems[1].text.Text()));
}

}  // namespace

#include "host/drivers/zrmodbusmap.h"

#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"
#include "host/drivers/zrdriverfactory.h"

namespace {

std::string Problem(const std::string& toml) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRModbusRegister> registers;
  EXPECT_FALSE(ReadModbusProfile(toml, "m.toml", std::nullopt, problems, registers)) << toml;
  return problems.empty() ? std::string() : problems.front().text.Text();
}

std::vector<ZRModbusRegister> Registers(const std::string& toml,
                                        std::optional<int> base = std::nullopt) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRModbusRegister> registers;
  EXPECT_TRUE(ReadModbusProfile(toml, "m.toml", base, problems, registers)) << TextsOf(problems);
  EXPECT_EQ("", TextsOf(problems));
  return registers;
}

TEST(ModbusMap, ReadsEachKey) {
  const auto registers = Registers(
      "title = \"A meter\"\nsource = \"its manual\"\nfunction = \"input\"\norder = \"CDAB\"\n"
      "base = 1000\n"
      "[[register]]\nname = \"W\"\naddress = 5\ntype = \"int32\"\nscale = 0.1\noffset = -4\n"
      "measure = \"kW\"\nmissing = -1\nperiod_ms = 5000\nscale_from = \"F\"\n"
      "[[register]]\nname = \"F\"\naddress = 7\ntype = \"int16\"\n"
      "[[register]]\nname = \"L\"\naddress = 8\nfunction = \"holding\"\norder = \"ABCD\"\n"
      "write = true\nleast = 1\nmost = 9\n"
      "[[register]]\nname = \"B\"\naddress = 9\ntype = \"bits\"\nbit = 3\nbits = 2\n"
      "[[register]]\nname = \"D\"\naddress = 9\nfunction = \"discrete\"\n"
      "[[register]]\nname = \"T\"\naddress = 10\ntype = \"text\"\nlength = 8\norder = \"BADC\"\n");
  ASSERT_EQ(6u, registers.size());
  const ZRModbusRegister& power = registers[0];
  EXPECT_EQ("W", power.name);
  EXPECT_EQ("kW", power.measure);
  EXPECT_EQ(ZRModbusTable::kInput, power.table);
  EXPECT_EQ(ZRModbusOrder::kCdab, power.order);
  EXPECT_EQ(1005, power.address);
  EXPECT_EQ(2, power.count);
  EXPECT_EQ(0.1, power.scale);
  EXPECT_EQ(-4, power.offset);
  EXPECT_EQ(-1, power.missing);
  EXPECT_EQ(5000u, power.period);
  EXPECT_EQ(1u, power.scaleFrom);
  EXPECT_TRUE(registers[2].writable);
  EXPECT_EQ(1, registers[2].least);
  EXPECT_EQ(9, registers[2].most);
  EXPECT_EQ(3, registers[3].firstBit);
  EXPECT_EQ(2, registers[3].bits);
  EXPECT_EQ(ZRModbusType::kBit, registers[4].type);
  EXPECT_EQ(8, registers[5].count);
}

TEST(ModbusMap, ReadsReferences) {
  const auto registers = Registers(
      "notation = \"reference\"\n"
      "[[register]]\nname = \"A\"\naddress = 30010\n[[register]]\nname = \"B\"\naddress = 17\n"
      "[[register]]\nname = \"C\"\naddress = 465536\n");
  EXPECT_EQ(ZRModbusTable::kInput, registers[0].table);
  EXPECT_EQ(9, registers[0].address);
  EXPECT_EQ(ZRModbusTable::kCoils, registers[1].table);
  EXPECT_EQ(ZRModbusType::kBit, registers[1].type);
  EXPECT_EQ(16, registers[1].address);
  EXPECT_EQ(65535, registers[2].address);
}

TEST(ModbusMap, ABaseOfTheDeviceIsInPlaceOfTheMaps) {
  const std::string toml = "base = 40000\n[[register]]\nname = \"A\"\naddress = 2\n";
  EXPECT_EQ(40002, Registers(toml)[0].address);
  EXPECT_EQ(52, Registers(toml, 50)[0].address);
}

TEST(ModbusMap, SaysFileAndLineOfWhatIsWrong) {
  const std::string first = "[[register]]\nname = \"A\"\n";
  const std::string one = first + "address = 1\n";
  const std::pair<std::string, std::string> cases[] = {
      {"[[register]\n", "m.toml, line 1: "},
      {"order = \"XYZ\"\n" + one,
       "m.toml, line 1: profile \"m.toml\": \"order\" must be one of \"ABCD\", \"CDAB\", "
       "\"BADC\", \"DCBA\", not \"XYZ\""},
      {"", "m.toml, line 1: profile \"m.toml\": \"register\" is missing"},
      {"\n\n" + first,
       "m.toml, line 3: profile \"m.toml\", register \"A\": \"address\" is missing"},
      {one + "[[register]]\nname = \"A\"\naddress = 2\n",
       "m.toml, line 4: profile \"m.toml\", register \"A\": \"name\" stands twice"},
      {one + "type = \"int8\"\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"type\" must be one of \"bit\", "},
      {one + "type = \"text\"\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"length\" is missing"},
      {one + "type = \"bits\"\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"bit\" is missing"},
      {one + "type = \"bit\"\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"type\" \"bit\" is that of coils"},
      {one + "scale = 0\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"scale\" must not be 0"},
      {one + "scale_from = \"B\"\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"scale_from\" must name a register"},
      {one + "write = true\nleast = 2\nmost = 1\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"least\" must not be above"},
      {one + "write = true\nfunction = \"input\"\n",
       "m.toml, line 1: profile \"m.toml\", register \"A\": \"write\" is for coils, and for"},
      {"base = 65535\n" + one,
       "m.toml, line 2: profile \"m.toml\", register \"A\": \"address\" and \"base\" go beyond"},
      {"notation = \"reference\"\n" + first + "address = 20001\n",
       "m.toml, line 2: profile \"m.toml\", register \"A\": \"address\" must be a number such as"},
      {"notation = \"reference\"\n" + first + "address = 40001\nfunction = \"holding\"\n",
       "m.toml, line 2: profile \"m.toml\", register \"A\": \"function\" is told by the address"},
  };
  for (const auto& [toml, problem] : cases)
    EXPECT_EQ(problem, Problem(toml).substr(0, problem.size())) << toml;
}

TEST(ModbusMap, AKeyThatNobodyKnowsIsTold) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRModbusRegister> registers;
  EXPECT_TRUE(ReadModbusProfile("[[register]]\nname = \"A\"\naddress = 1\nscael = 3\n", "m.toml",
                                std::nullopt, problems, registers));
  EXPECT_EQ(
      "m.toml, line 1: profile \"m.toml\", register \"A\": \"scael\" is no setting of it and is "
      "passed over\n",
      TextsOf(problems));
}

// What a driver's own table says wrong.
std::string Refusal(const std::string& elements) {
  std::vector<ZRSettingProblem> problems;
  const CSettings settings("<type>modbus</type><name>hall</name>" + elements);
  EXPECT_EQ(nullptr, ZRDriverFactory::Make(settings.Table(), problems)) << elements;
  return problems.empty() ? std::string() : problems.front().text.Text();
}

TEST(ModbusSettings, RefuseWhatMakesNoBus) {
  const std::string one = "<register><name>A</name><address>1</address></register>";
  const std::string host = "<host>10.0.0.1</host>";
  const std::pair<std::string, std::string> cases[] = {
      {one, "driver \"hall\": \"host\" or \"device\" must be given, and not both"},
      {one + host + "<device>/dev/ttyS0</device>", "driver \"hall\": \"host\" or \"device\""},
      {one + "<host>a meter</host>", "driver \"hall\": \"host\" must be a host's name or address"},
      {one + "<device>ttyS0</device>", "driver \"hall\": \"device\" must be a path"},
      {one + "<device>/dev/ttyS0</device><parity>mark</parity>",
       "driver \"hall\": \"parity\" must"},
      {one + "<device>/dev/ttyS0</device><unit>248</unit>", "driver \"hall\": \"unit\" must be"},
      {host, "driver \"hall\": \"register\" or \"profile\" must be given"},
      {host + one + "<unit>1-2</unit>", "driver \"hall\": \"unit\" must be one"},
      {host + one + "<unit>x</unit>", "driver \"hall\": \"unit\" must be a number up to 255"},
      {host + one + "<unit>3-1</unit>", "driver \"hall\": \"unit\" must be a number up to 255"},
      {host + "<profile>../x</profile>", "driver \"hall\": \"profile\" must be a name without"},
      {host + "<profile>no-such-one</profile>",
       "driver \"hall\": \"profile\" can't be read: neither comes one of that name"},
      {host + "<meter><name>M</name><unit>1-2</unit>" + one + "</meter>",
       "driver \"hall\", meter: \"name\" must have a \"#\""},
      {host + "<meter><name>M</name>" + one + "</meter><meter><name>M</name>" + one + "</meter>",
       "driver \"hall\": \"meter\" \"M\" stands twice"},
      {host + "<register><name>ONLINE</name><address>1</address></register>",
       "driver \"hall\": \"register\" can't be called ONLINE"},
  };
  for (const auto& [elements, problem] : cases)
    EXPECT_EQ(problem, Refusal(elements).substr(0, problem.size())) << elements;
}

}  // namespace

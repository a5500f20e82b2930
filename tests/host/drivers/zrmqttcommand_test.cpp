#include "host/drivers/zrmqttcommand.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using tagType = ZRMqttReading::tagType;

class MqttCommand : public ::testing::Test {
 protected:
  // The payload; "-" for nothing.
  std::string Payload(const ZRValue& value) {
    return CommandPayload(reading, command, value).value_or("-");
  }
  std::string Payload(double number) {
    ZRValue value;
    value.SetNumeric(number);
    return Payload(value);
  }
  std::string Payload(const wchar_t* text) {
    ZRValue value;
    value.SetString(text);
    return Payload(value);
  }
  void MakeSwitch(const char* on, const char* off) {
    reading.type = tagType::kSwitch;
    reading.on = {on, "1"};
    reading.off = {off, "0"};
  }

  ZRMqttReading reading;
  ZRMqttCommand command;
};

TEST_F(MqttCommand, OfANumberIsTheRawOne) {
  EXPECT_EQ("21.5", Payload(21.5));
  EXPECT_EQ("0", Payload(-0.0));
  reading.scale = 0.1;
  reading.offset = 20;
  EXPECT_EQ("3", Payload(20.3));
  EXPECT_EQ("-200", Payload(0.0));
  EXPECT_EQ("-", Payload(L"21"));
  EXPECT_EQ("-", Payload(ZRValue()));
}

TEST_F(MqttCommand, KeepsToItsLimits) {
  command.least = 5;
  command.most = 30;
  EXPECT_EQ("5", Payload(5.0));
  EXPECT_EQ("30", Payload(30.0));
  EXPECT_EQ("-", Payload(4.9));
  EXPECT_EQ("-", Payload(30.1));
  EXPECT_EQ("-", Payload(std::numeric_limits<double>::quiet_NaN()));
  command = {};
  EXPECT_EQ("-", Payload(std::numeric_limits<double>::infinity()));
  reading.scale = 1e-300;
  EXPECT_EQ("-", Payload(1e18));
}

TEST_F(MqttCommand, OfASwitchIsTheFirstWord) {
  MakeSwitch("open", "shut");
  EXPECT_EQ("open", Payload(1.0));
  EXPECT_EQ("shut", Payload(0.0));
  EXPECT_EQ("-", Payload(2.0));
  EXPECT_EQ("-", Payload(0.5));
  EXPECT_EQ("-", Payload(L"open"));
}

TEST_F(MqttCommand, OfATextIsTheText) {
  reading.type = tagType::kText;
  EXPECT_EQ("caf\xC3\xA9 VALUE", Payload(L"caf\u00e9 VALUE"));
  EXPECT_EQ("1.5", Payload(1.5));
  EXPECT_EQ("-", Payload(L""));
  EXPECT_EQ("-", Payload(std::wstring(256, L'x').c_str()));
  EXPECT_EQ(std::string(255, 'x'), Payload(std::wstring(255, L'x').c_str()));
}

TEST_F(MqttCommand, FillsAFormOfAnyText) {
  command.form = "set VALUE; get VALUE";
  EXPECT_EQ("set 5; get 5", Payload(5.0));
  reading.type = tagType::kText;
  EXPECT_EQ("set \"VALUE\"; get \"VALUE\"", Payload(L"\"VALUE\""));
}

TEST_F(MqttCommand, FillsAFormOfJson) {
  command.form = R"({"state": VALUE, "text": "VALUE"})";
  EXPECT_EQ(R"({"state": 21.5, "text": "21.5"})", Payload(21.5));
  MakeSwitch("ON", "false");
  EXPECT_EQ(R"({"state": "ON", "text": "ON"})", Payload(1.0));
  EXPECT_EQ(R"({"state": false, "text": "false"})", Payload(0.0));
  reading.type = tagType::kText;
  EXPECT_EQ(R"({"state": "true", "text": "true"})", Payload(L"true"));
  EXPECT_EQ(R"({"state": "\",\"x\":\"VALUE\n", "text": "\",\"x\":\"VALUE\n"})",
            Payload(L"\",\"x\":\"VALUE\n"));
}

TEST(MqttCommandForm, HoldsThePlaceOfTheValue) {
  for (const char* form :
       {"VALUE", "set VALUE", "{\"a\": VALUE}", "[\"VALUE\", VALUE]", "\"VALUE\""})
    EXPECT_TRUE(IsCommandForm(form)) << form;
  for (const char* form : {"", "value", "{\"a\": 1}", "{\"a\": VALUE", "{VALUE: 1}",
                           "{\"a\": xVALUE}", "{\"a\": \"level VALUE\"}"})
    EXPECT_FALSE(IsCommandForm(form)) << form;
}

}  // namespace

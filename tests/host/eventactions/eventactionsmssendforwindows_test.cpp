#include "host/eventactions/eventactionsmssendforwindows.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/support/zrtessalysetup.h"
#include "support/fakemodemtool.h"
#include "support/logcapture.h"

namespace {

// A sender whose program the test plays.
class ModemSender : public ::testing::Test {
 protected:
  ModemSender() {
    Settings("[sms]\nprogram = \"/opt/gammu\"\n[sms.devices]\n3 = \"/dev/ttyUSB0\"\n");
  }
  ~ModemSender() override { Settings(""); }

  static void Settings(const std::string& toml) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText(toml, L"/nowhere", problems, warnings));
  }
  [[nodiscard]] static EventActionSmsSendForWindows Modem(
      std::uint32_t pin = EventActionSmsSendForWindows::kNoPin) {
    return {3, 9600, pin};
  }
  // What every call leaves behind: nothing.
  void ExpectClean() const {
    EXPECT_TRUE(share.Files().empty());
    EXPECT_EQ(0u, tool.UnderWay());
  }

  using tagWords = std::vector<std::string>;

  FakeModemTool tool;
  ShareFolder share;
  LogCapture log;
};

TEST_F(ModemSender, RunsTheProgramWithSettingsOfItsOwn) {
  auto modem = Modem();
  EXPECT_TRUE(modem.sendSingleSms("+34600123456", "caf\xc3\xa9 is \"ready\""));
  ASSERT_EQ(1u, tool.runs.size());
  EXPECT_EQ("/opt/gammu", tool.runs[0].program);
  EXPECT_EQ((tagWords{"sendsms", "TEXT", "+34600123456", "-autolen", "160", "-textutf8",
                      "caf\xc3\xa9 is \"ready\""}),
            tool.runs[0].arguments);
  EXPECT_EQ(
      "[gammu]\nconnection = at9600\ndevice = /dev/ttyUSB0\nsynchronizetime = no\n"
      "logformat = nothing\n",
      tool.runs[0].settings);
  EXPECT_TRUE(log.Lines().empty());
  ExpectClean();
}

TEST_F(ModemSender, TextIsTheLastWordWhateverItIs) {
  auto modem = Modem();
  for (const char* text :
       {"", "-len", "--help", "-smscset 3", "$(touch x)", "`id`", "a;b|c>d", "'"}) {
    EXPECT_TRUE(modem.sendSingleSms("112", text));
    ASSERT_EQ(7u, tool.runs.back().arguments.size());
    EXPECT_EQ(text, tool.runs.back().arguments.back());
    EXPECT_EQ("-textutf8", tool.runs.back().arguments[5]);
  }
}

TEST_F(ModemSender, HalvesOfACharacterAreMarked) {
  auto modem = Modem();
  EXPECT_TRUE(modem.sendSingleSms("112", "\xa9 at ca\xc3"));
  EXPECT_EQ("? at ca?", tool.runs.back().arguments.back());
}

TEST_F(ModemSender, WhatIsNoNumberStartsNothing) {
  auto modem = Modem();
  for (const char* phone : {"", "-text", "+34 600", "1\n2", "$(id)", "123456789012345678901"})
    EXPECT_FALSE(modem.sendSingleSms(phone, "text")) << phone;
  EXPECT_TRUE(tool.runs.empty());
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: '+34 600' is no telephone number"));
}

TEST_F(ModemSender, FailureOfTheProgramIsItsOwn) {
  tool.results = {{114, 2000}};
  auto modem = Modem();
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: not sent to 112 (code 114)"));
  ExpectClean();
}

TEST_F(ModemSender, ProgramIsEndedAfter15Seconds) {
  tool.results = {{0, 15'001}, {0, 15'000}};
  auto modem = Modem();
  const std::uint32_t begun = tool.TickCount();
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_EQ(15'000u, tool.TickCount() - begun);
  EXPECT_EQ(1, tool.ended);
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: the modem took more than 15 s and was given up"));
  ExpectClean();
  EXPECT_TRUE(modem.sendSingleSms("112", "text"));
  EXPECT_EQ(1, tool.ended);
}

TEST_F(ModemSender, ProgramThatCannotBeStartedIsAFailure) {
  tool.starts = false;
  auto modem = Modem();
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: '/opt/gammu' can't be started"));
  ExpectClean();
}

TEST_F(ModemSender, ShareFolderIsNotForOthersToRead) {
  std::filesystem::permissions(share.path, std::filesystem::perms::others_exec,
                               std::filesystem::perm_options::add);
  auto modem = Modem();
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_TRUE(tool.runs.empty());
  EXPECT_EQ(1u, log.Starting("SMS: no file can be made in '").size());
}

TEST_F(ModemSender, PortWithoutADeviceStartsNothing) {
  EventActionSmsSendForWindows modem(0, 9600, EventActionSmsSendForWindows::kNoPin);
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_TRUE(tool.runs.empty());
  EXPECT_TRUE(log.Has(kLogDelivery, "SMS: the modem's port 0 has no device"));
}

// --- the PIN ---

TEST_F(ModemSender, PinIsEnteredWhenTheModemAsksForIt) {
  tool.results = {{123, 4000}};
  auto modem = Modem(123);
  EXPECT_TRUE(modem.sendSingleSms("112", "text"));
  ASSERT_EQ(3u, tool.runs.size());
  EXPECT_EQ("batch", tool.runs[1].arguments[0]);
  EXPECT_EQ("entersecuritycode PIN 0123\n", tool.runs[1].batch);
  EXPECT_EQ(tool.runs[0].arguments, tool.runs[2].arguments);
  ExpectClean();
  tool.results = {{123, 4000}};  // the modem was switched off meanwhile
  EXPECT_TRUE(modem.sendSingleSms("112", "text"));
  EXPECT_EQ(6u, tool.runs.size());
}

TEST_F(ModemSender, PinThatIsNotTakenIsNotEnteredAgain) {
  tool.results = {{123, 0}, {123, 0}, {123, 0}, {123, 0}};
  auto modem = Modem(123456);
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_EQ("entersecuritycode PIN 123456\n", tool.runs[1].batch);
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_EQ(4u, tool.runs.size());  // each tries to send, and only the first one the PIN
  EXPECT_EQ(1u, log.Starting("SMS: the modem didn't take its PIN").size());
}

TEST_F(ModemSender, PinOfAModemThatHangsIsNotEnteredAgain) {
  tool.results = {{123, 0}, {0, 20'000}, {123, 0}};
  auto modem = Modem(1234);
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  EXPECT_EQ(3u, tool.runs.size());
  ExpectClean();
}

TEST_F(ModemSender, PinIsNeverLogged) {
  tool.results = {{123, 0}, {123, 0}};
  auto modem = Modem(48151623);
  EXPECT_FALSE(modem.sendSingleSms("112", "text"));
  for (const LogCapture::tagLine& line : log.Lines())
    EXPECT_EQ(std::string::npos, line.text.find("48151623")) << line.text;
  for (const FakeModemTool::tagRun& run : tool.runs)
    for (const std::string& word : run.arguments)
      EXPECT_EQ(std::string::npos, word.find("48151623")) << word;
}

}  // namespace

// The real gammu, with a modem that is played, and with its own dummy phone.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include "host/eventactions/eventactionsmssendforwindows.h"
#include "host/support/zrtessalysetup.h"
#include "support/emulatedmodem.h"
#include "support/faketool.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kGammu = "/usr/bin/gammu";

void Settings(const std::string& program, const std::string& device) {
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  ASSERT_TRUE(ZRTessalySetup::Get().LoadText(
      "[sms]\nprogram = \"" + program + "\"\n[sms.devices]\n3 = \"" + device + "\"\n", L"/nowhere",
      problems, warnings));
}

// A script that stands for the program.
std::string Script(const SiteFolder& site, const std::string& text) {
  site.Write("program", "#!/bin/sh\n" + text);
  fs::permissions(site.path / "program", fs::perms::owner_all);
  return (site.path / "program").string();
}

// --- the modem ---

class Gammu : public ::testing::Test {
 protected:
  Gammu() { Settings(kGammu, modem.Device()); }
  ~Gammu() override { EXPECT_TRUE(share.Files().empty()); }

  [[nodiscard]] static EventActionSmsSendForWindows Sender(
      std::uint32_t pin = EventActionSmsSendForWindows::kNoPin) {
    return {3, 9600, pin};
  }

  EmulatedModem modem;
  ShareFolder share;
  SiteFolder site;
  LogCapture log;
};

TEST_F(Gammu, SendsATextOfTheGsmAlphabet) {
  auto sender = Sender();
  const std::string text = "-len 3 '\"; pump 7: " + std::string(141, 'x');  // 160 characters
  ASSERT_EQ(160u, text.size());
  ASSERT_TRUE(sender.sendSingleSms("+34600123456", text.c_str()));
  const auto sent = modem.Sent();
  ASSERT_EQ(1u, sent.size());
  EXPECT_EQ("+34600123456", sent[0].phone);
  EXPECT_EQ(text, sent[0].text);
  EXPECT_FALSE(sent[0].isUcs2);
  EXPECT_EQ(1, sent[0].parts);
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Gammu, SendsOtherCharactersAsUcs2) {
  auto sender = Sender();
  const std::string text =
      "\xd0\x9d\xd0\xb0\xd1\x81\xd0\xbe\xd1\x81 caf\xc3\xa9 \xf0\x9f\x98\x80 [1] \xe2\x82\xac";
  ASSERT_TRUE(sender.sendSingleSms("600123456", text.c_str()));
  const auto sent = modem.Sent();
  ASSERT_EQ(1u, sent.size());
  EXPECT_EQ("600123456", sent[0].phone);
  EXPECT_EQ(text, sent[0].text);
  EXPECT_TRUE(sent[0].isUcs2);
}

TEST_F(Gammu, LinksTheMessagesOfALongUcs2Text) {
  auto sender = Sender();
  std::string text;
  for (int count = 0; count < 80; ++count)
    text += "\xd0\xb6";
  ASSERT_TRUE(sender.sendSingleSms("112", text.c_str()));
  const auto sent = modem.Sent();
  ASSERT_EQ(2u, sent.size());
  EXPECT_EQ(text, sent[0].text + sent[1].text);
  EXPECT_EQ(2, sent[1].part);
  EXPECT_EQ(2, sent[1].parts);
}

TEST_F(Gammu, SendsBothHalvesOfADividedCharacter) {
  auto sender = Sender();
  ASSERT_TRUE(sender.sendSingleSms("112", "ends in \xc3"));
  ASSERT_TRUE(sender.sendSingleSms("112", "\xa9 it began"));
  const auto sent = modem.Sent();
  ASSERT_EQ(2u, sent.size());
  EXPECT_EQ("ends in ?", sent[0].text);
  EXPECT_EQ("? it began", sent[1].text);
}

TEST_F(Gammu, SendsAnEmptyText) {
  auto sender = Sender();
  ASSERT_TRUE(sender.sendSingleSms("112", ""));
  ASSERT_EQ(1u, modem.Sent().size());
  EXPECT_EQ("", modem.Sent()[0].text);
}

TEST_F(Gammu, EntersThePinThatTheModemWaitsFor) {
  modem.Lock("0815");
  auto sender = Sender(815);
  ASSERT_TRUE(sender.sendSingleSms("112", "text"));
  EXPECT_EQ((std::vector<std::string>{"0815"}), modem.Codes());
  ASSERT_EQ(1u, modem.Sent().size());
}

TEST_F(Gammu, EntersAWrongPinOnce) {
  modem.Lock("0815");
  auto sender = Sender(4711);
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
  EXPECT_EQ((std::vector<std::string>{"4711"}), modem.Codes());
  EXPECT_TRUE(modem.Sent().empty());
}

TEST_F(Gammu, TellsThatTheModemHasRefused) {
  modem.RefuseNext(1);
  auto sender = Sender();
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
  EXPECT_TRUE(modem.Sent().empty());
  EXPECT_EQ(1u, log.Starting("SMS: not sent to 112 (code ").size());
}

TEST_F(Gammu, TellsThatThereIsNoDevice) {
  Settings(kGammu, "/dev/no-such-modem");
  auto sender = Sender();
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
}

// In real time; the program is a child of a shell here, so that there is more than one to end.
TEST_F(Gammu, IsEndedWithAllItHasStartedWhenTheModemIsDead) {
  modem.Die();
  const std::string list = (site.path / "processes").string();
  Settings(Script(site, "gammu \"$@\" &\necho $$ $! > " + list + "\nwait\n"), modem.Device());
  auto sender = Sender();
  const std::uint32_t begun = ZRPlatform::Get().TickCount();
  EXPECT_FALSE(sender.sendSingleSms("112", "text"));
  const std::uint32_t took = ZRPlatform::Get().TickCount() - begun;
  EXPECT_GE(took, 14'990u);
  EXPECT_LE(took, 16'500u);
  std::ifstream processes(list);
  pid_t shell = 0;
  pid_t gammu = 0;
  ASSERT_TRUE(processes >> shell >> gammu);
  EXPECT_EQ(-1, ::kill(shell, 0));
  // Whoever takes in orphans may leave it as a zombie.
  const auto runs = [gammu] {
    const std::string state = FileText("/proc/" + std::to_string(gammu) + "/stat");
    return !state.empty() && state.find(") Z ") == std::string::npos;
  };
  for (int tries = 0; tries < 100 && runs(); ++tries)
    ZRPlatform::Get().Sleep(10);
  EXPECT_FALSE(runs());
}

// --- its dummy phone, which takes everything at once ---

class GammuDummy : public ::testing::Test {
 protected:
  GammuDummy() {
    site.Write("dummyrc", "[gammu]\nmodel = dummy\nconnection = none\ndevice = " +
                              (site.path / "phone").string() + "\n");
    fs::create_directory(site.path / "phone");
    // Keeps the words that it gets, and puts the settings of the dummy in the place of the others.
    Settings(Script(site, "printf '%s\\0' \"$@\" > " + Path("words") + "\nshift 2\nexec " + kGammu +
                              " -c " + Path("dummyrc") + " \"$@\"\n"),
             "/dev/ttyUSB0");
  }
  ~GammuDummy() override {
    EXPECT_TRUE(share.Files().empty());
    EXPECT_FALSE(fs::exists(Canary()));
  }

  [[nodiscard]] std::string Path(const std::string& name) const {
    return (site.path / name).string();
  }
  [[nodiscard]] std::string Canary() const { return Path("canary"); }
  // The words that the program has got behind its settings file.
  [[nodiscard]] std::vector<std::string> Words() const {
    const std::string all = FileText(Path("words"));
    std::vector<std::string> words;
    for (std::size_t at = 0; at < all.size(); at = all.find('\0', at) + 1)
      words.push_back(all.substr(at, all.find('\0', at) - at));
    return words.size() > 2 ? std::vector<std::string>(words.begin() + 2, words.end()) : words;
  }
  // The text arrives as one word, the last one.
  void ExpectSent(const std::string& text, const std::string& asIs) const {
    EventActionSmsSendForWindows sender(3, 9600, EventActionSmsSendForWindows::kNoPin);
    EXPECT_TRUE(sender.sendSingleSms("+34600123456", text.c_str())) << text;
    EXPECT_EQ((std::vector<std::string>{"sendsms", "TEXT", "+34600123456", "-autolen", "160",
                                        "-textutf8", asIs}),
              Words());
  }

  SiteFolder site;
  ShareFolder share;
  LogCapture log;
};

TEST_F(GammuDummy, TakesATextWithEachByte) {
  for (int byte = 1; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const char character = static_cast<char>(byte);
    std::string shown(1, character);
    if (byte < 0x20 || byte == 0x7F) shown = " ";
    if (byte >= 0x80) shown = "?";
    ExpectSent("a" + std::string(1, character) + "touch", "a" + shown + "touch");
  }
}

TEST_F(GammuDummy, TakesTextsThatLookLikeSomethingElse) {
  const std::string touch = "touch " + Canary();
  for (const std::string& text : {"$(" + touch + ")",
                                  "`" + touch + "`",
                                  "; " + touch,
                                  "| " + touch,
                                  "&& " + touch,
                                  "'; " + touch + " #",
                                  "\"; " + touch + " #",
                                  "> " + Canary(),
                                  "\\\\; " + touch,
                                  std::string("-save -folder 1"),
                                  std::string("-len"),
                                  std::string("--"),
                                  std::string("--help"),
                                  std::string("-inputunicode"),
                                  std::string("-textutf8"),
                                  "-replacefile " + Canary(),
                                  "@" + Canary(),
                                  std::string("%s%n%d"),
                                  std::string("${IFS}"),
                                  std::string("*"),
                                  std::string("~"),
                                  std::string("#")})
    ExpectSent(text, text);
  ExpectSent("line\n" + touch + "\n", "line " + touch + " ");
}

TEST_F(GammuDummy, NeverSeesANumberThatIsNone) {
  EventActionSmsSendForWindows sender(3, 9600, EventActionSmsSendForWindows::kNoPin);
  for (int byte = 1; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    if (character >= '0' && character <= '9') continue;
    EXPECT_FALSE(sender.sendSingleSms(("34" + std::string(1, character) + "5").c_str(), "text"));
    if (character == '+') continue;
    EXPECT_FALSE(sender.sendSingleSms((std::string(1, character) + "345").c_str(), "text"));
  }
  for (const std::string& phone : {"$(touch " + Canary() + ")", "`touch " + Canary() + "`",
                                   std::string("--help"), "34;touch " + Canary()})
    EXPECT_FALSE(sender.sendSingleSms(phone.c_str(), "text"));
  EXPECT_TRUE(Words().empty());
}

}  // namespace

#include "host/support/zrtessalysetup.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/tools/zrtext.h"
#include "support/sourcedir.h"

namespace {

namespace fs = std::filesystem;

class Settings : public testing::Test {
 protected:
  bool Load(const std::string& toml) { return setup.LoadText(toml, L"/site", problems, warnings); }

  // "line:column text" of the only problem of a refused text.
  std::string Refusal(const std::string& toml) {
    EXPECT_FALSE(Load(toml)) << toml;
    return problems.size() == 1 ? Shown(problems[0]) : std::to_string(problems.size());
  }
  std::string Warning(const std::string& toml) {
    EXPECT_TRUE(Load(toml)) << toml;
    return warnings.size() == 1 ? Shown(warnings[0]) : std::to_string(warnings.size());
  }
  static std::string Shown(const ZRSettingProblem& problem) {
    return std::to_string(problem.line) + ":" + std::to_string(problem.column) + " " +
           problem.text.Text();
  }
  [[nodiscard]] std::string Tree() const {
    ZRString code;
    setup.Tree()->CreateXmlCode(code);
    return code.Text();
  }

  ZRTessalySetup setup;
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
};

std::string Narrow(const ZRWString& wide) {
  return Utf16ToUtf8(wide.View()).Text();
}

TEST_F(Settings, HaveDefaultsForWhatTheFileLeavesOut) {
  ASSERT_TRUE(Load(""));
  EXPECT_EQ("/site/", Narrow(setup.SitePath()));
  EXPECT_EQ("/site/config/", Narrow(setup.CfgPath()));
  EXPECT_EQ("/site/data/", Narrow(setup.DataPath()));
  EXPECT_EQ("Tessaly", Narrow(setup.ProgramName()));
  EXPECT_EQ("en", Narrow(setup.CurrentLanguage()));
  EXPECT_EQ("localhost", Narrow(setup.RssUrl()));
  EXPECT_TRUE(setup.TimeZone().IsEmpty());
  EXPECT_EQ(8480, setup.HttpServerPort());
  EXPECT_TRUE(setup.SmtpServer().IsEmpty());
  EXPECT_EQ(25, setup.SmtpPort());
  EXPECT_EQ(100, setup.SmtpSizeQueue());
  EXPECT_EQ(100, setup.SmsSizeQueue());
  EXPECT_TRUE(setup.SmsSender() == "modem");
  EXPECT_EQ("/site/sms/", Narrow(setup.SmsFolder()));
  EXPECT_TRUE(setup.SmsProgram() == "/usr/bin/gammu");
  EXPECT_FALSE(setup.SmtpAuthenticated());
  EXPECT_FALSE(setup.SmtpSSL());
  EXPECT_EQ(1, setup.LogLevel());
  EXPECT_EQ("terminal", Narrow(setup.LogTarget()));
  EXPECT_TRUE(setup.HistoryDurability() == "adaptive");
  EXPECT_TRUE(setup.Drivers().empty());
}

TEST_F(Settings, HoldEachValueOfTheFile) {
  ASSERT_TRUE(Load(R"(
name = "Planta Sur"
language = "es"
timezone = "Europe/Madrid"
config = "cfg/a"
data = "/var/lib/data"
http.port = 0
history.durability = "off"
[log]
level = 4
target = "logs/engine.log"
[feed]
active = true
items = 5
host = "plant.example.org"
[smtp]
server = "mail.example.org"
port = 465
from = "plant@example.org"
user = "plant"
password = "secret"
authenticated = true
ssl = true
queue = -1
[sms]
queue = 0
sender = "file"
folder = "out/sms"
program = "/opt/bin/gammu"
[sms.devices]
3 = "/dev/ttyUSB0"
0 = "/dev/serial/by-id/usb-A_B.1-if00:0"
)"));
  EXPECT_TRUE(warnings.empty());
  EXPECT_EQ("Planta Sur", Narrow(setup.ProgramName()));
  EXPECT_EQ("es", Narrow(setup.CurrentLanguage()));
  EXPECT_TRUE(setup.TimeZone() == "Europe/Madrid");
  EXPECT_EQ("/site/cfg/a/", Narrow(setup.CfgPath()));
  EXPECT_EQ("/var/lib/data/", Narrow(setup.DataPath()));
  EXPECT_EQ(0, setup.HttpServerPort());
  EXPECT_TRUE(setup.HistoryDurability() == "off");
  EXPECT_EQ(4, setup.LogLevel());
  EXPECT_EQ("/site/logs/engine.log", Narrow(setup.LogTarget()));
  EXPECT_EQ("plant.example.org", Narrow(setup.RssUrl()));
  EXPECT_EQ("T", Narrow(setup.Tree()->Node(L"feed")->Value(L"active", L"")));
  EXPECT_EQ("5", Narrow(setup.Tree()->Node(L"feed")->Value(L"items", L"")));
  EXPECT_TRUE(setup.SmtpServer() == "mail.example.org");
  EXPECT_EQ(465, setup.SmtpPort());
  EXPECT_TRUE(setup.SmtpFrom() == "plant@example.org");
  EXPECT_TRUE(setup.SmtpUser() == "plant");
  EXPECT_TRUE(setup.SmtpPassword() == "secret");
  EXPECT_TRUE(setup.SmtpAuthenticated());
  EXPECT_TRUE(setup.SmtpSSL());
  EXPECT_EQ(-1, setup.SmtpSizeQueue());
  EXPECT_EQ(0, setup.SmsSizeQueue());
  EXPECT_TRUE(setup.SmsSender() == "file");
  EXPECT_EQ("/site/out/sms/", Narrow(setup.SmsFolder()));
  EXPECT_TRUE(setup.SmsProgram() == "/opt/bin/gammu");
  EXPECT_TRUE(setup.SmsDevice(3) == "/dev/ttyUSB0");
  EXPECT_TRUE(setup.SmsDevice(0) == "/dev/serial/by-id/usb-A_B.1-if00:0");
}

TEST_F(Settings, PortWithoutADeviceIsTheMachinesOwn) {
  ASSERT_TRUE(Load(""));
  EXPECT_TRUE(setup.SmsDevice(0).IsEmpty());
  EXPECT_TRUE(setup.SmsDevice(1) == "/dev/ttyS0");
  EXPECT_TRUE(setup.SmsDevice(255) == "/dev/ttyS254");
}

TEST_F(Settings, DevicesAreWholePathsThatALineCanHold) {
  const std::string rule = "must be the whole path of a device";
  for (const char* bad : {"", "ttyUSB0", "/dev/tty USB0", "/dev/tty;x", "/dev/tty#", "/dev/\u00e9"})
    EXPECT_EQ("2:1 sms.devices.3 " + rule,
              Refusal("[sms.devices]\n3 = \"" + std::string(bad) + "\""));
  EXPECT_EQ("2:1 sms.program must be the whole path of a program",
            Refusal("[sms]\nprogram = \"gammu\""));
}

TEST_F(Settings, KeysOfDevicesArePorts) {
  for (const char* bad : {"256", "03", "-1", "COM3", "99999999999"}) {
    ASSERT_TRUE(Load("[sms.devices]\n" + std::string(bad) + " = \"/dev/ttyUSB0\"")) << bad;
    ASSERT_EQ(1u, warnings.size()) << bad;
    EXPECT_EQ("2:1 the key \"" + std::string(bad) + "\" in sms.devices is not known",
              Shown(warnings[0]));
  }
}

TEST_F(Settings, OfTheFeedAreChecked) {
  EXPECT_EQ("1:6 feed.active must be true or false", Refusal("feed.active = \"T\""));
  for (const char* bad : {"-1", "1001"})
    EXPECT_EQ("1:6 feed.items must be an integer from 0 to 1000",
              Refusal("feed.items = " + std::string(bad)));
  for (const char* bad : {"", "http://hall", "hall:80", "hall/x", "[::1", "::1", "[hall]", "[]"})
    EXPECT_EQ("1:6 feed.host must be the name or address of a host, without a port",
              Refusal("feed.host = \"" + std::string(bad) + "\""));
  for (const char* good : {"hall", "hall.example.org", "192.168.1.20", "[::1]", "[2001:db8::1]"}) {
    ASSERT_TRUE(Load("feed.host = \"" + std::string(good) + "\"")) << good;
    EXPECT_EQ(good, Narrow(setup.RssUrl()));
  }
}

TEST_F(Settings, SendersOfSmsAreTwo) {
  EXPECT_EQ("1:5 sms.sender must be \"modem\" or \"file\"", Refusal("sms.sender = \"pigeon\""));
  EXPECT_EQ("1:5 sms.folder must be the path of a folder, without \"..\"",
            Refusal("sms.folder = \"../x\""));
}

TEST_F(Settings, OfTheWebServerAreSafeWithoutAny) {
  ASSERT_TRUE(Load(""));
  EXPECT_TRUE(setup.HttpAddress() == "127.0.0.1");
  EXPECT_TRUE(setup.HttpNames().empty());
  EXPECT_TRUE(setup.HttpCertificate().IsEmpty());
  EXPECT_TRUE(setup.HttpKey().IsEmpty());
  EXPECT_FALSE(setup.HttpMd5());
}

TEST_F(Settings, OfTheWebServerAreTaken) {
  ASSERT_TRUE(
      Load("[http]\naddress = \"::\"\nnames = [\"hall.example.org\", \"hall-2\"]\n"
           "certificate = \"tls/hall.pem\"\nkey = \"/etc/keys/hall.pem\"\nmd5 = true"));
  EXPECT_TRUE(warnings.empty());
  EXPECT_TRUE(setup.HttpAddress() == "::");
  ASSERT_EQ(2u, setup.HttpNames().size());
  EXPECT_TRUE(setup.HttpNames()[1] == "hall-2");
  EXPECT_EQ("/site/tls/hall.pem", Narrow(setup.HttpCertificate()));
  EXPECT_EQ("/etc/keys/hall.pem", Narrow(setup.HttpKey()));
  EXPECT_TRUE(setup.HttpMd5());
}

TEST_F(Settings, AddressesOfTheWebServerAreInDigits) {
  for (const char* good : {"0.0.0.0", "192.0.2.1", "::1", "fe80::1%eth0", "2001:db8::1"})
    EXPECT_TRUE(Load("http.address = \"" + std::string(good) + "\"")) << good;
  for (const char* bad : {"", "localhost", "127.1", "1.2.3.4:80", "[::1]", "::1%", "1.2.3.4%x"})
    EXPECT_EQ("1:6 http.address must be an address of IPv4 or IPv6",
              Refusal("http.address = \"" + std::string(bad) + "\""));
}

TEST_F(Settings, NamesOfTheWebServerAreThoseOfHosts) {
  for (const char* bad : {"", "a b", "a:80", "http://a", "*"})
    EXPECT_EQ("1:6 http.names must be names of hosts, without ports",
              Refusal("http.names = [\"good\", \"" + std::string(bad) + "\"]"));
}

TEST_F(Settings, CertificateAndKeyBelongTogether) {
  const std::string rule = " must be given too: a certificate and its key belong together";
  EXPECT_EQ("1:1 http.key" + rule, Refusal("http.certificate = \"a.pem\""));
  EXPECT_EQ("1:1 http.certificate" + rule, Refusal("http.key = \"a.pem\""));
  for (const char* bad : {"", "../a.pem", "a/"})
    EXPECT_EQ("1:6 http.certificate must be the path of a file, without \"..\"",
              Refusal("http.certificate = \"" + std::string(bad) + "\""));
}

TEST_F(Settings, WithoutABrokerThereIsNoBus) {
  ASSERT_TRUE(Load(""));
  const ZRBusSettings& bus = setup.Bus();
  EXPECT_TRUE(bus.host.IsEmpty());
  EXPECT_TRUE(bus.prefix == "tessaly" && bus.discoveryPrefix == "homeassistant");
  EXPECT_EQ(0, bus.port);
  EXPECT_EQ(1, bus.qos);
  EXPECT_EQ(10'000, bus.queue);
  EXPECT_FALSE(bus.tls || bus.discovery);
}

TEST_F(Settings, OfTheBusAreTaken) {
  ASSERT_TRUE(
      Load("[bus]\nhost = \"::1\"\nport = 1\nprefix = \"a/b\"\nclient = \"c\"\nuser = \"u\"\n"
           "tls = true\nca = \"ca.pem\"\ncertificate = \"/c.pem\"\nkey = \"c.key\"\n"
           "discovery = true\ndiscovery_prefix = \"ha\"\nqos = 0\nqueue = 5\n"));
  EXPECT_TRUE(warnings.empty());
  const ZRBusSettings& bus = setup.Bus();
  EXPECT_TRUE(bus.host == "::1" && bus.prefix == "a/b" && bus.clientId == "c" && bus.user == "u");
  EXPECT_EQ("/site/ca.pem", Narrow(bus.ca));
  EXPECT_EQ("/c.pem", Narrow(bus.certificate));
  EXPECT_EQ("/site/c.key", Narrow(bus.key));
  EXPECT_TRUE(bus.discoveryPrefix == "ha");
  EXPECT_TRUE(bus.tls && bus.discovery);
  EXPECT_EQ(1, bus.port);
  EXPECT_EQ(0, bus.qos);
  EXPECT_EQ(5, bus.queue);
}

TEST_F(Settings, OfTheBusAreChecked) {
  for (const char* bad : {"", "a b", "mqtt://a", "a:1883", "[::1]"})
    EXPECT_EQ("1:5 bus.host must be the name or address of a host",
              Refusal("bus.host = \"" + std::string(bad) + "\""));
  for (const char* bad : {"", "a/+", "#", "$SYS", "/a", "a/"})
    EXPECT_EQ(
        "1:5 bus.prefix must be levels of a topic without \"+\" and \"#\", of at most 100 bytes",
        Refusal("bus.prefix = \"" + std::string(bad) + "\""));
  EXPECT_EQ("1:5 bus.qos must be an integer from 0 to 1", Refusal("bus.qos = 2"));
  EXPECT_EQ("1:5 bus.client must have 1 to 100 bytes", Refusal("bus.client = \"\""));
  EXPECT_EQ("1:1 bus.key must be given too: a certificate and its key belong together",
            Refusal("bus.certificate = \"a.pem\""));
}

TEST_F(Settings, OfABusOnKafka) {
  ASSERT_TRUE(
      Load("[bus]\nkind = \"kafka\"\nhost = \"a\"\nfurther = [\"b\", \"::1\"]\n"
           "prefix = \"a.b_c-d\"\nmechanism = \"SCRAM-SHA-256\"\n"
           "compression = \"zstd\"\n"));
  EXPECT_TRUE(warnings.empty());
  const ZRBusSettings& bus = setup.Bus();
  EXPECT_TRUE(bus.kind == "kafka" && bus.host == "a" && bus.prefix == "a.b_c-d");
  ASSERT_EQ(2u, bus.further.size());
  EXPECT_TRUE(bus.further[0] == "b" && bus.further[1] == "::1");
  EXPECT_TRUE(bus.mechanism == "SCRAM-SHA-256" && bus.compression == "zstd");
  ASSERT_TRUE(Load("bus.kind = \"kafka\""));
  EXPECT_TRUE(setup.Bus().mechanism == "SCRAM-SHA-512" && setup.Bus().compression == "lz4");
  ASSERT_TRUE(Load("bus = { kind = \"kafka\", mechanism = \"PLAIN\", tls = true }"));
  ASSERT_TRUE(Load(""));
  EXPECT_TRUE(setup.Bus().kind == "mqtt");
}

TEST_F(Settings, OfABusOnKafkaAreRefused) {
  const auto kafka = [this](const std::string& more) {
    return Refusal("bus = { kind = \"kafka\", " + more + " }");
  };
  EXPECT_EQ("1:5 bus.kind must be \"mqtt\" or \"kafka\"", Refusal("bus.kind = \"other\""));
  for (const char* bad : {"a/b", "", "\u00f1", "a b"}) {
    EXPECT_EQ("1:25 bus.prefix must have 1 to 100 letters, digits, \".\", \"_\" and \"-\"",
              kafka("prefix = \"" + std::string(bad) + "\""));
  }
  EXPECT_EQ("1:25 bus.further must be names or addresses of hosts, without ports",
            kafka("further = [\"a\", \"b:9092\"]"));
  EXPECT_EQ("1:25 bus.mechanism must be \"PLAIN\", \"SCRAM-SHA-256\" or \"SCRAM-SHA-512\"",
            kafka("mechanism = \"GSSAPI\""));
  EXPECT_EQ("1:25 bus.mechanism PLAIN shows the password to whoever listens: it needs bus.tls",
            kafka("mechanism = \"PLAIN\""));
  EXPECT_EQ("1:25 bus.compression must be \"none\", \"gzip\", \"snappy\", \"lz4\" or \"zstd\"",
            kafka("compression = \"rar\""));
}

TEST_F(Settings, OfOneKindOfBusAreRefusedForTheOther) {
  for (const char* line : {"discovery = true", "discovery_prefix = \"a\"", "qos = 1"}) {
    const std::string key = std::string(line).substr(0, std::string(line).find(' '));
    EXPECT_EQ("1:25 bus." + key + " is for a bus of the kind \"mqtt\" only",
              Refusal("bus = { kind = \"kafka\", " + std::string(line) + " }"));
  }
  for (const char* line : {"further = [\"a\"]", "mechanism = \"PLAIN\"", "compression = \"lz4\""}) {
    const std::string key = std::string(line).substr(0, std::string(line).find(' '));
    EXPECT_EQ("1:5 bus." + key + " is for a bus of the kind \"kafka\" only",
              Refusal("bus." + std::string(line)));
  }
}

TEST_F(Settings, OfAWrongTypeAreRefusedAtTheirPlace) {
  EXPECT_EQ("2:1 name must be a text", Refusal("\nname = 5"));
  EXPECT_EQ("2:3 http.port must be an integer from 0 to 65535", Refusal("[http]\n  port = \"80\""));
  EXPECT_EQ("1:1 http must be a table", Refusal("http = 80"));
  EXPECT_EQ("2:1 smtp.ssl must be true or false", Refusal("[smtp]\nssl = 1"));
  EXPECT_EQ("1:3 sms must be a table", Refusal("[[sms]]\nqueue = 1"));
  EXPECT_EQ("1:2 driver must be written as [[driver]]", Refusal("[driver]\nname = \"x\""));
  EXPECT_EQ("1:1 driver must be written as [[driver]]", Refusal("driver = [1]"));
}

TEST_F(Settings, OutOfRangeAreRefused) {
  EXPECT_EQ("1:6 http.port must be an integer from 0 to 65535", Refusal("http.port = 65536"));
  EXPECT_EQ("1:6 http.port must be an integer from 0 to 65535",
            Refusal("http.port = 9223372036854775807"));
  EXPECT_EQ("1:6 smtp.port must be an integer from 1 to 65535", Refusal("smtp.port = 0"));
  EXPECT_EQ("1:6 smtp.queue must be an integer from -1 to 1000000", Refusal("smtp.queue = -2"));
  EXPECT_EQ("1:5 log.level must be an integer from 0 to 4", Refusal("log.level = 5"));
  EXPECT_EQ("1:1 language must be \"en\" or \"es\"", Refusal("language = \"EN\""));
  EXPECT_EQ("1:1 name must not be empty", Refusal("name = \"\""));
}

TEST_F(Settings, TellAllProblemsAtOnce) {
  EXPECT_FALSE(Load("name = 1\nhttp.port = -1\nwrong = 1"));
  EXPECT_EQ(2u, problems.size());
  EXPECT_EQ(1u, warnings.size());
}

TEST_F(Settings, TextsHoldNoControls) {
  EXPECT_EQ("1:6 smtp.from must not hold control characters",
            Refusal(R"(smtp.from = "a\r\nBcc: b")"));
  EXPECT_EQ("1:1 name must not hold control characters", Refusal(R"(name = "a\u0085")"));
  EXPECT_EQ("1:8 a text must not hold a NUL", Refusal(R"(name = "a\u0000b")"));
}

TEST_F(Settings, FoldersStayWhereTheyShould) {
  const std::string rule = " must be the path of a folder, without \"..\"";
  for (const char* bad : {"", "..", "../x", "a/../b", "/a/..", "a/.."}) {
    EXPECT_EQ("1:1 data" + rule, Refusal("data = \"" + std::string(bad) + "\"")) << bad;
    EXPECT_EQ("1:1 config" + rule, Refusal("config = \"" + std::string(bad) + "\"")) << bad;
  }
  ASSERT_TRUE(Load("data = \"a..b/...\""));
  EXPECT_EQ("/site/a..b/.../", Narrow(setup.DataPath()));
  ASSERT_TRUE(Load("data = \"a/\""));
  EXPECT_EQ("/site/a/", Narrow(setup.DataPath()));
}

TEST_F(Settings, LogFileIsBelowTheSite) {
  const std::string rule =
      "1:5 log.target must be \"terminal\", \"journal\" or the path of a file below the site";
  for (const char* bad : {"", "/var/log/x", "../x", "logs/"})
    EXPECT_EQ(rule, Refusal("log.target = \"" + std::string(bad) + "\"")) << bad;
  ASSERT_TRUE(Load("log.target = \"journal\""));
  EXPECT_EQ("journal", Narrow(setup.LogTarget()));
}

TEST_F(Settings, DurabilityIsOneOfThree) {
  for (const char* good : {"strict", "adaptive", "off"}) {
    ASSERT_TRUE(Load("history.durability = \"" + std::string(good) + "\""));
    EXPECT_TRUE(setup.HistoryDurability() == good);
  }
  for (const char* bad : {"", "on", "Strict"})
    EXPECT_EQ("1:9 history.durability must be \"strict\", \"adaptive\" or \"off\"",
              Refusal("history.durability = \"" + std::string(bad) + "\""));
  EXPECT_EQ("1:9 the key \"sync\" in history is not known", Warning("history.sync = 1"));
}

TEST_F(Settings, PeriodOfCountsIsOneOfFive) {
  ASSERT_TRUE(Load(""));
  EXPECT_TRUE(setup.EventsCountPeriod() == "month");
  for (const char* good : {"day", "week", "month", "year", "all"}) {
    ASSERT_TRUE(Load("events.count_period = \"" + std::string(good) + "\""));
    EXPECT_TRUE(setup.EventsCountPeriod() == good);
  }
  for (const char* bad : {"", "Day", "hour"})
    EXPECT_EQ("1:8 events.count_period must be \"day\", \"week\", \"month\", \"year\" or \"all\"",
              Refusal("events.count_period = \"" + std::string(bad) + "\""));
  EXPECT_EQ("1:8 the key \"period\" in events is not known", Warning("events.period = 1"));
}

TEST_F(Settings, DataFolderCanBeAnotherOneUntilTheNextLoad) {
  ASSERT_TRUE(Load(""));
  setup.UseDataPath(L"/elsewhere/");
  EXPECT_EQ("/elsewhere/", Narrow(setup.DataPath()));
  ASSERT_TRUE(Load(""));
  EXPECT_EQ("/site/data/", Narrow(setup.DataPath()));
}

TEST_F(Settings, TimeZoneIsNoOtherPath) {
  const std::string rule = "1:1 timezone must be the name of a time zone";
  EXPECT_EQ(rule, Refusal("timezone = \"../../etc/passwd\""));
  EXPECT_EQ(rule, Refusal("timezone = \"/etc/localtime\""));
  EXPECT_TRUE(Load("timezone = \"Etc/GMT+3\""));
}

TEST_F(Settings, SiteFolderGetsItsSeparatorOnce) {
  ASSERT_TRUE(setup.LoadText("", L"/site/", problems, warnings));
  EXPECT_EQ("/site/config/", Narrow(setup.CfgPath()));
  ASSERT_TRUE(setup.LoadText("", L"", problems, warnings));
  EXPECT_EQ("./config/", Narrow(setup.CfgPath()));
}

TEST_F(Settings, UnknownKeysAreWarnings) {
  EXPECT_EQ("2:1 the key \"nmae\" is not known", Warning("\nnmae = \"x\""));
  EXPECT_EQ("1:6 the key \"a b\" in smtp is not known", Warning("smtp.'a b' = 1"));
  EXPECT_EQ("2:1 the key \"speed\" in preferences.modem is not known",
            Warning("[preferences.modem]\nspeed = 1"));
  EXPECT_EQ("1:1 the key of this place is not known", Warning("\"a\\nb\" = 1"));
  EXPECT_EQ("0", Warning("driver = [{type = \"t\", name = \"n\", whatever = 1}]"));
}

TEST_F(Settings, TellNoMoreThanAHundred) {
  std::string toml;
  for (int i = 0; i < 200; ++i)
    toml += "key" + std::to_string(i) + " = 1\n";
  ASSERT_TRUE(Load(toml));
  EXPECT_EQ(ZRTessalySetup::kMaximumProblems, warnings.size());
}

TEST_F(Settings, ThatAreNoTomlAreRefusedAtTheirPlace) {
  EXPECT_FALSE(Load("name = \"a\"\nlanguage = en\n"));
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ(2, problems[0].line);
  EXPECT_NE(0, problems[0].column);
  EXPECT_FALSE(problems[0].text.IsEmpty());
}

// These have ended other builds of the parser.
TEST_F(Settings, ThatAreFarFromTomlAreRefusedToo) {
  for (const char* bad : {"[,.j]", "[.]", "[[=]]", "[", "[[", "a.", "a.=", "= 1", "a = \xd0\xbd",
                          "a = 08:05:\xd0\xbd", "\xff", "a = \"\xff\"", "a = \"\\\xc3\xa9\""}) {
    EXPECT_FALSE(Load(bad)) << bad;
    EXPECT_EQ(1u, problems.size()) << bad;
  }
}

TEST_F(Settings, AreNotReadPastTheirLimits) {
  EXPECT_EQ("0:0 larger than 1 MiB", Refusal(std::string(1024 * 1024 + 1, '\n')));
  EXPECT_TRUE(Load(std::string(1024 * 1024, '\n')));
  std::string deep = "a";
  for (int i = 0; i < 100'000; ++i)
    deep += ".a";
  EXPECT_EQ("1:34 nested deeper than 16", Refusal(deep + " = 1"));
  EXPECT_EQ("1:21 nested deeper than 16", Refusal("a = " + std::string(100'000, '[')));
}

TEST_F(Settings, ThatAreRefusedChangeNothing) {
  ASSERT_TRUE(Load("name = \"before\"\nhttp.port = 1"));
  EXPECT_FALSE(Load("name = \"after\"\nhttp.port = -1"));
  EXPECT_FALSE(Load("name = "));
  EXPECT_EQ("before", Narrow(setup.ProgramName()));
  EXPECT_EQ(1, setup.HttpServerPort());
  EXPECT_EQ("<settings><http><port>1</port></http><name>before</name></settings>", Tree());
}

TEST_F(Settings, LineContinuedBeforeAForeignCharacterIsJoined) {
  ASSERT_TRUE(Load("name = \"\"\"a \\\n  \u00e9 \\\n \u3005 \\\n \U0001F600\"\"\""));
  EXPECT_EQ("a \u00e9 \u3005 \U0001F600", Narrow(setup.ProgramName()));
}

// --- secrets ---

TEST_F(Settings, PasswordIsNotInTheTree) {
  ASSERT_TRUE(Load("[smtp]\nuser = \"u\"\npassword = \"hunter22\""));
  EXPECT_EQ("<settings><smtp><user>u</user></smtp></settings>", Tree());
}

TEST_F(Settings, NoProblemQuotesAValue) {
  for (const char* bad :
       {"[smtp]\npassword = 77777777777777777777", "[smtp]\npassword = hunter22",
        "[smtp]\npassword = \"hunter22", "[smtp]\npassword = 77777777777777777777.7e7777",
        "[smtp]\npassword = [\"hunter22\"]", "[smtp]\npassword = 'hunter22'x",
        "[smtp]\npassword = \"hunter22\\u0007\"", "smtp.password = 'hunter22'\nsmtp = 1"}) {
    EXPECT_FALSE(Load(bad)) << bad;
    for (const ZRSettingProblem& problem : problems) {
      const std::string text = problem.text.Text();
      EXPECT_EQ(std::string::npos, text.find("hunter")) << text;
      EXPECT_EQ(std::string::npos, text.find("7777")) << text;
    }
  }
}

// --- the tree ---

TEST_F(Settings, TreeShowsEachKindOfValue) {
  ASSERT_TRUE(Load(R"(
[x]
date = 2026-11-21
dateTime = 2026-11-21T08:05:09.25+01:00
float = 2.50
flag = true
no = false
integer = -1_000
hex = 0xff
text = "caf\u00e9 <&>"
time = 08:05:09
whole = 3.0
)"));
  EXPECT_EQ(
      "<settings><x><date>2026-11-21</date><dateTime>2026-11-21T08:05:09.25+01:00</dateTime>"
      "<flag>T</flag><float>2.5</float><hex>255</hex><integer>-1000</integer><no>F</no>"
      "<text>caf\xc3\xa9 &lt;&amp;&gt;</text><time>08:05:09</time><whole>3</whole></x></settings>",
      Tree());
}

TEST_F(Settings, TreeHasAnElementForEachEntryOfAnArray) {
  ASSERT_TRUE(Load("a = [1, 2]\nb = []\nc = [[1, 2], [3]]\nd = [{e = 1}, {e = 2}]"));
  EXPECT_EQ(
      "<settings><a>1</a><a>2</a><c><c>1</c><c>2</c></c><c><c>3</c></c>"
      "<d><e>1</e></d><d><e>2</e></d></settings>",
      Tree());
}

TEST_F(Settings, TreeIsReadByPath) {
  ASSERT_TRUE(Load("[preferences.modem]\nport = 3"));
  EXPECT_EQ("3", Narrow(setup.Tree()->Node(L"preferences/modem/port")->Value()));
}

TEST_F(Settings, KeysOfOurOwnCannotBeForged) {
  EXPECT_EQ("3:1 a key must not begin with \"__\"",
            Refusal("[[driver]]\ntype = \"t\"\n__line = 5"));
}

TEST(DefaultConfiguration, IsTheTreeOfTheProcess) {
  std::vector<ZRSettingProblem> list;
  ASSERT_TRUE(ZRTessalySetup::Get().LoadText("", L"/site", list, list));
  ASSERT_NE(nullptr, DefaultZRFG());
  EXPECT_EQ(ZRTessalySetup::Get().Tree(), DefaultZRFG());
}

// --- drivers ---

TEST_F(Settings, DriversComeInTheOrderOfTheFileWithTheirLines) {
  ASSERT_TRUE(Load(R"([[driver]]
type = "simulator"
name = "house"

[[driver.variable]]
name = "P"

[[driver]]
type = "file"
name = "boiler"
id = "7"
)"));
  ASSERT_EQ(2u, setup.Drivers().size());
  const XmlDocument::XmlNode* const house = setup.Drivers()[0];
  EXPECT_EQ("simulator", house->ValueUtf8("type"));
  EXPECT_EQ("house", house->ValueUtf8("name"));
  EXPECT_EQ("house", house->ValueUtf8("id"));
  EXPECT_EQ("1", house->ValueUtf8("__line"));
  EXPECT_EQ("5", house->Node(L"variable")->ValueUtf8("__line"));
  const XmlDocument::XmlNode* const boiler = setup.Drivers()[1];
  EXPECT_EQ("boiler", boiler->ValueUtf8("name"));
  EXPECT_EQ("7", boiler->ValueUtf8("id"));
  EXPECT_EQ("8", boiler->ValueUtf8("__line"));
}

TEST_F(Settings, DriversNeedATypeAndAName) {
  EXPECT_EQ("2:1 driver.type must be given", Refusal("\n[[driver]]\nname = \"x\""));
  const std::string rule = "must have 1 to 100 bytes, and no \".\", \"[\" or \"]\"";
  EXPECT_EQ("2:1 driver.name " + rule, Refusal("\n[[driver]]\ntype = \"x\""));
  for (const std::string& bad : {std::string(), std::string("a.b"), std::string("[a"),
                                 std::string("a]"), std::string(101, 'x')}) {
    EXPECT_EQ("3:1 driver.name " + rule,
              Refusal("[[driver]]\ntype = \"t\"\nname = \"" + bad + "\""));
    EXPECT_EQ("4:1 driver.id " + rule,
              Refusal("[[driver]]\ntype = \"t\"\nname = \"a\"\nid = \"" + bad + "\""));
  }
}

TEST_F(Settings, DriversDifferInNamesAndIds) {
  const std::string first = "[[driver]]\ntype = \"t\"\nname = \"a\"\n";
  EXPECT_EQ("6:1 driver.name is that of an earlier driver",
            Refusal(first + "[[driver]]\ntype = \"t\"\nname = \"a\"\nid = \"b\""));
  EXPECT_EQ("7:1 driver.id is that of an earlier driver",
            Refusal(first + "[[driver]]\ntype = \"t\"\nname = \"b\"\nid = \"a\""));
}

// --- files ---

class SettingsFile : public Settings {
 protected:
  SettingsFile() {
    std::string pattern = (fs::temp_directory_path() / "zrsettingsXXXXXX").string();
    folder = ::mkdtemp(pattern.data());
  }
  ~SettingsFile() override { fs::remove_all(folder); }

  bool LoadFile() { return setup.Load(Utf8ToUtf16(folder.string()), problems, warnings); }
  fs::path folder;
};

TEST_F(SettingsFile, IsFoundInTheSitesFolder) {
  std::ofstream(folder / "tessaly.toml") << "name = \"of the file\"";
  ASSERT_TRUE(LoadFile());
  EXPECT_EQ("of the file", Narrow(setup.ProgramName()));
  EXPECT_EQ(folder.string() + "/config/", Narrow(setup.CfgPath()));
}

TEST_F(SettingsFile, ThatIsMissingIsNamed) {
  EXPECT_FALSE(LoadFile());
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ("0:0 " + folder.string() + "/tessaly.toml can't be opened: No such file or directory",
            Shown(problems[0]));
}

TEST_F(SettingsFile, ThatIsTooLargeIsRefused) {
  std::ofstream(folder / "tessaly.toml") << std::string(1024 * 1024 + 1, '\n');
  EXPECT_FALSE(LoadFile());
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ("0:0 " + folder.string() + "/tessaly.toml is no file of at most 1 MiB that can be read",
            Shown(problems[0]));
}

// --- the page ---

// The lines between the first "```toml" and the "```" behind it.
std::string ExampleOf(const std::string& page) {
  std::ifstream file(page);
  std::string example;
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    if (inside && line == "```") break;
    if (inside) example += line + "\n";
    if (line == "```toml") inside = true;
  }
  return example;
}

TEST_F(Settings, ExampleOfThePageIsRead) {
  const std::string example = ExampleOf(RepositoryPath("docs/settings.md"));
  ASSERT_FALSE(example.empty());
  ASSERT_TRUE(Load(example)) << Shown(problems.at(0));
  EXPECT_TRUE(warnings.empty()) << Shown(warnings.at(0));
  EXPECT_EQ("North hall", Narrow(setup.ProgramName()));
  EXPECT_EQ("es", Narrow(setup.CurrentLanguage()));
  EXPECT_TRUE(setup.TimeZone() == "Europe/Madrid");
  EXPECT_EQ(8480, setup.HttpServerPort());
  EXPECT_TRUE(setup.SmtpServer() == "mail.example.org");
  EXPECT_EQ(2u, setup.Drivers().size());
  EXPECT_EQ("3", Narrow(setup.Tree()->Node(L"preferences/modem/port")->Value()));
}

TEST_F(Settings, ExamplesOfTheBusPageAreRead) {
  std::ifstream page(RepositoryPath("docs/bus.md"));
  std::string example;
  int read = 0;
  for (std::string line; std::getline(page, line);) {
    if (line == "[bus]") example = "\n";
    if (!example.empty()) example += line + "\n";
    if (line != "```" || example.empty()) continue;
    const std::string text = example.substr(0, example.rfind("```"));
    EXPECT_TRUE(Load(text)) << text << Shown(problems.at(0));
    EXPECT_TRUE(warnings.empty()) << text;
    EXPECT_EQ(read == 0, setup.Bus().kind == "mqtt");
    ++read;
    example.clear();
  }
  EXPECT_EQ(2, read);
}

}  // namespace

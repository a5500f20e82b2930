#include "host/drivers/zrdriverfactory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "host/drivers/drivers_fixture.h"
#include "host/tools/zrfiles.h"
#include "support/sourcedir.h"

namespace {

const std::string kSimulator = "<type>simulator</type><name>hall</name>";
const std::string kPower =
    "<variable><__line>7</__line><name>P</name><form>constant</form><value>3</value></variable>";
const std::string kReplay =
    "<type>replay</type><name>house</name><file>house.csv</file>"
    "<date_columns>Date</date_columns><date_format>%Y-%m-%d</date_format>";

std::unique_ptr<ZRDriver> Make(const std::string& elements,
                               std::vector<ZRSettingProblem>& problems) {
  const CSettings settings("<__line>4</__line>" + elements);
  return ZRDriverFactory::Make(settings.Table(), problems);
}

// The only problem of settings that make no driver.
std::string Refusal(const std::string& elements) {
  std::vector<ZRSettingProblem> problems;
  EXPECT_EQ(nullptr, Make(elements, problems)) << elements;
  EXPECT_EQ(1u, problems.size()) << elements << "\n" << TextsOf(problems);
  return problems.empty() ? std::string() : problems.front().text.Text();
}

// The only problem beside a driver.
std::string WarningOf(const std::string& elements) {
  std::vector<ZRSettingProblem> problems;
  EXPECT_NE(nullptr, Make(elements, problems)) << elements << "\n" << TextsOf(problems);
  EXPECT_EQ(1u, problems.size()) << elements << "\n" << TextsOf(problems);
  return problems.empty() ? std::string() : problems.front().text.Text();
}

std::string Variable(const std::string& elements) {
  return kSimulator + "<variable><name>P</name>" + elements + "</variable>";
}

TEST(DriverFactory, MakesEachType) {
  std::vector<ZRSettingProblem> problems;
  const auto machine = Make("<type>machine</type><name>R$SYS</name><id>R$SYS</id>", problems);
  ASSERT_NE(nullptr, machine);
  EXPECT_TRUE(machine->Name() == L"R$SYS");
  const auto simulator = Make(kSimulator + kPower + "<id>h1</id>", problems);
  ASSERT_NE(nullptr, simulator);
  EXPECT_TRUE(simulator->Name() == L"hall");
  EXPECT_TRUE(simulator->Id() == L"h1");
  const auto replay = Make(kReplay, problems);
  ASSERT_NE(nullptr, replay);
  EXPECT_TRUE(replay->Id() == L"house");
  EXPECT_EQ("", TextsOf(problems));
}

TEST(DriverFactory, MakesTheSystemDriverWithoutSettings) {
  const auto machine = ZRDriverFactory::MakeMachine();
  ASSERT_NE(nullptr, machine);
  EXPECT_TRUE(machine->Id() == L"R$SYS");
}

TEST(DriverFactory, RefusesAnUnknownType) {
  EXPECT_EQ(
      "driver \"hall\": \"type\" must be \"machine\", \"simulator\", \"replay\", \"engine\", "
      "\"modbus\" or \"mqtt\", not \"x\"",
      Refusal("<type>x</type><name>hall</name>"));
  EXPECT_EQ("driver \"hall\": \"type\" is missing", Refusal("<name>hall</name>"));
}

TEST(DriverFactory, ProblemsHaveTheLineOfTheirTable) {
  std::vector<ZRSettingProblem> problems;
  EXPECT_EQ(nullptr, Make(kSimulator + "<period_ms>1</period_ms>" + kPower, problems));
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ(4, problems.front().line);
  problems.clear();
  EXPECT_EQ(nullptr, Make(kSimulator + "<variable><__line>7</__line><name>P</name><form>sine</form>"
                                       "</variable>",
                          problems));
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ(7, problems.front().line);
  EXPECT_EQ("driver \"hall\", variable \"P\": \"amplitude\" is missing",
            std::string(problems.front().text.Text()));
}

TEST(DriverFactory, RefusesBadNames) {
  const std::vector<std::string> bad{"a.b", "a]", "a[", "a\tb", std::string(101, 'x')};
  for (const std::string& name : bad) {
    EXPECT_NE(std::string::npos, Refusal("<type>simulator</type><name>" + name + "</name>" + kPower)
                                     .find("\"name\" must have at most 100 bytes"))
        << name;
    EXPECT_NE(std::string::npos, Refusal(kSimulator + "<variable><name>" + name +
                                         "</name><form>constant</form><value>1</value></variable>")
                                     .find("\"name\" must have at most 100 bytes"))
        << name;
  }
  EXPECT_EQ("driver: \"name\" is missing", Refusal("<type>simulator</type>" + kPower));
  EXPECT_EQ("driver: \"name\" must not be empty",
            Refusal("<type>simulator</type><name></name>" + kPower));
}

TEST(DriverFactory, NobodyElseIsTheSystemDriver) {
  EXPECT_EQ("driver \"R$SYS\": \"name\" is the system driver's own",
            Refusal("<type>simulator</type><name>R$SYS</name><id>a</id>" + kPower));
  EXPECT_EQ("driver \"hall\": \"id\" is the system driver's own",
            Refusal(kSimulator + "<id>R$SYS</id>" + kPower));
  EXPECT_EQ("driver \"m\": \"name\" can only be \"R$SYS\" for the system driver",
            Refusal("<type>machine</type><name>m</name>"));
}

TEST(DriverFactory, UnknownKeysAreWarnings) {
  EXPECT_EQ("driver \"hall\": \"sede\" is no setting of it and is passed over",
            WarningOf(kSimulator + kPower + "<sede>3</sede>"));
  EXPECT_EQ("driver \"hall\", variable \"P\": \"amplitude\" is no setting of it and is passed over",
            WarningOf(Variable("<form>constant</form><value>1</value><amplitude>2</amplitude>")));
  EXPECT_EQ("driver \"house\": \"step_ms\" is no setting of it and is passed over",
            WarningOf(kReplay + "<step_ms>100</step_ms>"));
  EXPECT_EQ("driver \"R$SYS\": \"seed\" is no setting of it and is passed over",
            WarningOf("<type>machine</type><name>R$SYS</name><seed>1</seed>"));
}

TEST(DriverFactory, RefusesWrongNumbers) {
  EXPECT_EQ("driver \"hall\": \"period_ms\" must be a number from 10 to 86400000, not \"soon\"",
            Refusal(kSimulator + kPower + "<period_ms>soon</period_ms>"));
  EXPECT_EQ("driver \"hall\": \"period_ms\" must be a whole number, not 10.5",
            Refusal(kSimulator + kPower + "<period_ms>10.5</period_ms>"));
  const std::vector<std::string> bad{
      "<form>constant</form>",
      "<form>constant</form><value>nan</value>",
      "<form>constant</form><value>inf</value>",
      "<form>constant</form><value>1e16</value>",
      "<form>constant</form><value>1 </value>",
      "<form>constant</form><value>1</value><noise>-1</noise>",
      "<form>constant</form><value>1</value><decimals>16</decimals>",
      "<form>constant</form><value>1</value><decimals>1.5</decimals>",
      "<form>ramp</form><from>1</from>",
      "<form>ramp</form><from>1</from><to>2</to><period_s>0</period_s>",
      "<form>ramp</form><from>1</from><to>2</to><once>yes</once>",
      "<form>sine</form><amplitude>1</amplitude><period_s>-5</period_s>",
      "<form>noise</form>",
      "<form>load</form><base>1</base>",
      "<form>load</form><base>1</base><peak>2</peak><morning_h>25</morning_h>",
      "<form>load</form><base>1</base><peak>2</peak><width_h>0</width_h>",
      "<form>switch</form><on_s>0</on_s>",
      "<form>square</form>",
      "",
      "<form>switch</form><dropout><every_s>10</every_s></dropout>",
      "<form>switch</form><dropout><every_s>10</every_s><for_s>10</for_s></dropout>",
  };
  for (const std::string& elements : bad)
    EXPECT_NE("", Refusal(Variable(elements)));
}

TEST(DriverFactory, RefusesASimulatorWithoutVariablesOrWithOneTwice) {
  EXPECT_EQ("driver \"hall\": \"variable\" must stand from once to 10000 times",
            Refusal(kSimulator));
  EXPECT_EQ("driver \"hall\": \"variable\" stands twice with the name \"P\"",
            Refusal(kSimulator + kPower + kPower));
}

TEST(DriverFactory, ASimulatorShowsWhatItsSettingsSay) {
  ZRVirtualTime time;
  std::vector<ZRSettingProblem> problems;
  const auto driver =
      Make(kSimulator +
               "<period_ms>500</period_ms>"
               "<variable><name>R</name><form>ramp</form><from>0</from><to>10</to>"
               "<period_s>5</period_s><once>T</once></variable>"
               "<variable><name>T</name><form>switch</form><on_s>1.5</on_s><off_s>2</off_s>"
               "<offset_s>1</offset_s><on_text>on</on_text><off_text>off</off_text></variable>"
               "<variable><name>S</name><form>switch</form><on>7</on><off>3</off></variable>"
               "<variable><name>M</name><form>text</form><text>manual</text></variable>"
               "<variable><name>E</name><form>text</form></variable>"
               "<variable><name>C</name><form>constant</form><value>1.26</value>"
               "<decimals>1</decimals>"
               "<dropout><every_s>4</every_s><for_s>1</for_s></dropout></variable>",
           problems);
  ASSERT_NE(nullptr, driver) << TextsOf(problems);
  EXPECT_EQ("", TextsOf(problems));
  ASSERT_TRUE(driver->Start());
  EXPECT_EQ(0.0, NumberOf(L"hall.R"));
  EXPECT_EQ("off", TextOf(L"hall.T"));
  EXPECT_EQ(7.0, NumberOf(L"hall.S"));
  EXPECT_EQ("manual", TextOf(L"hall.M"));
  EXPECT_EQ("", TextOf(L"hall.E"));
  EXPECT_EQ(1.3, NumberOf(L"hall.C"));
  time.Advance(1000);
  EXPECT_EQ("on", TextOf(L"hall.T"));
  EXPECT_EQ(3.0, NumberOf(L"hall.S"));
  time.Advance(1500);
  EXPECT_EQ("off", TextOf(L"hall.T"));
  EXPECT_EQ(5.0, NumberOf(L"hall.R"));
  time.Advance(500);
  EXPECT_EQ(ZRQuality::kUnavailable, QualityOf(L"hall.C"));
  time.Advance(7000);
  EXPECT_EQ(10.0, NumberOf(L"hall.R"));
  driver->Stop();
}

TEST(DriverFactory, RefusesReplaysThatCantBe) {
  const auto with = [](const std::string& elements) { return Refusal(kReplay + elements); };
  EXPECT_EQ("driver \"house\": \"delimiter\" must be a single character, not \";;\"",
            with("<delimiter>;;</delimiter>"));
  EXPECT_NE("", with("<decimal>x</decimal>"));
  EXPECT_NE("", with("<decimal>,</decimal>"));  // the delimiter is a comma too
  EXPECT_NE("", with("<delimiter>\"</delimiter>"));
  EXPECT_NE("", with("<speed>fast</speed>"));
  EXPECT_NE("", with("<speed>0</speed>"));
  EXPECT_NE("", with("<speed>step</speed><step_ms>1</step_ms>"));
  EXPECT_NE("", with("<zone>CET</zone>"));
  EXPECT_NE("", with("<loop>maybe</loop>"));
  EXPECT_NE("", with("<date_columns>Time</date_columns><date_columns>Zone</date_columns>"));
  EXPECT_EQ("driver \"a\": \"date_columns\" is missing",
            Refusal("<type>replay</type><name>a</name><file>f</file>"
                    "<date_format>%s</date_format>"));
  EXPECT_EQ("driver \"a\": \"date_format\" \"%Q\" is no conversion of a date",
            Refusal("<type>replay</type><name>a</name><file>f</file>"
                    "<date_columns>D</date_columns><date_format>%Q</date_format>"));
  EXPECT_EQ("driver \"a\": \"file\" is missing",
            Refusal("<type>replay</type><name>a</name><date_columns>D</date_columns>"
                    "<date_format>%s</date_format>"));
}

// A site of its own below the temporary folder.
class CSite {
 public:
  CSite() : folder(testing::TempDir() + "zrdrivers-" + Unique() + "/") {
    std::filesystem::create_directories(folder + "sub");
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    const std::string path = folder;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText("", Utf8ToUtf16(path), problems, warnings));
  }
  ~CSite() { std::filesystem::remove_all(folder); }
  CSite(const CSite&) = delete;
  CSite& operator=(const CSite&) = delete;

  void Write(const std::string& name, const std::string& content) const {
    std::FILE* const file = std::fopen((folder + name).c_str(), "w");
    ASSERT_NE(nullptr, file);
    (void)std::fwrite(content.data(), 1, content.size(), file);
    (void)std::fclose(file);
  }
  const std::string folder;

 private:
  static std::string Unique() {
    uuid id;
    NewGUID(&id);
    return Utf16ToUtf8(id.toWString().View()).Text();
  }
};

TEST(DriverFactory, AFileStaysBelowItsSite) {
  const CSite site;
  std::string reason;
  const auto path = [&](const std::string& file, bool outside) {
    return PathBelowSite(site.folder, file, outside, reason);
  };
  EXPECT_EQ(std::filesystem::canonical(site.folder) / "f.csv", path("f.csv", false));
  EXPECT_EQ(std::filesystem::canonical(site.folder) / "f.csv", path("sub/../f.csv", false));
  EXPECT_EQ("", path("../f.csv", false));
  EXPECT_EQ("must lie below the site's folder, or \"outside\" be true", reason);
  EXPECT_EQ("", path("sub/../../f.csv", false));
  EXPECT_EQ("", path("/etc/passwd", false));
  EXPECT_EQ("", path(site.folder + "f.csv", false));
  EXPECT_EQ("", path("sub", false));
  EXPECT_EQ("isn't a file", reason);
  EXPECT_EQ("", path(std::string("f\0g", 3), false));
  EXPECT_EQ("/etc/passwd", path("/etc/passwd", true));
  std::filesystem::create_symlink("/etc", site.folder + "link");
  EXPECT_EQ("", path("link/passwd", false));
  EXPECT_EQ("/etc/passwd", path("link/passwd", true));
}

TEST(DriverFactory, AReplayReadsTheFileOfItsSite) {
  const CSite site;
  site.Write("sub/house.csv",
             "D;T;P;Q\r\n16/12/2006;17:24:00;1,5;?\r\n16/12/2006;17:25:00;2,5;1\r\n");
  const std::string elements =
      "<type>replay</type><name>house</name><file>sub/house.csv</file><delimiter>;</delimiter>"
      "<decimal>,</decimal><date_columns>D</date_columns><date_columns>T</date_columns>"
      "<date_format>%d/%m/%Y %H:%M:%S</date_format><columns>P</columns><zone>utc</zone>"
      "<speed>2</speed><loop>T</loop>";
  ZRVirtualTime time;
  std::vector<ZRSettingProblem> problems;
  const auto driver = Make(elements, problems);
  ASSERT_NE(nullptr, driver) << TextsOf(problems);
  ASSERT_TRUE(driver->Start());
  EXPECT_EQ(1.5, NumberOf(L"house.P"));
  EXPECT_EQ(ZRQuality::kUnknown, QualityOf(L"house.Q"));
  time.Advance(30'000);
  EXPECT_EQ(2.5, NumberOf(L"house.P"));
  time.Advance(30'000);
  EXPECT_EQ(1.5, NumberOf(L"house.P"));
  driver->Stop();

  const CSettings settings(elements);
  ZRReadingsSpan span;
  ASSERT_TRUE(ZRDriverFactory::MeasureReplay(settings.Table(), span, problems));
  EXPECT_EQ(2, span.readings);
  EXPECT_EQ(1'166'289'840'000, span.first);
  EXPECT_EQ(60'000, span.last - span.first);
}

TEST(DriverFactory, MeasuresReplaysOnly) {
  const CSite site;
  ZRReadingsSpan span;
  std::vector<ZRSettingProblem> problems;
  EXPECT_FALSE(
      ZRDriverFactory::MeasureReplay(CSettings(kSimulator + kPower).Table(), span, problems));
  EXPECT_EQ("driver \"hall\": \"type\" must be \"replay\"\n", TextsOf(problems));
  problems.clear();
  EXPECT_FALSE(ZRDriverFactory::MeasureReplay(CSettings(kReplay).Table(), span, problems));
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ(0u, std::string(problems.front().text.Text()).find("driver \"house\": \"file\" "));
}

// The blocks of the page between ```toml and ```.
std::vector<std::string> Examples() {
  ZRString page;
  EXPECT_TRUE(ReadWholeFile(Utf8ToUtf16(RepositoryPath("docs/drivers.md")), 1u << 20, page));
  std::vector<std::string> examples;
  const std::string text = page.Text();
  constexpr std::string_view kOpening = "```toml\n";
  for (std::size_t at = text.find(kOpening); at != std::string::npos;
       at = text.find(kOpening, at)) {
    at += kOpening.size();
    const std::size_t end = text.find("```", at);
    examples.push_back(text.substr(at, end - at));
  }
  return examples;
}

TEST(DriversPage, EveryExampleMakesItsDriversWithoutAProblem) {
  const CSite site;
  const std::vector<std::string> examples = Examples();
  ASSERT_EQ(7u, examples.size());
  std::size_t drivers = 0;
  for (const std::string& example : examples) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    ASSERT_TRUE(
        ZRTessalySetup::Get().LoadText(example, Utf8ToUtf16(site.folder), problems, warnings))
        << TextsOf(problems);
    EXPECT_EQ("", TextsOf(warnings));
    for (const XmlDocument::XmlNode* settings : ZRTessalySetup::Get().Drivers()) {
      EXPECT_NE(nullptr, ZRDriverFactory::Make(*settings, problems)) << TextsOf(problems);
      ++drivers;
    }
    EXPECT_EQ("", TextsOf(problems));
  }
  EXPECT_EQ(9u, drivers);
}

TEST(DriversPage, AProblemOfTheFileHasTheLineOfItsTable) {
  const CSite site;
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  ASSERT_TRUE(ZRTessalySetup::Get().LoadText(
      "# a comment\n[[driver]]\ntype = \"simulator\"\nname = \"hall\"\n\n[[driver.variable]]\n"
      "name = \"P\"\nform = \"noise\"\n",
      Utf8ToUtf16(site.folder), problems, warnings))
      << TextsOf(problems);
  const auto drivers = ZRTessalySetup::Get().Drivers();
  ASSERT_EQ(1u, drivers.size());
  EXPECT_EQ(nullptr, ZRDriverFactory::Make(*drivers.front(), problems));
  ASSERT_EQ(1u, problems.size());
  EXPECT_EQ(6, problems.front().line);
  EXPECT_EQ("driver \"hall\", variable \"P\": \"sigma\" is missing",
            std::string(problems.front().text.Text()));
}

}  // namespace

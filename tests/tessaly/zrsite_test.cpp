#include "tessaly/zrsite.h"

#include <gtest/gtest.h>

#include "host/driversupport/zrlivevalue.h"
#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrstringtable.h"
#include "support/eventxml.h"
#include "support/fakemodbus.h"
#include "support/findinglines.h"
#include "support/historytest.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"
#include "support/sourcedir.h"
#include "zrevents/zreventdriver.h"

namespace {

// A site in virtual time. Findings as lines.
class Site : public ::testing::Test {
 protected:
  ~Site() override {
    site.Stop();
    (void)ZRDateTime::SetLocalZone("");
    (void)SetStringLanguage("en");
  }

  void Settings(const std::string& toml) const { folder.Write("tessaly.toml", toml); }
  void Events(const std::string& events) const {
    folder.Write("config/default.xeve", "<main><events>" + events + "</events></main>");
  }
  Lines LoadSettings() {
    return Found([this](ZRFindings& findings) { answer = site.LoadSettings(findings); });
  }
  Lines TrySite() {
    return Found([this](ZRFindings& findings) { answer = site.TrySite(findings); });
  }
  Lines MakeDrivers() {
    return Found([this](ZRFindings& findings) { site.MakeDrivers(findings); });
  }
  Lines StartDrivers(ZRSite::tagDrivers which = ZRSite::tagDrivers::kWithoutMachine) {
    return Found([&](ZRFindings& findings) { site.StartDrivers(which, findings); });
  }
  static int HourNow() { return ZRDateTime::LTC().Hour(); }
  static std::size_t Drivers() {
    return static_cast<std::size_t>(
        std::distance(ZRDriver::DriversBegin(), ZRDriver::DriversEnd()));
  }

  ZRVirtualTime time;  // midnight of UTC
  SiteFolder folder;
  ZRSite site{folder.path.string()};
  bool answer = false;
};

// --- settings ---

TEST_F(Site, FolderThatDoesNotExistIsSaidToBeSo) {
  ZRSite nowhere((folder.path / "none").string());
  ZRFindings findings;
  EXPECT_FALSE(nowhere.LoadSettings(findings));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(FindingLine(findings[0]),
            (folder.path / "none").string() + ": broken: there is no such folder");
}

TEST_F(Site, FolderWithoutSettingsIsNoSite) {
  folder.Remove("tessaly.toml");
  const Lines lines = LoadSettings();
  EXPECT_FALSE(answer);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("tessaly.toml can't be opened"), std::string::npos) << lines[0];
}

TEST_F(Site, BrokenSettingsAreToldWithLineAndColumn) {
  Settings("name = \"x\"\n[http]\nport = \"80\"\n");
  const Lines lines = LoadSettings();
  EXPECT_FALSE(answer);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].rfind("tessaly.toml:3:1: broken: http.port must be", 0), 0u) << lines[0];
}

TEST_F(Site, KeyThatNobodyKnowsIsAHint) {
  Settings("colour = 1\n");
  const Lines lines = LoadSettings();
  EXPECT_TRUE(answer);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].rfind("tessaly.toml:1:1: hint: the key \"colour\"", 0), 0u) << lines[0];
}

TEST_F(Site, ZoneAndLanguageAreInForceFromThenOn) {
  Settings("timezone = \"Asia/Tokyo\"\nlanguage = \"es\"\n");
  EXPECT_EQ(LoadSettings(), Lines{});
  EXPECT_TRUE(answer);
  EXPECT_EQ(HourNow(), 9);
  EXPECT_STREQ(StringLanguage().Text(), "es");
}

TEST_F(Site, ZoneThatDoesNotExistIsRefused) {
  Settings("timezone = \"Mars/Olympus\"\n");
  EXPECT_EQ(LoadSettings(),
            Lines{"tessaly.toml: broken: timezone: there is no zone 'Mars/Olympus'"});
  EXPECT_FALSE(answer);
}

// --- a look at what the disk holds now ---

TEST_F(Site, LookTakesNothingOver) {
  Settings("name = \"old\"\ntimezone = \"Asia/Tokyo\"\n");
  (void)LoadSettings();
  Settings("name = \"new\"\ntimezone = \"Europe/Madrid\"\nconfig = \"other\"\n");
  EXPECT_EQ(TrySite(), Lines{"other/: hint: no such folder: no events"});
  EXPECT_TRUE(answer);
  EXPECT_EQ(ZRTessalySetup::Get().ProgramName(), L"old");
  EXPECT_EQ(HourNow(), 9);
}

TEST_F(Site, LookFindsWhateverIsBroken) {
  Events("");
  (void)LoadSettings();
  EXPECT_EQ(TrySite(), Lines{});
  EXPECT_TRUE(answer);

  Settings("name = \n");
  const Lines lines = TrySite();
  EXPECT_FALSE(answer);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].rfind("tessaly.toml:1:", 0), 0u) << lines[0];

  Settings("timezone = \"Mars/Olympus\"\n");
  folder.Write("config/default.xtmt", "<main>\n<days></main>");
  EXPECT_EQ(TrySite(), (Lines{"config/default.xtmt:2:9: broken: mismatched tag",
                              "tessaly.toml: broken: timezone: there is no zone 'Mars/Olympus'"}));
  EXPECT_FALSE(answer);

  Settings("");
  EXPECT_EQ(TrySite(), Lines{"config/default.xtmt:2:9: broken: mismatched tag"});
  EXPECT_FALSE(answer);
}

// --- the log ---

TEST_F(Site, LogGoesToTheFileOfTheSettings) {
  Settings("[log]\ntarget = \"tessaly.log\"\n");
  (void)LoadSettings();
  std::string reason;
  ASSERT_TRUE(site.OpenLog(reason)) << reason;
  logger(kLogNotice, L"here");
  ZRString ignored;
  ASSERT_TRUE(SetupLog({}, ignored));
  std::ifstream file(folder.path / "tessaly.log");
  std::string line;
  std::getline(file, line);
  EXPECT_TRUE(line.ends_with("[info ] here")) << line;
}

TEST_F(Site, LogThatCannotBeOpenedHasAReason) {
  Settings("[log]\ntarget = \"none/tessaly.log\"\n");
  (void)LoadSettings();
  std::string reason;
  EXPECT_FALSE(site.OpenLog(reason));
  EXPECT_NE(reason.find("tessaly.log"), std::string::npos) << reason;
}

// --- drivers ---

TEST_F(Site, SystemDriverIsAlwaysThere) {
  (void)LoadSettings();
  EXPECT_EQ(MakeDrivers(), Lines{});
  EXPECT_EQ(Drivers(), 1u);
  EXPECT_NE(ZRDriver::LockDriver(L"R$SYS", nullptr), nullptr);
}

TEST_F(Site, DriverThatCannotBeMadeIsDroppedWithItsLine) {
  Settings(
      "\n[[driver]]\ntype = \"simulator\"\nname = \"a\"\n\n[[driver]]\ntype = \"robot\"\n"
      "name = \"b\"\n\n[[driver]]\ntype = \"simulator\"\nname = \"c\"\n"
      "[[driver.variable]]\nname = \"V\"\nform = \"constant\"\nvalue = 3\n");
  ASSERT_EQ(LoadSettings(), Lines{});
  const Lines lines = MakeDrivers();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].rfind("tessaly.toml:2: dropped: driver \"a\"", 0), 0u) << lines[0];
  EXPECT_EQ(lines[1].rfind("tessaly.toml:6: dropped: driver \"b\"", 0), 0u) << lines[1];
  EXPECT_EQ(Drivers(), 2u) << "c and the system's";
}

TEST_F(Site, SerialLineOfTwoDriversIsThatOfTheFirst) {
  folder.Write("line", "");
  std::filesystem::create_symlink("line", folder.path / "other");
  const auto driver = [this](const std::string& name, const std::string& device) {
    return "[[driver]]\ntype = \"modbus\"\nname = \"" + name + "\"\ndevice = \"" +
           (folder.path / device).string() + "\"\n[[driver.register]]\nname = \"L\"\naddress = 1\n";
  };
  Settings(driver("a", "line") + driver("b", "other") + driver("c", "none") + driver("d", "none"));
  ASSERT_EQ(LoadSettings(), Lines{});
  EXPECT_EQ(MakeDrivers(),
            (Lines{"tessaly.toml:8: dropped: driver \"b\": \"device\" is the serial line of driver "
                   "\"a\" already: both would ask at once",
                   "tessaly.toml:22: dropped: driver \"d\": \"device\" is the serial line of "
                   "driver \"c\" already: both would ask at once"}));
  EXPECT_EQ(Drivers(), 3u) << "a, c and the system's";
}

TEST_F(Site, DriverThatCannotStartIsDroppedWithItsLine) {
  Settings(
      "\n[[driver]]\ntype = \"replay\"\nname = \"r\"\nfile = \"r.csv\"\n"
      "date_columns = \"T\"\ndate_format = \"%s\"\n");
  folder.Write("r.csv", "T,V\n");
  ASSERT_EQ(LoadSettings(), Lines{});
  ASSERT_EQ(MakeDrivers(), Lines{});
  const LogCapture log;
  EXPECT_EQ(StartDrivers(), Lines{"tessaly.toml:2: dropped: driver 'r' can't start"});
  EXPECT_EQ(StartDrivers(ZRSite::tagDrivers::kNone),
            Lines{"tessaly.toml:2: dropped: driver 'r' can't start"});
}

TEST_F(Site, DevicesAreNeitherAskedNorToldInVirtualTime) {
  FakeModbus bus;
  Settings(
      "[[driver]]\ntype = \"modbus\"\nname = \"hall\"\nhost = \"10.0.0.5\"\n"
      "[[driver.register]]\nname = \"L\"\naddress = 1\nwrite = true\n");
  ASSERT_EQ(LoadSettings(), Lines{});
  ASSERT_EQ(MakeDrivers(), Lines{});
  EXPECT_EQ(StartDrivers(), Lines{});
  time.Advance(10'000);
  std::int64_t limit = -1;
  ZRDriver* const hall = ZRDriver::FindVariable(L"hall.L", limit);
  ASSERT_NE(nullptr, hall);
  ZRValue value;
  value.SetNumeric(1);
  EXPECT_FALSE(hall->ForceValue(limit, value, L"hall.L"));
  EXPECT_EQ("", bus.Asked());
}

TEST_F(Site, DriversThatAreOnlyMadeReadyHaveTheirVariables) {
  Settings(
      "[[driver]]\ntype = \"replay\"\nname = \"r\"\nfile = \"r.csv\"\n"
      "date_columns = \"T\"\ndate_format = \"%s\"\n");
  folder.Write("r.csv", "T,V\n1767225600,7\n");
  Events(EventXml("A").Condition("[r.V] = 7 or [R$SYS.LOAD1] = 1").Xml());
  ASSERT_EQ(LoadSettings(), Lines{});
  ASSERT_EQ(MakeDrivers(), Lines{});
  const LogCapture log;
  EXPECT_EQ(StartDrivers(ZRSite::tagDrivers::kNone), Lines{});
  site.LoadEvents({});
  EXPECT_EQ(Found([this](ZRFindings& findings) { site.CheckLoaded(findings); }), Lines{});
  EXPECT_EQ(time.Switches(), 0u) << "no thread was started";
}

// --- the engine ---

TEST_F(Site, WorksAndCanBeLoadedAnew) {
  int transitions = 0;
  const auto count = [&](const ZREventDriver&, bool, double) { ++transitions; };
  for (const char* name : {"A", "B"}) {
    Events(EventXml(name).Condition("1 = 1").Xml());
    ASSERT_EQ(LoadSettings(), Lines{});
    ASSERT_EQ(MakeDrivers(), Lines{});
    ASSERT_EQ(StartDrivers(), Lines{});
    site.LoadEvents(count);
    ASSERT_EQ(ZREventSystem::Get().EventsSize(), 1);
    EXPECT_EQ(Narrow((*ZREventSystem::Get().EventsBegin())->Name()), name);
    ASSERT_TRUE(site.StartEngine());
    time.Advance(1000);
    site.ShowCycle();
    EXPECT_TRUE(ZREventServer::Get().IsServerStarted());
    site.Stop();
    EXPECT_FALSE(ZREventServer::Get().IsServerStarted());
    EXPECT_EQ(ZREventSystem::Get().EventsSize(), 0);
    EXPECT_EQ(Drivers(), 0u);
  }
  EXPECT_EQ(transitions, 2);
}

// The event is active for five seconds of ten, and the site is loaded anew while it is.
TEST_F(Site, CountsOfEventsGoOnWhenItIsLoadedAnew) {
  const auto value = [](const wchar_t* name) {
    ZRLiveValue* const live = ZRLiveValues::Get().Reference(ZRWString(name));
    const double number = live->NumberOrNan();
    ZRLiveValues::Get().Release(live);
    return number;
  };
  const auto begin = [&](const std::string& period) {
    Settings("history.durability = \"off\"\n" + period +
             "[[driver]]\ntype = \"simulator\"\nname = \"s\"\n[[driver.variable]]\nname = \"V\"\n"
             "form = \"switch\"\non_s = 5\noff_s = 5\n");
    ASSERT_EQ(LoadSettings(), Lines{});
    ASSERT_EQ(MakeDrivers(), Lines{});
    ASSERT_EQ(StartDrivers(), Lines{});
    site.LoadEvents({});
    EXPECT_NE(value(L"A.CACT"), value(L"A.CACT")) << "unavailable";
    ASSERT_TRUE(site.StartEngine());
    time.Advance(0);
  };
  time.SetUtc(ZRVirtualTime::kDefaultUtc + 12 * 3'600'000);
  Events(EventXml("A").Condition("[s.V] = 1").Record().Xml());
  begin("");
  time.Advance(22'000);
  const double before = value(L"A.CACT");
  const double seconds = value(L"A.CTIM");
  EXPECT_GE(before, 2);
  EXPECT_GE(seconds, 5);
  site.Stop();
  EXPECT_EQ(ZRDriver::Source(), nullptr);
  begin("");
  EXPECT_GE(value(L"A.CACT"), before);
  EXPECT_GE(value(L"A.CTIM"), seconds - 5) << "less what was cut off";
  site.Stop();
  time.SetUtc(ZRVirtualTime::kDefaultUtc + 36 * 3'600'000);
  begin("events.count_period = \"day\"\n");
  EXPECT_LE(value(L"A.CACT"), 1) << "of today";
}

TEST_F(Site, NeedsAThreadForTheCountsOfEvents) {
  Settings("history.durability = \"off\"\n");
  Events(EventXml("A").Condition("1 = 1").Xml());
  for (const int threads : {4, 3}) {  // the sync's, a worker's, the listeners'
    ASSERT_EQ(LoadSettings(), Lines{});
    site.LoadEvents({});
    time.FailThreadsAfter(threads);
    EXPECT_EQ(site.StartEngine(), threads == 4);
    time.FailThreadsAfter(-1);
    site.Stop();
    EXPECT_FALSE(ZREventServer::Get().IsServerStarted());
  }
}

TEST_F(Site, ShowsTheEnginesCycle) {
  (void)LoadSettings();
  (void)MakeDrivers();
  site.LoadEvents({});
  site.ShowCycle();
  ZRLiveValue* const cycle = ZRLiveValues::Get().Find(L"R$SYS.CYCLE");
  ASSERT_NE(cycle, nullptr);
  double milliseconds = -1.0;
  EXPECT_TRUE(cycle->Number(milliseconds));
  EXPECT_EQ(milliseconds, 0.0);
  ZRLiveValues::Get().Release(cycle);
}

// The event begins and ends every five seconds, and its data folder is a file at first.
TEST_F(Site, SaysWhenRecordsBeginToWaitAndWhenTheyCouldBeWritten) {
  folder.Write("file", "");
  Settings(
      "data = \"file\"\nhistory.durability = \"off\"\n"
      "[[driver]]\ntype = \"simulator\"\nname = \"s\"\n[[driver.variable]]\nname = \"V\"\n"
      "form = \"switch\"\non_s = 5\noff_s = 5\n");
  Events(EventXml("A").Condition("[s.V] = 1").Record().Xml());
  ASSERT_EQ(LoadSettings(), Lines{});
  ASSERT_EQ(MakeDrivers(), Lines{});
  ASSERT_EQ(StartDrivers(), Lines{});
  site.LoadEvents({});
  const LogCapture log(kLogDelivery);
  ASSERT_TRUE(site.StartEngine());
  time.Advance(2000);
  site.Watch();
  site.Watch();
  const std::string begin = "1 records of the history wait to be written: data files ";
  EXPECT_EQ(log.Starting(begin).size(), 1u) << "said once";

  folder.Remove("file");
  std::filesystem::create_directory(folder.path / "file");
  time.Advance(6000);
  site.Watch();
  site.Watch();
  EXPECT_EQ(log.Starting("no record of the history waits any more").size(), 1u);
  EXPECT_TRUE(std::filesystem::exists(folder.path / "file/2026/01/A 01-2026.suc"));
  site.Stop();
  EXPECT_EQ(log.Starting("1 records of the history were still waiting").size(), 0u);
}

// A reader has the files of the event when it ends. A single look says nothing: it could have met
// a record on its way to the disk.
TEST_F(Site, SaysThatFilesAreInUseWhenTwoLooksFindARecordWaiting) {
  Settings(
      "history.durability = \"off\"\n"
      "[[driver]]\ntype = \"simulator\"\nname = \"s\"\n[[driver.variable]]\nname = \"V\"\n"
      "form = \"switch\"\non_s = 5\noff_s = 5\n");
  Events(EventXml("A").Condition("[s.V] = 1").Record().Xml());
  ASSERT_EQ(LoadSettings(), Lines{});
  ASSERT_EQ(MakeDrivers(), Lines{});
  ASSERT_EQ(StartDrivers(), Lines{});
  site.LoadEvents({});
  const LogCapture log(kLogDelivery);
  ASSERT_TRUE(site.StartEngine());
  time.Advance(3000);
  site.Watch();  // what went wrong in other tests is behind it
  ZREventDriver* const event = *ZREventSystem::Get().EventsBegin();
  ZRThread reader;
  (void)reader.Start([event] {
    SlowWriting response(5000);
    const ZRDateTime now = ZRDateTime::UTC();
    const ZRDateTime start = ZRDateTime::FromUtcMilliseconds(now.UtcMilliseconds() - 3000);
    event->LoadFileEvents(start, now, response);
  });
  time.Advance(4000);
  ASSERT_EQ(event->WaitingRecords(), 1);
  site.Watch();
  EXPECT_EQ(log.Lines().size(), 0u);
  site.Watch();
  site.Watch();
  EXPECT_EQ(
      log.Starting("1 records of the history wait to be written: their files are in use").size(),
      1u);
  reader.Join();
}

TEST_F(Site, SaysHowManyRecordsAreLost) {
  folder.Write("file", "");
  Settings("data = \"file\"\n");
  Events(EventXml("A").Condition("1 = 1").Record().Xml());
  ASSERT_EQ(LoadSettings(), Lines{});
  ASSERT_EQ(MakeDrivers(), Lines{});
  const LogCapture log(kLogDelivery);
  for (int i = 0; i < 2; ++i) {
    site.LoadEvents({});
    ASSERT_TRUE(site.StartEngine());
    time.Advance(2000);
    site.Stop();
    ASSERT_EQ(MakeDrivers(), Lines{});
  }
  EXPECT_EQ(log.Starting("1 records of the history were still waiting and are lost").size(), 2u);
}

TEST_F(Site, ThatNeedsNoHistoryLeavesTheDataFolderAlone) {
  Events(EventXml("A").Condition("1 = 1").Record().Xml());
  (void)LoadSettings();
  (void)MakeDrivers();
  std::filesystem::create_directory(folder.path / "scratch");
  site.RecordForNothing(folder.WidePath() + L"/scratch/");
  site.LoadEvents({});
  ASSERT_TRUE(site.StartEngine());
  time.Advance(2000);
  site.Stop();
  EXPECT_TRUE(std::filesystem::is_empty(folder.path / "data"));
  EXPECT_FALSE(std::filesystem::is_empty(folder.path / "scratch"));
}

TEST_F(Site, EngineWithoutThreadsLeavesNothingBehind) {
  Events(EventXml("A").Condition("1 = 1").Xml());
  (void)LoadSettings();
  (void)MakeDrivers();
  site.LoadEvents({});
  time.FailThreadsAfter(1);
  EXPECT_FALSE(site.StartEngine());
  site.Stop();
  EXPECT_EQ(ZREventSystem::Get().EventsSize(), 0);
  time.FailThreadsAfter(-1);
  site.LoadEvents({});
  EXPECT_TRUE(site.StartEngine());
}

TEST_F(Site, SampleSiteHasNoFinding) {
  // Made first, so that it is the engine in force.
  ZRSite house(RepositoryPath("examples/house"));
  EXPECT_EQ(Found([&](ZRFindings& findings) {
              EXPECT_TRUE(house.LoadSettings(findings));
              EXPECT_TRUE(house.TryDocuments(findings));
              house.MakeDrivers(findings);
              house.StartDrivers(ZRSite::tagDrivers::kNone, findings);
              house.LoadEvents({});
              house.CheckLoaded(findings);
            }),
            Lines{});
  EXPECT_GT(ZREventSystem::Get().EventsSize(), 0);
}

}  // namespace

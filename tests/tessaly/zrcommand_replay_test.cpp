#include <gtest/gtest.h>

#include <string>

#include "host/base/zrlogger.h"
#include "host/tools/zrdatetime.h"
#include "support/eventxml.h"
#include "support/golden.h"
#include "support/logcapture.h"
#include "support/sitefolder.h"
#include "tessaly/zrcommands.h"

namespace {

constexpr int kReadings = 200;  // one each 10 s, from midnight

// A site with a recording of two columns, and what a run through it prints.
class Replay : public ::testing::Test {
 protected:
  Replay() {
    std::string readings = "time,POWER,TEMP\n";
    for (int at = 0; at < kReadings; ++at) {
      const int power = at % 40 < 20 ? at % 40 : 40 - at % 40;  // 0 to 20 and back
      const std::string temperature = at % 50 < 8 ? "" : std::to_string(60 + at % 13);
      readings += std::to_string(1'767'225'600 + 10 * at) + "," + std::to_string(power) + "," +
                  temperature + "\n";
    }
    site.Write("house.csv", readings);
    Settings("");
    const std::string events[] = {
        EventXml("High", 1)
            .Condition("[house.POWER] &gt;= 12")
            .DelayToActivate("25")
            .With("annotation", "%a1 kW after %b s")
            .Argument("[house.POWER]", "1")
            .Xml(),
        EventXml("Held", 2)
            .Condition("[house.POWER] &gt; 15")
            .Stop("[house.POWER] &lt; 5")
            .DelayToDeactivate("15")
            .Xml(),
        EventXml("Silent", 3)
            .Condition("not available([house.TEMP]) and age([house.TEMP]) &gt; 30")
            .Xml(),
        EventXml("Hot", 4).Condition("[house.TEMP] &gt; 70").With("annotation", "50 % of %n").Xml(),
        EventXml("Long", 5).Condition("[Held.TACT] &gt; 120").DelayToActivate("0.5").Xml(),
        EventXml("Never", 6).Condition("[house.POWER] &gt; 20").Xml()};
    std::string all;
    for (const std::string& event : events)
      all += event;
    site.Write("config/default.xeve", "<main><events>" + all + "</events></main>");
  }
  ~Replay() override { (void)ZRDateTime::SetLocalZone(""); }

  void Settings(const std::string& more) const {
    site.Write("tessaly.toml",
               "timezone = \"Europe/Madrid\"\n[[driver]]\ntype = \"replay\"\nname = \"house\"\n"
               "file = \"house.csv\"\ndate_columns = \"time\"\ndate_format = \"%s\"\n" +
                   more);
  }
  int Run() {
    const LogCapture log;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    ZRCommand command;
    command.site = site.path.string();
    const int exitCode = ReplaySite(command);
    (void)std::fflush(stdout);
    transcript = testing::internal::GetCapturedStdout();
    summary = testing::internal::GetCapturedStderr();
    complaints = log.Starting("tessaly.toml");
    return exitCode;
  }

  /// The summary's line starts with \a start. A sanitizer may print lines of its own before it.
  bool SummarySays(const std::string& start) const {
    return ('\n' + summary).find('\n' + start) != std::string::npos;
  }

  SiteFolder site;
  std::string transcript;
  std::string summary;
  std::vector<std::string> complaints;
};

TEST_F(Replay, PrintsTheSameTranscriptOnEachRun) {
  ASSERT_EQ(Run(), kExitDone);
  const std::string first = transcript;
  ASSERT_EQ(Run(), kExitDone);
  EXPECT_EQ(transcript, first);
}

TEST_F(Replay, TranscriptIsTheGoldenOne) {
  ASSERT_EQ(Run(), kExitDone);
  EXPECT_EQ(transcript, Golden("replay-transcript.txt"));
  EXPECT_TRUE(SummarySays("200 readings, 34 min 10 s: ")) << summary;
}

TEST_F(Replay, TakesAsLongAsItsSpeedSays) {
  Settings("speed = 10\n");
  ASSERT_EQ(Run(), kExitDone);
  EXPECT_TRUE(SummarySays("200 readings, 4 min 19 s: ")) << summary;
  Settings("speed = \"step\"\nstep_ms = 60000\n");
  ASSERT_EQ(Run(), kExitDone);
  EXPECT_TRUE(SummarySays("200 readings, 3 h 21 min: ")) << summary;
  Settings("speed = \"step\"\n");
  ASSERT_EQ(Run(), kExitDone);
  EXPECT_TRUE(SummarySays("200 readings, 4 min 20 s: ")) << summary;
}

TEST_F(Replay, SaysThatThereIsNothingToReplay) {
  site.Write("tessaly.toml", "");
  EXPECT_EQ(Run(), kExitImpossible);
  EXPECT_EQ(transcript, "");
  EXPECT_TRUE(summary.ends_with(" has no replay to run\n")) << summary;
}

TEST_F(Replay, SaysWhyASiteCannotBeRun) {
  site.Write("tessaly.toml", "name = ");
  EXPECT_EQ(Run(), kExitImpossible);
  EXPECT_EQ(summary, "") << "its settings are to blame, not a lack of replays";
  EXPECT_EQ(complaints.size(), 1u);
}

TEST_F(Replay, SaysThatARecordingCannotBeRead) {
  site.Remove("house.csv");
  EXPECT_EQ(Run(), kExitImpossible);
  ASSERT_EQ(complaints.size(), 1u);
  EXPECT_TRUE(complaints[0].starts_with("tessaly.toml:2: broken: driver \"house\""))
      << complaints[0];
}

}  // namespace

#include "tessaly/zrfinding.h"

#include <gtest/gtest.h>

#include "support/logcapture.h"

namespace {

using Kind = ZRFinding::tagKind;

TEST(Finding, LineHasThePlaceAsFarAsItIsKnown) {
  EXPECT_EQ(FindingLine({Kind::kBroken, "a/b.xml", 3, 7, "mismatched tag"}),
            "a/b.xml:3:7: broken: mismatched tag");
  EXPECT_EQ(FindingLine({Kind::kDropped, "b.xml", 3, 0, "no id"}), "b.xml:3: dropped: no id");
  EXPECT_EQ(FindingLine({Kind::kChanged, "b.xml", 0, 0, "as F"}), "b.xml: changed: as F");
  EXPECT_EQ(FindingLine({Kind::kHint, "b.xml", 0, 0, "two"}), "b.xml: hint: two");
}

TEST(Finding, LineHasItsControlsEscaped) {
  EXPECT_EQ(FindingLine({Kind::kHint, "a\nb", 0, 0, "x\ty\x1b[2J\x7f %s %n"}),
            "a\\nb: hint: x\\ty\\x1b[2J\\x7f %s %n");
  EXPECT_EQ(FindingLine({Kind::kHint, "f", 0, 0, "é\xE2\x80\xA8"}), "f: hint: é\\u2028");
  EXPECT_EQ(FindingLine({Kind::kHint, "f", 0, 0, "\xff"}), "f: hint: \xEF\xBF\xBD");
}

TEST(Finding, KindIsFoundInAList) {
  const ZRFindings findings = {{Kind::kHint, "f", 0, 0, ""}, {Kind::kChanged, "f", 0, 0, ""}};
  EXPECT_TRUE(HasKind(findings, Kind::kHint));
  EXPECT_TRUE(HasKind(findings, Kind::kChanged));
  EXPECT_FALSE(HasKind(findings, Kind::kDropped));
  EXPECT_FALSE(HasKind({}, Kind::kHint));
}

TEST(Finding, LogHasHintsBehindTheRestAndBelowIt) {
  const LogCapture log;
  LogFindings({{Kind::kHint, "f", 1, 0, "a"},
               {Kind::kDropped, "f", 2, 0, "b %d"},
               {Kind::kChanged, "f", 3, 0, "c"},
               {Kind::kBroken, "f", 4, 0, "d"}});
  EXPECT_EQ(log.Lines(),
            (std::vector<LogCapture::tagLine>{{kLogConfiguration, "f:2: dropped: b %d"},
                                              {kLogConfiguration, "f:3: changed: c"},
                                              {kLogConfiguration, "f:4: broken: d"},
                                              {kLogDelivery, "f:1: hint: a"}}));
}

TEST(Finding, LongListIsCutAndTheRestCounted) {
  ZRFindings findings(kMostShown, {Kind::kHint, "f", 0, 0, "a"});
  {
    const LogCapture log;
    LogFindings(findings);
    EXPECT_EQ(log.Lines().size(), kMostShown);
  }
  findings.push_back({Kind::kDropped, "f", 0, 0, "b"});
  findings.push_back({Kind::kHint, "f", 0, 0, "c"});
  const LogCapture log;
  LogFindings(findings);
  const auto lines = log.Lines();
  ASSERT_EQ(lines.size(), kMostShown + 1);
  EXPECT_EQ(lines.front().text, "f: dropped: b");
  EXPECT_EQ(lines[kMostShown - 1].text, "f: hint: a");
  EXPECT_EQ(lines.back(), (LogCapture::tagLine{kLogConfiguration, "and 2 more"}));
}

TEST(Finding, PrintsTheSameLines) {
  testing::internal::CaptureStdout();
  PrintFindings({{Kind::kHint, "f", 1, 0, "a"}, {Kind::kDropped, "f", 2, 0, "b%s"}});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "f:2: dropped: b%s\nf:1: hint: a\n");
}

TEST(Finding, ProblemsOfSettingsBecomeFindings) {
  ZRFindings findings;
  AddProblems({{"http.port: wrong", 3, 8}, {"driver: wrong", 0, 0}}, Kind::kBroken, findings);
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_EQ(FindingLine(findings[0]), "tessaly.toml:3:8: broken: http.port: wrong");
  EXPECT_EQ(FindingLine(findings[1]), "tessaly.toml: broken: driver: wrong");
}

}  // namespace

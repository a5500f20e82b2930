#include "tessaly/zrrenameplan.h"

#include <gtest/gtest.h>

#include "support/eventxml.h"
#include "support/sitefolder.h"
#include "tessaly/zrdatafolder.h"
#include "zrevents/history/zrrenameevents.h"

namespace {

using Lines = std::vector<std::string>;

// The plan in the middle of March 2026, or of now, as lines: "a>b" moves, "a!b" is taken, "a."
// stays.
class RenamePlan : public ::testing::Test {
 protected:
  void Old(const Lines& names) { Fill(before, names); }
  void New(const Lines& names) { Fill(after, names); }
  static void Fill(XmlDocument& document, const Lines& names) {
    std::string xml = "<events>";
    int number = 0;
    for (const std::string& name : names)
      xml += EventXml(name, ++number).Xml();
    ASSERT_TRUE(document.Parse((xml + "</events>").c_str()));
  }
  void Files(const Lines& names) const {
    for (const std::string& name : names) {
      std::filesystem::create_directories((site.path / "data" / name).parent_path());
      site.Write("data/" + name, "");
    }
  }
  [[nodiscard]] ZRWString DataPath() const { return site.WidePath() + L"/data/"; }
  Lines Plan() {
    ZRDateTime now;
    now.SetDate(2026, 3, 15);
    return PlanAt(now);
  }
  Lines PlanAt(const ZRDateTime& now) {
    plan = PlanRename(before.Root(), after.Root(), DataPath(), now);
    Lines lines;
    for (const ZRRenamePlan::tagEvent& event : plan.events) {
      for (const ZRRenamePlan::tagMove& move : event.moves)
        lines.push_back(move.from + (move.isTaken ? "!" : ">") + move.to);
      for (const std::string& file : event.stays)
        lines.push_back(file + ".");
    }
    return lines;
  }

  SiteFolder site;
  XmlDocument before;
  XmlDocument after;
  ZRRenamePlan plan;
};

TEST_F(RenamePlan, IsEmptyWithoutANewName) {
  Files({"2026/03/Pump 03-2026.suc"});
  Old({"Pump", "Gone"});
  New({"Pump"});
  EXPECT_EQ(Plan(), Lines{});
  EXPECT_EQ(plan.events.size(), 0u);
  EXPECT_TRUE(PlanRename(nullptr, after.Root(), DataPath(), ZRDateTime::UTC()).events.empty());
  EXPECT_TRUE(PlanRename(before.Root(), nullptr, DataPath(), ZRDateTime::UTC()).events.empty());
}

TEST_F(RenamePlan, MovesTheMonthsOfOneYearFromThisOneDown) {
  Files({"2026/03/Pump 03-2026.suc", "2026/01/Pump 01-2026.suc", "2026/01/Pump 01-2026.dat",
         "2026/04/Pump 04-2026.suc", "2025/12/Pump 12-2025.suc", "2026/03/Pumpe 03-2026.suc",
         "2026/03/Pump 02-2026.suc"});
  Old({"Pump"});
  New({"Feed"});
  EXPECT_EQ(Plan(), (Lines{"2026/03/Pump 03-2026.suc>2026/03/Feed 03-2026.suc",
                           "2026/01/Pump 01-2026.dat>2026/01/Feed 01-2026.dat",
                           "2026/01/Pump 01-2026.suc>2026/01/Feed 01-2026.suc",
                           "2025/12/Pump 12-2025.suc.", "2026/04/Pump 04-2026.suc."}));
  EXPECT_EQ(plan.Moves(), 3u);
  EXPECT_EQ(plan.Stays(), 2u);
}

TEST_F(RenamePlan, MovesNothingOfTheSecondEvent) {
  Files({"2026/03/A 03-2026.suc", "2026/03/B 03-2026.suc", "2026/03/C 03-2026.suc"});
  Old({"A", "B", "C"});
  New({"A", "Y", "Z"});
  EXPECT_EQ(Plan(),
            (Lines{"2026/03/B 03-2026.suc>2026/03/Y 03-2026.suc", "2026/03/C 03-2026.suc."}));
}

TEST_F(RenamePlan, GoesToAnEarlierYearIfThisOneHasNoFolder) {
  Files({"2024/02/A 02-2024.suc", "2024/04/A 04-2024.suc"});
  Old({"A"});
  New({"B"});
  EXPECT_EQ(Plan(),
            (Lines{"2024/02/A 02-2024.suc>2024/02/B 02-2024.suc", "2024/04/A 04-2024.suc."}));
}

TEST_F(RenamePlan, WhatWouldReplaceAHistoryStays) {
  Files({"2026/03/A 03-2026.suc", "2026/03/B 03-2026.suc"});
  Old({"A"});
  New({"B"});
  EXPECT_EQ(Plan(),
            (Lines{"2026/03/A 03-2026.suc!2026/03/B 03-2026.suc", "2026/03/A 03-2026.suc."}));
  EXPECT_EQ(plan.Moves(), 0u);
  EXPECT_EQ(plan.Taken(), 1u);
}

// The plan is made beside the rename, so they are held against each other.
TEST_F(RenamePlan, IsWhatIsDone) {
  const ZRDateTime now = ZRDateTime::UTC();
  char month[64];
  const auto file = [&](const std::string& name, int year) {
    (void)std::snprintf(month, sizeof month, "%04d/%02d/", year, now.Month());
    std::string path = month;
    (void)std::snprintf(month, sizeof month, " %02d-%04d.suc", now.Month(), year);
    return path + name + month;
  };
  Files({file("A", now.Year()), file("A*", now.Year()), file("AB", now.Year()),
         file("C", now.Year()), file("A*", now.Year() - 1)});
  Old({"A*", "C"});
  New({"New", "D"});
  (void)PlanAt(now);
  EXPECT_EQ(plan.Moves(), 2u);
  EXPECT_EQ(plan.Taken(), 1u) << "A* and AB would have the same new name";
  EXPECT_EQ(plan.Stays(), 2u) << "C, and A* of last year";
  ZRTessalySetup::Get().UseDataPath(DataPath());
  EXPECT_FALSE(RenameEventsFilesDataName(before.Root(), after.Root()));
  for (const ZRRenamePlan::tagEvent& event : plan.events) {
    for (const ZRRenamePlan::tagMove& move : event.moves) {
      EXPECT_EQ(std::filesystem::exists(site.path / "data" / move.from), move.isTaken) << move.from;
      EXPECT_TRUE(std::filesystem::exists(site.path / "data" / move.to)) << move.to;
    }
    for (const std::string& stays : event.stays)
      EXPECT_TRUE(std::filesystem::exists(site.path / "data" / stays)) << stays;
  }
}

}  // namespace

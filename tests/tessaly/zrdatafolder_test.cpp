#include "tessaly/zrdatafolder.h"

#include <gtest/gtest.h>

#include "support/findinglines.h"
#include "support/sitefolder.h"

namespace {

using Kind = ZRDataFile::tagKind;

class DataFolder : public ::testing::Test {
 protected:
  // What is found of a site with this setting.
  Lines Prepare(const std::string& toml) {
    return Look(toml, [this](ZRFindings& findings) { PrepareDataFolder(setup, findings); });
  }
  Lines Check(const std::string& toml) {
    return Look(toml, [this](ZRFindings& findings) { CheckDataFolder(setup, findings); });
  }
  template <typename Step>
  Lines Look(const std::string& toml, Step step) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(setup.LoadText(toml, site.WidePath(), problems, warnings));
    return Found(step);
  }
  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(site.path / name);
  }
  Lines Listed() {
    std::vector<ZRDataFile> files;
    EXPECT_TRUE(ListDataFiles((site.path / "data/").string(), files));
    Lines names;
    for (const ZRDataFile& file : files)
      names.push_back(file.name);
    return names;
  }

  SiteFolder site;
  ZRTessalySetup setup;
};

TEST_F(DataFolder, ThatIsThereIsLeftAsItIs) {
  EXPECT_EQ(Check(""), Lines{});
  EXPECT_EQ(Prepare(""), Lines{});
  EXPECT_TRUE(std::filesystem::is_empty(site.path / "data")) << "no trace of the trial";
}

TEST_F(DataFolder, ThatIsMissingIsMade) {
  EXPECT_EQ(Check("data = \"new\""), Lines{"new/: hint: no such folder: the next run makes it"});
  EXPECT_FALSE(Exists("new"));
  EXPECT_EQ(Prepare("data = \"new\""), Lines{});
  EXPECT_TRUE(Exists("new"));
  EXPECT_EQ(Check("data = \"new\""), Lines{});
}

TEST_F(DataFolder, IsMadeOneLevelDeepOnly) {
  const Lines refusal{"a/b/: dropped: no history can be written: No such file or directory"};
  EXPECT_EQ(Check("data = \"a/b\""), refusal);
  EXPECT_EQ(Prepare("data = \"a/b\""), refusal);
  EXPECT_FALSE(Exists("a"));
}

TEST_F(DataFolder, ThatIsAFileIsRefused) {
  site.Write("file", "");
  const Lines refusal{"file/: dropped: no history can be written: Not a directory"};
  EXPECT_EQ(Check("data = \"file\""), refusal);
  EXPECT_EQ(Prepare("data = \"file\""), refusal);
}

TEST_F(DataFolder, IsTriedAgainAfterATrialThatWasCutOff) {
  site.Write("data/.tessaly-probe", "");
  EXPECT_EQ(Prepare(""), Lines{});
  EXPECT_FALSE(Exists("data/.tessaly-probe"));
}

TEST_F(DataFolder, ListsTheFilesOfItsMonthsInOrder) {
  for (const char* folder : {"2026/02", "2026/11", "2025/12", "2026/1", "20260/01", "x/01"})
    std::filesystem::create_directories(site.path / "data" / folder);
  for (const char* file : {"2026/11/B 11-2026.suc", "2026/11/A 11-2026.suc", "2026/02/A", "2026/A",
                           "2025/12/Z 12-2025.suc", "2026/1/A", "20260/01/A", "x/01/A", "A"})
    site.Write(std::string("data/") + file, "");
  EXPECT_EQ(Listed(), (Lines{"2025/12/Z 12-2025.suc", "2026/02/A", "2026/11/A 11-2026.suc",
                             "2026/11/B 11-2026.suc"}));
}

TEST_F(DataFolder, ThatCannotBeReadHasNoList) {
  std::vector<ZRDataFile> files;
  EXPECT_FALSE(ListDataFiles((site.path / "none/").string(), files));
}

TEST_F(DataFolder, KindOfAFileStandsInItsName) {
  EXPECT_EQ(KindOfDataFile("Pump 11-2026.suc"), Kind::kRecords);
  EXPECT_EQ(KindOfDataFile("Pump 11-2026.suc.torn-1"), Kind::kTorn);
  EXPECT_EQ(KindOfDataFile("Pump 11-2026.suc.torn-12"), Kind::kTorn);
  EXPECT_EQ(KindOfDataFile(".tmp-0f1e2d3c"), Kind::kUnfinished);
  for (const char* other : {"Pump 11-2026.suc.torn-", "Pump 11-2026.suc.torn-x", "Pump.torn-1",
                            "Pump 11-2026.dat", ".suc~", ""})
    EXPECT_EQ(KindOfDataFile(other), Kind::kOther) << other;
}

}  // namespace

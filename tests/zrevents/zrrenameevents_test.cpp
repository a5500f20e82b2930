#include "zrevents/history/zrrenameevents.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "host/platform/zrsystemfilesystem.h"
#include "support/historytest.h"

namespace {

// Vocabulary: data files that are Laid, events that are Renamed.
class EventRenaming : public HistoryTest {
 protected:
  using tagList = std::vector<std::pair<int, std::string>>;  // ids and names

  EventRenaming() { Today("2026-03-15"); }

  void Today(const std::string& date) { time.SetUtc(At(date).UtcMilliseconds()); }
  // A file that holds its own path.
  void Lay(const std::string& below) const {
    const std::filesystem::path path = site.path / "data" / below;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << below;
  }
  [[nodiscard]] std::string Content(const std::string& below) const {
    std::ifstream file(site.path / "data" / below);
    std::string line;
    std::getline(file, line);
    return line;
  }
  static std::string ListXml(const tagList& list, const std::string& tag = "event") {
    std::string xml = "<events>";
    for (const auto& [id, name] : list)
      xml +=
          "<" + tag + "><id>" + EventXml::Id(id) + "</id><name>" + name + "</name></" + tag + ">";
    return xml + "</events>";
  }
  static bool RenameXml(const std::string& before, const std::string& after) {
    XmlDocument oldEvents;
    XmlDocument newEvents;
    EXPECT_TRUE(oldEvents.Parse(before.c_str()));
    EXPECT_TRUE(newEvents.Parse(after.c_str()));
    return RenameEventsFilesDataName(oldEvents.Root(), newEvents.Root());
  }
  static bool Rename(const tagList& before, const tagList& after) {
    return RenameXml(ListXml(before), ListXml(after));
  }
};

TEST_F(EventRenaming, NothingIsTouchedWithoutBothLists) {
  Lay("2026/03/Old 03-2026.suc");
  XmlDocument list;
  ASSERT_TRUE(list.Parse(ListXml({{1, "Old"}}).c_str()));
  EXPECT_TRUE(RenameEventsFilesDataName(nullptr, nullptr));
  EXPECT_TRUE(RenameEventsFilesDataName(list.Root(), nullptr));
  EXPECT_TRUE(RenameEventsFilesDataName(nullptr, list.Root()));
  EXPECT_EQ(Files(), "2026/03/Old 03-2026.suc");
}

TEST_F(EventRenaming, FilesOfThisYearUpToThisMonthFollowWithEachExtension) {
  Lay("2026/01/Old 01-2026.suc");
  Lay("2026/03/Old 03-2026.suc");
  Lay("2026/03/Old 03-2026.dat");
  Lay("2026/03/Old 03-2026.suc.torn-1");
  Lay("2026/04/Old 04-2026.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(),
            "2026/01/New 01-2026.suc, 2026/03/New 03-2026.dat, 2026/03/New 03-2026.suc, "
            "2026/03/New 03-2026.suc.torn-1, 2026/04/Old 04-2026.suc");
  EXPECT_EQ(Content("2026/03/New 03-2026.suc"), "2026/03/Old 03-2026.suc");
}

TEST_F(EventRenaming, HistoryGoesWithTheEvent) {
  Make("Old");
  Write(1, "2026-03-05 10:00:00", kActivated);
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "Kessel 2 ñ"}}));
  Make("Kessel 2 ñ");
  EXPECT_EQ(Loaded("2026-03-01", "2026-03-31"), "1 03-05 10:00:00");
}

TEST_F(EventRenaming, EventThatWentOrKeptItsNameStays) {
  Lay("2026/03/Gone 03-2026.suc");
  Lay("2026/03/Same 03-2026.suc");
  EXPECT_TRUE(Rename({{1, "Gone"}, {2, "Same"}}, {{2, "Same"}, {3, "New"}}));
  EXPECT_EQ(Files(), "2026/03/Gone 03-2026.suc, 2026/03/Same 03-2026.suc");
}

TEST_F(EventRenaming, OnlyTheFirstChangedEventIsRenamed) {
  Lay("2026/03/A 03-2026.suc");
  Lay("2026/03/B 03-2026.suc");
  Lay("2026/03/C 03-2026.suc");
  EXPECT_TRUE(Rename({{1, "A"}, {2, "B"}, {3, "C"}}, {{1, "A"}, {2, "B2"}, {3, "C3"}}));
  EXPECT_EQ(Files(), "2026/03/A 03-2026.suc, 2026/03/B2 03-2026.suc, 2026/03/C 03-2026.suc");
}

TEST_F(EventRenaming, OnlyTheNewestYearWithAFolderIsRenamed) {
  Lay("2026/01/Old 01-2026.suc");
  Lay("2025/02/Old 02-2025.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "2025/02/Old 02-2025.suc, 2026/01/New 01-2026.suc");
}

TEST_F(EventRenaming, YearBeforeIsSeenFromThisMonthDownIfThisYearHasNoFolder) {
  Lay("2025/02/Old 02-2025.suc");
  Lay("2025/03/Old 03-2025.suc");
  Lay("2025/04/Old 04-2025.suc");
  Lay("2025/12/Old 12-2025.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(),
            "2025/02/New 02-2025.suc, 2025/03/New 03-2025.suc, 2025/04/Old 04-2025.suc, "
            "2025/12/Old 12-2025.suc");
}

TEST_F(EventRenaming, FolderOfAYearCountsEvenIfItIsEmpty) {
  std::filesystem::create_directories(site.path / "data/2026");
  Lay("2025/02/Old 02-2025.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "2025/02/Old 02-2025.suc");
}

TEST_F(EventRenaming, InJanuaryOnlyTheJanuaryIsSeen) {
  Today("2026-01-15");
  Lay("2025/01/Old 01-2025.suc");
  Lay("2025/12/Old 12-2025.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "2025/01/New 01-2025.suc, 2025/12/Old 12-2025.suc");
}

TEST_F(EventRenaming, YearsBefore2000ArentSeen) {
  Lay("1999/01/Old 01-1999.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "1999/01/Old 01-1999.suc");
}

TEST_F(EventRenaming, NameThatMerelyBeginsTheSameIsAnotherEvent) {
  Lay("2026/03/Old 03-2026.suc");
  Lay("2026/03/Old pump 03-2026.suc");
  Lay("2026/03/Old2 03-2026.suc");
  Lay("2026/03/Old 3-2026.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(),
            "2026/03/New 03-2026.suc, 2026/03/Old 3-2026.suc, 2026/03/Old pump 03-2026.suc, "
            "2026/03/Old2 03-2026.suc");
}

TEST_F(EventRenaming, WildcardsOfTheOldNameMatchAndTheRestIsCutByLength) {
  Lay("2026/03/Ox 03-2026.suc");
  EXPECT_TRUE(Rename({{1, "O?"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "2026/03/New 03-2026.suc");
  Lay("2026/03/Pump 7 03-2026.suc");
  EXPECT_TRUE(Rename({{1, "P*"}}, {{1, "Q"}}));
  EXPECT_EQ(Files(), "2026/03/New 03-2026.suc, 2026/03/Qmp 7 03-2026.suc");
}

TEST_F(EventRenaming, FileShorterThanTheOldNameIsAnErrorAndStays) {
  Lay("2026/03/P 03-2026.suc");
  EXPECT_FALSE(Rename({{1, "P" + std::string(30, '*')}}, {{1, "Q"}}));
  EXPECT_EQ(Files(), "2026/03/P 03-2026.suc");
}

TEST_F(EventRenaming, HistoryOfTheNewNameIsNeverReplacedAndTheRestGoesOn) {
  Lay("2026/03/Old 03-2026.suc");
  Lay("2026/03/New 03-2026.suc");
  Lay("2026/02/Old 02-2026.suc");
  EXPECT_FALSE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "2026/02/New 02-2026.suc, 2026/03/New 03-2026.suc, 2026/03/Old 03-2026.suc");
  EXPECT_EQ(Content("2026/03/New 03-2026.suc"), "2026/03/New 03-2026.suc");
}

TEST_F(EventRenaming, NewNameThatCantBeAFileNameIsAnError) {
  Lay("2026/03/Old 03-2026.suc");
  EXPECT_FALSE(Rename({{1, "Old"}}, {{1, "../New"}}));
  EXPECT_FALSE(Rename({{1, "Old"}}, {{1, std::string(300, 'n')}}));
  EXPECT_EQ(Files(), "2026/03/Old 03-2026.suc");
}

TEST_F(EventRenaming, OldNameNeverReachesIntoAnotherFolder) {
  Lay("2026/02/Old 03-2026.suc");
  EXPECT_TRUE(Rename({{1, "../02/Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "2026/02/Old 03-2026.suc");
}

TEST_F(EventRenaming, FolderBehindASymbolicLinkIsLeftAlone) {
  Lay("elsewhere/Old 03-2026.suc");
  std::filesystem::create_directories(site.path / "data/2026");
  std::filesystem::create_directory_symlink(site.path / "data/elsewhere",
                                            site.path / "data/2026/03");
  EXPECT_FALSE(Rename({{1, "Old"}}, {{1, "New"}}));
  EXPECT_EQ(Files(), "elsewhere/Old 03-2026.suc");
}

TEST_F(EventRenaming, EachChildOfTheOldListCountsAndOnlyEventsOfTheNewOne) {
  Lay("2026/03/Old 03-2026.suc");
  EXPECT_TRUE(RenameXml(ListXml({{1, "Old"}}), ListXml({{1, "New"}}, "thing")));
  EXPECT_EQ(Files(), "2026/03/Old 03-2026.suc");
  EXPECT_TRUE(RenameXml(ListXml({{1, "Old"}}, "thing"), ListXml({{1, "New"}})));
  EXPECT_EQ(Files(), "2026/03/New 03-2026.suc");
}

TEST_F(EventRenaming, OfTwoEventsWithOneIdInTheNewListTheFirstCounts) {
  Lay("2026/03/Old 03-2026.suc");
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "First"}, {1, "Second"}}));
  EXPECT_EQ(Files(), "2026/03/First 03-2026.suc");
}

// --- a disk on which things go wrong ---

class CFailingFiles final : public ZRSystemFileSystem {
 public:
  bool Rename(tagHandle folder, const char* from, const char* to) override {
    if (error == 0) return ZRSystemFileSystem::Rename(folder, from, to);
    errno = error;
    return false;
  }
  bool SyncFolder(tagHandle folder) override {
    return !isSyncFailing && ZRSystemFileSystem::SyncFolder(folder);
  }
  int error = 0;
  bool isSyncFailing = false;
};

TEST_F(EventRenaming, FileThatVanishedCountsAsDoneAndAnotherFailureAsAnError) {
  Lay("2026/03/Old 03-2026.suc");
  CFailingFiles files;
  time.SetFiles(&files);
  files.error = ENOENT;
  EXPECT_TRUE(Rename({{1, "Old"}}, {{1, "New"}}));
  files.error = EACCES;
  EXPECT_FALSE(Rename({{1, "Old"}}, {{1, "New"}}));
  files.error = 0;
  files.isSyncFailing = true;
  EXPECT_FALSE(Rename({{1, "Old"}}, {{1, "New"}}));
  time.SetFiles(nullptr);
}

}  // namespace

// Files that are asked for again and again aren't read again as long as they don't change.

#include "host/driversupport/eventfile/zreventfilecopies.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/transitions.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrsystemfilesystem.h"
#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"
#include "support/text.h"

namespace {

namespace fs = std::filesystem;

// The system's disk, on which no file has changed lately, and which counts what is opened.
class CSettledDisk final : public ZRSystemFileSystem {
 public:
  [[nodiscard]] tagHandle OpenSized(tagHandle folder, const char* below,
                                    std::int64_t& size) override {
    ++opened;
    return ZRSystemFileSystem::OpenSized(folder, below, size);
  }
  [[nodiscard]] tagHandle OpenStamped(tagHandle folder, const char* below,
                                      tagStamp& stamp) override {
    ++opened;
    ++stamped;
    const tagHandle handle = ZRSystemFileSystem::OpenStamped(folder, below, stamp);
    stamp.isSettled = isSettled;
    return handle;
  }

  std::atomic<int> opened = 0;
  std::atomic<int> stamped = 0;  // of those
  bool isSettled = true;
};

class EventFileCopies : public testing::Test {
 protected:
  EventFileCopies() {
    std::string pattern = (fs::temp_directory_path() / "tessaly-test-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    path = Wide((folder / "2024/03/Boiler 03-2024.suc").string());
    time.SetFiles(&disk);
    ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
    ZREventFileSync::Get().Start();
    Append(3);
  }
  void TearDown() override {
    ZREventFileSync::Get().Stop();
    ZREventFileSync::Get().SetDurability(ZRDurability::kAdaptive);
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }

  void Append(int count, const std::string& text = "text") {
    for (int i = 0; i < count; ++i) {
      all.push_back({all.size(), Date(static_cast<double>(all.size())), 1, text});
      ASSERT_TRUE(Save(path, all.back()));
    }
  }
  // Expects the records, and the file to be opened that many times for it.
  void ExpectRead(int times) {
    const int before = disk.opened;
    EXPECT_EQ(Load(path), all);
    EXPECT_EQ(disk.opened - before, times);
  }
  void ReadTwice() {
    ExpectRead(1);
    ExpectRead(1);
  }
  [[nodiscard]] fs::path File() const { return folder / "2024/03/Boiler 03-2024.suc"; }

  ZRVirtualTime time;
  CSettledDisk disk;
  fs::path folder;
  ZRWString path;
  std::vector<tagTransition> all;
};

TEST_F(EventFileCopies, AThirdReadingOpensNothing) {
  ExpectRead(1);
  EXPECT_EQ(disk.stamped, 0) << "most files are read once";
  ExpectRead(1);
  EXPECT_EQ(disk.stamped, 1);
  ExpectRead(0);
  ExpectRead(0);
}

TEST_F(EventFileCopies, AnAppendedRecordIsRead) {
  ReadTwice();
  Append(1);
  ExpectRead(1);
  ExpectRead(0);
}

TEST_F(EventFileCopies, AFileThatHasJustChangedIsReadEachTime) {
  disk.isSettled = false;
  ReadTwice();
  ExpectRead(1);
  disk.isSettled = true;
  ExpectRead(1);
  ExpectRead(0);
}

TEST_F(EventFileCopies, AFileThatChangedInItsPlaceIsReadAgain) {
  ReadTwice();
  ExpectRead(0);
  ZRFileSystem::tagStamp before, after;
  const int month = disk.OpenFolder((folder / "2024/03").c_str());
  ASSERT_TRUE(disk.Stamp(month, "Boiler 03-2024.suc", before));
  std::fstream file(File(), std::ios::in | std::ios::out | std::ios::binary);
  do {  // until the clock of the file system has gone on
    file.seekp(-1, std::ios::end);
    file.put('x').flush();
    ASSERT_TRUE(disk.Stamp(month, "Boiler 03-2024.suc", after));
  } while (after.changed == before.changed && after.fraction == before.fraction);
  disk.Close(month);
  EXPECT_EQ(after.size, before.size);
  all.pop_back();
  ExpectRead(1);
}

// One thread appends, and the others ask for the file meanwhile.
TEST_F(EventFileCopies, ThreadsThatAskSeeAWholeBeginning) {
  constexpr std::size_t kRecords = 200;
  std::vector<tagTransition> whole = all;
  while (whole.size() < kRecords)
    whole.push_back({whole.size(), Date(static_cast<double>(whole.size())), 1, "text"});
  std::atomic<std::size_t> written = all.size();
  std::array<ZRThread, 3> readers;
  for (ZRThread& reader : readers) {
    ASSERT_TRUE(reader.Start([&] {
      for (std::size_t least = 0; least < kRecords;) {
        least = written;
        const std::vector<tagTransition> read = Load(path);
        ASSERT_GE(read.size(), least);
        ASSERT_TRUE(std::equal(read.begin(), read.end(), whole.begin()));
      }
    }));
  }
  for (; written < kRecords; ++written)
    EXPECT_TRUE(Save(path, whole[written]));
  for (ZRThread& reader : readers)
    reader.Join();
}

TEST_F(EventFileCopies, AnotherFileOfThatNameIsRead) {
  ReadTwice();
  const fs::path aside = folder / "aside";
  fs::rename(File(), aside);
  const std::vector<tagTransition> before = std::exchange(all, {});
  Append(3, "TEXT");
  ASSERT_EQ(fs::file_size(aside), fs::file_size(File()));
  ExpectRead(1);
  fs::rename(aside, File());
  all = before;
  ExpectRead(1);
}

TEST_F(EventFileCopies, AFileThatIsGoneIsGone) {
  ReadTwice();
  fs::remove(File());
  ZREventFile file(true);
  EXPECT_FALSE(file.Open(path.Text(), true));
  EXPECT_EQ(file.numRecords, 0);
}

TEST_F(EventFileCopies, ASymbolicLinkInItsPlaceIsRefused) {
  ReadTwice();
  const fs::path aside = folder / "aside";
  fs::rename(File(), aside);
  fs::create_symlink(aside, File());
  ZREventFile file(true);
  EXPECT_FALSE(file.Open(path.Text(), true));
}

TEST_F(EventFileCopies, ACutFileIsReadAsItIs) {
  ReadTwice();
  ExpectRead(0);
  fs::resize_file(File(), fs::file_size(File()) - 1);
  all.pop_back();
  ExpectRead(1);
}

TEST_F(EventFileCopies, ALargeFileIsReadEachTime) {
  Append(1, std::string(ZREventFileCopies::kMostOfFile, 'x'));
  ReadTwice();
  ExpectRead(1);
}

TEST_F(EventFileCopies, ACopyIsForReadingAlone) {
  ReadTwice();
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  EXPECT_FALSE(file.NewRecord());
  EXPECT_FALSE(file.GoRecord(3));
  EXPECT_TRUE(file.GoRecord(2));
  EXPECT_EQ(file.SearchByTime(ZRDateTime(all[1].date), 1), 1);
}

TEST_F(EventFileCopies, AreGoneWithTheSyncThread) {
  ReadTwice();
  ZREventFileSync::Get().Stop();
  ZREventFileSync::Get().Start();
  ReadTwice();
  ExpectRead(0);
}

// --- by themselves ---

class Copies : public testing::Test {
 protected:
  void SetUp() override { copies.Begin(); }
  void TearDown() override { copies.End(); }

  void Keep(const std::string& path, const std::string& bytes) {
    copies.Keep(disk, path, {}, bytes);
  }
  [[nodiscard]] std::string Kept(const std::string& path) {
    const auto copy = copies.Find(disk, path).copy;
    return copy ? std::string(copy->Bytes()) : "-";
  }

  ZREventFileCopies& copies = ZREventFileCopies::Get();
  ZRSystemFileSystem disk;
};

TEST_F(Copies, AreToBeKeptFromTheSecondReadingOn) {
  EXPECT_FALSE(copies.Find(disk, "a").isToKeep);
  EXPECT_FALSE(copies.Find(disk, "b").isToKeep);
  EXPECT_TRUE(copies.Find(disk, "a").isToKeep);
  EXPECT_EQ(Kept("a"), "-");
  Keep("a", "first");
  EXPECT_EQ(Kept("a"), "first");
  EXPECT_TRUE(copies.Find(disk, "a").isToKeep);
  Keep("a", "second");
  EXPECT_EQ(Kept("a"), "second");
  EXPECT_EQ(Kept("b"), "-");
}

TEST_F(Copies, BelongToTheirDisk) {
  Keep("a", "text");
  const ZRSystemFileSystem other;
  EXPECT_EQ(copies.Find(other, "a").copy, nullptr);
}

TEST_F(Copies, OfManyFilesAreAllThere) {
  constexpr int kMany = 5000;
  for (int i = 0; i < kMany; ++i)
    Keep("file " + std::to_string(i), std::to_string(i));
  int found = 0;
  for (int i = 0; i < kMany; ++i)
    found += Kept("file " + std::to_string(i)) == std::to_string(i) ? 1 : 0;
  EXPECT_EQ(found, kMany);
}

TEST_F(Copies, AreBoundedAndThenBeginAnew) {
  const std::string large(ZREventFileCopies::kMostOfFile, 'x');
  constexpr std::size_t kFitting = ZREventFileCopies::kMostBytes / ZREventFileCopies::kMostOfFile;
  for (std::size_t i = 0; i <= kFitting; ++i)
    Keep("file " + std::to_string(i), large);
  EXPECT_EQ(Kept("file 0"), "-");
  EXPECT_EQ(Kept("file " + std::to_string(kFitting)), large);
  Keep("file 0", "small");
  EXPECT_EQ(Kept("file 0"), "small");
}

TEST_F(Copies, OneInPlaceOfAnotherCostsNoMore) {
  const std::string large(ZREventFileCopies::kMostOfFile, 'x');
  Keep("first", "small");
  for (std::size_t i = 0; i < 2 * ZREventFileCopies::kMostBytes / large.size(); ++i)
    copies.Keep(disk, i % 2 == 0 ? "a" : "b", {}, large);
  EXPECT_EQ(Kept("first"), "small");
}

TEST_F(Copies, ATooLargeFileIsLeftOut) {
  Keep("a", std::string(ZREventFileCopies::kMostOfFile + 1, 'x'));
  EXPECT_EQ(Kept("a"), "-");
}

TEST_F(Copies, AreNotKeptBehindEnd) {
  Keep("a", "text");
  copies.End();
  EXPECT_EQ(Kept("a"), "-");
  EXPECT_FALSE(copies.Find(disk, "a").isToKeep);
  Keep("a", "text");
  EXPECT_EQ(Kept("a"), "-");
}

}  // namespace

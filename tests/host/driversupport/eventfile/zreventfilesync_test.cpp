#include "host/driversupport/eventfile/zreventfilesync.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "support/logcapture.h"

namespace {

using tagCall = ZRCrashingDisk::tagCall;
using tagLasting = ZRCrashingDisk::tagLasting;

class EventFileSync : public testing::Test {
 protected:
  EventFileSync() {
    sync.SetDurability(ZRDurability::kAdaptive);
    sync.Start();
  }

  void SaveNext(int count) {
    for (int i = 0; i < count; ++i) {
      all.push_back({all.size(), Date(static_cast<double>(all.size())), 1, "text"});
      ASSERT_TRUE(Save(path, all.back()));
    }
  }
  // Four of more than a page each.
  void SaveLarge() {
    for (int i = 0; i < 4; ++i) {
      all.push_back({all.size(), Date(static_cast<double>(all.size())), 1, std::string(5000, 'x')});
      ASSERT_TRUE(Save(path, all.back()));
    }
  }
  // Each disk decides otherwise what a failure and a power cut leave.
  template <typename Live>
  void OnManyDisks(Live live) {
    for (std::uint64_t seed = 1; seed <= 40 && !HasFatalFailure(); ++seed) {
      SCOPED_TRACE(seed);
      folder.disk.Reset(seed);
      all.clear();
      live(seed);
      sync.Stop();
      sync.Start();
    }
  }
  // A new file, in a folder whose name is durable, has a record whose sync has failed.
  void FailFirst() {
    sync.SetDurability(ZRDurability::kStrict);
    ASSERT_TRUE(Save(otherPath, {0, Date(0), 1, ""}));
    folder.disk.Fail(tagCall::kSync, 2, EIO);  // behind the one of the new file
    ASSERT_FALSE(Save(path, first));
  }
  // Leaves bytes behind the last record, as a process that dies does.
  void Tear() {
    const int data = folder.disk.OpenFolder("/data");
    const int file =
        folder.disk.OpenFile(data, DataFolder::kFile, ZRFileSystem::tagAccess::kReadWrite);
    const std::array<unsigned char, 40> bytes{1, 2, 3};
    EXPECT_EQ(folder.disk.Write(file, bytes.data(), bytes.size(),
                                static_cast<std::uint64_t>(folder.disk.Size(file))),
              static_cast<std::int64_t>(bytes.size()));
    folder.disk.Close(file);
    folder.disk.Close(data);
  }
  // The records that can be read, in the order in which they came about.
  [[nodiscard]] std::vector<tagTransition> WholeOnes() const {
    std::vector<tagTransition> whole = Load(path);
    whole.erase(std::remove(whole.begin(), whole.end(), kSpoiled), whole.end());
    std::sort(whole.begin(), whole.end(), [](const tagTransition& a, const tagTransition& b) {
      return a.occurrence < b.occurrence;
    });
    return whole;
  }

  DataFolder folder;
  const ZRWString& path = folder.path;
  const ZRWString otherPath = L"/data/2024/03/Pump 03-2024.suc";
  const tagTransition first{1000, Date(0), 1, "first"};
  const tagTransition second{1001, Date(1), 1, "of another event of that name"};
  LogCapture log;
  ZREventFileSync& sync = ZREventFileSync::Get();
  std::vector<tagTransition> all;
};

TEST_F(EventFileSync, TheFirstFiftyOfASecondAreDurableAtOnce) {
  SaveNext(50);
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, ThoseBeyondAreDurableWithinASecond) {
  SaveNext(80);
  EXPECT_EQ(sync.Pending(), 30);
  folder.time.Advance(1000);
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, ANewSecondHasFiftyOfItsOwn) {
  SaveNext(50);
  folder.time.Advance(1000);
  SaveNext(50);
  EXPECT_EQ(sync.Pending(), 0);
  SaveNext(1);
  EXPECT_EQ(sync.Pending(), 1);
}

TEST_F(EventFileSync, StopMakesDurableWhatWasPutOff) {
  SaveNext(60);
  sync.Stop();
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, WithoutItsThreadAdaptiveIsStrict) {
  sync.Stop();
  SaveNext(70);
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, StrictPutsNothingOff) {
  sync.SetDurability(ZRDurability::kStrict);
  SaveNext(70);
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, OffSyncsNoRecord) {
  SaveNext(1);
  sync.SetDurability(ZRDurability::kOff);
  folder.disk.Fail(tagCall::kSync, 1, EIO, tagLasting::kForEver);
  folder.disk.Fail(tagCall::kSyncFolder, 1, EIO, tagLasting::kForEver);
  SaveNext(70);
  EXPECT_EQ(sync.Pending(), 0);
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, AfterAFailedSyncOfAllTheRecordsAreWrittenAgain) {
  SaveNext(90);
  folder.disk.Fail(tagCall::kSyncAll, 1, EIO);
  EXPECT_TRUE(sync.Flush());
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(WholeOnes(), all) << "each once";
}

TEST_F(EventFileSync, WhatCannotBeMadeDurableStaysPutOff) {
  SaveNext(90);
  folder.disk.Fail(tagCall::kSyncAll, 1, EIO, tagLasting::kForEver);
  folder.disk.Fail(tagCall::kSync, 1, EIO, tagLasting::kForEver);
  EXPECT_FALSE(sync.Flush());
  EXPECT_EQ(sync.Pending(), 40);
  folder.disk.Heal();
  folder.time.Advance(1000);
  EXPECT_EQ(sync.Pending(), 0);
  folder.disk.PowerCut();
  EXPECT_EQ(WholeOnes(), all) << "each once";
}

// What can't be read isn't taken for gone.
TEST_F(EventFileSync, ARecordIsNotDoubledWhenReadingFailsBeforeItIsWrittenAgain) {
  for (std::uint64_t nth = 1; nth <= 8; ++nth) {
    SCOPED_TRACE(nth);
    folder.time.Advance(1000);
    SaveNext(60);
    ASSERT_EQ(sync.Pending(), 10);
    folder.disk.Fail(tagCall::kSyncAll, 1, EIO);
    folder.disk.Fail(tagCall::kRead, nth, EIO);
    (void)sync.Flush();
    folder.disk.Heal();
    EXPECT_TRUE(sync.Flush());
    EXPECT_EQ(WholeOnes(), all) << "each once";
  }
}

TEST_F(EventFileSync, WhatAFailedSyncOfAFileMayHaveLostIsWrittenAgain) {
  SaveNext(50);
  SaveLarge();
  ASSERT_EQ(sync.Pending(), 4);
  sync.SetDurability(ZRDurability::kStrict);
  folder.disk.Fail(tagCall::kSync, 1, EIO);
  all.push_back({all.size(), Date(static_cast<double>(all.size())), 1, "text"});
  EXPECT_FALSE(Save(path, all.back()));
  EXPECT_TRUE(Save(path, all.back()));
  EXPECT_TRUE(sync.Flush());
  folder.disk.PowerCut();
  EXPECT_EQ(WholeOnes(), all) << "each once";
}

// Whether the disk has kept it or not, and whether that can be read or not.
TEST_F(EventFileSync, ARecordIsNotDoubledWhenAnotherEventOfThatNameWritesBeforeItIsTriedAgain) {
  sync.SetDurability(ZRDurability::kStrict);
  int refused = 0;
  OnManyDisks([&](std::uint64_t seed) {
    SaveNext(2);
    folder.disk.Fail(tagCall::kSync, 1, EIO);
    ASSERT_FALSE(Save(path, first));
    ASSERT_TRUE(Save(path, second));
    folder.disk.Fail(tagCall::kRead, 1 + seed % 4, EIO);
    bool isSaved = Save(path, first);
    refused += isSaved ? 0 : 1;
    folder.disk.Heal();
    folder.disk.Fail(tagCall::kSync, 1, EIO);
    isSaved = isSaved || Save(path, first);
    folder.disk.Heal();
    EXPECT_TRUE(isSaved || Save(path, first));
    folder.disk.PowerCut();
    all.insert(all.end(), {first, second});
    EXPECT_EQ(WholeOnes(), all) << "each once";
  });
  EXPECT_GT(refused, 10);
}

TEST_F(EventFileSync, ARecordBehindOneThatIsPutOffHasADurableName) {
  OnManyDisks([&](std::uint64_t /*seed*/) {
    folder.time.Advance(1000);
    for (std::uint64_t i = 0; i < 50; ++i) {
      ASSERT_TRUE(Save(otherPath, {i, Date(0), 1, ""}));
      if (i == 40) folder.time.Advance(500);
    }
    ASSERT_TRUE(Save(path, first));
    ASSERT_EQ(sync.Pending(), 1);
    folder.time.Advance(600);
    ASSERT_TRUE(Save(path, second));
    ASSERT_EQ(sync.Pending(), 1) << "this one is durable";
    folder.disk.PowerCut();
    EXPECT_NE(folder.disk.Content(DataFolder::kFile), nullptr);
  });
}

TEST_F(EventFileSync, ARecordBehindOneWhoseSyncFailedHasADurableName) {
  OnManyDisks([&](std::uint64_t /*seed*/) {
    FailFirst();
    ASSERT_TRUE(Save(path, second));
    folder.disk.PowerCut();
    EXPECT_NE(folder.disk.Content(DataFolder::kFile), nullptr);
  });
}

TEST_F(EventFileSync, ARecordThatIsTriedAgainHasADurableName) {
  OnManyDisks([&](std::uint64_t /*seed*/) {
    FailFirst();
    sync.SetDurability(ZRDurability::kOff);
    ASSERT_TRUE(Save(path, second));
    sync.SetDurability(ZRDurability::kStrict);
    ASSERT_TRUE(Save(path, first));
    folder.disk.PowerCut();
    EXPECT_NE(folder.disk.Content(DataFolder::kFile), nullptr);
  });
}

TEST_F(EventFileSync, NamesAreMadeDurableOnce) {
  sync.SetDurability(ZRDurability::kStrict);
  SaveNext(1);
  folder.disk.Fail(tagCall::kSyncFolder, 1, EIO, tagLasting::kForEver);
  SaveNext(2);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileSync, WhatAFailedSyncOfARecordThatIsTriedAgainMayHaveLostIsWrittenAgain) {
  OnManyDisks([&](std::uint64_t /*seed*/) {
    FailFirst();
    sync.SetDurability(ZRDurability::kAdaptive);
    folder.time.Advance(1000);
    SaveNext(50);
    SaveLarge();
    ASSERT_EQ(sync.Pending(), 4);
    sync.SetDurability(ZRDurability::kStrict);
    folder.disk.Fail(tagCall::kSync, 1, EIO);
    EXPECT_FALSE(Save(path, first));
    EXPECT_TRUE(Save(path, first));
    EXPECT_TRUE(sync.Flush());
    folder.disk.PowerCut();
    all.push_back(first);
    EXPECT_EQ(WholeOnes(), all) << "each once";
  });
}

TEST_F(EventFileSync, WhatAFailedSyncOfATornFileMayHaveLostIsWrittenAgain) {
  SaveNext(50);
  SaveLarge();
  ASSERT_EQ(sync.Pending(), 4);
  Tear();
  folder.disk.Fail(tagCall::kSync, 2, EIO);  // behind the one of what is set aside
  all.push_back({all.size(), Date(static_cast<double>(all.size())), 1, "text"});
  EXPECT_FALSE(Save(path, all.back()));
  EXPECT_EQ(folder.disk.FailedSyncs(), 1u);
  EXPECT_TRUE(Save(path, all.back()));
  EXPECT_TRUE(sync.Flush());
  folder.disk.PowerCut();
  EXPECT_EQ(WholeOnes(), all) << "each once";
}

TEST_F(EventFileSync, RecordsOfAFileThatWasDeletedAreWrittenIntoANewOne) {
  SaveNext(60);
  folder.disk.Reset(2);
  EXPECT_TRUE(sync.Flush());
  const std::vector<tagTransition> late(all.begin() + 50, all.end());
  EXPECT_EQ(Load(path), late);
}

TEST_F(EventFileSync, RecordsOfManyFilesAreMadeDurableTogether) {
  SaveNext(50);
  std::vector<ZRWString> paths;
  for (int i = 0; i < 200; ++i) {
    paths.push_back(Wide("/data/2024/03/Event " + std::to_string(i) + " 03-2024.suc"));
    ASSERT_TRUE(Save(paths.back(), {7, Date(7), 1, ""}));
  }
  EXPECT_EQ(sync.Pending(), 200);
  const std::uint64_t before = folder.disk.Calls();
  EXPECT_TRUE(sync.Flush());
  EXPECT_EQ(folder.disk.Calls() - before, 1u);
  folder.disk.PowerCut();
  for (const ZRWString& each : paths)
    EXPECT_EQ(Load(each).size(), 1u);
}

// --- what needn't be found out for each file again ---

TEST_F(EventFileSync, TheFirstRecordOfAMonthIsReadAtOnce) {
  ZREventFile reader(true);
  EXPECT_FALSE(reader.Open(path.Text(), true));
  EXPECT_EQ(errno, ENOENT);
  SaveNext(1);
  ASSERT_TRUE(reader.Open(path.Text(), true));
  EXPECT_EQ(reader.numRecords, 1);
}

TEST_F(EventFileSync, ReadingAMonthAgainOpensNoFolder) {
  SaveNext(1);
  EXPECT_EQ(Load(path), all);
  const std::uint64_t before = folder.disk.Calls();
  ZREventFile reader(true);
  ASSERT_TRUE(reader.Open(path.Text(), true));
  reader.Close();
  EXPECT_EQ(folder.disk.Calls() - before, 3u) << "open, size, read";
}

TEST_F(EventFileSync, AMonthThatIsMissingIsLookedForAgainAfterASecond) {
  ZREventFile reader(true);
  EXPECT_FALSE(reader.Open(path.Text(), true));
  std::uint64_t before = folder.disk.Calls();
  EXPECT_FALSE(reader.Open(path.Text(), true));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(folder.disk.Calls(), before);
  folder.time.Advance(1000);
  before = folder.disk.Calls();
  EXPECT_FALSE(reader.Open(path.Text(), true));
  EXPECT_GT(folder.disk.Calls(), before);
}

}  // namespace

// Appending while calls fail, and side by side with others.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "host/driversupport/eventfile/zreventfiletroubles.h"
#include "support/logcapture.h"

namespace {

using tagCall = ZRCrashingDisk::tagCall;
using tagLasting = ZRCrashingDisk::tagLasting;

class EventFileAppend : public testing::Test {
 protected:
  // Each record waits for the one before it.
  void SaveInOrder(const std::vector<tagTransition>& all, std::size_t& next) {
    while (next < all.size() && Save(path, all[next]))
      ++next;
  }
  [[nodiscard]] static std::vector<tagTransition> Some() {
    std::vector<tagTransition> all;
    for (std::uint64_t i = 0; i < 4; ++i)
      all.push_back({i, Date(static_cast<double>(i)), 1, std::string(i * 30, 'x')});
    return all;
  }

  DataFolder folder;
  const ZRWString& path = folder.path;
  LogCapture log;
};

TEST_F(EventFileAppend, WhateverCallFailsOnceAllIsWrittenOnceAndInOrder) {
  const std::vector<tagTransition> all = Some();
  bool hasFailed = true;
  for (std::uint64_t nth = 1; hasFailed; ++nth) {
    folder.disk.Reset(nth);
    folder.disk.Fail(tagCall::kAny, nth, EIO);
    std::size_t next = 0;
    SaveInOrder(all, next);
    hasFailed = next < all.size() || folder.disk.Calls() >= nth;
    SaveInOrder(all, next);
    ASSERT_EQ(next, all.size()) << "call " << nth;
    ASSERT_EQ(Load(path), all) << "call " << nth;
    ASSERT_EQ(folder.disk.OpenHandles(), 0);
    folder.disk.PowerCut();
    ASSERT_EQ(Load(path), all) << "call " << nth;
  }
}

TEST_F(EventFileAppend, WhateverCallFailsFromThenOnAllIsWrittenAfterTheCure) {
  const std::vector<tagTransition> all = Some();
  bool hasFailed = true;
  for (std::uint64_t nth = 1; hasFailed; ++nth) {
    folder.disk.Reset(nth);
    folder.disk.Fail(tagCall::kAny, nth, nth % 2 == 0 ? EIO : ENOSPC, tagLasting::kForEver);
    std::size_t next = 0;
    SaveInOrder(all, next);
    hasFailed = next < all.size();
    SaveInOrder(all, next);
    folder.disk.Heal();
    SaveInOrder(all, next);
    ASSERT_EQ(Load(path), all) << "call " << nth;
    folder.disk.PowerCut();
    ASSERT_EQ(Load(path), all) << "call " << nth;
  }
}

TEST_F(EventFileAppend, AFullDiskLeavesNoHalfRecord) {
  const std::vector<tagTransition> all = Some();
  for (std::uint64_t capacity = 0; capacity < 700; capacity += 7) {
    folder.disk.Reset(capacity);
    folder.disk.SetCapacity(capacity);
    std::size_t next = 0;
    SaveInOrder(all, next);
    if (next > 0) {
      ASSERT_EQ(Load(path), std::vector(all.begin(), all.begin() + static_cast<int>(next)));
    }
    folder.disk.Heal();
    SaveInOrder(all, next);
    ASSERT_EQ(Load(path), all);
    ASSERT_EQ(folder.Files().size(), 1u) << "nothing was torn";
  }
}

TEST_F(EventFileAppend, ShortTransfersAreCarriedOn) {
  const std::vector<tagTransition> all = Some();
  folder.disk.MoveLess(700);
  std::size_t next = 0;
  SaveInOrder(all, next);
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileAppend, AfterAFailedSyncTheSameBytesAreWrittenAgainAtTheirPlace) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  ASSERT_TRUE(Save(path, all[1]));
  folder.disk.Fail(tagCall::kSync, 1, EIO);
  EXPECT_FALSE(Save(path, all[2]));
  const auto bytes = folder.Bytes();
  ASSERT_TRUE(Save(path, all[2]));
  EXPECT_EQ(folder.Bytes(), bytes);
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), std::vector(all.begin(), all.begin() + 3));
}

TEST_F(EventFileAppend, OneObjectTriesAgainTheSameWay) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), false) && file.NewRecord());
  Fill(file, all[1]);
  folder.disk.Fail(tagCall::kSync, 1, EIO);
  EXPECT_FALSE(file.Update());
  EXPECT_EQ(file.numRecords, 0);
  ASSERT_TRUE(file.Update());
  EXPECT_EQ(file.numRecords, 1);
  EXPECT_FALSE(file.Update()) << "it is written";
  EXPECT_EQ(Load(path), std::vector{all[1]});
}

TEST_F(EventFileAppend, OneObjectTriesAgainWhenItCouldNotReadWhatItHasLeft) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  folder.disk.Fail(tagCall::kSync, 1, EIO);
  ASSERT_FALSE(Save(path, all[1]));
  ASSERT_TRUE(Save(path, all[2]));
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), false) && file.NewRecord());
  Fill(file, all[1]);
  folder.disk.Fail(tagCall::kRead, 1, EIO, ZRCrashingDisk::tagLasting::kForEver);
  EXPECT_FALSE(file.Update());
  folder.disk.Heal();
  EXPECT_TRUE(file.Update());
  EXPECT_EQ(Load(path), (std::vector{all[0], all[1], all[2]}));
}

TEST_F(EventFileAppend, WhatWasReadBeforeTheFileWasTakenIsReadAgain) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  ZREventFile other(true);
  ASSERT_TRUE(other.Open(path.Text(), false));
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), false));
  ASSERT_TRUE(file.GoRecord(0));
  ASSERT_TRUE(other.NewRecord());
  Fill(other, all[1]);
  ASSERT_TRUE(other.Update());
  other.Close();
  ASSERT_TRUE(file.NewRecord());
  ASSERT_EQ(file.numRecords, 2);
  ASSERT_TRUE(file.GoRecord(1));
  EXPECT_EQ(Current(file), all[1]);
}

TEST_F(EventFileAppend, ARecordThatDiffersInOneFieldIsAnotherOne) {
  const tagTransition first{1, Date(1), 1, "text"};
  const std::vector<tagTransition> all = {first,
                                          {2, Date(1), 1, "text"},
                                          {2, Date(2), 1, "text"},
                                          {2, Date(2), 2, "text"},
                                          {2, Date(2), 2, "texT"}};
  std::size_t next = 0;
  SaveInOrder(all, next);
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileAppend, WhoHasTheFileKeepsOthersFromAppendingForTenMilliseconds) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  ZREventFile other(true);
  ASSERT_TRUE(other.Open(path.Text(), false));
  const std::int64_t before = folder.time.UtcMilliseconds();
  EXPECT_FALSE(Save(path, all[1]));
  EXPECT_EQ(folder.time.UtcMilliseconds() - before, 10);
  other.Close();
  EXPECT_TRUE(Save(path, all[1]));
  EXPECT_EQ(Load(path), std::vector(all.begin(), all.begin() + 2));
}

TEST_F(EventFileAppend, AnotherWritersRecordsAreSeenBeforeTheNextOne) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  ZREventFile first(true);
  ASSERT_TRUE(first.Open(path.Text(), false));
  ZREventFile late(true);
  ASSERT_TRUE(late.Open(path.Text(), false)) << "without the file to itself";
  ASSERT_TRUE(first.NewRecord());
  Fill(first, all[1]);
  ASSERT_TRUE(first.Update());
  EXPECT_FALSE(late.NewRecord());
  first.Close();
  ASSERT_TRUE(late.NewRecord());
  EXPECT_EQ(late.numRecords, 2);
  Fill(late, all[2]);
  ASSERT_TRUE(late.Update());
  EXPECT_EQ(Load(path), std::vector(all.begin(), all.begin() + 3));
}

TEST_F(EventFileAppend, AReadErrorIsNoTornTail) {
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  const auto before = folder.Bytes();
  for (std::uint64_t nth = 1; nth <= 3; ++nth) {
    folder.disk.Fail(tagCall::kRead, nth, EIO);
    (void)Save(path, all[0]);
    folder.disk.Heal();
    EXPECT_EQ(folder.Bytes(), before);
    EXPECT_EQ(folder.Files().size(), 1u);
  }
}

TEST_F(EventFileAppend, AFolderThatGoesIsMadeAnew) {
  ZREventFileSync::Get().Start();
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  folder.disk.Reset(9);
  ASSERT_TRUE(Save(path, all[1]));
  folder.disk.PowerCut();
  EXPECT_EQ(Load(path), std::vector{all[1]});
}

TEST_F(EventFileAppend, TroublesAreCounted) {
  const auto count = [](ZREventFileTrouble trouble) {
    return ZREventFileTroubles::Get().Count(trouble);
  };
  const std::vector<tagTransition> all = Some();
  ASSERT_TRUE(Save(path, all[0]));
  const auto created = count(ZREventFileTrouble::kCreate);
  const auto opened = count(ZREventFileTrouble::kOpen);
  const auto written = count(ZREventFileTrouble::kWrite);
  const auto synced = count(ZREventFileTrouble::kSync);
  folder.disk.Fail(tagCall::kSync, 1, EIO);
  EXPECT_FALSE(Save(path, all[1]));
  EXPECT_EQ(count(ZREventFileTrouble::kSync), synced + 1);
  folder.disk.Fail(tagCall::kWrite, 1, ENOSPC);
  EXPECT_FALSE(Save(path, all[1]));
  EXPECT_EQ(count(ZREventFileTrouble::kWrite), written + 1);
  folder.disk.Fail(tagCall::kOpenFile, 1, EMFILE, tagLasting::kForEver);
  EXPECT_FALSE(Save(path, all[1]));
  EXPECT_EQ(count(ZREventFileTrouble::kOpen), opened + 1);
  EXPECT_EQ(count(ZREventFileTrouble::kCreate), created + 1);
  folder.disk.Heal();
  EXPECT_TRUE(Save(path, all[1]));
}

}  // namespace

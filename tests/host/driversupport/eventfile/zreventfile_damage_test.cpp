// Files that the disk or somebody else has spoiled.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"
#include "host/driversupport/eventfile/zreventfiletroubles.h"
#include "support/chance.h"
#include "support/logcapture.h"

namespace {

using Layout = ZREventFileLayout;
using tagBytes = DataFolder::tagBytes;

class EventFileDamage : public testing::Test {
 protected:
  // A file of small records; where each begins.
  void Make(std::size_t count) {
    ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), false));
    for (std::uint64_t i = 0; i < count; ++i) {
      all.push_back({i, Date(static_cast<double>(10 * i)), 1, std::string(i % 50, 'x')});
      ASSERT_TRUE(file.NewRecord());
      Fill(file, all.back());
      ASSERT_TRUE(file.Update());
      const tagBytes bytes = folder.Bytes();
      ends.push_back(bytes.size());
    }
    original = folder.Bytes();
  }
  [[nodiscard]] std::size_t Begin(std::size_t index) const {
    return ends[index] - Layout::Length(all[index].annotation.size());
  }
  // As beyond the fiftieth record of a second.
  void Save3And4WithoutSync() const {
    ZREventFileSync& sync = ZREventFileSync::Get();
    sync.SetDurability(ZRDurability::kAdaptive);
    sync.Start();
    const ZRWString other = L"/data/2024/03/Pump 03-2024.suc";
    for (std::uint64_t i = 0; i < ZREventFileSync::kAdaptivePerSecond; ++i)
      ASSERT_TRUE(Save(other, {i, Date(1), 1, ""}));
    ASSERT_TRUE(Save(path, {3, Date(3), 1, ""}));
    ASSERT_TRUE(Save(path, {4, Date(4), 1, std::string(3000, 'x')}));
    ASSERT_EQ(sync.Pending(), 2);
  }
  void Put(const tagBytes& bytes) { folder.disk.Put(DataFolder::kFile, bytes); }
  [[nodiscard]] bool Opens(bool readOnly = true) const {
    ZREventFile file(true);
    return file.Open(path.Text(), readOnly);
  }

  DataFolder folder;
  const ZRWString& path = folder.path;
  LogCapture log;
  std::vector<tagTransition> all;
  std::vector<std::size_t> ends;
  tagBytes original;
};

TEST_F(EventFileDamage, ASpoiledByteCostsItsRecordAloneWhereverItIs) {
  Make(5);
  for (std::size_t at = Begin(1); at < ends[3]; ++at) {
    tagBytes bytes = original;
    bytes[at] ^= 0x41;
    Put(bytes);
    std::vector<tagTransition> expected = all;
    for (std::size_t i = 1; i <= 3; ++i)
      if (at >= Begin(i) && at < ends[i]) expected[i] = kSpoiled;
    ASSERT_EQ(Load(path), expected) << "byte " << at;
  }
}

TEST_F(EventFileDamage, ASpoiledByteOfTheLastRecordMakesItTorn) {
  Make(3);
  for (std::size_t at = Begin(2); at < ends[2]; ++at) {
    tagBytes bytes = original;
    bytes[at] ^= 0x41;
    Put(bytes);
    ASSERT_EQ(Load(path), std::vector(all.begin(), all.begin() + 2)) << "byte " << at;
  }
}

TEST_F(EventFileDamage, TheFirstRecordMayBeSpoiled) {
  Make(3);
  original[Begin(0) + 20] ^= 1;
  Put(original);
  EXPECT_EQ(Load(path), (std::vector{kSpoiled, all[1], all[2]}));
}

TEST_F(EventFileDamage, ATailOfAnyLengthIsSetAsideBeforeItIsCut) {
  Make(3);
  for (std::size_t length = 1; length < ends[2] - ends[1]; ++length) {
    folder.disk.Reset(1);
    const tagBytes torn(original.begin(), original.begin() + static_cast<int>(ends[1] + length));
    Put(torn);
    ASSERT_EQ(Load(path), std::vector(all.begin(), all.begin() + 2));
    const tagTransition next{77, Date(77), 2, "next"};
    ASSERT_TRUE(Save(path, next));
    ASSERT_EQ(Load(path), (std::vector{all[0], all[1], next}));
    const tagBytes aside(torn.begin() + static_cast<int>(ends[1]), torn.end());
    ASSERT_EQ(folder.Bytes(std::string(DataFolder::kFile) + ".torn-1"), aside);
  }
}

TEST_F(EventFileDamage, TornBytesTakeTheNextFreeName) {
  Make(1);
  const std::string name = DataFolder::kFile;
  folder.disk.Put(name + ".torn-1", {1, 2, 3});
  original.push_back(9);
  Put(original);
  ASSERT_TRUE(Save(path, {7, Date(7), 2, ""}));
  EXPECT_EQ(folder.Bytes(name + ".torn-1"), (tagBytes{1, 2, 3}));
  EXPECT_EQ(folder.Bytes(name + ".torn-2"), tagBytes{9});
}

TEST_F(EventFileDamage, WithoutAPlaceForTornBytesNothingIsCutOrAppended) {
  Make(2);
  original.resize(original.size() + 40, 0xAB);
  Put(original);
  for (const auto call : {ZRCrashingDisk::tagCall::kSync, ZRCrashingDisk::tagCall::kWrite,
                          ZRCrashingDisk::tagCall::kSyncFolder}) {
    folder.disk.Fail(call, 1, ENOSPC);
    EXPECT_FALSE(Save(path, {7, Date(7), 2, ""}));
    EXPECT_EQ(folder.Bytes(), original);
    EXPECT_EQ(folder.Files().size(), 1u) << "half a copy is removed";
    folder.disk.Heal();
  }
}

// The old record would stand, whole again, where the new one has left room for it.
TEST_F(EventFileDamage, WhatWasSetAsideDoesNotComeBackWithAPowerCut) {
  ASSERT_TRUE(Save(path, {0, Date(0), 1, ""}));
  ASSERT_TRUE(Save(path, {1, Date(1), 1, std::string(1000, 'x')}));
  ASSERT_TRUE(Save(path, {2, Date(2), 1, ""}));
  original = folder.Bytes();
  constexpr std::size_t kSpoiledByte = Layout::kHead + Layout::kSmallestRecord + 20;
  original[kSpoiledByte] ^= 1;
  original.resize(original.size() - 3);  // zeros
  for (std::uint64_t seed = 1; seed <= 300; ++seed) {
    folder.disk.Reset(seed);
    Put(original);
    Save3And4WithoutSync();
    folder.disk.PowerCut();
    for (const tagTransition& found : Load(path))
      ASSERT_NE(found.occurrence, 2u) << "seed " << seed;
    folder.disk.Reset(seed);
    ZREventFileSync::Get().Stop();
  }
}

// It would take records with it that nobody has asked to sync.
TEST_F(EventFileDamage, WhereNothingIsSyncedAFileWithTornBytesIsNotEither) {
  Make(2);
  original.resize(original.size() + 40, 0xAB);
  Put(original);
  ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
  folder.disk.Fail(ZRCrashingDisk::tagCall::kSync, 2, EIO);
  EXPECT_TRUE(Save(path, {7, Date(7), 2, ""}));
  EXPECT_EQ(folder.disk.FailedSyncs(), 0u);
}

TEST_F(EventFileDamage, AFailureWhileTornBytesAreBlankedIsTriedAgain) {
  Make(2);
  const std::vector<tagTransition> before = all;
  original.resize(original.size() + 40, 0xAB);
  const tagTransition next{7, Date(7), 2, ""};
  for (const auto call : {ZRCrashingDisk::tagCall::kSync, ZRCrashingDisk::tagCall::kWrite,
                          ZRCrashingDisk::tagCall::kTruncate}) {
    folder.disk.Reset(1);
    Put(original);
    folder.disk.Fail(call, call == ZRCrashingDisk::tagCall::kTruncate ? 1 : 2, EIO);
    EXPECT_FALSE(Save(path, next));
    EXPECT_EQ(folder.Bytes().size(), original.size()) << "not cut";
    if (folder.Bytes() != original) {
      EXPECT_EQ(folder.Bytes(std::string(DataFolder::kFile) + ".torn-1"), tagBytes(40, 0xAB));
    }
    EXPECT_TRUE(Save(path, next));
    EXPECT_EQ(Load(path), (std::vector{before[0], before[1], next}));
  }
}

TEST_F(EventFileDamage, BytesThatStayInTheirPlaceLeaveNoFileBehindForEachAttempt) {
  Make(2);
  for (const unsigned char torn : tagBytes{0xAB, 0}) {
    tagBytes spoiled = original;
    spoiled.resize(original.size() + 40, torn);
    folder.disk.Reset(1);
    Put(spoiled);
    ZREventFileSync::Get().SetDurability(ZRDurability::kOff);
    folder.disk.Fail(ZRCrashingDisk::tagCall::kTruncate, 1, EIO,
                     ZRCrashingDisk::tagLasting::kForEver);
    for (int i = 0; i < 3; ++i)
      EXPECT_FALSE(Save(path, {7, Date(7), 2, ""}));
    EXPECT_EQ(folder.Files().size(), 1u);
    folder.disk.Heal();
    ZREventFileSync::Get().SetDurability(ZRDurability::kStrict);
    folder.disk.Fail(ZRCrashingDisk::tagCall::kTruncate, 1, EIO,
                     ZRCrashingDisk::tagLasting::kForEver);
    for (int i = 0; i < 3; ++i)
      EXPECT_FALSE(Save(path, {7, Date(7), 2, ""}));
    EXPECT_EQ(folder.Files().size(), torn == 0 ? 1u : 2u) << "only of what isn't there any more";
    folder.disk.Heal();
  }
}

TEST_F(EventFileDamage, AHeadThatIsNotKnownIsRefusedAndNothingIsTouched) {
  Make(2);
  struct tagCase {
    std::size_t at;
    bool isSealed;  // with a sum that is right again
  };
  for (const tagCase spoiled : {tagCase{0, true},
                                {5, true},
                                {8, true},
                                {12, true},
                                {15, true},
                                {24, true},
                                {56, true},
                                {30, false},
                                {45, false},
                                {61, false}}) {
    tagBytes bytes = original;
    bytes[spoiled.at] ^= 1;
    if (spoiled.isSealed) {
      const std::uint32_t sum = Crc32c(bytes.data(), 60);
      std::memcpy(bytes.data() + 60, &sum, sizeof sum);
    }
    Put(bytes);
    const auto before = ZREventFileTroubles::Get().Count(ZREventFileTrouble::kRefused);
    EXPECT_FALSE(Opens(true)) << spoiled.at;
    EXPECT_FALSE(Opens(false)) << spoiled.at;
    EXPECT_FALSE(Save(path, {7, Date(7), 2, ""}));
    EXPECT_EQ(folder.Bytes(), bytes);
    EXPECT_GE(ZREventFileTroubles::Get().Count(ZREventFileTrouble::kRefused), before + 3);
  }
}

TEST_F(EventFileDamage, AnUnknownCompatibleFlagIsNoMatter) {
  Make(2);
  original[16] = 0xFF;
  const std::uint32_t sum = Crc32c(original.data(), 60);
  std::memcpy(original.data() + 60, &sum, sizeof sum);
  Put(original);
  EXPECT_EQ(Load(path), all);
}

TEST_F(EventFileDamage, AFileShorterThanItsHeadIsRefused) {
  Make(1);
  for (std::size_t length = 0; length < Layout::kHead; ++length) {
    Put(tagBytes(original.begin(), original.begin() + static_cast<int>(length)));
    ASSERT_FALSE(Opens(true));
    ASSERT_FALSE(Opens(false));
  }
}

TEST_F(EventFileDamage, ARecordOfAnotherFileOrPlaceIsNone) {
  Make(3);
  tagBytes bytes = original;
  // A whole record once more behind the last one.
  bytes.insert(bytes.end(), original.begin() + static_cast<int>(Begin(2)), original.end());
  Put(bytes);
  EXPECT_EQ(Load(path), all);
  // The records under another head.
  folder.disk.Reset(1);
  ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
  bytes = folder.Bytes();
  bytes.insert(bytes.end(), original.begin() + Layout::kHead, original.end());
  Put(bytes);
  EXPECT_TRUE(Load(path).empty());
}

// Blocks that are gone: what is left is found, in any order of asking, and the search is right.
TEST_F(EventFileDamage, LostBlocksHideNothingBehindThem) {
  Chance chance(5);
  ASSERT_TRUE(ZREventFile::Create(path.Text(), kNewFile));
  {
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), false));
    double now = 0;
    for (std::uint64_t i = 0; i < 6000; ++i) {
      now += chance.Happens(20) ? -static_cast<double>(chance.Below(500))
                                : static_cast<double>(chance.Below(4));
      const std::size_t length = chance.Happens(4) ? 66'000 + chance.Below(99'000) : 40;
      all.push_back({i, Date(now), 1, std::string(length, 'x')});
      ASSERT_TRUE(file.NewRecord());
      Fill(file, all.back());
      ASSERT_TRUE(file.Update());
    }
  }
  original = folder.Bytes();
  std::ptrdiff_t spoiled = 0;
  for (int round = 0; round < 12; ++round) {
    tagBytes bytes = original;
    const std::uint64_t spots = 1 + chance.Below(6);
    for (std::uint64_t spot = 0; spot < spots; ++spot) {
      const std::size_t at = Layout::kHead + chance.Below(bytes.size() - Layout::kHead - 200);
      const std::size_t length = std::min<std::size_t>(
          bytes.size() - 200 - at, chance.Happens(500) ? 8 : chance.Below(300'000));
      std::fill_n(bytes.begin() + static_cast<int>(at), length, round % 2 == 0 ? 0 : 0x5A);
    }
    Put(bytes);
    const std::vector<tagTransition> found = Load(path);
    ASSERT_EQ(found.size(), all.size());
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), true));
    for (int i = 0; i < 100; ++i) {
      const std::size_t index = chance.Below(all.size());
      ASSERT_EQ(file.GoRecord(static_cast<int>(index)), found[index] == all[index]);
      const double when = Date(static_cast<double>(chance.Below(7000)));
      const auto first = std::find_if(found.begin(), found.end(), [&](const tagTransition& t) {
        return t != kSpoiled && t.date >= when;
      });
      ASSERT_EQ(file.SearchByTime(ZRDateTime(when), 1),
                std::min<std::ptrdiff_t>(first - found.begin(), std::ssize(all) - 1));
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
      ASSERT_TRUE(found[i] == all[i] || found[i] == kSpoiled) << i;
    }
    spoiled += std::count(found.begin(), found.end(), kSpoiled);
  }
  EXPECT_GT(spoiled, 1000);
}

TEST_F(EventFileDamage, AFileThatIsCutWhileItIsReadGivesWhatIsLeft) {
  Make(1500);
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  Put(tagBytes(original.begin(), original.begin() + 1000));
  EXPECT_FALSE(file.GoRecord(1499));
  EXPECT_TRUE(file.GoRecord(0));
  EXPECT_FALSE(file.GoRecord(700));
}

// --- Verify ---

TEST_F(EventFileDamage, VerifyFindsAWholeFileWhole) {
  Make(1200);
  ZREventFile::tagLook look;
  ASSERT_TRUE(ZREventFile::Verify(path.Text(), look));
  EXPECT_TRUE(look.isWhole);
  EXPECT_STREQ(look.reason, "");
  EXPECT_EQ(look.records, 1200);
  EXPECT_EQ(look.damaged, 0);
  EXPECT_EQ(look.bytes, original.size());
  EXPECT_EQ(look.tornBytes, 0u);
}

TEST_F(EventFileDamage, VerifyCountsWhatIsDamagedAndTorn) {
  Make(1200);
  original[Begin(3) + 30] ^= 1;
  original[Begin(1000) + 30] ^= 1;
  original[Begin(1001) + 30] ^= 1;
  original.resize(original.size() + 13, 1);
  Put(original);
  ZREventFile::tagLook look;
  ASSERT_TRUE(ZREventFile::Verify(path.Text(), look));
  EXPECT_FALSE(look.isWhole);
  EXPECT_EQ(look.records, 1200);
  EXPECT_EQ(look.damaged, 3);
  EXPECT_EQ(look.tornBytes, 13u);
}

TEST_F(EventFileDamage, VerifySaysWhyAFileCannotBeUsed) {
  Make(1);
  original[0] = 'X';
  Put(original);
  ZREventFile::tagLook look;
  ASSERT_TRUE(ZREventFile::Verify(path.Text(), look));
  EXPECT_FALSE(look.isWhole);
  EXPECT_STREQ(look.reason, "no event data file");
  EXPECT_EQ(look.bytes, original.size());
  EXPECT_FALSE(ZREventFile::Verify(L"/data/2024/03/Nothing.suc", look));
}

}  // namespace

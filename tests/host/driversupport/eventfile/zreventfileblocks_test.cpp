// Finding records in a file whose disk fails now and then.

#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "host/driversupport/eventfile/zreventfileblocks.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"
#include "host/platform/zrsystemfilesystem.h"
#include "support/sitefolder.h"

namespace {

using Layout = ZREventFileLayout;
using tagCall = ZRCrashingDisk::tagCall;

class EventFileBlocks : public testing::Test {
 protected:
  static constexpr std::uint64_t kMostReads = 60;

  // Records of a block's part, of more than a block, and small ones between.
  EventFileBlocks() {
    for (const std::size_t length : {10u, 40'000u, 100'000u, 40'000u, 10u, 40'000u, 200'000u, 10u,
                                     40'000u, 40'000u, 70'000u, 10u}) {
      all.push_back(
          {all.size(), Date(static_cast<double>(all.size())), 1, std::string(length, 'x')});
      EXPECT_TRUE(Save(folder.path, all.back()));
    }
    const DataFolder::tagBytes bytes = folder.Bytes();
    size = bytes.size();
    Layout::tagHead head;
    EXPECT_STREQ(Layout::ReadHead(bytes.data(), head), "");
    seed = Layout::Seed(head.id);
    ZRCrashingDisk& disk = folder.disk;
    const ZREventFileHandle root(disk, disk.OpenFolder("/data/"));
    file = ZREventFileHandle(
        disk, disk.OpenFile(root.Get(), DataFolder::kFile, ZRFileSystem::tagAccess::kRead));
  }
  void Attach(ZREventFileBlocks& blocks) const {
    blocks.Attach(file, seed, size);
    blocks.SetCount(static_cast<int>(all.size()));
  }
  // Does it while one read after the other fails, until none is left to fail.
  template <typename Attempt>
  void FailEachRead(Attempt attempt) {
    for (std::uint64_t nth = 1; nth <= kMostReads; ++nth) {
      SCOPED_TRACE("read " + std::to_string(nth));
      folder.disk.Fail(tagCall::kRead, nth, EIO);
      attempt();
      folder.disk.Heal();
    }
  }

  // True if a record is found; if it isn't, it is the disk's fault.
  [[nodiscard]] bool Finds(std::uint32_t index) const {
    ZREventFileBlocks blocks;
    Attach(blocks);
    const unsigned char* const record = blocks.Record(static_cast<int>(index));
    if (record != nullptr) {
      EXPECT_EQ(Layout::Index(record), index);
      return true;
    }
    EXPECT_TRUE(blocks.CouldNotRead());
    EXPECT_EQ(blocks.Record(static_cast<int>(index)), nullptr);
    EXPECT_TRUE(blocks.CouldNotRead()) << "as before";
    return false;
  }
  [[nodiscard]] int FirstFrom(int index) const {
    ZREventFileBlocks blocks;
    Attach(blocks);
    return blocks.FirstAtOrAfter(all[static_cast<std::size_t>(index)].date);
  }

  // The records with a byte between the two.
  [[nodiscard]] std::set<std::uint64_t> Touched(std::uint64_t begin, std::uint64_t end) {
    std::set<std::uint64_t> touched;
    ZREventFileBlocks blocks;
    const ZREventFileHandle onDisk(
        folder.disk, folder.disk.OpenFile(folder.disk.OpenFolder("/data/"), DataFolder::kFile,
                                          ZRFileSystem::tagAccess::kRead));
    blocks.Attach(onDisk, seed, size);
    blocks.SetCount(static_cast<int>(all.size()));
    for (std::uint32_t index = 0; index < all.size(); ++index) {
      const unsigned char* const record = blocks.Record(static_cast<int>(index));
      EXPECT_NE(record, nullptr);
      const std::uint64_t at = blocks.Offset(record);
      if (at < end && at + Layout::ClaimedLength(record) > begin) touched.insert(index);
    }
    return touched;
  }

  DataFolder folder;
  std::vector<tagTransition> all;
  std::uint64_t size = 0;
  std::uint32_t seed = 0;
  ZREventFileHandle file;
};

TEST_F(EventFileBlocks, WhatCannotBeReadIsNotTakenForGone) {
  for (std::uint32_t index = 0; index < all.size(); ++index) {
    SCOPED_TRACE("record " + std::to_string(index));
    int failures = 0;
    FailEachRead([&] { failures += Finds(index) ? 0 : 1; });
    EXPECT_GT(failures, 0);
  }
}

TEST_F(EventFileBlocks, ADateIsNeverFoundBehindItsRecordWhenReadingFails) {
  for (int index = 0; index < static_cast<int>(all.size()); ++index) {
    SCOPED_TRACE("record " + std::to_string(index));
    FailEachRead([&] {
      const int found = FirstFrom(index);
      EXPECT_GE(found, 0);
      EXPECT_LE(found, index);
    });
    EXPECT_EQ(FirstFrom(index), index);
  }
}

// A disk on which one piece can never be read.
class CWornDisk final : public ZRSystemFileSystem {
 public:
  [[nodiscard]] std::int64_t Read(tagHandle file, void* to, std::size_t count,
                                  std::uint64_t at) override {
    if (at < wornEnd && at + count > wornBegin) {
      errno = EIO;
      return -1;
    }
    return ZRSystemFileSystem::Read(file, to, count, at);
  }

  std::uint64_t wornBegin = 0;
  std::uint64_t wornEnd = 0;
};

TEST_F(EventFileBlocks, OneThatCanNeverBeReadHidesNoOther) {
  const SiteFolder site;
  const DataFolder::tagBytes bytes = folder.Bytes();
  site.Write("data/file", std::string(bytes.begin(), bytes.end()));
  CWornDisk disk;
  const ZREventFileHandle root(disk, disk.OpenFolder((site.path / "data").c_str()));
  file = ZREventFileHandle(disk, disk.OpenFile(root.Get(), "file", ZRFileSystem::tagAccess::kRead));
  for (std::uint64_t block = 0; block * Layout::kBlock < size; ++block) {
    SCOPED_TRACE("block " + std::to_string(block));
    disk.wornBegin = block * Layout::kBlock;
    disk.wornEnd = disk.wornBegin + Layout::kBlock;
    std::set<std::uint64_t> lost;
    for (std::uint32_t index = 0; index < all.size(); ++index)
      if (!Finds(index)) lost.insert(index);
    EXPECT_EQ(lost, Touched(disk.wornBegin, disk.wornEnd));
    for (int index = 0; index < static_cast<int>(all.size()); ++index)
      EXPECT_LE(FirstFrom(index), index);
  }
  file.Close();
}

}  // namespace

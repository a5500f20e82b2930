// Finding records in a file whose disk fails now and then.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "host/driversupport/eventfile/zreventfileblocks.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"

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

  // True if a record is found at once; if it isn't, it is the disk's fault, and it is found then.
  [[nodiscard]] bool FindsInTheEnd(std::uint32_t index) const {
    ZREventFileBlocks blocks;
    Attach(blocks);
    const unsigned char* record = blocks.Record(static_cast<int>(index));
    const bool isFound = record != nullptr;
    if (!isFound) {
      EXPECT_TRUE(blocks.CouldNotRead());
      record = blocks.Record(static_cast<int>(index));
    }
    EXPECT_TRUE(record != nullptr && Layout::Index(record) == index);
    return isFound;
  }
  [[nodiscard]] int FirstFrom(int index) const {
    ZREventFileBlocks blocks;
    Attach(blocks);
    return blocks.FirstAtOrAfter(all[static_cast<std::size_t>(index)].date);
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
    FailEachRead([&] { failures += FindsInTheEnd(index) ? 0 : 1; });
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

}  // namespace

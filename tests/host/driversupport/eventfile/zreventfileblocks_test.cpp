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
    FailEachRead([&] {
      ZREventFileBlocks blocks;
      Attach(blocks);
      const unsigned char* const record = blocks.Record(static_cast<int>(index));
      if (record != nullptr) {
        ASSERT_EQ(Layout::Index(record), index);
        return;
      }
      ++failures;
      ASSERT_TRUE(blocks.CouldNotRead());
      const unsigned char* const again = blocks.Record(static_cast<int>(index));
      ASSERT_NE(again, nullptr);
      ASSERT_EQ(Layout::Index(again), index);
    });
    EXPECT_GT(failures, 0);
  }
}

TEST_F(EventFileBlocks, ADateIsNeverFoundBehindItsRecordWhenReadingFails) {
  for (int index = 0; index < static_cast<int>(all.size()); ++index) {
    SCOPED_TRACE("record " + std::to_string(index));
    const double date = all[static_cast<std::size_t>(index)].date;
    FailEachRead([&] {
      ZREventFileBlocks blocks;
      Attach(blocks);
      const int found = blocks.FirstAtOrAfter(date);
      ASSERT_GE(found, 0);
      ASSERT_LE(found, index);
    });
    ZREventFileBlocks blocks;
    Attach(blocks);
    EXPECT_EQ(blocks.FirstAtOrAfter(date), index);
  }
}

}  // namespace

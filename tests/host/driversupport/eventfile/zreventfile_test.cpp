#include "host/driversupport/eventfile/zreventfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "support/chance.h"

namespace {

class EventFile : public testing::Test {
 protected:
  DataFolder folder;
  const ZRWString& path = folder.path;

  // Appends all through one object.
  void SaveAll(const std::vector<tagTransition>& transitions) const {
    (void)ZREventFile::Create(path.Text(), kNewFile);
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), false));
    for (const tagTransition& transition : transitions) {
      ASSERT_TRUE(file.NewRecord());
      Fill(file, transition);
      ASSERT_TRUE(file.Update());
    }
    ASSERT_EQ(file.numRecords, static_cast<int>(transitions.size()));
  }
};

TEST_F(EventFile, TheFirstRecordMakesTheFoldersAndCanBeReadAtOnce) {
  const tagTransition on{1, Date(1), 1, "hot &amp; high"};
  ASSERT_TRUE(Save(path, on));
  EXPECT_EQ(Load(path), std::vector{on});
  EXPECT_EQ(folder.Files(), std::vector<std::string>{DataFolder::kFile});
}

TEST_F(EventFile, KeepsTheFourFieldsOfEachRecordInTheOrderOfWriting) {
  std::vector<tagTransition> all;
  for (std::uint64_t i = 0; i < 30; ++i) {
    all.push_back({i, Date(static_cast<double>(i)), static_cast<double>(1 + i % 4),
                   std::string(i * 3, static_cast<char>('a' + i % 26))});
    ASSERT_TRUE(Save(path, all.back()));
  }
  EXPECT_EQ(Load(path), all);
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  for (int i = file.numRecords; i-- > 0;) {
    ASSERT_TRUE(file.GoRecord(i));
    EXPECT_EQ(Current(file), all[static_cast<std::size_t>(i)]);
  }
}

TEST_F(EventFile, RecordsFillManyBlocksAndNoneCrossesOne) {
  Chance chance(1);
  std::vector<tagTransition> all;
  for (std::uint64_t i = 0; i < 3000; ++i) {
    const std::size_t length = i % 500 == 77 ? 70'000 + chance.Below(100'000) : chance.Below(300);
    all.push_back({i, Date(static_cast<double>(i)), 1, std::string(length, 'x')});
  }
  SaveAll(all);
  EXPECT_EQ(Load(path), all);
  ZREventFile file(true);
  ASSERT_TRUE(file.Open(path.Text(), true));
  for (int i = 0; i < 5000; ++i) {
    const auto index = static_cast<int>(chance.Below(all.size()));
    ASSERT_TRUE(file.GoRecord(index));
    ASSERT_EQ(Current(file), all[static_cast<std::size_t>(index)]);
  }
}

TEST_F(EventFile, SearchByTimeGivesTheFirstRecordAtOrAfterWhereverTheClockWent) {
  Chance chance(2);
  for (const std::size_t count : {1u, 2u, 7u, 400u, 4000u}) {
    folder.disk.Reset(count);
    std::vector<tagTransition> all;
    double now = 1000;
    for (std::uint64_t i = 0; i < count; ++i) {
      now += chance.Happens(10) ? -static_cast<double>(chance.Below(300))
                                : static_cast<double>(chance.Below(5));
      all.push_back({i, Date(now), 1, std::string(chance.Below(200), 'x')});
    }
    SaveAll(all);
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), true));
    for (int i = 0; i < 300; ++i) {
      const double when =
          Date(static_cast<double>(chance.Below(static_cast<std::uint64_t>(now) + 500)));
      const auto found = std::find_if(all.begin(), all.end(),
                                      [&](const tagTransition& t) { return t.date >= when; });
      const auto expected = std::min<std::ptrdiff_t>(found - all.begin(), std::ssize(all) - 1);
      ASSERT_EQ(file.SearchByTime(ZRDateTime(when), 1), expected);
    }
  }
}

}  // namespace

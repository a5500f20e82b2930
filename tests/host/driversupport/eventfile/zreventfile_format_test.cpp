// The bytes of docs/formats/event-data-file.md. Files of each layout must be readable for ever:
// what stands here about an old one never changes.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "host/driversupport/eventfile/zreventfilelayout.h"
#include "support/golden.h"

namespace {

using Layout = ZREventFileLayout;
using tagBytes = DataFolder::tagBytes;

// The bytes of a page's block of hexadecimal lines, each of which begins with its offset.
tagBytes PageBytes(const std::string& path) {
  const std::string page = RepositoryFile(path);
  const std::string opening = "```hex\n";
  const std::size_t start = page.find(opening);
  EXPECT_NE(start, std::string::npos);
  std::istringstream lines(page.substr(start + opening.size()));
  tagBytes bytes;
  for (std::string line; std::getline(lines, line) && line != "```";) {
    std::istringstream words(line);
    std::size_t offset = 0;
    words >> std::hex >> offset;
    EXPECT_EQ(offset, bytes.size());
    for (unsigned byte = 0; words >> byte;)
      bytes.push_back(static_cast<std::uint8_t>(byte));
  }
  return bytes;
}

tagBytes GoldenBytes() {
  const std::string golden = Golden("event-data-file-1.suc");
  return {golden.begin(), golden.end()};
}

constexpr std::int64_t kNoon = 1'709'640'000'000;  // 2024-03-05T12:00:00Z

std::vector<tagTransition> GoldenRecords() {
  const auto date = [](std::int64_t milliseconds) {
    return static_cast<double>(ZRDateTime::FromUtcMilliseconds(kNoon + milliseconds));
  };
  const std::uint64_t occurrence = 0x1111'1111'1111'1111;
  return {{occurrence, date(0), 1, "Above 90 \u00B0C"},
          {occurrence, date(61'500), 4, "Seen by Ana"},
          {occurrence, date(30'250), 2, ""}};
}

TEST(EventFileFormat, ThePageShowsTheGoldenFile) {
  EXPECT_EQ(PageBytes("docs/formats/event-data-file.md"), GoldenBytes());
}

TEST(EventFileFormat, TheGoldenFileIsRead) {
  DataFolder folder;
  folder.disk.Put(DataFolder::kFile, GoldenBytes());
  EXPECT_EQ(Load(folder.path), GoldenRecords());
  ZREventFile::tagLook look;
  ASSERT_TRUE(ZREventFile::Verify(folder.path.Text(), look));
  EXPECT_TRUE(look.isWhole);
}

TEST(EventFileFormat, TheSameRecordsAreWrittenAsTheSameBytes) {
  const tagBytes golden = GoldenBytes();
  DataFolder folder;
  folder.disk.Put(DataFolder::kFile, tagBytes(golden.begin(), golden.begin() + Layout::kHead));
  for (const tagTransition& transition : GoldenRecords()) {
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(folder.path.Text(), false) && file.NewRecord());
    Fill(file, transition);
    uuid id;
    id.bytes.fill(0x11);
    file.SetEventId(id);
    ASSERT_TRUE(file.Update());
  }
  EXPECT_EQ(folder.Bytes(), golden);
}

TEST(EventFileFormat, AHeadIsWrittenAsItIsRead) {
  const tagBytes golden = GoldenBytes();
  Layout::tagHead head;
  ASSERT_STREQ(Layout::ReadHead(golden.data(), head), "");
  EXPECT_EQ(head.type, ZREventFile::kType);
  EXPECT_EQ(head.capacity, 2000u);
  tagBytes bytes(Layout::kHead);
  Layout::WriteHead(head, bytes.data());
  EXPECT_EQ(bytes, tagBytes(golden.begin(), golden.begin() + Layout::kHead));
}

TEST(EventFileFormat, ARecordKeepsToItsBlock) {
  constexpr std::uint64_t kBlock = Layout::kBlock;
  EXPECT_EQ(Layout::Place(64, 0, 100), 64u);
  EXPECT_EQ(Layout::Place(kBlock - 64, 64, 64), kBlock - 64) << "it just fits";
  EXPECT_EQ(Layout::Place(kBlock - 64, 64, 72), kBlock);
  EXPECT_EQ(Layout::Place(kBlock, 64, 72), kBlock);
  EXPECT_EQ(Layout::Place(64, 0, kBlock), kBlock) << "as long as a block";
  EXPECT_EQ(Layout::Place(64, 0, kBlock + 8), kBlock);
  EXPECT_EQ(Layout::Place(kBlock, 64, kBlock + 8), kBlock);
  EXPECT_EQ(Layout::Place(2 * kBlock + 8, kBlock + 8, 64), 3 * kBlock) << "behind a long one";
}

}  // namespace

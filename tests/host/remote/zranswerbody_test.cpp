#include "host/remote/zranswerbody.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

// A folder of its own, gone after the test.
class AnswerBody : public testing::Test {
 protected:
  AnswerBody() {
    std::string path = testing::TempDir() + "answerbody-XXXXXX";
    folder = ::mkdtemp(path.data());
  }
  ~AnswerBody() override { std::filesystem::remove_all(folder); }

  [[nodiscard]] ZRAnswerLimits Limits(std::size_t memory, std::uint64_t all) const {
    return {memory, all, folder.string()};
  }

  static std::string Read(int file, std::uint64_t size) {
    std::string bytes(size + 1, '?');
    const ssize_t read = ::pread(file, bytes.data(), bytes.size(), 0);
    bytes.resize(read < 0 ? 0 : static_cast<std::size_t>(read));
    return bytes;
  }

  std::filesystem::path folder;
};

TEST_F(AnswerBody, StaysInMemoryUpToItsLimit) {
  const ZRAnswerLimits limits = Limits(10, 100);
  ZRAnswerBody body(limits);
  ASSERT_TRUE(body.Append("12345"));
  ASSERT_TRUE(body.Append("67890"));
  ASSERT_TRUE(body.Finish());
  EXPECT_FALSE(body.IsInFile());
  EXPECT_EQ(10u, body.Size());
  EXPECT_EQ("1234567890", body.TakeMemory());
}

TEST_F(AnswerBody, GoesToAFileAsAWholeBeyondThat) {
  const ZRAnswerLimits limits = Limits(10, 100);
  ZRAnswerBody body(limits);
  const std::string pieces[] = {"1234567", "890a", "bc", "a longer one than all the memory", "end"};
  std::string all;
  for (const std::string& piece : pieces) {
    ASSERT_TRUE(body.Append(piece));
    all += piece;
  }
  ASSERT_TRUE(body.Finish());
  ASSERT_TRUE(body.IsInFile());
  EXPECT_EQ(all.size(), body.Size());
  const int file = body.TakeFile();
  EXPECT_EQ(all, Read(file, body.Size()));
  (void)::close(file);
}

TEST_F(AnswerBody, HoldsNoMoreInMemoryThanItMay) {
  const ZRAnswerLimits limits = Limits(4, 100);
  ZRAnswerBody body(limits);
  ASSERT_TRUE(body.Append("123"));
  ASSERT_TRUE(body.Append("longer"));
  ASSERT_TRUE(body.Append("4567"));
  const int file = body.TakeFile();
  EXPECT_EQ("123longer", Read(file, body.Size()));
  (void)::close(file);
}

TEST_F(AnswerBody, FileHasNoNameAndOneReader) {
  const ZRAnswerLimits limits = Limits(1, 100);
  ZRAnswerBody body(limits);
  ASSERT_TRUE(body.Append("12"));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  const int file = body.TakeFile();
  struct stat state {};
  ASSERT_EQ(0, ::fstat(file, &state));
  EXPECT_EQ(0u, state.st_nlink);
  EXPECT_EQ(0600u, state.st_mode & 0777u);
  (void)::close(file);
}

TEST_F(AnswerBody, IsGivenUpBeyondTheLastLimit) {
  const ZRAnswerLimits limits = Limits(10, 20);
  ZRAnswerBody body(limits);
  ASSERT_TRUE(body.Append("12345678901234567890"));
  EXPECT_FALSE(body.Append("1"));
  EXPECT_FALSE(body.IsInFile());
  EXPECT_FALSE(body.Append(""));
  EXPECT_FALSE(body.Finish());
}

TEST_F(AnswerBody, IsGivenUpWithoutAFolder) {
  const ZRAnswerLimits limits{4, 100, (folder / "missing").string()};
  ZRAnswerBody body(limits);
  EXPECT_TRUE(body.Append("1234"));
  EXPECT_FALSE(body.Append("5"));
  EXPECT_FALSE(body.Finish());
}

}  // namespace

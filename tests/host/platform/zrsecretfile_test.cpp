#include "host/platform/zrsecretfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using tagAnswer = ZRSecretFile::tagAnswer;

class SecretFile : public ::testing::Test {
 protected:
  SecretFile() {
    std::string pattern = (fs::temp_directory_path() / "tessaly-test-XXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    path = folder / "secret";
  }
  ~SecretFile() override {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }

  void Write(const std::string& text, mode_t mode = 0600) const {
    std::ofstream(path, std::ios::binary) << text;
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
  }
  // What it holds, or why it is refused.
  [[nodiscard]] std::string Read(std::size_t limit = 100) const {
    std::string content = "left";
    std::string reason;
    switch (File().Read(limit, content, reason)) {
      case tagAnswer::kDone:
        return content;
      case tagAnswer::kMissing:
        return content.empty() ? "missing" : "missing, with content";
      case tagAnswer::kRefused:
        return content.empty() ? reason : "refused, with content";
    }
    return {};
  }
  [[nodiscard]] ZRSecretFile File() const { return {folder.string(), "secret"}; }
  [[nodiscard]] mode_t Mode() const {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : 0;
  }
  [[nodiscard]] std::size_t Entries() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
  }

  fs::path folder;
  fs::path path;
};

TEST_F(SecretFile, IsReadWhole) {
  EXPECT_EQ(Read(), "missing");
  Write(std::string("a\0b\n", 4));
  EXPECT_EQ(Read(), std::string("a\0b\n", 4));
  Write("");
  EXPECT_EQ(Read(), "");
  Write(std::string(10'000, 'x'));
  EXPECT_EQ(Read(10'000), std::string(10'000, 'x'));
  EXPECT_EQ(Read(9'999), "it is larger than 9999 bytes");
}

TEST_F(SecretFile, IsNobodyElses) {
  for (const mode_t mode : {0600u, 0400u, 0700u}) {
    Write("x", mode);
    EXPECT_EQ(Read(), "x") << std::oct << mode;
    fs::remove(path);
  }
  for (const mode_t mode : {0640u, 0620u, 0610u, 0604u, 0602u, 0601u, 0644u, 0666u, 0777u}) {
    Write("x", mode);
    EXPECT_EQ(Read(), "its mode must be 0600: others may read or change it") << std::oct << mode;
    fs::remove(path);
  }
}

TEST_F(SecretFile, BelongsToThisUser) {
  Write("x");
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
  ASSERT_EQ(::chown(path.c_str(), 1, 1), 0);
  EXPECT_EQ(Read(), "it belongs to another user");
}

TEST_F(SecretFile, IsARegularFile) {
  std::ofstream(folder / "other") << "x";
  ASSERT_EQ(::chmod((folder / "other").c_str(), 0600), 0);
  fs::create_symlink(folder / "other", path);
  EXPECT_EQ(Read(), "it is a symbolic link");
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_EQ(Read(), "it is no regular file");
  fs::remove(path);
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(Read(), "it is no regular file");
}

TEST_F(SecretFile, IsMadeForItsOwnerAlone) {
  std::string reason;
  const mode_t before = ::umask(0);
  EXPECT_TRUE(File().Replace("one", reason)) << reason;
  ::umask(before);
  EXPECT_EQ(Read(), "one");
  EXPECT_EQ(Mode(), 0600u);
  EXPECT_EQ(Entries(), 1u);
}

TEST_F(SecretFile, IsReplacedAsAWhole) {
  Write("the former one", 0644);
  const int reader = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::string reason;
  EXPECT_TRUE(File().Replace("new", reason)) << reason;
  EXPECT_EQ(Read(), "new");
  EXPECT_EQ(Mode(), 0600u);
  char text[32] = {};
  EXPECT_EQ(::read(reader, text, sizeof text), 14);  // who had it open reads on
  EXPECT_STREQ(text, "the former one");
  ::close(reader);
}

// What lies where the new file is made is neither written to nor followed.
TEST_F(SecretFile, PassesOverWhatAWriterHasLeft) {
  std::ofstream(folder / "secret.new") << "half";
  std::string reason;
  EXPECT_TRUE(File().Replace("one", reason)) << reason;
  EXPECT_EQ(Entries(), 1u);
  std::ofstream(folder / "victim") << "untouched";
  fs::create_symlink(folder / "victim", folder / "secret.new");
  EXPECT_TRUE(File().Replace("two", reason)) << reason;
  EXPECT_EQ(Read(), "two");
  EXPECT_EQ(fs::file_size(folder / "victim"), 9u);
}

TEST_F(SecretFile, StaysWhenItCannotBeReplaced) {
  std::string reason;
  EXPECT_FALSE(ZRSecretFile((folder / "none").string(), "secret").Replace("x", reason));
  EXPECT_EQ(reason, "it can't be written: No such file or directory");
  fs::create_directory(path);
  EXPECT_FALSE(File().Replace("x", reason));
  EXPECT_EQ(reason, "it can't be written: Is a directory");
  EXPECT_EQ(Entries(), 1u);
}

TEST_F(SecretFile, ShowsByItsStampThatItHasChanged) {
  const auto missing = File().Stamp();
  EXPECT_EQ(missing, ZRSecretFile::tagStamp());
  std::string reason;
  ASSERT_TRUE(File().Replace("one", reason));
  const auto first = File().Stamp();
  EXPECT_NE(first, missing);
  EXPECT_EQ(first, File().Stamp());
  ASSERT_TRUE(File().Replace("two", reason));
  EXPECT_NE(File().Stamp(), first);
  fs::remove(path);
  EXPECT_EQ(File().Stamp(), missing);
}

}  // namespace

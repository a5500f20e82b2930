#include "host/tools/zrfiles.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/platform/zrplatform.h"
#include "host/tools/zrtext.h"

namespace {

// A folder that goes away with the test.
class Files : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = testing::TempDir() + "zrfilesXXXXXX";
    ASSERT_NE(nullptr, ::mkdtemp(pattern.data()));
    folder = pattern + "/";
  }
  void TearDown() override {
    ZRPlatform::Replace(nullptr);
    std::filesystem::remove_all(folder);
  }

  void Make(const std::string& name, const std::string& content = "") const {
    std::ofstream(folder + name, std::ios::binary) << content;
  }
  void MakeFolder(const std::string& name) const {
    std::filesystem::create_directory(folder + name);
  }
  [[nodiscard]] ZRWString Path(const std::string& name) const { return Utf8ToUtf16(folder + name); }
  [[nodiscard]] std::vector<std::string> Find(const std::string& pattern) const {
    std::vector<std::string> found;
    ZRFileFind search;
    int more = search.FindFile(Path(pattern));
    while (more != 0) {
      more = search.FindNextFileW();
      found.emplace_back(Utf16ToUtf8(search.GetFileName().View()).View());
    }
    return found;
  }

  std::string folder;
};

using tagNames = std::vector<std::string>;

TEST_F(Files, TitleIsSplitAtItsFirstPoint) {
  ZRWString first;
  ZRWString second;
  SplitFileName(L"1.hall", first, second);
  EXPECT_STREQ(L"1", first.Text());
  EXPECT_STREQ(L"hall", second.Text());
  SplitFileName(L"1.hall.north", first, second);
  EXPECT_STREQ(L"hall.north", second.Text());
  SplitFileName(L"hall", first, second);
  EXPECT_STREQ(L"hall", first.Text());
  EXPECT_STREQ(L"", second.Text());
  SplitFileName(L".hall", first, second);
  EXPECT_STREQ(L"", first.Text());
  EXPECT_STREQ(L"hall", second.Text());
  SplitFileName(L"hall.", first, second);
  EXPECT_STREQ(L"hall", first.Text());
  EXPECT_STREQ(L"", second.Text());
}

TEST_F(Files, TitleMayBeOneOfTheResults) {
  ZRWString title(L"1.hall");
  ZRWString second;
  SplitFileName(title, title, second);
  EXPECT_STREQ(L"1", title.Text());
  EXPECT_STREQ(L"hall", second.Text());
}

TEST_F(Files, FoldersOfTheInstallationEndInASeparator) {
  const ZRWString before = GetAppPath();
  const ZRWString program =
      Utf8ToUtf16(std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/");
  EXPECT_STREQ(program.Text(), before.Text());
  EXPECT_STREQ((before + L"share/").Text(), GetSharePath().Text());
  SetAppPath(L"/opt/app");
  EXPECT_STREQ(L"/opt/app/", GetAppPath().Text());
  EXPECT_STREQ(L"/opt/app/share/", GetSharePath().Text());
  SetSharePath(L"/srv/share/");
  EXPECT_STREQ(L"/srv/share/", GetSharePath().Text());
  SetSharePath(L"");
  SetAppPath(before);
}

TEST_F(Files, FileCallsTakeWidePaths) {
  const ZRWString name = Path("caf\xC3\xA9 \xF0\x9F\x98\x80.txt");
  std::FILE* const file = widefopen(name.Text(), L"w");
  ASSERT_NE(nullptr, file);
  std::fclose(file);
  EXPECT_TRUE(std::filesystem::exists(folder + "caf\xC3\xA9 \xF0\x9F\x98\x80.txt"));
  EXPECT_EQ(0, widerename(name.Text(), Path("b").Text()));
  EXPECT_TRUE(std::filesystem::exists(folder + "b"));
  EXPECT_EQ(0, wideremove(Path("b").Text()));
  EXPECT_FALSE(std::filesystem::exists(folder + "b"));
}

TEST_F(Files, FailingFileCallsLeaveTheErrorNumber) {
  errno = 0;
  EXPECT_EQ(nullptr, widefopen(Path("none").Text(), L"r"));
  EXPECT_EQ(ENOENT, errno);
  errno = 0;
  EXPECT_NE(0, wideremove(Path("none").Text()));
  EXPECT_EQ(ENOENT, errno);
  errno = 0;
  EXPECT_NE(0, widerename(Path("none").Text(), Path("b").Text()));
  EXPECT_EQ(ENOENT, errno);
  errno = 0;
  EXPECT_EQ(nullptr, widefopen(nullptr, L"r"));
  EXPECT_EQ(ENOENT, errno);
  errno = 0;
  EXPECT_EQ(nullptr, widefopen(L"", L"r"));
  EXPECT_EQ(ENOENT, errno);
  errno = 0;
  EXPECT_EQ(nullptr, widefopen(Path("none").Text(), nullptr));
  EXPECT_EQ(EINVAL, errno);
}

TEST_F(Files, WholeFileIsReadToTheByte) {
  std::string content(200'000, 'x');
  content[5] = '\0';
  content.back() = 'e';
  Make("a", content);
  ZRString read("before");
  ASSERT_TRUE(ReadWholeFile(Path("a"), content.size(), read));
  EXPECT_EQ(content, read.View());
  Make("empty");
  ASSERT_TRUE(ReadWholeFile(Path("empty"), 0, read));
  EXPECT_TRUE(read.IsEmpty());
}

TEST_F(Files, FileAboveTheLimitIsNotRead) {
  Make("a", std::string(1001, 'x'));
  ZRString read("before");
  EXPECT_FALSE(ReadWholeFile(Path("a"), 1000, read));
  EXPECT_TRUE(read.IsEmpty());
  EXPECT_FALSE(ReadWholeFile(L"/dev/zero", 100'000, read));
  EXPECT_TRUE(read.IsEmpty());
}

TEST_F(Files, MissingFileAndFolderAreNotRead) {
  ZRString read("before");
  EXPECT_FALSE(ReadWholeFile(Path("none"), 1000, read));
  EXPECT_FALSE(ReadWholeFile(Path(""), 1000, read));
  EXPECT_TRUE(read.IsEmpty());
}

// The system's platform with files that fail.
class ZRFailingFiles : public ZRPlatform {
 public:
  ZRFailingFiles() { Replace(this); }
  ~ZRFailingFiles() override { Replace(nullptr); }
  ZRFailingFiles(const ZRFailingFiles&) = delete;
  ZRFailingFiles& operator=(const ZRFailingFiles&) = delete;

  std::uint32_t TickCount() override { return System().TickCount(); }
  std::int64_t UtcMilliseconds() override { return System().UtcMilliseconds(); }
  void Sleep(std::uint32_t) override {}
  tagThread StartThread(std::function<void()>) override { return 0; }
  void JoinThread(tagThread) override {}
  bool Wait(ZRWaitWord&, std::uint32_t, std::uint32_t) override { return true; }
  void WakeOne(ZRWaitWord&) override {}
  void WakeAll(ZRWaitWord&) override {}

  std::FILE* OpenFile(const std::string&, const char*) override {
    errno = EACCES;
    if (!opens) return nullptr;
    cookie_io_functions_t functions{};
    functions.read = Read;
    functions.close = Close;
    return ::fopencookie(this, "r", functions);
  }
  bool ListFolder(const std::string&, std::vector<std::string>&) override {
    errno = EIO;
    return false;
  }
  bool RemoveFile(const std::string&) override {
    errno = EBUSY;
    return false;
  }
  bool RenameFile(const std::string&, const std::string&) override {
    errno = EXDEV;
    return false;
  }

  bool opens = true;
  int closed = 0;
  std::size_t readable = 100'000;  // bytes before the reading fails

 private:
  static ssize_t Read(void* cookie, char* buffer, std::size_t size) {
    auto* const self = static_cast<ZRFailingFiles*>(cookie);
    const std::size_t given = std::min(size, self->readable);
    self->readable -= given;
    if (given == 0) {
      errno = EIO;
      return -1;
    }
    std::memset(buffer, 'x', given);
    return static_cast<ssize_t>(given);
  }
  static int Close(void* cookie) {
    ++static_cast<ZRFailingFiles*>(cookie)->closed;
    return 0;
  }
};

TEST_F(Files, FileThatFailsInTheMiddleGivesNothing) {
  ZRFailingFiles platform;
  ZRString read("before");
  EXPECT_FALSE(ReadWholeFile(L"/a", 1'000'000, read));
  EXPECT_TRUE(read.IsEmpty());
  EXPECT_EQ(0u, platform.readable);
  EXPECT_EQ(1, platform.closed);
}

TEST_F(Files, FileThatCanNotBeOpenedGivesNothing) {
  ZRFailingFiles platform;
  platform.opens = false;
  ZRString read("before");
  EXPECT_FALSE(ReadWholeFile(L"/a", 1'000'000, read));
  EXPECT_EQ(EACCES, errno);
  EXPECT_TRUE(read.IsEmpty());
}

TEST_F(Files, FolderThatCanNotBeListedHasNoFiles) {
  ZRFailingFiles platform;
  ZRFileFind search;
  EXPECT_EQ(0, search.FindFile(L"/*.*"));
  EXPECT_NE(0, wideremove(L"/a"));
  EXPECT_EQ(EBUSY, errno);
  EXPECT_NE(0, widerename(L"/a", L"/b"));
  EXPECT_EQ(EXDEV, errno);
}

TEST_F(Files, SearchGivesMatchesInOrder) {
  for (const char* name : {"b.suc", "a.suc", "B.suc", "a.txt", "\xC3\xA9.suc", "asuc"})
    Make(name);
  EXPECT_EQ((tagNames{"B.suc", "a.suc", "b.suc", "\xC3\xA9.suc"}), Find("*.suc"));
  EXPECT_EQ((tagNames{"B.suc", "a.suc", "b.suc", "\xC3\xA9.suc"}), Find("?.suc"));
  EXPECT_EQ((tagNames{"a.suc", "a.txt", "asuc"}), Find("a*"));
  EXPECT_EQ((tagNames{"a.suc"}), Find("a.suc"));
  EXPECT_EQ(tagNames{}, Find("A.suc"));
  EXPECT_EQ(tagNames{}, Find("*.xml"));
  EXPECT_EQ(tagNames{}, Find(""));
}

TEST_F(Files, OrderIsThatOfUtf16Units) {
  Make("\xEF\xBC\xA1");      // U+FF21
  Make("\xF0\x9F\x98\x80");  // U+1F600, the pair D83D DE00
  EXPECT_EQ((tagNames{"\xF0\x9F\x98\x80", "\xEF\xBC\xA1"}), Find("*"));
  EXPECT_EQ((tagNames{"\xF0\x9F\x98\x80"}), Find("??"));
}

TEST_F(Files, OnlyStarAndQuestionMarkAreSpecial) {
  for (const char* name : {"[ab]", "a", "a\\b", "{a,b}", ".hidden", "~"})
    Make(name);
  EXPECT_EQ((tagNames{"[ab]"}), Find("[ab]"));
  EXPECT_EQ((tagNames{"a\\b"}), Find("a\\?"));
  EXPECT_EQ((tagNames{"{a,b}"}), Find("{a,b}"));
  EXPECT_EQ((tagNames{".hidden"}), Find("*den"));
  EXPECT_EQ((tagNames{"~"}), Find("~"));
}

TEST_F(Files, PointsInAPatternAreLetters) {
  for (const char* name : {"1.hall.xscn", "hall.xscn", ".xscn", "..xscn", "1.hall.xscn.bak"}) {
    Make(name);
  }
  EXPECT_EQ((tagNames{"..xscn", "1.hall.xscn"}), Find("*.*.xscn"));
  EXPECT_EQ((tagNames{"1.hall.xscn", "1.hall.xscn.bak"}), Find("1.*"));
}

TEST_F(Files, FoldersAreNoFiles) {
  MakeFolder("a.suc");
  Make("b.suc");
  EXPECT_EQ((tagNames{"b.suc"}), Find("*.suc"));
  EXPECT_EQ((tagNames{"b.suc"}), Find("*"));
}

TEST_F(Files, StarPointStarFindsSomethingInEveryFolder) {
  EXPECT_EQ((tagNames{"."}), Find("*.*"));
  MakeFolder("11");
  EXPECT_EQ((tagNames{"11"}), Find("*.*"));
  Make("plain");
  EXPECT_EQ((tagNames{"11", "plain"}), Find("*.*"));
  EXPECT_EQ((tagNames{"."}), Find("11/*.*"));
  EXPECT_EQ(tagNames{}, Find("12/*.*"));
  EXPECT_EQ(tagNames{}, Find("plain/*.*"));
}

TEST_F(Files, NamesThatAreNotUtf8AreSkipped) {
  Make("a\xFF.suc");
  Make("b.suc");
  EXPECT_EQ((tagNames{"b.suc"}), Find("*.suc"));
}

TEST_F(Files, FoundFileHasNamePathAndTitle) {
  Make("1.hall.xscn");
  Make("plain");
  ZRFileFind search;
  ASSERT_NE(0, search.FindFile(Path("*")));
  EXPECT_TRUE(search.GetFileName().IsEmpty());
  EXPECT_NE(0, search.FindNextFileW());
  EXPECT_STREQ(L"1.hall.xscn", search.GetFileName().Text());
  EXPECT_STREQ(L"1.hall", search.GetFileTitle().Text());
  EXPECT_STREQ(Path("1.hall.xscn").Text(), search.GetFilePath().Text());
  EXPECT_EQ(0, search.FindNextFileW());
  EXPECT_STREQ(L"plain", search.GetFileName().Text());
  EXPECT_STREQ(L"plain", search.GetFileTitle().Text());
  EXPECT_EQ(0, search.FindNextFileW());
  EXPECT_STREQ(L"plain", search.GetFileName().Text());
}

TEST_F(Files, NewSearchReplacesTheOneBefore) {
  Make("a");
  ZRFileFind search;
  ASSERT_NE(0, search.FindFile(Path("a")));
  EXPECT_EQ(0, search.FindNextFileW());
  EXPECT_EQ(0, search.FindFile(Path("b")));
  EXPECT_TRUE(search.GetFileName().IsEmpty());
  EXPECT_EQ(0, search.FindNextFileW());
  EXPECT_TRUE(search.GetFilePath().IsEmpty());
  EXPECT_TRUE(search.GetFileTitle().IsEmpty());
}

TEST_F(Files, StarsInPlentyCostLittle) {
  Make(std::string(200, 'a'));
  std::string pattern;
  for (int i = 0; i < 100; ++i)
    pattern += "a*";
  EXPECT_EQ(1u, Find(pattern).size());
  EXPECT_EQ(tagNames{}, Find(pattern + "b"));
}

}  // namespace

#include "host/platform/zrsystemfilesystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "host/platform/zrplatform.h"

namespace {

namespace fs = std::filesystem;
using tagAccess = ZRFileSystem::tagAccess;
using tagHandle = ZRFileSystem::tagHandle;
constexpr tagHandle kNone = ZRFileSystem::kNone;

// A real folder, and a few words about what is in it.
class SystemFileSystem : public ::testing::Test {
 protected:
  SystemFileSystem() {
    std::string pattern = (fs::temp_directory_path() / "tessaly-test-XXXXXX").string();
    path = ::mkdtemp(pattern.data());
    folder = files.OpenFolder(path.c_str());
    EXPECT_NE(kNone, folder);
  }
  ~SystemFileSystem() override {
    files.Close(folder);
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }

  void WriteText(const std::string& name, const std::string& text) const {
    std::ofstream(path / name, std::ios::binary) << text;
  }
  [[nodiscard]] std::string Text(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path / name, std::ios::binary).rdbuf();
    return text.str();
  }
  [[nodiscard]] tagHandle Open(const char* below, tagAccess access = tagAccess::kReadWrite) {
    return files.OpenFile(folder, below, access);
  }
  // The error number of an attempt to open; 0 if it could be opened.
  [[nodiscard]] int FileError(const char* below, tagAccess access = tagAccess::kReadWrite) {
    return Closed(Open(below, access));
  }
  [[nodiscard]] int FolderError(const char* below) {
    return Closed(files.OpenFolder(folder, below));
  }
  [[nodiscard]] unsigned Mode(const std::string& name) const {
    struct stat found {};
    EXPECT_EQ(0, ::stat((path / name).c_str(), &found));
    return found.st_mode & 07777u;
  }

  // As those that look after data files open them.
  [[nodiscard]] int SizedError(const char* below, std::int64_t& size) {
    return Closed(files.OpenSized(folder, below, size));
  }
  [[nodiscard]] int StampedError(const char* below, std::int64_t& size) {
    ZRFileSystem::tagStamp stamp;
    const int error = Closed(files.OpenStamped(folder, below, stamp));
    size = stamp.size;
    return error;
  }
  [[nodiscard]] int AloneError(const char* below, std::int64_t& size) {
    bool isTaken = false;
    return Closed(files.OpenAlone(folder, below, isTaken, size));
  }

  // Folders `a/b` with a file in the lower one, and what may not be followed.
  void BuildTraps() const {
    fs::create_directories(path / "a/b");
    WriteText("a/b/file", "inside");
    fs::create_directory_symlink("a", path / "folderLink");
    fs::create_symlink("a/b/file", path / "fileLink");
    fs::create_symlink("nowhere", path / "deadLink");
    ASSERT_EQ(0, ::mkfifo((path / "pipe").c_str(), 0600));
  }
  void ExpectTrapsRefused() {
    EXPECT_EQ(0, FileError("a/b/file"));
    EXPECT_EQ(0, FileError("a/./b/file"));
    EXPECT_EQ(0, FolderError("a/b"));
    for (const char* refused : {"folderLink/b/file", "fileLink", "deadLink"})
      EXPECT_NE(0, FileError(refused)) << refused;
    EXPECT_NE(0, FileError("deadLink", tagAccess::kCreate));
    EXPECT_NE(0, FileError("folderLink/new", tagAccess::kCreate));
    EXPECT_NE(0, FolderError("folderLink"));
    EXPECT_NE(0, FolderError("folderLink/b"));
    const std::string absolute = (path / "a/b/file").string();
    for (const char* refused :
         {"../x", "..", "a/../a/b/file", "a/b/..", "", "a//b/file", "a/b/", absolute.c_str()}) {
      EXPECT_EQ(EXDEV, FileError(refused, tagAccess::kRead)) << refused;
      EXPECT_EQ(EXDEV, FolderError(refused)) << refused;
    }
    EXPECT_EQ(ENOENT, FileError("a/missing"));
    EXPECT_EQ(ENOENT, FileError("missing/file"));
    EXPECT_EQ(ENOTDIR, FileError("a/b/file/more"));
    EXPECT_EQ(ENOTDIR, FolderError("a/b/file"));
    for (const char* noFile : {"pipe", "a"}) {
      EXPECT_NE(0, FileError(noFile, tagAccess::kRead)) << noFile;
      EXPECT_NE(0, FileError(noFile, tagAccess::kReadWrite)) << noFile;
      EXPECT_EQ(EEXIST, FileError(noFile, tagAccess::kCreate)) << noFile;
    }
    std::int64_t size = 0;
    for (const char* refused : {"folderLink/b/file", "fileLink", "deadLink", "pipe", "../x", ""}) {
      EXPECT_NE(0, SizedError(refused, size)) << refused;
      EXPECT_EQ(-1, size);
      EXPECT_NE(0, StampedError(refused, size)) << refused;
      EXPECT_EQ(-1, size);
      EXPECT_NE(0, AloneError(refused, size)) << refused;
      EXPECT_EQ(-1, size);
    }
    EXPECT_NE(0, AloneError("a", size));
    EXPECT_NE(0, StampedError("a", size));
    EXPECT_EQ(0, SizedError("a/b/file", size));
    EXPECT_EQ(6, size);
    EXPECT_EQ(0, StampedError("a/b/file", size));
    EXPECT_EQ(6, size);
    EXPECT_EQ(0, AloneError("a/b/file", size));
    EXPECT_EQ(6, size);
    EXPECT_FALSE(fs::exists(path / "nowhere"));
    EXPECT_FALSE(fs::exists(path / "a/new"));
  }

  ZRSystemFileSystem files;
  fs::path path;
  tagHandle folder = kNone;

 private:
  int Closed(tagHandle handle) {
    const int error = handle == kNone ? errno : 0;
    files.Close(handle);
    return error;
  }
};

// As on a system that doesn't know how to open below a folder in one call.
void ForbidOpeningInOneCall() {
  constexpr auto kNumber = static_cast<unsigned>(offsetof(seccomp_data, nr));
  sock_filter steps[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program{static_cast<unsigned short>(std::size(steps)), steps};
  ASSERT_EQ(0, ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
  ASSERT_EQ(0, ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program));
  ASSERT_EQ(-1, ::syscall(SYS_openat2, -1, "", nullptr, 0));
  ASSERT_EQ(ENOSYS, errno);
}

TEST_F(SystemFileSystem, RefusesEveryWayOutAndWhatIsNoFile) {
  BuildTraps();
  ExpectTrapsRefused();
}

TEST_F(SystemFileSystem, RefusesTheSameWhereItHasToGoStepByStep) {
  BuildTraps();
  const auto look = [this] {
    ForbidOpeningInOneCall();
    ExpectTrapsRefused();
    const tagHandle made = Open("a/b/new", tagAccess::kCreate);
    EXPECT_EQ(0640u, Mode("a/b/new"));
    files.Close(made);
    ::_exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
}

TEST_F(SystemFileSystem, LeavesNoHandleOpenBehindARefusal) {
  BuildTraps();
  const tagHandle before = Open("a/b/file");
  files.Close(before);
  (void)FileError("pipe", tagAccess::kRead);
  (void)FileError("a", tagAccess::kRead);
  (void)FileError("a/../x");
  const tagHandle after = Open("a/b/file");
  EXPECT_EQ(before, after);
  files.Close(after);
}

TEST_F(SystemFileSystem, OpensTheInstallationsFolderThroughALink) {
  BuildTraps();
  const tagHandle linked = files.OpenFolder((path / "folderLink").c_str());
  EXPECT_NE(kNone, linked);
  files.Close(linked);
  EXPECT_EQ(kNone, files.OpenFolder((path / "a/b/file").c_str()));
  EXPECT_EQ(ENOTDIR, errno);
}

TEST_F(SystemFileSystem, CreatesForOwnerAndGroupAlone) {
  const mode_t before = ::umask(022);
  const tagHandle file = Open("new", tagAccess::kCreate);
  EXPECT_TRUE(files.MakeFolder(folder, "month"));
  ::umask(before);
  ASSERT_NE(kNone, file);
  EXPECT_EQ(0640u, Mode("new"));
  EXPECT_EQ(0750u, Mode("month"));
  EXPECT_EQ(0, files.Size(file));
  files.Close(file);
}

TEST_F(SystemFileSystem, NeverCreatesOverATakenName) {
  WriteText("taken", "old");
  EXPECT_EQ(EEXIST, FileError("taken", tagAccess::kCreate));
  EXPECT_EQ("old", Text("taken"));
  EXPECT_FALSE(files.MakeFolder(folder, "taken"));
  EXPECT_EQ(EEXIST, errno);
}

TEST_F(SystemFileSystem, RenamesOnlyToAFreeName) {
  WriteText("one", "1");
  WriteText("two", "2");
  EXPECT_FALSE(files.Rename(folder, "one", "two"));
  EXPECT_EQ(EEXIST, errno);
  EXPECT_EQ("1", Text("one"));
  EXPECT_EQ("2", Text("two"));
  EXPECT_TRUE(files.Rename(folder, "one", "three"));
  EXPECT_FALSE(fs::exists(path / "one"));
  EXPECT_EQ("1", Text("three"));
  EXPECT_FALSE(files.Rename(folder, "one", "four"));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(SystemFileSystem, ChangesNamesOnlyDirectlyInTheFolder) {
  BuildTraps();
  WriteText("one", "1");
  for (const char* refused : {"a/x", "../x", "..", "/x", "", "a/"}) {
    EXPECT_FALSE(files.Rename(folder, "one", refused)) << refused;
    EXPECT_EQ(EXDEV, errno) << refused;
    EXPECT_FALSE(files.Rename(folder, refused, "x")) << refused;
    EXPECT_EQ(EXDEV, errno) << refused;
    EXPECT_FALSE(files.MakeFolder(folder, refused)) << refused;
    EXPECT_EQ(EXDEV, errno) << refused;
    EXPECT_FALSE(files.Remove(folder, refused)) << refused;
    EXPECT_EQ(EXDEV, errno) << refused;
  }
  EXPECT_FALSE(files.Remove(folder, "a/b/file"));
  EXPECT_EQ("inside", Text("a/b/file"));
}

TEST_F(SystemFileSystem, RemovesAFileAndALinkButNoFolder) {
  BuildTraps();
  EXPECT_TRUE(files.Remove(folder, "fileLink"));
  EXPECT_EQ("inside", Text("a/b/file"));
  EXPECT_FALSE(files.Remove(folder, "a"));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(files.Remove(folder, "missing"));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(SystemFileSystem, ReadsAndWritesByPosition) {
  const tagHandle file = Open("new", tagAccess::kCreate);
  EXPECT_EQ(5, files.Write(file, "world", 5, 6));
  EXPECT_EQ(6, files.Write(file, "hello ", 6, 0));
  EXPECT_EQ(11, files.Size(file));
  char text[32];
  EXPECT_EQ(11, files.Read(file, text, sizeof text, 0));
  EXPECT_EQ("hello world", std::string(text, 11));
  EXPECT_EQ(3, files.Read(file, text, sizeof text, 8));
  EXPECT_EQ(0, files.Read(file, text, sizeof text, 11));
  EXPECT_EQ(0, files.Read(file, text, sizeof text, 1000));
  EXPECT_TRUE(files.Truncate(file, 5));
  EXPECT_TRUE(files.Truncate(file, 7));
  EXPECT_EQ(std::string("hello\0\0", 7), Text("new"));
  EXPECT_TRUE(files.Sync(file));
  EXPECT_TRUE(files.SyncFolder(folder));
  EXPECT_TRUE(files.SyncAll(file));
  files.Close(file);
}

TEST_F(SystemFileSystem, FailsWithoutAHandleAndWithoutTheRight) {
  WriteText("file", "text");
  const tagHandle reader = Open("file", tagAccess::kRead);
  EXPECT_EQ(-1, files.Write(reader, "x", 1, 0));
  EXPECT_FALSE(files.Truncate(reader, 0));
  EXPECT_FALSE(files.TryLock(reader));
  EXPECT_EQ(-1, files.Size(folder));
  EXPECT_EQ(-1, files.Write(reader, "x", 1, ~std::uint64_t{0}));
  files.Close(reader);
  files.Close(kNone);
  char byte = 0;
  EXPECT_EQ(-1, files.Read(kNone, &byte, 1, 0));
  EXPECT_EQ(EBADF, errno);
  EXPECT_EQ(-1, files.Size(kNone));
  EXPECT_FALSE(files.Sync(kNone));
  EXPECT_FALSE(files.SyncFolder(kNone));
  EXPECT_FALSE(files.SyncAll(kNone));
  EXPECT_FALSE(files.TryLock(kNone));
  EXPECT_EQ("text", Text("file"));
}

TEST_F(SystemFileSystem, LocksOutASecondHandleOfTheSameProcess) {
  WriteText("file", "");
  const tagHandle first = Open("file");
  const tagHandle second = Open("file");
  EXPECT_TRUE(files.TryLock(first));
  EXPECT_TRUE(files.TryLock(first));
  EXPECT_FALSE(files.TryLock(second));
  EXPECT_EQ(EAGAIN, errno);
  const tagHandle third = Open("file");
  files.Close(third);  // gives back nothing that it hasn't
  EXPECT_FALSE(files.TryLock(second));
  files.Close(first);
  EXPECT_TRUE(files.TryLock(second));
  files.Close(second);
}

TEST_F(SystemFileSystem, OpensAFileAloneIfNobodyHasIt) {
  WriteText("file", "text");
  std::int64_t size = 0;
  bool isTaken = false;
  const tagHandle first = files.OpenAlone(folder, "file", isTaken, size);
  EXPECT_TRUE(isTaken);
  EXPECT_EQ(4, size);
  EXPECT_EQ(4, files.Write(first, "more", 4, 4));
  const tagHandle second = files.OpenAlone(folder, "file", isTaken, size);
  EXPECT_NE(kNone, second);
  EXPECT_FALSE(isTaken);
  EXPECT_EQ(8, size);
  files.Close(first);
  EXPECT_TRUE(files.TryLock(second));
  files.Close(second);
}

TEST_F(SystemFileSystem, AStampTellsAFileFromWhatItBecomes) {
  WriteText("file", "text");
  ZRFileSystem::tagStamp first, opened, later;
  ASSERT_TRUE(files.Stamp(folder, "file", first));
  EXPECT_EQ(4, first.size);
  EXPECT_FALSE(first.isSettled) << "it has just been written";
  const tagHandle file = files.OpenStamped(folder, "file", opened);
  ASSERT_NE(kNone, file);
  files.Close(file);
  EXPECT_TRUE(opened.IsSame(first));
  ASSERT_TRUE(files.Stamp(folder, "file", later));
  EXPECT_TRUE(later.IsSame(first));
  WriteText("file", "longer");
  ASSERT_TRUE(files.Stamp(folder, "file", later));
  EXPECT_FALSE(later.IsSame(first));
  WriteText("other", "text");
  fs::rename(path / "other", path / "file");
  ASSERT_TRUE(files.Stamp(folder, "file", later));
  EXPECT_EQ(4, later.size);
  EXPECT_FALSE(later.IsSame(first));
}

// The system counts the time of a change in steps of some milliseconds.
TEST_F(SystemFileSystem, AStampTellsABytesChangeInPlace) {
  constexpr int kMost = 1'000'000;
  WriteText("file", "text");
  ZRFileSystem::tagStamp before, later;
  ASSERT_TRUE(files.Stamp(folder, "file", before));
  const tagHandle file = Open("file");
  int changes = 0;
  do {
    EXPECT_EQ(1, files.Write(file, "T", 1, 0));
    ASSERT_TRUE(files.Stamp(folder, "file", later));
  } while (later.IsSame(before) && ++changes < kMost);
  files.Close(file);
  EXPECT_LT(changes, kMost);
  EXPECT_EQ(before.size, later.size);
  EXPECT_EQ(before.number, later.number);
}

TEST_F(SystemFileSystem, AFileThatHasNotChangedForLongIsSettled) {
  ZRFileSystem::tagStamp stamp;
  const tagHandle settings = files.OpenFolder("/etc");
  ASSERT_TRUE(files.Stamp(settings, "passwd", stamp));
  EXPECT_TRUE(stamp.isSettled);
  files.Close(settings);
}

TEST_F(SystemFileSystem, OnlyAFileDirectlyInTheFolderHasAStamp) {
  fs::create_directory(path / "below");
  WriteText("below/file", "text");
  fs::create_symlink("below/file", path / "link");
  ZRFileSystem::tagStamp stamp;
  for (const char* const refused : {"below", "below/file", "link", "none", "..", ""})
    EXPECT_FALSE(files.Stamp(folder, refused, stamp)) << refused;
}

// A file of somebody else can't be opened in that way; it is opened all the same.
TEST_F(SystemFileSystem, ReadsFilesOfOthersToo) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs another user";
  WriteText("file", "text");
  ASSERT_EQ(0, ::chmod((path / "file").c_str(), 0666));
  ASSERT_EQ(0, ::chmod(path.c_str(), 0777));
  constexpr unsigned kNobody = 65534;
  const auto look = [this] {
    bool isTaken = false;
    std::int64_t size = 0;
    const bool isNobody = ::setresuid(kNobody, kNobody, kNobody) == 0;
    EXPECT_TRUE(isNobody);
    EXPECT_EQ(-1, ::openat(folder, "file", O_RDONLY | O_NOATIME));
    ZRFileSystem::tagStamp stamp;
    EXPECT_NE(kNone, files.OpenStamped(folder, "file", stamp));
    EXPECT_NE(kNone, files.OpenSized(folder, "file", size));
    EXPECT_NE(kNone, files.OpenAlone(folder, "file", isTaken, size));
    EXPECT_TRUE(isTaken);
    ::_exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(look(), ::testing::ExitedWithCode(0), "");
}

TEST_F(SystemFileSystem, HandlesAreClosedInEveryProgramStarted) {
  BuildTraps();
  const tagHandle file = Open("new", tagAccess::kCreate);
  const tagHandle below = files.OpenFolder(folder, "a/b");
  for (const tagHandle handle : {file, folder, below})
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(handle, F_GETFD));
  files.Close(below);
  files.Close(file);
}

TEST_F(SystemFileSystem, PlatformOpensNoPipe) {
  BuildTraps();
  for (const char* mode : {"r", "w", "a"}) {
    EXPECT_EQ(nullptr, ZRPlatform::System().OpenFile((path / "pipe").string(), mode)) << mode;
    EXPECT_EQ(EINVAL, errno);
  }
  std::FILE* file = ZRPlatform::System().OpenFile((path / "fileLink").string(), "r");
  ASSERT_NE(nullptr, file);
  (void)std::fclose(file);
}

}  // namespace

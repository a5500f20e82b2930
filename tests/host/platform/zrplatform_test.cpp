#include "host/platform/zrplatform.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"

namespace {

TEST(SystemPlatform, SemaphoreBehavesAsInVirtualTime) {
  ZRSemaphore gate(1);
  ASSERT_TRUE(gate.Acquire(1));
  EXPECT_FALSE(gate.Acquire(1));
  gate.Release();
  gate.Release();
  EXPECT_TRUE(gate.Acquire(0));
  EXPECT_FALSE(gate.Acquire(0));
}

TEST(SystemPlatform, MutexCountsEveryTurnOfManyThreads) {
  constexpr int kTurns = 20'000;
  ZRMutex mutex;
  int count = 0;
  {
    ZRThread threads[4];
    for (ZRThread& thread : threads) {
      ASSERT_TRUE(thread.Start([&] {
        for (int i = 0; i < kTurns; ++i) {
          const ZRMutexLock lock(mutex);
          ++count;
        }
      }));
    }
  }
  EXPECT_EQ(4 * kTurns, count);
}

TEST(SystemPlatform, SharedMutexKeepsWritersApart) {
  ZRSharedMutex mutex;
  int value = 0;
  std::atomic<int> torn{0};
  {
    ZRThread threads[4];
    for (int i = 0; i < 4; ++i) {
      const bool writes = i % 2 == 0;
      ASSERT_TRUE(threads[i].Start([&, writes] {
        for (int turn = 0; turn < 2000; ++turn) {
          if (writes) {
            const ZRExclusiveLock lock(mutex);
            ++value;
            ++value;
          } else {
            const ZRSharedLock lock(mutex);
            if (value % 2 != 0) ++torn;
          }
        }
      }));
    }
  }
  EXPECT_EQ(0, torn);
  EXPECT_EQ(2 * 2 * 2000, value);
}

TEST(SystemPlatform, StateWordIsSeenByTheOneThatWaits) {
  ZRStateWord state(1);
  ZRThread thread;
  ASSERT_TRUE(thread.Start([&] { state.Set(2); }));
  state.WaitWhile(1);
  EXPECT_EQ(2u, state.Get());
}

TEST(SystemPlatform, ProcessGivesItsExitCode) {
  ZRPlatform& platform = ZRPlatform::System();
  ZRProcessStart start{"/bin/sh", {"-c", "exit 7"}, ""};
  const int process = platform.StartProcess(start);
  ASSERT_NE(0, process);
  int exitCode = 0;
  ASSERT_TRUE(platform.WaitProcess(process, 10'000, exitCode));
  EXPECT_EQ(7, exitCode);
}

TEST(SystemPlatform, EndedProcessTellsItsSignal) {
  ZRPlatform& platform = ZRPlatform::System();
  const int process = platform.StartProcess({"/bin/sleep", {"60"}, ""});
  ASSERT_NE(0, process);
  int exitCode = 0;
  EXPECT_FALSE(platform.WaitProcess(process, 0, exitCode));
  platform.EndProcess(process);
  ASSERT_TRUE(platform.WaitProcess(process, 10'000, exitCode));
  EXPECT_EQ(128 + 9, exitCode);
}

TEST(SystemPlatform, ExitCodeThatSomebodyElseTookIsToldAsNone) {
  ZRPlatform& platform = ZRPlatform::System();
  const int process = platform.StartProcess({"/bin/sh", {"-c", "exit 7"}, ""});
  ASSERT_NE(0, process);
  ASSERT_EQ(process, ::waitpid(process, nullptr, 0));
  int exitCode = 0;
  ASSERT_TRUE(platform.WaitProcess(process, 10'000, exitCode));
  EXPECT_EQ(ZRPlatform::kNoExitCode, exitCode);
}

TEST(SystemPlatform, StateWordIsReplacedOnlyIfItIsAsExpected) {
  ZRStateWord state(2);
  EXPECT_FALSE(state.Replace(1, 3));
  EXPECT_EQ(2u, state.Get());
  ZRThread thread;
  ASSERT_TRUE(thread.Start([&] { EXPECT_TRUE(state.Replace(2, 3)); }));
  state.WaitUntil(3);
}

// A folder that goes with the object.
class PrivateFile : public ::testing::Test {
 protected:
  PrivateFile() : folder(::mkdtemp(pattern.data())) {}
  ~PrivateFile() override { std::filesystem::remove_all(folder); }
  // 0 if the file could be made, else why not.
  [[nodiscard]] int Create(const std::string& name) const {
    errno = 0;
    std::FILE* const file = ZRPlatform::System().CreatePrivateFile(folder + "/" + name);
    if (file == nullptr) return errno;
    EXPECT_NE(EOF, std::fputs("text", file));
    return std::fclose(file);
  }

  std::string pattern =
      (std::filesystem::temp_directory_path() / "tessaly-private-XXXXXX").string();
  const std::string folder;
};

TEST_F(PrivateFile, IsItsOwnersAloneWhateverTheMask) {
  const mode_t mask = ::umask(0);
  EXPECT_EQ(0, Create("new"));
  (void)::umask(mask);
  struct stat found {};
  ASSERT_EQ(0, ::stat((folder + "/new").c_str(), &found));
  EXPECT_EQ(0600u, found.st_mode & 07777u);
  EXPECT_EQ(4, found.st_size);
}

TEST_F(PrivateFile, IsNeverOneThatWasThereBefore) {
  EXPECT_EQ(0, Create("name"));
  EXPECT_EQ(EEXIST, Create("name"));
  std::filesystem::create_symlink(folder + "/elsewhere", folder + "/link");
  EXPECT_EQ(EEXIST, Create("link"));
  EXPECT_FALSE(std::filesystem::exists(folder + "/elsewhere"));
}

TEST_F(PrivateFile, NeedsAFolderThatNobodyElseMayEnter) {
  EXPECT_EQ(ENOENT, Create("none/name"));
  for (const auto others : {std::filesystem::perms::group_exec, std::filesystem::perms::others_read,
                            std::filesystem::perms::others_write}) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all | others);
    EXPECT_EQ(EACCES, Create("name"));
  }
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
  EXPECT_EQ(0, Create("name"));
}

TEST(SystemPlatform, MissingProgramIsAFailedStart) {
  EXPECT_EQ(0, ZRPlatform::System().StartProcess({"/nowhere/at/all", {}, ""}));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace

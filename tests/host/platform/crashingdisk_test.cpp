#include "support/crashingdisk.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>
#include <string>

#include "host/platform/zrvirtualtime.h"

namespace {

using tagAccess = ZRFileSystem::tagAccess;
using tagHandle = ZRFileSystem::tagHandle;
using tagBytes = ZRCrashingDisk::tagBytes;
using tagCall = ZRCrashingDisk::tagCall;
using tagEnd = ZRCrashingDisk::tagEnd;
using tagLasting = ZRCrashingDisk::tagLasting;
constexpr tagHandle kNone = ZRFileSystem::kNone;

tagBytes Bytes(const std::string& text) {
  return {text.begin(), text.end()};
}

class CrashingDisk : public ::testing::Test {
 protected:
  static constexpr int kRounds = 400;

  CrashingDisk() { OpenOutermost(); }

  void OpenOutermost() {
    folder = disk.OpenFolder("/data");
    ASSERT_NE(kNone, folder);
  }
  [[nodiscard]] tagHandle Open(const char* name, tagAccess access = tagAccess::kReadWrite) {
    return disk.OpenFile(folder, name, access);
  }
  bool Write(tagHandle file, const std::string& text, std::uint64_t at = 0) {
    return disk.Write(file, text.data(), text.size(), at) == static_cast<std::int64_t>(text.size());
  }
  [[nodiscard]] std::string Read(tagHandle file, std::size_t count = 1 << 16) {
    std::string text(count, '\0');
    const std::int64_t moved = disk.Read(file, text.data(), count, 0);
    text.resize(moved > 0 ? static_cast<std::size_t>(moved) : 0);
    return text;
  }
  // What the disk has of a file, as text; "-" if there is none.
  [[nodiscard]] std::string Text(const char* path) const {
    const tagBytes* content = disk.Content(path);
    return content != nullptr ? std::string(content->begin(), content->end()) : "-";
  }
  // Every name that the disk knows.
  [[nodiscard]] std::string Names() const {
    std::string names;
    for (const ZRCrashingDisk::tagFound& found : disk.Snapshot())
      names += (names.empty() ? "" : " ") + found.path;
    return names;
  }
  // How often each result came, over many disks with the same steps.
  std::map<std::string, int> Results(const std::function<void()>& steps,
                                     const std::function<std::string()>& result) {
    std::map<std::string, int> results;
    for (int round = 0; round < kRounds; ++round) {
      disk.Reset(static_cast<std::uint64_t>(round));
      OpenOutermost();
      steps();
      ++results[result()];
    }
    return results;
  }
  static std::set<std::string> Keys(const std::map<std::string, int>& results) {
    std::set<std::string> keys;
    for (const auto& each : results)
      keys.insert(each.first);
    return keys;
  }

  ZRCrashingDisk disk;
  tagHandle folder = kNone;
};
using tagSet = std::set<std::string>;

// --- as any disk ---

TEST_F(CrashingDisk, ReadsWhatWasWritten) {
  const tagHandle file = Open("f", tagAccess::kCreate);
  EXPECT_TRUE(Write(file, "world", 6));
  EXPECT_TRUE(Write(file, "hello "));
  EXPECT_EQ("hello world", Read(file));
  EXPECT_EQ("hel", Read(file, 3));
  EXPECT_EQ(11, disk.Size(file));
  EXPECT_TRUE(disk.Truncate(file, 5));
  EXPECT_TRUE(disk.Truncate(file, 7));
  EXPECT_EQ(std::string("hello\0\0", 7), Read(file));
  char byte = 0;
  EXPECT_EQ(0, disk.Read(file, &byte, 1, 7));
  EXPECT_EQ(0, disk.Read(file, &byte, 1, ~std::uint64_t{0}));
  EXPECT_EQ(-1, disk.Write(file, "x", 1, ~std::uint64_t{0}));
  EXPECT_EQ(EFBIG, errno);
}

TEST_F(CrashingDisk, RefusesWhatTheSystemsDiskRefuses) {
  disk.Put("a/b/file", Bytes("inside"));
  for (const char* refused : {"..", "../x", "/a/b/file", "", "a//b/file", "a/b/"}) {
    EXPECT_EQ(kNone, Open(refused)) << refused;
    EXPECT_EQ(EXDEV, errno) << refused;
    EXPECT_EQ(kNone, disk.OpenFolder(folder, refused)) << refused;
    EXPECT_EQ(EXDEV, errno) << refused;
  }
  const auto fails = [](bool done, int error) { return !done && errno == error; };
  EXPECT_TRUE(fails(Open("missing") != kNone, ENOENT));
  EXPECT_TRUE(fails(Open("missing/file", tagAccess::kCreate) != kNone, ENOENT));
  EXPECT_TRUE(fails(Open("a/b/file/x") != kNone, ENOTDIR));
  EXPECT_TRUE(fails(Open("a") != kNone, EINVAL));
  EXPECT_TRUE(fails(Open("a/b/file", tagAccess::kCreate) != kNone, EEXIST));
  EXPECT_TRUE(fails(disk.OpenFolder(folder, "a/b/file") != kNone, ENOTDIR));
  EXPECT_TRUE(fails(disk.MakeFolder(folder, "a"), EEXIST));
  EXPECT_TRUE(fails(disk.MakeFolder(folder, "a/c"), EXDEV));
  EXPECT_TRUE(fails(disk.Remove(folder, "a"), EISDIR));
  EXPECT_TRUE(fails(disk.Remove(folder, "missing"), ENOENT));
  EXPECT_TRUE(fails(disk.Rename(folder, "missing", "x"), ENOENT));
  EXPECT_TRUE(fails(disk.Rename(folder, "a", "../x"), EXDEV));
  EXPECT_TRUE(fails(Open(std::string(256, 'x').c_str(), tagAccess::kCreate) != kNone,  //
                    ENAMETOOLONG));
  const tagHandle reader = Open("a/b/file", tagAccess::kRead);
  EXPECT_TRUE(fails(disk.Truncate(reader, 0), EBADF));
  EXPECT_TRUE(fails(disk.TryLock(reader), EBADF));
  EXPECT_EQ("inside", Read(reader));
}

TEST_F(CrashingDisk, NeverReplacesByRename) {
  disk.Put("one", Bytes("1"));
  disk.Put("two", Bytes("2"));
  EXPECT_FALSE(disk.Rename(folder, "one", "two"));
  EXPECT_EQ(EEXIST, errno);
  EXPECT_TRUE(disk.Rename(folder, "one", "three"));
  EXPECT_EQ("three two", Names());
  EXPECT_EQ("1", Text("three"));
}

TEST_F(CrashingDisk, LocksOutASecondHandleUntilClose) {
  disk.Put("f", {});
  const tagHandle first = Open("f");
  const tagHandle second = Open("f");
  EXPECT_TRUE(disk.TryLock(first));
  EXPECT_TRUE(disk.TryLock(first));
  EXPECT_FALSE(disk.TryLock(second));
  EXPECT_EQ(EAGAIN, errno);
  disk.Close(Open("f"));
  EXPECT_FALSE(disk.TryLock(second));
  disk.Close(first);
  EXPECT_TRUE(disk.TryLock(second));
}

TEST_F(CrashingDisk, ARemovedFileLivesOnInItsHandles) {
  disk.Put("f", Bytes("text"));
  const tagHandle file = Open("f");
  EXPECT_TRUE(disk.Remove(folder, "f"));
  EXPECT_EQ("text", Read(file));
  EXPECT_EQ("", Names());
}

TEST_F(CrashingDisk, IsTheDiskOfAVirtualTime) {
  ZRVirtualTime time;
  ZRFileSystem* const systems = &ZRPlatform::Get().Files();
  time.SetFiles(&disk);
  EXPECT_EQ(&disk, &ZRPlatform::Get().Files());
  time.SetFiles(nullptr);
  EXPECT_EQ(systems, &ZRPlatform::Get().Files());
}

TEST_F(CrashingDisk, TakesTheSameWayForTheSameSeed) {
  const auto result = [this](std::uint64_t seed) {
    disk.Reset(seed);
    OpenOutermost();
    const tagHandle file = Open("f", tagAccess::kCreate);
    (void)disk.SyncFolder(folder);
    (void)Write(file, std::string(20'000, 'x'));
    disk.PowerCut();
    return Text("f");
  };
  std::set<std::string> results;
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    const std::string first = result(seed);
    EXPECT_EQ(first, result(seed));
    results.insert(first);
  }
  EXPECT_LT(5u, results.size());
}

// --- a power cut ---

TEST_F(CrashingDisk, TakesTheSameWayWhateverItHasHeldBefore) {
  const auto way = [this] {
    disk.Reset(7);
    OpenOutermost();
    std::string all;
    for (int i = 0; i < 40; ++i) {
      const tagHandle file = Open(("file " + std::to_string(i)).c_str(), tagAccess::kCreate);
      EXPECT_TRUE(Write(file, "text"));
      disk.Fail(tagCall::kSyncAll, 1, EIO);
      EXPECT_FALSE(disk.SyncAll(folder));
      disk.PowerCut();
      disk.Restart();
      OpenOutermost();
      all += Names() + ";";
    }
    return all;
  };
  const std::string first = way();
  disk.Reset(1);
  OpenOutermost();
  for (int i = 0; i < 100; ++i)
    (void)Open(("other " + std::to_string(i)).c_str(), tagAccess::kCreate);
  EXPECT_EQ(first, way());
}

TEST_F(CrashingDisk, MayLoseWhatIsNotSynced) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("old"));
        EXPECT_TRUE(Write(Open("f"), "new"));
        disk.PowerCut();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"new", "old"}), Keys(results));
  EXPECT_LT(kRounds / 4, results.at("old"));
  EXPECT_LT(kRounds / 4, results.at("new"));
}

TEST_F(CrashingDisk, NeverLosesWhatIsSynced) {
  for (const bool syncsAll : {false, true}) {
    const auto results = Results(
        [this, syncsAll] {
          const tagHandle file = Open("f", tagAccess::kCreate);
          EXPECT_TRUE(Write(file, std::string(9000, 'x')));
          EXPECT_TRUE(disk.Truncate(file, 5000));
          EXPECT_TRUE(Write(file, "y", 6000));
          if (syncsAll) {
            EXPECT_TRUE(disk.SyncAll(folder));
          } else {
            EXPECT_TRUE(disk.Sync(file));
            EXPECT_TRUE(disk.SyncFolder(folder));
          }
          disk.PowerCut();
        },
        [this] { return Text("f"); });
    EXPECT_EQ((tagSet{std::string(5000, 'x') + std::string(1000, '\0') + "y"}), Keys(results));
  }
}

TEST_F(CrashingDisk, KeepsAWriteSectorBySector) {
  std::set<std::string> results;
  const auto firstOfSectors = [this] {
    const std::string text = Text("f");
    EXPECT_EQ(2048u, text.size());
    std::string firsts;
    for (std::size_t at = 0; at < text.size(); at += 512) {
      EXPECT_EQ(std::string(512, text[at]), text.substr(at, 512));
      firsts += text[at];
    }
    return firsts;
  };
  const auto counted = Results(
      [this] {
        disk.Put("f", tagBytes(2048, 'o'));
        EXPECT_TRUE(Write(Open("f"), std::string(2048, 'n')));
        disk.PowerCut();
      },
      firstOfSectors);
  EXPECT_EQ(16u, counted.size());
}

TEST_F(CrashingDisk, MayKeepAnEarlierWriteOfASector) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("0"));
        const tagHandle file = Open("f");
        EXPECT_TRUE(Write(file, "1"));
        EXPECT_TRUE(Write(file, "2"));
        disk.PowerCut();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"0", "1", "2"}), Keys(results));
}

TEST_F(CrashingDisk, MayKeepTheSizeWithoutTheBytes) {
  const auto results = Results(
      [this] {
        disk.Put("f", tagBytes(512, 'o'));
        EXPECT_TRUE(Write(Open("f"), std::string(512, 'n'), 512));
        disk.PowerCut();
      },
      [this] {
        const std::string text = Text("f");
        EXPECT_EQ(std::string(512, 'o'), text.substr(0, 512));
        const std::string grown = text.substr(512);
        if (grown.empty()) return "old size";
        if (grown == std::string(grown.size(), 'n')) return grown.size() == 512 ? "all" : "less";
        return grown == std::string(grown.size(), '\0') ? "zeros" : "garbage";
      });
  EXPECT_EQ((tagSet{"all", "garbage", "less", "old size", "zeros"}), Keys(results));
}

TEST_F(CrashingDisk, TruncatesAtOnceOrNotAtAll) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("long text"));
        EXPECT_TRUE(disk.Truncate(Open("f"), 4));
        disk.PowerCut();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"long", "long text"}), Keys(results));
}

TEST_F(CrashingDisk, NeverBringsBackWhatASyncedTruncationTook) {
  const auto results = Results(
      [this] {
        disk.Put("f", tagBytes(9000, 'o'));
        const tagHandle file = Open("f");
        EXPECT_TRUE(disk.Truncate(file, 10));
        EXPECT_TRUE(disk.Truncate(file, 5000));
        EXPECT_TRUE(disk.Sync(file));
        EXPECT_TRUE(Write(file, "o"));
        disk.PowerCut();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{std::string(10, 'o') + std::string(4990, '\0')}), Keys(results));
}

TEST_F(CrashingDisk, MayLoseANameButNotASyncedOne) {
  const auto results = Results(
      [this] {
        disk.Close(Open("synced", tagAccess::kCreate));
        EXPECT_TRUE(disk.MakeFolder(folder, "month"));
        EXPECT_TRUE(disk.SyncFolder(folder));
        const tagHandle file = Open("new", tagAccess::kCreate);
        EXPECT_TRUE(disk.Sync(file));  // its bytes, not its name
        disk.Close(Open("month/event", tagAccess::kCreate));
        disk.PowerCut();
      },
      [this] { return Names(); });
  EXPECT_EQ((tagSet{"month synced", "month month/event synced", "month new synced",
                    "month month/event new synced"}),
            Keys(results));
}

TEST_F(CrashingDisk, LosesASyncedNameWithTheFolderAboveIt) {
  const auto results = Results(
      [this] {
        EXPECT_TRUE(disk.MakeFolder(folder, "year"));
        const tagHandle year = disk.OpenFolder(folder, "year");
        disk.Close(disk.OpenFile(year, "event", tagAccess::kCreate));
        EXPECT_TRUE(disk.SyncFolder(year));
        disk.PowerCut();
      },
      [this] { return Names(); });
  EXPECT_EQ((tagSet{"", "year year/event"}), Keys(results));
}

TEST_F(CrashingDisk, RenamesAtOnceOrNotAtAll) {
  const auto results = Results(
      [this] {
        disk.Put("a", Bytes("text"));
        EXPECT_TRUE(disk.Rename(folder, "a", "b"));
        EXPECT_TRUE(disk.Rename(folder, "b", "c"));
        disk.PowerCut();
      },
      [this] { return Names() + "=" + Text(Names().c_str()); });
  EXPECT_EQ((tagSet{"a=text", "b=text", "c=text"}), Keys(results));
}

TEST_F(CrashingDisk, NeverHasTwoFilesOfOneName) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("old"));
        EXPECT_TRUE(disk.Rename(folder, "f", "aside"));
        const tagHandle file = Open("temporary", tagAccess::kCreate);
        EXPECT_TRUE(Write(file, "new"));
        EXPECT_TRUE(disk.Sync(file));
        EXPECT_TRUE(disk.Rename(folder, "temporary", "f"));
        disk.PowerCut();
      },
      [this] {
        int olds = 0;
        for (const auto& found : disk.Snapshot())
          olds += found.content == Bytes("old") ? 1 : 0;
        EXPECT_EQ(1, olds);
        return Names();
      });
  EXPECT_EQ((tagSet{"aside", "aside f", "aside temporary", "f", "f temporary"}), Keys(results));
}

TEST_F(CrashingDisk, MayBringBackARemovedFile) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("text"));
        EXPECT_TRUE(disk.Remove(folder, "f"));
        disk.PowerCut();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"-", "text"}), Keys(results));
}

TEST_F(CrashingDisk, ForgetsHandlesAndLocksInAnEnd) {
  for (const tagEnd end : {tagEnd::kPowerCut, tagEnd::kProcessDeath}) {
    disk.Reset(1);
    OpenOutermost();
    disk.Put("f", {});
    const tagHandle before = Open("f");
    EXPECT_TRUE(disk.TryLock(before));
    end == tagEnd::kPowerCut ? disk.PowerCut() : disk.ProcessDeath();
    EXPECT_EQ(0, disk.OpenHandles());
    EXPECT_EQ(-1, disk.Size(before));
    EXPECT_EQ(EBADF, errno);
    OpenOutermost();
    const tagHandle after = Open("f");
    disk.Close(before);
    EXPECT_TRUE(disk.TryLock(after));
    EXPECT_EQ(2, disk.OpenHandles());
  }
}

TEST_F(CrashingDisk, KeepsEverythingWhenOnlyTheProcessDies) {
  const auto results = Results(
      [this] {
        EXPECT_TRUE(Write(Open("f", tagAccess::kCreate), "text"));
        disk.ProcessDeath();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"text"}), Keys(results));
}

TEST_F(CrashingDisk, MayLosePowerAfterADeathToo) {
  const auto results = Results(
      [this] {
        EXPECT_TRUE(Write(Open("f", tagAccess::kCreate), "text"));
        disk.ProcessDeath();
        disk.PowerCut();
      },
      [this] { return Text("f") == "text" ? "kept" : "lost"; });
  EXPECT_EQ(2u, results.size());
}

// --- planned ends ---

TEST_F(CrashingDisk, EndsInTheCourseOfACall) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("old"));
        const tagHandle file = Open("f");
        disk.EndAt(2, tagEnd::kProcessDeath);
        EXPECT_EQ(3, disk.Size(file));
        EXPECT_FALSE(disk.IsDown());
        EXPECT_EQ(-1, disk.Write(file, "new", 3, 0));
        EXPECT_EQ(EIO, errno);
        EXPECT_TRUE(disk.IsDown());
        EXPECT_EQ(kNone, disk.OpenFolder("/data"));
        EXPECT_EQ(EIO, errno);
        disk.Restart();
        OpenOutermost();
        EXPECT_NE(kNone, Open("f"));
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"ned", "new", "nld", "old"}), Keys(results));
}

TEST_F(CrashingDisk, MayHaveDoneTheSyncInWhichThePowerFailed) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("old"));
        const tagHandle file = Open("f");
        EXPECT_TRUE(Write(file, "new"));
        disk.EndAt(1, tagEnd::kPowerCut);
        EXPECT_FALSE(disk.Sync(file));
        disk.Restart();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"new", "old"}), Keys(results));
  EXPECT_LT(results.at("old"), results.at("new"));
}

// --- faults ---

TEST_F(CrashingDisk, FailsTheNthCallOnceOrForEver) {
  disk.Put("f", Bytes("text"));
  const tagHandle file = Open("f");
  disk.Fail(tagCall::kSize, 2, EACCES);
  EXPECT_EQ(4, disk.Size(file));
  EXPECT_EQ("text", Read(file));
  EXPECT_EQ(-1, disk.Size(file));
  EXPECT_EQ(EACCES, errno);
  EXPECT_EQ(4, disk.Size(file));
  disk.Fail(tagCall::kAny, 2, EMFILE, tagLasting::kForEver);
  EXPECT_EQ(4, disk.Size(file));
  EXPECT_EQ(-1, disk.Size(file));
  EXPECT_EQ(EMFILE, errno);
  EXPECT_EQ(kNone, Open("f"));
  disk.Heal();
  EXPECT_EQ(4, disk.Size(file));
}

TEST_F(CrashingDisk, FailsEachKindOfCall) {
  disk.Put("f", Bytes("text"));
  const tagHandle file = Open("f");
  char byte = 0;
  const std::map<tagCall, std::function<bool()>> kinds = {
      {tagCall::kOpenFolder, [&] { return disk.OpenFolder("/") != kNone; }},
      {tagCall::kOpenFile, [&] { return Open("f") != kNone; }},
      {tagCall::kSize, [&] { return disk.Size(file) >= 0; }},
      {tagCall::kRead, [&] { return disk.Read(file, &byte, 1, 0) == 1; }},
      {tagCall::kWrite, [&] { return disk.Write(file, "t", 1, 0) == 1; }},
      {tagCall::kTruncate, [&] { return disk.Truncate(file, 4); }},
      {tagCall::kTryLock, [&] { return disk.TryLock(file); }},
      {tagCall::kSync, [&] { return disk.Sync(file); }},
      {tagCall::kSyncFolder, [&] { return disk.SyncFolder(folder); }},
      {tagCall::kSyncAll, [&] { return disk.SyncAll(folder); }},
      {tagCall::kMakeFolder, [&] { return disk.MakeFolder(folder, "m"); }},
      {tagCall::kRename, [&] { return disk.Rename(folder, "m", "n"); }},
      {tagCall::kRemove, [&] { return disk.Remove(folder, "f"); }},
  };
  EXPECT_EQ(static_cast<std::size_t>(tagCall::kAny), kinds.size());
  for (const auto& [kind, call] : kinds) {
    const std::uint64_t callsBefore = disk.Calls();
    disk.Fail(kind, 1, EIO);
    EXPECT_FALSE(call()) << static_cast<unsigned>(kind);
    EXPECT_EQ(EIO, errno);
    EXPECT_TRUE(call()) << static_cast<unsigned>(kind);
    EXPECT_EQ(callsBefore + 2, disk.Calls());
  }
}

TEST_F(CrashingDisk, FailsAtRandomAsOftenAsAsked) {
  disk.Put("f", Bytes("text"));
  const tagHandle file = Open("f");
  disk.FailAtRandom(tagCall::kSize, 300, EIO);
  int failures = 0;
  for (int i = 0; i < 1000; ++i) {
    failures += disk.Size(file) < 0 ? 1 : 0;
    EXPECT_EQ("text", Read(file));
  }
  EXPECT_LT(200, failures);
  EXPECT_GT(400, failures);
  disk.FailAtRandom(tagCall::kAny, 1000, EIO);
  EXPECT_EQ("", Read(file));
}

TEST_F(CrashingDisk, AFailedWriteMayHaveWrittenAPart) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("oo"));
        disk.Fail(tagCall::kWrite, 1, EIO);
        EXPECT_FALSE(Write(Open("f"), "nn"));
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"nn", "no", "oo"}), Keys(results));
}

TEST_F(CrashingDisk, MovesLessThanAskedFor) {
  disk.Put("f", tagBytes(100, 'x'));
  const tagHandle file = Open("f");
  disk.MoveLess(1000);
  std::set<std::size_t> moved;
  for (int i = 0; i < 200; ++i) {
    moved.insert(Read(file, 4).size());
    moved.insert(10u + static_cast<std::size_t>(disk.Write(file, "abcd", 4, 0)));
  }
  EXPECT_EQ((std::set<std::size_t>{1, 2, 3, 11, 12, 13}), moved);
}

TEST_F(CrashingDisk, IsFullAtItsCapacity) {
  disk.Put("other", tagBytes(10, 'x'));
  disk.Put("f", Bytes("12345"));
  const tagHandle file = Open("f");
  disk.SetCapacity(18);
  EXPECT_EQ(3, disk.Write(file, "67890", 5, 5));
  EXPECT_EQ(-1, disk.Write(file, "90", 2, 8));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ(5, disk.Write(file, "abcde", 5, 0));
  EXPECT_TRUE(disk.Remove(folder, "other"));
  EXPECT_EQ(2, disk.Write(file, "90", 2, 8));
  EXPECT_EQ("abcde67890", Text("f"));
}

// --- a failed sync ---

TEST_F(CrashingDisk, LosesThePagesOfAFailedSyncForGood) {
  for (const tagCall kind : {tagCall::kSync, tagCall::kSyncAll}) {
    const auto results = Results(
        [this, kind] {
          disk.Put("f", Bytes("old"));
          const tagHandle file = Open("f");
          EXPECT_TRUE(Write(file, "new"));
          disk.Fail(kind, 1, EIO);
          EXPECT_FALSE(kind == tagCall::kSync ? disk.Sync(file) : disk.SyncAll(file));
          EXPECT_TRUE(disk.Sync(file));
          disk.PowerCut();
        },
        [this] { return Text("f"); });
    EXPECT_EQ((tagSet{"new", "old"}), Keys(results));
    EXPECT_LT(kRounds / 2, results.at("old"));
  }
}

TEST_F(CrashingDisk, MayShowTheOldBytesAfterAFailedSync) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("old"));
        const tagHandle file = Open("f");
        EXPECT_TRUE(Write(file, "new and more"));
        disk.Fail(tagCall::kSync, 1, EIO);
        EXPECT_FALSE(disk.Sync(file));
        (void)Read(file);
      },
      [this] { return Text("f"); });
  const std::string old = "old" + std::string(9, '\0');
  EXPECT_EQ((tagSet{"new and more", old}), Keys(results));
  EXPECT_LT(results.at(old), kRounds / 4);
}

TEST_F(CrashingDisk, KeepsWhatIsWrittenAgainAfterAFailedSync) {
  const auto results = Results(
      [this] {
        disk.Put("f", Bytes("old"));
        const tagHandle file = Open("f");
        EXPECT_TRUE(Write(file, "new"));
        disk.Fail(tagCall::kSync, 1, EIO);
        EXPECT_FALSE(disk.Sync(file));
        EXPECT_TRUE(Write(file, "new"));
        EXPECT_TRUE(disk.Sync(file));
        disk.PowerCut();
      },
      [this] { return Text("f"); });
  EXPECT_EQ((tagSet{"new"}), Keys(results));
}

TEST_F(CrashingDisk, LeavesNamesToTheNextSyncOfTheFolder) {
  const auto results = Results(
      [this] {
        disk.Close(Open("f", tagAccess::kCreate));
        disk.Fail(tagCall::kSyncFolder, 1, EIO);
        EXPECT_FALSE(disk.SyncFolder(folder));
        EXPECT_TRUE(disk.SyncFolder(folder));
        disk.PowerCut();
      },
      [this] { return Names(); });
  EXPECT_EQ((tagSet{"f"}), Keys(results));
}

// --- looking ---

TEST_F(CrashingDisk, ShowsAllFoldersAndFiles) {
  disk.Put("2026/05/Pump", Bytes("p"));
  disk.Put("2026/05/Fan", Bytes("f"));
  disk.Put("2026/05/Pump", Bytes("q"));
  EXPECT_EQ("2026 2026/05 2026/05/Fan 2026/05/Pump", Names());
  EXPECT_EQ("q", Text("2026/05/Pump"));
  EXPECT_EQ("-", Text("2026/05"));
  EXPECT_EQ("-", Text("2026/06/Pump"));
  EXPECT_EQ("-", Text("2026/05/Pump/x"));
  disk.PowerCut();
  EXPECT_EQ("2026 2026/05 2026/05/Fan 2026/05/Pump", Names());
  disk.Reset(2);
  EXPECT_EQ("", Names());
}

TEST_F(CrashingDisk, KeepsOrderOverManyEnds) {
  // A counter that is written aside and renamed only goes forward, by what was acknowledged.
  int acknowledged = 0;
  for (int round = 0; round < kRounds; ++round) {
    OpenOutermost();
    disk.EndAt(1 + static_cast<std::uint64_t>(round) % 9, tagEnd::kPowerCut);
    const std::string next = std::to_string(acknowledged + 1);
    (void)disk.Remove(folder, "temporary");
    const tagHandle file = Open("temporary", tagAccess::kCreate);
    const bool isMade = Write(file, next) && disk.Sync(file) &&
                        disk.Rename(folder, "temporary", next.c_str()) && disk.SyncFolder(folder);
    if (!disk.IsDown()) disk.PowerCut();
    disk.Restart();
    const bool isThere = Text(next.c_str()) == next;
    EXPECT_TRUE(isThere || !isMade);
    EXPECT_TRUE(isThere || Text(next.c_str()) == "-");
    if (isThere) ++acknowledged;
    disk.Heal();
  }
  EXPECT_LT(kRounds / 4, acknowledged);
  for (int i = 1; i <= acknowledged; ++i)
    EXPECT_EQ(std::to_string(i), Text(std::to_string(i).c_str()));
}

}  // namespace

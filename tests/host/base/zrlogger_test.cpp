#include "host/base/zrlogger.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zrtext.h"

namespace {

namespace fs = std::filesystem;

// 2026-11-21T09:00:05.123Z, which is one hour later in Madrid.
constexpr std::int64_t kNow = 1'795'251'605'123;

// Puts the log back as it is at the start of a process.
class Log : public testing::Test {
 protected:
  Log() { EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  ~Log() override {
    SetLogSink(nullptr, nullptr);
    Setup(ZRLogTarget::kTerminal, kLogDelivery);
    EXPECT_TRUE(ZRDateTime::SetLocalZone(""));
  }

  static void Setup(ZRLogTarget target, int level) {
    ZRLogSettings settings;
    settings.target = target;
    settings.level = level;
    ZRString reason;
    EXPECT_TRUE(SetupLog(settings, reason)) << reason.Text();
  }

  // What `write` sends to standard error.
  template <typename Write>
  static std::string Shown(Write write) {
    testing::internal::CaptureStderr();
    write();
    return testing::internal::GetCapturedStderr();
  }

  // A platform whose files can be made to fail.
  class CTime : public ZRVirtualTime {
   public:
    CTime() : ZRVirtualTime(kNow) {}
    std::FILE* OpenFile(const std::string& path, const char* mode) override {
      struct stat status {};
      if (::stat(path.c_str(), &status) == 0) rightsBefore = status.st_mode & 07777;
      if (full) return ZRVirtualTime::OpenFile("/dev/full", mode);
      if (!failing) return ZRVirtualTime::OpenFile(path, mode);
      errno = EIO;
      return nullptr;
    }
    bool RenameFile(const std::string& from, const std::string& to) override {
      return !failingMoves && ZRVirtualTime::RenameFile(from, to);
    }
    mode_t rightsBefore = 0;  // of the file, before it was opened last
    bool failing = false;
    bool full = false;
    bool failingMoves = false;
  };
  CTime time;
};

TEST_F(Log, TerminalLineHasLocalTimeAndTheLevelsName) {
  EXPECT_EQ("2026-11-21 10:00:05.123 [warn ] 3 of \"caf\xc3\xa9\"\n",
            Shown([] { logger(kLogDelivery, L"%d of \"%ls\"", 3, L"caf\x00e9"); }));
}

TEST_F(Log, EveryLevelHasItsName) {
  SetLogLevel(kLogTrace);
  const std::string shown = Shown([] {
    for (int level = -1; level <= 5; ++level)
      logger(level, L"x");
  });
  const std::string at = "2026-11-21 10:00:05.123 [";
  EXPECT_EQ(at + "trace] x\n" + at + "trace] x\n" + at + "warn ] x\n" + at + "info ] x\n" + at +
                "error] x\n" + at + "crit ] x\n" + at + "crit ] x\n",
            shown);
}

TEST_F(Log, JournalLineHasItsPriority) {
  Setup(ZRLogTarget::kJournal, kLogTrace);
  EXPECT_EQ("<7>x\n<4>x\n<5>x\n<3>x\n<2>x\n", Shown([] {
              for (int level = kLogTrace; level <= kLogInvariant; ++level)
                logger(level, L"x");
            }));
}

TEST_F(Log, IsSilentBelowItsLevel) {
  EXPECT_FALSE(IsLogged(kLogTrace));
  EXPECT_TRUE(IsLogged(kLogDelivery));
  EXPECT_EQ("", Shown([] { logger(kLogTrace, L"x"); }));
  SetLogLevel(kLogConfiguration);
  EXPECT_FALSE(IsLogged(kLogNotice));
  EXPECT_TRUE(IsLogged(kLogConfiguration));
  EXPECT_EQ("", Shown([] { logger(kLogNotice, L"x"); }));
}

TEST_F(Log, ReadsNoTextAsAPattern) {
  const std::string shown = Shown([] { logger(kLogInvariant, L"%ls", L"{} {0} %v %d %s %n"); });
  EXPECT_EQ("2026-11-21 10:00:05.123 [crit ] {} {0} %v %d %s %n\n", shown);
}

// --- the sink of the tests ---

struct tagLines {
  std::vector<int> levels;
  std::vector<ZRWString> lines;
};

void Keep(void* context, int level, const ZRWString& line) {
  tagLines& kept = *static_cast<tagLines*>(context);
  kept.levels.push_back(level);
  kept.lines.push_back(line);
}

class LogSink : public Log {
 protected:
  LogSink() { SetLogSink(&Keep, &kept); }
  ZRWString Text(const ZRWString& text) {
    logger(kLogInvariant, L"%ls", text.Text());
    return kept.lines.back();
  }
  tagLines kept;
};

TEST_F(LogSink, GetsLevelAndTextInPlaceOfTheTarget) {
  EXPECT_EQ("", Shown([] { logger(kLogConfiguration, L"bad %ls", L"key"); }));
  EXPECT_EQ(std::vector<int>{kLogConfiguration}, kept.levels);
  ASSERT_EQ(1u, kept.lines.size());
  EXPECT_TRUE(kept.lines[0] == L"bad key");
}

TEST_F(LogSink, EndsWithNull) {
  SetLogSink(nullptr, nullptr);
  EXPECT_NE("", Shown([] { logger(kLogInvariant, L"x"); }));
  EXPECT_TRUE(kept.lines.empty());
}

TEST_F(LogSink, ControlsAreShownAsEscapes) {
  EXPECT_TRUE(Text(L"a\nb\r\tc\x1b[31m\x7f") == L"a\\nb\\r\\tc\\x1b[31m\\x7f");
  EXPECT_TRUE(Text(L"\x80\x85\x9f\xa0") == L"\\u0080\\u0085\\u009f\xa0");
  EXPECT_TRUE(Text(L"\x2027\x2028\x2029\x202a") == L"\x2027\\u2028\\u2029\x202a");
  EXPECT_TRUE(Text(L"back\\slash caf\x00e9 \xd83d\xde00") == L"back\\slash caf\x00e9 \xd83d\xde00");
}

TEST_F(LogSink, TextIsCutAtItsLimit) {
  const ZRWString limit(std::wstring(kMaximumLogText, L'x').c_str());
  EXPECT_TRUE(Text(limit) == limit);
  EXPECT_TRUE(Text(limit + L"y") == limit + L"...");
}

TEST_F(LogSink, TextIsNotCutWithinAPair) {
  const ZRWString front(std::wstring(kMaximumLogText - 1, L'x').c_str());
  EXPECT_TRUE(Text(front + L"\xd83d\xde00") == front + L"...");
}

TEST(LogThreads, WriteWholeLinesFromEverywhere) {
  constexpr std::size_t kLines = 300;
  tagLines kept;
  SetLogSink(&Keep, &kept);
  {
    ZRThread threads[3];
    for (ZRThread& thread : threads) {
      ASSERT_TRUE(thread.Start([] {
        for (std::size_t i = 0; i < kLines; ++i)
          logger(kLogInvariant, L"%ls", L"line");
      }));
    }
  }
  SetLogSink(nullptr, nullptr);
  EXPECT_EQ(3 * kLines, kept.lines.size());
}

// --- files ---

class LogFile : public Log {
 protected:
  LogFile() {
    std::string pattern = (fs::temp_directory_path() / "zrlogXXXXXX").string();
    folder = ::mkdtemp(pattern.data());
    settings.target = ZRLogTarget::kFile;
    settings.level = kLogDelivery;
    settings.file = Utf8ToUtf16(Path());
  }
  ~LogFile() override {
    Setup(ZRLogTarget::kTerminal, kLogDelivery);  // closes the file
    fs::remove_all(folder);
  }

  [[nodiscard]] std::string Path(const std::string& behind = "") const {
    return (folder / "tessaly.log").string() + behind;
  }
  [[nodiscard]] std::string Content(const std::string& behind = "") const {
    std::ifstream file(Path(behind), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  [[nodiscard]] mode_t Rights(const std::string& behind = "") const {
    struct stat status {};
    EXPECT_EQ(0, ::stat(Path(behind).c_str(), &status));
    return status.st_mode & 07777;
  }
  bool Open() { return SetupLog(settings, reason); }

  static std::string Line(const std::string& text) {
    return "2026-11-21 10:00:05.123 [warn ] " + text + "\n";
  }

  fs::path folder;
  ZRLogSettings settings;
  ZRString reason;
};

TEST_F(LogFile, GetsTheLinesOfTheTerminal) {
  ASSERT_TRUE(Open()) << reason.Text();
  EXPECT_EQ("", Shown([] { logger(kLogDelivery, L"one\ntwo"); }));
  EXPECT_EQ(Line("one\\ntwo"), Content());
}

TEST_F(LogFile, IsAppendedTo) {
  std::ofstream(Path()) << "before\n";
  ASSERT_TRUE(Open());
  logger(kLogDelivery, L"x");
  EXPECT_EQ("before\n" + Line("x"), Content());
}

TEST_F(LogFile, IsMadeForOwnerAndGroup) {
  const mode_t before = ::umask(0);
  EXPECT_TRUE(Open());
  (void)::umask(before);
  EXPECT_EQ(0640u, Rights());
  EXPECT_EQ(0640u, time.rightsBefore);  // at no time open to others
}

TEST_F(LogFile, IsClosedToOthersWhenItIsThereAlready) {
  std::ofstream(Path()) << "before\n";
  ASSERT_EQ(0, ::chmod(Path().c_str(), 0666));
  ASSERT_TRUE(Open());
  EXPECT_EQ(0660u, Rights());
}

TEST_F(LogFile, TraceWaitsForAFlush) {
  settings.level = kLogTrace;
  ASSERT_TRUE(Open());
  logger(kLogTrace, L"x");
  EXPECT_EQ("", Content());
  FlushLog();
  EXPECT_EQ("2026-11-21 10:00:05.123 [trace] x\n", Content());
}

TEST_F(LogFile, RotatesAndKeepsTheNumberOfFiles) {
  settings.fileSize = 100;  // two lines
  settings.files = 2;
  ASSERT_TRUE(Open());
  for (int i = 1; i <= 7; ++i)
    logger(kLogDelivery, L"%d", i);
  EXPECT_EQ(Line("7"), Content());
  EXPECT_EQ(Line("5") + Line("6"), Content(".1"));
  EXPECT_EQ(Line("3") + Line("4"), Content(".2"));
  EXPECT_FALSE(fs::exists(Path(".3")));
  EXPECT_EQ(0640u, Rights());
}

TEST_F(LogFile, StartsAnewIfNoneIsKept) {
  settings.fileSize = 100;
  settings.files = 0;
  ASSERT_TRUE(Open());
  for (int i = 1; i <= 3; ++i)
    logger(kLogDelivery, L"%d", i);
  EXPECT_EQ(Line("3"), Content());
  EXPECT_FALSE(fs::exists(Path(".1")));
}

TEST_F(LogFile, GoesOnInTheSameFileIfItCannotBeMoved) {
  settings.fileSize = 100;
  ASSERT_TRUE(Open());
  time.failingMoves = true;
  for (int i = 1; i <= 3; ++i)
    logger(kLogDelivery, L"%d", i);
  EXPECT_EQ(Line("1") + Line("2") + Line("3"), Content());
  time.failingMoves = false;
  logger(kLogDelivery, L"4");
  logger(kLogDelivery, L"5");
  EXPECT_EQ(Line("5"), Content());
  EXPECT_EQ(Line("1") + Line("2") + Line("3") + Line("4"), Content(".1"));
}

TEST_F(LogFile, TellsHowManyLinesItHasLost) {
  settings.fileSize = 40;  // one line
  ASSERT_TRUE(Open());
  logger(kLogDelivery, L"1");
  time.failing = true;
  logger(kLogDelivery, L"2");
  logger(kLogDelivery, L"3");
  time.failing = false;
  logger(kLogDelivery, L"4");
  EXPECT_EQ(Line("1"), Content(".1"));
  EXPECT_EQ("2 lines of the log were lost here\n" + Line("4"), Content());
}

TEST_F(LogFile, TellsHowManyLinesAFullDiskHasCost) {
  time.full = true;
  ASSERT_TRUE(Open());
  logger(kLogDelivery, L"1");
  logger(kLogDelivery, L"2");
  logger(kLogDelivery, L"3");
  time.full = false;
  logger(kLogDelivery, L"4");
  EXPECT_EQ("3 lines of the log were lost here\n" + Line("4"), Content());
}

TEST_F(LogFile, IsARegularFile) {
  settings.file = L"/dev/full";
  EXPECT_FALSE(Open());
  settings.file = Utf8ToUtf16(folder.string());
  EXPECT_FALSE(Open());
}

TEST_F(LogFile, RefusesWhatItCannotOpenAndStaysAsItWas) {
  settings.file = Utf8ToUtf16((folder / "missing" / "tessaly.log").string());
  EXPECT_FALSE(Open());
  EXPECT_NE(std::string::npos, std::string(reason.Text()).find("missing/tessaly.log"));
  EXPECT_NE(std::string::npos, std::string(reason.Text()).find("No such file"));
  EXPECT_EQ(Line("x"), Shown([] { logger(kLogDelivery, L"x"); }));
}

}  // namespace

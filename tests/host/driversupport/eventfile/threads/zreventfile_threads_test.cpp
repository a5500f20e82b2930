// One data file, to which threads of two processes append while others read it, on the system's
// own disk, with the thread that makes records durable.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/transitions.h"
#include "host/driversupport/eventfile/zreventfilesync.h"
#include "host/platform/zrthread.h"
#include "support/runningprogram.h"
#include "support/sitefolder.h"

namespace {

constexpr const char* kFileVariable = "ZR_THREADS_FILE";  // where the other process finds it
constexpr std::uint64_t kEach = 200;                      // records of a writer, at the least
constexpr std::uint64_t kWriters = 2;                     // of a process
constexpr std::uint64_t kApart = 1'000'000;               // between the occurrences of two writers

// Appends as an event whose records wait in a queue, until each is written. False if one never is.
bool AppendAll(const ZRWString& path, std::uint64_t writer, std::uint64_t begin,
               std::uint64_t end) {
  const auto patience = std::chrono::steady_clock::now() + RunningProgram::kPatience;
  for (std::uint64_t i = begin; i != end; ++i) {
    while (!Save(path, {writer * kApart + i, Date(static_cast<double>(i)), 1, "text"}))
      if (std::chrono::steady_clock::now() > patience) return false;
  }
  return true;
}

class EventFileThreads : public ::testing::Test {
 protected:
  EventFileThreads() {
    sync.SetDurability(ZRDurability::kAdaptive);
    sync.Start();
  }
  ~EventFileThreads() override { sync.Stop(); }

  // Two writers of this process.
  static void Write(const ZRWString& path, std::uint64_t first) {
    std::array<ZRThread, kWriters> writers;
    std::atomic<int> done{0};
    for (std::uint64_t i = 0; i < kWriters; ++i) {
      ASSERT_TRUE(writers[i].Start([&path, &done, writer = first + i] {
        if (AppendAll(path, writer, 0, kEach)) ++done;
      }));
    }
    for (ZRThread& writer : writers)
      writer.Join();
    EXPECT_EQ(done, static_cast<int>(kWriters));
  }
  // Each record of each writer once, and those of one writer in order.
  static void ExpectWhole(const ZRWString& path, std::uint64_t writers) {
    std::vector<std::uint64_t> next(writers);
    for (const tagTransition& record : Load(path)) {
      ASSERT_NE(record, kSpoiled);
      const std::uint64_t writer = record.occurrence / kApart;
      ASSERT_LT(writer, writers);
      ASSERT_EQ(record.occurrence % kApart, next[writer]++) << "of writer " << writer;
    }
    for (const std::uint64_t count : next)
      EXPECT_GE(count, kEach);
  }

  ZREventFileSync& sync = ZREventFileSync::Get();
  SiteFolder site;
  const ZRWString path = Wide((site.path / "data/2024/03/Boiler 03-2024.suc").string());
};

// The other process of the test below, which starts it; by itself it does nothing.
TEST_F(EventFileThreads, OfTheOtherProcessAppendToo) {
  const char* const file = std::getenv(kFileVariable);  // NOLINT(concurrency-mt-unsafe)
  if (file == nullptr) GTEST_SKIP() << "it is started by the test of two processes";
  Write(Wide(file), kWriters);
}

TEST_F(EventFileThreads, OfTwoProcessesAppendEachRecordOnceAndInOrder) {
  if (std::getenv(kFileVariable) != nullptr) GTEST_SKIP();  // NOLINT(concurrency-mt-unsafe)
  ASSERT_TRUE(AppendAll(path, 0, 0, 1));                    // so that there is a file to read
  std::atomic<bool> isOver{false};
  ZRThread reader;
  ASSERT_TRUE(reader.Start([&] {
    int count = 0;
    while (!isOver) {
      ZREventFile file(true);
      ASSERT_TRUE(file.Open(path.Text(), true));
      ASSERT_GE(file.numRecords, count) << "a record has gone";
      count = file.numRecords;
      ASSERT_TRUE(file.GoRecord(count - 1)) << "record " << count - 1 << " isn't whole";
    }
  }));
  const std::string name = Narrow(path);
  ::setenv(kFileVariable, name.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  RunningProgram other({std::filesystem::read_symlink("/proc/self/exe").string(),
                        "--gtest_filter=EventFileThreads.OfTheOtherProcessAppendToo"});
  ::unsetenv(kFileVariable);  // NOLINT(concurrency-mt-unsafe)
  std::array<ZRThread, 2> writers;
  std::atomic<int> done{0};
  ASSERT_TRUE(writers[0].Start([&] { done += AppendAll(path, 0, 1, kEach) ? 1 : 0; }));
  ASSERT_TRUE(writers[1].Start([&] { done += AppendAll(path, 1, 0, kEach) ? 1 : 0; }));
  EXPECT_EQ(other.Wait(), 0) << other.Out() << other.Error();
  for (ZRThread& writer : writers)
    writer.Join();
  isOver = true;
  reader.Join();
  EXPECT_EQ(done, 2);
  ExpectWhole(path, 2 * kWriters);
}

// What is put off is made durable by the thread of the sync, while others append.
TEST_F(EventFileThreads, OfTheSyncMakesDurableWhatOthersPutOff) {
  if (std::getenv(kFileVariable) != nullptr) GTEST_SKIP();  // NOLINT(concurrency-mt-unsafe)
  Write(path, 0);
  EXPECT_GT(sync.Pending(), 0) << "400 records in less than 8 s";
  std::uint64_t count = kEach;
  const auto patience = std::chrono::steady_clock::now() + RunningProgram::kPatience;
  // Once it has come, less is pending than before, for it takes all at once.
  for (int before = 0; sync.Pending() >= before; ++count) {
    ASSERT_LT(std::chrono::steady_clock::now(), patience) << "nobody makes them durable";
    before = sync.Pending();
    ASSERT_TRUE(AppendAll(path, 0, count, count + 1));
  }
  ExpectWhole(path, kWriters);
}

}  // namespace

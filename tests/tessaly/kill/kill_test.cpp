#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "support/eventxml.h"
#include "support/runningprogram.h"
#include "support/sitefolder.h"
#include "support/tessalyprogram.h"

namespace {

constexpr int kEvents = 480;
constexpr int kGroups = 8;  // each with a thread of its own
constexpr int kSwitches = 8;

// How often the program is killed.
int Kills() {
  constexpr int kDefault = 3;
  const char* const text = std::getenv("ZR_KILLS");
  const int kills = text != nullptr ? std::atoi(text) : 0;
  return kills > 0 ? kills : kDefault;
}

struct tagRecord {
  uuid id;
  double date = 0.0;
  double value = 0.0;
  bool operator==(const tagRecord&) const = default;
};

// One data file as this process, which is another one than the writer, has seen it grow.
class CSeenFile {
 public:
  explicit CSeenFile(const std::filesystem::path& toRead) : path(Wide(toRead.string())) {}

  // Takes what is new. Everything has to be whole.
  void ReadOn() {
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), true)) << Narrow(path);
    const auto known = records.size();
    ASSERT_GE(static_cast<std::size_t>(file.numRecords), known) << "a record has gone";
    if (known != 0) {
      ASSERT_EQ(Read(file, known - 1), records.back()) << "a record has changed";
    }
    for (std::size_t i = known; i < static_cast<std::size_t>(file.numRecords); ++i)
      records.push_back(Read(file, i));
  }
  // The same for all that was read before; and no step is there twice.
  void ReadAgain() {
    ReadOn();
    ZREventFile file(true);
    ASSERT_TRUE(file.Open(path.Text(), true));
    std::set<std::pair<uuid, double>> steps;
    for (std::size_t i = 0; i < records.size(); ++i) {
      ASSERT_EQ(Read(file, i), records[i]) << Narrow(path) << ", record " << i;
      ASSERT_TRUE(steps.insert({records[i].id, records[i].value}).second)
          << Narrow(path) << ", record " << i << " is there twice";
    }
  }
  [[nodiscard]] std::size_t Records() const { return records.size(); }

 private:
  static tagRecord Read(ZREventFile& file, std::size_t index) {
    tagRecord record;
    EXPECT_TRUE(file.GoRecord(static_cast<int>(index))) << "record " << index;
    file.EventId(record.id);
    record.date = file.DateValue();
    record.value = file.EventValue();
    EXPECT_TRUE(record.value == 1.0 || record.value == 2.0);
    return record;
  }

  const ZRWString path;
  std::vector<tagRecord> records;
};

// A site whose events write as fast as they can, and everything that was ever seen of them.
class KilledProgram : public ::testing::Test {
 protected:
  KilledProgram() {
    std::string events;
    std::string groups;
    for (int i = 0; i < kGroups; ++i)
      groups += GroupXml(GroupId(i), "G" + std::to_string(i));
    for (int i = 0; i < kEvents; ++i) {
      events += EventXml("Event " + std::to_string(i), i + 1)
                    .Condition("[sim.S" + std::to_string(i % kSwitches) + "] = 1")
                    .With("annotation", "text of event " + std::to_string(i))
                    .Record()
                    .Group(GroupId(i % kGroups))
                    .Xml();
    }
    site.Write("config/default.xeve", "<main><eventsGroups>" + groups + "</eventsGroups><events>" +
                                          events + "</events></main>");
  }

  static std::string GroupId(int number) {
    return "bbbbbbbb-0000-4000-8000-00000000000" + std::to_string(number);
  }
  void Settings(const std::string& durability) const {
    std::string toml = "http.port = 0\nlog.level = 3\nhistory.durability = \"" + durability +
                       "\"\n[[driver]]\ntype = \"simulator\"\nname = \"sim\"\nperiod_ms = 100\n";
    for (int i = 0; i < kSwitches; ++i)
      toml += "[[driver.variable]]\nname = \"S" + std::to_string(i) +
              "\"\nform = \"switch\"\non_s = 1\noff_s = 1\noffset_s = " + std::to_string(i % 2) +
              "\n";
    site.Write("tessaly.toml", toml);
  }
  RunningProgram Program(const std::vector<std::string>& words) const {
    std::vector<std::string> all{TessalyProgram()};
    all.insert(all.end(), words.begin(), words.end());
    all.push_back(site.path.string());
    return RunningProgram(all);
  }
  std::size_t Seen() const {
    std::size_t sum = 0;
    for (const auto& [path, file] : files)
      sum += file->Records();
    return sum;
  }
  // One look of a reader beside the writer.
  void Look(void (CSeenFile::*how)()) {
    std::error_code ignored;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(site.path / "data", ignored)) {
      if (entry.path().extension() != ".suc") continue;
      auto& file = files[entry.path().string()];
      if (file == nullptr) file = std::make_unique<CSeenFile>(entry.path());
      (file.get()->*how)();
      if (HasFatalFailure()) return;
    }
  }
  // Reads beside the program until it has written something, and for some time more; then kills it.
  void ReadUntilTheKill(RunningProgram& program) {
    using Clock = std::chrono::steady_clock;
    const std::size_t before = Seen();
    const auto patience = Clock::now() + RunningProgram::kPatience;
    // Short rounds are killed in the first wave of activations, long ones in the next waves.
    const bool isLong = random() % 4 == 0;
    const auto more = std::chrono::milliseconds(random() % (isLong ? 1500 : 200));
    Clock::time_point end = patience;
    while (Clock::now() < end) {
      Look(&CSeenFile::ReadOn);
      if (HasFatalFailure()) break;
      if (end == patience && Seen() > before) end = Clock::now() + more;
    }
    program.Signal(SIGKILL);
    EXPECT_EQ(program.Wait(), -1) << program.Error();
    EXPECT_GT(Seen(), before) << program.Error();
  }

  SiteFolder site;
  std::map<std::string, std::unique_ptr<CSeenFile>> files;
  std::mt19937 random{20261121};
};

TEST_F(KilledProgram, KeepsEveryRecordThatWasSeenAndDoublesNone) {
  const char* const durabilities[] = {"strict", "adaptive", "off"};
  const int kills = Kills();
  for (int round = 0; round < kills; ++round) {
    Settings(durabilities[round % 3]);
    RunningProgram program = Program({"run", "--port", "0"});
    RunningProgram beside = Program({"history", "verify"});
    ASSERT_NO_FATAL_FAILURE(ReadUntilTheKill(program));
    EXPECT_EQ(beside.Wait(), 0) << "beside the writer: " << beside.Out();
    ASSERT_NO_FATAL_FAILURE(Look(&CSeenFile::ReadAgain));
    RunningProgram behind = Program({"history", "verify"});
    ASSERT_EQ(behind.Wait(), 0) << behind.Out();
    ASSERT_NE(behind.Out().find("damaged: 0 files, 0 records\n"), std::string::npos);
  }
  std::printf("%d kills, %zu files, %zu records\n", kills, files.size(), Seen());
}

}  // namespace

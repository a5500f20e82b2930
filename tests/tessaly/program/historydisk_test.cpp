// The history of a running site whose disk is full, can't be written, or has lost the data folder:
// what waits is written once, in order, after the cure, and the log says why it waited.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/zreventfile.h"
#include "tessaly/program/programfixture.h"

namespace {

using Path = std::filesystem::path;

// A record in the words of the log.
struct tagStep {
  std::string word;  // "active" or "inactive"
  uuid occurrence;
};

// Events that begin or end every second, with texts so long that a page of the disk is soon full.
class HistoryDisk : public Program {
 protected:
  static constexpr int kEvents = 4;

  HistoryDisk() {
    std::string events;
    for (int i = 0; i < kEvents; ++i) {
      events += EventXml(Name(i), i + 1)
                    .Condition("[sim.S" + std::to_string(i % 2) + "] = 1")
                    .With("annotation", std::string(3000, static_cast<char>('a' + i)))
                    .Record()
                    .Xml();
    }
    site.Write("config/default.xeve", "<main><events>" + events + "</events></main>");
    site.Write("tessaly.toml",
               "history.durability = \"strict\"\n[[driver]]\ntype = \"simulator\"\n"
               "name = \"sim\"\nperiod_ms = 100\n" +
                   Switch(0) + Switch(1));
  }
  static std::string Name(int number) { return "Event " + std::to_string(number); }
  static std::string Switch(int number) {
    const std::string text = std::to_string(number);
    return "[[driver.variable]]\nname = \"S" + text +
           "\"\nform = \"switch\"\non_s = 1\noff_s = 1\noffset_s = " + text + "\n";
  }

  // As Start, by way of another program, `before`.
  void StartBy(std::vector<std::string> before) {
    before.insert(before.end(), {TessalyProgram(), "run", site.path.string(), "--port", "0"});
    program = std::make_unique<RunningProgram>(std::move(before));
    ASSERT_TRUE(program->WaitFor(" shows what is active\n")) << program->Error();
  }
  // Reads the log until every event has made a step more than what is known of it.
  void WaitForASecond() {
    for (int i = 0; i < kEvents; ++i)
      ASSERT_TRUE(program->WaitFor("active: " + Name(i))) << program->Error();
  }
  void WaitForTheFault() {
    ASSERT_TRUE(program->WaitFor(" records of the history wait to be written: data files "))
        << program->Error();
  }
  void WaitForTheCure() {
    ASSERT_TRUE(program->WaitFor("] no record of the history waits any more\n"))
        << program->Error();
  }

  // The words of an event's steps in the log as far as it was read.
  [[nodiscard]] std::vector<std::string> Said(int number) const {
    std::vector<std::string> words;
    std::istringstream log(program->Error());
    for (std::string line; std::getline(log, line);) {
      for (const char* const word : {"active", "inactive"}) {
        const std::string start = std::string("] ") + word + ": " + Name(number);
        if (line.find(start) != std::string::npos) words.emplace_back(word);
      }
    }
    return words;
  }
  // What is in the data files of an event.
  [[nodiscard]] static std::vector<tagStep> Kept(const Path& data, int number) {
    std::vector<tagStep> kept;
    std::set<Path> paths;  // in order, should a month end meanwhile
    for (const auto& entry : std::filesystem::recursive_directory_iterator(data)) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with(Name(number) + " ") && name.ends_with(".suc"))
        paths.insert(entry.path());
    }
    for (const Path& path : paths) {
      ZREventFile file(true);
      EXPECT_TRUE(file.Open(Wide(path.string()).Text(), true)) << path;
      for (int i = 0; i < file.numRecords; ++i) {
        EXPECT_TRUE(file.GoRecord(i)) << path << ", record " << i;
        kept.push_back({file.EventValue() == 1.0 ? "active" : "inactive", {}});
        file.EventId(kept.back().occurrence);
      }
    }
    return kept;
  }
  // The last steps that the log tells of are the ones in the files, but for at most `lost` at the
  // beginning; each once, and an occurrence ends before the next one begins.
  void ExpectAllKept(const Path& data, const std::array<std::size_t, kEvents>& lost) const {
    for (int i = 0; i < kEvents; ++i) {
      SCOPED_TRACE(Name(i));
      std::vector<std::string> said = Said(i);
      const std::vector<tagStep> kept = Kept(data, i);
      ASSERT_GE(kept.size() + lost[static_cast<std::size_t>(i)], said.size());
      ASSERT_LE(kept.size(), said.size());
      said.erase(said.begin(), said.end() - static_cast<std::ptrdiff_t>(kept.size()));
      for (std::size_t step = 0; step < kept.size(); ++step) {
        EXPECT_EQ(kept[step].word, said[step]) << "step " << step;
        if (step == 0) continue;
        const bool isEnd = kept[step].word == "inactive";
        EXPECT_EQ(kept[step].occurrence == kept[step - 1].occurrence, isEnd) << "step " << step;
      }
    }
  }
  // The log tells what went wrong with that errno, and each thing once.
  void ExpectToldOnce(int number) const {
    const std::string why = std::generic_category().message(number);
    std::map<std::string, int> told;  // the trouble and its cause, without the file
    std::istringstream log(program->Error());
    for (std::string line; std::getline(log, line);) {
      const std::size_t trouble = line.find("] History: ");
      if (trouble == std::string::npos || !line.ends_with(why)) continue;
      ++told[line.substr(trouble, line.find(": /", trouble) - trouble)];
    }
    EXPECT_FALSE(told.empty()) << program->Error();
    for (const auto& [trouble, times] : told)
      EXPECT_EQ(times, 1) << trouble;
  }

  const std::array<std::size_t, kEvents> kNothing{};
};

// The folder of the year is a small disk of its own, which only the program and this test see.
// Other files of the data folder stay open for writing, which a disk that is to be read-only
// doesn't allow.
class HistorySmallDisk : public HistoryDisk {
 protected:
  void SetUp() override {
    const std::string mount =
        "mount -t tmpfs -o size=256k,mode=0700 history '" + disk.string() + "'";
    std::filesystem::create_directory(disk);
    holder = std::make_unique<RunningProgram>(
        std::vector<std::string>{"unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
                                 mount + " && echo mounted >&2 && exec sleep 60"});
    if (holder->WaitFor("mounted\n")) return;
    const bool isForbidden =
        holder->Error().find("not permitted") != std::string::npos ||
        holder->Error().find("ermission denied") != std::string::npos ||
        holder->Error().find("unshare failed: No space left") != std::string::npos;
    ASSERT_TRUE(isForbidden) << holder->Error();
    GTEST_SKIP() << "the system allows no disk of one's own: " << holder->Error();
  }

  static std::string ThisYear() {
    const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    return std::to_string(static_cast<int>(std::chrono::year_month_day(today).year()));
  }
  // The beginning of a command that sees the disk.
  [[nodiscard]] std::vector<std::string> Inside() const {
    return {"nsenter", "--target", std::to_string(holder->Id()),
            "--user",  "--mount",  "--preserve-credentials"};
  }
  // The same disk, seen from here.
  [[nodiscard]] Path Data() const {
    return "/proc/" + std::to_string(holder->Id()) + "/root" + disk.string();
  }
  // "ro" or "rw"; again while a record is being written, which keeps the disk busy.
  void Remount(const std::string& how) const {
    std::string complaint;
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::vector<std::string> words = Inside();
      words.insert(words.end(), {"mount", "-o", "remount," + how, disk.string()});
      RunningProgram mount(std::move(words));
      if (mount.Wait() == 0) return;
      complaint = mount.Error();
    }
    FAIL() << complaint;
  }
  // Leaves no byte free.
  void Fill() const {
    const int file = ::open((Data() / "filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0) << std::strerror(errno);
    const std::string piece(4096, 'x');
    while (::write(file, piece.data(), piece.size()) > 0) {
    }
    EXPECT_EQ(errno, ENOSPC);
    (void)::close(file);
  }

  const Path disk = site.path / "data" / ThisYear();
  std::unique_ptr<RunningProgram> holder;
};

TEST_F(HistorySmallDisk, ThatIsFullKeepsRecordsWaitingUntilThereIsRoom) {
  ASSERT_NO_FATAL_FAILURE(StartBy(Inside()));
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(Fill());
  ASSERT_NO_FATAL_FAILURE(WaitForTheFault());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_TRUE(std::filesystem::remove(Data() / "filler"));
  ASSERT_NO_FATAL_FAILURE(WaitForTheCure());
  EXPECT_EQ(Stop(), kDone) << program->Error();
  ExpectAllKept(Data(), kNothing);
  ExpectToldOnce(ENOSPC);
}

TEST_F(HistorySmallDisk, ThatIsFullFromTheBeginningGetsAllRecordsOnceThereIsRoom) {
  ASSERT_NO_FATAL_FAILURE(Fill());
  ASSERT_NO_FATAL_FAILURE(StartBy(Inside()));
  ASSERT_NO_FATAL_FAILURE(WaitForTheFault());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_TRUE(std::filesystem::remove(Data() / "filler"));
  ASSERT_NO_FATAL_FAILURE(WaitForTheCure());
  EXPECT_EQ(Stop(), kDone) << program->Error();
  ExpectAllKept(Data(), kNothing);
  ExpectToldOnce(ENOSPC);
}

TEST_F(HistorySmallDisk, ThatIsReadOnlyKeepsRecordsWaitingUntilItIsNot) {
  ASSERT_NO_FATAL_FAILURE(StartBy(Inside()));
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(Remount("ro"));
  ASSERT_NO_FATAL_FAILURE(WaitForTheFault());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(Remount("rw"));
  ASSERT_NO_FATAL_FAILURE(WaitForTheCure());
  EXPECT_EQ(Stop(), kDone) << program->Error();
  ExpectAllKept(Data(), kNothing);
  ExpectToldOnce(EROFS);
}

TEST_F(HistoryDisk, ThatLostItsFolderGetsWhatCameSinceOnceTheFolderIsBack) {
  ASSERT_NO_FATAL_FAILURE(StartBy({}));
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  // A record that is written meanwhile may make something in it.
  std::error_code failure;
  do {
    (void)std::filesystem::remove_all(site.path / "data", failure);
  } while (failure);
  ASSERT_NO_FATAL_FAILURE(WaitForTheFault());
  std::array<std::size_t, kEvents> saidBefore{};  // a bound of what went with the folder
  for (int i = 0; i < kEvents; ++i)
    saidBefore[static_cast<std::size_t>(i)] = Said(i).size();
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_NO_FATAL_FAILURE(WaitForASecond());
  ASSERT_TRUE(std::filesystem::create_directory(site.path / "data"));
  ASSERT_NO_FATAL_FAILURE(WaitForTheCure());
  EXPECT_EQ(Stop(), kDone) << program->Error();
  ExpectAllKept(site.path / "data", saidBefore);
  ExpectToldOnce(ENOENT);
}

}  // namespace

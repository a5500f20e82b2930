// Lives of a program that appends, on a disk that fails and loses power: whatever happens, what
// was confirmed is there, once, in order, and the file opens.

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "host/driversupport/eventfile/datafolder.h"
#include "support/chance.h"
#include "support/logcapture.h"

namespace {

using tagCall = ZRCrashingDisk::tagCall;

std::uint64_t Asked(const char* variable, std::uint64_t usual) {
  const char* const asked = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
  return asked != nullptr ? std::strtoull(asked, nullptr, 10) : usual;
}

// The environment asks for more rounds, or for others, such as the one that failed.
struct tagSeeds {
  std::uint64_t first = Asked("ZR_CRASH_SEED", 1);
  std::uint64_t behind = first + Asked("ZR_CRASH_ROUNDS", 500);
};

class EventFileCrash : public testing::Test {
 protected:
  // A record and what is known of it.
  struct tagKnown {
    tagTransition transition;
    std::size_t event = 0;
    bool isConfirmed = false;  // by Update, in this life
    bool isDurable = false;    // as far as the program was told, in any life
  };

  // With so many events of one name.
  void PlayAll(ZRDurability durability, std::size_t events = 1) {
    const tagSeeds seeds;
    queues.resize(events);
    for (std::uint64_t seed = seeds.first; seed != seeds.behind && !HasFatalFailure(); ++seed)
      Play(seed, durability);
  }

 private:
  void Play(std::uint64_t seed, ZRDurability durability) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    chance = Chance(seed);
    folder.disk.Reset(seed);
    known.clear();
    ZREventFileSync& sync = ZREventFileSync::Get();
    sync.SetDurability(durability);
    for (int life = 0; life < 3 && !HasFatalFailure(); ++life) {
      sync.Start();
      Plan();
      const std::uint64_t failedBefore = folder.disk.FailedSyncs();
      Live();
      if (!folder.disk.IsDown()) EndNow();
      const bool hasFailed = folder.disk.FailedSyncs() != failedBefore;
      mayBeLost = hasFailed ? sync.Pending() : 0;
      sync.Stop();
      folder.disk.Restart();
      folder.disk.Heal();
      Check();
    }
  }

  void Plan() {
    static constexpr tagCall kCalls[] = {
        tagCall::kOpenFolder, tagCall::kOpenFile,   tagCall::kSize,    tagCall::kRead,
        tagCall::kWrite,      tagCall::kTruncate,   tagCall::kTryLock, tagCall::kSync,
        tagCall::kSyncFolder, tagCall::kMakeFolder, tagCall::kRename,  tagCall::kRemove,
        tagCall::kSyncAll};
    for (const tagCall call : kCalls)
      if (chance.Happens(150)) folder.disk.FailAtRandom(call, chance.Happens(300) ? 101 : 1, EIO);
    if (chance.Happens(200)) folder.disk.MoveLess(200);
    if (chance.Happens(100)) folder.disk.SetCapacity(200 + chance.Below(5000));
    diedByPower = chance.Happens(700);
    if (chance.Happens(800))
      folder.disk.EndAt(
          1 + chance.Below(chance.Happens(500) ? 100 : 1000),
          diedByPower ? ZRCrashingDisk::tagEnd::kPowerCut : ZRCrashingDisk::tagEnd::kProcessDeath);
  }

  // Appends as the engine does: the oldest record first, until one can't be written.
  void Live() {
    for (std::deque<std::size_t>& queue : queues)
      queue.clear();
    const bool isAdaptive = ZREventFileSync::Get().Durability() == ZRDurability::kAdaptive;
    // Another event makes the names of the folders durable, and may use up what is synced at once.
    const std::uint64_t others = chance.Happens(500) ? (chance.Happens(200) ? 50 : 1) : 0;
    for (std::uint64_t i = 0; i < (isAdaptive ? others : others % 2); ++i)
      (void)Save(otherPath, {i, Date(0), 1, ""});
    const std::uint64_t transitions = 1 + chance.Below(isAdaptive ? 100 : 20);
    for (std::uint64_t i = 0; i < transitions && !folder.disk.IsDown(); ++i) {
      const std::uint64_t number = known.size();
      const std::size_t length = chance.Happens(10) ? chance.Below(100'000) : chance.Below(120);
      const std::size_t event = queues.size() > 1 ? chance.Below(queues.size()) : 0;
      known.push_back({{number, Date(static_cast<double>(number)), chance.Happens(500) ? 1.0 : 2.0,
                        std::string(length, static_cast<char>('a' + number % 26))},
                       event});
      std::deque<std::size_t>& queue = queues[event];
      queue.push_back(number);
      while (!queue.empty() && SaveAndNote(known[queue.front()]))
        queue.pop_front();
      if (chance.Happens(isAdaptive ? 10 : 100)) folder.time.Advance(100 + chance.Below(2000));
      if (chance.Happens(20) && ZREventFileSync::Get().Flush()) AllDurable();
      if (chance.Happens(20)) folder.disk.Heal();
    }
  }

  // Notes what the program is told of it.
  [[nodiscard]] bool SaveAndNote(tagKnown& record) {
    const ZREventFileSync& sync = ZREventFileSync::Get();
    const int before = sync.Pending();
    record.isConfirmed = Save(folder.path, record.transition);
    const bool isPutOff = sync.Pending() != before;
    record.isDurable = record.isConfirmed && !isPutOff && sync.Durability() != ZRDurability::kOff;
    return record.isConfirmed;
  }
  void AllDurable() {
    if (ZREventFileSync::Get().Durability() == ZRDurability::kOff) return;
    for (tagKnown& record : known)
      record.isDurable = record.isDurable || record.isConfirmed;
  }
  void EndNow() {
    folder.disk.Heal();
    folder.disk.EndAt(
        1, diedByPower ? ZRCrashingDisk::tagEnd::kPowerCut : ZRCrashingDisk::tagEnd::kProcessDeath);
    EXPECT_EQ(folder.disk.OpenFolder("/data/"), ZRFileSystem::kNone);
  }

  void Check() {
    ZREventFile file(true);
    const bool isOpen = file.Open(folder.path.Text(), true);
    ASSERT_EQ(isOpen, folder.disk.Content(DataFolder::kFile) != nullptr);
    std::vector<int> times(known.size());
    std::vector<std::uint64_t> last(queues.size());
    for (int i = 0; i < file.numRecords; ++i) {
      // One that nobody confirmed: its sync failed, its process died, another one followed.
      if (!file.GoRecord(i)) continue;
      const tagTransition found = Current(file);
      ASSERT_LT(found.occurrence, known.size());
      ASSERT_EQ(found, known[found.occurrence].transition);
      ASSERT_EQ(++times[found.occurrence], 1) << "record " << found.occurrence;
      std::uint64_t& before = last[known[found.occurrence].event];
      if (IsInOrder()) {
        ASSERT_GE(found.occurrence, before);
      }
      before = found.occurrence;
    }
    for (std::size_t i = 0; i < known.size(); ++i) {
      const bool isToldDurable = known[i].isDurable;
      if (isToldDurable || (known[i].isConfirmed && !diedByPower)) {
        if (times[i] == 0 && !isToldDurable) --mayBeLost;
        ASSERT_TRUE(times[i] == 1 || (!isToldDurable && mayBeLost >= 0))
            << "record " << i << " is lost";
      }
      // What a life wasn't told to be durable may still go later.
      known[i].isConfirmed = known[i].isDurable;
    }
  }

  // What a failed sync of all has lost is written behind later ones. And where nothing is ever
  // synced, what was set aside after one power cut may come back with the next one.
  [[nodiscard]] bool IsInOrder() const {
    const ZRDurability durability = ZREventFileSync::Get().Durability();
    const std::vector<std::string> files = folder.Files();
    const bool isSetAside = std::any_of(files.begin(), files.end(), [](const std::string& file) {
      return file.find(".torn-") != std::string::npos;
    });
    return durability == ZRDurability::kStrict || (durability == ZRDurability::kOff && !isSetAside);
  }

  DataFolder folder;
  const ZRWString otherPath = L"/data/2024/03/Pump 03-2024.suc";
  LogCapture log;
  Chance chance{1};
  std::vector<tagKnown> known;
  std::vector<std::deque<std::size_t>> queues;  // of each event
  bool diedByPower = false;
  // Records whose sync has failed, and that still waited for another one when the process died:
  // the disk hasn't got them, and the memory that kept them has gone.
  int mayBeLost = 0;
};

TEST_F(EventFileCrash, StrictLosesAndDoublesNothing) {
  PlayAll(ZRDurability::kStrict);
}

TEST_F(EventFileCrash, AdaptiveLosesNothingThatWasMadeDurable) {
  PlayAll(ZRDurability::kAdaptive);
}

TEST_F(EventFileCrash, OffLosesNothingWithTheProcess) {
  PlayAll(ZRDurability::kOff);
}

TEST_F(EventFileCrash, StrictLosesAndDoublesNothingOfTwoEventsOfOneName) {
  PlayAll(ZRDurability::kStrict, 2);
}

TEST_F(EventFileCrash, AdaptiveLosesNothingOfTwoEventsOfOneName) {
  PlayAll(ZRDurability::kAdaptive, 2);
}

}  // namespace

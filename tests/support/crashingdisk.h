// A disk in memory that fails on demand and loses power.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "host/platform/zrfilesystem.h"
#include "support/chance.h"
#include "support/crashingcontent.h"

// It keeps what ZRFileSystem promises and nothing beyond: what isn't synced may be lost, sector by
// sector and name by name, in any order. What a disk would decide, chance decides: the same seed
// and the same calls give the same disk.
//
//   ZRVirtualTime time;
//   ZRCrashingDisk disk(seed);
//   time.SetFiles(&disk);
//   disk.EndAt(n, ZRCrashingDisk::tagEnd::kPowerCut);
//   ... the program under test, until disk.IsDown() ...
//   disk.Restart();
//   ... look at Content() or Snapshot(), or let the program start anew ...
//
// Any path of OpenFolder leads to the one outermost folder.
//
// Threads   one; the fibers of a ZRVirtualTime are one.
class ZRCrashingDisk : public ZRFileSystem {
 public:
  using tagBytes = CrashingContent::tagBytes;
  static constexpr std::uint64_t kBoundless = ~std::uint64_t{0};

  // The calls that can fail.
  enum class tagCall : unsigned {
    kOpenFolder,
    kOpenFile,
    kSize,
    kRead,
    kWrite,
    kTruncate,
    kTryLock,
    kSync,
    kSyncFolder,
    kSyncAll,
    kMakeFolder,
    kRename,
    kRemove,
    kAny,  // each of them
  };
  enum class tagLasting { kOnce, kForEver };
  enum class tagEnd {
    kPowerCut,      // of the machine
    kProcessDeath,  // what was written stays
  };
  struct tagFound {
    std::string path;  // from the outermost folder, "2026/05/Pump"
    bool isFolder;
    tagBytes content;
  };

  explicit ZRCrashingDisk(std::uint64_t seed = 1) : chance(seed) { Reset(seed); }

  // An empty disk without any plan, as a new object, but faster. Handles of before are no longer
  // valid.
  void Reset(std::uint64_t seed);

  // --- what goes wrong; all numbers of calls are from now on, and 1 is the next one ---

  // The n-th call of that kind fails, and with kForEver all later ones. A Write that fails may
  // have written a part. A Sync that fails takes the pages for clean although they aren't on the
  // disk: a second Sync succeeds without writing them, and they may be forgotten even before the
  // power is cut. A SyncFolder that fails leaves the names to the next one.
  void Fail(tagCall call, std::uint64_t nth, int error, tagLasting lasting = tagLasting::kOnce);
  // The calls of that kind fail in so many cases of a thousand.
  void FailAtRandom(tagCall call, unsigned perMille, int error);
  // Read and Write move fewer bytes than asked for, in so many cases of a thousand.
  void MoveLess(unsigned perMille) { lessPerMille = perMille; }
  // How many bytes all files may hold: a Write moves what still fits, then fails with ENOSPC.
  void SetCapacity(std::uint64_t bytes) { capacity = bytes; }
  // Ends every fault and plan and the capacity, but not what was lost.
  void Heal();

  // --- the end of a process ---

  // At once; the program goes on with handles that are no longer valid (EBADF).
  void PowerCut();
  void ProcessDeath();
  // In the course of the n-th call, which fails with EIO, as does every later one until Restart:
  // nobody knows whether it did something.
  void EndAt(std::uint64_t nth, tagEnd end);
  [[nodiscard]] bool IsDown() const { return isDown; }
  void Restart() { isDown = false; }

  // --- looking and preparing; no call, never fails ---

  // The number of calls since the start, those that failed included, Close not.
  [[nodiscard]] std::uint64_t Calls() const { return calls; }
  [[nodiscard]] int OpenHandles() const;
  // How many syncs have failed since Reset, files' and of all: what they had to write may be lost.
  [[nodiscard]] std::uint64_t FailedSyncs() const { return failedSyncs; }
  // What a reader would find; null if there is no file of that path.
  [[nodiscard]] const tagBytes* Content(std::string_view path) const;
  // All folders and files, sorted by path.
  [[nodiscard]] std::vector<tagFound> Snapshot() const;
  // A durable file with a durable name, in folders that are made durable too; replaces.
  void Put(std::string_view path, const tagBytes& content);

  // --- ZRFileSystem ---

  [[nodiscard]] tagHandle OpenFolder(const char* path) override;
  [[nodiscard]] tagHandle OpenFolder(tagHandle folder, const char* below) override;
  [[nodiscard]] tagHandle OpenFile(tagHandle folder, const char* below, tagAccess access) override;
  void Close(tagHandle handle) override;
  [[nodiscard]] std::int64_t Size(tagHandle file) override;
  [[nodiscard]] std::int64_t Read(tagHandle file, void* to, std::size_t count,
                                  std::uint64_t at) override;
  [[nodiscard]] std::int64_t Write(tagHandle file, const void* from, std::size_t count,
                                   std::uint64_t at) override;
  [[nodiscard]] bool Truncate(tagHandle file, std::uint64_t size) override;
  [[nodiscard]] bool TryLock(tagHandle file) override;
  [[nodiscard]] bool Sync(tagHandle file) override;
  [[nodiscard]] bool SyncFolder(tagHandle folder) override;
  [[nodiscard]] bool SyncAll(tagHandle handle) override;
  [[nodiscard]] bool MakeFolder(tagHandle folder, const char* below) override;
  [[nodiscard]] bool Rename(tagHandle folder, const char* from, const char* to) override;
  [[nodiscard]] bool Remove(tagHandle folder, const char* below) override;

 private:
  static constexpr int kOutermost = 0;  // the node of the outermost folder
  static constexpr std::size_t kCalls = static_cast<std::size_t>(tagCall::kAny);
  static constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;
  static constexpr std::size_t kLongestName = 255;

  struct tagName {
    std::string name;
    int node;
  };
  using tagNames = std::vector<tagName>;
  // A file or a folder.
  struct tagNode {
    bool isFolder = false;
    bool isReachable = false;
    int handles = 0;
    int names = 0;  // 1, or 0 once it is removed
    tagHandle lockedBy = kNone;
    CrashingContent content;
    tagNames cached;
    tagNames durable;
  };
  struct tagOpen {
    int node;  // kNone once it is closed
    bool isWritable;
  };
  // A change of names that isn't durable yet: `to` is empty if the name goes, and `from` if it
  // comes.
  struct tagChange {
    int folder;
    int node;
    std::string from;
    std::string to;
  };
  struct tagPlan {
    tagCall call;
    std::uint64_t left;  // calls until it fails
    int error;
    tagLasting lasting;
  };
  struct tagRandomFault {
    unsigned perMille = 0;
    int error = 0;
  };
  struct tagPlace {
    int folder;  // kNone if the way there doesn't exist; errno says why
    std::string_view name;
  };

  // Counts a call, lets it fail or the process end as planned, and does it otherwise.
  template <typename Result, typename Body, typename Failure>
  Result Call(tagCall call, Result failed, Body body, Failure failure);
  template <typename Result, typename Body>
  Result Call(tagCall call, Result failed, Body body) {
    return Call(call, failed, body, [] {});
  }
  [[nodiscard]] int PlannedError(tagCall call);
  void End();

  int MakeNode(bool isFolder);
  [[nodiscard]] tagHandle MakeHandle(int node, bool isWritable);
  [[nodiscard]] tagOpen* Find(tagHandle handle);
  [[nodiscard]] tagNode* FindFolder(tagHandle handle);
  [[nodiscard]] tagNode* FindFile(tagHandle handle, bool toWrite);
  void ForgetHandles();
  void Recycle();
  void MarkReachable(int folder);

  [[nodiscard]] static tagName* FindName(tagNames& names, std::string_view name);
  static void EraseNode(tagNames& names, int node);
  [[nodiscard]] int NodeNamed(int folder, std::string_view name);
  [[nodiscard]] tagPlace Walk(int folder, std::string_view below);
  [[nodiscard]] int Resolve(int folder, std::string_view below);
  [[nodiscard]] static bool IsOneName(std::string_view name);
  void Add(int folder, std::string_view name, int node);
  void Apply(const tagChange& change);
  void CutNames(unsigned perMille);
  void SyncNames(int folder);
  [[nodiscard]] std::uint64_t Fitting(std::uint64_t sizeBefore, std::uint64_t end) const;
  void List(int folder, const std::string& prefix, std::vector<tagFound>& found) const;

  Chance chance;
  std::deque<tagNode> nodes;
  std::vector<int> spareNodes;
  std::vector<tagOpen> opened;
  tagHandle firstHandle = 1;  // the handle of opened[0]
  std::vector<tagChange> changes;
  std::vector<tagPlan> plans;
  std::array<tagRandomFault, kCalls> randomFaults{};
  unsigned lessPerMille = 0;
  std::uint64_t capacity = kBoundless;
  std::uint64_t calls = 0;
  std::uint64_t failedSyncs = 0;
  std::uint64_t endAt = 0;  // the number of the call; 0: never
  tagEnd plannedEnd = tagEnd::kPowerCut;
  bool isDown = false;
};

#include "host/driversupport/eventfile/zreventfilesync.h"

#include <array>
#include <atomic>
#include <bit>
#include <cerrno>
#include <iterator>
#include <map>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "host/driversupport/eventfile/zreventfilecopies.h"
#include "host/driversupport/eventfile/zreventfilehandle.h"
#include "host/driversupport/eventfile/zreventfileimplementation.h"
#include "host/driversupport/eventfile/zreventfiletroubles.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrplatform.h"
#include "host/platform/zrthread.h"

namespace {

constexpr std::uint32_t kSecond = 1000;  // ms
constexpr std::uint32_t kGather = 900;   // ms from the first record that is put off to the sync
constexpr int kMostRecords = 100'000;
constexpr std::size_t kMostBytes = std::size_t{64} << 20;  // of annotations
constexpr std::size_t kMostFolders = 1000;
constexpr std::size_t kMostNewFiles = 100'000;

}  // namespace

class ZREventFileSync::CState {
 public:
  // What is put off. The folders are open from before the sync on: the system tells them of
  // everything that it couldn't write in between.
  struct tagBatch {
    int records = 0;
    std::size_t bytes = 0;
    bool hasFailed = false;
    std::map<ZRWString, std::vector<ZREventFile::tagWritten>> files;
    std::map<std::string, ZREventFileHandle> roots;
  };

  // File, occurrence and value; no transition comes twice.
  using tagHalfway = std::tuple<std::string, uuid, std::uint64_t>;
  [[nodiscard]] static tagHalfway HalfwayOf(const std::string& file,
                                            const ZREventFile::tagFields& record) {
    return {file, record.id, std::bit_cast<std::uint64_t>(record.value)};
  }

  void Run();
  [[nodiscard]] bool SyncAtOnce(tagBatch& batch);
  [[nodiscard]] bool WriteAgain(tagBatch& batch);
  void TakeBack(tagBatch& batch) ZR_REQUIRES(mutex);

  std::atomic<ZRDurability> durability{ZRDurability::kAdaptive};
  ZRThread thread;  // Start and Stop only
  ZRMutex flushMutex;

  ZRMutex mutex;  // behind flushMutex
  ZRCondition changed;
  bool isRunning ZR_GUARDED_BY(mutex) = false;
  bool isStopping ZR_GUARDED_BY(mutex) = false;
  std::uint32_t second ZR_GUARDED_BY(mutex) = 0;  // began at this tick
  int inSecond ZR_GUARDED_BY(mutex) = 0;
  tagBatch waiting ZR_GUARDED_BY(mutex);
  int underWay ZR_GUARDED_BY(mutex) = 0;
  std::set<std::string> folders ZR_GUARDED_BY(mutex);
  std::set<std::string> newFiles ZR_GUARDED_BY(mutex);  // made here; their names may not be durable
  std::map<tagHalfway, int> halfway ZR_GUARDED_BY(mutex);
  std::atomic<bool> isAnyHalfway{false};
  // A folder that was looked for; without a handle if it wasn't there.
  struct tagFolder {
    const ZRFileSystem* files = nullptr;
    std::string path;
    std::shared_ptr<const ZREventFileHandle> handle;
    std::uint32_t opened = 0;  // ticks

    [[nodiscard]] bool IsFresh(const ZRFileSystem& of, std::uint32_t now) const {
      return files == &of && now - opened < kSecond;
    }
  };
  void ForgetOpen() ZR_REQUIRES(mutex) {
    root = {};
    months = {};
    nextMonth = 0;
  }
  tagFolder root ZR_GUARDED_BY(mutex);
  std::array<tagFolder, 4> months ZR_GUARDED_BY(mutex);
  std::size_t nextMonth ZR_GUARDED_BY(mutex) = 0;  // the one to be replaced
};

ZREventFileSync& ZREventFileSync::Get() {
  static ZREventFileSync sync;
  return sync;
}

ZREventFileSync::ZREventFileSync() : state(std::make_unique<CState>()) {}

ZREventFileSync::~ZREventFileSync() = default;

void ZREventFileSync::SetDurability(ZRDurability toUse) {
  state->durability = toUse;
}

ZRDurability ZREventFileSync::Durability() const {
  return state->durability.load(std::memory_order_relaxed);
}

void ZREventFileSync::Start() {
  Stop();
  const bool isStarted = state->thread.Start([this] { state->Run(); });
  if (isStarted) ZREventFileCopies::Get().Begin();
  const ZRMutexLock lock(state->mutex);
  state->isRunning = isStarted;
  state->inSecond = 0;
  state->second = ZRPlatform::Get().TickCount();
}

void ZREventFileSync::Stop() {
  ZREventFileCopies::Get().End();
  {
    const ZRMutexLock lock(state->mutex);
    state->isStopping = true;
    state->isRunning = false;
    state->changed.NotifyAll();
  }
  state->thread.Join();
  (void)Flush();
  const ZRMutexLock lock(state->mutex);
  state->isStopping = false;
  state->folders.clear();
  state->newFiles.clear();
  state->halfway.clear();
  state->isAnyHalfway = false;
  state->waiting = {};
  state->ForgetOpen();
}

bool ZREventFileSync::Flush() {
  const ZRMutexLock alone(state->flushMutex);
  CState::tagBatch batch;
  {
    const ZRMutexLock lock(state->mutex);
    std::swap(batch, state->waiting);
    state->underWay = batch.records;
  }
  const bool isDone = batch.records == 0 || state->SyncAtOnce(batch) || state->WriteAgain(batch);
  const ZRMutexLock lock(state->mutex);
  state->underWay = 0;
  if (!isDone) state->TakeBack(batch);
  return isDone;
}

int ZREventFileSync::Pending() const {
  const ZRMutexLock lock(state->mutex);
  return state->waiting.records + state->underWay;
}

// --- for the files ---

bool ZREventFileSync::MayPutOff() {
  if (Durability() != ZRDurability::kAdaptive) return false;
  const std::uint32_t now = ZRPlatform::Get().TickCount();
  const ZRMutexLock lock(state->mutex);
  if (!state->isRunning) return false;
  if (now - state->second >= kSecond) {
    state->second = now;
    state->inSecond = 0;
  }
  if (state->inSecond >= kAdaptivePerSecond) return true;
  ++state->inSecond;
  return false;
}

bool ZREventFileSync::PutOff(const ZRWString& path, const std::string& root,
                             ZREventFile::tagWritten record) {
  const ZRMutexLock lock(state->mutex);
  CState::tagBatch& waiting = state->waiting;
  if (!state->isRunning || waiting.records >= kMostRecords || waiting.bytes >= kMostBytes)
    return false;
  ZREventFileHandle& folder = waiting.roots[root];
  if (!folder.IsOpen()) {
    ZRFileSystem& files = ZRPlatform::Get().Files();
    folder = ZREventFileHandle(files, files.OpenFolder(root.c_str()));
    if (!folder.IsOpen()) return false;
  }
  ++waiting.records;
  waiting.bytes += record.annotation.size();
  waiting.files[path].push_back(std::move(record));
  if (waiting.records == 1) state->changed.NotifyAll();
  return true;
}

void ZREventFileSync::NoteFailedSync() {
  const int error = errno;
  {
    const ZRMutexLock lock(state->mutex);
    if (state->waiting.records != 0) state->waiting.hasFailed = true;
  }
  errno = error;
}

void ZREventFileSync::NoteHalfway(const std::string& file, const ZREventFile::tagFields& record,
                                  int index) {
  const int error = errno;
  {
    const ZRMutexLock lock(state->mutex);
    if (state->halfway.size() >= kMostHalfway) state->halfway.clear();
    state->halfway[CState::HalfwayOf(file, record)] = index;
    state->isAnyHalfway = true;
  }
  errno = error;
}

void ZREventFileSync::ForgetHalfway(const std::string& file, const ZREventFile::tagFields& record) {
  if (!state->isAnyHalfway) return;
  const ZRMutexLock lock(state->mutex);
  state->halfway.erase(CState::HalfwayOf(file, record));
  state->isAnyHalfway = !state->halfway.empty();
}

int ZREventFileSync::HalfwayIndex(const std::string& file,
                                  const ZREventFile::tagFields& record) const {
  if (!state->isAnyHalfway) return -1;
  const ZRMutexLock lock(state->mutex);
  const auto found = state->halfway.find(CState::HalfwayOf(file, record));
  return found == state->halfway.end() ? -1 : found->second;
}

bool ZREventFileSync::IsDurableFolder(const std::string& folder) const {
  const ZRMutexLock lock(state->mutex);
  return state->folders.count(folder) != 0;
}

void ZREventFileSync::NoteNewFile(const std::string& file) {
  const ZRMutexLock lock(state->mutex);
  if (state->newFiles.size() >= kMostNewFiles) {
    state->newFiles.clear();
    state->folders.clear();  // so the names of all are made durable once more
  }
  state->newFiles.insert(file);
}

bool ZREventFileSync::HasDurableName(const ZREventFilePath& file) const {
  const ZRMutexLock lock(state->mutex);
  return state->folders.count(std::string(file.Folder())) != 0 &&
         state->newFiles.count(file.Whole()) == 0;
}

void ZREventFileSync::NoteDurableNames(const ZREventFilePath& file) {
  const ZRMutexLock lock(state->mutex);
  state->newFiles.erase(file.Whole());
  if (!state->isRunning) return;
  if (state->folders.size() >= kMostFolders) state->folders.clear();
  state->folders.emplace(file.Folder());
}

void ZREventFileSync::ForgetFolder(const std::string& folder) {
  const ZRMutexLock lock(state->mutex);
  state->folders.erase(folder);
  state->ForgetOpen();
}

std::shared_ptr<const ZREventFileHandle> ZREventFileSync::OpenRoot(ZRFileSystem& files,
                                                                   const std::string& path,
                                                                   bool anew) {
  const std::uint32_t now = ZRPlatform::Get().TickCount();
  {
    const ZRMutexLock lock(state->mutex);
    if (!anew && state->root.IsFresh(files, now) && state->root.path == path)
      return state->root.handle;
  }
  auto opened = std::make_shared<const ZREventFileHandle>(files, files.OpenFolder(path.c_str()));
  if (!opened->IsOpen()) return nullptr;
  const ZRMutexLock lock(state->mutex);
  if (state->isRunning) state->root = {&files, path, opened, now};
  return opened;
}

std::shared_ptr<const ZREventFileHandle> ZREventFileSync::OpenMonth(ZRFileSystem& files,
                                                                    const ZREventFilePath& file,
                                                                    bool anew) {
  const std::uint32_t now = ZRPlatform::Get().TickCount();
  if (!anew) {
    const ZRMutexLock lock(state->mutex);
    for (const CState::tagFolder& known : state->months) {
      if (!known.IsFresh(files, now) || known.path != file.Folder()) continue;
      errno = ENOENT;
      return known.handle;
    }
  }
  const auto root = OpenRoot(files, file.Root(), anew);
  if (!root) return nullptr;
  auto opened = std::make_shared<const ZREventFileHandle>(
      files, files.OpenFolder(root->Get(), file.YearAndMonth().c_str()));
  const int error = errno;
  if (!opened->IsOpen()) opened.reset();
  const ZRMutexLock lock(state->mutex);
  if (state->isRunning && (opened || error == ENOENT)) {
    state->months[state->nextMonth] = {&files, std::string(file.Folder()), opened, now};
    state->nextMonth = (state->nextMonth + 1) % state->months.size();
  }
  errno = error;
  return opened;
}

// --- what was put off ---

void ZREventFileSync::CState::Run() {
  for (;;) {
    {
      const ZRMutexLock lock(mutex);
      while (!isStopping && waiting.records == 0)
        (void)changed.Wait(mutex, ZRPlatform::kInfinite);
      const std::uint32_t begin = ZRPlatform::Get().TickCount();
      for (std::uint32_t gone = 0; !isStopping && gone < kGather;
           gone = ZRPlatform::Get().TickCount() - begin)
        (void)changed.Wait(mutex, kGather - gone);
      if (isStopping) return;
    }
    (void)ZREventFileSync::Get().Flush();
  }
}

// One sync for all of them. Not after a failure: the system may have given up what it couldn't
// write, and a second sync would be content with what is left.
bool ZREventFileSync::CState::SyncAtOnce(tagBatch& batch) {
  if (batch.hasFailed) return false;
  for (const auto& [path, folder] : batch.roots)
    batch.hasFailed = batch.hasFailed || !folder.Files().SyncAll(folder.Get());
  if (batch.hasFailed)
    ZREventFileTroubles::Get().Add(ZREventFileTrouble::kSync, batch.files.begin()->first, errno);
  return !batch.hasFailed;
}

// Each file of its own, from what is kept of the records. What succeeds leaves the batch.
bool ZREventFileSync::CState::WriteAgain(tagBatch& batch) {
  for (auto at = batch.files.begin(); at != batch.files.end();) {
    const wchar_t* const path = at->first.Text();
    std::vector<ZREventFile::tagWritten>& records = at->second;
    ZREventFile file(true);
    bool isOpen = file.Open(path, false);
    if (!isOpen && errno == ENOENT) {
      isOpen = ZREventFile::Create(path, {ZREventFile::kType, ZREventFile::kCapacity}) &&
               file.Open(path, false);
    }
    if (isOpen && file.WriteAgain(records.data(), records.size())) {
      for (const auto& record : records)
        batch.bytes -= record.annotation.size();
      batch.records -= static_cast<int>(records.size());
      at = batch.files.erase(at);
    } else {
      ZREventFileTroubles::Get().Add(ZREventFileTrouble::kSync, at->first, errno);
      ++at;
    }
  }
  return batch.files.empty();
}

// Puts what couldn't be made durable before what has come since.
void ZREventFileSync::CState::TakeBack(tagBatch& batch) {
  for (auto& [path, records] : batch.files) {
    auto& later = waiting.files[path];
    records.insert(records.end(), std::make_move_iterator(later.begin()),
                   std::make_move_iterator(later.end()));
    later = std::move(records);
  }
  waiting.records += batch.records;
  waiting.bytes += batch.bytes;
  waiting.hasFailed = true;
  for (auto& [path, folder] : batch.roots)
    waiting.roots[path] = std::move(folder);
}

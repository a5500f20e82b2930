#include "support/crashingdisk.h"

#include <algorithm>
#include <cerrno>

namespace {

// Sets the error number for a result that tells of it.
int Failed(int error) {
  errno = error;
  return ZRFileSystem::kNone;
}

// How likely it is that something unsynced survives this power cut: now and then all or nothing.
unsigned Likelihood(Chance& chance) {
  constexpr unsigned kStep = 250;
  return static_cast<unsigned>(chance.Below(5)) * kStep;
}

}  // namespace

// --- what goes wrong ---

void ZRCrashingDisk::Reset(std::uint64_t seed) {
  chance = Chance(seed);
  ForgetHandles();
  changes.clear();
  for (tagNode& node : nodes)
    node.cached.clear();
  Recycle();
  if (nodes.empty()) (void)MakeNode(true);
  nodes[kOutermost].durable.clear();
  Heal();
  calls = 0;
  failedSyncs = 0;
  isDown = false;
}

void ZRCrashingDisk::Fail(tagCall call, std::uint64_t nth, int error, tagLasting lasting) {
  plans.push_back({call, nth, error, lasting});
}

void ZRCrashingDisk::FailAtRandom(tagCall call, unsigned perMille, int error) {
  for (std::size_t kind = 0; kind < kCalls; ++kind) {
    if (call == tagCall::kAny || call == static_cast<tagCall>(kind))
      randomFaults[kind] = {perMille, error};
  }
}

void ZRCrashingDisk::Heal() {
  plans.clear();
  randomFaults.fill({});
  lessPerMille = 0;
  capacity = kBoundless;
  endAt = 0;
}

void ZRCrashingDisk::EndAt(std::uint64_t nth, tagEnd end) {
  endAt = calls + nth;
  plannedEnd = end;
}

int ZRCrashingDisk::PlannedError(tagCall call) {
  int error = 0;
  for (tagPlan& plan : plans) {
    if (plan.call != call && plan.call != tagCall::kAny) continue;
    const bool fails = plan.left == 1 || (plan.left == 0 && plan.lasting == tagLasting::kForEver);
    if (plan.left > 0) --plan.left;
    if (fails && error == 0) error = plan.error;
  }
  const tagRandomFault& random = randomFaults[static_cast<std::size_t>(call)];
  return error == 0 && chance.Happens(random.perMille) ? random.error : error;
}

template <typename Result, typename Body, typename Failure>
Result ZRCrashingDisk::Call(tagCall call, Result failed, Body body, Failure failure) {
  ++calls;
  if (isDown) {
    errno = EIO;
    return failed;
  }
  const bool ends = calls == endAt;
  const int error = PlannedError(call);
  Result result = failed;
  if (error != 0) {
    failure();
    errno = error;
  } else if (!ends || chance.Happens(500)) {
    result = body();
  }
  if (!ends) return result;
  End();
  errno = EIO;
  return failed;
}

void ZRCrashingDisk::End() {
  if (plannedEnd == tagEnd::kPowerCut) {
    PowerCut();
  } else {
    ProcessDeath();
  }
  isDown = true;
}

void ZRCrashingDisk::PowerCut() {
  ForgetHandles();
  const unsigned perMille = Likelihood(chance);
  for (tagNode& node : nodes) {
    if (!node.isFolder) node.content.PowerCut(perMille, chance);
  }
  CutNames(Likelihood(chance));
  Recycle();
}

void ZRCrashingDisk::ProcessDeath() {
  ForgetHandles();
}

// --- nodes and handles ---

int ZRCrashingDisk::MakeNode(bool isFolder) {
  if (spareNodes.empty()) {
    nodes.emplace_back();
    spareNodes.push_back(static_cast<int>(nodes.size()) - 1);
  }
  const int made = spareNodes.back();
  spareNodes.pop_back();
  tagNode& node = nodes[static_cast<std::size_t>(made)];
  node.isFolder = isFolder;
  node.isReachable = true;
  return made;
}

ZRFileSystem::tagHandle ZRCrashingDisk::MakeHandle(int node, bool isWritable) {
  ++nodes[static_cast<std::size_t>(node)].handles;
  opened.push_back({node, isWritable});
  return firstHandle + static_cast<tagHandle>(opened.size()) - 1;
}

ZRCrashingDisk::tagOpen* ZRCrashingDisk::Find(tagHandle handle) {
  const std::size_t index =
      static_cast<std::size_t>(handle) - static_cast<std::size_t>(firstHandle);
  if (handle >= firstHandle && index < opened.size() && opened[index].node != kNone)
    return &opened[index];
  errno = EBADF;
  return nullptr;
}

ZRCrashingDisk::tagNode* ZRCrashingDisk::FindFolder(tagHandle handle) {
  const tagOpen* found = Find(handle);
  if (found == nullptr) return nullptr;
  tagNode& node = nodes[static_cast<std::size_t>(found->node)];
  if (node.isFolder) return &node;
  errno = ENOTDIR;
  return nullptr;
}

ZRCrashingDisk::tagNode* ZRCrashingDisk::FindFile(tagHandle handle, bool toWrite) {
  const tagOpen* found = Find(handle);
  if (found == nullptr) return nullptr;
  tagNode& node = nodes[static_cast<std::size_t>(found->node)];
  if (!node.isFolder && (found->isWritable || !toWrite)) return &node;
  errno = node.isFolder ? EINVAL : EBADF;
  return nullptr;
}

// No number is given out twice, so that a handle of before is noticed.
void ZRCrashingDisk::ForgetHandles() {
  constexpr tagHandle kEnoughHandles = 1 << 30;
  firstHandle += static_cast<tagHandle>(opened.size());
  if (firstHandle > kEnoughHandles) firstHandle = 1;
  opened.clear();
  for (tagNode& node : nodes) {
    node.handles = 0;
    node.lockedBy = kNone;
  }
}

// Makes spare what no name leads to any more; after the end of all handles.
void ZRCrashingDisk::Recycle() {
  if (nodes.empty()) return;
  for (tagNode& node : nodes)
    node.isReachable = false;
  MarkReachable(kOutermost);
  spareNodes.clear();
  for (std::size_t i = nodes.size(); i-- > 0;) {
    tagNode& node = nodes[i];
    if (node.isReachable) continue;
    node.cached.clear();
    node.durable.clear();
    node.content.Put({});
    node.names = 0;
    spareNodes.push_back(static_cast<int>(i));
  }
}

void ZRCrashingDisk::MarkReachable(int folder) {
  tagNode& node = nodes[static_cast<std::size_t>(folder)];
  node.isReachable = true;
  for (const tagName& name : node.cached) {
    tagNode& named = nodes[static_cast<std::size_t>(name.node)];
    named.isReachable = true;
    if (named.isFolder) MarkReachable(name.node);
  }
}

// --- names ---

ZRCrashingDisk::tagName* ZRCrashingDisk::FindName(tagNames& names, std::string_view name) {
  const auto found = std::find_if(names.begin(), names.end(),
                                  [name](const tagName& each) { return each.name == name; });
  return found != names.end() ? &*found : nullptr;
}

void ZRCrashingDisk::EraseNode(tagNames& names, int node) {
  const auto found = std::find_if(names.begin(), names.end(),
                                  [node](const tagName& each) { return each.node == node; });
  if (found != names.end()) names.erase(found);
}

int ZRCrashingDisk::NodeNamed(int folder, std::string_view name) {
  if (name == ".") return folder;
  if (name.size() > kLongestName) return Failed(ENAMETOOLONG);
  tagNode& node = nodes[static_cast<std::size_t>(folder)];
  if (!node.isFolder) return Failed(ENOTDIR);
  const tagName* found = FindName(node.cached, name);
  return found != nullptr ? found->node : Failed(ENOENT);
}

// Goes to the folder of the last name of a path.
ZRCrashingDisk::tagPlace ZRCrashingDisk::Walk(int folder, std::string_view below) {
  const tagPlace nowhere{kNone, ""};
  int at = folder;
  for (;;) {
    const std::size_t end = below.find('/');
    const std::string_view name = below.substr(0, end);
    if (name.empty() || name == "..") {
      errno = EXDEV;
      return nowhere;
    }
    if (end == std::string_view::npos) return {at, name};
    at = NodeNamed(at, name);
    if (at == kNone) return nowhere;
    below.remove_prefix(end + 1);
  }
}

int ZRCrashingDisk::Resolve(int folder, std::string_view below) {
  const tagPlace place = Walk(folder, below);
  return place.folder != kNone ? NodeNamed(place.folder, place.name) : kNone;
}

bool ZRCrashingDisk::IsOneName(std::string_view name) {
  if (name.size() > kLongestName) {
    errno = ENAMETOOLONG;
    return false;
  }
  if (!name.empty() && name.find('/') == std::string_view::npos && name != ".." && name != ".")
    return true;
  errno = EXDEV;
  return false;
}

void ZRCrashingDisk::Add(int folder, std::string_view name, int node) {
  nodes[static_cast<std::size_t>(folder)].cached.push_back({std::string(name), node});
  nodes[static_cast<std::size_t>(node)].names = 1;
  changes.push_back({folder, node, "", std::string(name)});
}

// Makes a change durable, if what is durable allows it.
void ZRCrashingDisk::Apply(const tagChange& change) {
  tagNames& names = nodes[static_cast<std::size_t>(change.folder)].durable;
  if (change.to.empty()) {
    const tagName* found = FindName(names, change.from);
    if (found != nullptr && found->node == change.node) EraseNode(names, change.node);
  } else if (FindName(names, change.to) == nullptr) {
    EraseNode(names, change.node);
    names.push_back({change.to, change.node});
  }
}

// Each change survives or not, whatever became of those before it.
void ZRCrashingDisk::CutNames(unsigned perMille) {
  for (const tagChange& change : changes) {
    if (chance.Happens(perMille)) Apply(change);
  }
  for (const tagChange& change : changes) {
    tagNode& folder = nodes[static_cast<std::size_t>(change.folder)];
    folder.cached = folder.durable;
  }
  changes.clear();
}

void ZRCrashingDisk::SyncNames(int folder) {
  const auto isOfFolder = [folder](const tagChange& change) { return change.folder == folder; };
  const auto first = std::find_if(changes.begin(), changes.end(), isOfFolder);
  if (first == changes.end()) return;
  tagNode& node = nodes[static_cast<std::size_t>(folder)];
  node.durable = node.cached;
  changes.erase(std::remove_if(first, changes.end(), isOfFolder), changes.end());
}

// --- looking and preparing ---

int ZRCrashingDisk::OpenHandles() const {
  return static_cast<int>(std::count_if(opened.begin(), opened.end(),
                                        [](const tagOpen& each) { return each.node != kNone; }));
}

const ZRCrashingDisk::tagBytes* ZRCrashingDisk::Content(std::string_view path) const {
  const tagNode* node = &nodes[kOutermost];
  while (!path.empty()) {
    const std::size_t end = path.find('/');
    const std::string_view name = path.substr(0, end);
    const auto found = std::find_if(node->cached.begin(), node->cached.end(),
                                    [name](const tagName& each) { return each.name == name; });
    if (found == node->cached.end()) return nullptr;
    node = &nodes[static_cast<std::size_t>(found->node)];
    path = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
  }
  return node->isFolder ? nullptr : &node->content.Cached();
}

std::vector<ZRCrashingDisk::tagFound> ZRCrashingDisk::Snapshot() const {
  std::vector<tagFound> found;
  List(kOutermost, "", found);
  std::sort(found.begin(), found.end(),
            [](const tagFound& one, const tagFound& other) { return one.path < other.path; });
  return found;
}

void ZRCrashingDisk::List(int folder, const std::string& prefix,
                          std::vector<tagFound>& found) const {
  for (const tagName& name : nodes[static_cast<std::size_t>(folder)].cached) {
    const tagNode& node = nodes[static_cast<std::size_t>(name.node)];
    found.push_back({prefix + name.name, node.isFolder, node.content.Cached()});
    if (node.isFolder) List(name.node, prefix + name.name + "/", found);
  }
}

void ZRCrashingDisk::Put(std::string_view path, const tagBytes& content) {
  int at = kOutermost;
  for (;;) {
    const std::size_t end = path.find('/');
    const bool isLast = end == std::string_view::npos;
    const std::string_view name = path.substr(0, end);
    int next = NodeNamed(at, name);
    if (next == kNone) {
      next = MakeNode(!isLast);
      Add(at, name, next);
    }
    SyncNames(at);
    if (isLast) {
      nodes[static_cast<std::size_t>(next)].content.Put(content);
      return;
    }
    at = next;
    path.remove_prefix(end + 1);
  }
}

// --- opening ---

ZRFileSystem::tagHandle ZRCrashingDisk::OpenFolder(const char* path) {
  return Call(tagCall::kOpenFolder, kNone,
              [&] { return *path != '\0' ? MakeHandle(kOutermost, false) : Failed(ENOENT); });
}

ZRFileSystem::tagHandle ZRCrashingDisk::OpenFolder(tagHandle folder, const char* below) {
  return Call(tagCall::kOpenFolder, kNone, [&] {
    if (FindFolder(folder) == nullptr) return kNone;
    const int node = Resolve(Find(folder)->node, below);
    if (node == kNone) return kNone;
    if (!nodes[static_cast<std::size_t>(node)].isFolder) return Failed(ENOTDIR);
    return MakeHandle(node, false);
  });
}

ZRFileSystem::tagHandle ZRCrashingDisk::OpenFile(tagHandle folder, const char* below,
                                                 tagAccess access) {
  return Call(tagCall::kOpenFile, kNone, [&] {
    if (FindFolder(folder) == nullptr) return kNone;
    const tagPlace place = Walk(Find(folder)->node, below);
    if (place.folder == kNone) return kNone;
    int node = NodeNamed(place.folder, place.name);
    const bool creates = access == tagAccess::kCreate;
    if (creates && node != kNone) return Failed(EEXIST);
    if (creates && errno == ENOENT) {
      if (!IsOneName(place.name)) return kNone;
      node = MakeNode(false);
      Add(place.folder, place.name, node);
    }
    if (node == kNone) return kNone;
    if (nodes[static_cast<std::size_t>(node)].isFolder) return Failed(EINVAL);
    return MakeHandle(node, access != tagAccess::kRead);
  });
}

void ZRCrashingDisk::Close(tagHandle handle) {
  const int errorBefore = errno;
  tagOpen* found = Find(handle);
  errno = errorBefore;
  if (found == nullptr) return;
  tagNode& node = nodes[static_cast<std::size_t>(found->node)];
  --node.handles;
  if (node.lockedBy == handle) node.lockedBy = kNone;
  found->node = kNone;
}

// --- an open file ---

std::int64_t ZRCrashingDisk::Size(tagHandle file) {
  return Call(tagCall::kSize, std::int64_t{-1}, [&]() -> std::int64_t {
    const tagNode* node = FindFile(file, false);
    return node != nullptr ? static_cast<std::int64_t>(node->content.Cached().size()) : -1;
  });
}

std::int64_t ZRCrashingDisk::Read(tagHandle file, void* to, std::size_t count, std::uint64_t at) {
  return Call(tagCall::kRead, std::int64_t{-1}, [&]() -> std::int64_t {
    tagNode* node = FindFile(file, false);
    if (node == nullptr) return -1;
    if (count > 1 && chance.Happens(lessPerMille)) count = 1 + chance.Below(count - 1);
    return static_cast<std::int64_t>(node->content.Read(to, count, at, chance));
  });
}

std::int64_t ZRCrashingDisk::Write(tagHandle file, const void* from, std::size_t count,
                                   std::uint64_t at) {
  const auto move = [&](tagNode& node, std::size_t moved) {
    node.content.Write(from, moved, at, chance);
    return static_cast<std::int64_t>(moved);
  };
  const auto write = [&]() -> std::int64_t {
    tagNode* node = FindFile(file, true);
    if (node == nullptr) return -1;
    if (at > kLargestFile || count > kLargestFile - at) return Failed(EFBIG);
    const std::uint64_t end = Fitting(node->content.Cached().size(), at + count);
    if (count != 0 && end <= at) return Failed(ENOSPC);
    count = end - at;
    // One in whose course the process ends is short or not: nobody is told.
    if (count > 1 && calls == endAt) {
      count = 1 + chance.Below(count);
    } else if (count > 1 && chance.Happens(lessPerMille)) {
      count = 1 + chance.Below(count - 1);
    }
    return move(*node, count);
  };
  const auto writeAPart = [&] {
    tagNode* node = FindFile(file, true);
    if (node == nullptr || count == 0 || at > kLargestFile || count > kLargestFile - at) return;
    const std::uint64_t end = Fitting(node->content.Cached().size(), at + chance.Below(count + 1));
    if (end > at && chance.Happens(500)) (void)move(*node, end - at);
  };
  return Call(tagCall::kWrite, std::int64_t{-1}, write, writeAPart);
}

// How far a write up to `end` gets before the disk is full.
std::uint64_t ZRCrashingDisk::Fitting(std::uint64_t sizeBefore, std::uint64_t end) const {
  if (capacity == kBoundless || end <= sizeBefore) return end;
  std::uint64_t used = 0;
  for (const tagNode& node : nodes) {
    if (node.names + node.handles > 0) used += node.content.Cached().size();
  }
  const std::uint64_t left = capacity > used ? capacity - used : 0;
  return std::min(end, sizeBefore + left);
}

bool ZRCrashingDisk::Truncate(tagHandle file, std::uint64_t size) {
  return Call(tagCall::kTruncate, false, [&] {
    tagNode* node = FindFile(file, true);
    if (node == nullptr) return false;
    if (size > kLargestFile) return Failed(EFBIG) != kNone;
    node->content.Truncate(size);
    return true;
  });
}

bool ZRCrashingDisk::TryLock(tagHandle file) {
  return Call(tagCall::kTryLock, false, [&] {
    tagNode* node = FindFile(file, true);
    if (node == nullptr) return false;
    if (node->lockedBy != kNone && node->lockedBy != file) return Failed(EAGAIN) != kNone;
    node->lockedBy = file;
    return true;
  });
}

// --- durability ---

bool ZRCrashingDisk::Sync(tagHandle file) {
  const auto sync = [&] {
    tagNode* node = FindFile(file, false);
    if (node != nullptr) node->content.Sync();
    return node != nullptr;
  };
  const auto fail = [&] {
    ++failedSyncs;
    tagNode* node = FindFile(file, false);
    if (node != nullptr) node->content.FailSync(chance);
  };
  return Call(tagCall::kSync, false, sync, fail);
}

bool ZRCrashingDisk::SyncFolder(tagHandle folder) {
  return Call(tagCall::kSyncFolder, false, [&] {
    if (FindFolder(folder) == nullptr) return false;
    SyncNames(Find(folder)->node);
    return true;
  });
}

bool ZRCrashingDisk::SyncAll(tagHandle handle) {
  const auto sync = [&] {
    if (Find(handle) == nullptr) return false;
    for (tagNode& node : nodes)
      node.content.Sync();
    for (const tagChange& change : changes) {
      tagNode& folder = nodes[static_cast<std::size_t>(change.folder)];
      folder.durable = folder.cached;
    }
    changes.clear();
    return true;
  };
  const auto fail = [&] {
    ++failedSyncs;
    for (tagNode& node : nodes)
      node.content.FailSync(chance);
  };
  return Call(tagCall::kSyncAll, false, sync, fail);
}

// --- names ---

bool ZRCrashingDisk::MakeFolder(tagHandle folder, const char* below) {
  return Call(tagCall::kMakeFolder, false, [&] {
    if (FindFolder(folder) == nullptr || !IsOneName(below)) return false;
    const int parent = Find(folder)->node;
    if (NodeNamed(parent, below) != kNone) return Failed(EEXIST) != kNone;
    Add(parent, below, MakeNode(true));
    return true;
  });
}

bool ZRCrashingDisk::Rename(tagHandle folder, const char* from, const char* to) {
  return Call(tagCall::kRename, false, [&] {
    tagNode* parent = FindFolder(folder);
    if (parent == nullptr || !IsOneName(from) || !IsOneName(to)) return false;
    tagName* renamed = FindName(parent->cached, from);
    if (renamed == nullptr) return Failed(ENOENT) != kNone;
    if (FindName(parent->cached, to) != nullptr) return Failed(EEXIST) != kNone;
    renamed->name = to;
    changes.push_back({Find(folder)->node, renamed->node, from, to});
    return true;
  });
}

bool ZRCrashingDisk::Remove(tagHandle folder, const char* below) {
  return Call(tagCall::kRemove, false, [&] {
    tagNode* parent = FindFolder(folder);
    if (parent == nullptr || !IsOneName(below)) return false;
    const tagName* found = FindName(parent->cached, below);
    if (found == nullptr) return Failed(ENOENT) != kNone;
    tagNode& node = nodes[static_cast<std::size_t>(found->node)];
    if (node.isFolder) return Failed(EISDIR) != kNone;
    node.names = 0;
    changes.push_back({Find(folder)->node, found->node, below, ""});
    parent->cached.erase(parent->cached.begin() + (found - parent->cached.data()));
    return true;
  });
}

#include "host/kafka/zrkafkaclient.h"

#include <algorithm>
#include <utility>

#include "host/base/zrlogger.h"

namespace {

constexpr std::uint32_t kTurn = 1000;  // ms

std::uint32_t Now() {
  return ZRPlatform::Get().TickCount();
}

std::string Shown(const ZRKafkaSettings& settings) {
  const std::string first = settings.hosts.empty() ? "" : settings.hosts.front();
  return "Kafka cluster " + first + ":" + std::to_string(settings.port);
}

}  // namespace

ZRKafkaClient::ZRKafkaClient(ZRKafkaSettings toUse)
    : settings(std::move(toUse)),
      shown(Shown(settings)),
      wire(ZRKafkaWires::Get().NewWire(settings, *this)) {}

ZRKafkaClient::~ZRKafkaClient() {
  Stop();
}

bool ZRKafkaClient::Start() {
  {
    const ZRMutexLock lock(mutex);
    stopping = false;
  }
  return thread.Start([this] { Work(); });
}

void ZRKafkaClient::Stop() {
  {
    const ZRMutexLock lock(mutex);
    stopping = true;
    wire->Wake();
    changed.NotifyAll();
  }
  thread.Join();
}

bool ZRKafkaClient::Publish(ZRKafkaMessage message) {
  if (message.payload.empty() || message.payload.size() > settings.mostBytes) return false;
  const ZRMutexLock lock(mutex);
  waiting.emplace(++lastId, std::move(message));
  DropOldest();
  WakeWire();
  return true;
}

bool ZRKafkaClient::Keep(ZRKafkaMessage message) {
  if (message.payload.empty() || message.payload.size() > settings.mostBytes) return false;
  const ZRMutexLock lock(mutex);
  KeepLocked(std::move(message));
  return true;
}

void ZRKafkaClient::TakeAwayUnlessKept(const std::string& topic, const std::string& key) {
  const ZRMutexLock lock(mutex);
  if (!kept.contains({topic, key})) KeepLocked({topic, key, ""});
}

bool ZRKafkaClient::Keeps(const std::string& topic, const std::string& key) const {
  const ZRMutexLock lock(mutex);
  const auto found = kept.find({topic, key});
  return found != kept.end() && !found->second.isTombstone;
}

// An older message of that key that still waits is replaced.
void ZRKafkaClient::KeepLocked(ZRKafkaMessage message) {
  tagPlace place{std::move(message.topic), std::move(message.key)};
  tagKept& entry = kept[place];
  toKeep.erase(entry.newest);
  entry.newest = ++lastId;
  entry.isTombstone = message.payload.empty();
  entry.payload = std::move(message.payload);
  toKeep.emplace(entry.newest, std::move(place));
  WakeWire();
}

std::uint64_t ZRKafkaClient::Dropped() const {
  const ZRMutexLock lock(mutex);
  return dropped;
}

bool ZRKafkaClient::IsStopping() const {
  const ZRMutexLock lock(mutex);
  return stopping;
}

void ZRKafkaClient::WakeWire() {
  if (!std::exchange(woken, true)) wire->Wake();
}

void ZRKafkaClient::DropOldest() {
  while (waiting.size() > settings.mostWaiting) {
    waiting.erase(waiting.begin());
    ++dropped;
  }
}

void ZRKafkaClient::Work() {
  saysFarewell = false;
  isAlive = false;
  for (;;) {  // also when it is to stop already: what waits is sent
    ZRKafkaTrouble trouble;
    if (wire->Open(trouble)) Serve(trouble);
    PutBack();
    if (IsStopping()) break;
    OnTrouble(trouble);
    NoteDropped();
    WaitBeforeNext();
  }
  NoteUnsent();
}

void ZRKafkaClient::Serve(ZRKafkaTrouble& trouble) {
  bool goesOn = true;
  while (goesOn && !IsFarewellDone()) {
    SayAlive();
    HandOver();
    NoteDropped();
    goesOn = wire->Turn(kTurn, trouble);
  }
  wire->Close();
}

// A cluster doesn't notice that a client has died: its silence has to say so.
void ZRKafkaClient::SayAlive() {
  if (!settings.online || saysFarewell || (isAlive && Now() - aliveAt < kAlive)) return;
  isAlive = true;
  aliveAt = Now();
  (void)Keep(*settings.online);
}

// What waits, as far as the cluster keeps up.
void ZRKafkaClient::HandOver() {
  if (pauses && Now() - pausedAt < kPause) return;
  pauses = false;
  tagId id = 0;
  tagUnderWay next;
  while (underWay.size() < kMostUnderWay && Next(id, next)) {
    wire->Publish(next.message, id);
    underWay.emplace(id, std::move(next));
  }
}

bool ZRKafkaClient::Next(tagId& id, tagUnderWay& next) {
  const ZRMutexLock lock(mutex);
  woken = false;
  if (!toKeep.empty()) {
    auto [newest, place] = std::move(*toKeep.begin());
    toKeep.erase(toKeep.begin());
    id = newest;
    std::string payload = kept[place].payload;
    next = {true, {std::move(place.topic), std::move(place.key), std::move(payload)}};
    return true;
  }
  if (waiting.empty()) return false;
  const auto first = waiting.begin();
  id = first->first;
  next = {false, std::move(first->second)};
  waiting.erase(first);
  return true;
}

// `offline` comes last, so that nothing that says otherwise comes behind it.
bool ZRKafkaClient::IsFarewellDone() {
  const ZRMutexLock lock(mutex);
  if (!stopping) return false;
  if (!std::exchange(saysFarewell, true)) {
    farewellFrom = Now();
    if (settings.offline) KeepLocked(*settings.offline);
  }
  const bool isAllSent = waiting.empty() && toKeep.empty() && underWay.empty();
  return isAllSent || Now() - farewellFrom >= kFarewellTime;
}

void ZRKafkaClient::OnConfirmed(tagId id) {
  if (!std::exchange(saidConnected, true)) logger(kLogNotice, L"%s: connected", shown.c_str());
  if (!told.empty() && Now() - troubledAt >= kSettled) {
    told.clear();
    nextWait = kFirstWait;
  }
  const auto found = underWay.find(id);
  if (found == underWay.end()) return;
  const tagUnderWay entry = std::move(found->second);
  underWay.erase(found);
  if (!entry.isKept) return;
  const ZRMutexLock lock(mutex);
  const auto place = kept.find({entry.message.topic, entry.message.key});
  if (place == kept.end() || place->second.newest != id) return;
  if (place->second.isTombstone) {
    kept.erase(place);
  } else {
    std::string().swap(place->second.payload);
  }
}

void ZRKafkaClient::OnRefused(tagId id, bool isHopeless, const ZRKafkaTrouble& trouble) {
  OnTrouble(trouble);
  auto entry = underWay.extract(id);
  if (entry.empty() || isHopeless) return;
  pauses = true;
  pausedAt = Now();
  const ZRMutexLock lock(mutex);
  PutBack(id, std::move(entry.mapped()));
  DropOldest();
}

void ZRKafkaClient::OnTrouble(const ZRKafkaTrouble& trouble) {
  troubledAt = Now();
  if (!told.insert(trouble.cause).second) return;
  saidConnected = false;
  logger(kLogDelivery, L"%s: %s", shown.c_str(), trouble.text.c_str());
}

// What isn't confirmed waits again, in its old place.
void ZRKafkaClient::PutBack() {
  const ZRMutexLock lock(mutex);
  for (auto& [id, entry] : underWay)
    PutBack(id, std::move(entry));
  underWay.clear();
  DropOldest();
}

// Of the picture only if nothing newer has come.
void ZRKafkaClient::PutBack(tagId id, tagUnderWay entry) {
  ZRKafkaMessage& message = entry.message;
  if (!entry.isKept) {
    waiting.emplace(id, std::move(message));
    return;
  }
  tagPlace place{std::move(message.topic), std::move(message.key)};
  const auto found = kept.find(place);
  if (found != kept.end() && found->second.newest == id) toKeep.emplace(id, std::move(place));
}

void ZRKafkaClient::NoteDropped() {
  const ZRMutexLock lock(mutex);
  drops.Tell(shown, waiting.size(), dropped);
}

void ZRKafkaClient::NoteUnsent() {
  const ZRMutexLock lock(mutex);
  const std::size_t left = waiting.size() + toKeep.size();
  if (left != 0)
    logger(kLogDelivery, L"%s: %zu messages weren't sent any more", shown.c_str(), left);
}

void ZRKafkaClient::WaitBeforeNext() {
  const std::uint32_t from = Now();
  const std::uint32_t span = nextWait;
  nextWait = std::min(nextWait * 2, kLongestWait);
  const ZRMutexLock lock(mutex);
  for (std::uint32_t gone = 0; !stopping && gone < span; gone = Now() - from)
    (void)changed.Wait(mutex, span - gone);
}

#include "host/mqtt/zrmqttclient.h"

#include <algorithm>

#include "host/base/zrlogger.h"

namespace {

constexpr std::uint32_t kTurn = 1000;  // ms; the wire looks after its keep-alive between two

std::uint32_t Now() {
  return ZRPlatform::Get().TickCount();
}

}  // namespace

ZRMqttClient::ZRMqttClient(ZRMqttSettings toUse, tagCallbacks toCall)
    : settings(std::move(toUse)),
      callbacks(std::move(toCall)),
      shown("MQTT broker " + settings.host + ":" + std::to_string(settings.port)),
      wire(ZRMqttWires::Get().NewWire(settings, *this)) {}

ZRMqttClient::~ZRMqttClient() {
  Stop();
}

bool ZRMqttClient::Start() {
  {
    const ZRMutexLock lock(mutex);
    stopping = false;
    trouble.clear();
  }
  return thread.Start([this] { Work(); });
}

void ZRMqttClient::Stop() {
  {
    const ZRMutexLock lock(mutex);
    stopping = true;
    wire->Wake();
    changed.NotifyAll();
  }
  thread.Join();
}

bool ZRMqttClient::Publish(ZRMqttMessage message) {
  if (message.payload.size() > settings.mostBytes) return false;
  const ZRMutexLock lock(mutex);
  if (!settings.outlasts && !connected) return false;
  waiting.push_back(std::move(message));
  DropOldest();
  WakeWire();
  return true;
}

bool ZRMqttClient::Keep(const std::string& topic, std::string payload) {
  if (payload.size() > settings.mostBytes) return false;
  const ZRMutexLock lock(mutex);
  tagKept& entry = kept[topic];
  entry.payload = std::move(payload);
  if (!entry.waits) toRefresh.push_back(topic);
  entry.waits = true;
  WakeWire();
  return true;
}

bool ZRMqttClient::Keeps(const std::string& topic) const {
  const ZRMutexLock lock(mutex);
  const auto found = kept.find(topic);
  return found != kept.end() && !found->second.payload.empty();
}

void ZRMqttClient::Subscribe(const std::string& filter, int qos) {
  const ZRMutexLock lock(mutex);
  subscriptions[filter] = qos;
  filterChanges.emplace_back(filter, true);
  WakeWire();
}

void ZRMqttClient::Unsubscribe(const std::string& filter) {
  const ZRMutexLock lock(mutex);
  if (subscriptions.erase(filter) == 0) return;
  filterChanges.emplace_back(filter, false);
  WakeWire();
}

bool ZRMqttClient::IsConnected() const {
  const ZRMutexLock lock(mutex);
  return connected;
}

std::string ZRMqttClient::Trouble() const {
  const ZRMutexLock lock(mutex);
  return trouble;
}

std::uint64_t ZRMqttClient::Dropped() const {
  const ZRMutexLock lock(mutex);
  return dropped;
}

bool ZRMqttClient::IsStopping() const {
  const ZRMutexLock lock(mutex);
  return stopping;
}

void ZRMqttClient::WakeWire() {
  if (std::exchange(woken, true)) return;
  wire->Wake();
}

void ZRMqttClient::DropOldest() {
  while (waiting.size() > settings.mostWaiting) {
    waiting.pop_front();
    ++dropped;
  }
}

void ZRMqttClient::RefreshAll() {
  toRefresh.clear();
  for (auto& [topic, entry] : kept) {
    entry.waits = true;
    toRefresh.push_back(topic);
  }
}

void ZRMqttClient::Work() {
  saysFarewell = false;
  while (!IsStopping()) {
    std::string reason;
    if (wire->Connect(reason)) ServeConnection(reason);
    PutBack();
    if (IsStopping()) break;
    NoteTrouble(reason);
    NoteDropped();
    WaitBeforeNext();
  }
}

void ZRMqttClient::ServeConnection(std::string& reason) {
  accepted = false;
  bool goesOn = WaitForAnswer(reason);
  if (goesOn) NoteConnected();
  while (goesOn && !IsFarewellDone()) {
    if (HandOver()) {
      NoteDropped();
      goesOn = wire->Turn(kTurn, reason);
    } else {
      reason = "it takes no more messages";
      goesOn = false;
    }
  }
  wire->Disconnect(goesOn);
  const bool wasConnected = [this] {
    const ZRMutexLock lock(mutex);
    return std::exchange(connected, false);
  }();
  if (wasConnected && callbacks.lost) callbacks.lost();
}

// False if the connection is over, and when the client stops.
bool ZRMqttClient::WaitForAnswer(std::string& reason) {
  const std::uint32_t from = Now();
  while (!accepted) {
    const std::uint32_t gone = Now() - from;
    if (gone >= kAnswerTime) reason = "it doesn't answer";
    if (gone >= kAnswerTime || IsStopping()) return false;
    if (!wire->Turn(kAnswerTime - gone, reason)) return false;
  }
  return true;
}

// The birth comes right behind the subscriptions, so it is seen by them.
void ZRMqttClient::NoteConnected() {
  {
    const ZRMutexLock lock(mutex);
    connected = true;
    trouble.clear();
    filterChanges.clear();
    for (const auto& [filter, qos] : subscriptions)
      filterChanges.emplace_back(filter, true);
    RefreshAll();
  }
  acceptedAt = Now();
  if (!std::exchange(saidConnected, true)) logger(kLogNotice, L"%s: connected", shown.c_str());
  if (callbacks.connected) callbacks.connected();
  if (!settings.birth) return;
  tagUnderWay birth{0, true, *settings.birth};
  if (!HandOverSubscriptions() || !wire->Publish(birth.message, birth.id)) return;
  underWay.push_back(std::move(birth));
}

bool ZRMqttClient::HandOverSubscriptions() {
  std::vector<std::pair<std::string, bool>> changes;
  std::map<std::string, int> wanted;
  {
    const ZRMutexLock lock(mutex);
    woken = false;
    if (filterChanges.empty()) return true;
    changes.swap(filterChanges);
    wanted = subscriptions;
  }
  return std::all_of(changes.begin(), changes.end(), [&](const auto& change) {
    const auto qos = wanted.find(change.first);
    if (!change.second) return wire->Unsubscribe(change.first);
    return qos == wanted.end() || wire->Subscribe(change.first, qos->second);
  });
}

// Everything that waits, as far as the broker keeps up.
bool ZRMqttClient::HandOver() {
  if (!HandOverSubscriptions()) return false;
  tagUnderWay next;
  while (underWay.size() < kMostUnderWay && NextMessage(next)) {
    const bool taken = wire->Publish(next.message, next.id);
    underWay.push_back(std::move(next));  // not taken: put back with the others
    if (!taken) return false;
  }
  return true;
}

bool ZRMqttClient::NextMessage(tagUnderWay& next) {
  const ZRMutexLock lock(mutex);
  next = {};
  if (!toRefresh.empty()) {
    const auto entry = kept.find(toRefresh.front());
    toRefresh.pop_front();
    next.isKept = true;
    next.message = {entry->first, entry->second.payload, 1, true};
    entry->second.waits = false;
    if (entry->second.payload.empty()) kept.erase(entry);
    return true;
  }
  if (waiting.empty()) return false;
  next.message = std::move(waiting.front());
  waiting.pop_front();
  return true;
}

// The will comes last, so that nothing that says otherwise comes behind it.
bool ZRMqttClient::IsFarewellDone() {
  const ZRMutexLock lock(mutex);
  if (!stopping) return false;
  if (!std::exchange(saysFarewell, true)) {
    farewellFrom = Now();
    if (settings.will) waiting.push_back(*settings.will);
  }
  const bool isAllSent = waiting.empty() && toRefresh.empty() && underWay.empty();
  return isAllSent || Now() - farewellFrom >= kFarewellTime;
}

// What the broker hasn't confirmed waits again, in front of what came later, if it outlasts.
void ZRMqttClient::PutBack() {
  const ZRMutexLock lock(mutex);
  for (auto entry = underWay.rbegin(); entry != underWay.rend(); ++entry)
    if (!entry->isKept) waiting.push_front(std::move(entry->message));
  underWay.clear();
  if (!settings.outlasts) dropped += std::exchange(waiting, {}).size();
  DropOldest();
}

void ZRMqttClient::OnAccepted() {
  accepted = true;
}

void ZRMqttClient::OnMessage(ZRMqttMessage message) {
  if (message.payload.size() > settings.mostBytes) {
    if (!std::exchange(saidTooLarge, true)) {
      logger(kLogDelivery, L"%s: messages of more than %zu bytes are passed over", shown.c_str(),
             settings.mostBytes);
    }
    return;
  }
  if (callbacks.received) callbacks.received(message);
}

void ZRMqttClient::OnSent(int id) {
  const auto found = std::find_if(underWay.begin(), underWay.end(),
                                  [id](const tagUnderWay& entry) { return entry.id == id; });
  if (found != underWay.end()) underWay.erase(found);
}

void ZRMqttClient::NoteTrouble(const std::string& reason) {
  if (accepted && Now() - acceptedAt >= kSettled) {
    told.clear();
    nextWait = kFirstWait;
  }
  accepted = false;
  const std::string what = shown + ": not connected: " + reason;
  {
    const ZRMutexLock lock(mutex);
    trouble = what;
  }
  if (!told.insert(reason).second) return;
  saidConnected = false;
  logger(kLogDelivery, L"%s", what.c_str());
}

void ZRMqttClient::NoteDropped() {
  const ZRMutexLock lock(mutex);
  drops.Tell(shown, waiting.size(), dropped);
}

void ZRMqttClient::WaitBeforeNext() {
  const std::uint32_t from = Now();
  const std::uint32_t span = nextWait;
  nextWait = std::min(nextWait * 2, kLongestWait);
  const ZRMutexLock lock(mutex);
  for (std::uint32_t gone = 0; !stopping && gone < span; gone = Now() - from)
    (void)changed.Wait(mutex, span - gone);
}

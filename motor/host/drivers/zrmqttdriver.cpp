#include "host/drivers/zrmqttdriver.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"

namespace {

constexpr const wchar_t* kOnline = L"ONLINE";
constexpr const wchar_t* kErrors = L"ERRORS";

std::uint32_t Ticks() {
  return ZRPlatform::Get().TickCount();
}

}  // namespace

ZRMqttDriver::ZRMqttDriver(const ZRWString& ofId, const ZRWString& ofName,
                           ZRMqttDriverSettings toUse)
    : ZRPolledDriver(ofId, ofName, kLook),
      settings(std::move(toUse)),
      client(settings.broker, {[this] { TakeConnection(true); }, [this] { TakeConnection(false); },
                               [this](const ZRMqttMessage& message) { Receive(message); }}) {
  online = AddPolled(kOnline);
  errors = AddPolled(kErrors);
  for (std::size_t index = 0; index < settings.variables.size(); ++index) {
    (void)AddPolled(settings.variables[index].name);
    std::vector<std::size_t>& listeners = topics[settings.variables[index].topic];
    if (listeners.empty()) client.Subscribe(settings.variables[index].topic, settings.qos);
    listeners.push_back(index);
  }
}

ZRMqttDriver::~ZRMqttDriver() {
  ZRMqttDriver::Stop();
}

bool ZRMqttDriver::Prepare() {
  ZRMutexLock lock(mutex);
  states.assign(settings.variables.size(), {});
  told.clear();
  bad = 0;
  return true;
}

bool ZRMqttDriver::Start() {
  if (clientRuns) return true;
  if (!ZRPolledDriver::Start()) return false;
  const std::int64_t utc = ZRPlatform::Get().UtcMilliseconds();
  Variable(online).SetNumber(0.0, utc);
  Variable(errors).SetNumber(0.0, utc);
  clientRuns = client.Start();
  if (clientRuns) return true;
  logger(kLogInvariant, L"driver '%ls': the system gives no thread", Name().Text());
  ZRPolledDriver::Stop();
  return false;
}

// The client first: nobody writes a variable behind the end.
void ZRMqttDriver::Stop() {
  if (!std::exchange(clientRuns, false)) return;
  client.Stop();
  ZRPolledDriver::Stop();
}

void ZRMqttDriver::TakeConnection(bool isThere) {
  {
    ZRMutexLock lock(mutex);
    lostAt = Ticks();
    connected = isThere;
  }
  Variable(online).SetNumber(isThere ? 1.0 : 0.0, ZRPlatform::Get().UtcMilliseconds());
  Wake();
}

void ZRMqttDriver::Receive(const ZRMqttMessage& message) {
  const auto topic = topics.find(message.topic);
  if (topic == topics.end()) return;
  ZRMqttPayload payload(message.payload);
  for (const std::size_t index : topic->second) {
    const ZRMqttVariable& about = settings.variables[index];
    if (about.takesRetained || !message.retain) Show(index, payload.Read(about.reading));
  }
}

void ZRMqttDriver::Show(std::size_t index, const ZRMqttAnswer& answer) {
  using tagKind = ZRMqttAnswer::tagKind;
  if (answer.kind == tagKind::kNothing) return;
  const std::int64_t utc = ZRPlatform::Get().UtcMilliseconds();
  std::string toTell;
  {
    ZRMutexLock lock(mutex);
    tagState& state = states[index];
    state.heard = Ticks();
    state.isShown = answer.kind == tagKind::kNumber || answer.kind == tagKind::kText;
    state.trouble.clear();
    if (answer.kind == tagKind::kNumber) {
      Live(index).SetNumber(answer.number, utc);
    } else if (answer.kind == tagKind::kText) {
      Live(index).SetText(answer.text, utc);
    } else {
      Live(index).SetUnavailable();
    }
    if (answer.kind == tagKind::kBad) toTell = NoteBad(index, answer);
  }
  if (!toTell.empty()) logger(kLogDelivery, L"driver '%ls': %s", Name().Text(), toTell.c_str());
}

std::string ZRMqttDriver::NoteBad(std::size_t index, const ZRMqttAnswer& answer) {
  const ZRMqttVariable& about = settings.variables[index];
  const std::string name(Utf16ToUtf8(about.name.View()).View());
  const std::string what = (answer.isOfPayload ? "" : "variable '" + name + "': ") +
                           "what came for '" + about.topic + "' " + answer.text;
  states[index].trouble = what;
  Variable(errors).SetNumber(static_cast<double>(++bad), ZRPlatform::Get().UtcMilliseconds());
  const std::uint32_t now = Ticks();
  const auto [cause, isNew] = told.try_emplace(what, now);
  const std::uint32_t quiet = now - std::exchange(cause->second, now);
  return isNew || quiet >= kForgotten ? what : std::string();
}

void ZRMqttDriver::Poll(std::int64_t /*utc*/) {
  ZRMutexLock lock(mutex);
  const std::uint32_t now = Ticks();
  const bool isCutOff = !connected && now - lostAt >= settings.grace;
  for (std::size_t index = 0; index < states.size(); ++index) {
    tagState& state = states[index];
    const std::uint32_t mostAge = settings.variables[index].mostAge;
    const bool isTooOld = mostAge != 0 && now - state.heard >= mostAge;
    if (!state.isShown || !(isCutOff || isTooOld)) continue;
    state.isShown = false;
    Live(index).SetUnavailable();
  }
}

const ZRMqttVariable* ZRMqttDriver::Described(std::int64_t variable) const {
  if (!HasVariable(variable) || variable <= errors) return nullptr;
  return &settings.variables[static_cast<std::size_t>(variable - errors) - 1];
}

ZRLiveValue& ZRMqttDriver::Live(std::size_t index) {
  return Variable(errors + 1 + static_cast<std::int64_t>(index));
}

bool ZRMqttDriver::ForceValue(std::int64_t variable, const ZRValue& value, const wchar_t* name) {
  const ZRMqttVariable* const about = Described(variable);
  if (about == nullptr || !about->command) return false;
  const ZRMqttCommand& command = *about->command;
  std::optional<std::string> payload = CommandPayload(about->reading, command, value);
  if (!payload) return false;
  const bool done =
      client.Publish({command.topic, std::move(*payload), command.qos, command.retain});
  if (done) logger(kLogTrace, L"driver '%ls': '%ls' is forced", Name().Text(), name);
  return done;
}

bool ZRMqttDriver::ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const {
  if (!HasVariable(variable)) return false;
  info = {};
  const ZRMqttVariable* const about = Described(variable);
  if (about == nullptr) return true;
  info.measure = about->measure.c_str();
  if (about->command) info.flags = tagSVariableValueInfo::kForceable;
  if (about->reading.type == ZRMqttReading::tagType::kText)
    info.type = tagSVariableValueInfo::kText;
  if (about->reading.type != ZRMqttReading::tagType::kSwitch) return true;
  info.labels = {StateLabel(false, about->hasOwnWords ? &about->reading.off.front() : nullptr),
                 StateLabel(true, about->hasOwnWords ? &about->reading.on.front() : nullptr)};
  return true;
}

ZRString ZRMqttDriver::Trouble() const {
  std::string first = client.Trouble();
  if (!first.empty()) return ZRString(first.c_str());
  ZRMutexLock lock(mutex);
  std::size_t more = 0;
  for (const tagState& state : states) {
    if (state.trouble.empty()) continue;
    if (first.empty()) {
      first = state.trouble;
    } else {
      ++more;
    }
  }
  if (more > 0) first += "; and " + std::to_string(more) + " more";
  return ZRString(first.c_str());
}

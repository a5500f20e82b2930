// Values that are forced: from any thread to the thread of the bus, and back.
#include <algorithm>
#include <cmath>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/drivers/zrmodbusdriver.h"

namespace {

constexpr std::size_t kMostWaiting = 1000;

}  // namespace

bool ZRModbusDriver::FindRegister(std::int64_t variable, std::size_t& meter,
                                  std::size_t& index) const {
  if (!HasVariable(variable)) return false;
  const auto next = std::upper_bound(
      meters.begin(), meters.end(), variable,
      [](std::int64_t number, const tagMeter& other) { return number < other.first; });
  meter = static_cast<std::size_t>(next - meters.begin()) - 1;
  if (variable == meters[meter].first) return false;
  index = static_cast<std::size_t>(variable - meters[meter].first) - 1;
  return true;
}

bool ZRModbusDriver::ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const {
  if (!HasVariable(variable)) return false;
  info = {};
  std::size_t meter = 0;
  std::size_t index = 0;
  if (!FindRegister(variable, meter, index)) return true;
  const ZRModbusRegister& about = RegisterOf(meter, index);
  info.measure = about.measure.c_str();
  if (about.writable) info.flags = tagSVariableValueInfo::kForceable;
  if (about.type == ZRModbusType::kText) info.type = tagSVariableValueInfo::kText;
  if (about.type != ZRModbusType::kBit) return true;
  info.labels = {StateLabel(false, nullptr), StateLabel(true, nullptr)};
  return true;
}

bool ZRModbusDriver::ForceValue(std::int64_t variable, const ZRValue& value, const wchar_t* name) {
  using tagState = tagForced::tagState;
  const auto forced = std::make_shared<tagForced>();
  if (!FindRegister(variable, forced->meter, forced->index) || !value.IsNumeric()) return false;
  const ZRModbusRegister& about = RegisterOf(forced->meter, forced->index);
  forced->value = value.Numeric();
  if (!about.writable || !(forced->value >= about.least && forced->value <= about.most))
    return false;
  {
    ZRMutexLock lock(mutex);
    if (!takesForced || !answering[forced->meter] || toForce.size() >= kMostWaiting) return false;
    toForce.push_back(forced);
  }
  Wake();
  ZRMutexLock lock(mutex);
  const std::uint32_t begin = ZRPlatform::Get().TickCount();
  while (forced->state == tagState::kWaiting || forced->state == tagState::kUnderWay) {
    const std::uint32_t waited = ZRPlatform::Get().TickCount() - begin;
    if (waited >= kForcePatience || !ended.Wait(mutex, kForcePatience - waited)) break;
  }
  toForce.erase(std::remove(toForce.begin(), toForce.end(), forced), toForce.end());
  const bool done = forced->state == tagState::kDone;
  if (done) logger(kLogTrace, L"driver '%ls': '%ls' is forced", Name().Text(), name);
  return done;
}

void ZRModbusDriver::WriteForced() {
  while (const tagForcedPointer forced = NextForced()) {
    const bool done = !IsStopping() && Write(*forced);
    EndForced(*forced, done);
  }
}

ZRModbusDriver::tagForcedPointer ZRModbusDriver::NextForced() {
  ZRMutexLock lock(mutex);
  if (toForce.empty()) return nullptr;
  tagForcedPointer next = std::move(toForce.front());
  toForce.pop_front();
  next->state = tagForced::tagState::kUnderWay;
  return next;
}

void ZRModbusDriver::EndForced(tagForced& forced, bool done) {
  {
    ZRMutexLock lock(mutex);
    forced.state = done ? tagForced::tagState::kDone : tagForced::tagState::kFailed;
  }
  ended.NotifyAll();
}

bool ZRModbusDriver::Write(const tagForced& forced) {
  const ZRModbusRegister& about = RegisterOf(forced.meter, forced.index);
  tagMeter& meter = meters[forced.meter];
  now = Elapsed();
  if (now < busHealth.retry || now < meter.health.retry) return false;
  const double exponent = about.scaleFrom ? meter.raws[*about.scaleFrom] : 0.0;
  const auto words = EncodeNumber(about, forced.value, exponent);
  if (!words) return false;
  const ZRModbusAnswer answer =
      Exchange(forced.meter, WriteRequest(about.table, about.address, *words));
  if (answer.outcome == ZRModbusOutcome::kException) {
    logger(kLogDelivery, L"driver '%ls': %s doesn't take %s %g: %s", Name().Text(),
           NameOf(forced.meter).c_str(), about.name.c_str(), forced.value,
           ExceptionText(answer.exception).c_str());
  }
  if (answer.outcome != ZRModbusOutcome::kDone) return false;
  // What the device made of it is read at once.
  const ZRModbusMap& map = *settings.meters[forced.meter].map;
  for (std::size_t block = 0; block < map.blocks.size(); ++block) {
    const std::vector<std::size_t>& read = map.blocks[block].registers;
    if (std::find(read.begin(), read.end(), forced.index) != read.end())
      meter.reads[block].due = now;
  }
  return true;
}

#include "host/drivers/zrmodbusdriver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "host/base/zrlogger.h"
#include "host/tools/zrtext.h"

namespace {

constexpr const wchar_t* kOnline = L"ONLINE";
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr int kMostDoublings = 20;

// How long a thing is left alone that failed so often in a row.
std::int64_t BackOff(std::uint32_t period, int failures) {
  const std::int64_t most = std::max<std::int64_t>(period, ZRModbusDriver::kLongestRetry);
  return std::min(most, std::int64_t{period} << std::min(failures - 1, kMostDoublings));
}

std::string BlockText(const ZRModbusBlock& block) {
  constexpr const char* kNames[] = {"", "coils", "discrete inputs", "holding registers",
                                    "input registers"};
  return std::string(kNames[static_cast<std::size_t>(block.table)]) + " " +
         std::to_string(block.address) + " to " + std::to_string(block.address + block.count - 1);
}

std::string OutcomeText(const ZRModbusAnswer& answer, const std::string& reason) {
  switch (answer.outcome) {
    case ZRModbusOutcome::kSilent:
      return "doesn't answer";
    case ZRModbusOutcome::kWrong:
      return "answers what it wasn't asked";
    default:
      return "is lost: " + reason;
  }
}

}  // namespace

ZRModbusDriver::ZRModbusDriver(const ZRWString& ofId, const ZRWString& ofName,
                               std::uint32_t periodMilliseconds, ZRModbusSettings toUse)
    : ZRPolledDriver(ofId, ofName, periodMilliseconds), settings(std::move(toUse)) {
  meters.resize(settings.meters.size());
  for (std::size_t at = 0; at < meters.size(); ++at) {
    const ZRModbusMeter& about = settings.meters[at];
    meters[at].first = AddPolled(about.prefix + kOnline);
    for (const ZRModbusRegister& one : about.map->registers)
      (void)AddPolled(about.prefix + Utf8ToUtf16(one.name));
  }
}

ZRModbusDriver::~ZRModbusDriver() {
  ZRModbusDriver::Stop();
}

bool ZRModbusDriver::Prepare() {
  link = ZRModbusWire::Get().NewLink(settings.bus);
  for (std::size_t at = 0; at < meters.size(); ++at) {
    const ZRModbusMap& map = *settings.meters[at].map;
    meters[at].reads.assign(map.blocks.size(), {});
    meters[at].raws.assign(map.registers.size(), kNone);
    meters[at].health = {};
    meters[at].online = false;
  }
  busHealth = {};
  nextDue = 0;
  isFirstPass = true;
  toldSlow = false;
  ZRMutexLock lock(mutex);
  takesForced = true;
  trouble.clear();
  answering.assign(meters.size(), false);
  return true;
}

void ZRModbusDriver::Stop() {
  {
    // Who waits in ForceValue is told, and nobody else begins to.
    ZRMutexLock lock(mutex);
    takesForced = false;
    for (const tagForcedPointer& forced : toForce)
      forced->state = tagForced::tagState::kFailed;
    toForce.clear();
  }
  ended.NotifyAll();
  ZRPolledDriver::Stop();
  answers.store(false, std::memory_order_release);
  if (link) link->Close();
}

std::int64_t ZRModbusDriver::NextDue(std::int64_t /*due*/) const {
  return nextDue;
}

// The pass in Start asks nothing: a device that is away would hold the start up.
void ZRModbusDriver::Poll(std::int64_t /*utc*/) {
  now = Elapsed();
  if (std::exchange(isFirstPass, false)) {
    for (tagMeter& meter : meters)
      ShowOnline(meter, false);
    return;
  }
  const std::int64_t begin = now;
  hasFailed = false;
  for (std::size_t meter = 0; meter < meters.size(); ++meter)
    AskDue(meter);
  WriteForced();
  now = Elapsed();
  if (!hasFailed && now - begin > Period() && !std::exchange(toldSlow, true))
    logger(kLogNotice, L"driver '%ls': the bus is too slow for its periods", Name().Text());
  Expire();
  NoteTrouble();
  Plan();
}

void ZRModbusDriver::AskDue(std::size_t meter) {
  std::vector<tagRead>& reads = meters[meter].reads;
  for (std::size_t block = 0; block < reads.size(); ++block) {
    WriteForced();
    now = Elapsed();
    const tagHealth& health = meters[meter].health;
    if (now < busHealth.retry || now < health.retry || IsStopping()) return;
    if (now >= reads[block].due && now >= reads[block].health.retry) Ask(meter, block);
  }
}

void ZRModbusDriver::Ask(std::size_t meter, std::size_t block) {
  const ZRModbusBlock& asked = settings.meters[meter].map->blocks[block];
  tagRead& read = meters[meter].reads[block];
  const ZRModbusAnswer answer =
      Exchange(meter, ReadRequest(asked.table, asked.address, asked.count));
  read.due += asked.period;
  if (read.due <= now) read.due = now + asked.period;
  if (answer.outcome == ZRModbusOutcome::kDone) {
    Good(read.health, NameOf(meter) + ", " + BlockText(asked));
    Accept(meter, block, answer.values);
  } else if (answer.outcome == ZRModbusOutcome::kException) {
    Bad(read.health, asked.period,
        NameOf(meter) + ", " + BlockText(asked) +
            " can't be read: " + ExceptionText(answer.exception));
  } else {
    ++read.health.failures;  // of the device or the bus, which is left alone for a while
  }
}

ZRModbusAnswer ZRModbusDriver::Exchange(std::size_t meter, const ZRModbusRequest& request) {
  if (settings.pause > 0) ZRPlatform::Get().Sleep(settings.pause);
  ZRBytes bytes;
  ZRModbusAnswer answer;
  answer.outcome = link->Exchange(settings.meters[meter].unit, RequestBytes(request), bytes);
  if (answer.outcome == ZRModbusOutcome::kDone) answer = ReadAnswer(request, bytes);
  const std::string reason = link->Reason();
  // What may still come is never taken for the answer to another request.
  if (answer.outcome != ZRModbusOutcome::kDone && answer.outcome != ZRModbusOutcome::kException)
    link->Close();
  now = Elapsed();
  TellOutcome(meter, answer, reason);
  return answer;
}

void ZRModbusDriver::TellOutcome(std::size_t meter, const ZRModbusAnswer& answer,
                                 const std::string& reason) {
  tagMeter& asked = meters[meter];
  const std::string bus = NameOfBus(settings.bus);
  if (answer.outcome == ZRModbusOutcome::kUnreachable)
    return Bad(busHealth, Period(), bus + " can't be reached: " + reason);
  Good(busHealth, bus);
  if (answer.outcome != ZRModbusOutcome::kDone && answer.outcome != ZRModbusOutcome::kException)
    return Bad(asked.health, Period(), NameOf(meter) + " " + OutcomeText(answer, reason));
  Good(asked.health, NameOf(meter));
  ShowOnline(asked, true);
}

void ZRModbusDriver::Accept(std::size_t meter, std::size_t block,
                            const std::vector<std::uint16_t>& values) {
  const ZRModbusBlock& read = settings.meters[meter].map->blocks[block];
  const auto wordsOf = [&](std::size_t index) {
    const ZRModbusRegister& about = RegisterOf(meter, index);
    const auto first = values.begin() + (about.address - read.address);
    return std::vector<std::uint16_t>(first, first + about.count);
  };
  // The powers of ten first: they may stand behind what they scale.
  for (const std::size_t index : read.registers) {
    meters[meter].raws[index] = RawNumber(RegisterOf(meter, index), wordsOf(index)).value_or(kNone);
  }
  for (const std::size_t index : read.registers)
    Show(meter, index, wordsOf(index));
  meters[meter].reads[block].shown = true;
}

void ZRModbusDriver::Show(std::size_t meter, std::size_t index,
                          const std::vector<std::uint16_t>& words) {
  const ZRModbusRegister& about = RegisterOf(meter, index);
  const tagMeter& read = meters[meter];
  ZRLiveValue& live = Variable(read.first + 1 + static_cast<std::int64_t>(index));
  const std::int64_t utc = ZRPlatform::Get().UtcMilliseconds();
  if (about.type == ZRModbusType::kText) return live.SetText(RegisterText(about, words), utc);
  const double exponent = about.scaleFrom ? read.raws[*about.scaleFrom] : 0.0;
  live.SetNumber(Scaled(about, read.raws[index], exponent).value_or(kNone), utc);
}

bool ZRModbusDriver::IsLost(const tagHealth& health, std::uint32_t each) const {
  return health.failures > 0 && now - health.lastGood >= std::int64_t{each} * settings.missed;
}

// What wasn't read for too long isn't shown any more.
void ZRModbusDriver::Expire() {
  bool some = false;
  for (std::size_t at = 0; at < meters.size(); ++at) {
    tagMeter& meter = meters[at];
    const ZRModbusMap& map = *settings.meters[at].map;
    const bool isCutOff = busHealth.failures > 0 || meter.health.failures > 0;
    for (std::size_t block = 0; block < meter.reads.size(); ++block) {
      tagRead& read = meter.reads[block];
      if (isCutOff) read.health.failures = std::max(read.health.failures, 1);
      if (!read.shown || !IsLost(read.health, map.blocks[block].period)) continue;
      read.shown = false;
      for (const std::size_t index : map.blocks[block].registers)
        Variable(meter.first + 1 + static_cast<std::int64_t>(index)).SetUnavailable();
    }
    if (busHealth.failures > 0) meter.health.failures = std::max(meter.health.failures, 1);
    if (meter.online && IsLost(meter.health, Period())) ShowOnline(meter, false);
    some = some || meter.online;
  }
  answers.store(some, std::memory_order_release);
}

void ZRModbusDriver::ShowOnline(tagMeter& meter, bool isOnline) {
  meter.online = isOnline;
  Variable(meter.first).SetNumber(isOnline ? 1.0 : 0.0, ZRPlatform::Get().UtcMilliseconds());
  if (isOnline) answers.store(true, std::memory_order_release);
  ZRMutexLock lock(mutex);
  answering[static_cast<std::size_t>(&meter - meters.data())] = isOnline;
}

void ZRModbusDriver::NoteTrouble() {
  std::string first = busHealth.told;
  int more = -1;
  for (const tagMeter& meter : meters) {
    std::string found = meter.health.told;
    for (const tagRead& read : meter.reads)
      if (found.empty()) found = read.health.told;
    if (found.empty()) continue;
    ++more;
    if (first.empty()) first = found;
  }
  if (busHealth.told.empty() && more > 0) first += "; and " + std::to_string(more) + " more";
  ZRMutexLock lock(mutex);
  trouble = first;
}

ZRString ZRModbusDriver::Trouble() const {
  ZRMutexLock lock(mutex);
  return ZRString(trouble.c_str());
}

// The next pass is due when something can be asked, or has to be given up.
void ZRModbusDriver::Plan() {
  nextDue = kNever;
  for (std::size_t at = 0; at < meters.size(); ++at) {
    const tagMeter& meter = meters[at];
    const ZRModbusMap& map = *settings.meters[at].map;
    const std::int64_t window = std::int64_t{Period()} * settings.missed;
    if (meter.online && meter.health.failures > 0)
      nextDue = std::min(nextDue, meter.health.lastGood + window);
    for (std::size_t block = 0; block < meter.reads.size(); ++block) {
      const tagRead& read = meter.reads[block];
      nextDue = std::min(
          nextDue, std::max({read.due, read.health.retry, meter.health.retry, busHealth.retry}));
      if (!read.shown || read.health.failures == 0) continue;
      const std::int64_t lost =
          read.health.lastGood + std::int64_t{map.blocks[block].period} * settings.missed;
      nextDue = std::min(nextDue, lost);
    }
  }
}

void ZRModbusDriver::Good(tagHealth& health, const std::string& who) {
  health.failures = 0;
  health.retry = 0;
  health.lastGood = now;
  if (std::exchange(health.told, {}).empty()) return;
  logger(kLogNotice, L"driver '%ls': %s is there again", Name().Text(), who.c_str());
}

// One line for a cause.
void ZRModbusDriver::Bad(tagHealth& health, std::uint32_t each, const std::string& what) {
  hasFailed = true;
  ++health.failures;
  health.retry = now + BackOff(each, health.failures);
  if (health.told == what) return;
  health.told = what;
  logger(kLogDelivery, L"driver '%ls': %s", Name().Text(), what.c_str());
}

std::string ZRModbusDriver::NameOf(std::size_t meter) const {
  return "unit " + std::to_string(settings.meters[meter].unit);
}

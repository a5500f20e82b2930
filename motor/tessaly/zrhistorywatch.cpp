#include "tessaly/zrhistorywatch.h"

#include <array>
#include <string>

#include "host/base/zrlogger.h"
#include "host/driversupport/eventfile/zreventfiletroubles.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

struct tagTrouble {
  ZREventFileTrouble trouble;
  const char* text;
  bool hinders;  // records wait because of it
};
constexpr std::array<tagTrouble, kEventFileTroubles> kTroubles = {{
    {ZREventFileTrouble::kCreate, "not made", true},
    {ZREventFileTrouble::kOpen, "not opened", true},
    {ZREventFileTrouble::kRefused, "refused", true},
    {ZREventFileTrouble::kWrite, "not written", true},
    {ZREventFileTrouble::kSync, "not made durable", true},
    {ZREventFileTrouble::kTorn, "with bytes set aside", false},
    {ZREventFileTrouble::kDamaged, "damaged records met", false},
}};

std::uint64_t HinderingTroubles() {
  std::uint64_t sum = 0;
  for (const tagTrouble& one : kTroubles)
    if (one.hinders) sum += ZREventFileTroubles::Get().Count(one.trouble);
  return sum;
}

// "3 not made, 1 not opened"; empty without any.
std::string TroublesText() {
  std::string text;
  for (const tagTrouble& one : kTroubles) {
    const std::uint64_t count = ZREventFileTroubles::Get().Count(one.trouble);
    if (count == 0) continue;
    if (!text.empty()) text += ", ";
    text += std::to_string(count) + " " + one.text;
  }
  return text;
}

long long WaitingRecords() {
  long long sum = 0;
  const ZREventSystem& store = ZREventSystem::Get();
  for (auto event = store.EventsBegin(); event != store.EventsEnd(); ++event)
    sum += (*event)->WaitingRecords();
  return sum;
}

}  // namespace

ZRHistoryWatch::ZRHistoryWatch() : lostBefore(ZREventDriver::LostRecords()) {}

void ZRHistoryWatch::Look() {
  const long long waiting = WaitingRecords();
  const std::uint64_t troubles = HinderingTroubles();
  const bool isHindered = troubles > troublesBefore;
  if (waiting > 0 && !doWait && (isHindered || didWaitBefore)) {
    logger(kLogDelivery, L"%lld records of the history wait to be written%s", waiting,
           isHindered ? (": data files " + TroublesText()).c_str() : ": their files are in use");
    doWait = true;
  } else if (waiting == 0 && doWait) {
    logger(kLogNotice, L"no record of the history waits any more");
    doWait = false;
  }
  didWaitBefore = waiting > 0;
  if (!didWaitBefore) troublesBefore = troubles;
}

void ZRHistoryWatch::SayWhatIsLost() {
  const std::int64_t lost = ZREventDriver::LostRecords();
  if (lost > lostBefore) {
    logger(kLogDelivery, L"%lld records of the history were still waiting and are lost",
           static_cast<long long>(lost - lostBefore));
  }
  lostBefore = lost;
  doWait = false;
  didWaitBefore = false;
}

void ZRHistoryWatch::SayTroubles() {
  const std::string text = TroublesText();
  if (!text.empty()) logger(kLogDelivery, L"data files since the start: %s", text.c_str());
}

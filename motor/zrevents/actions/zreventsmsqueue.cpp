#include "zrevents/actions/zreventsmsqueue.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/support/zrtessalysetup.h"
#include "host/systemevents/systemevent.h"
#include "host/systemevents/zrsystemeventsserver.h"
#include "host/tools/zrstringtable.h"

namespace {

constexpr std::uint32_t kPauseOfPass = 10'000;  // ms, with the mutex held
constexpr std::uint32_t kPauseOfStep = 10;      // ms, with the mutex free
constexpr int kRetriesOfPass = 10;
constexpr int kMostRetries = 30;

constexpr const wchar_t* kLogNoSender =
    L"No 'eventActionSmsSender' specified! No SMS message will be sent!";
constexpr const wchar_t* kLogGroups = L"Managing %d SMS groups...";
constexpr const wchar_t* kLogMessages = L"There are %d SMS messages to be sent in group %d...";
constexpr const wchar_t* kLogMessage = L"SMS message %d to be sent to %d phone numbers...";
constexpr const wchar_t* kLogFailed =
    L"Calling 'sendSingleSms' failed. Skipping group %d (retry can exist)!";
constexpr const wchar_t* kLogMessageSent = L"SMS message completely sent to %d phone numbers group";
constexpr const wchar_t* kLogComplete =
    L"All SMS messages in group %d completely sent. Group deleted.";
constexpr const wchar_t* kLogGivenUp = L"Deleting SMS group %d (max number of retries reached)!";
constexpr const wchar_t* kLogOut = L"All SMS groups have been managed. Going out.";

// A negative setting is a number that no queue reaches.
bool IsOverflow(std::size_t groups) {
  return groups > static_cast<std::size_t>(ZRTessalySetup::Get().SmsSizeQueue());
}

void RaiseSystemEvent() {
  const ZRWString text = ZRLoadString(zrstring::kSmsNotSent);
  ZRSystemEventsServer::get().saveSystemEvent(
      std::make_unique<SystemEventSmsSendMessageError>().release(), text.View());
}

std::unique_ptr<ZREventSmsGroup> MakeGroup(const std::vector<ZRString>& phones,
                                           std::vector<ZRString> parts) {
  auto group = std::make_unique<ZREventSmsGroup>();
  group->sent.assign(parts.size(), false);
  for (ZRString& part : parts) {
    auto message = std::make_unique<ZREventSmsMessage>();
    message->text = std::move(part);
    message->phones = phones;
    message->sent.assign(phones.size(), false);
    group->messages.push_back(std::move(message));
  }
  return group;
}

}  // namespace

ZREventSmsQueue::ZREventSmsQueue(std::unique_ptr<EventActionSmsSender> toUse)
    : sender(std::move(toUse)) {
  if (sender == nullptr) logger(kLogConfiguration, kLogNoSender);
}

ZREventSmsQueue::~ZREventSmsQueue() {
  if (state.Replace(kRunning, kStopping)) state.WaitUntil(kEnded);
}

bool ZREventSmsQueue::Add(const std::vector<ZRString>& phones, const ZRString& text,
                          bool forceBreak) {
  auto group = MakeGroup(phones, CutIntoSms(text, forceBreak));
  group->id = ++lastGroupId;
  const ZRMutexLock lock(mutex);
  groups.push_back(std::move(group));
  DropOverflow();
  EnsureThread();
  return true;
}

// One group at most, whatever the setting.
void ZREventSmsQueue::DropOverflow() {
  if (!IsOverflow(groups.size())) return;
  RaiseSystemEvent();
  const bool stoodThere = current == groups.begin();
  const auto first = Delete(groups.begin());
  if (stoodThere) current = first;
}

// The mutex stays locked: a thread that starts says so before it asks for it.
void ZREventSmsQueue::EnsureThread() {
  if (state.Get() == kRunning) return;
  state.Set(kStarting);
  if (thread.Start([this] { Work(); })) state.WaitWhile(kStarting);
}

void ZREventSmsQueue::Work() {
  if (!Begin()) return;
  while (state.Get() != kStopping) {
    if (!Step()) return;
    ZRPlatform::Get().Sleep(kPauseOfStep);
  }
  Leave();
}

// False without any work.
bool ZREventSmsQueue::Begin() {
  state.Set(kRunning);
  const ZRMutexLock lock(mutex);
  current = groups.begin();
  if (groups.empty()) state.Set(kEnded);
  return !groups.empty();
}

// One group's turn, at the end of the list with the end of the pass in front. False if nothing is
// left: nobody may add between this look and the end of the thread's life.
bool ZREventSmsQueue::Step() {
  const ZRMutexLock lock(mutex);
  if (current == groups.end()) {
    current = groups.begin();
    EndPass();
  }
  if (groups.empty()) {
    Leave();
    return false;
  }
  TakeTurn(**current);
  MoveOn();
  return true;
}

void ZREventSmsQueue::Leave() {
  logger(kLogTrace, kLogOut);
  state.Set(kEnded);
}

// `current` is the first group, and is the first one that remains when others go.
void ZREventSmsQueue::EndPass() {
  for (auto group = groups.begin(); group != groups.end();) {
    (*group)->retries += kRetriesOfPass;
    if ((*group)->retries < kMostRetries) {
      ++group;
      continue;
    }
    logger(kLogTrace, kLogGivenUp, (*group)->id);
    RaiseSystemEvent();
    const bool stoodThere = current == group;
    group = Delete(group);
    if (stoodThere) current = group;
  }
  if (!groups.empty()) ZRPlatform::Get().Sleep(kPauseOfPass);
}

// The first failure ends the turn.
void ZREventSmsQueue::TakeTurn(ZREventSmsGroup& group) {
  logger(kLogTrace, kLogGroups, static_cast<int>(groups.size()));
  logger(kLogTrace, kLogMessages, static_cast<int>(group.messages.size()), group.id);
  for (std::size_t index = 0; index < group.messages.size(); ++index) {
    if (group.sent[index]) continue;
    ZREventSmsMessage& message = *group.messages[index];
    const int phones = static_cast<int>(message.phones.size());
    logger(kLogTrace, kLogMessage, static_cast<int>(index) + 1, phones);
    if (!SendToAll(message, group.id)) return;
    if (!message.IsComplete()) continue;
    logger(kLogTrace, kLogMessageSent, phones);
    group.sent[index] = true;
    ++group.sentCount;
  }
}

// To those that haven't got it yet. False after a failure, and the rest isn't tried.
bool ZREventSmsQueue::SendToAll(ZREventSmsMessage& message, int groupId) {
  for (std::size_t index = 0; index < message.phones.size(); ++index) {
    if (message.sent[index]) continue;
    if (sender != nullptr &&
        !sender->sendSingleSms(message.phones[index].Text(), message.text.Text())) {
      logger(kLogDelivery, kLogFailed, groupId);
      return false;
    }
    message.sent[index] = true;
    ++message.sentCount;
  }
  return true;
}

void ZREventSmsQueue::MoveOn() {
  if (!(*current)->IsComplete()) {
    ++current;
    return;
  }
  logger(kLogTrace, kLogComplete, (*current)->id);
  current = Delete(current);
}

// Takes the group off the list, and the messages of all others too: that is required. The group
// behind it.
ZREventSmsQueue::tagGroups::iterator ZREventSmsQueue::Delete(tagGroups::iterator group) {
  for (const auto& each : groups)
    each->Empty();
  return groups.erase(group);
}

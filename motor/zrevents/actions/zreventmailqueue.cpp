#include "zrevents/actions/zreventmailqueue.h"

#include <utility>

#include "host/base/zrlogger.h"
#include "host/support/zrtessalysetup.h"
#include "host/systemevents/systemevent.h"
#include "host/systemevents/zrsystemeventsserver.h"
#include "host/tools/zrstringtable.h"
#include "zrevents/actions/zrmsmtp.h"

namespace {

constexpr std::uint32_t kPauseOfPass = 10'000;  // ms, with the mutex held
constexpr std::uint32_t kPauseOfStep = 10;      // ms, with the mutex free
constexpr int kRetriesOfPass = 10;
constexpr int kMostRetries = 30;

constexpr const wchar_t* kLogGroups = L"Managing %d eMail groups...";
constexpr const wchar_t* kLogMessages = L"There are %d eMail messages to be sent in group %d...";
constexpr const wchar_t* kLogSent = L"eMail %d in group %d correctly sent to destination";
constexpr const wchar_t* kLogFailed =
    L"Calling 'Send' failed with eMail %d. Skipping group %d (retry can exist)!";
constexpr const wchar_t* kLogComplete =
    L"All eMail messages in group %d completely sent. Group deleted.";
constexpr const wchar_t* kLogGivenUp = L"Deleting eMail group %d (max number of retries reached)!";
constexpr const wchar_t* kLogOut = L"All eMail groups have been managed. Going out.";

ZRMSmtp MakeSender() {
  const ZRTessalySetup& setup = ZRTessalySetup::Get();
  ZRMSmtp smtp(setup.SmtpServer().Text(), setup.SmtpPort());
  smtp.SetFrom(setup.SmtpFrom().Text());
  if (setup.SmtpAuthenticated()) {
    smtp.SetUserPassword(setup.SmtpUser().Text(), setup.SmtpPassword().Text());
    smtp.SetSSL(setup.SmtpSSL());
  }
  return smtp;
}

// A negative setting is a number that no queue reaches.
bool IsOverflow(std::size_t groups) {
  return groups > static_cast<std::size_t>(ZRTessalySetup::Get().SmtpSizeQueue());
}

void RaiseSystemEvent() {
  const ZRWString text = ZRLoadString(zrstring::kMailNotSent);
  ZRSystemEventsServer::get().saveSystemEvent(
      std::make_unique<SystemEventEMailSendMessageError>().release(), text.View());
}

}  // namespace

ZREventMailQueue::~ZREventMailQueue() {
  if (state.Replace(kRunning, kStopping)) state.WaitUntil(kEnded);
}

bool ZREventMailQueue::Add(const std::vector<ZRString>& addresses, const ZRString& subject,
                           const ZRString& body) {
  auto group = std::make_unique<ZREventMailGroup>();
  group->addresses = addresses;
  group->sent.assign(addresses.size(), false);
  group->subject = subject;
  group->body = body;
  group->id = ++lastGroupId;
  {
    const ZRMutexLock lock(mutex);
    groups.push_back(std::move(group));
  }
  EnsureThread();
  return true;
}

void ZREventMailQueue::EnsureThread() {
  const ZRMutexLock lock(startMutex);
  if (state.Get() == kRunning) return;
  state.Set(kStarting);
  if (thread.Start([this] { Work(); })) state.WaitWhile(kStarting);
}

void ZREventMailQueue::Work() {
  if (!Begin()) return;
  ZRMSmtp smtp = MakeSender();
  while (state.Get() != kStopping) {
    if (!Step(smtp)) return;
    ZRPlatform::Get().Sleep(kPauseOfStep);
  }
  const ZRMutexLock lock(mutex);
  Leave();
}

// False without any work.
bool ZREventMailQueue::Begin() {
  state.Set(kRunning);
  const ZRMutexLock lock(mutex);
  current = groups.begin();
  if (groups.empty()) state.Set(kEnded);
  return !groups.empty();
}

// One group's turn, at the end of the list with the end of the pass in front. False if nothing is
// left: nobody may add between this look and the end of the thread's life.
bool ZREventMailQueue::Step(ZRMSmtp& smtp) {
  const ZRMutexLock lock(mutex);
  if (current == groups.end()) {
    EndPass();
    current = groups.begin();
  }
  if (groups.empty()) {
    Leave();
    return false;
  }
  TakeTurn(**current, smtp);
  MoveOn();
  DropOverflow();
  return true;
}

void ZREventMailQueue::Leave() {
  logger(kLogTrace, kLogOut);
  state.Set(kEnded);
}

void ZREventMailQueue::EndPass() {
  for (auto group = groups.begin(); group != groups.end();) {
    (*group)->retries += kRetriesOfPass;
    if ((*group)->retries < kMostRetries) {
      ++group;
      continue;
    }
    logger(kLogTrace, kLogGivenUp, (*group)->id);
    RaiseSystemEvent();
    group = groups.erase(group);
  }
  if (!groups.empty()) ZRPlatform::Get().Sleep(kPauseOfPass);
}

// A failure doesn't end the turn: the next address is tried.
void ZREventMailQueue::TakeTurn(ZREventMailGroup& group, ZRMSmtp& smtp) {
  logger(kLogTrace, kLogGroups, static_cast<int>(groups.size()));
  logger(kLogTrace, kLogMessages, static_cast<int>(group.addresses.size()), group.id);
  for (std::size_t index = 0; index < group.addresses.size(); ++index) {
    if (group.sent[index]) continue;
    const int number = static_cast<int>(index);
    if (smtp.Send(group.addresses[index].Text(), group.subject.Text(), group.body.Text())) {
      logger(kLogTrace, kLogSent, number, group.id);
      group.sent[index] = true;
      ++group.sentCount;
    } else {
      logger(kLogDelivery, kLogFailed, number, group.id);
    }
  }
}

void ZREventMailQueue::MoveOn() {
  if (!(*current)->IsComplete()) {
    ++current;
    return;
  }
  logger(kLogTrace, kLogComplete, (*current)->id);
  current = groups.erase(current);
}

void ZREventMailQueue::DropOverflow() {
  while (IsOverflow(groups.size())) {
    RaiseSystemEvent();
    const bool stoodThere = current == groups.begin();
    groups.pop_front();
    if (stoodThere) current = groups.begin();
  }
}

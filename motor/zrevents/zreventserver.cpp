#include "zrevents/zreventserver.h"

#include <algorithm>
#include <map>

#include "host/base/zrlogger.h"
#include "host/base/zrvalue.h"
#include "host/driversupport/zrdrivervariable.h"
#include "host/drivervariables/zrdrivervariablenames.h"
#include "host/support/zrloadenabledevents.h"
#include "host/support/zrtessalysetup.h"
#include "zrevents/services/zrlistenerboard.h"
#include "zrevents/zrdriverpath.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zrgatetoken.h"
#include "zrevents/zrnewesttime.h"

namespace {

std::atomic<ZREventServer*> instance{nullptr};

constexpr std::uint32_t kStopWait = 10;  // ms for each token of the gate

constexpr const wchar_t* kSystemDriver = L"R$SYS";
constexpr const wchar_t* kEventsLoadedVariable = L"NEVE";

constexpr const wchar_t* kLogNewGroups =
    L"ZREventServer::Start(): adding %d new groups (they come from ZREventSystem)...";
constexpr const wchar_t* kLogExtraGroup =
    L"ZREventServer::Start(): adding extra new group (this is the %dth)...";
constexpr const wchar_t* kLogToGroup =
    L"ZREventServer::Start(): adding event '%ls' to event group '%d' (named '%ls')...";
constexpr const wchar_t* kLogToExtraGroup =
    L"ZREventServer::Start(): adding event '%ls' to the last/extra event group '%d' (has no "
    L"name)...";
constexpr const wchar_t* kLogNoSuchGroup = L"Houston!";

ZRWString CfgFile(const wchar_t* extension) {
  return ZRTessalySetup::Get().CfgPath() + L"default" + extension;
}

void AddMissing(XmlDocument& document, std::initializer_list<const wchar_t*> tags) {
  for (const wchar_t* tag : tags)
    if (document.Root()->Node(tag) == nullptr) document.Root()->NewChild(tag, nullptr);
}

}  // namespace

ZREventServer::ZREventServer()
    : gate(std::make_unique<ZRSemaphore>(kGateTokens)),
      listenerBoard(std::make_unique<ZRListenerBoard>()) {
  instance = this;
}

ZREventServer::~ZREventServer() {
  {
    const ZRMutexLock lock(listenersMutex);
    listeners.clear();
  }
  {
    const ZRMutexLock lock(listenerDriverIdsMutex);
    listenerDriverIds.clear();
  }
  instance = nullptr;
  gate.reset();
  Reset();
}

ZREventServer& ZREventServer::Get() {
  return *instance;
}

bool ZREventServer::LoadCfg() {
  if (!ZRLoadEnabledEvents::Load(CfgFile(L".xeve").Text(), cfg)) cfg.Create(L"main");
  AddMissing(cfg, {L"eventsGroups", L"events"});
  if (!parkingCfg.Load(CfgFile(L".xpark").Text())) parkingCfg.Create(L"lotwise");
  AddMissing(parkingCfg, {L"events"});
  if (!timeTableCfg.Load(CfgFile(L".xtmt").Text())) timeTableCfg.Create(L"main");
  AddMissing(timeTableCfg, {L"days", L"weeks", L"calendars"});
  LoadXml();
  return true;
}

void ZREventServer::LoadXml() {
  eventSystem.Reset();
  eventSystem.LoadTimeTableXml(timeTableCfg);
  eventSystem.LoadXml(cfg);
  eventSystem.LoadParkingXml(parkingCfg);
  eventSystem.Sort();
  eventSystem.SortEventsGroups();
}

bool ZREventServer::Start() {
  for (int token = 0; token < kGateTokens; ++token)
    gate->Release();
  AddGroups();
  AssignEvents();
  if (!StartGroups()) return false;
  if (state.Get() == kThreadRunning) return true;
  if (!StartListenerThread()) return false;
  PublishNumberOfEvents();
  return true;
}

void ZREventServer::AddGroups() {
  const ZRExclusiveLock lock(groupsMutex);
  const int count = eventSystem.EventsGroupsSize();
  logger(kLogTrace, kLogNewGroups, count);
  for (int i = 0; i < count; ++i)
    groups.push_back(std::make_unique<ZREventServerGroup>());
  logger(kLogTrace, kLogExtraGroup, static_cast<int>(groups.size()) + 1);
  groups.push_back(std::make_unique<ZREventServerGroup>());
}

void ZREventServer::AssignEvents() {
  const ZRMutexLock lock(cfgMutex);
  const ZRExclusiveLock groupsLock(groupsMutex);
  std::map<ZRWString, int> indexByName;  // of two groups with one name the later one wins
  int next = 0;
  for (auto group = eventSystem.EventsGroupsBegin(); group != eventSystem.EventsGroupsEnd();
       ++group)
    indexByName[(*group)->Name()] = next++;

  for (auto at = eventSystem.EventsBegin(); at != eventSystem.EventsEnd(); ++at) {
    ZREventDriver* const event = *at;
    event->SetEventList(&eventList);
    if (event->GroupsVectorSize() == 0) {
      const int last = static_cast<int>(groups.size()) - 1;
      logger(kLogTrace, kLogToExtraGroup, event->Name().Text(), last);
      groups.back()->AddEvent(event);
      continue;
    }
    const ZRWString& groupName = (*event->GroupsVectorBegin())->Name();
    const auto found = indexByName.find(groupName);
    if (found == indexByName.end()) {
      logger(kLogInvariant, kLogNoSuchGroup);
      continue;
    }
    logger(kLogTrace, kLogToGroup, event->Name().Text(), found->second, groupName.Text());
    groups[static_cast<std::size_t>(found->second)]->AddEvent(event);
  }
}

bool ZREventServer::StartGroups() {
  if (StartEachGroup()) return true;
  DropGroups();
  return false;
}

bool ZREventServer::StartEachGroup() {
  const ZRSharedLock lock(groupsMutex);
  return std::all_of(groups.begin(), groups.end(),
                     [](const auto& group) { return group->NumEvents() == 0 || group->Start(); });
}

bool ZREventServer::StartListenerThread() {
  state.Set(kThreadStarting);
  if (!listenerThread.Start([this] { Work(); })) {
    DropGroups();
    return false;
  }
  state.WaitWhile(kThreadStarting);
  return true;
}

void ZREventServer::PublishNumberOfEvents() {
  ZRWString fullName;
  JoinDriverVariable(kSystemDriver, kEventsLoadedVariable, fullName);
  ZRDriverVariable variable;
  variable.Setup(fullName);
  if (!variable.Lock(false)) return;
  ZRValue value;
  value.SetNumeric(eventSystem.EventsSize());
  variable.SetValue(value);
}

void ZREventServer::DropGroups() {
  std::vector<std::unique_ptr<ZREventServerGroup>> leaving;
  {
    const ZRExclusiveLock lock(groupsMutex);
    leaving.swap(groups);
  }
  for (auto& group : leaving) {
    group->Stop();
    group.reset();
  }
}

void ZREventServer::Stop() {
  for (int taken = 0; taken < kGateTokens;)
    if (gate->Acquire(kStopWait)) ++taken;
  DropGroups();
  if (state.Get() == kThreadRunning) {
    state.Set(kThreadStopRequested);
    state.WaitUntil(kThreadStopped);
    listenerThread.Join();
  }
  eventList.DropChanges(0);  // they name events that go now
  const ZRMutexLock lock(cfgMutex);
  eventSystem.Reset();
}

void ZREventServer::Reset() {
  eventSystem.Reset();
}

unsigned int ZREventServer::GetNumberOfEvents() const {
  const ZRSharedLock lock(groupsMutex);
  unsigned int sum = 0;
  for (const auto& group : groups)
    sum += static_cast<unsigned int>(group->NumEvents());
  return sum;
}

std::uint32_t ZREventServer::LongestPass() {
  const ZRSharedLock lock(groupsMutex);
  std::uint32_t longest = 0;
  for (const auto& group : groups)
    longest = std::max(longest, group->LongestPass());
  return longest;
}

bool ZREventServer::HasCircularDependence(const ZRWString& path) {
  const ZRMutexLock lock(listenerDriverIdsMutex);
  return LeadsThrough(path, listenerDriverIds);
}

ZRDateTime ZREventServer::GetLastEventsClientActionsDateTime() {
  ZRDateTime newest;
  const ZRGateToken token(*gate);
  if (!token.Taken()) return newest;
  const ZRSharedLock lock(groupsMutex);
  for (const auto& group : groups) {
    ZRDateTime ofGroup;
    if (group->GetLastEventClientActionsDateTime(ofGroup)) KeepNewest(newest, ofGroup);
  }
  return newest;
}

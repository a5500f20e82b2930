// Reading an event from its element.

#include "host/base/zrlogger.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventdrivergroup.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr int kReadsLiveVariables = 2;  // the evaluators' flag

constexpr std::array<const wchar_t*, 2> kSideNames = {L"actions", L"clientActions"};
constexpr std::array<const wchar_t*, kMoments> kMomentNames = {L"activate", L"while", L"deactivate",
                                                               L"acknowledge"};

constexpr const wchar_t* kLogActions =
    L"ZREventDriver::LoadXml: force = %02d, shell = %02d, screen = %02d, report = %02d, device = "
    L"%02d, beep = %02d, mail = %02d, sms = %02d, web = %02d, unknown = %d @ '%ls'+'%ls'";

}  // namespace

bool ZREventDriver::LoadXml(const XmlDocument::XmlNode* toLoad) {
  const ZRMutexLock lock(evaluatorsMutex);
  condition.reset();
  conditionStop.reset();
  delayToActivate.reset();
  delayToDeactivate.reset();
  node = toLoad;
  if (!LoadDefinition()) return false;
  if (name.IsEmpty()) return false;
  PublishThatANewEventHasBeenCreated();
  return true;
}

bool ZREventDriver::LoadDefinition() {
  ZRWString idText = node->Value(L"id", L"");
  id = wtouuid(idText);
  if (id == uuid::null) return false;
  SetIdStr(idText == id.toWString() ? ZRWString() : idText);
  LoadTexts();
  LoadFlags();
  timeTable = ZREventSystem::Get().LockTimeTable(node->Value(L"timeTable", L"").Text());
  delayToActivate = LoadDelay(L"/delayToActivate");
  delayToDeactivate = LoadDelay(L"/delayToDeactivate");
  if (!LoadCondition()) return false;
  LoadStopCondition();
  LoadGroups();
  LoadArguments();
  LoadActions();
  return true;
}

void ZREventDriver::LoadTexts() {
  idn = node->Value(L"idn", L"");
  name = node->Value(L"name", L"");
  description = node->Value(L"description", L"");
  PrepareHead();
  annotation = node->Value(L"annotation", L"");
  deaAnnotation = node->Value(L"deaAnnotation", L"");
  ackAnnotation = node->Value(L"ackAnnotation", L"");
}

void ZREventDriver::LoadFlags() {
  notify = node->bValue(L"notify", false);
  record = node->bValue(L"record", false);
  rssActivate = node->bValue(L"rssActivate", false);
  rssDeactivate = node->bValue(L"rssDeactivate", false);
  rssAcknowledge = node->bValue(L"rssAcknowledge", false);
}

std::unique_ptr<ZREvaluator> ZREventDriver::LoadDelay(const wchar_t* path) const {
  const XmlDocument::XmlNode* const element = node->Node(path);
  if (element == nullptr) return nullptr;
  auto delay = std::make_unique<ZREvaluator>();
  delay->SetFlags(kReadsLiveVariables, -1);
  delay->Set(element->Value());
  if (delay->AnalizeExpression() != ZREvaluator::kNumericOrText) return nullptr;
  return delay;
}

bool ZREventDriver::LoadCondition() {
  const XmlDocument::XmlNode* const element = node->Node(L"/condition");
  if (element == nullptr) return false;
  condition.emplace();
  condition->SetFlags(kReadsLiveVariables, -1);
  actCondition = element->Value();
  condition->Set(actCondition);
  return condition->AnalizeExpression() == ZREvaluator::kLogical;
}

void ZREventDriver::LoadStopCondition() {
  const XmlDocument::XmlNode* const element = node->Node(L"conditionStop");
  if (element == nullptr) return;
  conditionStop = std::make_unique<ZREvaluator>();
  conditionStop->SetFlags(kReadsLiveVariables, -1);
  deaCondition = element->Value();
  conditionStop->Set(deaCondition);
  if (conditionStop->AnalizeExpression() != ZREvaluator::kLogical) conditionStop.reset();
}

void ZREventDriver::LoadGroups() {
  groups.clear();
  const XmlDocument::XmlNode* const list = node->Node(L"eventsGroups");
  if (list == nullptr || list->Size() == 0) {
    JoinGroup(kDefaultGroupId);
    return;
  }
  groups.reserve(static_cast<std::size_t>(list->Size()));
  for (auto child = list->ChildsBegin(); child != list->ChildsEnd(); ++child)
    JoinGroup((*child)->Value());
}

void ZREventDriver::JoinGroup(const ZRWString& groupId) {
  ZREventSystem& system = ZREventSystem::Get();
  ZREventDriverGroup* group = system.LockEventsGroup(wtouuid(groupId));
  if (group == nullptr) group = system.LockEventsGroup(wtouuid(kDefaultGroupId));
  if (group == nullptr) return;
  group->AddReference();
  groups.push_back(group);
}

void ZREventDriver::LoadArguments() {
  arguments.clear();
  const XmlDocument::XmlNode* const list = node->Node(L"arguments");
  if (list == nullptr) return;
  arguments.assign(list->ChildsBegin(), list->ChildsEnd());
}

void ZREventDriver::LoadActions() {
  clientActionsPresent = false;
  for (const int side : {kServerSide, kClientSide}) {
    const wchar_t* const sideName = kSideNames[static_cast<std::size_t>(side)];
    const XmlDocument::XmlNode* const list = node->Node(sideName);
    if (list == nullptr) continue;
    for (int moment = 0; moment < kMoments; ++moment) {
      if (moment == kMomentAcknowledge && !notify) continue;
      const auto* const element = list->Node(kMomentNames[static_cast<std::size_t>(moment)]);
      if (element != nullptr) LoadMoment(side, moment, *element, sideName);
    }
  }
}

void ZREventDriver::LoadMoment(int side, int moment, const XmlDocument::XmlNode& list,
                               const wchar_t* sideName) {
  if (actions == nullptr) actions = std::make_unique<tagActions>();
  const auto column = static_cast<std::size_t>(moment);
  tagActionList& target = actions->lists[static_cast<std::size_t>(side)][column];
  std::array<int, ZREventActionKinds::kTags.size() + 1> counts{};
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd(); ++child) {
    const std::size_t kind = ZREventActionKinds::KindOf((*child)->TagUtf8());
    ++counts[kind];
    if (kind == ZREventActionKinds::kUnknown) continue;
    std::unique_ptr<ZREventAction> action = ZREventActionKinds::Make(kind, this);
    if (!action->LoadXml(*child)) continue;
    target.push_back(std::move(action));
    if (side == kClientSide) clientActionsPresent = true;
  }
  logger(kLogTrace, kLogActions, counts[0], counts[1], counts[2], counts[3], counts[4], counts[5],
         counts[6], counts[7], counts[8], counts[9], sideName, kMomentNames[column]);
}

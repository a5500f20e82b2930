// What fills the store: the document, the built-in groups, the drivers.

#include "host/base/zrlogger.h"
#include "host/support/zrtessalysetup.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrstringtable.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventsystem.h"

namespace {

constexpr const wchar_t* kAlarmGroupName = L"alarm";
constexpr const wchar_t* kScreenPattern = L"*.*.xscn";

constexpr const wchar_t* kLogNewGroup =
    L"ZREventSystem::LoadXml(): adding new event group '%ls' (it's the %dth group)...";

const XmlDocument::XmlNode* ChildOfRoot(const XmlDocument& document, const wchar_t* tag) {
  return document.Root() == nullptr ? nullptr : document.Root()->Node(tag);
}

}  // namespace

bool ZREventSystem::LoadXml(const XmlDocument& document) {
  AddFixedGroup(kDefaultGroupId, ZRLoadString(zrstring::kGroupGeneral));
  AddFixedGroup(L"22222222-2222-2222-2222-222222222211", ZRLoadString(zrstring::kGroupSystem));
  AddFixedGroup(L"22222222-2222-2222-2222-222222222212", kAlarmGroupName);
  AddFixedGroup(L"22222222-2222-2222-2222-222222222213", ZRLoadString(zrstring::kGroupQuality));
  AddFixedGroup(L"22222222-2222-2222-2222-222222222214", ZRLoadString(zrstring::kGroupConsumption));
  AddFixedGroup(L"22222222-2222-2222-2222-222222222215", ZRLoadString(zrstring::kGroupMaintenance));
  AddFixedGroup(L"22222222-2222-2222-2222-222222222216", ZRLoadString(zrstring::kGroupSecurity));

  if (const auto* list = ChildOfRoot(document, L"eventsGroups")) AddGroups(*list);
  if (const auto* list = ChildOfRoot(document, L"events")) AddEvents(*list);

  const ZRWideMap screens = CreateScreenNameMap();
  for (auto driver = ZRDriver::DriversBegin(); driver != ZRDriver::DriversEnd(); ++driver)
    AddGenerated(**driver, screens);
  return true;
}

bool ZREventSystem::LoadParkingXml(const XmlDocument& /*document*/) {
  AddFixedGroup(kParkingGroupId,
                ZRWString(L"< ", false) + ZRLoadString(zrstring::kGroupParking) + L" >");
  return true;
}

void ZREventSystem::AddFixedGroup(const wchar_t* groupId, const ZRWString& name) {
  XmlDocument definition;
  definition.Create(L"eventsGroup");
  definition.Root()->SetValue(L"id", groupId);
  definition.Root()->SetValue(L"name", name);
  auto group = std::make_unique<ZREventDriverGroup>();
  (void)group->LoadXml(*definition.Root());
  AppendGroup(std::move(group));
}

void ZREventSystem::AppendGroup(std::unique_ptr<ZREventDriverGroup> group) {
  const ZRExclusiveLock lock(storeMutex);
  eventsGroups.Append(std::move(group));
}

void ZREventSystem::AddGroups(const XmlDocument::XmlNode& list) {
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd(); ++child) {
    auto group = std::make_unique<ZREventDriverGroup>();
    if (!group->LoadXml(**child)) continue;
    logger(kLogTrace, kLogNewGroup, group->Name().Text(), EventsGroupsSize() + 1);
    AppendGroup(std::move(group));
  }
}

void ZREventSystem::AddEvents(const XmlDocument::XmlNode& list) {
  for (auto child = list.ChildsBegin(); child != list.ChildsEnd(); ++child) {
    auto event = std::make_unique<ZREventDriver>();
    if (!event->LoadXml(*child)) continue;
    const ZRExclusiveLock lock(storeMutex);
    eventsById.clear();
    events.Append(std::move(event));
  }
}

void ZREventSystem::AddGenerated(ZRDriver& driver, const ZRWideMap& screens) {
  auto generatedEvents = std::make_unique<XmlDocument>();
  generatedEvents->Create(L"main");
  XmlDocument generatedGroups;
  generatedGroups.Create(L"main");
  generatedGroups.Root()->NewChild(L"eventsGroups", nullptr);

  driver.CreateEventsXml(generatedEvents->Root(), generatedGroups.Root(), screens);

  if (const auto* list = ChildOfRoot(generatedGroups, L"eventsGroups")) AddGroups(*list);
  if (const auto* list = ChildOfRoot(*generatedEvents, L"events")) {
    AddEvents(*list);
    generatedDocuments.Append(std::move(generatedEvents));
  }
}

ZRWideMap ZREventSystem::CreateScreenNameMap() {
  ZRWideMap screens;
  ZRFileFind files;
  int found = files.FindFile(ZRTessalySetup::Get().CfgPath() + kScreenPattern);
  while (found != 0) {
    found = files.FindNextFileW();
    AddScreen(files.GetFilePath(), files.GetFileTitle(), screens);
  }
  return screens;
}

void ZREventSystem::AddScreen(const ZRWString& path, const ZRWString& title, ZRWideMap& screens) {
  ZRWString first;
  ZRWString second;
  SplitFileName(title, first, second);
  XmlDocument screen;
  if (!screen.Load(path.Text())) return;
  const XmlDocument::XmlNode& root = *screen.Root();
  for (auto page = root.ChildsBegin(); page != root.ChildsEnd(); ++page) {
    if ((*page)->TagUtf8() != "page") continue;
    for (auto sensor = (*page)->ChildsBegin(); sensor != (*page)->ChildsEnd(); ++sensor) {
      if ((*sensor)->TagUtf8() == "parkingSensor") {
        screens.emplace((*sensor)->Value(L"sensorName", L""), second);
      } else if ((*sensor)->TagUtf8() == "fireSensor") {
        screens.emplace((*sensor)->Value(L"fireSensorName", L""), second);
      }
    }
  }
}

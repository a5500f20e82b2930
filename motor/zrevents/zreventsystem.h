#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrownedlist.h"
#include "host/tools/xmldocument.h"
#include "zrevents/timetables/zrtimetableday.h"
#include "zrevents/zreventdrivergroup.h"
#include "zrevents/zreventsexport.h"

class ZREventDriver;

// Ids of the groups that exist whatever the document holds.
inline constexpr const wchar_t* kDefaultGroupId = L"22222222-2222-2222-2222-222222222222";
inline constexpr const wchar_t* kParkingGroupId = L"11111111-1111-1111-1111-111111111111";

// The store of everything that the configuration defines: events, groups, time tables, and the
// settings of the feed. One instance, inside ZREventServer.
//
// Threads   loading, sorting and Reset on the host's thread while no worker runs; the searches on
//           any thread between Start and Stop, kept safe by the gate of the server.
// Order     StoreMutex, shared, for who walks the events without a token of the gate: behind it the
//           access rule and occurrencesMutex of an event. Exclusive in Reset, behind cfgMutex.
//           rssMutex behind occurrencesMutex; under it the disk.
// Owns      events, time tables, groups, and the documents of generated events, until Reset.
class ZREVENTS_API ZREventSystem {
 public:
  using tagEvents = ZROwnedList<ZREventDriver>;
  using tagGroups = ZROwnedList<ZREventDriverGroup>;

  ZREventSystem();
  virtual ~ZREventSystem();
  ZREventSystem(const ZREventSystem&) = delete;
  ZREventSystem& operator=(const ZREventSystem&) = delete;

  [[nodiscard]] static ZREventSystem& Get();

  // Adds the fixed groups, the groups and events of the document, and those that the drivers
  // generate. What can't be loaded is passed over. `document` must outlive the events. Always true.
  bool LoadXml(const XmlDocument& document);
  // Adds the parking group. Always true.
  bool LoadParkingXml(const XmlDocument& document);
  // Adds the tables of `days`, `weeks` and `calendars`. `document` must outlive them. Always true.
  bool LoadTimeTableXml(const XmlDocument& document);

  // Destroys all events, then all time tables, then all groups. The feed's settings stay.
  void Reset();

  // Stable, ascending by name, in the order of 16-bit code units. From then on an event is found by
  // its id without a walk, until the store changes.
  void Sort();
  void SortEventsGroups();

  // Plain searches in list order, in spite of their name; null if there is none. Names are
  // compared exactly, and a time table by its id, then its name.
  [[nodiscard]] ZREventDriver* LockEvent(const uuid& id);
  [[nodiscard]] ZREventDriver* LockEvent(const wchar_t* name);
  [[nodiscard]] ZREventDriverGroup* LockEventsGroup(const uuid& id);
  [[nodiscard]] ZREventDriverGroup* LockEventsGroup(const wchar_t* name);
  [[nodiscard]] ZRTimeTable* LockTimeTable(const wchar_t* idOrName);

  [[nodiscard]] tagEvents::const_iterator EventsBegin() const { return events.begin(); }
  [[nodiscard]] tagEvents::const_iterator EventsEnd() const { return events.end(); }
  [[nodiscard]] tagGroups::const_iterator EventsGroupsBegin() const { return eventsGroups.begin(); }
  [[nodiscard]] tagGroups::const_iterator EventsGroupsEnd() const { return eventsGroups.end(); }
  [[nodiscard]] int EventsSize() const { return events.Size(); }
  [[nodiscard]] int EventsGroupsSize() const { return eventsGroups.Size(); }

  // Which screen shows a sensor, by the .xscn files of the configuration folder. The first file
  // that names a sensor wins.
  [[nodiscard]] ZRWideMap CreateScreenNameMap();

  // Held shared by whoever walks the events without a token of the gate; taken exclusively while
  // the lists change.
  [[nodiscard]] ZRSharedMutex& StoreMutex() ZR_RETURN_CAPABILITY(storeMutex) { return storeMutex; }

  // Time tables by their number in the list, from 1; 0 is none.
  [[nodiscard]] int TimeTablesSize() const { return timeTables.Size(); }
  [[nodiscard]] std::uint32_t TimeTableNumber(const wchar_t* idOrName) const;
  [[nodiscard]] ZRTimeTable* TimeTableByNumber(std::uint32_t number) const;

  // The last table that was found to lead back to itself, for the host's checks; null if none.
  void NoteCircularTimeTable(const ZRTimeTable& table) { circularTimeTable = &table; }
  [[nodiscard]] const ZRTimeTable* CircularTimeTable() const { return circularTimeTable; }

  // What is wrong with a slot of a day table, for the host's checks.
  [[nodiscard]] static ZRSlotFault SlotFault(const XmlDocument::XmlNode& slot);

  // --- the feed: publication/zreventsystem_feed.cpp ---

  // Takes the feed's settings: `active` ("T" turns it on) and `items`, the limit. The channel of
  // an active feed is loaded from its file, or made anew. Always true. Before the workers start.
  bool LoadRssCfg(const XmlDocument::XmlNode* node);
  // Adds an item, with the category of the transition `status`, and writes both files. The oldest
  // items go until the new one fits. No failure reaches the caller.
  void PublishRSS(const ZRWString& title, const ZRWString& description, const ZRDateTime& time,
                  int status);
  [[nodiscard]] bool GetRssActive() const { return rssActive; }
  [[nodiscard]] int GetRssMaxNumberOfItems() const;
  [[nodiscard]] int GetRssNumberOfItems() const;
  // How often in a row a file of the feed couldn't be written, for the host; 0 once both are.
  [[nodiscard]] int RssFailures() const { return rssFailures; }

 private:
  void AddFixedGroup(const wchar_t* groupId, const ZRWString& name);
  void AddGroups(const XmlDocument::XmlNode& list);
  void AddEvents(const XmlDocument::XmlNode& list);
  void AddGenerated(ZRDriver& driver, const ZRWideMap& screens);
  void AddScreen(const ZRWString& path, const ZRWString& title, ZRWideMap& screens);
  void IndexEvents() ZR_REQUIRES(storeMutex);
  template <typename Table>
  void AddTimeTables(const XmlDocument& document, const wchar_t* branch);
  void AppendGroup(std::unique_ptr<ZREventDriverGroup> group);
  static void CreateEventsRSS(XmlDocument& document);
  // False if the feed couldn't be written; the old one is then as it was.
  [[nodiscard]] bool CreateEventsRSSFile() ZR_REQUIRES(rssMutex);
  [[nodiscard]] bool MakeRoomForItem(XmlDocument::XmlNode& channel) ZR_REQUIRES(rssMutex);
  void NoteRssFiles(bool areWritten);

  mutable ZRMutex rssMutex;
  int rssMaxItems ZR_GUARDED_BY(rssMutex) = 20;
  int rssItems ZR_GUARDED_BY(rssMutex) = 0;  // in the document
  std::atomic<bool> rssActive{false};
  std::atomic<int> rssFailures{0};
  XmlDocument rssDocument ZR_GUARDED_BY(rssMutex);  // the channel
  ZRSharedMutex storeMutex;
  // Constant between loading and Reset; changed under storeMutex.
  tagEvents events;
  struct tagIdOfEvent {
    uuid id;
    ZREventDriver* event = nullptr;
  };
  std::vector<tagIdOfEvent> eventsById;  // ascending, stable; of all events, or empty
  ZROwnedList<ZRTimeTable> timeTables;
  tagGroups eventsGroups;
  ZROwnedList<XmlDocument> generatedDocuments;  // events point into them
  std::atomic<const ZRTimeTable*> circularTimeTable{nullptr};
};

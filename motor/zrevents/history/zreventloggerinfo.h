// Which events a question to the history is about.
#pragma once

#include "host/platform/zrownedlist.h"
#include "host/tools/zruuid.h"
#include "zrevents/history/zruuidtable.h"
#include "zrevents/zreventsexport.h"

class ZREventDriver;

// One event of a question.
//
// Threads   the one of its question.
class ZREVENTS_API ZREventLoggerInfoVar {
 public:
  explicit ZREventLoggerInfoVar(const uuid& eventId);
  ZREventLoggerInfoVar(const ZREventLoggerInfoVar&) = default;
  ZREventLoggerInfoVar& operator=(const ZREventLoggerInfoVar&) = default;
  virtual ~ZREventLoggerInfoVar();

  [[nodiscard]] const uuid& Id() const { return id; }
  // The store's; null while it isn't locked.
  [[nodiscard]] ZREventDriver* Driver() { return driver; }
  [[nodiscard]] bool IsLocked() const { return driver != nullptr; }

  // Binds the event of that id. It holds nothing: the pointer is good until the store is emptied.
  // False if there is no such event.
  bool Lock();
  void Unlock() { driver = nullptr; }

 private:
  friend class ZREventLoggerInfo;

  uuid id;
  ZREventDriver* driver = nullptr;
};

// The events of a question, in the order of their adding, each id once.
//
// Threads   the one of its question.
// Owns      the variables. A copy has its own, bound as they are here.
class ZREVENTS_API ZREventLoggerInfo {
 public:
  using tagVariables = ZROwnedList<ZREventLoggerInfoVar>;

  ZREventLoggerInfo();
  ZREventLoggerInfo(const ZREventLoggerInfo& other);
  ZREventLoggerInfo& operator=(const ZREventLoggerInfo& other);
  virtual ~ZREventLoggerInfo();

  // A known id changes nothing. A new one isn't locked.
  void AddVariable(const uuid& id);
  // Locks each variable. One whose event doesn't exist leaves without a word.
  void Lock();
  void Unlock();
  void DeleteAll();

  [[nodiscard]] tagVariables::const_iterator EventsBegin() const { return variables.begin(); }
  [[nodiscard]] tagVariables::const_iterator EventsEnd() const { return variables.end(); }
  [[nodiscard]] int NVariables() const { return variables.Size(); }

 private:
  void LockAmongMany();
  void Remember();

  tagVariables variables;
  ZRUuidTable ids;  // places in `variables`
};

// Drivers: devices, and the facts of this machine, as sets of live variables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/base/zrvalue.h"
#include "host/driversupport/zrlivevalue.h"
#include "host/driversupport/zrvariableinfo.h"
#include "host/driversupport/zrvariablevalueinfo.h"
#include "host/platform/zrownedlist.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"
#include "host/tools/zruuid.h"

class ZRHttpRequest;

// Wide text by wide text, in the order of ZRWideChar::Compare.
using ZRWideMap = std::map<ZRWString, ZRWString>;

class ZRDriver;

// Drivers that are too many to be made before somebody asks for them. What it gives lives until it
// is replaced.
//
// Threads   any; called with whatever lock is held where an expression is made: it takes none that
//           is held there.
class ZRDriverSource : public ZRLiveSource {
 public:
  // Null if it has none of that id; of that name (the first of several); none that has the
  // variable of that full name, whose number is left as it was then.
  [[nodiscard]] virtual ZRDriver* DriverOfId(const ZRWString& id) = 0;
  [[nodiscard]] virtual ZRDriver* DriverOfName(const ZRWString& name) = 0;
  [[nodiscard]] virtual ZRDriver* DriverOfVariable(const ZRWString& fullName,
                                                   std::int64_t& variable) = 0;

 protected:
  ~ZRDriverSource() = default;
};

// One device. The host makes and registers drivers, starts and stops them; the engine finds them
// through the static operations.
//
// Threads   Register, UnregisterAll, Start and Stop on the host's thread, while nothing looks
//           drivers up; everything else on any.
// Owns      its variables: they are withdrawn when it is destroyed.
class ZRDriver {
 public:
  ZRDriver(const ZRWString& id, const ZRWString& name);
  virtual ~ZRDriver();
  ZRDriver(const ZRDriver&) = delete;
  ZRDriver& operator=(const ZRDriver&) = delete;

  // --- the list of all drivers, in the order of Register ---

  using tagDrivers = ZROwnedList<ZRDriver>;
  using const_iterator = tagDrivers::const_iterator;  // walks as ZRDriver*

  // Those of the source aren't among them; FindVariable asks it for what the list doesn't have.
  static ZRDriver* Register(std::unique_ptr<ZRDriver> driver);  // takes it over
  static void UnregisterAll();                                  // destroys them, the last first
  [[nodiscard]] static const_iterator DriversBegin();
  [[nodiscard]] static const_iterator DriversEnd();
  // Where drivers come from that aren't in the list; null, as in the beginning, for nowhere.
  static void UseSource(ZRDriverSource* source);
  [[nodiscard]] static ZRDriverSource* Source();
  // The driver of the list with that id, or null. Nothing has to be unlocked. The second argument
  // is reserved (null).
  [[nodiscard]] static ZRDriver* LockDriver(const wchar_t* id, const void* reserved);
  // The driver that has the variable of that full name ("driver.variable"), with the variable's
  // number; null, and the number as it was, if none has it.
  [[nodiscard]] static ZRDriver* FindVariable(const ZRWString& fullName, std::int64_t& variable);

  // --- identity ---

  [[nodiscard]] const ZRWString& Id() const { return ownId; }
  [[nodiscard]] const ZRWString& Name() const { return ownName; }  // as in [name.variable]

  // The base reads the id: uuid::null if that isn't one.
  [[nodiscard]] virtual uuid Uuid() const { return wtouuid(ownId); }

  // --- life; the base does nothing and succeeds ---

  [[nodiscard]] virtual bool Start() { return true; }
  virtual void Stop() {}
  [[nodiscard]] virtual bool IsOnline() const { return true; }
  // It speaks with devices: nothing to start in virtual time, where they would be asked for real.
  [[nodiscard]] virtual bool ReachesDevices() const { return false; }
  // The serial line that is its own alone, as the settings call it; UTF-8, empty for none.
  [[nodiscard]] virtual std::string SerialLine() const { return {}; }

  // Hands the acknowledgement of a remote engine's event on to that engine. `remoteEventId` is how
  // that engine calls the event; `request` asked for it. False if that was refused or failed. The
  // base has no remote engine.
  [[nodiscard]] virtual bool AcknowledgeRemoteEvent(ZRHttpRequest& request,
                                                    const ZRWString& remoteEventId);
  // Whether a document with all events of its remote engine is still to come; and that one was
  // taken. The base has no remote engine.
  [[nodiscard]] virtual bool LacksRemoteEvents() const { return false; }
  virtual void TookRemoteEvents() {}

  // --- variables ---

  // Writes a variable by its number, good as of now. An unknown number is passed over. Quick, from
  // any thread.
  virtual void SetVariableValue(std::int64_t variable, double value);
  // An event whose state is shown by the variable `state` (ZREventDriver::setDriverVariables) has
  // got a mark: one of kActivated, kDeactivated, kAcknowledged, at `utc` in ms. Quick, and waits
  // for nothing: the event's occurrences are locked. The base passes it over.
  virtual void NoteMark(std::int64_t state, int mark, std::int64_t utc);
  // Makes a variable, by its number, show `value`. `name` is what the caller calls it. False if
  // there is no such variable, or it doesn't accept such a value. The base accepts every value.
  [[nodiscard]] virtual bool ForceValue(std::int64_t variable, const ZRValue& value,
                                        const wchar_t* name);
  // Describes a variable by its number. False, and `info` as it was, if there is none. In the base
  // every variable accepts forced values, and the one that holds a text is a text.
  [[nodiscard]] virtual bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const;
  [[nodiscard]] std::int64_t VariableNumber(const ZRWString& variable) const;  // -1 if none

  // Calls with each variable in the order of their numbers: its number, its name without the
  // driver's, and its value.
  using tagVisitor = std::function<void(std::int64_t, const ZRWString&, const ZRLiveValue&)>;
  void VisitVariables(const tagVisitor& visit) const;
  // What is wrong with the device at present, in a few words; UTF-8, empty for nothing. From any
  // thread; waits for nothing.
  [[nodiscard]] virtual ZRString Trouble() const { return {}; }

  // Finds a variable of this driver by its own name. False, and `handle` as it was, if there is
  // none. A handle is given back by ReleaseVariable.
  [[nodiscard]] virtual bool FindVariable(const wchar_t* variable, tagSVariableHandle& handle);
  // The second argument is reserved (0).
  virtual void ReleaseVariable(tagSVariableHandle& handle, int reserved);
  // Tells of a variable that was found. False, and `info` as it was, if that can't be told. In the
  // base a variable is a text while it holds one, and else a number. The last argument is reserved
  // (0).
  [[nodiscard]] virtual bool VariableInfo(const tagSVariableHandle& handle, tagSVariableInfo& info,
                                          int reserved);

  // Lets the driver generate events and groups: writes an element `events` into the first root
  // and elements below `eventsGroups` into the second. `screens` tells which screen shows a
  // sensor. The base writes nothing.
  virtual void CreateEventsXml(XmlDocument::XmlNode* events, XmlDocument::XmlNode* groups,
                               const ZRWideMap& screens);

 protected:
  // Makes a variable of this driver known as Name() + "." + `variable`, unavailable until it is
  // written. Its number is its index; a name that the driver has already keeps its number. Called
  // in the constructor or in Start.
  std::int64_t AddVariable(const ZRWString& variable);
  // `number` is one that AddVariable gave.
  [[nodiscard]] ZRLiveValue& Variable(std::int64_t number);
  [[nodiscard]] const ZRLiveValue& Variable(std::int64_t number) const;
  [[nodiscard]] bool HasVariable(std::int64_t number) const;

 private:
  const ZRWString ownId;
  const ZRWString ownName;
  // Both constant after Start.
  std::vector<ZRLiveValue*> variables;  // published, by number
  std::unordered_map<ZRWString, std::int64_t> numbers;
};

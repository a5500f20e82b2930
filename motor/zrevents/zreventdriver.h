#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/driversupport/zrevaluator.h"
#include "host/platform/zrmutex.h"
#include "host/platform/zrownedlist.h"
#include "host/remote/zrhttpresponse.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrdatetime.h"
#include "host/tools/zruuid.h"
#include "zrevents/actions/zreventaction.h"
#include "zrevents/zreventrt.h"
#include "zrevents/zreventsexport.h"
#include "zrevents/zreventstatus.h"

class ZREventDriverGroup;
class ZREventFile;
class ZREventList;
class ZREventLoggerData;
class ZRLoggerIntake;
class ZRTimeTable;
class ZRXmlWriter;

// One event: a condition that a user defined, what is to happen when it holds, and its state. It
// lives from LoadXml to the end of its store; each time it becomes active it makes one occurrence,
// which stays until it is activated, deactivated and acknowledged, or is displaced by a newer one.
//
// Threads   LoadXml on the host's thread; Work on the event's worker; services on any.
// Order     occurrencesMutex, then whatever SetEventStatus calls, fileMutex among it;
//           evaluatorsMutex, which LoadXml holds over all it calls; textMutex is a leaf.
// Owns      evaluators, actions, occurrences. Groups and the time table are the store's, nodes
//           the document's: all of them outlive the event.
class ZREVENTS_API ZREventDriver {
 public:
  ZREventDriver();
  virtual ~ZREventDriver();
  ZREventDriver(const ZREventDriver&) = delete;
  ZREventDriver& operator=(const ZREventDriver&) = delete;

  // Replaces `out` by the expansion of the template `text`. Always true.
  virtual bool ParseAnnotation(ZRWString& out, const ZRWString& text);

  // Reads the definition and tells the bus of the event. False, without a line in the log, for an
  // id that is no uuid, a missing or invalid condition, and an empty name. `toLoad` must outlive
  // the event.
  [[nodiscard]] bool LoadXml(const XmlDocument::XmlNode* toLoad);

  // --- the definition: constant after LoadXml ---

  [[nodiscard]] const uuid& Id() const { return id; }
  [[nodiscard]] const ZRWString& Name() const { return name; }
  [[nodiscard]] const ZRWString& Description() const { return description; }
  [[nodiscard]] const XmlDocument::XmlNode* Node() const { return node; }
  [[nodiscard]] const ZRWString& ActCondition() const { return actCondition; }
  [[nodiscard]] const ZRWString& DeaCondition() const { return deaCondition; }
  // True if the text of DeaCondition is in force: a stop condition that is no logical expression
  // isn't.
  [[nodiscard]] bool HasStopCondition() const { return conditionStop != nullptr; }
  [[nodiscard]] const ZRTimeTable* TimeTable() const { return timeTable; }  // null without one
  [[nodiscard]] bool Notify() const { return notify; }
  [[nodiscard]] bool IsHistoricEnabled() const { return record; }
  [[nodiscard]] bool RssActivate() const { return rssActivate; }
  [[nodiscard]] bool RssDeactivate() const { return rssDeactivate; }
  [[nodiscard]] bool RssAcknowledge() const { return rssAcknowledge; }
  [[nodiscard]] bool hasClientActions() const { return clientActionsPresent; }
  // The texts before they are expanded.
  [[nodiscard]] const ZRWString& AnnotationTemplate() const { return annotation; }
  [[nodiscard]] const ZRWString& DeaAnnotationTemplate() const { return deaAnnotation; }
  [[nodiscard]] const ZRWString& AckAnnotationTemplate() const { return ackAnnotation; }

  using tagGroups = std::vector<ZREventDriverGroup*>;
  [[nodiscard]] tagGroups::const_iterator GroupsVectorBegin() const { return groups.begin(); }
  [[nodiscard]] tagGroups::const_iterator GroupsVectorEnd() const { return groups.end(); }
  [[nodiscard]] int GroupsVectorSize() const { return static_cast<int>(groups.size()); }
  // True if a group of exactly that name is among the event's groups.
  [[nodiscard]] bool IsInGroup(const ZRWString& groupName) const;

  // --- the state, from any thread ---

  [[nodiscard]] bool IsEnabled() const { return enabled.load(std::memory_order_acquire); }
  // The last expansions, not the templates.
  [[nodiscard]] ZRWString Annotation() const { return TextOf(&ZREventDriver::annotationText); }
  [[nodiscard]] ZRWString DeaAnnotation() const {
    return TextOf(&ZREventDriver::deaAnnotationText);
  }
  [[nodiscard]] ZRWString AckAnnotation() const {
    return TextOf(&ZREventDriver::ackAnnotationText);
  }
  // UTC of the newest transitions; invalid if there was none.
  [[nodiscard]] ZRDateTime GetLastEventActivedDateTime() const {
    return TimeOf(&ZREventDriver::lastActived);
  }
  [[nodiscard]] ZRDateTime GetLastEventDeActivedDateTime() const {
    return TimeOf(&ZREventDriver::lastDeActived);
  }
  [[nodiscard]] ZRDateTime GetLastEventAcknowledgeDateTime() const {
    return TimeOf(&ZREventDriver::lastAcknowledge);
  }
  // Local time of the activation in force.
  [[nodiscard]] ZRDateTime LastActiveDateTime() const {
    return TimeOf(&ZREventDriver::activeSince);
  }
  // Whole seconds since then; 0 for an event that isn't active.
  [[nodiscard]] int ActivedSeconds() const;
  // There is an occurrence; the same for an event that asks to be acknowledged.
  [[nodiscard]] bool hasActived();
  [[nodiscard]] bool hasNotified();
  // There is an occurrence of that id, or the event has that id and any occurrence.
  [[nodiscard]] bool HasEvent(const uuid& toFind);

  // --- life ---

  // The list for listeners; null counts as one without listeners.
  void SetEventList(ZREventList* list) { eventList.store(list, std::memory_order_release); }

  // One cycle at the local time `now`. Always true.
  bool Work(const ZRDateTime& now);
  // Ask the processor to bring near what Work reads: first the event, some events later its
  // condition.
  void Prefetch() const {
    __builtin_prefetch(&timeTable);
    __builtin_prefetch(&occurrences);
  }
  void PrefetchCondition() const {
    if (condition) condition->Prefetch();
  }
  // The same for who lists the event: first its fields, some events later its longer texts.
  void PrefetchFields() const {
    __builtin_prefetch(&enabled);
    __builtin_prefetch(&textMutex, 1);
    __builtin_prefetch(&groups);
  }
  void PrefetchTexts() const;
  // The same for who loads its history.
  void PrefetchHistory() const {
    __builtin_prefetch(&fileMutex, 1);
    __builtin_prefetch(&id);
    __builtin_prefetch(&name);
    __builtin_prefetch(&notify);
  }
  void ResetDelayONCounter() { delayOnStart = 0; }
  void ResetDelayOFFCounter() { delayOffStart = 0; }

  // Runs the server-side actions of a moment. Always true; throws CoreException for a moment that
  // doesn't exist.
  bool ExecuteActions(int moment);

  // Binds two variables of a driver, which show the state (1.0 or 0.0) and the active time (s)
  // from now on, and tells the driver of each mark (NoteMark); a null driver ends that.
  void setDriverVariables(ZRDriver* driver, std::int64_t& state, std::int64_t& time);
  void updateDriverVariableState();
  void updateDriverVariableTime();

  // --- history, UTC ---

  // Writes the path of the data file of the month of `when`. `size`, in wchar_t, counts the
  // terminator. Type 0 is the history, 1 a kind that nobody writes. The text is empty if the path
  // doesn't fit, or the event's name can't be a part of it.
  void EventFileName(wchar_t* buffer, int size, const ZRDateTime& when, int type);
  // Adds the occurrences of the event that were activated from `from` until before `to`, with what
  // became of them by the end of the month behind the one of `to`. With `searchBefore` also the
  // one that was active at `from`, if it began in that month or the one before. False if there is
  // no data file.
  bool Load(ZREventLoggerData& data, const ZRDateTime& from, const ZRDateTime& to,
            bool searchBefore);
  // Writes each record of the period as one element. The caller begins and ends the answer.
  void LoadFileEvents(const ZRDateTime& from, const ZRDateTime& to, ZRHttpResponse& response);
  // Calls with each record of the period, in the order of the files, until it gives false: when
  // (UTC) the event got which mark. It is called with a file's lock held, and mustn't wait.
  using tagRecordVisitor = std::function<bool(const ZRDateTime& when, int mark)>;
  void VisitRecords(const ZRDateTime& from, const ZRDateTime& to, const tagRecordVisitor& visit);
  // Transitions that aren't in a file yet. They are lost if the event is destroyed before the
  // next one comes.
  [[nodiscard]] int WaitingRecords() const {
    return waitingRecords.load(std::memory_order_relaxed);
  }
  // Those that were lost so, of all events since the start of the process.
  [[nodiscard]] static std::int64_t LostRecords();

  // --- services ---

  // Write the event as one element, if it is active; each of its occurrences as one element.
  bool ProcessHttpServiceEventsActived(ZRHttpResponse& response);
  bool ProcessHttpServiceEventsNotified(ZRHttpResponse& response, bool canAcknowledge);
  // The same into the sections `actived` and `notified` of a document, named for the listener
  // that gets it. False if the document has no root.
  bool ProcessHttpServiceEventsActived(XmlDocument& document, const ZRWString& driverId,
                                       const ZRWString& driverName);
  bool ProcessHttpServiceEventsNotified(XmlDocument& document, bool canAcknowledge,
                                        const ZRWString& driverId, const ZRWString& driverName);
  // Acknowledges the first occurrence that has this id, or the first one at all if the event has
  // it. False if there is none. One that is acknowledged already stays as it is.
  bool ProcessHttpServiceAck(const uuid& toAcknowledge);
  // Writes each of its occurrences for which a client has something to do as one element.
  bool ProcessHttpServiceEventsActions(ZRHttpResponse& response);
  // Appends what clients have to do, as it is at present. False if that is nothing.
  bool ProcessHttpServiceEventsActions(ZRBasicString<char>& text);

 protected:
  // Appends a new occurrence with the present texts.
  tagSEventRT* NewEventRT() ZR_REQUIRES(occurrencesMutex);
  // Sets one mark and tells the world. False if the mark isn't allowed.
  bool SetEventStatus(tagSEventRT* occurrence, int status) ZR_REQUIRES(occurrencesMutex);
  void PublishTriggeredEvent(tagSEventRT* transition);
  bool ProcessHttpServiceEventsActions(tagSEventRT* occurrence, ZRHttpResponse& response);

  // Writes a transition into the data file of its month, behind those that wait already. It waits
  // with them if the files are in use for more than 10 ms, or can't be written.
  void SaveEvent(tagSEventRT* transition) ZR_REQUIRES(occurrencesMutex);
  // Add the records of one data file: those of the period; the later steps of occurrences that are
  // in `data`, from `from` on, while there are `incomplete` ones. False if there is no such file.
  bool Load(ZREventLoggerData& data, const ZRDateTime& from, const ZRDateTime& to,
            const wchar_t* fileName);
  bool LoadIncomplete(ZREventLoggerData& data, const ZRDateTime& from, const wchar_t* fileName,
                      std::list<uuid>& incomplete);
  // Adds the last activation before `from`, unless a deactivation came behind it. Always true.
  bool SearchActivationBeforePeriod(ZREventLoggerData& data, const ZRDateTime& from);
  // That share, in percent, of the number of records in all data files; at least 1.
  [[nodiscard]] int GetAbsoluteNumEvents(int percent);

 private:
  using tagActionList = std::vector<std::unique_ptr<ZREventAction>>;
  static constexpr int kServerSide = 0;
  static constexpr int kClientSide = 1;
  struct tagActions {
    std::array<std::array<tagActionList, kMoments>, 2> lists;
  };

  // The answer of a look at the conditions. An evaluation error ends the cycle without a change.
  enum class tagVerdict { kInactive, kActive, kError };

  // --- loading ---
  [[nodiscard]] bool LoadDefinition() ZR_REQUIRES(evaluatorsMutex);
  void LoadTexts();
  void LoadFlags();
  [[nodiscard]] std::unique_ptr<ZREvaluator> LoadDelay(const wchar_t* path) const;
  [[nodiscard]] bool LoadCondition() ZR_REQUIRES(evaluatorsMutex);
  void LoadStopCondition() ZR_REQUIRES(evaluatorsMutex);
  void LoadGroups();
  void JoinGroup(const ZRWString& groupId);
  void LoadArguments();
  void LoadActions();
  void LoadMoment(int side, int moment, const XmlDocument::XmlNode& list, const wchar_t* sideName);
  void PublishThatANewEventHasBeenCreated();

  // --- one cycle ---
  [[nodiscard]] bool NeedCheck(const ZRDateTime& now);
  [[nodiscard]] tagVerdict CheckEvent(bool verbose);
  void WorkInactive();
  void WorkActive();
  [[nodiscard]] bool Enable();
  [[nodiscard]] bool Disable(bool withDelay);
  [[nodiscard]] std::int32_t EvaluateDelay(ZREvaluator* delay);
  void EndActivity();
  void ClearDelays();
  void PerformActivateActions();
  void DeactivateOccurrences();
  void RemoveOldOccurrences();
  [[nodiscard]] bool HasOccurrences() const ZR_NO_ANALYSIS { return !occurrences.IsEmpty(); }

  // --- transitions ---
  void SetMark(tagSEventRT& occurrence, int status);
  void Acknowledge(tagSEventRT& occurrence);
  void QueueForListeners(const tagSEventRT& occurrence, int status);
  void TellDriver(int status, const ZRDateTime& now);
  void PublishFeed(const tagSEventRT& occurrence, int status);

  // --- history ---
  [[nodiscard]] static bool Write(tagSEventRT& transition);
  bool Load(ZREventFile& file, ZRLoggerIntake& intake, const ZRDateTime& from,
            const ZRDateTime& to);
  bool Load(ZREventFile& file, ZRLoggerIntake& intake, const ZRDateTime& from, const ZRDateTime& to,
            const wchar_t* fileName);
  bool LoadIncomplete(ZREventFile& file, ZREventLoggerData& data, const ZRDateTime& from,
                      const wchar_t* fileName, std::list<uuid>& incomplete);
  void LoadBehind(ZREventFile& file, ZREventLoggerData& data, const ZRDateTime& to,
                  std::list<uuid>& incomplete);

  // --- texts ---
  // Fields that textMutex guards are named by member pointers, and touched under it.
  using tagTextField = ZRWString ZREventDriver::*;
  using tagTimeField = ZRDateTime ZREventDriver::*;
  [[nodiscard]] ZRWString TextOf(tagTextField field) const;
  [[nodiscard]] ZRWString IdStr() const;
  void SetText(tagTextField field, const ZRWString& text);
  void SetIdStr(const ZRWString& text);
  void ExpandText(tagTextField field, const ZRWString& textTemplate);
  [[nodiscard]] ZRDateTime TimeOf(tagTimeField field) const;
  void SetTime(tagTimeField field, const ZRDateTime& time);
  [[nodiscard]] bool AppendArgument(ZRWString& out, int number);
  [[nodiscard]] bool AppendGroup(ZRWString& out, int number) const;
  void AppendExpression(ZRWString& out, const XmlDocument::XmlNode& argument, int number) const;
  void AppendEscape(ZRWString& out, const ZRWString& text, std::size_t& at);

  // --- services ---
  void PrepareHead();
  void WriteHead(ZRXmlWriter& xml, const uuid& idToShow) const;
  void MakeActiveElement() ZR_REQUIRES(textMutex);
  bool ProcessHttpServiceEventsNotified(const tagSEventRT* occurrence, ZRHttpResponse& response,
                                        bool canAcknowledge) const;
  bool ProcessHttpServiceEventsNotified(const tagSEventRT* occurrence, XmlDocument& document,
                                        bool canAcknowledge, const ZRWString& driverId,
                                        const ZRWString& driverName) const;
  [[nodiscard]] ZRWString NamePath(const ZRWString& driverName) const;

  // Read in every cycle: kept together. Constant after LoadXml, worker only, or atomic.
  ZRTimeTable* timeTable = nullptr;
  ZRMutex evaluatorsMutex;
  std::atomic<bool> enabled{false};
  bool notify = false;
  bool record = false;
  bool clientActionsPresent = false;
  std::uint32_t delayOnStart = 0;           // ticks; worker only; 0: the wait hasn't begun
  std::uint32_t delayOffStart = 0;          // the same
  std::atomic<std::int32_t> delayOnMs{0};   // written by the worker; 0: not computed
  std::atomic<std::int32_t> delayOffMs{0};  // the same
  std::atomic<ZRDriver*> stateDriver{nullptr};
  std::optional<ZREvaluator> condition;  // used under evaluatorsMutex; exists after LoadXml
  ZROwnedList<tagSEventRT> occurrences;  // changed by the worker under occurrencesMutex
  ZRMutex occurrencesMutex;
  ZRMutex fileMutex;  // held over all that is done with the event's data files
  std::atomic<int> waitingRecords{0};
  // Transitions that wait for their file, oldest first; null before the first one.
  std::unique_ptr<std::list<tagSEventRT>> fileQueue ZR_GUARDED_BY(occurrencesMutex);

  // Read by the active service for each event: kept together.
  mutable ZRMutex textMutex;  // a leaf
  // What it writes, UTF-8; empty from a change of the texts until it is asked for.
  ZRString activeElement ZR_GUARDED_BY(textMutex);
  tagGroups groups;

  std::unique_ptr<ZREvaluator> conditionStop;      // used under evaluatorsMutex, as the next two
  std::unique_ptr<ZREvaluator> delayToActivate;    // null stands for a delay of 0
  std::unique_ptr<ZREvaluator> delayToDeactivate;  // the same
  std::atomic<std::int64_t> stateVariable{-1};
  std::atomic<std::int64_t> timeVariable{-1};
  std::atomic<ZREventList*> eventList{nullptr};
  bool rssActivate = false;
  bool rssDeactivate = false;
  bool rssAcknowledge = false;

  uuid id;
  // As the document gave it, or composed for a listener; empty for the text of `id`.
  ZRWString idStr ZR_GUARDED_BY(textMutex);
  ZRString head;  // UTF-8; constant after LoadXml
  ZRWString idn;
  ZRWString name;
  ZRWString description;
  ZRWString annotationText ZR_GUARDED_BY(textMutex);
  ZRWString annotation;
  ZRWString deaAnnotationText ZR_GUARDED_BY(textMutex);
  ZRWString deaAnnotation;
  ZRWString ackAnnotationText ZR_GUARDED_BY(textMutex);
  ZRWString ackAnnotation;
  ZRWString actCondition;
  ZRWString deaCondition;
  std::vector<const XmlDocument::XmlNode*> arguments;
  const XmlDocument::XmlNode* node = nullptr;
  ZRDateTime activeSince ZR_GUARDED_BY(textMutex);  // local time
  ZRDateTime lastActived ZR_GUARDED_BY(textMutex);  // UTC, as the next two
  ZRDateTime lastDeActived ZR_GUARDED_BY(textMutex);
  ZRDateTime lastAcknowledge ZR_GUARDED_BY(textMutex);
  std::unique_ptr<tagActions> actions;  // null without any
};

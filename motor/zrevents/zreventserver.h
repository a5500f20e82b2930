#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/platform/zrthread.h"
#include "host/remote/zrhttprequest.h"
#include "host/remote/zrhttpresponse.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrdatetime.h"
#include "zrevents/lists/zreventlist.h"
#include "zrevents/zreventlistener.h"
#include "zrevents/zreventservergroup.h"
#include "zrevents/zreventsexport.h"
#include "zrevents/zreventsystem.h"

class ZRListenerBoard;
struct ZRListenerRound;

// The engine. The host makes the one instance, then calls LoadCfg, Start, the services from its
// web server's threads, Stop, and so on again.
//
// Threads   LoadCfg, Start, Stop and Reset on the host's thread; everything else on any, the
//           services not before the first LoadCfg has ended.
// Order     listenersMutex, then the gate, then groupsMutex, then a group's mutex; cfgMutex comes
//           before groupsMutex, and is never held while a group's mutex is taken.
//           listenerDriverIdsMutex is taken alone, or behind listenersMutex.
// Owns      the documents, the store, the workers. The host calls Stop before it destroys this.
class ZREVENTS_API ZREventServer {
 public:
  // Tokens of the gate: that many services at once.
  static constexpr int kGateTokens = 32;

  ZREventServer();
  virtual ~ZREventServer();
  ZREventServer(const ZREventServer&) = delete;
  ZREventServer& operator=(const ZREventServer&) = delete;

  // The instance. Not made on demand.
  [[nodiscard]] static ZREventServer& Get();

  // Reads default.xeve, default.xpark and default.xtmt of the configuration folder and fills the
  // store. A file that is missing or can't be read is an empty one. Always true.
  bool LoadCfg();

  // Starts the workers and the listener thread, and opens the gate. False, with nothing running,
  // if a thread can't be made. Only after Stop, or for the first time.
  //
  // A second Start without a Stop between makes no second worker for the events of groups, but one
  // for those without a group; groups and events are counted twice.
  [[nodiscard]] bool Start();
  // Closes the gate, waits for the services in progress, ends all threads and empties the store.
  void Stop();
  // Empties the store.
  void Reset();

  [[nodiscard]] bool IsServerStarted() const { return state.Get() == kThreadRunning; }
  // Events that have a worker.
  [[nodiscard]] unsigned int GetNumberOfEvents() const;

  // Milliseconds that the longest of the workers' last passes took.
  [[nodiscard]] std::uint32_t LongestPass();

  [[nodiscard]] XmlDocument* Cfg() { return &cfg; }
  [[nodiscard]] XmlDocument* TimeTableCfg() { return &timeTableCfg; }
  [[nodiscard]] XmlDocument* ParkingCfg() { return &parkingCfg; }

  // The remote events, and what waits for listeners.
  [[nodiscard]] ZREventList& EventList() { return eventList; }
  // How much of remote events there is: elements that are known, in both lists together, and
  // changes that wait for listeners.
  struct tagRemoteLoad {
    std::size_t elements = 0;
    int waiting = 0;
  };
  [[nodiscard]] tagRemoteLoad RemoteLoad();
  // Who listens.
  [[nodiscard]] ZRListenerBoard& Listeners() { return *listenerBoard; }

  // `path` is a chain of driver ids joined by ".": true if one of them, the last excepted, is that
  // of a registered listener.
  [[nodiscard]] bool HasCircularDependence(const ZRWString& path);

  // The newest transition of all events with client actions; invalid if there was none, and while
  // the server stops.
  [[nodiscard]] ZRDateTime GetLastEventsClientActionsDateTime();

  // --- services; each 503 while the server stops ---

  bool ProcessHttpServiceEventsActived(ZRHttpRequest& request, ZRHttpResponse& response);
  bool ProcessHttpServiceEventsNotified(ZRHttpRequest& request, ZRHttpResponse& response);
  // What clients have to do, for each occurrence of an event with client actions.
  bool ProcessHttpServiceEventsActions(ZRHttpRequest& request, ZRHttpResponse& response);
  // What happened to all events from `from` until before `to`, UTC. Whoever asks gets it all: who
  // may ask is decided in front of it.
  bool ProcessHttpServiceEventsLogger(ZRHttpRequest& request, ZRHttpResponse& response,
                                      const ZRDateTime& from, const ZRDateTime& to);
  // Acknowledges what the elements `id` of a document `eventsAck`, zero-terminated UTF-8, name: an
  // occurrence, the first one of an event, or an event of a remote engine, which its driver is
  // told of. What can't be acknowledged is passed over. False, with nothing done, if the body is no
  // such document, and while the server stops. Answers nobody.
  [[nodiscard]] bool ProcessHttpServiceAck(ZRHttpRequest& request, const unsigned char* body);
  // Takes a document `listener`, zero-terminated UTF-8: another engine, or a user's client, wants
  // to be told of what changes here. The status to answer with: 200 for a new user's client, 204
  // for a new engine and for one that was known, 400, or what a new engine's own server said when
  // it was asked whether it takes documents (0 for nothing). May take seconds.
  [[nodiscard]] int ProcessHttpServiceRegisterListener(ZRHttpRequest& request,
                                                       const unsigned char* body);
  // Takes a document `producer`, zero-terminated UTF-8: what has changed at another engine. The
  // status to answer with: 204, or 400 if it is none, or comes through a driver that isn't online;
  // what stands before such an event has been taken then.
  [[nodiscard]] int ProcessHttpServiceProducer(ZRHttpRequest& request, const unsigned char* body);
  // Who listens, since when, what the last one said, and how many changes wait. Never waits for a
  // round of documents.
  bool ProcessHttpServiceListeners(ZRHttpRequest& request, ZRHttpResponse& response);
  // From now on users' clients register here and no other engines, or the other way round, as in
  // the beginning.
  void AcceptUserListeners(bool isAccepted) { acceptsUserListeners = isAccepted; }
  // How many events the caller would see in the first two. The second counts events, not
  // occurrences.
  [[nodiscard]] int ActiveEventsCount(ZRHttpRequest& request, ZRHttpResponse& response);
  [[nodiscard]] int NotifiedEventsCount(ZRHttpRequest& request, ZRHttpResponse& response);

 private:
  void LoadXml();
  void AddGroups();
  void AssignEvents();
  [[nodiscard]] bool StartGroups();
  [[nodiscard]] bool StartEachGroup();
  [[nodiscard]] bool StartListenerThread();
  void DropGroups();
  void PublishNumberOfEvents();
  void Work();  // the listener thread
  void NotifyListeners(ZRListenerRound& round);
  void SendChanges(ZRListenerRound& round, int localCount, int remoteCount)
      ZR_REQUIRES(listenersMutex);
  void SendAll(ZRListenerRound& round) ZR_REQUIRES(listenersMutex);
  void AddAllEvents(XmlDocument& document, const ZREventListener& listener);
  void DropFailedListeners(ZRListenerRound& round) ZR_REQUIRES(listenersMutex);
  void RefreshAllListeners() ZR_REQUIRES(listenersMutex);
  void ShowListeners() ZR_REQUIRES(listenersMutex);
  [[nodiscard]] ZREventListener* FindListener(const ZRWString& driverId)
      ZR_REQUIRES(listenersMutex);
  [[nodiscard]] int RegisterEngine(const XmlDocument::XmlNode& wish, ZRHttpRequest& request)
      ZR_REQUIRES(listenersMutex);
  [[nodiscard]] int RegisterUser(const XmlDocument::XmlNode& wish, ZRHttpRequest& request)
      ZR_REQUIRES(listenersMutex);
  void AddListener(std::unique_ptr<ZREventListener> listener) ZR_REQUIRES(listenersMutex);
  [[nodiscard]] bool MergeReceived(const XmlDocument::XmlNode& section, bool isActive);
  void AcknowledgeRemote(const ZRWString& id, std::size_t point, ZRHttpRequest& request,
                         const char* digest);
  void AcknowledgeLocal(const uuid& id, ZRHttpRequest& request, const char* digest);
  // The first event that has this id, or an occurrence of it; null if there is none.
  [[nodiscard]] ZREventDriver* FindEvent(const uuid& id);

  std::unique_ptr<ZRSemaphore> gate;
  ZRStateWord state{kThreadStopped};  // life of the listener thread
  ZRThread listenerThread;
  // The events of the store point into the first two: they go after it.
  XmlDocument cfg;
  XmlDocument timeTableCfg;
  XmlDocument parkingCfg;
  ZRMutex cfgMutex;  // assignment of events in Start, reset in Stop
  ZREventSystem eventSystem;
  // Changed on the host's thread only. What a holder of the gate walks is locked all the same: a
  // Start that fails takes the groups away while the gate is open.
  mutable ZRSharedMutex groupsMutex;
  std::vector<std::unique_ptr<ZREventServerGroup>> groups ZR_GUARDED_BY(groupsMutex);
  std::atomic<bool> acceptsUserListeners{false};
  // Held through a whole round of documents, with its waits, and through a registration.
  ZRMutex listenersMutex;
  std::vector<std::unique_ptr<ZREventListener>> listeners ZR_GUARDED_BY(listenersMutex);
  std::unique_ptr<ZRListenerBoard> listenerBoard;  // of them, for who asks
  ZRMutex listenerDriverIdsMutex;
  // One for each registration of a new listener.
  std::list<ZRWString> listenerDriverIds ZR_GUARDED_BY(listenerDriverIdsMutex);
  ZREventList eventList;
};

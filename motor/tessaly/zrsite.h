// A site at work: settings, drivers, engine, in the order in which they need each other.
#pragma once

#include <memory>
#include <string>

#include "host/support/zrtessalysetup.h"
#include "tessaly/zreventvariables.h"
#include "tessaly/zrfinding.h"
#include "tessaly/zrhistorywatch.h"
#include "tessaly/zrlistenerwatch.h"
#include "zrevents/zreventserver.h"

class ZRMachineDriver;

// Threads   one, the host's.
// Owns      the engine and the drivers. It stops what it has started.
class ZRSite {
 public:
  // Which drivers StartDrivers starts.
  enum class tagDrivers {
    kAll,
    kWithoutMachine,  // in virtual time, where the machine's facts mean nothing: nor devices
    kNone             // they are made ready only, so that their variables exist
  };

  explicit ZRSite(const std::string& folderUtf8);
  ~ZRSite();
  ZRSite(const ZRSite&) = delete;
  ZRSite& operator=(const ZRSite&) = delete;

  // Reads the settings, and puts zone and language into force. False if there is no such site or
  // its settings can't be used; `findings` say why.
  [[nodiscard]] bool LoadSettings(ZRFindings& findings);
  // Looks at the documents of the settings in force. False if one can't be read.
  [[nodiscard]] bool TryDocuments(ZRFindings& findings) const;
  // Looks at settings and documents as they stand on the disk now, without taking them over.
  // False if the site can't be loaded from them.
  [[nodiscard]] bool TrySite(ZRFindings& findings) const;

  // Sends the log where the settings say. False with a reason.
  [[nodiscard]] bool OpenLog(std::string& reason) const;

  // Makes the drivers of the settings, and R$SYS. One that can't be made is a finding.
  void MakeDrivers(ZRFindings& findings);
  // Starts them, so that their first values exist. One that can't start is a finding.
  void StartDrivers(tagDrivers which, ZRFindings& findings);

  // Fills the store from the documents, and binds the events' variables. `observer` is told of
  // each activation and deactivation.
  void LoadEvents(ZREventVariables::tagObserver observer);
  // Says what of the documents isn't in force. After LoadEvents, before StartEngine.
  void CheckLoaded(ZRFindings& findings);

  // What is recorded from now on goes to `folder`, which ends in its separator, and needs not be
  // kept. Behind LoadSettings.
  void RecordForNothing(const ZRWString& folder);

  // Starts the engine. False if it can't have its threads.
  [[nodiscard]] bool StartEngine();
  // Ends the engine, then the drivers, and empties both. Says which records are lost by that.
  void Stop();

  // What the host shows of itself in R$SYS.
  void ShowCycle();
  // Tells of what the engine is silent about: records that can't be written, listeners that are
  // dropped. For every second.
  void Watch();

  [[nodiscard]] ZREventServer& Engine() { return engine; }
  [[nodiscard]] const std::string& Folder() const { return folder; }

 private:
  [[nodiscard]] ZRWString WideFolder() const;
  void StopDrivers();

  const std::string folder;  // UTF-8
  ZREventServer engine;
  bool engineRuns = false;
  bool needsNoHistory = false;
  ZRHistoryWatch history;
  ZRListenerWatch listeners;
  std::unique_ptr<ZREventVariables> variables;
  ZRMachineDriver* machine = nullptr;
};

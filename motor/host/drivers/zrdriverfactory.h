// Drivers made from their settings.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/drivers/zrdriversettings.h"
#include "host/drivers/zrreadingfile.h"
#include "host/drivers/zrreplaydriver.h"
#include "host/drivers/zrsimulatordriver.h"
#include "host/driversupport/zrdriver.h"

// Passwords that aren't in the site's settings, by the name of the driver that needs them.
using ZRDriverPasswords = std::map<std::string, std::string, std::less<>>;

// Makes a driver from a table [[driver]] of the site's settings. docs/drivers.md describes the
// types and their keys.
//
// Threads   the host's, while it starts.
class ZRDriverFactory {
 public:
  // The driver, not started yet; or null, and then at least one problem says why. Beside a driver
  // problems are warnings: keys that nobody knows. No two drivers have one serial line: that of a
  // registered driver is taken.
  [[nodiscard]] static std::unique_ptr<ZRDriver> Make(const XmlDocument::XmlNode& settings,
                                                      std::vector<ZRSettingProblem>& problems,
                                                      const ZRDriverPasswords& passwords = {});

  // The system driver with its default settings: for a site that doesn't describe it.
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeMachine();

  // Reads the file of a replay once and tells what it holds: how long a run in virtual time has to
  // be, and when it begins. False, with problems, for any other settings and for a bad file.
  [[nodiscard]] static bool MeasureReplay(const XmlDocument::XmlNode& settings,
                                          ZRReadingsSpan& span,
                                          std::vector<ZRSettingProblem>& problems);

 private:
  // What problems of a table begin with.
  [[nodiscard]] static std::string SubjectOf(const XmlDocument::XmlNode& settings);
  // Each reads its keys; errors stay in `settings`.
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeMachine(ZRDriverSettings& settings);
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeSimulator(
      ZRDriverSettings& settings, std::vector<ZRSettingProblem>& problems);
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeReplay(ZRDriverSettings& settings);
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeEngine(ZRDriverSettings& settings);
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeModbus(
      ZRDriverSettings& settings, std::vector<ZRSettingProblem>& problems);
  [[nodiscard]] static std::unique_ptr<ZRDriver> MakeMqtt(ZRDriverSettings& settings,
                                                          std::vector<ZRSettingProblem>& problems,
                                                          const ZRDriverPasswords& passwords);
  [[nodiscard]] static bool ReadIdentity(ZRDriverSettings& settings, ZRWString& id,
                                         ZRWString& name);
  [[nodiscard]] static std::uint32_t ReadPeriod(ZRDriverSettings& settings,
                                                std::uint32_t whenAbsent);
  [[nodiscard]] static ZRReplaySettings ReadReplay(ZRDriverSettings& settings);
};

// The path of a file that settings name, below the folder `site` (both UTF-8); with `outside`
// any path. Empty, with a reason, for one that leaves the site, also by a link, and for something
// that exists and isn't a file.
[[nodiscard]] std::string PathBelowSite(const std::string& site, const std::string& file,
                                        bool outside, std::string& reason);

// Settings of the installation: the site's tessaly.toml.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "host/support/zrbussettings.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"

// What is wrong with the file, or odd. No value of the file is quoted: it may be a secret.
struct ZRSettingProblem {
  ZRString text;   // names the key
  int line = 0;    // from 1; 0 if no place is to blame
  int column = 0;  // from 1, in characters
};

// The settings of docs/settings.md, with their defaults for what the file leaves out.
//
// Threads   loaded once by the host, before anything else starts; read only from then on, by any
//           thread. A reload of the site loads it anew while nothing runs.
// Promise   a Load that fails changes nothing.
class ZRTessalySetup {
 public:
  static constexpr const char* kFileName = "tessaly.toml";
  static constexpr int kDefaultHttpPort = 8480;
  // Of each list, at most so many are told.
  static constexpr std::size_t kMaximumProblems = 100;

  ZRTessalySetup() = default;
  // The one of the process.
  [[nodiscard]] static ZRTessalySetup& Get();

  // Reads `<site>/tessaly.toml`, of at most 1 MiB. False if the file is missing, isn't TOML, or
  // holds a value of a wrong type or range: the problems say where. A key that nobody knows is a
  // problem in `warnings`. Both lists are replaced.
  [[nodiscard]] bool Load(const ZRWString& siteFolder, std::vector<ZRSettingProblem>& problems,
                          std::vector<ZRSettingProblem>& warnings);
  // The same with the text of the file.
  [[nodiscard]] bool LoadText(std::string_view toml, const ZRWString& siteFolder,
                              std::vector<ZRSettingProblem>& problems,
                              std::vector<ZRSettingProblem>& warnings);

  // Folders, each with its separator at the end. Relative ones in the file are below the site.
  [[nodiscard]] const ZRWString& SitePath() const { return sitePath; }
  [[nodiscard]] const ZRWString& CfgPath() const { return cfgPath; }
  [[nodiscard]] const ZRWString& DataPath() const { return dataPath; }
  // Another data folder until the next Load, with its separator at the end.
  void UseDataPath(const ZRWString& folder) { dataPath = folder; }

  [[nodiscard]] const ZRWString& ProgramName() const { return programName; }
  [[nodiscard]] const ZRWString& CurrentLanguage() const { return language; }  // "en" or "es"
  // The host under which the readers of the feed know this site.
  [[nodiscard]] const ZRWString& RssUrl() const { return rssUrl; }
  // By its name in the zone database, which Load doesn't ask; empty: the machine's.
  [[nodiscard]] const ZRString& TimeZone() const { return timeZone; }

  [[nodiscard]] int HttpServerPort() const { return httpPort; }  // 0: any free one
  // Another port until the next Load: the one that the web server has.
  void UseHttpPort(int port) { httpPort = port; }
  // The address of this machine on which the web server listens, IPv4 or IPv6 in digits.
  [[nodiscard]] const ZRString& HttpAddress() const { return httpAddress; }
  // The names under which clients know the web server, besides addresses and localhost.
  [[nodiscard]] const std::vector<ZRString>& HttpNames() const { return httpNames; }
  // Files of the certificate and its key, both given or both empty. Relative ones in the file are
  // below the site.
  [[nodiscard]] const ZRWString& HttpCertificate() const { return httpCertificate; }
  [[nodiscard]] const ZRWString& HttpKey() const { return httpKey; }
  // Clients that know nothing better may sign in with MD5.
  [[nodiscard]] bool HttpMd5() const { return httpMd5; }

  // Users' clients register as listeners, in place of other engines.
  [[nodiscard]] bool ChainUsers() const { return chainUsers; }
  // The networks that requests to other engines may go to, as texts ("10.0.0.0/8"); empty for the
  // private ones.
  [[nodiscard]] const std::vector<ZRString>& ChainNetworks() const { return chainNetworks; }

  [[nodiscard]] const ZRBusSettings& Bus() const { return bus; }

  [[nodiscard]] const ZRString& SmtpServer() const { return smtpServer; }
  [[nodiscard]] const ZRString& SmtpFrom() const { return smtpFrom; }
  [[nodiscard]] const ZRString& SmtpUser() const { return smtpUser; }
  [[nodiscard]] const ZRString& SmtpPassword() const { return smtpPassword; }
  [[nodiscard]] int SmtpPort() const { return smtpPort; }
  [[nodiscard]] int SmtpSizeQueue() const { return smtpSizeQueue; }  // messages; negative: any
  [[nodiscard]] int SmsSizeQueue() const { return smsSizeQueue; }    // the same
  [[nodiscard]] bool SmtpAuthenticated() const { return smtpAuthenticated; }
  [[nodiscard]] bool SmtpSSL() const { return smtpSsl; }

  // How SMS are sent: "modem", or "file" for a folder that they are written to. The folder has its
  // separator at the end.
  [[nodiscard]] const ZRString& SmsSender() const { return smsSender; }
  [[nodiscard]] const ZRWString& SmsFolder() const { return smsFolder; }
  // The program that drives the modem, and the device of a port; empty if the port has none.
  [[nodiscard]] const ZRString& SmsProgram() const { return smsProgram; }
  [[nodiscard]] ZRString SmsDevice(unsigned int port) const;

  // When records of the history reach the disk for good: "strict", "adaptive" or "off".
  [[nodiscard]] const ZRString& HistoryDurability() const { return historyDurability; }

  // What the events' counts are of: "day", "week", "month", "year" or "all".
  [[nodiscard]] const ZRString& EventsCountPeriod() const { return eventsCountPeriod; }

  // The log: level 0 to 4, and the target "terminal", "journal" or the path of a file below the
  // site (with the site's folder in front).
  [[nodiscard]] int LogLevel() const { return logLevel; }
  [[nodiscard]] const ZRWString& LogTarget() const { return logTarget; }

  // The file's tree as nodes: tables as elements; texts as they are, integers in decimal, other
  // numbers in their shortest form, flags as "T" and "F", dates by ISO 8601; each entry of an
  // array as one more element of the array's name. The password of the mail server is left out.
  // Null before a Load.
  [[nodiscard]] const XmlDocument::XmlNode* Tree() const {
    return tree != nullptr ? std::as_const(*tree).Root() : nullptr;
  }
  // The drivers of the file, one element `driver` for each [[driver]], in the file's order. Each
  // has a `type`, a `name` and an `id` (its name, if the file gives none); names and ids are
  // those of one driver only, and have no "." "[" "]". It, and each table in it, also has
  // the value `__line`: the line of the file, from 1.
  [[nodiscard]] std::vector<const XmlDocument::XmlNode*> Drivers() const;

 private:
  class CReader;

  ZRWString sitePath, cfgPath, dataPath;
  ZRWString programName{L"Tessaly"}, language{L"en"}, rssUrl{L"localhost"}, logTarget{L"terminal"};
  ZRString timeZone, historyDurability{"adaptive"}, eventsCountPeriod{"month"};
  ZRString smtpServer, smtpFrom, smtpUser, smtpPassword;
  ZRString smsSender{"modem"}, smsProgram{"/usr/bin/gammu"};
  ZRWString smsFolder{L"sms/"};
  std::map<unsigned int, ZRString> smsDevices;  // by port
  ZRString httpAddress{"127.0.0.1"};
  std::vector<ZRString> httpNames, chainNetworks;
  ZRWString httpCertificate, httpKey;
  int httpPort = kDefaultHttpPort, smtpPort = 25, smtpSizeQueue = 100, smsSizeQueue = 100;
  int logLevel = 1;
  bool httpMd5 = false, chainUsers = false, smtpAuthenticated = false, smtpSsl = false;
  ZRBusSettings bus;
  std::unique_ptr<XmlDocument> tree;
};

// The default configuration for readers of single values: the tree of tessaly.toml as nodes.
// Never null after a Load.
[[nodiscard]] const XmlDocument::XmlNode* DefaultZRFG();

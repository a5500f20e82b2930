// Settings of the installation: the site's tessaly.toml.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/zrbasicstring.h"

// One setting with what the file says of it, for whoever reads a table of his own (drivers).
struct ZRSettingProblem {
  ZRString text;  // what is wrong, naming the key
  int line = 0;   // from 1; 0 if no place is to blame
  int column = 0;
};

// The singleton of the settings. Loaded once by the host, before anything else starts; read only
// from then on, by any thread. A reload of the site loads it anew while nothing runs.
class ZRTessalySetup {
 public:
  [[nodiscard]] static ZRTessalySetup& Get();

  // Reads `<site>/tessaly.toml`. False if the file is missing, isn't TOML, or holds a value of a
  // wrong type or range: the problems say where, and the settings stay as they were. A key that
  // nobody knows is a problem in `warnings`.
  [[nodiscard]] bool Load(const ZRWString& siteFolder, std::vector<ZRSettingProblem>& problems,
                          std::vector<ZRSettingProblem>& warnings);

  [[nodiscard]] const ZRWString& SitePath() const { return sitePath; }

  // Folders, each with its separator at the end. Relative ones in the file are below the site.
  [[nodiscard]] const ZRWString& CfgPath() const { return cfgPath; }
  [[nodiscard]] const ZRWString& DataPath() const { return dataPath; }

  [[nodiscard]] const ZRWString& ProgramName() const { return programName; }
  [[nodiscard]] const ZRWString& CurrentLanguage() const { return language; }
  [[nodiscard]] const ZRWString& RssUrl() const { return rssUrl; }
  [[nodiscard]] const ZRString& TimeZone() const { return timeZone; }  // empty: the machine's

  [[nodiscard]] int HttpServerPort() const { return httpPort; }  // 0: any free one

  [[nodiscard]] const ZRString& SmtpServer() const { return smtpServer; }
  [[nodiscard]] const ZRString& SmtpFrom() const { return smtpFrom; }
  [[nodiscard]] const ZRString& SmtpUser() const { return smtpUser; }
  [[nodiscard]] const ZRString& SmtpPassword() const { return smtpPassword; }
  [[nodiscard]] int SmtpPort() const { return smtpPort; }
  [[nodiscard]] int SmtpSizeQueue() const { return smtpSizeQueue; }
  [[nodiscard]] int SmsSizeQueue() const { return smsSizeQueue; }
  [[nodiscard]] bool SmtpAuthenticated() const { return smtpAuthenticated; }
  [[nodiscard]] bool SmtpSSL() const { return smtpSsl; }

  // The log: level 0 to 4, and the target "terminal", "journal" or a file below the site.
  [[nodiscard]] int LogLevel() const { return logLevel; }
  [[nodiscard]] const ZRWString& LogTarget() const { return logTarget; }

  // The file's tree as nodes, tables as elements and each entry of an array as one more element
  // of the array's name: what a driver reads of its own settings. Null before a Load.
  [[nodiscard]] const XmlDocument::XmlNode* Tree() const { return tree.Root(); }
  // The drivers of the file, one element `driver` for each [[driver]], in the file's order.
  [[nodiscard]] std::vector<const XmlDocument::XmlNode*> Drivers() const;

 private:
  ZRWString sitePath, cfgPath, dataPath, programName, language, rssUrl, logTarget;
  ZRString timeZone, smtpServer, smtpFrom, smtpUser, smtpPassword;
  int httpPort = 0, smtpPort = 25, smtpSizeQueue = 100, smsSizeQueue = 100, logLevel = 1;
  bool smtpAuthenticated = false, smtpSsl = false;
  XmlDocument tree;
};

// The default configuration for readers of single values: the tree of tessaly.toml as nodes.
// Never null after a Load.
[[nodiscard]] const XmlDocument::XmlNode* DefaultZRFG();

// The words behind `tessaly`.
#pragma once

#include <string>
#include <vector>

// Exit codes of the process.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFaulty = 1;      // the work was done, and something was wrong
inline constexpr int kExitImpossible = 2;  // the work couldn't be tried: usage, site, settings

// How a history is shown.
enum class ZRHistoryFormat { kTable, kCsv, kJson, kXml };

// What of a history is shown.
struct ZRHistoryWords {
  std::vector<std::string> events;  // names; all events without any
  std::string from;                 // as they were typed; empty if they weren't
  std::string to;
  bool open = false;     // only occurrences that haven't ended
  bool running = false;  // with those that had begun before, and were active when it begins
  bool totals = false;   // sums for each event
  ZRHistoryFormat format = ZRHistoryFormat::kTable;
};

// What is done to the users who log in.
struct ZRUserWords {
  enum class tagDeed { kAdd, kPassword, kRemove, kList, kGrant, kRevoke, kJoin, kLeave };

  tagDeed deed = tagDeed::kList;
  std::string name;            // of the user or role
  bool isRole = false;         // for kRemove, kGrant, kRevoke: `name` is a role's
  std::string right;           // for kGrant, kRevoke: a word of ZRResourceKind, or kAdministrator
  std::string resource;        // its group or driver, by id or name, or "*"
  std::string role;            // for kJoin, kLeave
  bool administrator = false;  // for kAdd

  static constexpr const char* kAdministrator = "administrator";
};

// How a running site is asked.
struct ZRClientWords {
  std::string user;              // who asks; empty: nobody in particular
  std::string authorities;       // file of certificates to trust, in place of the site's own
  std::vector<std::string> ids;  // of kAck
  ZRHistoryFormat format = ZRHistoryFormat::kTable;
  std::string driver;    // of kDrivers: a name; empty: all drivers, and no events
  std::string variable;  // of kForce: its full name
  std::string value;     // of kForce
};

struct ZRCommand {
  enum class tagVerb {
    kNone,
    kRun,
    kCheck,
    kEval,
    kReplay,
    kHistory,
    kVerifyHistory,
    kDumpHistory,
    kRename,
    kSystemEvents,
    kUser,
    kActive,
    kNotified,
    kAck,
    kListeners,
    kDrivers,
    kForce
  };

  tagVerb verb = tagVerb::kNone;
  int exitCode = kExitDone;  // for kNone: help was shown, or the words make no sense
  std::string site;
  std::string expression;  // for kEval
  int port = -1;  // for kRun and the verbs that ask a running site; -1: as the settings say
  ZRHistoryWords history;  // for kHistory
  std::string file;        // for kDumpHistory: the data file; for kRename: the old document
  bool dryRun = false;     // for kRename
  ZRUserWords user;        // for kUser
  ZRClientWords client;    // for kActive, kNotified, kAck, kListeners, kDrivers, kForce
};

// Reads the command line; help, the version and complaints are printed at once.
[[nodiscard]] ZRCommand ParseCommandLine(int count, const char* const* words);

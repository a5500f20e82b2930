// Which data files follow events that have new names.
#pragma once

#include <string>
#include <vector>

#include "host/tools/xmldocument.h"
#include "host/tools/zrdatetime.h"

// What RenameEventsFilesDataName will do and, as honestly, what it won't. Names of files are below
// the data folder, in UTF-8.
struct ZRRenamePlan {
  struct tagMove {
    std::string from;
    std::string to;
    bool isTaken = false;  // something of the new name exists: nothing moves
  };
  struct tagEvent {
    std::string oldName;
    std::string newName;
    std::vector<tagMove> moves;
    std::vector<std::string> stays;  // files of the old name that nobody will look for any more
  };

  std::vector<tagEvent> events;  // those with a new name, in the order of the old document

  [[nodiscard]] std::size_t Moves() const;
  [[nodiscard]] std::size_t Taken() const;
  [[nodiscard]] std::size_t Stays() const;
};

// The two nodes as for RenameEventsFilesDataName; `dataFolder` ends in its separator. Changes
// nothing.
[[nodiscard]] ZRRenamePlan PlanRename(const XmlDocument::XmlNode* oldEvents,
                                      const XmlDocument::XmlNode* newEvents,
                                      const ZRWString& dataFolder, const ZRDateTime& utcNow);

// The data files follow an event that gets another name.
#pragma once

#include "host/tools/xmldocument.h"
#include "zrevents/zreventsexport.h"

// Gives the data files of events whose name has changed their new name. Both are lists of `event`
// elements with `id` and `name`; an event is the same if its id is. A file never takes the place of
// another one. True if either is null, or nothing went wrong; what was renamed stays so in any
// case.
//
// What it renames is required to be this: of the first event of `oldEvents` with another name, the
// files of the newest year that has a folder, and of that year the months from January to the
// present one, whatever the year.
//
// Threads   the host's, while no engine writes these files.
ZREVENTS_API bool RenameEventsFilesDataName(const XmlDocument::XmlNode* oldEvents,
                                            const XmlDocument::XmlNode* newEvents);

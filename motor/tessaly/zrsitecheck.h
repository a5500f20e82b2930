// Compares what stands in a site's documents with what stands in the store: the engine passes over
// in silence what it can't use, and here it is said.
#pragma once

#include "host/tools/xmldocument.h"
#include "tessaly/zrfinding.h"
#include "zrevents/zreventsystem.h"

inline constexpr const char* kEventsFile = "config/default.xeve";
inline constexpr const char* kTimeTablesFile = "config/default.xtmt";
inline constexpr const char* kParkingFile = "config/default.xpark";

// Tries the three documents of the folder, each on its own: kBroken for one that can't be read,
// kHint for events that don't exist at all.
void CheckDocuments(const ZRWString& configurationFolder, ZRFindings& findings);

// What became of the groups and events of `document`, and of the time tables. After loading, while
// nothing runs. `system` must have been filled from these documents.
void CheckEvents(const XmlDocument& document, ZREventSystem& system, ZRFindings& findings);
void CheckTimeTables(const XmlDocument& document, ZREventSystem& system, ZRFindings& findings);

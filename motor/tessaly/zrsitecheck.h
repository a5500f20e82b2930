// Compares what stands in a site's documents with what stands in the store: the engine passes over
// in silence what it can't use, and here it is said.
#pragma once

#include <string>
#include <string_view>

#include "host/support/zrtessalysetup.h"
#include "host/tools/xmldocument.h"
#include "tessaly/zrfinding.h"
#include "zrevents/zreventsystem.h"

// The documents of the configuration folder.
inline constexpr std::string_view kEventsFile = "default.xeve";
inline constexpr std::string_view kTimeTablesFile = "default.xtmt";
inline constexpr std::string_view kParkingFile = "default.xpark";

// How findings call a file of the configuration folder: "config/default.xeve", or the whole path
// if the folder isn't below the site. For an empty name the folder.
[[nodiscard]] std::string ShownFile(const ZRTessalySetup& setup, std::string_view name);

// The same of a whole path: without the site's folder in front, if it is below it.
[[nodiscard]] std::string ShownPath(const ZRTessalySetup& setup, const ZRWString& path);

[[nodiscard]] bool FolderExists(const ZRWString& path);

// Tries the documents, each on its own: kBroken for one that can't be read, kHint for events that
// don't exist at all, and for groups and events that are switched off.
void CheckDocuments(const ZRTessalySetup& setup, ZRFindings& findings);

// What became of the groups and events of `document`, and of the time tables. After loading, while
// nothing runs. `system` must have been filled from these documents, and `file` is how findings
// call them.
void CheckEvents(const XmlDocument& document, ZREventSystem& system, const std::string& file,
                 ZRFindings& findings);
void CheckTimeTables(const XmlDocument& document, ZREventSystem& system, const std::string& file,
                     ZRFindings& findings);

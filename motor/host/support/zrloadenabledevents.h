#pragma once

#include "host/tools/xmldocument.h"

// Reads the events document, leaving out the elements below `events` and `eventsGroups` whose
// value `enabled` is "F" (an absent or any other value keeps them).
class ZRLoadEnabledEvents {
 public:
  // False if no document could be loaded; `document` is then empty, and `refusal`, if given, says
  // why.
  [[nodiscard]] static bool Load(const wchar_t* path, XmlDocument& document,
                                 XmlDocument::tagRefusal* refusal = nullptr);
};

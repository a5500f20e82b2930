// Times as a running site sends them.
#pragma once

#include <string>

// For people: the local time. By ISO 8601 in UTC. Both show a time that can't be read as it was
// sent, the first with its controls as escapes.
[[nodiscard]] std::string LocalTimeOf(const std::string& sent);
[[nodiscard]] std::string IsoTimeOf(const std::string& sent);

// The road of an event through several engines.
#pragma once

#include <list>

#include "host/tools/zrbasicstring.h"

// `path` is a chain of driver ids joined by ".". True if one of them is in `drivers`, the last one
// excepted, which has no "." behind it.
[[nodiscard]] bool LeadsThrough(const ZRWString& path, const std::list<ZRWString>& drivers);

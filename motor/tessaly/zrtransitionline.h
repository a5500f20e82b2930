// One readable line for each activation and deactivation.
#pragma once

#include "host/tools/zrbasicstring.h"

class ZREventDriver;

// "active: High load - The load is 3.2", and "inactive: High load, after 1 min 35 s".
[[nodiscard]] ZRWString TransitionLine(const ZREventDriver& event, bool active, double seconds);

// "35 s", "1 min 35 s", "2 h 0 min", "3 d 4 h": the two largest units.
[[nodiscard]] ZRWString DurationText(double seconds);

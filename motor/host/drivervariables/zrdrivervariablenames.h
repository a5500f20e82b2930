// Full names of variables: the driver's name, a point, the variable's name. A driver's name has
// no point in it; a variable's name may.
#pragma once

#include "host/tools/zrbasicstring.h"

// `fullName` may be one of the parts.
void JoinDriverVariable(const ZRWString& driver, const ZRWString& variable, ZRWString& fullName);

// Splits at the first point. False without one, or with an empty part: the targets then stay as
// they were. Either target may be `fullName` itself.
[[nodiscard]] bool SplitDriverVariable(const ZRWString& fullName, ZRWString& driver,
                                       ZRWString& variable);

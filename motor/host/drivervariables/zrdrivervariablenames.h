// Full names of variables: the driver's name, a point, the variable's name.
#pragma once

#include "host/tools/zrbasicstring.h"

void JoinDriverVariable(const ZRWString& driver, const ZRWString& variable, ZRWString& fullName);

// Splits at the first point. False without one, or with an empty part.
[[nodiscard]] bool SplitDriverVariable(const ZRWString& fullName, ZRWString& driver,
                                       ZRWString& variable);

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

// Splits the name in a reference, which may have a filter in front: "driver.variable" or
// "[filter:argument]driver.variable". What a part lacks is empty; false, with all four empty, for
// a text of another form. The flag is reserved (false).
bool SplitFilterDriverVariable(const ZRWString& name, ZRWString& filter, ZRWString& argument,
                               ZRWString& driver, ZRWString& variable, bool reserved);

// A variable of a driver, found by its name, and what is told of it there.
#pragma once

#include <cstdint>

#include "host/driversupport/zrtessalyflags.h"
#include "host/tools/zrbasicstring.h"

// What ZRDriver::FindVariable gives: the driver's own matter until ReleaseVariable.
struct tagSVariableHandle {
  std::int64_t number = -1;  // in the base the variable's number
};

struct tagSVariableInfo {
  ZRWString name;  // without the driver's
  tagVariableFlags flags;
};

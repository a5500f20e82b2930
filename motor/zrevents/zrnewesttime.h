#pragma once

#include "host/tools/zrdatetime.h"

// `candidate` replaces `newest` if it is valid, and later or the first one.
inline void KeepNewest(ZRDateTime& newest, const ZRDateTime& candidate) {
  if (candidate.Valid() && (!newest.Valid() || newest < candidate)) newest = candidate;
}

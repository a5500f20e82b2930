#include "host/driversupport/zrtessalyflags.h"

ZRTessalyFlags::ZRTessalyFlags() {
  groups[kStates].set(zrflag::kState);
  groups[kCounts].set(zrflag::kCount);
  groups[kTimes].set(zrflag::kSeconds);
  groups[kTogether] = groups[kCounts] | groups[kTimes];
}

const ZRTessalyFlags& ZRTessalyFlags::get() {
  static const ZRTessalyFlags flags;
  return flags;
}

const tagVariableFlags& ZRTessalyFlags::getFlags(int group) const {
  const auto number = static_cast<std::size_t>(group);
  return groups[group > 0 && number < groups.size() ? number : 0];
}

// What a record of a data file says about an occurrence.
#pragma once

// kActivated, kDeactivated, kAcknowledged or another number without a meaning, from the double that
// a file has: 0 for what no step could be.
[[nodiscard]] inline int StepOf(double value) {
  constexpr double kMost = 1000;
  return value > -kMost && value < kMost ? static_cast<int>(value) : 0;
}

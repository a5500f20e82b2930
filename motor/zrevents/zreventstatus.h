// The small numbers of the engine: marks of an occurrence, moments of an action, thread states.
#pragma once

#include <cstdint>

// Marks of an occurrence: bits of tagSEventRT::status. Alone, in a record, a queued change and on
// the bus, the same number stands for a single transition.
inline constexpr int kActivated = 1;
inline constexpr int kDeactivated = 2;
inline constexpr int kAcknowledged = 4;
inline constexpr int kFinished = kActivated | kDeactivated | kAcknowledged;

// True if `mark` may be added to the bits in `status`. Each mark is set once, and the two later
// ones only on an occurrence that was activated.
[[nodiscard]] constexpr bool MarkAllowed(int status, int mark) noexcept {
  if ((status & mark) != 0) return false;
  if (mark == kActivated) return true;
  return (mark == kDeactivated || mark == kAcknowledged) && (status & kActivated) != 0;
}

// The text of a single transition.
[[nodiscard]] constexpr const wchar_t* TransitionText(int status) noexcept {
  switch (status) {
    case kActivated:
      return L"ON";
    case kDeactivated:
      return L"OFF";
    case kAcknowledged:
      return L"ACK";
    default:
      return L"NONE";
  }
}

// Moments of an action.
inline constexpr int kMomentActivate = 0;
inline constexpr int kMomentWhile = 1;
inline constexpr int kMomentDeactivate = 2;
inline constexpr int kMomentAcknowledge = 3;
inline constexpr int kMoments = 4;

// The life of a thread of the server.
inline constexpr std::uint32_t kThreadStarting = 1;
inline constexpr std::uint32_t kThreadRunning = 2;
inline constexpr std::uint32_t kThreadStopRequested = 3;
inline constexpr std::uint32_t kThreadStopped = 4;

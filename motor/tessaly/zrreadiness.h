// Whether the site does its work, for who asks from outside.
#pragma once

#include <atomic>

// Threads   the host's says, any asks.
class ZRReadiness {
 public:
  enum class tagState { kLoading, kRunning, kStopping };

  void Set(tagState now) { state = now; }
  [[nodiscard]] bool IsReady() const { return state == tagState::kRunning; }
  // One word: "loading", "ok", "stopping".
  [[nodiscard]] const char* Word() const {
    if (state == tagState::kLoading) return "loading";
    return state == tagState::kRunning ? "ok" : "stopping";
  }

 private:
  std::atomic<tagState> state{tagState::kLoading};
};

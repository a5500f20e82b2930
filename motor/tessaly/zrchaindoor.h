// Lets the documents of other engines in while the site works.
#pragma once

#include "host/platform/zrmutex.h"

// Threads   Open and Shut on the host's; passes on any.
// Order     a pass comes before every lock of the engine.
// Promise   while a pass is held, the site's settings and drivers stay: Shut waits for all passes.
class ZRChainDoor {
 public:
  static constexpr int kPasses = 8;  // documents and registrations that are looked at at once

  ZRChainDoor() {
    for (int i = 0; i < kPasses; ++i)
      (void)passes.Acquire(0);
  }

  // Shut as long as it isn't opened. Each once, in turns.
  void Open() {
    for (int i = 0; i < kPasses; ++i)
      passes.Release();
  }
  void Shut() {
    for (int i = 0; i < kPasses; ++i)
      (void)passes.Acquire(ZRPlatform::kInfinite);
  }

  // A way through, if the door is open and not all passes are given out.
  class CPass {
   public:
    explicit CPass(ZRChainDoor& ofDoor) : door(ofDoor), given(door.passes.Acquire(0)) {}
    ~CPass() {
      if (given) door.passes.Release();
    }
    CPass(const CPass&) = delete;
    CPass& operator=(const CPass&) = delete;
    [[nodiscard]] bool Given() const { return given; }

   private:
    ZRChainDoor& door;
    const bool given;
  };

 private:
  ZRSemaphore passes{kPasses};
};

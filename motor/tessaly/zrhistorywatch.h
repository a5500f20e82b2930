// Tells in the log what the engine passes over in silence: records that couldn't be written.
#pragma once

#include <cstdint>

// Threads   one, the host's.
class ZRHistoryWatch {
 public:
  ZRHistoryWatch();

  // A look at the waiting records of all events, for every second. Says when there begin to be
  // some, with what went wrong since the last look that found none, and when there are no more.
  // Nothing went wrong: it takes two looks, as one can meet a record on its way to the disk.
  void Look();
  // How many were lost since the last call, or since it was made, with events that were destroyed.
  void SayWhatIsLost();
  // What went wrong with data files since the start of the process; nothing if nothing did.
  static void SayTroubles();

 private:
  bool doWait = false;               // as it was said
  bool didWaitBefore = false;        // at the last look
  std::uint64_t troublesBefore = 0;  // at the last look that found none
  std::int64_t lostBefore;           // as SayWhatIsLost said
};

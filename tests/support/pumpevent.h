// An event "[P.RUN] = 1" and its cycles.
#pragma once

#include <string>

#include "support/oneevent.h"

// Vocabulary: Make(Pump()), a cycle in which the condition Holds or Fails, a time at which the
// time table "Shift" is Open or Closed.
class PumpEvent : public OneEvent {
 protected:
  // What happens in a cycle that begins or ends the activity.
  static constexpr const char* kActivation = "activate S=1 ON";
  static constexpr const char* kDeactivation = "S=0 T=0 T=0 deactivate OFF S=0 T=0";
  static constexpr const char* kClosing = "S=0 T=0 T=0 deactivate OFF";

  PumpEvent() {
    TimeTables(
        "<days><day><id>shift</id><name>Shift</name>"
        "<slot><from>12:00</from><to>13:00</to></slot></day></days>");
    LoadXeve("");
  }
  // With a record of its transitions; without, or with, the time table.
  static EventXml Pump() { return EventXml("Pump").Condition("[P.RUN] = 1").Record(); }
  static EventXml PumpInShift() { return Pump().TimeTable("Shift"); }

  static ZRDateTime Open() { return At(10); }
  static ZRDateTime Closed() { return At(12); }

  std::string Holds() { return With(1); }
  std::string Fails() { return With(0); }

 private:
  std::string With(double run) {
    Set("RUN", run);
    return Cycle();
  }
  static ZRDateTime At(int hour) {
    ZRDateTime date;
    date.SetDateTime(2026, 1, 1, hour, 30, 0, 0, 0);
    return date;
  }
};

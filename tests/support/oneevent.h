// One event on its own, worked by the test, and everything that it does in one line of text.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/messaging/zrinprocessbus.h"
#include "support/enginetest.h"
#include "support/probeaction.h"

// An event outside of the store, with what its derived classes may call.
class OwnEvent : public ZREventDriver {
 public:
  // Reads the definition from the text of an element.
  [[nodiscard]] bool LoadText(const std::string& xml) {
    EXPECT_TRUE(document.Parse(xml.c_str())) << xml;
    return LoadXml(document.Root());
  }

  // For one thread: without the lock of the occurrences.
  tagSEventRT* AddOccurrence() ZR_NO_ANALYSIS { return NewEventRT(); }
  bool SetMark(tagSEventRT* occurrence, int status) ZR_NO_ANALYSIS {
    return SetEventStatus(occurrence, status);
  }

  [[nodiscard]] std::string Expand(const std::string& text) {
    ZRWString out(L"left from before");
    EXPECT_TRUE(ParseAnnotation(out, Wide(text)));
    return Narrow(out);
  }

 private:
  XmlDocument document;
};

// Vocabulary: Make an event, let it have a Cycle, read what happened.
//
// What an event does is told in words, in its order: "activate", "while", "deactivate",
// "acknowledge" for its probe actions, "S=1" and "T=0" for the two variables, "ON", "OFF", "ACK"
// for the bus.
class OneEvent : public EngineTest {
 protected:
  static constexpr std::int64_t kStateVariable = 10;
  static constexpr std::int64_t kTimeVariable = 11;

  OneEvent()
      : shown("SHOWN", *this),
        probes({"force"},
               [this](ZREventDriver& of, int moment, const std::string& label) {
                 Happened(label);
                 if (onRun) onRun(of, moment);
               }),
        bus([this](const std::wstring& json) { Told(json); }) {
    LoadXeve("");  // the fixed groups
  }
  ~OneEvent() override { event.reset(); }

  // An event with a probe at each moment, and its variables bound. The groups and time tables of
  // the site are those of the last LoadXeve.
  OwnEvent& Make(EventXml definition) {
    for (const char* moment : {"activate", "while", "deactivate", "acknowledge"})
      definition.Actions("actions", moment, ProbeXml("force", moment));
    event = std::make_unique<OwnEvent>();
    EXPECT_TRUE(event->LoadText(definition.Xml()));
    Bind();
    (void)Trace();
    return *event;
  }
  void Bind() {
    std::int64_t state = kStateVariable;
    std::int64_t seconds = kTimeVariable;
    event->setDriverVariables(&shown, state, seconds);
  }

  // One cycle at the present time, then a second goes by. What happened, in words.
  std::string Cycle() { return CycleAt(ZRDateTime::LTC()); }
  // The same, with another time for the time table.
  std::string CycleAt(const ZRDateTime& now) {
    EXPECT_TRUE(event->Work(now));
    time.Advance(kCycle);
    return Trace();
  }
  // The number of cycles until the event has another state; 0 if that takes more than `most`.
  int CyclesUntilItChanges(int most = 20) {
    const bool before = event->IsEnabled();
    for (int count = 1; count <= most; ++count) {
      (void)Cycle();
      if (event->IsEnabled() != before) return count;
    }
    return 0;
  }

  // What has happened since the last call.
  std::string Trace() { return std::exchange(trace, {}); }
  void Happened(const std::string& word) { trace += (trace.empty() ? "" : " ") + word; }

  // The notified service's elements of the event.
  [[nodiscard]] std::string Notified(bool canAcknowledge = true) const {
    FakeResponse response;
    EXPECT_TRUE(event->ProcessHttpServiceEventsNotified(response, canAcknowledge));
    return response.body;
  }
  [[nodiscard]] std::string Active() const {
    FakeResponse response;
    EXPECT_TRUE(event->ProcessHttpServiceEventsActived(response));
    return response.body;
  }
  // The text of the first element `tag`; "-" without one.
  [[nodiscard]] static std::string Element(const std::string& xml, const std::string& tag) {
    const std::string opening = "<" + tag + ">";
    const std::size_t start = xml.find(opening);
    if (start == std::string::npos) return "-";
    const std::size_t from = start + opening.size();
    return xml.substr(from, xml.find("</" + tag + ">", from) - from);
  }
  [[nodiscard]] static int Count(const std::string& text, const std::string& piece) {
    return CountSubstring(Wide(text), Wide(piece));
  }

  std::unique_ptr<OwnEvent> event;
  std::function<void(ZREventDriver&, int moment)> onRun;  // called while an action runs
  std::vector<std::string> messages;                      // of the bus, in JSON

 private:
  class CShown final : public TestDriver {
   public:
    CShown(const std::string& called, OneEvent& home) : TestDriver(called), test(home) {}
    void SetVariableValue(std::int64_t variable, double value) override {
      TestDriver::SetVariableValue(variable, value);
      const std::string letter = variable == kStateVariable  ? "S"
                                 : variable == kTimeVariable ? "T"
                                                             : "?";
      test.Happened(letter + "=" + Narrow(FormatWide(L"%g", value)));
    }

   private:
    OneEvent& test;
  };

  void Told(const std::wstring& json) {
    messages.push_back(Narrow(ZRWString(json)));
    const std::string key = "\"transition\":\"";
    const std::size_t start = messages.back().find(key);
    if (start == std::string::npos) return Happened("created");
    const std::size_t from = start + key.size();
    Happened(messages.back().substr(from, messages.back().find('"', from) - from));
  }

  std::string trace;
  CShown shown;
  ProbeActions probes;
  ZRInProcessBus bus;
};

// Builders of configuration documents, in UTF-8.
#pragma once

#include <cstdio>
#include <string>

// The element of an event. Each call adds to it; Xml() gives the whole.
class EventXml {
 public:
  // Ids of events in tests: the number in the last place.
  static std::string Id(int number) {
    char text[37];
    std::snprintf(text, sizeof text, "aaaaaaaa-0000-4000-8000-%012d", number);
    return text;
  }

  explicit EventXml(const std::string& name = "Pump", int number = 1) {
    With("id", Id(number));
    With("name", name);
  }
  // An event without id and name, for elements that are broken on purpose.
  static EventXml Bare() { return EventXml(0, 0); }

  EventXml& With(const std::string& key, const std::string& escapedValue) {
    inside += "<" + key + ">" + escapedValue + "</" + key + ">";
    return *this;
  }
  EventXml& Condition(const std::string& escaped) { return With("condition", escaped); }
  EventXml& Stop(const std::string& escaped) { return With("conditionStop", escaped); }
  EventXml& DelayToActivate(const std::string& text) { return With("delayToActivate", text); }
  EventXml& DelayToDeactivate(const std::string& text) { return With("delayToDeactivate", text); }
  EventXml& Notify() { return With("notify", "T"); }
  EventXml& Record() { return With("record", "T"); }
  EventXml& TimeTable(const std::string& name) { return With("timeTable", name); }
  EventXml& Argument(const std::string& value, const std::string& format = "",
                     const std::string& thousands = "") {
    arguments += "<argument><value>" + value + "</value><format>" + format +
                 "</format><thousandSeparator>" + thousands + "</thousandSeparator></argument>";
    return *this;
  }
  EventXml& Group(const std::string& id) {
    groups += "<group>" + id + "</group>";
    return *this;
  }
  // side: "actions" or "clientActions"; elements: the actions' own elements.
  EventXml& Actions(const std::string& side, const std::string& moment,
                    const std::string& elements) {
    std::string& target = side == "actions" ? serverActions : clientActions;
    target += "<" + moment + ">" + elements + "</" + moment + ">";
    return *this;
  }

  [[nodiscard]] std::string Xml() const {
    std::string xml = "<event>" + inside;
    if (!groups.empty()) xml += "<eventsGroups>" + groups + "</eventsGroups>";
    if (!arguments.empty()) xml += "<arguments>" + arguments + "</arguments>";
    if (!serverActions.empty()) xml += "<actions>" + serverActions + "</actions>";
    if (!clientActions.empty()) xml += "<clientActions>" + clientActions + "</clientActions>";
    return xml + "</event>";
  }

 private:
  EventXml(int, int) {}
  std::string inside, groups, arguments, serverActions, clientActions;
};

inline std::string GroupXml(const std::string& id, const std::string& name) {
  return "<eventsGroup><id>" + id + "</id><name>" + name + "</name></eventsGroup>";
}

// One action in virtual time, with an event to belong to and a driver to force.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/oneevent.h"

// Virtual time in which no program is started: it is written down.
class RecordingTime : public ZRVirtualTime {
 public:
  using ZRVirtualTime::ZRVirtualTime;

  int StartProcess(const ZRProcessStart& start) override {
    if (refused.contains(start.program)) {
      errno = ENOENT;
      return 0;
    }
    std::string words = start.program;
    for (const std::string& word : start.arguments)
      words += "|" + word;
    started.push_back(words);
    folders.insert(start.folder);
    living.insert(++lastProcess);
    return lastProcess;
  }
  bool WaitProcess(int process, std::uint32_t milliseconds, int& exitCode) override {
    EXPECT_EQ(0u, milliseconds) << "nobody waits for a program";
    asked.push_back(process);
    exitCode = 0;
    return !living.contains(process);
  }
  void Sleep(std::uint32_t milliseconds) override {
    if (milliseconds == 0) ++yields;
    ZRVirtualTime::Sleep(milliseconds);
  }

  std::set<std::string> refused;     // programs that can't be started
  std::vector<std::string> started;  // program and arguments, with "|" between them
  std::set<std::string> folders;     // in which they were started
  std::set<int> living;
  std::vector<int> asked;
  int lastProcess = 0;
  int yields = 0;
};

// A driver that remembers what it was forced to, and tells of its variables what the test says.
class ForcedDriver final : public TestDriver {
 public:
  using TestDriver::TestDriver;

  bool ForceValue(std::int64_t variable, const ZRValue& value, const wchar_t* name) override {
    forced.push_back(std::to_string(variable) + " " + Narrow(name) + " " +
                     (value.IsString()    ? "'" + Narrow(value.String()) + "'"
                      : value.IsNumeric() ? Narrow(FormatWide(L"%g", value.Numeric()))
                                          : "nothing"));
    return false;  // nobody looks at it
  }
  bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override {
    const auto found = infos.find(variable);
    if (found == infos.end()) return TestDriver::ValueInfo(variable, info);
    info = found->second;
    return true;
  }
  [[nodiscard]] bool IsOnline() const override { return online; }

  std::map<std::int64_t, tagSVariableValueInfo> infos;
  std::vector<std::string> forced;  // "number name value"
  bool online = true;
};

class ActionTest : public ::testing::Test {
 protected:
  ActionTest()
      : server(std::make_unique<ZREventServer>()),
        driver(
            static_cast<ForcedDriver*>(ZRDriver::Register(std::make_unique<ForcedDriver>("P")))) {}
  ~ActionTest() override {
    event.reset();
    server.reset();
    ZRDriver::UnregisterAll();
  }

  OwnEvent& Make(const EventXml& definition) {
    event = std::make_unique<OwnEvent>();
    EXPECT_TRUE(event->LoadText(definition.Xml()));
    return *event;
  }
  OwnEvent& Make() { return Make(EventXml("Pump").Condition("1 = 1")); }

  // The element, which lives as long as the test.
  const XmlDocument::XmlNode* Node(const std::string& xml) {
    documents.emplace_back();
    EXPECT_TRUE(documents.back().Parse(xml.c_str())) << xml;
    return documents.back().Root();
  }
  // What a client gets of the action, or "-" for nothing.
  static std::string Told(ZREventAction& action) {
    ZRString xml("left from before");
    if (action.ProcessHttpServiceEventsActions(xml)) return Str(xml);
    EXPECT_EQ("left from before", Str(xml));
    return "-";
  }

  RecordingTime time;
  std::unique_ptr<ZREventServer> server;
  ForcedDriver* driver;
  std::unique_ptr<OwnEvent> event;

 private:
  std::list<XmlDocument> documents;
};

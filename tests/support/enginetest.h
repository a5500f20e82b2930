// An engine in virtual time, over a driver that the test moves.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/driversupport/zrdriver.h"
#include "host/platform/zrvirtualtime.h"
#include "host/support/zrtessalysetup.h"
#include "support/eventxml.h"
#include "support/fakehttp.h"
#include "support/sitefolder.h"
#include "support/text.h"
#include "zrevents/zreventdriver.h"
#include "zrevents/zreventserver.h"

// A driver whose variables are made by their first use, and that records what the engine writes
// by number.
class TestDriver : public ZRDriver {
 public:
  explicit TestDriver(const std::string& called) : ZRDriver(Wide(called), Wide(called)) {}

  void Set(const std::string& variable, double value) {
    Variable(NumberOf(variable)).SetNumber(value, ZRPlatform::Get().UtcMilliseconds());
  }
  void SetText(const std::string& variable, const std::string& text) {
    Variable(NumberOf(variable)).SetText(text, ZRPlatform::Get().UtcMilliseconds());
  }
  void Unset(const std::string& variable) { Variable(NumberOf(variable)).SetUnavailable(); }
  std::int64_t NumberOf(const std::string& variable) {
    const std::int64_t known = VariableNumber(Wide(variable));
    return known >= 0 ? known : AddVariable(Wide(variable));
  }

  void SetVariableValue(std::int64_t variable, double value) override {
    written.emplace_back(variable, value);
  }
  void CreateEventsXml(XmlDocument::XmlNode* events, XmlDocument::XmlNode* groups,
                       const ZRWideMap& screens) override {
    if (generate) generate(events, groups, screens);
  }

  std::vector<std::pair<std::int64_t, double>> written;  // by SetVariableValue, in order
  std::function<void(XmlDocument::XmlNode*, XmlDocument::XmlNode*, const ZRWideMap&)> generate;
};

// Vocabulary: Load events, Set variables, StartServer, Advance the time, look.
class EngineTest : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kCycle = 1000;  // ms, one pass of a worker

  EngineTest() {
    EXPECT_TRUE(LoadSettings());
    driver = static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")));
    server = std::make_unique<ZREventServer>();
  }
  ~EngineTest() override {
    StopServer();
    server.reset();
    ZRDriver::UnregisterAll();
  }

  bool LoadSettings() const {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    return ZRTessalySetup::Get().Load(site.WidePath(), problems, warnings);
  }

  // The events document: events one after the other, and groups.
  void LoadXeve(const std::string& events, const std::string& groups = "") {
    site.Write("config/default.xeve", "<main><eventsGroups>" + groups + "</eventsGroups><events>" +
                                          events + "</events></main>");
    ASSERT_TRUE(server->LoadCfg());
  }
  void Load(const EventXml& event) { LoadXeve(event.Xml()); }
  void Load(const std::vector<EventXml>& events) {
    std::string all;
    for (const EventXml& event : events)
      all += event.Xml();
    LoadXeve(all);
  }
  // The time-tables document; before Load.
  void TimeTables(const std::string& inside) const {
    site.Write("config/default.xtmt", "<main>" + inside + "</main>");
  }

  void StartServer() {
    ASSERT_TRUE(server->Start());
    started = true;
    time.Advance(0);  // the first pass
  }
  void StopServer() {
    if (started) server->Stop();
    started = false;
  }
  // Lets `count` passes go by.
  void Passes(int count = 1) { time.Advance(static_cast<std::uint64_t>(count) * kCycle); }

  void Set(const std::string& variable, double value) const { driver->Set(variable, value); }
  void Unset(const std::string& variable) const { driver->Unset(variable); }

  [[nodiscard]] static ZREventSystem& Store() { return ZREventSystem::Get(); }
  [[nodiscard]] static ZREventDriver* Find(const std::string& name) {
    return Store().LockEvent(Wide(name).Text());
  }

  [[nodiscard]] std::string ActiveXml(bool deflate = false) {
    FakeRequest request(deflate);
    FakeResponse response;
    server->ProcessHttpServiceEventsActived(request, response);
    return response.body;
  }
  [[nodiscard]] std::string NotifiedXml(bool deflate = false) {
    FakeRequest request(deflate);
    FakeResponse response;
    server->ProcessHttpServiceEventsNotified(request, response);
    return response.body;
  }

  ZRVirtualTime time;
  SiteFolder site;
  TestDriver* driver = nullptr;
  std::unique_ptr<ZREventServer> server;
  bool started = false;
};

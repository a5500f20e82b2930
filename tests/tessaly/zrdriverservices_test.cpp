#include "tessaly/zrdriverservices.h"

#include <gtest/gtest.h>

#include "host/driversupport/zrdriver.h"
#include "support/accessrule.h"
#include "support/golden.h"
#include "support/httpclient.h"

namespace {

constexpr const char* kVariables = "/services/drivers/variables.xml";
constexpr const char* kForce = "/services/drivers/force.xml";

// POWER can be forced up to 100.
class HallDriver final : public ZRDriver {
 public:
  HallDriver() : ZRDriver(L"h1", L"hall") {
    (void)AddVariable(L"POWER");
    (void)AddVariable(L"MODE");
    (void)AddVariable(L"TEMP");
    // Of the future, so that no age passes during the test.
    Variable(0).SetNumber(12.5, kNow);
    Variable(1).SetText("by hand", kNow);
  }
  ZRString Trouble() const override { return "unit 2 doesn't answer"; }
  bool ValueInfo(std::int64_t variable, tagSVariableValueInfo& info) const override {
    if (!ZRDriver::ValueInfo(variable, info)) return false;
    if (variable != 0) info.flags = 0;
    if (variable == 0) info.measure = "kW";
    return true;
  }
  bool ForceValue(std::int64_t variable, const ZRValue& value, const wchar_t*) override {
    if (variable != 0 || !(value.Numeric() <= 100)) return false;
    forced = value.Numeric();
    return true;
  }

  static constexpr std::int64_t kNow = 1'772'000'000'000;
  double forced = 0;
};

class StoppedClock final : public ZRPlatform {
 public:
  StoppedClock() { Replace(this); }
  ~StoppedClock() override { Replace(nullptr); }
  std::uint32_t TickCount() override { return System().TickCount(); }
  std::int64_t UtcMilliseconds() override { return HallDriver::kNow; }
  void Sleep(std::uint32_t milliseconds) override { System().Sleep(milliseconds); }
  tagThread StartThread(std::function<void()> body) override {
    return System().StartThread(std::move(body));
  }
  void JoinThread(tagThread thread) override { System().JoinThread(thread); }
  bool Wait(ZRWaitWord& word, std::uint32_t expected, std::uint32_t milliseconds) override {
    return System().Wait(word, expected, milliseconds);
  }
  void WakeOne(ZRWaitWord& word) override { System().WakeOne(word); }
  void WakeAll(ZRWaitWord& word) override { System().WakeAll(word); }
};

class DriverServices : public ::testing::Test {
 protected:
  DriverServices() {
    hall = static_cast<HallDriver*>(ZRDriver::Register(std::make_unique<HallDriver>()));
    BindDrivers(web, door);
    ZRString reason;
    EXPECT_TRUE(web.Start({}, reason)) << reason.Text();
    door.Open();
  }
  ~DriverServices() override {
    web.Stop();
    ZRDriver::UnregisterAll();
  }

  HttpReply Say(const std::string& head, const std::string& body = "") {
    HttpClient client(web.Port());
    const std::string length =
        body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n";
    EXPECT_TRUE(client.Send(head + " HTTP/1.1\r\nHost: localhost\r\n" + length + "\r\n" + body));
    return client.ReceiveReply();
  }
  HttpReply Get() { return Say(std::string("GET ") + kVariables); }
  int Put(const std::string& body) { return Say(std::string("PUT ") + kForce, body).status; }
  int Force(const std::string& variable, const std::string& value) {
    return Put("<force><variable>" + variable + "</variable><value>" + value + "</value></force>");
  }

  StoppedClock clock;
  HallDriver* hall = nullptr;
  ZRChainDoor door;
  ZRWebServer web;
};

TEST_F(DriverServices, TellWhatTheirPageShows) {
  const HttpReply reply = Get();
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, PageExample("docs/wire/variables.md"));
}

TEST_F(DriverServices, TellWhatTheCallerMaySee) {
  {
    const AccessRule rule({{kResourceVariables, "h1"}});
    EXPECT_NE(std::string::npos, Get().body.find("<name>hall</name>"));
  }
  const AccessRule rule({{kResourceForce, "h1"}, {kResourceVariables, "other"}});
  EXPECT_EQ(std::string::npos, Get().body.find("hall"));
}

TEST_F(DriverServices, ForceAsTheirPageSays) {
  EXPECT_EQ(204, Put(PageExample("docs/wire/force.md")));
  EXPECT_EQ(12.5, hall->forced);
}

TEST_F(DriverServices, ForceWhatCanBeOnly) {
  EXPECT_EQ(204, Force("hall.POWER", "-4e1"));
  EXPECT_EQ(-40, hall->forced);
  EXPECT_EQ(409, Force("hall.POWER", "101"));
  EXPECT_EQ(409, Force("hall.TEMP", "1"));
  EXPECT_EQ(404, Force("hall.NONE", "1"));
  EXPECT_EQ(404, Force("", "1"));
  for (const char* const value : {"", "x", "1x", " 1", "nan", "inf", "1e999", "0x10"})
    EXPECT_EQ(400, Force("hall.POWER", value)) << value;
  EXPECT_EQ(-40, hall->forced);
}

TEST_F(DriverServices, RefuseWhatIsNoDocument) {
  EXPECT_EQ(400, Put("<force>"));
  EXPECT_EQ(400, Put("<other/>"));
  EXPECT_EQ(413, Put(std::string(kMostForceBytes + 1, 'x')));
}

TEST_F(DriverServices, ForceWithTheRightOnly) {
  const AccessRule rule({{kResourceVariables, "h1"}, {kResourceForce, "other"}});
  EXPECT_EQ(403, Force("hall.POWER", "1"));
  EXPECT_EQ(403, Force("hall.NONE", "1")) << "nor is told what there is";
  EXPECT_EQ(0, hall->forced);
}

TEST_F(DriverServices, AreClosedWhileTheSiteIsLoaded) {
  door.Shut();
  EXPECT_EQ(503, Get().status);
  EXPECT_EQ(503, Force("hall.POWER", "1"));
  door.Open();
  EXPECT_EQ(204, Force("hall.POWER", "1"));
}

}  // namespace

#include "host/drivers/zrenginedriver.h"

#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"
#include "host/drivers/zrdriverfactory.h"
#include "support/fakehttp.h"
#include "support/fakewire.h"
#include "support/logcapture.h"

namespace {

class EngineDriver : public ::testing::Test {
 protected:
  ~EngineDriver() override { driver.Stop(); }

  void Start() {
    ASSERT_TRUE(driver.Start());
    time.Advance(0);
  }
  // The values `all` of the registrations since the last look.
  std::string Asked() {
    std::string text;
    for (; seen < wire.requests.size(); ++seen) {
      XmlDocument document;
      EXPECT_TRUE(document.Parse(wire.requests[seen].body.c_str()));
      text += document.Root()->ValueUtf8("all");
    }
    return text;
  }
  double Online() { return NumberOf(driver, "ONLINE"); }
  static double NumberOf(ZRDriver& driver, const char* variable);

  ZRVirtualTime time;
  FakeWire wire;
  std::size_t seen = 0;
  ZREngineDriver driver{L"R", L"Roof", 5000, {"plant", 8480, "control", 8481, true, false}};
};

double EngineDriver::NumberOf(ZRDriver& driver, const char* variable) {
  const ZRLiveValue* const value =
      ZRLiveValues::Get().Find(driver.Name() + L"." + Utf8ToUtf16(variable));
  double number = -1;
  if (value == nullptr || !value->Number(number)) return -1;
  return number;
}

TEST_F(EngineDriver, AsksNothingBeforeThisEngineCanTakeDocuments) {
  Start();
  EXPECT_TRUE(wire.requests.empty());
  EXPECT_FALSE(driver.IsOnline());
  EXPECT_EQ(Online(), 0);
}

TEST_F(EngineDriver, RegistersASecondLater) {
  Start();
  time.Advance(1000);
  ASSERT_EQ(wire.requests.size(), 1u);
  EXPECT_EQ(wire.requests[0].host, "plant");
  EXPECT_EQ(wire.requests[0].port, 8480);
  EXPECT_EQ(wire.requests[0].path, "/services/events/listener.xml");
  EXPECT_EQ(wire.requests[0].body,
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><listener>"
            "<driverId>R</driverId><driverName>Roof</driverName><ip>control</ip><port>8481</port>"
            "<all>T</all><actived>T</actived><notified>F</notified>"
            "<clientActions>F</clientActions></listener>");
  EXPECT_TRUE(driver.IsOnline());
  EXPECT_EQ(Online(), 1);
}

TEST_F(EngineDriver, RegistersAgainInEachPeriodWithoutAskingForWhatItHas) {
  Start();
  time.Advance(1000);
  EXPECT_EQ(Asked(), "T");
  driver.TookRemoteEvents();
  time.Advance(4999);
  EXPECT_EQ(Asked(), "");
  time.Advance(1);
  EXPECT_EQ(Asked(), "F");
  time.Advance(50'000);
  EXPECT_EQ(Asked(), "FFFFFFFFFF");
}

// The remote engine has taken the registration, and forgotten the wish.
TEST_F(EngineDriver, AsksForEverythingUntilItHasCome) {
  Start();
  driver.TookRemoteEvents();
  EXPECT_TRUE(driver.LacksRemoteEvents()) << "what came before the registration doesn't count";
  time.Advance(11'000);
  EXPECT_EQ(Asked(), "TTT");
  EXPECT_TRUE(driver.IsOnline());
  driver.TookRemoteEvents();
  EXPECT_FALSE(driver.LacksRemoteEvents());
  time.Advance(10'000);
  EXPECT_EQ(Asked(), "FF");
  driver.Stop();
  Start();
  EXPECT_TRUE(driver.LacksRemoteEvents());
}

TEST_F(EngineDriver, IsLostWithTheSecondFailureAndAsksForEverythingWhenItIsBack) {
  Start();
  time.Advance(1000);
  driver.TookRemoteEvents();
  wire.status = 0;
  time.Advance(5000);
  EXPECT_TRUE(driver.IsOnline()) << "one request may be lost";
  time.Advance(1000);
  EXPECT_FALSE(driver.IsOnline());
  EXPECT_EQ(Online(), 0);
  time.Advance(10'000);
  EXPECT_EQ(Asked(), "TFFTTTTTTTTTT") << "each second, until it is back";
  wire.status = 204;
  time.Advance(1000);
  EXPECT_TRUE(driver.IsOnline());
  EXPECT_EQ(Asked(), "T");
}

TEST_F(EngineDriver, OneFailureIsMadeUpForBySuccess) {
  Start();
  time.Advance(1000);
  driver.TookRemoteEvents();
  for (int i = 0; i < 3; ++i) {
    wire.status = 503;
    time.Advance(5000);
    wire.status = 204;
    time.Advance(1000);
    EXPECT_TRUE(driver.IsOnline());
  }
  EXPECT_EQ(Asked(), "TFFFFFF");
}

TEST_F(EngineDriver, IsOnlineWithNothingButNoContent) {
  Start();
  for (const int status : {0, 200, 302, 400, 401, 403, 503}) {
    wire.status = status;
    time.Advance(1000);
    EXPECT_FALSE(driver.IsOnline()) << status;
  }
}

TEST_F(EngineDriver, SaysEachChangeOnce) {
  const LogCapture log(kLogNotice);
  const LogCapture* const lines = &log;
  Start();
  wire.status = 0;
  time.Advance(10'000);
  wire.status = 401;
  time.Advance(10'000);
  wire.status = 204;
  time.Advance(20'000);
  wire.status = 0;
  time.Advance(20'000);
  EXPECT_EQ(lines->Starting("driver 'Roof': the engine at plant:8480"),
            (std::vector<std::string>{"driver 'Roof': the engine at plant:8480 tells its events"}))
      << "failures are of the level of deliveries";
}

TEST_F(EngineDriver, SaysWhyItIsAway) {
  const LogCapture log(kLogTrace);
  Start();
  wire.status = 0;
  time.Advance(10'000);
  wire.status = 401;
  time.Advance(10'000);
  EXPECT_EQ(log.Starting("driver 'Roof': the engine"),
            (std::vector<std::string>{
                "driver 'Roof': the engine at plant:8480 can't be reached",
                "driver 'Roof': the engine at plant:8480 refuses to tell its events: status 401"}));
}

TEST_F(EngineDriver, IsAwayOnceItIsStopped) {
  Start();
  time.Advance(1000);
  driver.Stop();
  EXPECT_FALSE(driver.IsOnline());
  EXPECT_EQ(Online(), -1);
}

TEST_F(EngineDriver, HandsAcknowledgementsOn) {
  FakeRequest request;
  EXPECT_TRUE(driver.AcknowledgeRemoteEvent(request, L"S.1 & <2>"));
  ASSERT_EQ(wire.requests.size(), 1u);
  EXPECT_EQ(wire.requests[0].path, "/services/events/ack.xml");
  EXPECT_EQ(wire.requests[0].body,
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
            "<eventsAck><id>S.1 &amp; &lt;2&gt;</id></eventsAck>");
  for (const int status : {0, 200, 401, 503}) {
    wire.status = status;
    EXPECT_FALSE(driver.AcknowledgeRemoteEvent(request, L"1")) << status;
  }
}

// --- settings ---

std::string Refusal(const std::string& elements) {
  const CSettings settings("<__line>4</__line><type>engine</type><name>Roof</name>" + elements);
  std::vector<ZRSettingProblem> problems;
  EXPECT_EQ(nullptr, ZRDriverFactory::Make(settings.Table(), problems)) << elements;
  return problems.empty() ? "" : problems.front().text.Text();
}

TEST(EngineDriverSettings, NeedAHostAndAWayBack) {
  std::vector<ZRSettingProblem> problems;
  const CSettings near("<type>engine</type><name>Roof</name><host>127.0.0.1</host>");
  EXPECT_NE(nullptr, ZRDriverFactory::Make(near.Table(), problems));
  const CSettings far(
      "<type>engine</type><name>Roof</name><host>plant</host><port>81</port>"
      "<reply_host>control</reply_host><reply_port>82</reply_port>"
      "<active>true</active><notified>false</notified><period_ms>1000</period_ms>");
  EXPECT_NE(nullptr, ZRDriverFactory::Make(far.Table(), problems));
  EXPECT_EQ("", TextsOf(problems));
  EXPECT_NE(Refusal("").find("\"host\""), std::string::npos);
  EXPECT_NE(Refusal("<host>plant</host>").find("\"reply_host\""), std::string::npos);
  EXPECT_NE(Refusal("<host>pl ant</host>").find("\"host\""), std::string::npos);
  EXPECT_NE(Refusal("<host>127.0.0.1</host><port>0</port>").find("\"port\""), std::string::npos);
}

}  // namespace

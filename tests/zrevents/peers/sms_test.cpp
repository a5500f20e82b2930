// The engine's SMS in real time: an event's action, the queue, the real gammu, a played modem.
#include <gtest/gtest.h>

#include <cstdint>

#include "host/support/zrtessalysetup.h"
#include "support/emulatedmodem.h"
#include "support/faketool.h"
#include "support/logcapture.h"
#include "support/oneevent.h"
#include "zrevents/zreventstatus.h"

namespace {

// The number is cut after 160 bytes, which is within the é.
TEST(SmsByGammu, ReachTheModemInPartsAfterAFailureAndAPause) {
  EmulatedModem modem;
  const ShareFolder share;
  const SiteFolder site("[preferences.modem]\nport = 3\n[sms.devices]\n3 = \"" + modem.Device() +
                        "\"\n");
  const LogCapture log;
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  ASSERT_TRUE(ZRTessalySetup::Get().Load(site.WidePath(), problems, warnings));
  site.Write("config/default.xeve", "<main></main>");
  ZREventServer server;
  ASSERT_TRUE(server.LoadCfg());
  const std::string start(153, 'x');
  {
    OwnEvent event;
    EventXml definition("Pump");
    definition.Condition("1 = 1").Actions(
        "actions", "activate",
        "<sms><message>%n: " + start + "é it is</message><phone>+34600123456</phone></sms>");
    ASSERT_TRUE(event.LoadText(definition.Xml()));
    modem.RefuseNext(1);
    const std::uint32_t begun = ZRPlatform::Get().TickCount();
    event.ExecuteActions(kMomentActivate);
    EXPECT_LT(ZRPlatform::Get().TickCount() - begun, 1000u);  // the queue does the waiting
    const auto done = [&log] { return !log.Starting("All SMS groups have been").empty(); };
    for (int tries = 0; tries < 600 && !done(); ++tries)
      ZRPlatform::Get().Sleep(100);
    EXPECT_GT(ZRPlatform::Get().TickCount() - begun, 10'000u);
  }
  EXPECT_EQ(1u, log.Starting("Calling 'sendSingleSms' failed. Skipping group 1").size());
  const auto sent = modem.Sent();
  ASSERT_EQ(2u, sent.size());
  EXPECT_EQ("Pump: " + start + "?", sent[0].text);
  EXPECT_EQ("? it is", sent[1].text);
  EXPECT_EQ("+34600123456", sent[1].phone);
  EXPECT_TRUE(share.Files().empty());
}

}  // namespace

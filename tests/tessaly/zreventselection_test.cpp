#include "tessaly/zreventselection.h"

#include <gtest/gtest.h>

#include "host/support/zrtessalysetup.h"
#include "support/accessrule.h"
#include "support/eventxml.h"
#include "support/golden.h"
#include "support/httpclient.h"
#include "support/sitefolder.h"
#include "tessaly/zrdriverservices.h"
#include "tessaly/zreventvariables.h"
#include "zrevents/zreventserver.h"

namespace {

constexpr const char* kHall = "3f0a6c1e-8a57-4b0e-9d3b-5f3d1c2b7a02";

// A real server over the devices of two events that nobody works on.
class EventSelection : public ::testing::Test {
 protected:
  EventSelection() {
    std::vector<ZRSettingProblem> problems;
    EXPECT_TRUE(ZRTessalySetup::Get().Load(site.WidePath(), problems, problems));
    site.Write("config/default.xeve",
               "<main><eventsGroups>" + GroupXml(kHall, "Hall") + "</eventsGroups><events>" +
                   EventXml("Pump", 1).Condition("1 = 0").Group(kHall).Xml() +
                   EventXml("Fan &amp; more", 2).Condition("1 = 0").Xml() + "</events></main>");
    EXPECT_TRUE(engine.LoadCfg());
    variables.Bind(ZREventSystem::Get());
    ZRDriver::Register(std::make_unique<ZRDriver>(L"d1", L"Pump"));
    ZRDriver::Register(std::make_unique<ZRDriver>(L"d2", L"meter"));
    BindSelection(web, door);
    BindDrivers(web, door);
    ZRString reason;
    EXPECT_TRUE(web.Start({}, reason)) << reason.Text();
    door.Open();
  }
  ~EventSelection() override {
    web.Stop();
    variables.Stop();
    engine.Reset();
    ZRDriver::UnregisterAll();
  }

  HttpReply Get(const std::string& query, const std::string& headers = "") {
    return HttpClient(web.Port()).Get("/services/events/selection.xml" + query, headers);
  }
  // The ids of the drivers that are shown.
  std::string Drivers(const std::string& query) {
    const HttpReply reply =
        HttpClient(web.Port()).Get("/services/drivers/variables.xml" + query, "");
    if (reply.status != 200) return std::to_string(reply.status) + " " + reply.body;
    std::string ids;
    for (std::size_t at = reply.body.find("<id>"); at != std::string::npos;
         at = reply.body.find("<id>", at + 1))
      ids += (ids.empty() ? "" : " ") +
             reply.body.substr(at + 4, reply.body.find("</id>", at) - at - 4);
    return ids;
  }

  SiteFolder site;
  ZREventServer engine;
  ZREventVariables variables{nullptr, ZRCountUnit::kMonth};
  ZRChainDoor door;
  ZRWebServer web;
};

constexpr const char* kNobody = "There is no such event, or this user may not see it.\n";

TEST_F(EventSelection, IsTheFormOfAllVariables) {
  for (const std::string event :
       {"Pump", "aaaaaaaa-0000-4000-8000-000000000001", "AAAAAAAA-0000-4000-8000-000000000001"}) {
    const HttpReply reply = Get("?event=" + event);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.Header("Content-Type"), "application/xml; charset=utf-8");
    EXPECT_EQ(reply.body, Golden("selection-all.xml"));
  }
}

// A driver that has taken variables of the event Pump.
class CTaken final : public ZRDriver {
 public:
  CTaken(std::initializer_list<const wchar_t*> names) : ZRDriver(L"d3", L"Pump") {
    for (const wchar_t* const variable : names)
      (void)AddVariable(variable);
  }
};

TEST_F(EventSelection, OfOneVariableIsThatOfItsPage) {
  const CTaken driver{L"TACT", L"CACT", L"CDIS", L"CACK", L"CTIM"};
  EXPECT_EQ(Get("?event=Pump").body, PageExample("docs/wire/selection.md"));
}

TEST_F(EventSelection, OfNoVariableIsAText) {
  const CTaken driver{L"ST", L"TACT", L"CACT", L"CDIS", L"CACK", L"CTIM"};
  EXPECT_EQ(Get("?event=Pump").body, Golden("selection-none.xml"));
}

TEST_F(EventSelection, IsOfTheFlagsThatAreWanted) {
  EXPECT_EQ(Get("?event=Pump&flags=").body, Golden("selection-all.xml"));
  EXPECT_EQ(Get("?event=Pump&flags=0x3ffffffff").body, Golden("selection-all.xml"));
  EXPECT_EQ(Get("?event=Pump&flags=17179869183").body, Golden("selection-all.xml"));
  EXPECT_EQ(Get("?event=Pump&flags=0").body, Golden("selection-none.xml"));
  EXPECT_EQ(Get("?event=Pump&flags=3").body, Golden("selection-none.xml"));
  const std::string counts = Get("?event=Pump&flags=0x8").body;
  EXPECT_EQ(counts, Get("?event=Pump&flags=8").body);
  EXPECT_NE(counts.find("<var>Pump.CACT</var><var>Pump.CDIS</var><var>Pump.CACK</var></check>"),
            std::string::npos);
  EXPECT_EQ(counts.find("Pump.CTIM"), std::string::npos);
}

TEST_F(EventSelection, NameIsThatOfTheQuery) {
  const HttpReply reply = Get("?event=Fan+%26%20more&flags=4");
  EXPECT_EQ(reply.status, 200);
  EXPECT_NE(reply.body.find("<device>Fan &amp; more</device>"), std::string::npos);
}

TEST_F(EventSelection, IsCompressedForWhoeverTakesThat) {
  EXPECT_EQ(Get("?event=Pump", "Accept-Encoding: gzip\r\n").Header("Content-Encoding"), "gzip");
}

TEST_F(EventSelection, SaysWhatIsWrongWithAQuestion) {
  for (const char* const query : {"", "?event=", "?flags=1"}) {
    const HttpReply reply = Get(query);
    EXPECT_EQ(reply.status, 400) << query;
    EXPECT_EQ(reply.body, "event isn't there: the id or the name of an event\n");
  }
  for (const char* const flags : {"x", "-1", "1x", "0x", "0xg", "17179869184", "0x400000000",
                                  "%201", "99999999999999999999", "1.0", "0x0x1"}) {
    const HttpReply reply = Get(std::string("?event=Pump&flags=") + flags);
    EXPECT_EQ(reply.status, 400) << flags;
    EXPECT_EQ(reply.body, "flags is no number of 34 bits: 24 or 0x18\n");
  }
  for (const char* const event :
       {"pump", "Pum", "meter", "d1", "EVENTS", "Pump.ST", "%00",
        "aaaaaaaa-0000-4000-8000-000000000003", "00000000-0000-0000-0000-000000000000"}) {
    const HttpReply reply = Get(std::string("?event=") + event);
    EXPECT_EQ(reply.status, 404) << event;
    EXPECT_EQ(reply.body, kNobody);
  }
}

TEST_F(EventSelection, IsForWhoMaySeeTheEvent) {
  const AccessRule rule({{kResourceActiveEvents, kHall}, {kResourceVariables, "d2"}});
  EXPECT_EQ(Get("?event=Pump").status, 200);
  const HttpReply other = Get("?event=Fan+%26+more");
  EXPECT_EQ(other.status, 404);
  EXPECT_EQ(other.body, kNobody) << "as if there were none";
}

TEST_F(EventSelection, IsClosedWhileTheSiteIsLoaded) {
  door.Shut();
  EXPECT_EQ(Get("?event=Pump").status, 503);
  door.Open();
  EXPECT_EQ(Get("?event=Pump").status, 200);
}

TEST_F(EventSelection, NobodyIsThereWithoutDevices) {
  variables.Stop();
  EXPECT_EQ(Get("?event=Pump").status, 404);
  EXPECT_EQ(Drivers("?name=Pump"), "d1");
}

// --- the list of drivers ---

TEST_F(EventSelection, DevicesAreInTheListOfDriversByTheirNamesOnly) {
  EXPECT_EQ(Drivers(""), "d1 d2");
  EXPECT_EQ(Drivers("?name="), "d1 d2");
  EXPECT_EQ(Drivers("?name=meter"), "d2");
  EXPECT_EQ(Drivers("?name=Pump"), "d1 " + EventXml::Id(1));
  EXPECT_EQ(Drivers("?name=Fan+%26+more"), EventXml::Id(2));
  EXPECT_EQ(Drivers("?name=none"),
            "404 There is no driver and no event of that name, or this user may not see it.\n");
}

TEST_F(EventSelection, DevicesAreInTheListForWhoMaySeeTheEvent) {
  const AccessRule rule({{kResourceActiveEvents, kHall}, {kResourceVariables, "d2"}});
  EXPECT_EQ(Drivers(""), "d2");
  EXPECT_EQ(Drivers("?name=Pump"), EventXml::Id(1));
  EXPECT_EQ(Drivers("?name=Fan+%26+more").substr(0, 3), "404");
}

TEST_F(EventSelection, VariablesOfADeviceCanNotBeForced) {
  const std::string body = "<force><variable>Pump.ST</variable><value>1</value></force>";
  HttpClient client(web.Port());
  EXPECT_TRUE(
      client.Send("PUT /services/drivers/force.xml HTTP/1.1\r\nHost: localhost\r\n"
                  "Content-Length: " +
                  std::to_string(body.size()) + "\r\n\r\n" + body));
  EXPECT_EQ(client.ReceiveReply().status, 409);
}

}  // namespace

#include "tessaly/zrlivelist.h"

#include <gtest/gtest.h>

#include "host/tools/zrdatetime.h"
#include "support/golden.h"

namespace {

using tagKind = ZRLiveList::tagKind;
using Format = ZRHistoryFormat;

// The examples of the services' pages, at a site in Madrid.
class LiveList : public ::testing::Test {
 protected:
  LiveList() { EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  ~LiveList() override { (void)ZRDateTime::SetLocalZone(""); }

  std::string Shown(tagKind kind, Format format, const std::string& document) {
    ZRLiveList list(kind);
    EXPECT_TRUE(list.Read(document, reason)) << reason;
    std::string text;
    list.Write(
        format, [](const ZRLiveEvent& event) { return event.name.substr(0, 1) + "-group"; },
        [&text](std::string_view piece) { text += piece; });
    return text;
  }
  bool Reads(tagKind kind, const std::string& document) {
    return ZRLiveList(kind).Read(document, reason);
  }
  std::string reason;
};

TEST_F(LiveList, OfActiveEventsIsATable) {
  EXPECT_EQ(
      "Began                Group    Event       Text\n"
      "2026-03-01 08:58:30  B-group  Boiler \"2\"  Boiler \"2\": 93.5 \xC2\xB0"
      "C > 90\n"
      "2026-03-01 08:58:30  F-group  Fan\n",
      Shown(tagKind::kActive, Format::kTable, PageExample("docs/wire/active.md")));
}

TEST_F(LiveList, OfNotifiedEventsTellsWhatToAcknowledge) {
  EXPECT_EQ(
      "Began                State   Id                                    Group    Event       "
      "Text\n"
      "2026-03-01 08:58:30  active  cccccccc-0000-4000-8000-000000000001  B-group  Boiler \"2\"  "
      "Boiler \"2\": 93.5 \xC2\xB0"
      "C > 90\n"
      "2026-03-01 08:58:30  over    cccccccc-0000-4000-8000-000000000002  P-group  Pump        "
      "started\n",
      Shown(tagKind::kNotified, Format::kTable, PageExample("docs/wire/notified.md")));
}

TEST_F(LiveList, ShowsWhatIsAcknowledged) {
  const std::string text = Shown(tagKind::kNotified, Format::kTable,
                                 "<notifiedEvents><event><id>1</id><ackDateTime>x</ackDateTime>"
                                 "</event></notifiedEvents>");
  EXPECT_NE(text.find("active, acknowledged"), std::string::npos) << text;
}

TEST_F(LiveList, IsCsv) {
  EXPECT_EQ(
      "began,group,event,text,description,notify,end_text,ack_text,id,names\r\n"
      "2026-03-01T07:58:30.000Z,B-group,\"Boiler \"\"2\"\"\",\"Boiler \"\"2\"\": 93.5 "
      "\xC2\xB0"
      "C > 90\",Too hot & under pressure,true,,,"
      "aaaaaaaa-0000-4000-8000-000000000001,aaaaaaaa-0000-4000-8000-000000000001\r\n"
      "2026-03-01T07:58:30.000Z,F-group,Fan,,,false,,,"
      "aaaaaaaa-0000-4000-8000-000000000002,aaaaaaaa-0000-4000-8000-000000000002\r\n",
      Shown(tagKind::kActive, Format::kCsv, PageExample("docs/wire/active.md")));
}

TEST_F(LiveList, IsJson) {
  EXPECT_EQ(
      "[\n"
      "{\"began\": \"2026-03-01T07:58:30.000Z\", \"group\": \"B-group\", \"event\": \"Boiler "
      "\\\"2\\\"\", \"text\": \"Boiler \\\"2\\\": 93.5 \xC2\xB0"
      "C > 90\", \"description\": \"Too "
      "hot & under pressure\", \"ended\": null, \"acknowledged\": null, \"can_acknowledge\": true, "
      "\"end_text\": \"\", \"ack_text\": \"\", \"id\": \"cccccccc-0000-4000-8000-000000000001\", "
      "\"names\": \"cccccccc-0000-4000-8000-000000000001\"},\n"
      "{\"began\": \"2026-03-01T07:58:30.000Z\", \"group\": \"P-group\", \"event\": \"Pump\", "
      "\"text\": \"started\", \"description\": \"Bomba n\xC3\xBAmero 3\", \"ended\": "
      "\"2026-03-01T08:00:01.000Z\", \"acknowledged\": null, \"can_acknowledge\": false, "
      "\"end_text\": \"stopped by A. Smith\", \"ack_text\": \"\", \"id\": "
      "\"cccccccc-0000-4000-8000-000000000002\", \"names\": "
      "\"cccccccc-0000-4000-8000-000000000002\"}\n"
      "]\n",
      Shown(tagKind::kNotified, Format::kJson, PageExample("docs/wire/notified.md")));
}

TEST_F(LiveList, IsThereWithoutEvents) {
  const std::string none = "<activedEvents></activedEvents>";
  EXPECT_EQ("Began  Group  Event  Text\n", Shown(tagKind::kActive, Format::kTable, none));
  EXPECT_EQ("[\n]\n", Shown(tagKind::kActive, Format::kJson, none));
}

// A remote engine sends what it likes.
TEST_F(LiveList, ShowsATimeThatItCannotReadAndEscapesControls) {
  const std::string text = Shown(
      tagKind::kActive, Format::kTable,
      "<activedEvents><event><id>R.1</id><name>x&#10;y\xC2\x9B</name><dateTime>\t soon</dateTime>"
      "</event><other/></activedEvents>");
  EXPECT_NE(text.find("\\t soon"), std::string::npos) << text;
  EXPECT_NE(text.find("x\\ny"), std::string::npos) << text;
  EXPECT_EQ(text.find('\x9B'), std::string::npos) << text;
}

TEST_F(LiveList, IsRefusedIfItIsNone) {
  EXPECT_FALSE(Reads(tagKind::kActive, ""));
  EXPECT_FALSE(Reads(tagKind::kActive, "<activedEvents>"));
  EXPECT_TRUE(reason.starts_with("the answer is no XML document: ")) << reason;
  EXPECT_FALSE(Reads(tagKind::kActive, "<notifiedEvents></notifiedEvents>"));
  EXPECT_EQ("the answer is no list of events: its root isn't activedEvents", reason);
  EXPECT_FALSE(Reads(tagKind::kNotified, "<activedEvents></activedEvents>"));
}

}  // namespace

#include "tessaly/zrlistenerlist.h"

#include <gtest/gtest.h>

#include "host/tools/zrdatetime.h"

namespace {

class ListenerList : public ::testing::Test {
 protected:
  ListenerList() { EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid")); }
  ~ListenerList() override { EXPECT_TRUE(ZRDateTime::SetLocalZone("")); }

  static std::string Listener(const std::string& id, const std::string& more) {
    return "<listener><driverId>" + id + "</driverId><driverName>Plant</driverName>" +
           "<user>ana</user><isUser>F</isUser><ip>10.0.0.7</ip><port>81</port>" +
           "<since>01032026075830</since>" + more + "</listener>";
  }
  std::string Written(ZRHistoryFormat format) {
    std::string text;
    list.Write(format, [&text](std::string_view piece) { text += piece; });
    return text;
  }

  std::string reason;
  ZRListenerList list;
};

TEST_F(ListenerList, ReadsWhatTheSiteAnswers) {
  ASSERT_TRUE(list.Read("<listeners><waiting>3</waiting>" + Listener("a", "<all>T</all>") +
                            Listener("b", "<all>F</all><status>204</status>") + "</listeners>",
                        reason))
      << reason;
  ASSERT_EQ(list.Listeners().size(), 2u);
  EXPECT_EQ(list.Waiting(), "3");
  EXPECT_TRUE(list.Listeners()[0].needsAll);
  EXPECT_EQ(list.Listeners()[0].status, "");
  EXPECT_FALSE(list.Listeners()[1].needsAll);
  EXPECT_EQ(list.Listeners()[1].status, "204");
}

TEST_F(ListenerList, RefusesWhatIsNone) {
  EXPECT_FALSE(list.Read("<listeners>", reason));
  EXPECT_EQ(reason.rfind("the answer is no XML document: ", 0), 0u) << reason;
  EXPECT_FALSE(list.Read("<other></other>", reason));
  EXPECT_EQ(reason, "the answer is no list of listeners: its root isn't listeners");
}

TEST_F(ListenerList, IsATableForPeople) {
  ASSERT_TRUE(list.Read("<listeners><waiting>0</waiting>" + Listener("a&#10;b", "<all>T</all>") +
                            Listener("b", "<status>0</status>") +
                            Listener("c", "<status>204</status>") + "</listeners>",
                        reason));
  EXPECT_EQ(Written(ZRHistoryFormat::kTable),
            "Since                Last answer    Waits for   User  Address      Id    Name\n"
            "2026-03-01 08:58:30  not asked yet  everything  ana   10.0.0.7:81  a\\nb  Plant\n"
            "2026-03-01 08:58:30  none           changes     ana   10.0.0.7:81  b     Plant\n"
            "2026-03-01 08:58:30  204            changes     ana   10.0.0.7:81  c     Plant\n"
            "0 changes wait\n");
}

TEST_F(ListenerList, IsCsvAndJsonForPrograms) {
  ASSERT_TRUE(list.Read("<listeners>" + Listener("a", "<all>T</all>") + "</listeners>", reason));
  EXPECT_EQ(Written(ZRHistoryFormat::kCsv),
            "since,id,name,user,host,port,status,is_user,needs_all\r\n"
            "2026-03-01T07:58:30.000Z,a,Plant,ana,10.0.0.7,81,,false,true\r\n");
  EXPECT_EQ(Written(ZRHistoryFormat::kJson).rfind("[\n{\"since\": \"2026-03-01T07:58:30.000Z\"", 0),
            0u)
      << Written(ZRHistoryFormat::kJson);
}

}  // namespace

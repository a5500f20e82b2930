#include "tessaly/zrdriverlist.h"

#include <gtest/gtest.h>

#include "support/golden.h"

namespace {

class DriverList : public ::testing::Test {
 protected:
  std::string Written(ZRHistoryFormat format) {
    std::string text;
    list.Write(format, [&text](std::string_view piece) { text += piece; });
    return text;
  }
  void ReadPage() {
    std::string reason;
    ASSERT_TRUE(list.Read(PageExample("docs/wire/variables.md"), reason)) << reason;
  }

  ZRDriverList list;
};

TEST_F(DriverList, RefusesWhatIsNone) {
  std::string reason;
  EXPECT_FALSE(list.Read("<drivers>", reason));
  EXPECT_EQ(reason.rfind("the answer is no XML document: ", 0), 0u) << reason;
  EXPECT_FALSE(list.Read("<other></other>", reason));
  EXPECT_EQ(reason, "the answer is no list of drivers: its root isn't drivers");
}

TEST_F(DriverList, IsATableForPeople) {
  ReadPage();
  EXPECT_EQ(Written(ZRHistoryFormat::kTable),
            "Variable    Value    Measure  Quality      Age    Can be forced\n"
            "hall.POWER  12.5     kW       good         0.0 s  yes\n"
            "hall.MODE   by hand           good         0.0 s  no\n"
            "hall.TEMP                     unavailable  never  no\n"
            "driver 'hall': unit 2 doesn't answer\n");
}

TEST_F(DriverList, SaysWhoIsOffline) {
  std::string reason;
  ASSERT_TRUE(
      list.Read("<drivers><driver><name>a&#10;b</name><online>F</online>"
                "<variable><name>V</name><quality>unavailable</quality><age>12345</age>"
                "</variable></driver></drivers>",
                reason));
  const std::string text = Written(ZRHistoryFormat::kTable);
  EXPECT_NE(std::string::npos, text.find("12.3 s")) << text;
  EXPECT_NE(std::string::npos, text.find("driver 'a\\nb' is offline\n")) << text;
}

TEST_F(DriverList, AnAgeThatIsNoNumberIsNone) {
  std::string reason;
  ASSERT_TRUE(
      list.Read("<drivers><driver><variable><age>1}</age></variable></driver></drivers>", reason));
  EXPECT_EQ("", list.Variables().front().age);
}

TEST_F(DriverList, IsCsvAndJson) {
  ReadPage();
  EXPECT_EQ(Written(ZRHistoryFormat::kCsv),
            "driver,name,value,measure,quality,age_ms,forceable\r\n"
            "hall,POWER,12.5,kW,good,0,true\r\n"
            "hall,MODE,by hand,,good,0,false\r\n"
            "hall,TEMP,,,unavailable,,false\r\n");
  const std::string json = Written(ZRHistoryFormat::kJson);
  const std::string first =
      "[\n{\"driver\": \"hall\", \"name\": \"POWER\", \"value\": \"12.5\", \"measure\": \"kW\", "
      "\"quality\": \"good\", \"age_ms\": 0, \"forceable\": true},\n";
  EXPECT_EQ(first, json.substr(0, first.size()));
  EXPECT_NE(std::string::npos, json.find("\"age_ms\": null, \"forceable\": false}\n]\n")) << json;
}

TEST(ForceDocument, NamesVariableAndValue) {
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><force>"
      "<variable>hall.A&amp;B</variable><value>-1</value></force>",
      ForceDocument("hall.A&B", "-1"));
}

}  // namespace

#include "host/drivers/zrreadingfile.h"

#include <gtest/gtest.h>

#include "host/drivers/drivers_fixture.h"

namespace {

std::string Fields(std::string line, char delimiter) {
  std::vector<std::string_view> fields;
  if (!SplitFields(line, delimiter, 5, fields)) return "-";
  std::string all;
  for (const std::string_view field : fields)
    all.append("<").append(field).append(">");
  return all;
}

TEST(Fields, AreDividedByTheDelimiter) {
  EXPECT_EQ("<a><b><c>", Fields("a;b;c", ';'));
  EXPECT_EQ("<a><><c>", Fields("a;;c", ';'));
  EXPECT_EQ("<a><>", Fields("a;", ';'));
  EXPECT_EQ("<>", Fields("", ';'));
  EXPECT_EQ("<a><b c>", Fields("  a , b c ", ','));
  EXPECT_EQ("<a><b>", Fields("a\tb", '\t'));
  EXPECT_EQ("<a><><b>", Fields("a\t\tb", '\t'));
  EXPECT_EQ("<a><><b>", Fields("a  b", ' '));
  EXPECT_EQ("-", Fields("1,2,3,4,5,6", ','));
}

TEST(Fields, MayStandInQuotes) {
  EXPECT_EQ("<a,b><c>", Fields("\"a,b\",c", ','));
  EXPECT_EQ("<say \"no\"><c>", Fields("\"say \"\"no\"\"\",c", ','));
  EXPECT_EQ("< a ><c>", Fields(" \" a \" ,c", ','));
  EXPECT_EQ("<><c>", Fields("\"\",c", ','));
  EXPECT_EQ("<a><b>", Fields("a,\"b\"", ','));
  EXPECT_EQ("-", Fields("\"a,c", ','));
  EXPECT_EQ("-", Fields("\"a\"b,c", ','));
  EXPECT_EQ("-", Fields("\"a\"\"", ','));
  EXPECT_EQ("<a\"b><c>", Fields("a\"b,c", ','));
}

class ReadingFile : public testing::Test {
 protected:
  ReadingFile() {
    form.dateColumns = {"Date"};
    form.isUtc = true;
    EXPECT_TRUE(form.dateFormat.Set("%Y-%m-%d %H:%M:%S", reason)) << reason;
  }

  bool Open(const std::string& content) {
    machine.files["f"] = content;
    return file.Open("f", form, reason);
  }

  // Seconds since `kStart` and values of all readings: "0: 1 2|60: 3 -|".
  std::string All() {
    std::string all;
    while (file.Next() == ZRReadingFile::tagNext::kReading) {
      all += std::to_string((file.Utc() - kStart) / 1000) + ":";
      for (const auto& value : file.Values())
        all.append(" ").append(value ? Shown(*value) : "-");
      all += "|";
    }
    return all;
  }

  static std::string Shown(double value) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%g", value);
    return text;
  }

  static constexpr std::int64_t kStart = 1'167'609'600'000;  // 2007-01-01T00:00:00Z
  CFakeMachine machine;
  ZRReadingsForm form;
  ZRReadingFile file;
  std::string reason;
};

TEST_F(ReadingFile, ReadsAllColumnsBesidesTheDate) {
  ASSERT_TRUE(Open("P,Date,Q\n1.5,2007-01-01 00:00:00,2\n-3e2,2007-01-01 00:01:00,+4\n")) << reason;
  EXPECT_EQ((std::vector<std::string>{"P", "Q"}), file.Columns());
  EXPECT_EQ("0: 1.5 2|60: -300 4|", All());
}

TEST_F(ReadingFile, ReadsTheColumnsThatAreAskedForInTheirOrder) {
  form.columns = {"R", "P"};
  ASSERT_TRUE(Open("Date,P,Q,R\n2007-01-01 00:00:00,1,2,3\n")) << reason;
  EXPECT_EQ((std::vector<std::string>{"R", "P"}), file.Columns());
  EXPECT_EQ("0: 3 1|", All());
}

TEST_F(ReadingFile, JoinsTwoColumnsToADate) {
  form.dateColumns = {"Day", "Time"};
  form.delimiter = ';';
  ASSERT_TRUE(form.dateFormat.Set("%d/%m/%Y %H:%M:%S", reason));
  ASSERT_TRUE(Open("Day;Time;P\r\n1/1/2007;00:02:00;1\r\n")) << reason;
  EXPECT_EQ("120: 1|", All());
}

TEST_F(ReadingFile, AMissingFieldHasNoValue) {
  form.missing = {"", "?", "n/a"};
  ASSERT_TRUE(Open("Date,P,Q\n2007-01-01 00:00:00,?,\n2007-01-01 00:00:01,n/a,5\n")) << reason;
  EXPECT_EQ("0: - -|1: - 5|", All());
  EXPECT_EQ(0, file.Faults().fields);
}

TEST_F(ReadingFile, AFieldThatIsntANumberHasNoValueAndIsReported) {
  ASSERT_TRUE(Open("Date,P,Q\n2007-01-01 00:00:00,1,on\n2007-01-01 00:00:01,nan,0x10\n")) << reason;
  EXPECT_EQ("0: 1 -|1: - -|", All());
  EXPECT_EQ(3, file.Faults().fields);
  ASSERT_EQ(3u, file.Faults().reported.size());
  EXPECT_EQ("line 2: \"on\" in column \"Q\" isn't a number", file.Faults().reported[0]);
}

TEST_F(ReadingFile, DecimalsMayStandBehindAComma) {
  form.delimiter = ';';
  form.decimal = ',';
  ASSERT_TRUE(Open("Date;P;Q\n2007-01-01 00:00:00;1,5;2.5\n")) << reason;
  EXPECT_EQ("0: 1.5 -|", All());
}

TEST_F(ReadingFile, PassesOverLinesThatCantBeReadAndSaysWhich) {
  ASSERT_TRUE(
      Open("Date,P\n2007-01-01 00:00:00,1\nyesterday,2\n2007-01-01 00:00:02\n\n"
           "2007-01-01 00:00:03,4,5\n2007-01-01 00:00:04,6\n" +
           std::string(ZRLineReader::kLongestLine + 1, 'x') + "\n2007-01-01 00:00:05,7\n"))
      << reason;
  EXPECT_EQ("0: 1|4: 6|5: 7|", All());
  EXPECT_EQ(4, file.Faults().lines);
  EXPECT_EQ((std::vector<std::string>{
                "line 3: its date doesn't fit: \"yesterday\"", "line 4: it doesn't have 2 fields",
                "line 6: it doesn't have 2 fields", "line 8: it is too long"}),
            file.Faults().reported);
}

TEST_F(ReadingFile, ReportsTheFirstFaultsOnlyAndCountsAll) {
  std::string content = "Date,P\n";
  for (int i = 0; i < 100; ++i)
    content += "x,1\n";
  ASSERT_TRUE(Open(content)) << reason;
  EXPECT_EQ("", All());
  EXPECT_EQ(100, file.Faults().lines);
  EXPECT_EQ(ZRReadingFile::kMostReported, file.Faults().reported.size());
}

TEST_F(ReadingFile, DatesThatGoBackArePassedOverAndEqualOnesArent) {
  ASSERT_TRUE(
      Open("Date,P\n2007-01-01 00:00:10,1\n2007-01-01 00:00:09,2\n"
           "2007-01-01 00:00:10,3\n2007-01-01 00:00:11,4\n"))
      << reason;
  EXPECT_EQ("10: 1|10: 3|11: 4|", All());
  EXPECT_EQ(1, file.Faults().backwards);
}

TEST_F(ReadingFile, DatesAreLocalTimeUnlessTheyAreSaidToBeUtc) {
  ASSERT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
  form.isUtc = false;
  ASSERT_TRUE(Open("Date,P\n2007-01-01 01:00:00,1\n2007-07-01 02:00:00,2\n")) << reason;
  EXPECT_EQ("0: 1|15638400: 2|", All());
}

TEST_F(ReadingFile, AZoneInTheDateWins) {
  ASSERT_TRUE(form.dateFormat.Set("%Y-%m-%dT%H:%M:%S%z", reason));
  ASSERT_TRUE(Open("Date,P\n2007-01-01T02:00:05+02:00,1\n2007-01-01T00:00:07Z,2\n")) << reason;
  EXPECT_EQ("5: 1|7: 2|", All());
}

TEST_F(ReadingFile, WithoutAHeaderColumnsAreNumbered) {
  form.header = false;
  form.dateColumns = {"C1"};
  ASSERT_TRUE(Open("2007-01-01 00:00:00,1,2\n2007-01-01 00:00:01,3,4\n")) << reason;
  EXPECT_EQ((std::vector<std::string>{"C2", "C3"}), file.Columns());
  EXPECT_EQ("0: 1 2|1: 3 4|", All());
}

TEST_F(ReadingFile, NamesOfColumnsAreMadeFitForVariables) {
  ASSERT_TRUE(Open("Date,T1.2,P[kW],\n2007-01-01 00:00:00,1,2,3\n")) << reason;
  EXPECT_EQ((std::vector<std::string>{"T1_2", "P_kW_", "C4"}), file.Columns());
}

TEST_F(ReadingFile, BeginsAgainAfterARewind) {
  ASSERT_TRUE(Open("Date,P\n2007-01-01 00:00:00,1\n2007-01-01 00:00:01,2\n")) << reason;
  EXPECT_EQ("0: 1|1: 2|", All());
  ASSERT_TRUE(file.Rewind());
  EXPECT_EQ("0: 1|1: 2|", All());
  EXPECT_EQ(0, file.Faults().backwards);
}

TEST_F(ReadingFile, TellsHowMuchItHolds) {
  ASSERT_TRUE(Open("Date,P\n2007-01-01 00:00:00,1\nx,2\n2007-01-01 01:00:00,3\n")) << reason;
  ZRReadingsSpan span;
  ASSERT_TRUE(file.Measure(span));
  EXPECT_EQ(2, span.readings);
  EXPECT_EQ(kStart, span.first);
  EXPECT_EQ(kStart + 3600'000, span.last);
}

TEST_F(ReadingFile, CantBeOpenedWithoutItsColumns) {
  EXPECT_FALSE(file.Open("missing", form, reason));
  EXPECT_FALSE(reason.empty());
  EXPECT_FALSE(Open(""));
  EXPECT_FALSE(Open("Day,P\n"));
  EXPECT_EQ("it has no column \"Date\"", reason);
  EXPECT_FALSE(Open("Date\n"));
  EXPECT_EQ("it has no column besides the dates", reason);
  EXPECT_FALSE(Open("Date,P,P\n"));
  EXPECT_EQ("two of its columns would be called \"P\"", reason);
  form.columns = {"Q"};
  EXPECT_FALSE(Open("Date,P\n"));
  EXPECT_EQ("it has no column \"Q\"", reason);
  form.columns.clear();
  std::string wide = "Date";
  for (std::size_t i = 0; i < ZRReadingFile::kMostColumns; ++i)
    wide.append(",c").append(std::to_string(i));
  EXPECT_FALSE(Open(wide + "\n"));
}

}  // namespace

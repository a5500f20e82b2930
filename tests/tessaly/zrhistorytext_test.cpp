#include "tessaly/zrhistorytext.h"

#include <gtest/gtest.h>

#include "support/golden.h"
#include "support/text.h"

namespace {

using Format = ZRHistoryFormat;

// An answer made by hand, at a site in Madrid.
class HistoryText : public ::testing::Test {
 protected:
  HistoryText() {
    EXPECT_TRUE(ZRDateTime::SetLocalZone("Europe/Madrid"));
    names[Event(1)] = "Overvoltage";
    names[Event(2)] = "Pump, \"blue\"";
    names[Event(3)] = "T\xC3\xA4nk\x1b[2J";
  }
  ~HistoryText() override { (void)ZRDateTime::SetLocalZone(""); }

  static uuid Id(const char* start, int number) {
    return wtouuid(
        Wide(std::string(start) + "-0000-4000-8000-00000000000" + std::to_string(number)));
  }
  static uuid Event(int number) { return Id("eeeeeeee", number); }
  static uuid Occurrence(int number) { return Id("cccccccc", number); }
  static ZRDateTime At(int hour, int second, int millisecond = 0) {
    ZRDateTime time;
    time.SetDateTime(2026, 11, 21, hour, 5, second, millisecond, 0);
    return time;
  }
  void Add(int event, int occurrence, const ZRDateTime& date, int value, const char* text,
           bool notify = false) {
    (void)data.AddRecord(Event(event), Occurrence(occurrence), date, value, ZRString(text), "", "",
                         notify);
  }
  // Four occurrences: over and acknowledged; over; neither; with hostile texts.
  void Fill() {
    Add(1, 1, At(8, 9, 250), 1, "250.0 V on Grid &amp; more", true);
    Add(1, 1, At(8, 21), 4, "seen", true);
    Add(1, 1, At(9, 44), 2, "back at 240.1 V", true);
    Add(2, 2, At(9, 0), 1, "");
    Add(2, 2, At(9, 0), 2, "");
    Add(1, 3, At(10, 0), 1, "251.0 V", true);
    Add(3, 4, At(11, 0), 1, "\xC3\xA9&lt;\x1b]0;x\x07\n\xff&quot;\\, end");
  }
  std::string Occurrences(Format format) {
    ZROccurrences all;
    for (auto record = data.RecordGroup().Begin(); record != data.RecordGroup().End(); ++record)
      all.push_back(*record);
    std::string text;
    WriteOccurrences(format, all, names, [&text](std::string_view piece) { text += piece; });
    return text;
  }
  std::string Totals(Format format) {
    ZRTotals all;
    auto& group = data.RecordGroupTotalized();
    for (auto total = group.Begin(); !(total == group.End()); ++total)
      all.push_back(*total);
    std::string text;
    WriteTotals(format, all, names, [&text](std::string_view piece) { text += piece; });
    return text;
  }

  ZREventLoggerData data;
  ZREventNames names;
};

constexpr std::pair<Format, const char*> kFormats[] = {
    {Format::kTable, "txt"}, {Format::kCsv, "csv"}, {Format::kJson, "json"}, {Format::kXml, "xml"}};

TEST_F(HistoryText, HasTheFormOfItsGoldenFile) {
  Fill();
  for (const auto& [format, extension] : kFormats)
    EXPECT_EQ(Occurrences(format), Golden(std::string("history.") + extension)) << extension;
}

TEST_F(HistoryText, TotalsHaveTheFormOfTheirGoldenFile) {
  Fill();
  for (const auto& [format, extension] : kFormats)
    EXPECT_EQ(Totals(format), Golden(std::string("history-totals.") + extension)) << extension;
}

TEST_F(HistoryText, OfNothingIsStillAWholeDocument) {
  EXPECT_EQ(Occurrences(Format::kTable), "Began  Lasted  Acknowledged  Event  Text\n");
  EXPECT_EQ(Occurrences(Format::kCsv).find("event,began,"), 0u);
  EXPECT_EQ(Occurrences(Format::kJson), "[\n]\n");
  EXPECT_EQ(Occurrences(Format::kXml),
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>"
            "<loggerEvents></loggerEvents>");
  EXPECT_EQ(Totals(Format::kJson), "[\n]\n");
}

TEST_F(HistoryText, NothingThatIsShownMovesTheCursor) {
  Fill();
  for (const Format format : {Format::kTable, Format::kCsv, Format::kJson}) {
    for (const std::string& text : {Occurrences(format), Totals(format)}) {
      for (const char c : text) {
        const bool isLineEnd = c == '\n' || (c == '\r' && format == Format::kCsv);
        EXPECT_TRUE(isLineEnd || static_cast<unsigned char>(c) >= ' ') << text;
      }
    }
  }
}

TEST_F(HistoryText, ControlsOfLatin1AreEscapedToo) {
  Add(1, 1, At(8, 0), 1,
      "a\xC2\x9B"
      "2J");
  EXPECT_NE(Occurrences(Format::kTable).find("a\\u009b2J\n"), std::string::npos);
  EXPECT_NE(Occurrences(Format::kCsv).find(",a\\u009b2J,"), std::string::npos);
  EXPECT_NE(Occurrences(Format::kJson).find("\"a\\u009b2J\""), std::string::npos);
}

TEST_F(HistoryText, LongTextIsWhole) {
  const std::string longText = "\t" + std::string(20'000, 'x');
  Add(1, 1, At(8, 0), 1, longText.c_str());
  for (const Format format : {Format::kTable, Format::kCsv, Format::kJson, Format::kXml})
    EXPECT_NE(Occurrences(format).find(longText.substr(1)), std::string::npos);
}

}  // namespace

#include <gtest/gtest.h>

#include "host/tools/zrstringtable.h"
#include "support/logcapture.h"
#include "support/pumpevent.h"

namespace {

constexpr const char* kNorth = "bbbbbbbb-0000-4000-8000-000000000001";
constexpr const char* kSouth = "bbbbbbbb-0000-4000-8000-000000000002";

class Annotation : public PumpEvent {
 protected:
  Annotation() { LoadXeve("", GroupXml(kNorth, "North &amp; %n") + GroupXml(kSouth, "South")); }

  // What `text` becomes, "" having been left in the result before.
  std::string Expand(const std::string& text) const { return event->Expand(text); }
  // An argument's result, as number 1 of an event.
  std::string Result(const std::string& value, const std::string& format = "",
                     const std::string& thousands = "") {
    Make(Pump().Argument(value, format, thousands));
    return Expand("%a1");
  }
};

struct tagText {
  const char* text;
  const char* expansion;
};

// --- plain text and the sign itself ---

TEST_F(Annotation, TextWithoutEscapesStaysAsItIs) {
  Make(Pump());
  for (const char* text :
       {"", "x", "too hot", " \t\n", "<b>&amp;</b>", "h\xC3\xA9 \xF0\x9F\x94\xA5"})
    EXPECT_EQ(Expand(text), text);
}

TEST_F(Annotation, EscapesThatMeanNothingStayAndALastSignIsLost) {
  constexpr tagText kTexts[] = {
      {"%%", "%"},         {"100%", "100"},
      {"50%x", "50%x"},    {"%", ""},
      {"%%%", "%"},        {"%%%%", "%%"},
      {"a%%b", "a%b"},     {"% n", "% n"},
      {"%N", "%N"},        {"%A1", "%A1"},
      {"%1", "%1"},        {"%%n", "%n"},
      {"%z%%%y", "%z%%y"}, {"%\xC3\xA9", "%\xC3\xA9"},
      {"%ls%s", "%ls"},    {"%x%", "%x"},
  };
  Make(Pump());
  for (const tagText& row : kTexts)
    EXPECT_EQ(Expand(row.text), row.expansion) << row.text;
}

TEST_F(Annotation, ResultMayReplaceItsOwnTemplate) {
  Make(Pump());
  ZRWString text(L"%n and %n");
  EXPECT_TRUE(event->ParseAnnotation(text, text));
  EXPECT_EQ(text, L"Pump and Pump");
}

TEST_F(Annotation, LongTextComesOutWhole) {
  const std::string description(100000, 'd');
  Make(Pump().With("description", description));
  EXPECT_EQ(Expand("%t%t%%"), description + description + "%");
}

// --- the event's own elements ---

TEST_F(Annotation, ShowsTheElementsOfTheEvent) {
  Make(EventXml("A &lt;pump&gt; 100%n")
           .Condition("[P.RUN] &gt; 1")
           .Stop("[P.RUN] &lt; 1")
           .With("description", "Too \xC3\xB1 &amp; hot"));
  EXPECT_EQ(Expand("%n"), "A <pump> 100%n") << "what comes out is not expanded again";
  EXPECT_EQ(Expand("%c"), "[P.RUN] > 1");
  EXPECT_EQ(Expand("%s"), "[P.RUN] < 1");
  EXPECT_EQ(Expand("%t"), "Too \xC3\xB1 & hot");
  EXPECT_EQ(Expand("<%n|%c|%s|%t>"), "<A <pump> 100%n|[P.RUN] > 1|[P.RUN] < 1|Too \xC3\xB1 & hot>");
}

TEST_F(Annotation, ElementsThatAreMissingShowNothing) {
  Make(Pump());
  EXPECT_EQ(Expand("[%s][%t]"), "[][]");
}

// The element is read at each use, and not what was made of it.
TEST_F(Annotation, StopConditionThatIsNotInForceIsShownToo) {
  Make(Pump().Stop("not a condition +"));
  EXPECT_FALSE(event->HasStopCondition());
  EXPECT_EQ(Expand("%s"), "not a condition +");
}

TEST_F(Annotation, ReadsTheElementsAtEachUse) {
  XmlDocument document;
  ASSERT_TRUE(document.Parse(Pump().With("description", "then").Xml().c_str()));
  OwnEvent own;
  ASSERT_TRUE(own.LoadXml(document.Root()));
  document.Root()->SetValue(L"name", L"Fan");
  document.Root()->SetValue(L"description", L"now");
  document.Root()->SetValue(L"condition", L"other");
  document.Root()->SetValue(L"conditionStop", L"stop");
  EXPECT_EQ(own.Expand("%n %t %c %s"), "Fan now other stop");
  EXPECT_EQ(own.Name(), L"Pump");
}

TEST_F(Annotation, ShowsTheTimeTableByItsNameOrTellsThatThereIsNone) {
  Make(PumpInShift());
  EXPECT_EQ(Expand("%d"), "Shift");
  Make(Pump());
  EXPECT_EQ(Expand("%d"), Narrow(ZRLoadString(32830)));
  EXPECT_EQ(Expand("%d"), "No time table");
}

// --- delays ---

TEST_F(Annotation, ShowsDelaysInWholeSecondsWhileTheyAreInForce) {
  Make(Pump().DelayToActivate("2.9").DelayToDeactivate("61.999"));
  EXPECT_EQ(Expand("%b %e"), "0 0") << "not computed yet";
  Holds();
  EXPECT_EQ(Expand("%b %e"), "2 0");
  Set("RUN", 1);
  CyclesUntilItChanges();
  EXPECT_EQ(Expand("%b %e"), "0 0") << "cleared by the transition";
  Fails();
  EXPECT_EQ(Expand("%b %e"), "0 61");
}

TEST_F(Annotation, DelayBelowASecondShowsAsZero) {
  Make(Pump().DelayToActivate("0.999"));
  Holds();
  EXPECT_EQ(Expand("%b"), "0");
}

// --- groups ---

TEST_F(Annotation, ShowsGroupsByTheirNumber) {
  Make(Pump().Group(kSouth).Group(kNorth).Group(kSouth));
  EXPECT_EQ(Expand("%g1, %g2, %g3"), "South, North & %n, South");
  EXPECT_EQ(Expand("%g01%g003"), "SouthSouth");
  EXPECT_EQ(Expand("%g1x"), "Southx");
}

TEST_F(Annotation, FirstGroupIsAlwaysThere) {
  Make(Pump());
  EXPECT_EQ(Expand("%g1"), "General");
  EXPECT_EQ(Expand("%g2"), "%g2");
}

TEST_F(Annotation, GroupThatDoesNotExistStaysAsItStands) {
  Make(Pump().Group(kSouth));
  for (const char* text : {"%g", "%g0", "%g2", "%gx", "%g 1", "%g00", "%g-1", "%g2147483648",
                           "%g4294967297", "%g99999999999999999999"})
    EXPECT_EQ(Expand(text), text);
  EXPECT_EQ(Expand("%g2%g1"), "%g2South");
  EXPECT_EQ(Expand("%g%g1"), "%gSouth");
  EXPECT_EQ(Expand("%g\xD9\xA1"), "%g\xD9\xA1") << "a digit of another script is none";
}

// --- arguments ---

TEST_F(Annotation, ArgumentThatDoesNotExistStaysAsItStands) {
  Make(Pump());
  for (const char* text : {"%a", "%a0", "%a1", "%a12", "%a01", "%ax", "%a-1", "%a4294967297"})
    EXPECT_EQ(Expand(text), text);
  Make(Pump().Argument("1").Argument("2"));
  EXPECT_EQ(Expand("%a3%a2%a1%a0"), "%a321%a0");
}

TEST_F(Annotation, ArgumentWithoutAnExpressionStaysAsItStands) {
  Make(Pump().Argument("").Argument("2"));
  const LogCapture log;
  EXPECT_EQ(Expand("%a1 %a2"), "%a1 2");
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(Annotation, NumberIsReadToItsLastDigit) {
  EventXml definition = Pump();
  for (int number = 1; number <= 12; ++number)
    definition.Argument(std::to_string(100 + number));
  Make(definition);
  EXPECT_EQ(Expand("%a1"), "101");
  EXPECT_EQ(Expand("%a12"), "112");
  EXPECT_EQ(Expand("%a0012"), "112");
  EXPECT_EQ(Expand("%a123"), "%a123") << "never 12 and a 3";
  EXPECT_EQ(Expand("%a1%a2"), "101102");
}

TEST_F(Annotation, AnyElementIsAnArgument) {
  const std::string definition = Pump().Xml();
  OwnEvent own;
  ASSERT_TRUE(own.LoadText(
      definition.substr(0, definition.size() - 8) +
      "<arguments><a><value>1 + 1</value></a><b/><c><value>3</value></c></arguments></event>"));
  EXPECT_EQ(own.Expand("%a1 %a2 %a3"), "2 %a2 3");
}

TEST_F(Annotation, ArgumentIsEvaluatedAtEachExpansion) {
  Make(Pump().Argument("[P.T] * 2"));
  Set("T", 4);
  EXPECT_EQ(Expand("%a1"), "8");
  Set("T", 5);
  EXPECT_EQ(Expand("%a1 %a1"), "10 10");
}

TEST_F(Annotation, NumberIsWrittenByTheFormat) {
  EXPECT_EQ(Result("1234.5"), "1234.5");
  EXPECT_EQ(Result("1234.5", "2"), "1234.50");
  EXPECT_EQ(Result("1234.5", "6.1"), "001234.5");
  EXPECT_EQ(Result("1234.5", "e1"), "1.2e+03");
  EXPECT_EQ(Result("1234.5", "+1"), "+1234.5");
  EXPECT_EQ(Result("1234.5", "2", "T"), "1,234.50");
  EXPECT_EQ(Result("1234.5", "", "T"), "1,234.5");
  EXPECT_EQ(Result("-0.5", "0"), "0") << "a tie goes to the even neighbour";
}

TEST_F(Annotation, OnlyTAsksForThousandSeparators) {
  for (const char* other : {"", "F", "t", "TRUE", "1", "T "})
    EXPECT_EQ(Result("1234.5", "2", other), "1234.50") << other;
}

TEST_F(Annotation, FormatThatIsNoneGivesTheShortestText) {
  EXPECT_EQ(Result("0.1", "%s%n"), "0.1");
  EXPECT_EQ(Result("0.1", "99"), "0.1");
}

TEST_F(Annotation, TextResultIsWrittenAsItIs) {
  driver->SetText("STATE", "too <hot> \xC3\xB1 %n");
  EXPECT_EQ(Result("[P.STATE]", "2", "T"), "too <hot> \xC3\xB1 %n");
}

TEST_F(Annotation, ArgumentThatIsNoExpressionIsMarkedAndLogged) {
  Make(Pump().Argument("[P.T] +").Argument("[P.T] = 1"));
  Set("T", 1);
  const LogCapture log;
  EXPECT_EQ(Expand("<%a1>"), "<[P.T] + ## invalid expression ##>");
  EXPECT_EQ(Expand("%a2"), "[P.T] = 1 ## invalid expression ##") << "a condition is none either";
  EXPECT_EQ(log.Lines(),
            (std::vector<LogCapture::tagLine>{
                {kLogConfiguration, "Event 'Pump': invalid expression in argument 1: [P.T] +"},
                {kLogConfiguration, "Event 'Pump': invalid expression in argument 2: [P.T] = 1"}}));
}

TEST_F(Annotation, ArgumentThatFailsIsMarkedAndLoggedAtEachExpansion) {
  Make(Pump().Argument("1").Argument("[P.T] * 2"));
  Unset("T");
  const LogCapture log;
  EXPECT_EQ(Expand("%a2|%a1"), "[P.T] * 2 ## could not avaluate ##|1");
  const LogCapture::tagLine expected{
      kLogConfiguration, "Event 'Pump': could not avaluate expression in argument 2: [P.T] * 2"};
  EXPECT_EQ(log.Lines(), (std::vector<LogCapture::tagLine>{expected}));
  Expand("%a2%a2");
  EXPECT_EQ(log.Lines(), (std::vector<LogCapture::tagLine>(3, expected)));
}

// Expressions come from outside: they are no format of a log line.
TEST_F(Annotation, ExpressionWithAFormatOfItsOwnIsLoggedAsItStands) {
  EventXml definition = EventXml::Bare();
  definition.With("id", EventXml::Id(1)).With("name", "50%n").Condition("[P.RUN] = 1");
  Make(definition.Argument("%n%s%ls%d"));
  const LogCapture log;
  EXPECT_EQ(Expand("%a1"), "%n%s%ls%d ## invalid expression ##");
  EXPECT_TRUE(
      log.Has(kLogConfiguration, "Event '50%n': invalid expression in argument 1: %n%s%ls%d"));
}

TEST_F(Annotation, FailingArgumentDoesNotEndTheExpansion) {
  Make(Pump().Argument("(").Argument("2"));
  const LogCapture log;
  EXPECT_EQ(Expand("a %a1 b %a2 c"), "a ( ## invalid expression ## b 2 c");
}

// --- a generated event ---

TEST_F(Annotation, GeneratedEventKeepsItsDocument) {
  driver->generate = [](XmlDocument::XmlNode* root, XmlDocument::XmlNode*, const ZRWideMap&) {
    XmlDocument::XmlNode& generated =
        *root->NewChild(L"events", nullptr)->NewChild(L"event", nullptr);
    generated.SetValue(L"id", Wide(EventXml::Id(7)));
    generated.SetValue(L"name", L"Generated");
    generated.SetValue(L"description", L"of a driver");
    generated.SetValue(L"condition", L"1 = 1");
    generated.NewChild(L"arguments", nullptr)
        ->NewChild(L"argument", nullptr)
        ->SetValue(L"value", L"3 * 4");
  };
  LoadXeve("");
  ZREventDriver* const generated = Find("Generated");
  ASSERT_NE(generated, nullptr);
  ZRWString text;
  generated->ParseAnnotation(text, L"%n %t %c %a1");
  EXPECT_EQ(text, L"Generated of a driver 1 = 1 12");
}

}  // namespace

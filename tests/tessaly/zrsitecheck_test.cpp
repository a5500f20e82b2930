#include "tessaly/zrsitecheck.h"

#include <gtest/gtest.h>

#include "host/user/zrsystemuserssupport.h"
#include "support/enginetest.h"
#include "support/findinglines.h"
#include "support/golden.h"
#include "support/probeaction.h"

namespace {

constexpr const char* kFile = "default.xeve";
constexpr const char* kNorth = "bbbbbbbb-0000-4000-8000-000000000001";
constexpr const char* kNobody = "bbbbbbbb-0000-4000-8000-00000000ffff";

// What is at fault, and every line that is said of it.
struct tagCase {
  std::string element;
  Lines lines;
};

std::string Id(int number) {
  return "<id>" + EventXml::Id(number) + "</id>";
}
std::string Group(const std::string& id, const std::string& name) {
  return "<g><id>" + id + "</id><name>" + name + "</name></g>";
}

class SiteCheck : public EngineTest {
 protected:
  SiteCheck() {
    Set("RUN", 0);
    TimeTables("<days><day><id>shift</id><name>Shift</name></day></days>");
  }

  // Line 1 is the root, line 2 has the lists that come before, `events` begins in line 3 and its
  // first element in line 4.
  Lines CheckDocument(const std::string& events, const std::string& groups,
                      const std::string& behind = "") {
    site.Write("config/default.xeve", "<main>\n<eventsGroups>" + groups +
                                          "</eventsGroups>\n<events>\n" + events + "</events>" +
                                          behind + "</main>");
    return CheckLoaded();
  }
  Lines CheckLoaded() {
    (void)server->LoadCfg();
    return Found(
        [this](ZRFindings& findings) { CheckEvents(*server->Cfg(), Store(), kFile, findings); });
  }
  // Lines 4 and 5 are the frame of an event that is good, the element is in line 6.
  Lines CheckInEvent(const std::string& element) {
    return CheckDocument("<event>" + Id(1) + "<name>Pump</name>\n<condition>1 = 1</condition>\n" +
                             element + "</event>",
                         Group(kNorth, "North"));
  }
  Lines CheckTables(const std::string& inside) {
    TimeTables(inside);
    LoadXeve("");
    return Found([this](ZRFindings& findings) {
      CheckTimeTables(*server->TimeTableCfg(), Store(), "default.xtmt", findings);
    });
  }
  static Lines CheckFiles() {
    return Found([](ZRFindings& findings) { CheckDocuments(ZRTessalySetup::Get(), findings); });
  }
};

// --- events ---

TEST_F(SiteCheck, CleanDocumentGivesNoFinding) {
  const std::string full = EventXml("Pump")
                               .Condition("[P.RUN] = 1")
                               .Stop("[P.RUN] = 0")
                               .DelayToActivate("2.5")
                               .DelayToDeactivate("[P.RUN]")
                               .Notify()
                               .Record()
                               .TimeTable("Shift")
                               .With("idn", "17")
                               .With("description", "100 %")
                               .With("annotation", "%a1 in %g1, %%, %x, %a")
                               .With("rssActivate", "F")
                               .With("enabled", "T")
                               .Argument("[P.RUN]", "0.2", "T")
                               .Argument("", "", "F")
                               .Group(kNorth)
                               .Actions("actions", "acknowledge", "")
                               .Xml();
  EXPECT_EQ(CheckDocument(full, Group(kNorth, "North")), Lines{});
}

TEST_F(SiteCheck, EmptyPartsOfAnEventAreNoLoss) {
  EXPECT_EQ(CheckInEvent("<timeTable></timeTable><conditionStop/><delayToActivate/>"
                         "<delayToDeactivate></delayToDeactivate><arguments/><actions/>"
                         "<eventsGroups/><annotation/><notify/>"),
            Lines{});
}

TEST_F(SiteCheck, SaysWhyAnEventWasDropped) {
  const tagCase cases[] = {
      {"<e><name>Pump</name></e>", {"default.xeve:4: dropped: event 'Pump': it has no id"}},
      {"<e><id></id><name>Pump</name></e>",
       {"default.xeve:4: dropped: event 'Pump': it has no id"}},
      {"<e><name>Pump</name>\n<id>pump</id></e>",
       {"default.xeve:5: dropped: event 'Pump': its id 'pump' is no uuid"}},
      {"<e>" + Id(1) + "<name>Pump</name></e>",
       {"default.xeve:4: dropped: event 'Pump': it has no condition"}},
      {"<e>" + Id(1) + "<name>Pump</name>\n<condition>[P.RUN] = </condition></e>",
       {"default.xeve:5: dropped: event 'Pump': its condition is wrong at character 11: a value is "
        "expected here"}},
      {"<e>" + Id(1) + "<name>Pump</name>\n<condition>[P.RUN]</condition></e>",
       {"default.xeve:5: dropped: event 'Pump': its condition gives a value, not true or false: a "
        "comparison is missing"}},
      {"<e>" + Id(1) + "<condition>1 = 1</condition></e>",
       {"default.xeve:4: dropped: event without a name: it has no name"}},
  };
  for (const tagCase& one : cases)
    EXPECT_EQ(CheckDocument(one.element, ""), one.lines) << one.element;
}

TEST_F(SiteCheck, EventWhoseNameCannotBeThatOfAFileHasNoHistory) {
  const auto check = [this](const std::string& name) {
    return CheckDocument("<event>" + Id(1) + "<name>" + name +
                             "</name><condition>1 = 1</condition><record>T</record></event>",
                         "");
  };
  EXPECT_EQ(check("Pump 1"), Lines{});
  const std::string rest = "': it has no history: no file can have its name";
  EXPECT_EQ(check("In/Out"), Lines{"default.xeve:4: dropped: event 'In/Out" + rest});
  const std::string longName(250, 'x');
  EXPECT_EQ(check(longName).size(), 1u);
}

TEST_F(SiteCheck, SaysWhatOfAnEventIsNotInForce) {
  const auto says = [](const std::string& kindAndText) {
    const std::size_t colon = kindAndText.find(':');
    return Lines{kFile + (":6: " + kindAndText.substr(0, colon)) + ": event 'Pump'" +
                 kindAndText.substr(colon)};
  };
  const tagCase cases[] = {
      {"<color>red</color>", says("dropped: nobody knows an element 'color' here")},
      {"<notify>T</notify>\n<notify>F</notify>",
       {"default.xeve:7: dropped: event 'Pump': a second 'notify' isn't read"}},
      {"<enabled>false</enabled>",
       says("changed: 'enabled' is 'false' and counts as T: only F switches off")},
      {"<notify>true</notify>",
       says("changed: 'notify' is 'true' and counts as F: only T is true")},
      {"<record>1</record>", says("changed: 'record' is '1' and counts as F: only T is true")},
      {"<rssActivate> T</rssActivate>",
       says("changed: 'rssActivate' is ' T' and counts as F: only T is true")},
      {"<rssDeactivate>t</rssDeactivate>",
       says("changed: 'rssDeactivate' is 't' and counts as F: only T is true")},
      {"<rssAcknowledge>Y</rssAcknowledge>",
       says("changed: 'rssAcknowledge' is 'Y' and counts as F: only T is true")},
      {"<delayToActivate>3 s</delayToActivate>",
       says("dropped: 'delayToActivate' is wrong at character 3: an operator is expected here: "
            "there is "
            "no delay")},
      {"<delayToDeactivate>1 &lt; 2</delayToDeactivate>",
       says("dropped: 'delayToDeactivate' is a comparison, not a number of seconds: there is no "
            "delay")},
      {"<delayToActivate>-3</delayToActivate>",
       says("changed: 'delayToActivate' is negative: there is no delay")},
      {"<delayToActivate>\"3\"</delayToActivate>",
       says("changed: 'delayToActivate' is a text: there is no delay")},
      {"<delayToActivate>1 / 0</delayToActivate>",
       says("changed: 'delayToActivate' has no value: there is no delay")},
      {"<delayToActivate>2147484</delayToActivate>",
       says("changed: 'delayToActivate' is too long: it is 24 days and 20 hours")},
      {"<delayToActivate>2147483</delayToActivate>", {}},
      {"<delayToActivate>[P.NONE]</delayToActivate>",
       says("hint: 'delayToActivate' reads a variable that no driver has at present")},
      {"<conditionStop>1 =</conditionStop>",
       says("dropped: its stop condition is wrong at character 4: a value is expected here")},
      {"<conditionStop>1 + 1</conditionStop>",
       says("dropped: its stop condition gives a value, not true or false")},
      {"<conditionStop>[P.NONE] = 1</conditionStop>",
       says("hint: 'conditionStop' reads a variable that no driver has at present")},
      {"<timeTable>Nights</timeTable>",
       says("dropped: there is no time table 'Nights': it is always evaluated")},
      {std::string("<eventsGroups><g>") + kNorth + "</g><g>" + kNobody + "</g></eventsGroups>",
       says(std::string("changed: there is no group '") + kNobody +
            "': it joins the default group")},
      {"<arguments><a><value>1 = 1</value></a></arguments>",
       says("dropped: argument 1 is a comparison, not a value")},
      {"<arguments><a/><a><value>1 +</value></a></arguments>",
       says("dropped: argument 2 is wrong at character 4: a value is expected here")},
      {"<arguments><a><value>[P.NONE]</value></a></arguments>",
       says("hint: argument 1 reads a variable that no driver has at present")},
      {"<arguments><a><value>1</value><format>%d</format></a></arguments>",
       says("changed: argument 1 has a format that means nothing, '%d': it is shown in its "
            "shortest form")},
      {"<arguments><a><value>1</value><thousandSeparator>1</thousandSeparator></a></arguments>",
       says("changed: 'thousandSeparator' is '1' and counts as F: only T is true")},
      {"<arguments><a><unit>kW</unit></a></arguments>",
       says("dropped: nobody knows an element 'unit' here")},
      {"<annotation>%a1</annotation>",
       says("hint: 'annotation' asks for argument 1, which isn't there: the text keeps it as it "
            "stands")},
      {"<deaAnnotation>%a2</deaAnnotation><arguments><a><value>1</value></a><a/></arguments>",
       says("hint: 'deaAnnotation' asks for argument 2, which isn't there: the text keeps it as it "
            "stands")},
      {"<ackAnnotation>%%a7 %g2</ackAnnotation>",
       says("hint: 'ackAnnotation' asks for group 2, which isn't there: the text keeps it as it "
            "stands")},
      {"<annotation>%a99999999999999999999</annotation>",
       says(
           "hint: 'annotation' asks for argument 99999999999999999999, which isn't there: the text "
           "keeps it as it stands")},
      {"<annotation>100 %</annotation>",
       says("changed: 'annotation' ends in a single %, which is lost: %% shows one")},
      {"<actions><begin/></actions>", says("dropped: nobody knows an element 'begin' here")},
      {"<actions><while/><while><zap/></while></actions>",
       says("dropped: a second 'while' isn't read")},
      {"<actions><activate><zap/></activate></actions>",
       says("dropped: action 'zap' doesn't exist")},
      {"<actions><acknowledge><beep/></acknowledge></actions>",
       says("dropped: actions of an acknowledgement need 'notify': nobody is asked to "
            "acknowledge")},
  };
  for (const tagCase& one : cases)
    EXPECT_EQ(CheckInEvent(one.element), one.lines) << one.element;
}

// --- actions ---

// The elements of actions of the server, or of clients, in line 6, and the one line that is said.
struct tagActionCase {
  std::string elements;
  std::string line;  // "kind: text"; empty for none
};

class ActionCheck : public SiteCheck {
 protected:
  Lines CheckActions(const std::string& side, const std::string& elements) {
    return CheckInEvent("<" + side + "><activate>" + elements + "</activate></" + side + ">");
  }
  static Lines Says(const std::string& kindAndText) {
    if (kindAndText.empty()) return {};
    const std::size_t colon = kindAndText.find(':');
    return {kFile + (":6: " + kindAndText.substr(0, colon)) + ": event 'Pump'" +
            kindAndText.substr(colon)};
  }
  static std::string Force(const std::string& variable, const std::string& value) {
    return "<force><variable>" + variable + "</variable><value>" + value + "</value></force>";
  }
};

TEST_F(ActionCheck, ThatCanBeUsedGivesNoFinding) {
  EXPECT_EQ(CheckActions("actions",
                         Force("[P.RUN]", "[P.RUN] + 1") +
                             "<shellExecute><id>1</id><command>/bin/true</command><parameter>%n "
                             "%%</parameter></shellExecute><shellExecute><command>x</command>"
                             "</shellExecute>"),
            Lines{});
  EXPECT_EQ(CheckActions("clientActions",
                         "<beep/><beep><id>7</id></beep><screen><name>x</name></screen>"
                         "<report><name>x</name></report><device><name>x</name></device>"
                         "<launchWeb><url>x</url><window>WINDOW</window></launchWeb>"
                         "<shellExecute><command>x</command></shellExecute>"),
            Lines{});
}

TEST_F(ActionCheck, ExampleOfThePageOfActionsCanBeUsed) {
  auto* const hall =
      static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("hall")));
  hall->Set("PUMP", 0);
  hall->Set("LEVEL", 1);
  EXPECT_EQ(CheckInEvent("<arguments><a><value>1</value></a></arguments>" +
                         PageExample("docs/actions.md")),
            Lines{});
  EXPECT_TRUE(Find("Pump")->hasClientActions());
}

TEST_F(ActionCheck, SaysWhyAnActionWasDropped) {
  driver->SetText("TEXT", "x");
  const tagActionCase cases[] = {
      {"<zap/>", "dropped: action 'zap' doesn't exist"},
      {"<screen/>", "dropped: action 'screen' has no name"},
      {"<report><name/></report>", "dropped: action 'report' has no name"},
      {"<device><nam>x</nam></device>", "dropped: action 'device' has no name"},
      {"<launchWeb><window>TAB</window></launchWeb>", "dropped: action 'launchWeb' has no url"},
      {"<launchWeb><url>x</url></launchWeb>", "dropped: action 'launchWeb' has no window"},
      {"<shellExecute><parameter>x</parameter></shellExecute>",
       "dropped: action 'shellExecute' has no command"},
      {"<force><value>1</value></force>", "dropped: action 'force' has no variable"},
      {Force("[P.NONE]", "1"), "dropped: action 'force': no driver has the variable '[P.NONE]'"},
      {Force("P.RUN", "1"),
       "dropped: action 'force': no driver has the variable 'P.RUN': it is written in brackets"},
      {Force("[", "1"), "dropped: action 'force': no driver has the variable '['"},
      {Force("[[avg:60]P.RUN]", "1"),
       "dropped: action 'force' has a filter in '[[avg:60]P.RUN]': only a variable itself can be "
       "forced"},
      {Force("[P.RUN]", "1 +"),
       "dropped: action 'force' has a value that is wrong at character 4: a value is expected "
       "here"},
      {"<force><variable>[P.RUN]</variable></force>",
       "dropped: action 'force' has a value that is wrong at character 1: the expression is empty"},
      {Force("[P.TEXT]", "1 +"), ""},
  };
  for (const tagActionCase& one : cases)
    EXPECT_EQ(CheckActions("actions", one.elements), Says(one.line)) << one.elements;
}

TEST_F(ActionCheck, SaysThatAVariableCannotBeForced) {
  class CFixed final : public ZRDriver {
   public:
    CFixed() : ZRDriver(L"F", L"F") { AddVariable(L"V"); }
    [[nodiscard]] bool ValueInfo(std::int64_t, tagSVariableValueInfo& info) const override {
      info = {};
      return true;
    }
  };
  ZRDriver::Register(std::make_unique<CFixed>());
  EXPECT_EQ(CheckActions("actions", Force("[F.V]", "1")),
            Says("dropped: action 'force': '[F.V]' accepts no forced value"));
}

TEST_F(ActionCheck, SaysThatAnActionHasNoEffectOnItsSide) {
  for (const std::string element :
       {"<beep/>", "<screen><name>x</name></screen>", "<report><name>x</name></report>",
        "<device><name>x</name></device>",
        "<launchWeb><url>x</url><window>x</window></launchWeb>"}) {
    const std::string tag = element.substr(1, element.find_first_of("/>") - 1);
    EXPECT_EQ(CheckActions("actions", element),
              Says("dropped: action '" + tag +
                   "' does nothing on the server: it belongs to 'clientActions'"));
  }
  EXPECT_EQ(CheckActions("clientActions", Force("[P.RUN]", "1")),
            Says("dropped: action 'force' has nothing to tell a client: it belongs to 'actions'"));
}

TEST_F(ActionCheck, SaysWhatOfAnActionIsNotInForce) {
  const tagActionCase cases[] = {
      {Force("[P.RUN]", "[P.NONE]"),
       "hint: action 'force' reads a variable that no driver has at present"},
      {"<shellExecute><command>x</command><parameter>%a1</parameter></shellExecute>",
       "hint: 'parameter' asks for argument 1, which isn't there: the text keeps it as it stands"},
      {"<shellExecute><command>x</command><parameters>x</parameters></shellExecute>",
       "dropped: nobody knows an element 'parameters' here"},
      {"<shellExecute><command>x</command><command>y</command></shellExecute>",
       "dropped: a second 'command' isn't read"},
  };
  for (const tagActionCase& one : cases)
    EXPECT_EQ(CheckActions("actions", one.elements), Says(one.line)) << one.elements;
  EXPECT_EQ(CheckActions("clientActions", "<beep><sound>loud</sound></beep>"),
            Says("dropped: nobody knows an element 'sound' here"));
}

TEST_F(ActionCheck, SaysOfAnActionThatFailsForNoKnownReasonThatItCannotBeUsed) {
  const ProbeActions probes({"beep"}, {});
  EXPECT_EQ(CheckActions("clientActions", ProbeXml("beep", "", true)),
            Says("dropped: action 'beep' can't be used"));
}

TEST_F(ActionCheck, SaysThatNobodyWouldGetAMessage) {
  EXPECT_EQ(CheckActions("actions", "<mail><message>x</message></mail>"),
            Says("dropped: action 'mail' has no address that can be used"));
  EXPECT_EQ(CheckActions("actions", "<sms><message>x</message></sms>"),
            Says("dropped: action 'sms' has no phone number that can be used"));
  EXPECT_EQ(CheckActions("clientActions", "<sms><phone>123</phone></sms>"),
            Says("dropped: action 'sms' has nothing to tell a client: it belongs to 'actions'"));
  server->Reset();
}

// Mails and SMS to the users and lists of a site.
class RecipientCheck : public ActionCheck {
 protected:
  RecipientCheck() {
    Users(
        "[[user]]\nname = \"ana\"\nmail = [\"a@b\", \"a@c\"]\nphone = [\"+341\"]\n"
        "[[list]]\nname = \"night\"\nmail = [\"n@b\"]\nphone = [\"+342\"]\n"
        "[[list]]\nname = \"mails\"\nmail = [\"m@b\"]\n"
        "[[list]]\nname = \"phones\"\nphone = [\"+343\"]\n");
  }
  ~RecipientCheck() override {
    server->Reset();
    Users("");
  }
  static void Users(const std::string& toml) {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRSystemUsersSupport::Get().LoadText(toml, problems, warnings));
  }
  Lines CheckMail(const std::string& inside) {
    return CheckActions("actions", "<mail><message>x</message>" + inside + "</mail>");
  }
  Lines CheckSms(const std::string& inside) {
    return CheckActions("actions", "<sms><message>x</message>" + inside + "</sms>");
  }
  // With a recipient that nothing is wrong with.
  Lines CheckSpareMail(const std::string& inside) {
    return CheckMail("<address>plant@b</address>" + inside);
  }
  Lines CheckSpareSms(const std::string& inside) { return CheckSms("<phone>112</phone>" + inside); }
  static std::string User(const std::string& name, const std::string& more = "") {
    return "<users><user><id>" + name + "</id>" + more + "</user></users>";
  }
};

TEST_F(RecipientCheck, ThatCanBeReachedGiveNoFinding) {
  EXPECT_EQ(CheckMail("<id>7</id>" + User("ana", "<mail>1</mail>") + User("ana", "<mail>0</mail>") +
                      "<mailLists><mailList>night</mailList><mailList>mails</mailList></mailLists>"
                      "<address>a@b</address><address>a@b</address>"),
            Lines{});
  EXPECT_EQ(CheckSms(User("ana", "<phone>0</phone>") +
                     "<phoneLists><phoneList>night</phoneList></phoneLists>"
                     "<forceBreakMessage>T</forceBreakMessage><phone>112</phone>"),
            Lines{});
}

TEST_F(RecipientCheck, SaysWhichUserIsNotReached) {
  EXPECT_EQ(CheckSpareMail(User("bob", "<mail>0</mail>")),
            Says("dropped: action 'mail': there is no user 'bob'"));
  EXPECT_EQ(CheckSpareSms(User("Ana", "<phone>0</phone>")),
            Says("dropped: action 'sms': there is no user 'Ana'"));
  EXPECT_EQ(CheckSpareMail(User("", "<mail>0</mail>")),
            Says("dropped: action 'mail' has a user without an id"));
  EXPECT_EQ(CheckSpareMail(User("ana")),
            Says("dropped: action 'mail': user 'ana' gets nothing without an element 'mail' that "
                 "says which one"));
  EXPECT_EQ(CheckSpareSms(User("ana")),
            Says("dropped: action 'sms': user 'ana' gets nothing without an element 'phone' that "
                 "says which one"));
}

TEST_F(RecipientCheck, SaysWhichIndexAUserDoesNotHave) {
  for (const std::string index : {"2", "-1", "1e300", "inf"})
    EXPECT_EQ(CheckSpareMail(User("ana", "<mail>" + index + "</mail>")),
              Says("dropped: action 'mail': user 'ana' has no mail '" + index +
                   "': they are counted from 0"));
  EXPECT_EQ(CheckSpareSms(User("ana", "<phone>1</phone>")),
            Says("dropped: action 'sms': user 'ana' has no phone '1': they are counted from 0"));
}

TEST_F(RecipientCheck, SaysWhichIndexIsReadDifferently) {
  const std::pair<const char*, const char*> cases[] = {{"", "0"},   {"x", "0"},  {"1.9", "1"},
                                                       {"01", "1"}, {" 1", "1"}, {"-0.5", "0"}};
  for (const auto& [text, number] : cases)
    EXPECT_EQ(CheckSpareMail(User("ana", std::string("<mail>") + text + "</mail>")),
              Says(std::string("changed: action 'mail': the mail '") + text +
                   "' of user 'ana' is read as " + number));
}

TEST_F(RecipientCheck, SaysWhichListIsNotReached) {
  const auto mailList = [](const std::string& name) {
    return "<mailLists><mailList>" + name + "</mailList></mailLists>";
  };
  EXPECT_EQ(CheckSpareMail(mailList("day")),
            Says("dropped: action 'mail': there is no list 'day'"));
  EXPECT_EQ(CheckSpareMail(mailList("")), Says("dropped: action 'mail' has a list without a name"));
  EXPECT_EQ(CheckSpareMail(mailList("phones")),
            Says("hint: action 'mail': list 'phones' has no mail"));
  EXPECT_EQ(CheckSpareSms("<phoneLists><phoneList>mails</phoneList></phoneLists>"),
            Says("hint: action 'sms': list 'mails' has no phone"));
  EXPECT_EQ(CheckSpareSms("<phoneLists><phoneList>day</phoneList></phoneLists>"),
            Says("dropped: action 'sms': there is no list 'day'"));
}

TEST_F(RecipientCheck, SaysWhatOfAMessageIsNotRead) {
  EXPECT_EQ(CheckSpareMail("<adress>a@b</adress>"),
            Says("dropped: nobody knows an element 'adress' here"));
  EXPECT_EQ(CheckSpareMail("<phone>112</phone>"),
            Says("dropped: nobody knows an element 'phone' here"));
  EXPECT_EQ(CheckSpareMail("<forceBreakMessage>F</forceBreakMessage>"),
            Says("dropped: nobody knows an element 'forceBreakMessage' here"));
  EXPECT_EQ(CheckSpareMail("<address/>"), Says("dropped: action 'mail' has an empty 'address'"));
  EXPECT_EQ(CheckSpareSms("<phone></phone>"), Says("dropped: action 'sms' has an empty 'phone'"));
  EXPECT_EQ(CheckSpareMail("<users><person/></users>"),
            Says("dropped: nobody knows an element 'person' here"));
  EXPECT_EQ(CheckSpareMail("<mailLists><list>night</list></mailLists>"),
            Says("dropped: nobody knows an element 'list' here"));
  EXPECT_EQ(CheckSpareMail(User("ana", "<mail>0</mail><phone>0</phone>")),
            Says("dropped: nobody knows an element 'phone' here"));
  EXPECT_EQ(CheckSpareSms(User("ana", "<phone>0</phone><mail>0</mail>")),
            Says("dropped: nobody knows an element 'mail' here"));
  EXPECT_EQ(CheckSpareMail("<message>y</message>"), Says("dropped: a second 'message' isn't read"));
}

TEST_F(RecipientCheck, SaysWhatOfAMessageIsNotAsItStands) {
  for (const std::string text : {"", "f", "true"})
    EXPECT_EQ(
        CheckSpareSms("<forceBreakMessage>" + text + "</forceBreakMessage>"),
        Says("changed: 'forceBreakMessage' is '" + text + "' and counts as T: only F is false"));
  EXPECT_EQ(CheckActions("actions", "<mail><message>%a1</message><address>a@b</address></mail>"),
            Says("hint: 'message' asks for argument 1, which isn't there: the text keeps it as it "
                 "stands"));
}

TEST_F(RecipientCheck, SaysWhoIsMissingOfAnActionThatReachesNobody) {
  const Lines lines =
      CheckMail(User("bob", "<mail>0</mail>") + "<mailLists><mailList>day</mailList></mailLists>");
  const std::string front = "default.xeve:6: dropped: event 'Pump': action 'mail'";
  EXPECT_EQ(lines, (Lines{front + ": there is no user 'bob'", front + ": there is no list 'day'",
                          front + " has no address that can be used"}));
}

TEST_F(RecipientCheck, LineIsThatOfTheReference) {
  EXPECT_EQ(CheckSpareMail("<users>\n<user><id>ana</id>\n<mail>2</mail></user></users>"),
            Lines{"default.xeve:8: dropped: event 'Pump': action 'mail': user 'ana' has no mail "
                  "'2': they are counted from 0"});
}

// --- events again ---

TEST_F(SiteCheck, SaysThatAConditionReadsAVariableThatNobodyHas) {
  EXPECT_EQ(
      CheckDocument("<e>" + Id(1) + "<name>A</name>\n<condition>[P.NONE] = 1</condition></e>", ""),
      Lines{"default.xeve:5: hint: event 'A': 'condition' reads a variable that no driver has "
            "at present"});
}

TEST_F(SiteCheck, SaysThatEventsShareNameOrId) {
  const std::string condition = "<condition>1 = 1</condition></e>";
  EXPECT_EQ(CheckDocument("<e>" + Id(1) + "<name>A</name>" + condition + "\n<e>" + Id(2) +
                              "<name>A</name>" + condition + "\n<e>" + Id(1) + "<name>B</name>" +
                              condition,
                          ""),
            (Lines{"default.xeve:5: changed: event 'A': another event has its name: the variables "
                   "are the first one's",
                   "default.xeve:6: changed: event 'B': another event has its id: a search by id "
                   "finds only one of them"}));
}

TEST_F(SiteCheck, SaysWhatOfTheDocumentIsNotRead) {
  EXPECT_EQ(
      CheckDocument("", "", "\n<events><e/></events>\n<evnets/>"),
      (Lines{"default.xeve:5: dropped: the document: a second 'events' isn't read",
             "default.xeve:6: dropped: the document: nobody knows an element 'evnets' here"}));
}

TEST_F(SiteCheck, DocumentThatDoesNotExistGivesNoFindingOfItsParts) {
  EXPECT_EQ(CheckLoaded(), Lines{});
}

// --- groups ---

TEST_F(SiteCheck, SaysWhatBecameOfTheGroups) {
  const std::string id = std::string("<id>") + kNorth + "</id>";
  const tagCase cases[] = {
      {Group(kNorth, "North"), {}},
      {"<g><name>North</name></g>", {"default.xeve:2: dropped: group 'North': it has no id"}},
      {"\n<g><id>north</id></g>",
       {"default.xeve:3: dropped: group without a name: its id 'north' is no uuid"}},
      {"<g>" + id + "</g>", {"default.xeve:2: dropped: group without a name: it has no name"}},
      {"<g>" + id + "<name>North</name>\n<color/></g>",
       {"default.xeve:3: dropped: group 'North': nobody knows an element 'color' here"}},
      {"<g>" + id + "<name>North</name>\n<enabled>no</enabled></g>",
       {"default.xeve:3: changed: group 'North': 'enabled' is 'no' and counts as T: only F "
        "switches "
        "off"}},
      {Group(kNorth, "North") + "\n" + Group(kNorth, "South"),
       {"default.xeve:3: changed: group 'South': another group has its id: no event finds this "
        "one"}},
      {Group(kNorth, "North") + "\n" + Group(kNobody, "North"),
       {"default.xeve:3: hint: group 'North': another group has its name: one worker runs the "
        "events of both"}},
      {Group(kNorth, "alarm"),
       {"default.xeve:2: hint: group 'alarm': another group has its name: one worker runs the "
        "events of both"}},
  };
  for (const tagCase& one : cases)
    EXPECT_EQ(CheckDocument("", one.element), one.lines) << one.element;
}

// --- time tables ---

TEST_F(SiteCheck, CleanTimeTablesGiveNoFinding) {
  EXPECT_EQ(CheckTables("<days><day><id>d</id><name>D</name>"
                        "<slot><from>7:00</from><to>08:30</to></slot>"
                        "<slot><from>0900</from><to>24h00</to></slot></day></days>"
                        "<weeks><week><id>w</id><name>W</name><day0>d</day0><day6>D</day6><day3/>"
                        "</week></weeks>"
                        "<calendars><c><id>c</id><name>C</name>"
                        "<year><year>2026</year><month1><day31>W</day31></month1></year>"
                        "<year><year>2027</year><month12/></year></c></calendars>"),
            Lines{});
}

TEST_F(SiteCheck, SaysWhatOfATimeTableIsNotInForce) {
  const auto day = [](const std::string& inside) {
    return "<days><t><id>t</id><name>T</name>\n" + inside + "</t></days>";
  };
  const auto week = [](const std::string& inside) {
    return "<weeks><t><id>t</id><name>T</name>\n" + inside + "</t></weeks>";
  };
  const auto calendar = [](const std::string& inside) {
    return "<calendars><t><id>t</id><name>T</name>\n" + inside + "</t></calendars>";
  };
  const auto slot = [&](const std::string& from, const std::string& to) {
    return day("<slot><from>" + from + "</from><to>" + to + "</to></slot>");
  };
  const auto says = [](const std::string& kindAndText) {
    const std::size_t colon = kindAndText.find(':');
    return Lines{"default.xtmt:2: " + kindAndText.substr(0, colon) + ": time table 'T'" +
                 kindAndText.substr(colon)};
  };
  const tagCase cases[] = {
      {"<days>\n<t><name>T</name></t></days>", says("dropped: it has no id")},
      {"<days>\n<t><id>t</id></t></days>",
       {"default.xtmt:2: dropped: time table without a name: it has no name"}},
      {"<months/>",
       {"default.xtmt:1: dropped: the document: nobody knows an element 'months' here"}},
      {day("<slots/>"), says("dropped: nobody knows an element 'slots' here")},
      {day("<slot><from>1:00</from><to>2:00</to><end/></slot>"),
       says("dropped: nobody knows an element 'end' here")},
      {slot("25:00", "26:00"), says("dropped: a slot's 'from' is no time of day")},
      {slot("9:00", "9:60"), says("dropped: a slot's 'to' is no time of day")},
      {slot("22:00", "06:00"),
       says("dropped: a slot ends before it begins: a span across midnight needs two")},
      {slot("9:00", "9:00"), says("hint: a slot ends where it begins: it switches nothing off")},
      {slot("9:00", "12"), says("changed: a slot's 'to' is '12' and is read as 12:12")},
      {slot("010000", "2:00"), says("changed: a slot's 'from' is '010000' and is read as 01:00")},
      {week("<day7>t</day7>"), says("dropped: nobody knows an element 'day7' here")},
      {week("<day01>t</day01>"), says("dropped: nobody knows an element 'day01' here")},
      {week("<day1>none</day1>"), says("dropped: 'day1' names no time table: 'none'")},
      {week("<day1/><day1>none</day1>"),
       {"default.xtmt:2: dropped: time table 'T': a second 'day1' isn't read",
        "default.xtmt:2: dropped: time table 'T': 'day1' names no time table: 'none'"}},
      {week("<day1>t</day1>"),
       {"default.xtmt:1: hint: time table 'T': it leads round in a circle: on such a day it "
        "switches nothing off"}},
      {calendar("<day1>t</day1>"), says("dropped: nobody knows an element 'day1' here")},
      {calendar("<year><year>next</year></year>"), says("dropped: a year has no number: 'next'")},
      {calendar("<year><month1/></year>"), says("dropped: a year has no number: ''")},
      {calendar("<year><year>2026</year></year><year><year>2026</year></year>"),
       says("dropped: a second year 2026 isn't read")},
      {calendar("<year><year>2026</year><month13/></year>"),
       says("dropped: nobody knows an element 'month13' here")},
      {calendar("<year><year>2026</year><month1><day32/></month1></year>"),
       says("dropped: nobody knows an element 'day32' here")},
      {calendar("<year><year>2026</year><month1><day1>none</day1></month1></year>"),
       says("dropped: 'day1' names no time table: 'none'")},
  };
  for (const tagCase& one : cases)
    EXPECT_EQ(CheckTables(one.element), one.lines) << one.element;
}

TEST_F(SiteCheck, SaysThatTimeTablesShareNameOrId) {
  EXPECT_EQ(CheckTables("<days>\n<t><id>a</id><name>A</name></t>\n<t><id>a</id><name>B</name></t>\n"
                        "<t><id>c</id><name>A</name></t></days>"),
            (Lines{"default.xtmt:3: changed: time table 'B': its id finds another time table",
                   "default.xtmt:4: changed: time table 'A': its name finds another time table"}));
}

TEST_F(SiteCheck, FindsCirclesOfTablesAndWhatLeadsToThem) {
  const auto table = [](const std::string& id, const std::string& entry) {
    return "\n<t><id>" + id + "</id><name>" + id + "-</name>" + entry + "</t>";
  };
  const std::string circle = ": it leads round in a circle: on such a day it switches nothing off";
  EXPECT_EQ(
      CheckTables("<days>" + table("end", "") + "</days><weeks>" + table("a", "<day0>b</day0>") +
                  table("b", "<day0>end</day0><day1>a</day1>") + table("c", "<day2>a</day2>") +
                  table("d", "<day2>end</day2>") + "</weeks>"),
      (Lines{"default.xtmt:3: hint: time table 'a-'" + circle,
             "default.xtmt:4: hint: time table 'b-'" + circle,
             "default.xtmt:5: hint: time table 'c-'" + circle}));
}

// --- files ---

TEST_F(SiteCheck, SaysThatThereAreNoEvents) {
  EXPECT_EQ(CheckFiles(), Lines{"config/default.xeve: hint: no such file: no events"});
  std::filesystem::remove_all(site.path / "config");
  EXPECT_EQ(CheckFiles(), Lines{"config/: hint: no such folder: no events"});
}

TEST_F(SiteCheck, SaysWhereADocumentIsBroken) {
  site.Write("config/default.xeve", "<main><events></main>");
  site.Write("config/default.xtmt", "<main>\n  <days></weeks></main>");
  site.Write("config/default.xpark", "");
  const Lines lines = CheckFiles();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], "config/default.xeve:1:17: broken: mismatched tag");
  EXPECT_EQ(lines[1], "config/default.xtmt:2:11: broken: mismatched tag");
  EXPECT_EQ(lines[2].rfind("config/default.xpark", 0), 0u) << lines[2];
}

TEST_F(SiteCheck, SaysThatADocumentIsNoFile) {
  std::filesystem::create_directory(site.path / "config" / "default.xeve");
  const Lines lines = CheckFiles();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].rfind("config/default.xeve: broken: ", 0), 0u) << lines[0];
}

TEST_F(SiteCheck, SaysWhatIsSwitchedOff) {
  site.Write(
      "config/default.xeve",
      "<main><eventsGroups><g><name>G</name><enabled>F</enabled></g></eventsGroups>\n<events>"
      "<e><name>A</name></e>\n<e><name>B</name><enabled>F</enabled></e></events></main>");
  EXPECT_EQ(CheckFiles(), (Lines{"config/default.xeve:1: hint: group 'G': it is switched off",
                                 "config/default.xeve:3: hint: event 'B': it is switched off"}));
}

TEST_F(SiteCheck, CallsFilesByTheirPlaceInTheSite) {
  std::filesystem::create_directory(site.path / "elsewhere");
  std::vector<ZRSettingProblem> none;
  ZRTessalySetup setup;
  ASSERT_TRUE(setup.LoadText("config = \"a/b\"", site.WidePath(), none, none));
  EXPECT_EQ(ShownFile(setup, kEventsFile), "a/b/default.xeve");
  ASSERT_TRUE(setup.LoadText("config = \"/etc/events\"", site.WidePath(), none, none));
  EXPECT_EQ(ShownFile(setup, kEventsFile), "/etc/events/default.xeve");
}

}  // namespace

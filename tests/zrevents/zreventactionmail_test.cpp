#include "zrevents/actions/zreventactionmail.h"

#include <gtest/gtest.h>

#include "host/tools/zrstringtable.h"
#include "host/user/zrsystemuserssupport.h"
#include "support/faketool.h"
#include "support/logcapture.h"
#include "support/oneevent.h"

namespace {

constexpr const char* kUsers =
    "[[user]]\nname = \"ana\"\nmail = [\"ana@work\", \"ana@home\"]\n"
    "[[user]]\nname = \"leo\"\nmail = [\"leo@work\"]\n"
    "[[list]]\nname = \"night\"\nmail = [\"leo@work\", \"guard@work\", \"guard@work\"]\n"
    "[[list]]\nname = \"empty\"\n";

// An event with mail actions, in virtual time, and the mail program played by the test.
class MailAction : public ::testing::Test {
 protected:
  MailAction() {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().Load(site.WidePath(), problems, warnings));
    EXPECT_TRUE(ZRSystemUsersSupport::Get().LoadText(kUsers, problems, warnings));
    site.Write("config/default.xeve", "<main></main>");
    EXPECT_TRUE(server.LoadCfg());
  }
  ~MailAction() override {
    std::vector<ZRSettingProblem> none;
    (void)ZRSystemUsersSupport::Get().LoadText("", none, none);
    (void)SetStringLanguage("en");
  }

  // The addresses of an action with this inside; "dropped" if it doesn't load.
  [[nodiscard]] static std::string Addresses(const std::string& inside,
                                             const std::string& tag = "mail") {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(("<" + tag + ">" + inside + "</" + tag + ">").c_str()));
    ZREventActionMail action(nullptr);
    if (!action.LoadXml(document.Root())) return "dropped";
    std::string all;
    for (const ZRString& address : action.Addresses())
      all += (all.empty() ? "" : ",") + Str(address);
    return all;
  }
  // An event with one mail action at each moment.
  static void Load(OwnEvent& event, const std::string& name = "Pump",
                   const std::string& message = "text") {
    EventXml definition(name);
    definition.Condition("1 = 1").Notify().Argument("[P.LEVEL] + 1");
    const std::string mail =
        "<mail><message>" + message + "</message><address>ana@work</address></mail>";
    for (const char* moment : {"activate", "while", "deactivate", "acknowledge"})
      definition.Actions("actions", moment, mail);
    ASSERT_TRUE(event.LoadText(definition.Xml()));
  }
  // The mail that a moment has sent.
  [[nodiscard]] std::string MailOf(OwnEvent& event, int moment) {
    const std::size_t before = tool.runs.size();
    event.ExecuteActions(moment);
    tool.Advance(100);
    return tool.runs.size() == before + 1 ? tool.runs.back().mail : "no mail";
  }
  [[nodiscard]] static std::string Subject(const std::string& mail) {
    const std::string mark = "Subject: ";
    const std::size_t from = mail.find(mark) + mark.size();
    return mail.substr(from, mail.find("\r\n", from) - from);
  }

  FakeTool tool;
  ShareFolder share;
  SiteFolder site;
  LogCapture log;
  ZREventServer server;
};

TEST_F(MailAction, SubjectTellsProgramMomentAndEvent) {
  OwnEvent event;
  Load(event, "Bomba nº 1");
  EXPECT_EQ("Test - The event 'Bomba nº 1' has been activated", Subject(MailOf(event, 0)));
  EXPECT_EQ("Test - The event 'Bomba nº 1' is active", Subject(MailOf(event, 1)));
  EXPECT_EQ("Test - The event 'Bomba nº 1' has been deactivated", Subject(MailOf(event, 2)));
  EXPECT_EQ("Test - The event 'Bomba nº 1' has been acknowledged", Subject(MailOf(event, 3)));
  ASSERT_TRUE(SetStringLanguage("es"));
  EXPECT_EQ("Test - Se ha activado el evento 'Bomba nº 1'", Subject(MailOf(event, 0)));
}

TEST_F(MailAction, SubjectOfAMomentThatDoesNotExistIsTheProgramAlone) {
  OwnEvent event;
  Load(event);
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<mail><address>a@b</address></mail>"));
  ZREventActionMail action(&event);
  ASSERT_TRUE(action.LoadXml(document.Root()));
  EXPECT_TRUE(action.Execute(7));
  tool.Advance(100);
  ASSERT_EQ(1u, tool.runs.size());
  EXPECT_EQ("Test - ", Subject(tool.runs[0].mail));
}

TEST_F(MailAction, SubjectIsCutBehindItsBuffer) {
  OwnEvent event;
  Load(event, std::string(600, 'x'));
  EXPECT_EQ("Test - The event '" + std::string(511 - 11, 'x'), Subject(MailOf(event, 0)));
}

TEST_F(MailAction, NameIsNoFormat) {
  OwnEvent event;
  Load(event, "100 %ls %d %n");
  EXPECT_EQ("Test - The event '100 %ls %d %n' is active", Subject(MailOf(event, 1)));
}

TEST_F(MailAction, BodyShowsTheValuesOfTheMoment) {
  auto* const driver =
      static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")));
  driver->Set("LEVEL", 41);
  {
    OwnEvent event;
    Load(event, "Pump", "%n at %a1 °C");
    EXPECT_TRUE(MailOf(event, 0).ends_with("\r\n\r\nPump at 42 °C\r\n"));
    driver->Set("LEVEL", 50);
    EXPECT_TRUE(MailOf(event, 0).ends_with("\r\n\r\nPump at 51 °C\r\n"));
  }
  ZRDriver::UnregisterAll();
}

// A device's text is in the body only, whatever it says.
TEST_F(MailAction, TextOfADeviceChoosesNoRecipient) {
  auto* const driver =
      static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")));
  driver->SetText("LEVEL", "x\r\n.\r\nTo: eve@evil $(touch /tmp/canary)");
  {
    OwnEvent event;
    EventXml definition;
    definition.Condition("1 = 1")
        .Argument("[P.LEVEL]")
        .Actions("actions", "activate",
                 "<mail><message>%a1</message><address>ana@work</address></mail>");
    ASSERT_TRUE(event.LoadText(definition.Xml()));
    (void)MailOf(event, 0);
  }
  ASSERT_EQ(1u, tool.runs.size());
  EXPECT_EQ("ana@work", tool.runs[0].to);
  EXPECT_EQ(std::string::npos, tool.runs[0].script.find("eve"));
  EXPECT_NE(std::string::npos, tool.runs[0].mail.find("\r\n\r\nx\r\n.\r\nTo: eve@evil"));
  ZRDriver::UnregisterAll();
}

TEST_F(MailAction, TakesLiteralAddressesAsOftenAsTheyStandThere) {
  EXPECT_EQ("b@c,a@b,b@c", Addresses("<address>b@c</address><address></address>"
                                     "<address>a@b</address><other>x</other>"
                                     "<address>b@c</address>"));
}

TEST_F(MailAction, TakesAddressesOfUsersByIndex) {
  const auto user = [](const std::string& name, const std::string& index) {
    return "<users><user><id>" + name + "</id>" + index + "</user></users>";
  };
  EXPECT_EQ("ana@work", Addresses(user("ana", "<mail>0</mail>")));
  EXPECT_EQ("ana@home", Addresses(user("ana", "<mail>1.9</mail>")));
  EXPECT_EQ("ana@work", Addresses(user("ana", "<mail></mail>")));
  EXPECT_EQ("ana@work", Addresses(user("ana", "<mail>x</mail>")));
  for (const char* index : {"", "<mail>-1</mail>", "<mail>2</mail>", "<mail>1e300</mail>",
                            "<mail>-1e300</mail>", "<mail>nan</mail>", "<mail>inf</mail>"})
    EXPECT_EQ("dropped", Addresses(user("ana", index))) << index;
  EXPECT_EQ("dropped", Addresses(user("nobody", "<mail>0</mail>")));
  EXPECT_EQ("dropped", Addresses(user("", "<mail>0</mail>")));
  EXPECT_EQ("dropped", Addresses("<users><other><id>ana</id><mail>0</mail></other></users>"));
}

TEST_F(MailAction, TakesAddressesOfLists) {
  EXPECT_EQ("leo@work,guard@work", Addresses("<mailLists><mailList>night</mailList></mailLists>"));
  EXPECT_EQ("dropped", Addresses("<mailLists><mailList>empty</mailList><mailList></mailList>"
                                 "<mailList>none</mailList><list>night</list></mailLists>"));
}

TEST_F(MailAction, AddsAddressesOfUsersAndListsOnce) {
  EXPECT_EQ("leo@work,guard@work,ana@work",
            Addresses("<mailLists><mailList>night</mailList></mailLists>"
                      "<users><user><id>leo</id><mail>0</mail></user>"
                      "<user><id>ana</id><mail>0</mail></user></users>"));
  EXPECT_EQ("leo@work,leo@work",  // a literal one isn't compared
            Addresses("<users><user><id>leo</id><mail>0</mail></user></users>"
                      "<address>leo@work</address>"));
  EXPECT_EQ("leo@work", Addresses("<address>leo@work</address>"
                                  "<users><user><id>leo</id><mail>0</mail></user></users>"));
}

TEST_F(MailAction, IsDroppedWithoutARecipientAndUnderAnotherTag) {
  EXPECT_EQ("dropped", Addresses("<message>text</message>"));
  EXPECT_EQ("dropped", Addresses("<address>a@b</address>", "sms"));
}

TEST_F(MailAction, HasNothingToTellAClient) {
  ZREventActionMail action(nullptr);
  ZRString xml("as it was");
  EXPECT_FALSE(action.ProcessHttpServiceEventsActions(xml));
  EXPECT_EQ("as it was", Str(xml));
}

TEST_F(MailAction, LastOneTakesWhatIsLeftWithIt) {
  {
    OwnEvent event;
    Load(event);
    tool.FailThreadsAfter(0);
    event.ExecuteActions(kMomentActivate);
  }
  tool.FailThreadsAfter(-1);
  tool.Advance(60'000);
  EXPECT_TRUE(tool.runs.empty());
  OwnEvent event;
  Load(event);
  EXPECT_NE("no mail", MailOf(event, kMomentActivate));
  EXPECT_EQ(1u, log.Starting("There are 1 eMail messages to be sent in group 1...").size());
}

TEST_F(MailAction, CopyKeepsTheQueueAlive) {
  OwnEvent event;
  Load(event);  // an event with a name, for the copies' parent
  auto action = std::make_unique<ZREventActionMail>(&event);
  ZREventActionMail copy(*action);
  action.reset();
  copy = ZREventActionMail(&event);
  EXPECT_TRUE(copy.Execute(kMomentWhile));
  tool.Advance(100);
  EXPECT_EQ(1u, log.Starting("There are 0 eMail messages to be sent in group 1...").size());
}

}  // namespace

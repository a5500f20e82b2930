#include "zrevents/actions/zreventactionsms.h"

#include <gtest/gtest.h>

#include "host/systemevents/zrsystemeventsserver.h"
#include "host/tools/zrcoreexception.h"
#include "host/user/zrsystemuserssupport.h"
#include "support/fakemodemtool.h"
#include "support/logcapture.h"
#include "support/oneevent.h"
#include "zrevents/zreventstatus.h"

namespace {

constexpr const char* kUsers =
    "[[user]]\nname = \"ana\"\nphone = [\"+341\", \"+342\"]\n"
    "[[user]]\nname = \"leo\"\nphone = [\"+343\"]\n"
    "[[list]]\nname = \"night\"\nphone = [\"+343\", \"+344\", \"+344\"]\n"
    "[[list]]\nname = \"empty\"\n";
constexpr const char* kFolder = "[sms]\nsender = \"file\"\n";

// An event with SMS actions, in virtual time, with a folder to send to or a modem's program that
// the test plays.
class SmsAction : public ::testing::Test {
 protected:
  SmsAction() {
    Settings(kFolder);
    std::vector<ZRSettingProblem> none;
    EXPECT_TRUE(ZRSystemUsersSupport::Get().LoadText(kUsers, none, none));
    std::filesystem::create_directory(site.path / "sms");
    std::filesystem::permissions(site.path / "sms", std::filesystem::perms::owner_all);
    site.Write("config/default.xeve", "<main></main>");
    EXPECT_TRUE(server.LoadCfg());
    std::string reason;
    EXPECT_TRUE(ZRSystemEventsServer::get().UseDatabase(Database(), reason)) << reason;
  }
  ~SmsAction() override {
    ZRSystemEventsServer::get().Close();
    std::vector<ZRSettingProblem> none;
    (void)ZRSystemUsersSupport::Get().LoadText("", none, none);
    Settings("");
  }

  void Settings(const std::string& toml) const {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(ZRTessalySetup::Get().LoadText(toml, site.WidePath(), problems, warnings));
  }
  [[nodiscard]] ZRWString Database() const { return Wide((site.path / "events").string()); }
  // "class: text" of each system event.
  [[nodiscard]] std::vector<std::string> SystemEvents() const {
    std::vector<std::string> rows;
    std::string reason;
    ZRSystemEventsDatabase database;
    EXPECT_TRUE(database.OpenToRead(Database(), reason)) << reason;
    EXPECT_TRUE(database.ForEach(
        [&rows](std::string_view, std::string_view className, std::string_view text) {
          rows.push_back(std::string(className) + ": " + std::string(text));
        },
        reason));
    return rows;
  }

  // The numbers of an action with this inside; "dropped" if it doesn't load.
  [[nodiscard]] static std::string Phones(const std::string& inside,
                                          const std::string& tag = "sms") {
    XmlDocument document;
    EXPECT_TRUE(document.Parse(("<" + tag + ">" + inside + "</" + tag + ">").c_str()));
    ZREventActionSms action(nullptr);
    if (!action.LoadXml(document.Root())) return "dropped";
    std::string all;
    for (const ZRString& phone : action.Phones())
      all += (all.empty() ? "" : ",") + Str(phone);
    return all;
  }
  // An event with one SMS action at each moment.
  static void Load(OwnEvent& event, const std::string& message = "text",
                   const std::string& more = "") {
    EventXml definition;
    definition.Condition("1 = 1").Notify().Argument("[P.LEVEL]");
    const std::string sms =
        "<sms><message>" + message + "</message><phone>+341</phone>" + more + "</sms>";
    for (const char* moment : {"activate", "while", "deactivate", "acknowledge"})
      definition.Actions("actions", moment, sms);
    ASSERT_TRUE(event.LoadText(definition.Xml()));
  }
  // What is in the folder now, without the dates, by time; the folder is empty then.
  [[nodiscard]] std::vector<std::string> TakeSent() const {
    std::map<std::string, std::string> byName;
    for (const auto& entry : std::filesystem::directory_iterator(site.path / "sms")) {
      std::string text = FileText(entry.path());
      const std::size_t date = text.find("Date: ");
      text.erase(date, text.find('\n', date) - date + 1);
      byName[entry.path().filename().string()] = text;
      std::filesystem::remove(entry.path());
    }
    std::vector<std::string> texts;
    for (const auto& [name, text] : byName)
      texts.push_back(text);
    return texts;
  }
  [[nodiscard]] std::vector<std::string> SentBy(OwnEvent& event, int moment) {
    event.ExecuteActions(moment);
    time.Advance(100);
    return TakeSent();
  }

  using tagTexts = std::vector<std::string>;

  FakeModemTool time;
  ShareFolder share;
  SiteFolder site;
  LogCapture log;
  ZREventServer server;
};

// --- loading ---

TEST_F(SmsAction, TakesLiteralNumbersAsOftenAsTheyStandThere) {
  EXPECT_EQ("+342,+341,+342", Phones("<phone>+342</phone><phone></phone><phone>+341</phone>"
                                     "<other>x</other><phone>+342</phone>"));
}

TEST_F(SmsAction, TakesNumbersOfUsersByIndex) {
  const auto user = [](const std::string& name, const std::string& index) {
    return "<users><user><id>" + name + "</id>" + index + "</user></users>";
  };
  EXPECT_EQ("+341", Phones(user("ana", "<phone>0</phone>")));
  EXPECT_EQ("+342", Phones(user("ana", "<phone>1.9</phone>")));
  EXPECT_EQ("+341", Phones(user("ana", "<phone></phone>")));
  EXPECT_EQ("+341", Phones(user("ana", "<phone>x</phone>")));
  for (const char* index :
       {"", "<phone>-1</phone>", "<phone>2</phone>", "<phone>1e300</phone>",
        "<phone>-1e300</phone>", "<phone>nan</phone>", "<phone>inf</phone>", "<mail>0</mail>"})
    EXPECT_EQ("dropped", Phones(user("ana", index))) << index;
  EXPECT_EQ("dropped", Phones(user("nobody", "<phone>0</phone>")));
  EXPECT_EQ("dropped", Phones(user("", "<phone>0</phone>")));
  EXPECT_EQ("dropped", Phones("<users><other><id>ana</id><phone>0</phone></other></users>"));
}

TEST_F(SmsAction, TakesNumbersOfLists) {
  EXPECT_EQ("+343,+344", Phones("<phoneLists><phoneList>night</phoneList></phoneLists>"));
  EXPECT_EQ("dropped", Phones("<phoneLists><phoneList>empty</phoneList><phoneList></phoneList>"
                              "<phoneList>none</phoneList><list>night</list></phoneLists>"));
}

TEST_F(SmsAction, AddsNumbersOfUsersAndListsOnce) {
  const std::string leo = "<users><user><id>leo</id><phone>0</phone></user></users>";
  EXPECT_EQ("+343,+344",
            Phones("<phoneLists><phoneList>night</phoneList></phoneLists>" + leo + leo));
  EXPECT_EQ("+343,+343", Phones(leo + "<phone>+343</phone>"));  // a literal one isn't compared
  EXPECT_EQ("+343", Phones("<phone>+343</phone>" + leo));
}

TEST_F(SmsAction, IsDroppedWithoutANumberAndUnderAnotherTag) {
  EXPECT_EQ("dropped", Phones("<message>text</message>"));
  EXPECT_EQ("dropped", Phones("<phone>+341</phone>", "mail"));
}

TEST_F(SmsAction, WithoutAnElementThrows) {
  ZREventActionSms action(nullptr);
  try {
    (void)action.LoadXml(nullptr);
    FAIL() << "nothing was thrown";
  } catch (const Domain::CoreExceptionNS::CoreException& thrown) {
    EXPECT_EQ(Domain::CoreExceptionNS::ExceptionType::General, thrown.Type());
    EXPECT_STREQ("", thrown.what());
  }
}

TEST_F(SmsAction, HasNothingToTellAClient) {
  ZREventActionSms action(nullptr);
  ZRString xml("as it was");
  EXPECT_FALSE(action.ProcessHttpServiceEventsActions(xml));
  EXPECT_EQ("as it was", Str(xml));
}

TEST_F(SmsAction, IsAKindOfAction) {
  EXPECT_NE(ZREventActionKinds::kUnknown, ZREventActionKinds::KindOf("sms"));
}

// --- sending ---

TEST_F(SmsAction, SendsTheSameTextAtAllMoments) {
  OwnEvent event;
  Load(event, "Pump");
  for (int moment = kMomentActivate; moment <= kMomentAcknowledge; ++moment)
    EXPECT_EQ((tagTexts{"To: +341\n\nPump\n"}), SentBy(event, moment));
}

TEST_F(SmsAction, TextShowsTheValuesOfTheMoment) {
  auto* const driver =
      static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")));
  driver->Set("LEVEL", 41);
  {
    OwnEvent event;
    Load(event, "%n at %a1 °C");
    EXPECT_EQ((tagTexts{"To: +341\n\nPump at 41 °C\n"}), SentBy(event, kMomentWhile));
    driver->Set("LEVEL", 50);
    EXPECT_EQ((tagTexts{"To: +341\n\nPump at 50 °C\n"}), SentBy(event, kMomentWhile));
  }
  ZRDriver::UnregisterAll();
}

// A device's text is in the text only, whatever it says.
TEST_F(SmsAction, TextOfADeviceChoosesNoNumber) {
  auto* const driver =
      static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")));
  driver->SetText("LEVEL", "x\nTo: +666\n\n$(touch /tmp/canary)");
  {
    OwnEvent event;
    Load(event, "%a1");
    EXPECT_EQ((tagTexts{"To: +341\n\nx To: +666  $(touch /tmp/canary)\n"}),
              SentBy(event, kMomentWhile));
  }
  ZRDriver::UnregisterAll();
}

TEST_F(SmsAction, LongTextIsCutUnlessTheBreakIsForced) {
  const std::string message = std::string(160, 'x') + "rest";
  const auto parts = [&](const std::string& force) {
    OwnEvent event;
    Load(event, message, force);
    return SentBy(event, kMomentActivate).size();
  };
  EXPECT_EQ(2u, parts(""));
  EXPECT_EQ(2u, parts("<forceBreakMessage>F</forceBreakMessage>"));
  EXPECT_EQ(1u, parts("<forceBreakMessage>T</forceBreakMessage>"));
  EXPECT_EQ(1u, parts("<forceBreakMessage>f</forceBreakMessage>"));
  EXPECT_EQ(1u, parts("<forceBreakMessage></forceBreakMessage>"));
}

TEST_F(SmsAction, LastOneTakesWhatIsLeftWithIt) {
  {
    OwnEvent event;
    Load(event);
    time.FailThreadsAfter(0);
    event.ExecuteActions(kMomentActivate);
  }
  time.FailThreadsAfter(-1);
  time.Advance(60'000);
  EXPECT_TRUE(TakeSent().empty());
  OwnEvent event;
  Load(event);
  EXPECT_EQ(1u, SentBy(event, kMomentActivate).size());
  EXPECT_EQ(1u, log.Starting("There are 1 SMS messages to be sent in group 1...").size());
}

TEST_F(SmsAction, CopyKeepsTheQueueAlive) {
  OwnEvent event;
  Load(event);
  XmlDocument document;
  ASSERT_TRUE(document.Parse("<sms><message>M</message><phone>+349</phone></sms>"));
  auto action = std::make_unique<ZREventActionSms>(&event);
  ASSERT_TRUE(action->LoadXml(document.Root()));
  ZREventActionSms copy(*action);
  action.reset();
  EXPECT_TRUE(copy.Execute(kMomentWhile));
  time.Advance(100);
  EXPECT_EQ((tagTexts{"To: +349\n\nM\n"}), TakeSent());
  copy = ZREventActionSms(&event);
  EXPECT_TRUE(copy.Phones().empty());
}

// --- the modem ---

TEST_F(SmsAction, ModemHasTheSettingsOfTheFirstAction) {
  Settings(
      "[preferences.modem]\nport = 3\nbaudRate = 19200\npin = 77\n"
      "[sms.devices]\n3 = \"/dev/ttyUSB9\"\n");
  OwnEvent event;
  Load(event, "M");
  Settings("[preferences.modem]\nport = 4\n");  // not for this queue
  time.results = {{123, 0}};
  event.ExecuteActions(kMomentActivate);
  time.Advance(100);
  ASSERT_EQ(3u, time.runs.size());
  EXPECT_NE(std::string::npos, time.runs[0].settings.find("device = /dev/ttyUSB9\n"));
  EXPECT_NE(std::string::npos, time.runs[0].settings.find("connection = at19200\n"));
  EXPECT_EQ("entersecuritycode PIN 0077\n", time.runs[1].batch);
  EXPECT_EQ((tagTexts{"sendsms", "TEXT", "+341", "-autolen", "160", "-textutf8", "M"}),
            time.runs[2].arguments);
  EXPECT_TRUE(SystemEvents().empty());
}

TEST_F(SmsAction, ModemHasDefaults) {
  Settings("[preferences.modem]\nport = 3\n");
  OwnEvent event;
  Load(event, "M");
  time.results = {{123, 0}};
  event.ExecuteActions(kMomentActivate);
  time.Advance(100);
  ASSERT_EQ(1u, time.runs.size());  // there is no PIN
  EXPECT_NE(std::string::npos, time.runs[0].settings.find("device = /dev/ttyS2\n"));
  EXPECT_NE(std::string::npos, time.runs[0].settings.find("connection = at9600\n"));
}

TEST_F(SmsAction, NextQueueReadsTheSettingsAnew) {
  Settings("");
  { const ZREventActionSms first(nullptr); }
  { const ZREventActionSms next(nullptr); }
  EXPECT_EQ(2u, SystemEvents().size());
  Settings(kFolder);
  OwnEvent event;
  Load(event, "M");
  EXPECT_EQ((tagTexts{"To: +341\n\nM\n"}), SentBy(event, kMomentActivate));
  EXPECT_EQ(2u, SystemEvents().size());
}

TEST_F(SmsAction, WithoutAPortTheFirstActionRaisesAnEventAndNothingIsSent) {
  Settings("");
  OwnEvent event;
  Load(event);  // four actions
  EXPECT_EQ((tagTexts{"SystemEventModemPortEmpty: The modem's port isn't set: no SMS will be "
                      "sent"}),
            SystemEvents());
  EXPECT_TRUE(log.Has(kLogConfiguration,
                      "No 'eventActionSmsSender' specified! No SMS message will be sent!"));
  Settings(kFolder);  // comes too late for this queue
  EXPECT_TRUE(SentBy(event, kMomentActivate).empty());
  EXPECT_EQ(1u, log.Starting("All SMS messages in group 1 completely sent.").size());
  EXPECT_EQ(1u, SystemEvents().size());
}

}  // namespace

#include "zrevents/actions/zreventaction.h"

#include <gtest/gtest.h>

#include "host/tools/zrcoreexception.h"
#include "host/tools/zruuid.h"
#include "support/actiontest.h"
#include "zrevents/actions/zreventactionbeep.h"
#include "zrevents/actions/zreventactiondevice.h"
#include "zrevents/actions/zreventactionforcevariable.h"
#include "zrevents/actions/zreventactionlaunchweb.h"
#include "zrevents/actions/zreventactionmail.h"
#include "zrevents/actions/zreventactionreport.h"
#include "zrevents/actions/zreventactionscreen.h"
#include "zrevents/actions/zreventactionshellexecute.h"
#include "zrevents/actions/zreventactionsms.h"

namespace {

// Nothing but the base.
class CPlainAction final : public ZREventAction {
 public:
  explicit CPlainAction(ZREventDriver* owner) : ZREventAction(owner) {}
  bool Execute(int) override { return true; }
};

class EventAction : public ActionTest {
 protected:
  template <typename Action>
  std::string ToldOf(const std::string& xml) {
    Action action(event.get());
    return action.LoadXml(Node(xml)) ? Told(action) : "not loaded";
  }
  static std::string IdOf(ZREventAction& action) {
    ZRString xml;
    EXPECT_TRUE(action.ProcessHttpServiceEventsActions(xml));
    const std::string text = Str(xml);
    return text.substr(4, text.find("</id>") - 4);
  }
};

// --- the base ---

TEST_F(EventAction, HasANewIdUntilItIsGivenOne) {
  CPlainAction first(nullptr);
  CPlainAction second(nullptr);
  const std::string drawn = IdOf(first);
  EXPECT_EQ(drawn.size(), kUuidTextLength);
  EXPECT_NE(wtouuid(Wide(drawn)), uuid::null);
  EXPECT_NE(drawn, IdOf(second));
  EXPECT_EQ(drawn, IdOf(first)) << "the same for its whole life";
  EXPECT_TRUE(first.LoadXml(Node("<a></a>")));
  EXPECT_TRUE(first.LoadXml(Node("<a><id></id></a>")));
  EXPECT_EQ(drawn, IdOf(first));
  EXPECT_TRUE(first.LoadXml(Node("<a><id>\xC3\xB1 &lt;1&gt;</id></a>")));
  EXPECT_EQ("\xC3\xB1 <1>", IdOf(first)) << "any text, and raw";
}

TEST_F(EventAction, BaseAppendsItsIdToWhatIsThere) {
  CPlainAction action(nullptr);
  ASSERT_TRUE(action.LoadXml(Node("<a><id>7</id></a>")));
  ZRString xml("before");
  EXPECT_TRUE(action.ProcessHttpServiceEventsActions(xml));
  EXPECT_EQ("before<id>7</id>", Str(xml));
}

TEST_F(EventAction, CopyHasTheIdAndTheEvent) {
  Make();
  const CPlainAction action(event.get());
  CPlainAction copy(action);
  CPlainAction other(nullptr);
  CPlainAction original(action);
  EXPECT_EQ(IdOf(copy), IdOf(original));
  EXPECT_EQ(copy.Parent(), event.get());
  other = action;
  EXPECT_EQ(IdOf(other), IdOf(original));
  EXPECT_EQ(other.Parent(), event.get());
}

TEST_F(EventAction, CopyHasTheValuesToo) {
  const auto isCopied = [this]<typename Action>(const std::string& xml, Action*) {
    Action action(nullptr);
    EXPECT_TRUE(action.LoadXml(Node(xml)));
    Action copy(action);
    Action other(nullptr);
    other = action;
    const std::string told = Told(action);
    return told == Told(copy) && told == Told(other);
  };
  const std::string name = "<name>x</name>";
  EXPECT_TRUE(isCopied("<beep/>", static_cast<ZREventActionBeep*>(nullptr)));
  EXPECT_TRUE(
      isCopied("<device>" + name + "</device>", static_cast<ZREventActionDevice*>(nullptr)));
  EXPECT_TRUE(
      isCopied("<report>" + name + "</report>", static_cast<ZREventActionReport*>(nullptr)));
  EXPECT_TRUE(
      isCopied("<screen>" + name + "</screen>", static_cast<ZREventActionScreen*>(nullptr)));
  EXPECT_TRUE(isCopied("<launchWeb><url>x</url><window>TAB</window></launchWeb>",
                       static_cast<ZREventActionLaunchWeb*>(nullptr)));
}

TEST_F(EventAction, WithoutAnEventParentThrows) {
  using namespace Domain::CoreExceptionNS;
  const CPlainAction action(nullptr);
  try {
    (void)action.Parent();
    FAIL() << "nothing was thrown";
  } catch (const CoreException& thrown) {
    EXPECT_EQ(thrown.Type(), ExceptionType::General);
    EXPECT_STREQ(thrown.what(), "");
  }
}

// --- what clients do ---

TEST_F(EventAction, FragmentsAreWrittenAsTheyStand) {
  const std::string id = "<id>7</id>";
  EXPECT_EQ(ToldOf<ZREventActionBeep>("<beep>" + id + "</beep>"), id + "<what>BEEP</what>");
  EXPECT_EQ(ToldOf<ZREventActionDevice>("<device>" + id +
                                        "<name>Hall \xC3\xB1 &amp; &lt;b&gt;"
                                        "</name></device>"),
            id + "<what>DEVICE</what><how>Hall \xC3\xB1 & <b></how>");
  EXPECT_EQ(ToldOf<ZREventActionReport>("<report>" + id + "<name>%n</name></report>"),
            id + "<what>REPORT</what><how>%n</how>")
      << "nothing is expanded";
  EXPECT_EQ(ToldOf<ZREventActionScreen>("<screen>" + id + "<name>Plan</name></screen>"),
            id + "<what>SCREEN</what><how>Plan</how>");
  const auto page = [&](const std::string& window) {
    return ToldOf<ZREventActionLaunchWeb>("<launchWeb>" + id +
                                          "<url>http://h/?a=1&amp;b=%a1</url><window>" + window +
                                          "</window></launchWeb>");
  };
  EXPECT_EQ(page("TAB"), id + "<what>LAUNCHWEB</what><how>#http://h/?a=1&b=%a1</how>");
  for (const char* window : {"WINDOW", "tab", "TAB ", "T"})
    EXPECT_EQ(page(window), id + "<what>LAUNCHWEB</what><how>http://h/?a=1&b=%a1</how>") << window;
}

TEST_F(EventAction, OfAnotherTagIsNotLoaded) {
  for (const std::string tag : {"Beep", "beeps", "action"}) {
    const std::string xml =
        "<" + tag + "><name>x</name><url>x</url><window>x</window></" + tag + ">";
    EXPECT_EQ(ToldOf<ZREventActionBeep>(xml), "not loaded");
    EXPECT_EQ(ToldOf<ZREventActionDevice>(xml), "not loaded");
    EXPECT_EQ(ToldOf<ZREventActionReport>(xml), "not loaded");
    EXPECT_EQ(ToldOf<ZREventActionScreen>(xml), "not loaded");
    EXPECT_EQ(ToldOf<ZREventActionLaunchWeb>(xml), "not loaded");
  }
}

TEST_F(EventAction, OfAnotherTagKeepsItsId) {
  ZREventActionBeep action(nullptr);
  const std::string before = IdOf(action);
  EXPECT_FALSE(action.LoadXml(Node("<report><id>7</id></report>")));
  EXPECT_EQ(before, IdOf(action));
}

TEST_F(EventAction, WithoutItsValueIsNotLoaded) {
  for (const std::string inside : {"", "<name></name>", "<Name>x</Name>"}) {
    EXPECT_EQ(ToldOf<ZREventActionDevice>("<device>" + inside + "</device>"), "not loaded");
    EXPECT_EQ(ToldOf<ZREventActionReport>("<report>" + inside + "</report>"), "not loaded");
    EXPECT_EQ(ToldOf<ZREventActionScreen>("<screen>" + inside + "</screen>"), "not loaded");
  }
  for (const std::string inside :
       {"", "<url>http://h</url>", "<window>TAB</window>", "<url>http://h</url><window></window>",
        "<url></url><window>TAB</window>"})
    EXPECT_EQ(ToldOf<ZREventActionLaunchWeb>("<launchWeb>" + inside + "</launchWeb>"), "not loaded")
        << inside;
}

TEST_F(EventAction, OfAClientDoesNothingOnTheServer) {
  Make();
  const std::pair<const char*, std::string> all[] = {
      {"beep", "<beep></beep>"},
      {"device", "<device><name>x</name></device>"},
      {"report", "<report><name>x</name></report>"},
      {"screen", "<screen><name>x</name></screen>"},
      {"launchWeb", "<launchWeb><url>x</url><window>x</window></launchWeb>"}};
  for (const auto& [tag, xml] : all) {
    const auto action = ZREventActionKinds::Make(ZREventActionKinds::KindOf(tag), event.get());
    ASSERT_TRUE(action->LoadXml(Node(xml)));
    const std::string told = Told(*action);
    for (const int moment : {0, 1, 2, 3, -1, 99})
      EXPECT_TRUE(action->Execute(moment));
    EXPECT_EQ(told, Told(*action));
    EXPECT_EQ(action->Parent(), event.get());
  }
  EXPECT_TRUE(time.started.empty());
  EXPECT_EQ(0, time.yields);
}

// --- kinds ---

TEST_F(EventAction, EachTagMakesItsClass) {
  const auto isMade = [this]<typename Action>(const char* tag, Action*) {
    const std::size_t kind = ZREventActionKinds::KindOf(tag);
    if (kind == ZREventActionKinds::kUnknown) return false;
    const auto action = ZREventActionKinds::Make(kind, event.get());
    return dynamic_cast<Action*>(action.get()) != nullptr;
  };
  EXPECT_TRUE(isMade("force", static_cast<ZREventActionForceVariable*>(nullptr)));
  EXPECT_TRUE(isMade("shellExecute", static_cast<ZREventActionShellExecute*>(nullptr)));
  EXPECT_TRUE(isMade("screen", static_cast<ZREventActionScreen*>(nullptr)));
  EXPECT_TRUE(isMade("report", static_cast<ZREventActionReport*>(nullptr)));
  EXPECT_TRUE(isMade("device", static_cast<ZREventActionDevice*>(nullptr)));
  EXPECT_TRUE(isMade("beep", static_cast<ZREventActionBeep*>(nullptr)));
  EXPECT_TRUE(isMade("mail", static_cast<ZREventActionMail*>(nullptr)));
  EXPECT_TRUE(isMade("sms", static_cast<ZREventActionSms*>(nullptr)));
  EXPECT_TRUE(isMade("launchWeb", static_cast<ZREventActionLaunchWeb*>(nullptr)));
  for (const char* tag : {"", "Beep", "shell", "web", "launchweb"})
    EXPECT_EQ(ZREventActionKinds::KindOf(tag), ZREventActionKinds::kUnknown) << tag;
}

}  // namespace

#include "zrevents/actions/zreventactionshellexecute.h"

#include <gtest/gtest.h>

#include "support/actiontest.h"
#include "support/logcapture.h"
#include "support/programfolder.h"
#include "zrevents/actions/zrstartedprocesses.h"

namespace {

using Strings = std::vector<std::string>;

class ShellExecute : public ActionTest {
 protected:
  ShellExecute() {
    driver->Set("X", 2.5);
    driver->SetText("T", "");
    Make(EventXml("Main pump")
             .Condition("1 = 1")
             .Argument("[P.X]", "1")
             .Argument("[P.T]")
             .Argument("1 +")
             .Argument("[P.NONE]"));
  }
  ~ShellExecute() override {
    time.living.clear();
    ZRStartedProcesses::Get().Reap();
  }

  static std::string Xml(const std::string& command, const std::string& parameter) {
    return "<shellExecute><id>7</id><command>" + command + "</command><parameter>" + parameter +
           "</parameter></shellExecute>";
  }
  [[nodiscard]] bool Loads(const std::string& xml) {
    action = std::make_unique<ZREventActionShellExecute>(event.get());
    return action->LoadXml(Node(xml));
  }
  // What is started, in its order.
  Strings Executed(int moment = 0) {
    time.started.clear();
    EXPECT_TRUE(action->Execute(moment));
    return time.started;
  }
  Strings Started(const std::string& command, const std::string& parameter) {
    EXPECT_TRUE(Loads(Xml(command, parameter)));
    return Executed();
  }
  std::string Fragment(const std::string& command, const std::string& parameter) {
    EXPECT_TRUE(Loads(Xml(command, parameter)));
    return Told(*action);
  }

  ProgramFolder programs;
  std::unique_ptr<ZREventActionShellExecute> action;
};

// --- what is loaded ---

TEST_F(ShellExecute, NeedsItsTagAndACommand) {
  EXPECT_TRUE(Loads("<shellExecute><command>x</command></shellExecute>"));
  EXPECT_FALSE(Loads("<shellExecute><command></command></shellExecute>"));
  EXPECT_FALSE(Loads("<shellExecute><parameter>x</parameter></shellExecute>"));
  EXPECT_FALSE(Loads("<shell><command>x</command></shell>"));
}

// --- the process ---

TEST_F(ShellExecute, StartsTheWordsOfTheLine) {
  EXPECT_EQ(Started("/bin/tool", ""), Strings{"/bin/tool"});
  EXPECT_EQ(Started("/bin/tool", "one  two"), Strings{"/bin/tool|one|two"});
  EXPECT_EQ(Started("/bin/tool -v", "one"), Strings{"/bin/tool|-v|one"});
  EXPECT_EQ(Started("\"/opt/my tool/run\" -v", "\"a b\" c"), Strings{"/opt/my tool/run|-v|a b|c"});
  EXPECT_EQ(Started("/opt/my tool/run", ""), Strings{"/opt/my|tool/run"});
  EXPECT_EQ(time.folders, std::set<std::string>{""}) << "the host's own folder";
}

TEST_F(ShellExecute, MomentHasNoInfluenceAndEachExecutionStartsAnother) {
  ASSERT_TRUE(Loads(Xml("/bin/tool", "")));
  for (const int moment : {0, 1, 1, 2, 3, -1, 99})
    EXPECT_EQ(Executed(moment), Strings{"/bin/tool"});
  EXPECT_EQ(time.living.size(), 7u);
}

TEST_F(ShellExecute, ParameterIsExpandedAtEachExecution) {
  ASSERT_TRUE(Loads(Xml("/bin/tool", "%n %a1 %% %t%g1 %a9")));
  EXPECT_EQ(Executed(), Strings{"/bin/tool|Main|pump|2.5|%|%g1|%a9"});
  driver->Set("X", -3);
  EXPECT_EQ(Executed(), Strings{"/bin/tool|Main|pump|-3.0|%|%g1|%a9"});
}

TEST_F(ShellExecute, CommandIsNotExpanded) {
  EXPECT_EQ(Started("/bin/%n", ""), Strings{"/bin/%n"});
}

TEST_F(ShellExecute, MarkOfAnArgumentWithoutAValueIsPartOfTheLine) {
  EXPECT_EQ(Started("/bin/tool", "%a3 x"), Strings{"/bin/tool|1|+|##|invalid|expression|##|x"});
  EXPECT_EQ(Started("/bin/tool", "\"%a4\""),
            Strings{"/bin/tool|[P.NONE] ## could not avaluate ##"});
}

TEST_F(ShellExecute, EachArgumentIsEvaluatedOnce) {
  const LogCapture log;
  Started("/bin/tool", "%a3 %a3");
  EXPECT_EQ(log.Starting("Event 'Main pump': invalid expression").size(), 2u);
}

// --- what a device says ---

TEST_F(ShellExecute, TextOfADeviceIsDividedLikeTheRestOfTheLine) {
  driver->SetText("T", "Boiler room 3");
  EXPECT_EQ(Started("/bin/tool", "--at %a2 --now"), Strings{"/bin/tool|--at|Boiler|room|3|--now"});
  EXPECT_EQ(Started("/bin/tool", "--at \"%a2\" --now"),
            Strings{"/bin/tool|--at|Boiler room 3|--now"});
}

TEST_F(ShellExecute, TextOfADeviceMakesNoOptionAndNoProgram) {
  driver->SetText("T", "a \" b");
  EXPECT_EQ(Started("/bin/tool", "%a2 x"), Strings{"/bin/tool|a|\"|b|x"});
  EXPECT_EQ(Started("/bin/tool", "\"%a2\" x"), Strings{"/bin/tool|a \" b|x"});
  driver->SetText("T", "--delete -r");
  EXPECT_EQ(Started("/bin/tool", "%a2"), Strings{"/bin/tool|delete|r"});
  EXPECT_EQ(Started("/bin/tool", "\"%a2\""), Strings{"/bin/tool|delete -r"});
  EXPECT_EQ(Started("/bin/tool", "--what=%a2"), Strings{"/bin/tool|--what=--delete|r"});
  driver->SetText("T", "/evil");
  EXPECT_EQ(Started("\"/bin/tool", "%a2"), Strings{"/bin/tool|/evil"}) << "an open quote";
  EXPECT_EQ(Started("/bin/tool", "%%a2"), Strings{"/bin/tool|%a2"});
}

// --- the length ---

TEST_F(ShellExecute, LineOf260UnitsIsStartedByNeitherWay) {
  const std::string opener = programs.Add("xdg-open");
  const std::string command = "/bin/tool";
  const auto parameter = [&](std::size_t line) {
    return std::string(line - command.size() - 1, 'x');
  };
  EXPECT_EQ(Started(command, parameter(259)), Strings{command + "|" + parameter(259)});
  EXPECT_EQ(Started(command, parameter(260)), Strings{});
  EXPECT_EQ(Started(command, parameter(5000)), Strings{});
  const std::string longCommand = "/" + std::string(257, 'x');  // and the blank behind it: 259
  EXPECT_EQ(Started(longCommand, ""), Strings{longCommand});
  EXPECT_EQ(Started(longCommand + "x", ""), Strings{});
  time.refused.insert(command);
  EXPECT_EQ(Started(command, parameter(260)), Strings{}) << "nor opened";
}

TEST_F(ShellExecute, LengthIsThatOfTheExpandedLineInUnits) {
  driver->SetText("T", std::string(246, 'x'));
  EXPECT_EQ(Started("/bin/tool", "%n").size(), 1u);
  EXPECT_EQ(Started("/bin/tool", "%a2 yz"), Strings{"/bin/tool|" + std::string(246, 'x') + "|yz"});
  EXPECT_EQ(Started("/bin/tool", "%a2 yzz"), Strings{});
  std::string pairs;
  for (int count = 0; count < 124; ++count)
    pairs += "\xF0\x9F\x94\xA5";  // two units each
  EXPECT_EQ(Started("/bin/tool", pairs + "x"), Strings{"/bin/tool|" + pairs + "x"});
  EXPECT_EQ(Started("/bin/tool", pairs + "xx"), Strings{});
}

// --- the second way ---

TEST_F(ShellExecute, WhatCannotBeStartedIsOpened) {
  const std::string opener = programs.Add("xdg-open");
  time.refused = {"/doc/plan.pdf", "http://host/?a=1&b=%n", "/my", "./-v"};
  EXPECT_EQ(Started("/doc/plan.pdf", "page 7"), Strings{opener + "|/doc/plan.pdf"});
  EXPECT_EQ(Started("http://host/?a=1&amp;b=%n", ""), Strings{opener + "|http://host/?a=1&b=%n"});
  EXPECT_EQ(Started("/my plan.pdf", ""), Strings{opener + "|/my plan.pdf"}) << "as a whole";
  EXPECT_EQ(Started("none", ""), Strings{opener + "|none"}) << "not in PATH";
  EXPECT_EQ(Started("-v", ""), Strings{opener + "|./-v"}) << "never an option";
  EXPECT_EQ(Started("\"\"", "x"), Strings{opener + "|\"\""});
  EXPECT_EQ(Started("  ", ""), Strings{opener + "|  "});
}

TEST_F(ShellExecute, WhatCanBeStartedIsNotOpened) {
  (void)programs.Add("xdg-open");
  const std::string tool = programs.Add("tool");
  EXPECT_EQ(Started("tool", "x"), Strings{tool + "|x"});
  EXPECT_EQ(Started("/bin/tool", ""), Strings{"/bin/tool"});
}

TEST_F(ShellExecute, WhatCannotBeOpenedEitherIsToldNowhere) {
  const LogCapture log;
  time.refused = {"/doc/plan.pdf", (programs.path / "xdg-open").string()};
  EXPECT_EQ(Started("/doc/plan.pdf", "x"), Strings{}) << "no opener";
  (void)programs.Add("xdg-open");
  EXPECT_EQ(Started("/doc/plan.pdf", "x"), Strings{}) << "one that can't be started";
  EXPECT_EQ(log.Lines(), std::vector<LogCapture::tagLine>{});
}

// --- clients ---

TEST_F(ShellExecute, FragmentHasTheLineAsItIsNow) {
  const std::string front = "<id>7</id><what>LAUNCH</what><how>";
  EXPECT_EQ(Fragment("notes &lt;1&gt;", ""), front + "notes <1></how>");
  EXPECT_EQ(Fragment("%n", "%n &amp; %a1"), front + "%n Main pump & 2.5</how>");
  driver->Set("X", 7);
  EXPECT_EQ(Told(*action), front + "%n Main pump & 7.0</how>");
  driver->SetText("T", "--all \"x\"");
  EXPECT_EQ(Fragment("x", "%a2"), front + "x --all \"x\"</how>") << "raw";
  EXPECT_EQ(Fragment("x", "%t"), front + "x </how>") << "a parameter that expands to nothing";
  const std::string parameter(1000, 'x');
  EXPECT_EQ(Fragment("x", parameter), front + "x " + parameter + "</how>") << "of any length";
  EXPECT_EQ(time.started, Strings{});
}

TEST_F(ShellExecute, CopyStartsTheSame) {
  ASSERT_TRUE(Loads(Xml("/bin/tool", "%a1")));
  ZREventActionShellExecute copy(*action);
  ZREventActionShellExecute assigned(nullptr);
  assigned = *action;
  EXPECT_EQ(Told(copy), Told(*action));
  action.reset();
  EXPECT_TRUE(copy.Execute(0));
  EXPECT_TRUE(assigned.Execute(0));
  EXPECT_EQ(time.started, (Strings{"/bin/tool|2.5", "/bin/tool|2.5"}));
}

}  // namespace

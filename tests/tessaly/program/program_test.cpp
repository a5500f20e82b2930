#include "tessaly/program/programfixture.h"

#include <csignal>

#include "support/httpclient.h"
#include "support/sourcedir.h"

namespace {

// --- run ---

TEST_F(Program, ServesItsEventsToCurlUntilItIsTerminated) {
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  EXPECT_TRUE(Says("] active: Always\n") || program->WaitFor("] active: Always\n"));
  const std::string base = "http://127.0.0.1:" + std::to_string(port) + "/services/events/";
  const std::pair<const char*, const char*> expected[] = {
      {"actived.xml", "<activedEvents><event>"},
      {"notified.xml", "<notifiedEvents><event>"},
      {"counts.xml", "<counts><actived>1</actived><notified>1</notified></counts>"}};
  for (const auto& [file, text] : expected) {
    RunningProgram curl({"curl", "-sS", "--fail", "--compressed", "--max-time", "10", base + file});
    EXPECT_EQ(curl.Wait(), 0) << file << curl.Error();
    EXPECT_TRUE(curl.Out().starts_with("<?xml ")) << curl.Out();
    EXPECT_NE(curl.Out().find(text), std::string::npos) << curl.Out();
  }
  EXPECT_EQ(Stop(), kDone);
  EXPECT_TRUE(program->Error().ends_with("] stopped\n")) << program->Error();
  EXPECT_EQ(program->Out(), "");
  EXPECT_FALSE(HttpClient(port).IsConnected());
}

TEST_F(Program, ReloadsWhatHasChangedAndKeepsWhatIsBetterThanABrokenFile) {
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  const auto names = [port](const char* name) {
    const HttpReply reply = HttpClient(port).Get("/services/events/actived.xml");
    return reply.body.find(std::string("<name>") + name + "</name>") != std::string::npos;
  };

  site.Write("config/default.xeve", "<main>\n<events></main>");
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("config/default.xeve:2:11: broken: mismatched tag\n"));
  EXPECT_TRUE(program->WaitFor("not reloaded: the configuration in force stays\n"));
  EXPECT_TRUE(names("Always"));

  Settings("timezone = \"Mars/Olympus\"\n");
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("there is no zone 'Mars/Olympus'\n"));
  EXPECT_TRUE(program->WaitFor("not reloaded: the configuration in force stays\n"));
  EXPECT_TRUE(names("Always"));

  Settings("http.port = 1\n");
  Events(EventXml("Ever", 2).Condition("[sim.LEVEL] = 2.5").With("record", "yes"));
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("] reloading\n"));
  EXPECT_TRUE(program->WaitFor("default.xeve:3: changed: event 'Ever': 'record' is 'yes'"));
  EXPECT_TRUE(program->WaitFor("1 events of "));
  EXPECT_TRUE(Says("] active: Ever\n") || program->WaitFor("] active: Ever\n"));
  EXPECT_TRUE(names("Ever"));
  EXPECT_FALSE(names("Always"));
  EXPECT_FALSE(Says("http.port")) << "--port holds, whatever the settings say";
  EXPECT_EQ(Stop(), kDone);
}

TEST_F(Program, TakesOverTheWebServersSettingsAndStopsOnAnInterruptToo) {
  Settings("http.port = 0\n");
  const std::uint16_t port = Start({});
  ASSERT_NE(port, 0) << program->Error();
  const std::string url = "http://127.0.0.1:" + std::to_string(port);
  const auto ask = [&] {
    HttpClient client(port);
    (void)client.Send("GET /readyz HTTP/1.1\r\nHost: hall.example\r\n\r\n");
    return client.ReceiveReply();
  };
  EXPECT_EQ(ask().status, 403);
  Settings("[http]\nport = 0\nnames = [\"hall.example\"]\n");
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("the web server has new settings: " + url + "\n"));
  EXPECT_TRUE(program->WaitFor("1 events of "));
  EXPECT_EQ(ask().body, "ok\n");
  EXPECT_EQ(Stop(SIGINT), kDone);
}

TEST_F(Program, KeepsItsWebServerWhereItCannotHaveAnother) {
  const SiteFolder other;
  Settings("http.port = 0\n");
  const std::uint16_t taken = Start({});
  ASSERT_NE(taken, 0) << program->Error();
  const std::unique_ptr<RunningProgram> first = std::move(program);
  std::filesystem::copy(site.path / "config", other.path / "config",
                        std::filesystem::copy_options::recursive);
  other.Write("tessaly.toml", "http.port = 0\n");
  program = std::make_unique<RunningProgram>(Words({"run", other.path.string()}));
  ASSERT_TRUE(program->WaitFor(" shows what is active\n")) << program->Error();
  other.Write("tessaly.toml", "http.port = " + std::to_string(taken) + "\n");
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("the web server stays as it was: port " + std::to_string(taken) +
                               " of 127.0.0.1 is in use\n"));
  EXPECT_TRUE(program->WaitFor("1 events of "));
  EXPECT_EQ(Stop(), kDone);
  first->Signal(SIGTERM);
  EXPECT_EQ(first->Wait(), kDone);
}

TEST_F(Program, SaysThatItsPortIsInUse) {
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  const SiteFolder other;
  std::filesystem::copy(site.path / "config", other.path / "config",
                        std::filesystem::copy_options::recursive);
  EXPECT_EQ(RunWith({"run", other.path.string(), "--port", std::to_string(port)}), kImpossible);
  EXPECT_NE(error.find("] the web server can't start: port " + std::to_string(port) +
                       " of 127.0.0.1 is in use\n"),
            std::string::npos)
      << error;
  EXPECT_EQ(error.find("active: "), std::string::npos) << "no event has begun";
}

TEST_F(Program, RunsASiteOnceAtATime) {
  ASSERT_NE(Start(), 0) << program->Error();
  EXPECT_EQ(Run({"run", "--port", "0"}), kImpossible);
  EXPECT_EQ(error, "tessaly: " + site.path.string() + " runs already\n");
  EXPECT_EQ(Run({"check"}), kDone) << "a look disturbs nobody";
  program->Signal(SIGKILL);
  EXPECT_EQ(program->Wait(), -1);
  EXPECT_NE(Start(), 0) << "the lock goes with its process: " << program->Error();
}

TEST_F(Program, SaysWhatItDroppedAndRunsTheRest) {
  site.Write("config/default.xeve", "<main><events>\n<e><name>No\x7f</name></e>\n" +
                                        EventXml("Yes").Condition("1 = 1").Xml() +
                                        "</events></main>");
  ASSERT_NE(Start(), 0) << program->Error();
  EXPECT_TRUE(Says("[error] config/default.xeve:2: dropped: event 'No\\x7f': it has no id\n"))
      << program->Error();
  EXPECT_TRUE(Says("1 events of "));
}

TEST_F(Program, RefusesASiteThatCannotBeUsed) {
  const std::string nowhere = (site.path / "none").string();
  for (const char* verb : {"run", "check", "replay"}) {
    EXPECT_EQ(RunWith({verb, nowhere}), kImpossible);
    EXPECT_NE((out + error).find(nowhere + ": broken: there is no such folder\n"),
              std::string::npos)
        << out << error;
  }
  EXPECT_EQ(RunWith({"eval", nowhere, "1"}), kImpossible);
  EXPECT_NE(error.find("there is no such folder\n"), std::string::npos) << error;

  site.Write("config/default.xtmt", "<main>\n<days>\n");
  EXPECT_EQ(Run({"run"}), kImpossible);
  EXPECT_NE(error.find("config/default.xtmt:3:1: broken: "), std::string::npos) << error;
  EXPECT_EQ(Run({"check"}), kImpossible);
  EXPECT_TRUE(out.starts_with("config/default.xtmt:3:1: broken: ")) << out;

  site.Write("tessaly.toml", "name = \"x\"\n  port 3\n");
  EXPECT_EQ(Run({"run"}), kImpossible);
  EXPECT_NE(error.find("tessaly.toml:2:8: broken: "), std::string::npos) << error;
  EXPECT_EQ(Run({"check"}), kImpossible);
  EXPECT_TRUE(out.starts_with("tessaly.toml:2:8: broken: ")) << out;
}

TEST_F(Program, SaysThatItsLogCannotBeOpened) {
  Settings("log.target = \"none/tessaly.log\"\n");
  EXPECT_EQ(Run({"run", "--port", "0"}), kImpossible);
  EXPECT_TRUE(error.starts_with("tessaly: the log can't be opened: ")) << error;
}

// --- check ---

TEST_F(Program, CheckEndsWithOneIfSomethingWasDropped) {
  EXPECT_EQ(Run({"check"}), kDone);
  EXPECT_EQ(out, site.path.string() + ": 1 events, 8 groups, 0 time tables\n");
  EXPECT_EQ(error, "");

  Events(EventXml("Always").Condition("[sim.NONE] = 1").With("notify", "no"));
  EXPECT_EQ(Run({"check"}), kDone) << "a change and a hint";
  EXPECT_NE(out.find("config/default.xeve:3: changed: "), std::string::npos) << out;
  EXPECT_NE(out.find("config/default.xeve:3: hint: "), std::string::npos) << out;

  Events(EventXml("Always").Condition("[sim.LEVEL]"));
  EXPECT_EQ(Run({"check"}), kFaulty);
  EXPECT_TRUE(
      out.starts_with("config/default.xeve:3: dropped: event 'Always': its condition gives "))
      << out;
}

TEST_F(Program, CheckOfTheSampleSiteIsClean) {
  const std::string house = RepositoryPath("examples/house");
  EXPECT_EQ(RunWith({"check", house}), kDone);
  EXPECT_EQ(out, house + ": 16 events, 11 groups, 1 time tables\n");
}

TEST_F(Program, OutputThatCannotBeWrittenIsAFault) {
  RunningProgram shell(
      {"sh", "-c", "exec " + TessalyProgram() + " check '" + site.path.string() + "' >/dev/full"});
  EXPECT_EQ(shell.Wait(), kFaulty);
  EXPECT_EQ(shell.Error(), "tessaly: standard output can't be written\n");
}

// --- eval ---

TEST_F(Program, EvaluatesOnLiveValues) {
  const std::tuple<const char*, int, const char*> cases[] = {
      {"[sim.LEVEL] * 2", kDone, "class 0 (value)\n5\n"},
      {"[sim.LEVEL]", kDone, "class 0 (value)\n2.5\n"},
      {"[sim.LEVEL] > 2", kDone, "class 1 (true or false)\ntrue\n"},
      {"[Always.ST] = 1", kDone, "class 1 (true or false)\nfalse\n"},
      {"\"a b\"", kDone, "class 0 (value)\ntext \"a b\"\n"},
      {"1 / 0", kFaulty, "class 0 (value)\nno value: it divides by zero\n"},
      {"[sim.NONE]", kFaulty,
       "class 0 (value)\nno value: it reads a variable that no driver has\n"},
      {"1 + ", kFaulty, "1 + \n    ^\nwrong at character 5: a value is expected here\n"},
      {"\t+ )", kFaulty, "\\t+ )\n  ^\nwrong at character 2: a value is expected here\n"},
  };
  for (const auto& [expression, exitCode, text] : cases) {
    EXPECT_EQ(Run({"eval", expression}), exitCode) << expression;
    EXPECT_EQ(out, text) << expression;
    EXPECT_EQ(error, "");
  }
}

TEST_F(Program, NumbersHaveAPointInEveryLanguage) {
  Settings("language = \"es\"\n");
  EXPECT_EQ(Run({"eval", "[sim.LEVEL]"}), kDone);
  EXPECT_EQ(out, "class 0 (value)\n2.5\n");
}

// --- words ---

TEST_F(Program, AnswersToItsOptions) {
  EXPECT_EQ(RunWith({"--version"}), kDone);
  EXPECT_TRUE(out.starts_with("tessaly ")) << out;
  EXPECT_EQ(RunWith({"--help"}), kDone);
  EXPECT_NE(out.find("Usage: tessaly"), std::string::npos) << out;
  EXPECT_EQ(RunWith({}), kImpossible);
  EXPECT_EQ(RunWith({"walk"}), kImpossible);
}

}  // namespace

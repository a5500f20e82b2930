// The feed of a site at work, to curl.

#include <csignal>

#include "tessaly/program/programfixture.h"

namespace {

class ProgramFeed : public Program {
 protected:
  ProgramFeed() {
    Settings("feed.active = true\n");
    Events(EventXml("Always", 1).Condition("1 = 1").With("rssActivate", "T"));
  }

  // What curl gets, with the status behind it.
  static std::string Fetch(std::uint16_t port) {
    RunningProgram curl({"curl", "-sS", "--max-time", "10", "-w", "%{http_code}",
                         "http://127.0.0.1:" + std::to_string(port) + "/html/events.rss"});
    EXPECT_EQ(curl.Wait(), 0) << curl.Error();
    return curl.Out();
  }
};

TEST_F(ProgramFeed, TellsOfTransitionsUntilItIsTurnedOff) {
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  ASSERT_TRUE(Says("] active: Always\n") || program->WaitFor("] active: Always\n"));
  const std::string feed = Fetch(port);
  EXPECT_NE(feed.find("<item><title>Always (Activated)</title>"), std::string::npos) << feed;
  EXPECT_TRUE(feed.ends_with("</channel></rss>200")) << feed;
  const std::string link = "<link>http://localhost:" + std::to_string(port) + "</link>";
  EXPECT_NE(feed.find(link), std::string::npos) << feed;

  Settings("feed.active = false\n");
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("tessaly.toml: hint: events that publish to the feed: 1, but "));
  EXPECT_TRUE(program->WaitFor("1 events of "));
  EXPECT_EQ(Fetch(port), "There is no feed.\n404");
  EXPECT_EQ(Stop(), kDone);
}

TEST_F(ProgramFeed, FailureIsSaidInTheLog) {
  site.Write("html", "no folder");
  ASSERT_NE(Start(), 0) << program->Error();
  EXPECT_TRUE(Says("the feed can't be written: ")) << program->Error();
  EXPECT_TRUE(program->WaitFor("] the feed can't be written in the folder html\n"));
  EXPECT_EQ(Stop(), kDone);
}

}  // namespace

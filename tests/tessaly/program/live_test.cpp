// The verbs that ask a running site, against the program itself.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tessaly/program/programfixture.h"

namespace {

constexpr const char* kPassword = "correct horse";

class LiveVerbs : public Program {
 protected:
  // Asks the running site. What was said is in `out` and `error`.
  int Ask(const std::string& verb, const std::vector<std::string>& more = {}) {
    std::vector<std::string> words{verb, "--port", port};
    words.insert(words.end(), more.begin(), more.end());
    return Run(words);
  }
  // The same as a user, whose password is in the environment.
  int AskAs(const std::string& password, const std::string& verb,
            const std::vector<std::string>& more = {}) {
    std::vector<std::string> words{"/usr/bin/env",
                                   "TESSALY_PASSWORD=" + password,
                                   TessalyProgram(),
                                   verb,
                                   site.path.string(),
                                   "--port",
                                   port,
                                   "--user",
                                   "ana"};
    words.insert(words.end(), more.begin(), more.end());
    return RunProgram(words);
  }
  int RunProgram(const std::vector<std::string>& words) {
    RunningProgram once(words);
    const int exitCode = once.Wait();
    out = once.Out();
    error = once.Error();
    return exitCode;
  }
  int RunScript(const std::string& script) { return RunProgram({"/bin/sh", "-c", script}); }
  std::string Quoted(const std::string& word) const { return "'" + word + "'"; }

  void AddAna() {
    ASSERT_EQ(kDone,
              RunScript("printf '%s\\n' " + Quoted(kPassword) + " | " + Quoted(TessalyProgram()) +
                        " user add " + Quoted(site.path.string()) + " ana --administrator"))
        << error;
  }
  void StartSite() {
    const int listens = Start();
    ASSERT_NE(0, listens) << program->Error();
    port = std::to_string(listens);
  }
  // Asks until the table has `text`: the first pass of the engine comes soon.
  bool Shows(const std::string& verb, const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + RunningProgram::kPatience;
    do {
      if (Ask(verb) == kDone && out.find(text) != std::string::npos) return true;
    } while (std::chrono::steady_clock::now() < end);
    return false;
  }
  [[nodiscard]] std::string FirstId() const {
    const std::size_t at = out.find("  active  ");
    return at == std::string::npos ? "" : out.substr(at + 10, 36);
  }

  std::string port = "1";
};

TEST_F(LiveVerbs, SayThatNoSiteAnswers) {
  StartSite();
  EXPECT_EQ(kDone, Stop());
  EXPECT_EQ(kImpossible, Ask("active"));
  EXPECT_EQ("", out);
  EXPECT_EQ("tessaly: no site answers at http://127.0.0.1:" + port + ": nobody listens there\n",
            error);
  EXPECT_EQ(kImpossible, RunWith({"active", "/nowhere"}));
}

TEST_F(LiveVerbs, ShowWhatIsActiveAndAcknowledge) {
  StartSite();
  ASSERT_TRUE(Shows("active", "  Always")) << out << error;
  EXPECT_TRUE(out.starts_with("Began  ")) << out;
  ASSERT_TRUE(Shows("notified", "  active  ")) << out << error;
  const std::string id = FirstId();
  EXPECT_EQ(kDone, Ask("ack", {id})) << error;
  EXPECT_EQ(
      "http://127.0.0.1:" + port + " has taken 1 ids; tessaly notified shows what still waits\n",
      out);
  EXPECT_EQ(kDone, Ask("notified"));
  EXPECT_NE(out.find("  active, acknowledged  " + id), std::string::npos) << out;
}

TEST_F(LiveVerbs, HaveTheFormatsOfTheHistory) {
  StartSite();
  ASSERT_TRUE(Shows("active", "  Always")) << out << error;
  EXPECT_EQ(kDone, Ask("active", {"--format", "csv"}));
  EXPECT_TRUE(out.starts_with("began,group,event,text,")) << out;
  EXPECT_EQ(kDone, Ask("active", {"--format", "json"}));
  EXPECT_TRUE(out.starts_with("[\n{\"began\": ")) << out;
  EXPECT_EQ(kDone, Ask("active", {"--format", "xml"}));
  EXPECT_TRUE(out.ends_with("</event></activedEvents>")) << out;
}

TEST_F(LiveVerbs, TellTheGroupsOfTheSite) {
  site.Write("config/default.xeve",
             "<main><eventsGroups>" +
                 GroupXml("bbbbbbbb-0000-4000-8000-000000000001", "North hall") +
                 "</eventsGroups><events>" +
                 EventXml("Always", 1)
                     .Condition("1 = 1")
                     .Notify()
                     .Group("bbbbbbbb-0000-4000-8000-000000000001")
                     .Xml() +
                 "</events></main>");
  StartSite();
  EXPECT_TRUE(Shows("active", "  North hall")) << out << error;
  EXPECT_TRUE(Shows("notified", "  North hall")) << out << error;
}

TEST_F(LiveVerbs, LogIn) {
  AddAna();
  StartSite();
  const std::string place = "http://127.0.0.1:" + port;
  EXPECT_EQ(kFaulty, Ask("active"));
  EXPECT_EQ("tessaly: " + place + " wants to know who asks: --user NAME\n", error);
  EXPECT_EQ(kDone, AskAs(kPassword, "active")) << error;
  EXPECT_TRUE(out.starts_with("Began")) << out;
  EXPECT_EQ(kDone, AskAs(kPassword, "ack", {"nothing"})) << error;
  EXPECT_EQ(kDone,
            RunScript("printf '%s\\n' " + Quoted(kPassword) + " | " + Quoted(TessalyProgram()) +
                      " notified " + Quoted(site.path.string()) + " --user ana --port " + port))
      << error;
  EXPECT_EQ(kFaulty, AskAs("a wrong one", "active"));
  EXPECT_EQ("tessaly: " + place + " doesn't know this user, or not with this password\n", error);
  EXPECT_EQ(kFaulty, AskAs("a wrong one", "ack", {"nothing"}));
}

TEST_F(LiveVerbs, NeedAPasswordForAUser) {
  EXPECT_EQ(kImpossible, RunScript(Quoted(TessalyProgram()) + " active " +
                                   Quoted(site.path.string()) + " --user ana --port 1 </dev/null"));
  EXPECT_EQ("tessaly: there is no password on standard input nor in TESSALY_PASSWORD\n", error);
}

TEST_F(LiveVerbs, TrustTheCertificateOfTheSiteAndNoOther) {
  for (const char* name : {"own", "other"}) {
    const std::string path = (site.path / name).string();
    ASSERT_EQ(kDone, RunProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                                 "ec_paramgen_curve:P-256", "-nodes", "-days", "2", "-subj",
                                 "/CN=hall.example", "-addext", "subjectAltName=DNS:hall.example",
                                 "-keyout", path + ".key", "-out", path + ".pem"}))
        << error;
    ASSERT_EQ(0, ::chmod((path + ".key").c_str(), 0600));
  }
  Settings("[http]\nnames = [\"hall.example\"]\ncertificate = \"own.pem\"\nkey = \"own.key\"\n");
  AddAna();
  program = std::make_unique<RunningProgram>(Words({"run", site.path.string(), "--port", "0"}));
  ASSERT_TRUE(program->WaitFor(" shows what is active\n")) << program->Error();
  const std::string log = program->Error();
  const std::size_t at = log.rfind("/services/");
  const std::size_t colon = log.rfind(':', at);
  port = log.substr(colon + 1, at - colon - 1);
  EXPECT_EQ(kDone, AskAs(kPassword, "active")) << error;
  EXPECT_EQ(kImpossible, AskAs(kPassword, "active", {"--ca", (site.path / "other.pem").string()}));
  EXPECT_NE(error.find("its certificate isn't one to trust, or not one of hall.example"),
            std::string::npos)
      << error;
  EXPECT_EQ(kImpossible, AskAs(kPassword, "active", {"--ca", (site.path / "none").string()}));
}

}  // namespace

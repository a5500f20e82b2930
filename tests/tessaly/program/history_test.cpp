#include <csignal>

#include "support/httpclient.h"
#include "support/sourcedir.h"
#include "tessaly/program/programfixture.h"

namespace {

// A site with one recorded event, and what is kept of it.
class History : public Program {
 protected:
  History() { Events(EventXml("Always", 1).Condition("1 = 1").Notify().Record()); }

  // Looks until the history of the running site holds `text`.
  bool Shows(const std::string& text, const std::vector<std::string>& more = {}) {
    std::vector<std::string> words{"history"};
    words.insert(words.end(), more.begin(), more.end());
    const auto end = std::chrono::steady_clock::now() + RunningProgram::kPatience;
    do {
      (void)Run(words);
      if (out.find(text) != std::string::npos) return true;
    } while (std::chrono::steady_clock::now() < end);
    return false;
  }
  // One more record of the event.
  void RunAndKill() {
    const std::string before = Content(DataFile());
    ASSERT_NE(Start(), 0) << program->Error();
    const auto end = std::chrono::steady_clock::now() + RunningProgram::kPatience;
    while (Content(DataFile()).size() <= before.size() || Verify() != kDone || HasHint()) {
      ASSERT_LT(std::chrono::steady_clock::now(), end) << out;
    }
    program->Signal(SIGKILL);
    EXPECT_EQ(program->Wait(), -1);
  }
  [[nodiscard]] bool HasHint() const { return out.find(".suc: hint: ") != std::string::npos; }
  // `history verify` and `history dump`, whose words stand in another order.
  int Verify() { return RunWith({"history", "verify", site.path.string()}); }
  int Dump(const std::filesystem::path& file) {
    return RunWith({"history", "dump", file.string()});
  }
  // The only data file.
  [[nodiscard]] std::filesystem::path DataFile() const {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(site.path / "data"))
      if (entry.path().extension() == ".suc") return entry.path();
    return {};
  }
  [[nodiscard]] std::string Content(const std::filesystem::path& path) const {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }
  bool Says(const std::string& text) const { return error.find(text) != std::string::npos; }
};

TEST_F(History, OfTheSampleSiteOutlivesAKill) {
  std::filesystem::copy(
      RepositoryPath("examples/house"), site.path,
      std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
  ASSERT_NE(Start(), 0) << program->Error();
  // Its pump runs for 12 s of every 30.
  EXPECT_TRUE(Shows("  Pump running\n")) << out << error;
  program->Signal(SIGKILL);
  EXPECT_EQ(program->Wait(), -1);

  EXPECT_EQ(Run({"history"}), kDone) << error;
  EXPECT_NE(out.find("not over"), std::string::npos) << out;
  EXPECT_NE(out.find("  Pump running\n"), std::string::npos) << out;
  EXPECT_EQ(Verify(), kDone) << out << error;
  EXPECT_NE(out.find("; damaged: 0 files, 0 records\n"), std::string::npos) << out;
}

TEST_F(History, IsTheSameFromTheServiceAndFromTheProgram) {
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  ASSERT_TRUE(Shows("</record></loggerEvents>", {"--format", "xml"})) << out << error;
  const HttpReply reply = HttpClient(port).Get(
      "/services/events/logger.xml?from=2000-01-01&to=2099-01-01T00:00:00%2B01:00");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, out);
  EXPECT_EQ(error, "");
}

TEST_F(History, CanBeAskedForOneEventAPeriodAndWhatIsOpen) {
  ASSERT_NE(Start(), 0) << program->Error();
  ASSERT_TRUE(Shows("  Always\n")) << out << error;
  EXPECT_EQ(Stop(), kDone);
  EXPECT_EQ(Run({"history", "--event", "Always", "--open"}), kDone) << error;
  EXPECT_NE(out.find("not over  not yet       Always\n"), std::string::npos) << out;
  EXPECT_EQ(Run({"history", "--totals"}), kDone) << error;
  EXPECT_NE(out.find("\nAlways            1      0             0  0 s\n"), std::string::npos)
      << out;
  EXPECT_EQ(Run({"history", "--from", "2000-01-01", "--to", "2001-01-01"}), kDone) << error;
  EXPECT_EQ(out, "Began  Lasted  Acknowledged  Event  Text\n");

  EXPECT_EQ(Run({"history", "--event", "Always", "--event", "Ne\x1bver"}), kFaulty);
  EXPECT_EQ(out, "");
  EXPECT_EQ(error, "tessaly: " + site.path.string() + " has no event 'Ne\\x1bver'\n");
  EXPECT_EQ(Run({"history", "--from", "2001-01-01", "--to", "2000-01-01"}), kImpossible);
  EXPECT_EQ(error, "tessaly: from lies behind to\n");
}

TEST_F(History, ThatIsDamagedIsSaidToBeSo) {
  RunAndKill();
  RunAndKill();
  const std::string two = Content(DataFile());
  RunAndKill();
  const std::filesystem::path file = DataFile();
  EXPECT_EQ(Dump(file), kDone) << error;
  EXPECT_TRUE(out.starts_with("      0  ")) << out;
  EXPECT_NE(out.find("Z  ON\n      2  "), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with("Z  ON\n")) << out;
  const std::string dumped = out;
  const std::filesystem::path copy = site.path / "a copy";
  std::filesystem::copy_file(file, copy);
  EXPECT_EQ(Dump(copy), kDone) << error;
  EXPECT_EQ(dumped, out);
  EXPECT_EQ(Dump(site.path / "no copy"), kImpossible);
  EXPECT_TRUE(Says("no copy can't be read: No such file or directory")) << error;

  std::string bytes = Content(file);
  ASSERT_GT(bytes.size(), two.size());
  bytes[two.size() - 5] = static_cast<char>(~bytes[two.size() - 5]);
  std::ofstream(file, std::ios::binary) << bytes;
  std::ofstream(file.string() + ".torn-1") << "x";
  EXPECT_EQ(Verify(), kFaulty) << out;
  EXPECT_NE(out.find(".suc: damaged: 1 of 3 records can't be read\n"), std::string::npos) << out;
  EXPECT_NE(out.find(".suc.torn-1: hint: bytes of a write that was cut off, set aside\n"),
            std::string::npos)
      << out;
  EXPECT_TRUE(out.ends_with(": 1 data files, 3 records; damaged: 1 files, 1 records\n")) << out;
  EXPECT_EQ(Dump(file), kFaulty);
  EXPECT_NE(out.find("Z  ON\n      1  damaged\n      2  "), std::string::npos) << out;
  EXPECT_EQ(Run({"history"}), kFaulty);
  EXPECT_TRUE(out.ends_with("  Always\n")) << out;
  EXPECT_TRUE(Says("couldn't be read: tessaly history verify")) << error;
  EXPECT_EQ(Dump(site.path / "tessaly.toml"), kImpossible);
  EXPECT_TRUE(Says("can't be read: ")) << error;
  EXPECT_FALSE(Says("Success")) << error;
}

TEST_F(History, OfACutOffWriteHasAHint) {
  RunAndKill();
  std::ofstream(DataFile(), std::ios::binary | std::ios::app) << "torn";
  EXPECT_EQ(Verify(), kDone) << out;
  EXPECT_NE(out.find(".suc: hint: 4 bytes of a write that was cut off: the next record sets them "
                     "aside\n"),
            std::string::npos)
      << out;
  RunAndKill();
  EXPECT_EQ(Verify(), kDone) << out;
  EXPECT_NE(out.find(".suc.torn-1: hint: "), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with(": 1 data files, 2 records; damaged: 0 files, 0 records\n")) << out;
}

TEST_F(History, HasItsFolderMade) {
  Settings("data = \"new\"\n");
  EXPECT_EQ(Run({"check"}), kDone);
  EXPECT_NE(out.find("new/: hint: no such folder: the next run makes it\n"), std::string::npos);
  ASSERT_NE(Start(), 0) << program->Error();
  EXPECT_TRUE(Shows("  Always\n")) << out << error;
}

TEST_F(History, ThatCannotBeWrittenIsSaidToBeLost) {
  site.Write("file", "");
  Settings("data = \"file\"\n");
  EXPECT_EQ(Run({"check"}), kFaulty);
  EXPECT_NE(out.find("file/: dropped: no history can be written: "), std::string::npos) << out;
  ASSERT_NE(Start(), 0) << program->Error();
  EXPECT_NE(program->Error().find("[error] file/: dropped: no history can be written: "),
            std::string::npos);
  EXPECT_TRUE(program->WaitFor("] 1 records of the history wait to be written: data files "))
      << program->Error();
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("] 1 records of the history were still waiting and are lost\n"));
  EXPECT_TRUE(program->WaitFor("] 1 records of the history wait to be written: data files "));
  EXPECT_EQ(Stop(), kDone);
  EXPECT_TRUE(program->WaitFor("] 1 records of the history were still waiting and are lost\n"));
  EXPECT_TRUE(program->WaitFor("] data files since the start: "));
}

TEST_F(History, FollowsAnEventWithANewName) {
  ASSERT_NE(Start(), 0) << program->Error();
  ASSERT_TRUE(Shows("  Always\n")) << out << error;
  std::filesystem::copy(site.path / "config/default.xeve", site.path / "old.xeve");
  Events(EventXml("Ever", 1).Condition("1 = 1").Notify().Record());
  const std::string old = (site.path / "old.xeve").string();
  EXPECT_EQ(Run({"rename", "--old", old}), kImpossible);
  EXPECT_EQ(error, "tessaly: " + site.path.string() + " runs: stop it first\n");
  EXPECT_EQ(Run({"rename", "--old", old, "--dry-run"}), kDone) << error;
  EXPECT_NE(out.find("\n1 events have a new name: 1 files move, 0 stay\n"), std::string::npos)
      << out;
  EXPECT_EQ(DataFile().filename().string().substr(0, 7), "Always ");
  EXPECT_EQ(Stop(), kDone);

  EXPECT_EQ(Run({"rename", "--old", old}), kDone) << out << error;
  EXPECT_TRUE(out.ends_with("1 files moved\n")) << out;
  EXPECT_EQ(DataFile().filename().string().substr(0, 5), "Ever ");
  EXPECT_EQ(Run({"history"}), kDone);
  EXPECT_NE(out.find("  Ever\n"), std::string::npos) << out;
  EXPECT_EQ(Run({"rename", "--old", "none.xeve"}), kImpossible);
}

TEST_F(History, IsNotTouchedByAReplay) {
  Settings(
      "[[driver]]\ntype = \"replay\"\nname = \"r\"\nfile = \"r.csv\"\n"
      "date_columns = \"T\"\ndate_format = \"%s\"\n");
  site.Write("r.csv", "T,V\n1767225600,7\n");
  EXPECT_EQ(Run({"replay"}), kDone) << error;
  EXPECT_NE(out.find("active: Always"), std::string::npos) << out;
  EXPECT_TRUE(std::filesystem::is_empty(site.path / "data"));
}

}  // namespace

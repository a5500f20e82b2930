// The sample site of Modbus meters, with the meters that aren't there.

#include <csignal>
#include <fstream>
#include <sstream>

#include "support/sourcedir.h"
#include "tessaly/program/programfixture.h"

namespace {

namespace fs = std::filesystem;

class Meters : public Program {
 protected:
  Meters() : meter({RepositoryPath("examples/modbusmeter"), "--port", "0"}) {
    EXPECT_TRUE(meter.WaitFor("port ") && meter.WaitFor(".")) << meter.Error();
    const std::string said = meter.Error();
    const std::string port = said.substr(5, said.find('.') - 5);
    const fs::path example = RepositoryPath("examples/meters");
    fs::copy(example, site.path,
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    std::ifstream file(example / "tessaly.toml");
    std::stringstream settings;
    settings << file.rdbuf();
    std::string text = settings.str();
    const std::string fixed = "port = 8502";
    text.replace(text.find(fixed), fixed.size(), "port = " + port);
    site.Write("tessaly.toml", text);
  }
  int Ask(const std::vector<std::string>& words) {
    std::vector<std::string> all = words;
    all.insert(all.begin() + 1, {"--port", std::to_string(listens)});
    return Run(all);
  }
  // Asks until the answer has `text`.
  bool Shows(const std::string& text, const std::string& format = "csv") {
    const auto end = std::chrono::steady_clock::now() + RunningProgram::kPatience;
    do {
      if (Ask({"drivers", "--format", format}) == kDone && out.find(text) != std::string::npos)
        return true;
    } while (std::chrono::steady_clock::now() < end);
    return false;
  }

  RunningProgram meter;
  int listens = 0;
};

TEST_F(Meters, AreShownAndForced) {
  listens = Start();
  ASSERT_NE(0, listens) << program->Error();
  ASSERT_TRUE(Shows("hall,M3.ONLINE,1,")) << out;
  EXPECT_NE(std::string::npos, out.find("hall,M2.LIMIT,15,kW,good,")) << out;
  EXPECT_EQ(kDone, Ask({"force", "hall.M2.LIMIT", "12.5"})) << error;
  EXPECT_EQ("hall.M2.LIMIT shows 12.5\n", out);
  EXPECT_TRUE(Shows("hall,M2.LIMIT,12.5,kW,good,")) << out;
  EXPECT_EQ(kFaulty, Ask({"force", "hall.M2.LIMIT", "101"}));
  EXPECT_EQ(kFaulty, Ask({"force", "hall.M2.POWER", "1"}));
  EXPECT_EQ(kFaulty, Ask({"force", "hall.M2.NONE", "1"}));
  EXPECT_EQ(kDone, Stop());
  EXPECT_FALSE(Says("broken")) << program->Error();
  EXPECT_FALSE(Says("dropped")) << program->Error();
}

TEST_F(Meters, SayWhenTheyAreAway) {
  listens = Start();
  ASSERT_TRUE(Shows("hall,M3.ONLINE,1,")) << out;
  meter.Signal(SIGKILL);
  EXPECT_TRUE(Shows("driver 'hall' is offline: 127.0.0.1:", "table")) << out;
  EXPECT_EQ(kFaulty, Ask({"force", "hall.M2.LIMIT", "12"}));
  EXPECT_TRUE(Says("active: Meter 3 is away") || program->WaitFor("active: Meter 3 is away"));
  EXPECT_EQ(kDone, Stop());
}

}  // namespace

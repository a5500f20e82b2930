// tessaly user, and what a running site makes of it.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "support/httpclient.h"
#include "tessaly/program/programfixture.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kTaken = "A site that runs takes it over within a few seconds.\n";

class UserProgram : public Program {
 protected:
  // With `input` on standard input. The exit code; what was said is in `out` and `error`.
  int User(const std::vector<std::string>& words, const std::string& input = "") {
    site.Write("input", input);
    return RunIn("input", words);
  }
  // With a file of the site, or a device, on standard input.
  int RunIn(const std::string& input, const std::vector<std::string>& words) {
    const std::unique_ptr<RunningProgram> once = Begin(input, words);
    const int exitCode = once->Wait();
    out = once->Out();
    error = once->Error();
    return exitCode;
  }
  std::unique_ptr<RunningProgram> Begin(const std::string& input,
                                        const std::vector<std::string>& words) const {
    std::vector<std::string> line{
        "sh",   "-c",     "exec \"$@\" <\"$0\"", (site.path / input).string(), TessalyProgram(),
        "user", words[0], site.path.string()};
    line.insert(line.end(), words.begin() + 1, words.end());
    return std::make_unique<RunningProgram>(std::move(line));
  }
  [[nodiscard]] std::string Logins() const {
    std::ostringstream text;
    text << std::ifstream(site.path / "config/logins.toml").rdbuf();
    return text.str();
  }
};

TEST_F(UserProgram, ReadsAPasswordThatNobodySees) {
  ASSERT_EQ(User({"add", "ana"}, "open sesame\nand more\n"), kDone) << error;
  EXPECT_EQ(out,
            std::string("user 'ana' is added; from now on everybody has to log in\n") + kTaken);
  EXPECT_EQ(error, "");
  // printf 'ana:Tessaly:open sesame' | sha256sum
  EXPECT_NE(Logins().find(
                "sha256 = \"d2f162a153b3b38b2928345e157b97ed9e12fdb90f42427aa92e53b4d684d24a\""),
            std::string::npos)
      << Logins();
  EXPECT_EQ(Logins().find("md5"), std::string::npos);
  EXPECT_EQ(fs::status(site.path / "config/logins.toml").permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(User({"list"}), kDone);
  EXPECT_EQ(out, "user ana\n");
}

TEST_F(UserProgram, KeepsMd5WhenTheSettingsSaySo) {
  Settings("http.md5 = true\n");
  ASSERT_EQ(User({"add", "ana"}, "open sesame\n"), kDone) << error;
  EXPECT_NE(Logins().find("md5 = \""), std::string::npos);
  Settings("");
  ASSERT_EQ(User({"passwd", "ana"}, "open sesame\n"), kDone) << error;
  EXPECT_EQ(Logins().find("md5"), std::string::npos);
}

TEST_F(UserProgram, GrantsByNameOrId) {
  ASSERT_EQ(User({"add", "ana"}, "open sesame\n"), kDone) << error;
  EXPECT_EQ(User({"grant", "ana", "active", "General"}), kDone) << error;
  EXPECT_EQ(User({"grant", "guard", "--role", "notified", "*"}), kDone) << error;
  EXPECT_EQ(User({"grant", "guard", "--role", "remote-active", "sim"}), kDone) << error;
  EXPECT_EQ(User({"join", "ana", "guard"}), kDone) << error;
  EXPECT_EQ(User({"list"}), kDone);
  EXPECT_EQ(out,
            "user ana\n  role guard\n  active: General (22222222-2222-2222-2222-222222222222)\n"
            "role guard\n  notified: all\n  remote-active: sim\n");
  EXPECT_EQ(User({"revoke", "ana", "active", "22222222-2222-2222-2222-222222222222"}), kDone);
  EXPECT_EQ(User({"leave", "ana", "guard"}), kDone) << error;
  EXPECT_EQ(User({"remove", "guard", "--role"}), kDone) << error;
  EXPECT_EQ(User({"list"}), kDone);
  EXPECT_EQ(out, "user ana\n");
}

TEST_F(UserProgram, SaysWhatItCannotDo) {
  ASSERT_EQ(User({"add", "ana"}, "open sesame\n"), kDone) << error;
  const std::string before = Logins();
  const struct {
    int exitCode;
    std::vector<std::string> words;
    std::string input;
    std::string error;
  } cases[] = {
      {kFaulty, {"add", "ana"}, "", "there is a user 'ana' already"},
      {kFaulty, {"passwd", "leo"}, "", "there is no user 'leo'"},
      {kFaulty,
       {"revoke", "ana", "active", "*"},
       "",
       "user 'ana' wasn't given that right: active on '*'"},
      {kImpossible, {"add", "leo"}, "", "there is no password on standard input"},
      {kImpossible, {"add", "a:b"}, "", "the name must have 1 to 100 bytes"},
      {kImpossible, {"add", "leo"}, "short\n", "the password must have at least 8 characters"},
      {kImpossible, {"add", "leo"}, "12345678\r\n", "the password must have at least 8 characters"},
      {kImpossible, {"add", "leo"}, std::string(2000, 'x'), "the password must have at least 8"},
      {kImpossible, {"grant", "ana", "active", "Nowhere"}, "", "there is no group 'Nowhere'"},
      {kImpossible, {"grant", "ana", "remote-active", "x"}, "", "there is no driver 'x'"}};
  for (const auto& wrong : cases) {
    EXPECT_EQ(User(wrong.words, wrong.input), wrong.exitCode) << wrong.error;
    EXPECT_EQ(error.rfind("tessaly: " + wrong.error, 0), 0u) << error;
    EXPECT_EQ(out, "");
  }
  EXPECT_EQ(Logins(), before);
}

TEST_F(UserProgram, RefusesAFileThatOthersMayRead) {
  ASSERT_EQ(User({"add", "ana"}, "open sesame\n"), kDone) << error;
  fs::permissions(site.path / "config/logins.toml", fs::perms::others_read, fs::perm_options::add);
  const std::string complaint = "config/logins.toml: broken: its mode must be 0600: others may";
  EXPECT_EQ(User({"add", "leo"}, "open sesame\n"), kImpossible);
  EXPECT_NE(error.find(complaint), std::string::npos) << error;
  EXPECT_EQ(Run({"check"}), kImpossible);
  EXPECT_NE(out.find(complaint), std::string::npos) << out;
  EXPECT_EQ(Run({"run", "--port", "0"}), kImpossible);
  EXPECT_NE(error.find(complaint), std::string::npos) << error;
}

// --- on a terminal ---

class UserTerminal : public UserProgram {
 protected:
  UserTerminal() : keys(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(::grantpt(keys), 0);
    EXPECT_EQ(::unlockpt(keys), 0);
    char name[64] = {};
    EXPECT_EQ(::ptsname_r(keys, name, sizeof name), 0);
    device = name;
    held = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  ~UserTerminal() override {
    ::close(held);
    ::close(keys);
  }
  // Answers the two questions. The exit code.
  int Add(const std::string& first, const std::string& second) {
    program = Begin(device, {"add", "ana"});
    EXPECT_TRUE(program->WaitFor("Password of ana: "));
    Type(first + "\n");
    if (program->WaitFor("Once more: ")) Type(second + "\n");
    return program->Wait();
  }
  void Type(const std::string& text) const {
    ASSERT_EQ(::write(keys, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  int keys;
  int held = -1;  // so that the device lives on between two programs
  std::string device;
};

TEST_F(UserTerminal, AsksTwice) {
  EXPECT_EQ(Add("open sesame", "open sesame"), kDone) << program->Error();
  EXPECT_NE(Logins().find("d2f162a153b3b38b2928345e157b97ed9e12fdb90f42427aa92e53b4d684d24a"),
            std::string::npos);
  EXPECT_EQ(program->Error(), "Password of ana: \nOnce more: \n");
}

TEST_F(UserTerminal, RefusesTwoPasswordsThatDiffer) {
  EXPECT_EQ(Add("open sesame", "open sesamo"), kImpossible);
  EXPECT_EQ(program->Error(),
            "Password of ana: \nOnce more: \ntessaly: the two passwords aren't the same\n");
  EXPECT_FALSE(fs::exists(site.path / "config/logins.toml"));
}

TEST_F(UserTerminal, EndsWithASignal) {
  program = Begin(device, {"add", "ana"});
  ASSERT_TRUE(program->WaitFor("Password of ana: "));
  program->Signal(SIGINT);
  EXPECT_EQ(program->Wait(), kImpossible);
  EXPECT_EQ(program->Error(), "Password of ana: \ntessaly: given up\n");
}

// --- a running site ---

TEST_F(UserProgram, IsNoticedByARunningSite) {
  ASSERT_NE(Start(), 0) << program->Error();
  EXPECT_TRUE(
      Says("] no user is defined: nobody needs to log in, and only this machine is served\n"));
  ASSERT_EQ(User({"add", "ana"}, "open sesame\n"), kDone) << error;
  EXPECT_TRUE(program->WaitFor("] 1 users may log in\n"));
  ASSERT_EQ(User({"remove", "ana"}), kDone) << error;
  EXPECT_TRUE(program->WaitFor("] no user is left: nobody can log in until the next start\n"));
  EXPECT_EQ(Stop(), kDone);
}

TEST_F(UserProgram, GivesAStrangerNothing) {
  ASSERT_EQ(User({"add", "ana", "--administrator"}, "open sesame\n"), kDone) << error;
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  EXPECT_TRUE(Says("] 1 users may log in\n"));
  const HttpReply reply = HttpClient(port).Get("/services/events/actived.xml");
  EXPECT_EQ(reply.status, 401);
  EXPECT_EQ(reply.body.find("<event>"), std::string::npos);
  EXPECT_EQ(Stop(), kDone);
}

// The event is in the group General, as it names none.
TEST_F(UserProgram, HasRightsThatDecideWhatHeSees) {
  for (const char* name : {"leo", "zoe"})
    ASSERT_EQ(User({"add", name}, "open sesame\n"), kDone) << error;
  ASSERT_EQ(User({"grant", "leo", "active", "General"}), kDone) << error;
  ASSERT_EQ(User({"grant", "guard", "--role", "notified", "*"}), kDone) << error;
  ASSERT_EQ(User({"join", "zoe", "guard"}), kDone) << error;
  const std::uint16_t port = Start();
  ASSERT_NE(port, 0) << program->Error();
  ASSERT_TRUE(Says("] active: Always\n") || program->WaitFor("] active: Always\n"));
  const auto sees = [port](const std::string& name, const std::string& list) {
    RunningProgram curl({"curl", "-sS", "--fail", "--max-time", "10", "--digest", "--user",
                         name + ":open sesame",
                         "http://127.0.0.1:" + std::to_string(port) + "/services/events/" + list});
    EXPECT_EQ(curl.Wait(), 0) << name << curl.Error();
    return curl.Out().find("<event>") != std::string::npos;
  };
  EXPECT_TRUE(sees("leo", "actived.xml"));
  EXPECT_FALSE(sees("leo", "notified.xml"));
  EXPECT_FALSE(sees("zoe", "actived.xml"));
  EXPECT_TRUE(sees("zoe", "notified.xml"));
  ASSERT_EQ(User({"revoke", "leo", "active", "General"}), kDone) << error;
  EXPECT_TRUE(program->WaitFor("] 2 users may log in\n"));
  EXPECT_FALSE(sees("leo", "actived.xml"));
  EXPECT_EQ(Stop(), kDone);
}

}  // namespace

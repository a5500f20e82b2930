// Programs and documents, started for real.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <thread>

#include "support/oneevent.h"
#include "support/programfolder.h"
#include "zrevents/actions/zreventactionshellexecute.h"
#include "zrevents/actions/zrstartedprocesses.h"

namespace {

using Strings = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{5};

// Writes its words, with a NUL behind each.
constexpr const char* kRecorder = R"script(#!/bin/sh
here=${0%/*}
for word; do printf '%s\0' "$word"; done > "$here/words.part"
/bin/mv "$here/words.part" "$here/words"
)script";

// Writes what it finds around it, a line for each: the standard streams, the kernel's line about
// it, what it does with signals, the open files, the folder.
constexpr const char* kWitness = R"script(#!/bin/sh
PATH=/usr/bin:/bin
here=${0%/*}
streams="$(readlink /proc/$$/fd/0) $(readlink /proc/$$/fd/1) $(readlink /proc/$$/fd/2)"
{
  echo "$streams"
  cat /proc/$$/stat
  grep -E '^Sig(Blk|Ign)' /proc/$$/status | tr '\n\t' '  '; echo
  for fd in /proc/$$/fd/*; do readlink "$fd"; done | tr '\n' ' '; echo
  pwd
} > "$here/around.part"
mv "$here/around.part" "$here/around"
)script";

std::string Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

// Waits until `isTrue`; false if that takes too long.
template <typename Condition>
bool Comes(Condition isTrue) {
  for (const auto end = Clock::now() + kPatience; Clock::now() < end;) {
    if (isTrue()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return isTrue();
}

// Children of this process that have ended and nobody has waited for.
int Zombies() {
  int count = 0;
  const std::string parent = std::to_string(::getpid());
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    if (std::isdigit(static_cast<unsigned char>(entry.path().filename().string()[0])) == 0)
      continue;
    const std::string stat = Content(entry.path() / "stat");
    const std::size_t name = stat.rfind(')');
    if (name != std::string::npos && stat.substr(name + 2).starts_with("Z " + parent + " "))
      ++count;
  }
  return count;
}

class StartedForReal : public ::testing::Test {
 protected:
  StartedForReal()
      : driver(static_cast<TestDriver*>(ZRDriver::Register(std::make_unique<TestDriver>("P")))) {
    driver->SetText("T", "");
    EXPECT_TRUE(event.LoadText(EventXml("Main pump").Condition("1 = 1").Argument("[P.T]").Xml()));
    recorder = programs.Add("recorder", kRecorder);
    canary = (programs.path / "canary").string();
  }
  ~StartedForReal() override {
    EXPECT_TRUE(AllAreGivenBack());
    EXPECT_FALSE(std::filesystem::exists(canary));
    ZRDriver::UnregisterAll();
  }

  static bool AllAreGivenBack() {
    return Comes([] {
      ZRStartedProcesses::Get().Reap();
      return ZRStartedProcesses::Get().Size() == 0;
    });
  }

  void Execute(const std::string& command, const std::string& parameter) {
    XmlDocument document;
    document.Create(L"shellExecute");
    document.Root()->SetValue(L"command", Wide(command));
    document.Root()->SetValue(L"parameter", Wide(parameter));
    ZREventActionShellExecute action(&event);
    ASSERT_TRUE(action.LoadXml(document.Root()));
    EXPECT_TRUE(action.Execute(kMomentActivate));
  }
  // The words that the recorder finds.
  Strings Recorded() {
    const std::filesystem::path words = programs.path / "words";
    if (!Comes([&] { return std::filesystem::exists(words); })) return {"nothing was recorded"};
    const std::string content = Content(words);
    std::filesystem::remove(words);
    Strings found;
    for (std::size_t at = 0; at < content.size();) {
      const std::size_t end = content.find('\0', at);
      found.push_back(content.substr(at, end - at));
      at = end + 1;
    }
    return found;
  }
  Strings Executed(const std::string& parameter) {
    Execute(recorder, parameter);
    return Recorded();
  }
  // The same with the text of a device as the parameter.
  Strings ExecutedWithValue(const std::string& text, const std::string& parameter = "%a1") {
    driver->SetText("T", text);
    return Executed(parameter);
  }

  ProgramFolder programs;
  ZREventServer server;
  TestDriver* driver;
  OwnEvent event;
  std::string recorder;
  std::string canary;
};

// A character of each code from `first` to `last`, in UTF-8.
std::string Characters(int first, int last) {
  ZRWString text;
  for (int code = first; code <= last; ++code)
    text += static_cast<wchar_t>(code);
  return Narrow(text);
}

// What a shell, or a careless program, would make something of.
Strings Hostile(const std::string& canary) {
  const std::string touch = "touch " + canary;
  Strings all;
  for (const char* opener : {"; ", "& ", "&& ", "| ", "|| ", "\n", "\r\n", "\t", "' ; ", "\" ; ",
                             "\\\" ; ", "\\; ", "; exec ", "$IFS;", ") ; ", "} ; ", "# \n"})
    all.push_back("x" + (opener + touch));
  for (const auto& [left, right] :
       std::vector<std::pair<std::string, std::string>>{{"$(", ")"},
                                                        {"`", "`"},
                                                        {"\"$(", ")\""},
                                                        {"'`", "`'"},
                                                        {"${x:-$(", ")}"},
                                                        {"<(", ")"},
                                                        {"$((`", "`))"},
                                                        {"!", ""},
                                                        {"@", ""},
                                                        {"%COMSPEC% /c ", ""},
                                                        {"cmd /c ", ""},
                                                        {"sh -c '", "'"},
                                                        {"sh -c \"", "\""},
                                                        {"-c '", "'"},
                                                        {"-exec ", " ;"}})
    all.push_back(left + touch + right);
  for (const char* redirection : {"> ", ">", ">> ", "2> ", "&> ", ">| ", "<> ", "x> ", "| tee ",
                                  "|& tee ", "< /etc/passwd > "})
    all.push_back(redirection + canary);
  for (const char* option :
       {"-o ", "-o", "--output=", "--output ", "--log-file=", "-", "--", "---", "- -o ", "-- -o "})
    all.push_back(option + canary);
  for (const char* text :
       {"*", "?", "~", "$HOME", "${HOME}", "%n", "%s", "%PATH%", "{a,b}", "../..", "\\"})
    all.push_back(text);
  return all;
}

std::string WithoutDashes(const std::string& text) {
  const std::size_t first = text.find_first_not_of('-');
  return first == std::string::npos ? "" : text.substr(first);
}

TEST_F(StartedForReal, WordsArriveAsTheyStand) {
  EXPECT_EQ(Executed(""), Strings{});
  EXPECT_EQ(Executed("one  \"two three\" \"\" ma\xC3\xB1"
                     "ana"),
            (Strings{"one", "two three", "",
                     "ma\xC3\xB1"
                     "ana"}));
}

// The text between blanks and tabs, with no option among them.
Strings Divided(const std::string& text) {
  Strings words;
  for (std::size_t at = text.find_first_not_of(" \t"); at < text.size();) {
    const std::size_t end = text.find_first_of(" \t", at);
    words.push_back(WithoutDashes(text.substr(at, end - at)));
    at = text.find_first_not_of(" \t", end);
  }
  return words;
}

TEST_F(StartedForReal, HostileTextOfADeviceIsDividedAndNothingElse) {
  const Strings hostile = Hostile(canary);
  EXPECT_GE(hostile.size(), 60u);
  for (const std::string& text : hostile) {
    EXPECT_EQ(ExecutedWithValue(text), Divided(text)) << text;
    EXPECT_EQ(ExecutedWithValue(text, "\"-x=%a1\" \"%a1\" y"),
              (Strings{"-x=" + text, WithoutDashes(text), "y"}))
        << text;
  }
}

TEST_F(StartedForReal, HostileParameterIsDividedAndNothingElse) {
  for (const std::string& text : Hostile(canary)) {
    std::string escaped;  // no argument of an event
    for (const char character : text)
      escaped += character == '%' ? "%%" : std::string(1, character);
    EXPECT_EQ(Executed(escaped), CommandWords({{Wide(text), false}})) << text;
  }
}

TEST_F(StartedForReal, EveryCharacterArrives) {
  for (int first = 1; first <= 255; first += 50) {
    const std::string text = "x" + Characters(first, std::min(first + 49, 255));
    EXPECT_EQ(ExecutedWithValue(text, "\"%a1\""), Strings{text}) << first;
  }
  // Those that divide words, hold them together or begin an escape aside.
  for (const int code :
       {1,  7,  8,  10, 13, 27, 31, 33, 35, 36,  38,  39,  40,  41,  42,  45,  47,
        59, 60, 62, 63, 91, 92, 93, 94, 96, 123, 124, 125, 126, 127, 128, 160, 255}) {
    const std::string text = Characters(code, code);
    EXPECT_EQ(Executed("a" + text + "b " + text), (Strings{"a" + text + "b", text})) << code;
  }
}

// A byte that is no UTF-8 can't become something else than a replacement.
TEST_F(StartedForReal, BytesOfADeviceThatAreNoTextAreReplaced) {
  for (int byte = 0x80; byte <= 0xFF; byte += 9)
    EXPECT_EQ(ExecutedWithValue("a" + std::string(1, static_cast<char>(byte)) + "b"),
              Strings{"a\xEF\xBF\xBD"
                      "b"});
}

// Programs in whose hands an option, or a name, does something.
TEST_F(StartedForReal, TextOfADeviceMakesNoToolWrite) {
  const std::pair<const char*, std::string> tries[] = {
      {"/usr/bin/sort", "-o" + canary},         {"/usr/bin/sort", "--output=" + canary},
      {"/usr/bin/env", "touch " + canary},      {"/usr/bin/tee --", "-a"},
      {"/usr/bin/find /nowhere", "-fprint"},    {"/usr/bin/split", "--filter=touch " + canary},
      {"/bin/sh", "-ctouch " + canary},         {"/usr/bin/env -i", "-Stouch " + canary},
      {"/bin/dd if=/dev/null", "of " + canary},
  };
  for (const auto& [command, text] : tries) {
    driver->SetText("T", text);
    Execute(command, "\"%a1\"");
    if (text.starts_with('-')) Execute(command, "%a1");
  }
  EXPECT_TRUE(AllAreGivenBack());
}

TEST_F(StartedForReal, ProcessHasNothingOfOurs) {
  const std::string ours = (programs.path / "ours").string();
  const int file = ::open(ours.c_str(), O_RDWR | O_CREAT, 0600);  // inherited, if nobody cares
  ASSERT_GE(file, 0);
  sigset_t blocked;
  (void)::sigemptyset(&blocked);
  (void)::sigaddset(&blocked, SIGUSR1);
  (void)::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  const auto before = ::signal(SIGPIPE, SIG_IGN);
  Execute(programs.Add("witness", kWitness), "");
  EXPECT_TRUE(Comes([&] { return std::filesystem::exists(programs.path / "around"); }));
  (void)::signal(SIGPIPE, before);
  (void)::pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
  (void)::close(file);
  std::istringstream around(Content(programs.path / "around"));
  std::string streams;
  std::string stat;
  std::string signals;
  std::string descriptors;
  std::string folder;
  for (std::string* line : {&streams, &stat, &signals, &descriptors, &folder})
    std::getline(around, *line);
  EXPECT_EQ(streams, "/dev/null /dev/null /dev/null");
  EXPECT_EQ(descriptors.find(ours), std::string::npos) << descriptors;
  EXPECT_EQ(descriptors.find("socket"), std::string::npos) << descriptors;
  EXPECT_EQ(folder, std::filesystem::current_path().string());
  // The language's library ignores the two that it keeps for itself.
  EXPECT_EQ(signals, "SigBlk: 0000000000000000 SigIgn: 0000000180000000 ");
  std::istringstream fields(stat.substr(stat.rfind(')') + 2));
  std::string state;
  int parent = 0;
  int group = 0;
  int session = 0;
  fields >> state >> parent >> group >> session;
  EXPECT_EQ(std::to_string(session), stat.substr(0, stat.find(' '))) << "a session of its own";
  EXPECT_EQ(parent, ::getpid());
}

TEST_F(StartedForReal, WhatIsNoProgramIsOpened) {
  const std::filesystem::path opener = programs.path / "xdg-open";
  std::filesystem::copy_file(recorder, opener);
  const std::string document = programs.Add("plan 3.txt", "text", false);
  const std::string noFormat = programs.Add("noformat", "text");  // executable, but no program
  for (const std::string& command :
       {document, noFormat, programs.path.string(), std::string("none"),
        std::string("https://example.org/?a=1&b=2"), std::string("/nowhere/tool")}) {
    Execute(command, "parameter");
    EXPECT_EQ(Recorded(), Strings{command});
  }
  Execute("-o" + canary, "");
  EXPECT_EQ(Recorded(), Strings{"./-o" + canary});
}

TEST_F(StartedForReal, ManyStartsLeaveNoZombieAndOtherChildrenTheirExitCodes) {
  const char* const given = std::getenv("ZR_SHELL_STARTS");
  const int starts = given != nullptr ? std::atoi(given) : 200;
  constexpr int kCode = 7;
  const ::pid_t other = ::fork();
  if (other == 0) ::_exit(kCode);
  ASSERT_GT(other, 0);
  std::size_t longest = 0;
  for (int count = 0; count < starts; ++count) {
    Execute("/bin/true", "");
    longest = std::max(longest, ZRStartedProcesses::Get().Size());
  }
  EXPECT_TRUE(AllAreGivenBack());
  EXPECT_EQ(Zombies(), 1) << "the other child";
  int status = 0;
  EXPECT_EQ(::waitpid(other, &status, 0), other);
  EXPECT_EQ(WEXITSTATUS(status), kCode);
  EXPECT_EQ(Zombies(), 0);
  RecordProperty("starts", starts);
  std::printf("%d starts, at most %zu at once\n", starts, longest);
}

}  // namespace

#include "tessaly/zrcommandline.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Verb = ZRCommand::tagVerb;

// Reads words, and keeps what is said to them.
class CommandLine : public ::testing::Test {
 protected:
  ZRCommand Parse(const std::vector<const char*>& behindProgram) {
    std::vector<const char*> words{"tessaly"};
    words.insert(words.end(), behindProgram.begin(), behindProgram.end());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ZRCommand command = ParseCommandLine(static_cast<int>(words.size()), words.data());
    out = testing::internal::GetCapturedStdout();
    error = testing::internal::GetCapturedStderr();
    return command;
  }
  std::string out;
  std::string error;
};

TEST_F(CommandLine, HasAVerbAndASite) {
  const std::pair<const char*, Verb> verbs[] = {
      {"run", Verb::kRun}, {"check", Verb::kCheck}, {"replay", Verb::kReplay}};
  for (const auto& [word, verb] : verbs) {
    const ZRCommand command = Parse({word, "a site"});
    EXPECT_EQ(command.verb, verb) << word;
    EXPECT_EQ(command.site, "a site");
    EXPECT_EQ(command.port, -1);
    EXPECT_EQ(command.exitCode, kExitDone);
    EXPECT_EQ(out + error, "");
  }
}

TEST_F(CommandLine, TakesAnExpressionAsItStands) {
  for (const char* expression :
       {"[meter.V] > 250", "[meter.V]", "-1 + 2", "\"a b\"", "", "[a,b]"}) {
    const ZRCommand command = Parse({"eval", "house", expression});
    EXPECT_EQ(command.verb, Verb::kEval) << expression << error;
    EXPECT_EQ(command.expression, expression);
  }
  EXPECT_EQ(Parse({"eval", "house", "--", "-[meter.V]"}).expression, "-[meter.V]");
}

TEST_F(CommandLine, TakesAPortForRun) {
  EXPECT_EQ(Parse({"run", "house", "--port", "0"}).port, 0);
  EXPECT_EQ(Parse({"run", "--port=65535", "house"}).port, 65535);
}

TEST_F(CommandLine, HistoryIsThatOfASite) {
  const ZRCommand plain = Parse({"history", "house"});
  EXPECT_EQ(plain.verb, Verb::kHistory) << error;
  EXPECT_EQ(plain.site, "house");
  EXPECT_TRUE(plain.history.events.empty());
  EXPECT_EQ(plain.history.from + plain.history.to, "");
  EXPECT_FALSE(plain.history.open || plain.history.totals || plain.history.running);
  EXPECT_EQ(plain.history.format, ZRHistoryFormat::kTable);

  const ZRCommand full =
      Parse({"history", "--event", "Pump", "house", "--event", "High, load", "--from", "2026-11-01",
             "--to=2026-12-01T00:00+01:00", "--running", "--totals", "--format", "csv"});
  EXPECT_EQ(full.verb, Verb::kHistory) << error;
  EXPECT_EQ(full.site, "house");
  EXPECT_EQ(full.history.events, (std::vector<std::string>{"Pump", "High, load"}));
  EXPECT_EQ(full.history.from, "2026-11-01");
  EXPECT_EQ(full.history.to, "2026-12-01T00:00+01:00");
  EXPECT_TRUE(full.history.running);
  EXPECT_TRUE(full.history.totals);
  EXPECT_TRUE(Parse({"history", "house", "--open"}).history.open);
}

TEST_F(CommandLine, HistoryHasFourFormats) {
  const std::pair<const char*, ZRHistoryFormat> formats[] = {{"table", ZRHistoryFormat::kTable},
                                                             {"csv", ZRHistoryFormat::kCsv},
                                                             {"json", ZRHistoryFormat::kJson},
                                                             {"xml", ZRHistoryFormat::kXml}};
  for (const auto& [name, format] : formats)
    EXPECT_EQ(Parse({"history", "house", "--format", name}).history.format, format) << name;
}

TEST_F(CommandLine, HistoryLooksAfterDataFilesToo) {
  const ZRCommand verify = Parse({"history", "verify", "house"});
  EXPECT_EQ(verify.verb, Verb::kVerifyHistory) << error;
  EXPECT_EQ(verify.site, "house");
  const ZRCommand dump = Parse({"history", "dump", "Pump 11-2026.suc"});
  EXPECT_EQ(dump.verb, Verb::kDumpHistory) << error;
  EXPECT_EQ(dump.file, "Pump 11-2026.suc");
  EXPECT_EQ(Parse({"history", "verify", "verify"}).site, "verify");
  for (const char* site : {"./verify", "./dump", "verify/"}) {
    const ZRCommand command = Parse({"history", site});
    EXPECT_EQ(command.verb, Verb::kHistory) << error;
    EXPECT_EQ(command.site, site);
  }
}

TEST_F(CommandLine, RenameNeedsTheOldDocument) {
  const ZRCommand rename = Parse({"rename", "house", "--old", "old.xeve"});
  EXPECT_EQ(rename.verb, Verb::kRename) << error;
  EXPECT_EQ(rename.site, "house");
  EXPECT_EQ(rename.file, "old.xeve");
  EXPECT_FALSE(rename.dryRun);
  EXPECT_TRUE(Parse({"rename", "house", "--dry-run", "--old", "old.xeve"}).dryRun);
}

TEST_F(CommandLine, HelpAndVersionAreDoneAtOnce) {
  for (const std::vector<const char*>& words : {std::vector<const char*>{"--help"},
                                                {"-h"},
                                                {"run", "--help"},
                                                {"eval", "-h"},
                                                {"history", "-h"},
                                                {"history", "verify", "-h"},
                                                {"rename", "-h"}}) {
    const ZRCommand command = Parse(words);
    EXPECT_EQ(command.verb, Verb::kNone);
    EXPECT_EQ(command.exitCode, kExitDone);
    EXPECT_NE(out.find("Usage: tessaly"), std::string::npos) << out;
    EXPECT_NE(out.find("Exit codes: 0"), std::string::npos) << out;
    EXPECT_EQ(error, "");
  }
  const ZRCommand command = Parse({"--version"});
  EXPECT_EQ(command.verb, Verb::kNone);
  EXPECT_EQ(command.exitCode, kExitDone);
  EXPECT_EQ(out.rfind("tessaly ", 0), 0u) << out;
}

TEST_F(CommandLine, HelpNamesEachVerb) {
  (void)Parse({"--help"});
  for (const char* verb : {"  run ", "  check ", "  eval ", "  replay ", "  history ", "  rename "})
    EXPECT_NE(out.find(verb), std::string::npos) << verb;
}

TEST_F(CommandLine, WordsThatMakeNoSenseAreRefused) {
  const std::vector<const char*> cases[] = {
      {},
      {"walk"},
      {"run"},
      {"run", "a", "b"},
      {"run", "a", "--port"},
      {"run", "a", "--port", "65536"},
      {"run", "a", "--port", "-1"},
      {"run", "a", "--port", "http"},
      {"check", "a", "--port", "1"},
      {"check", "a", "--verbose"},
      {"check", "a", "run", "b"},
      {"eval", "a"},
      {"eval", "a", "1", "2"},
      {"history"},
      {"history", "a", "b"},
      {"history", "verify"},
      {"history", "dump"},
      {"history", "verify", "a", "b"},
      {"history", "a", "verify", "b"},
      {"history", "--open", "verify", "a"},
      {"history", "verify", "a", "--open"},
      {"history", "verify", "a", "dump", "b"},
      {"history", "a", "--open", "--totals"},
      {"history", "a", "--format", "pdf"},
      {"history", "a", "--format", "CSV"},
      {"history", "a", "--event"},
      {"rename", "a"},
      {"rename", "--old", "b"},
  };
  for (const std::vector<const char*>& words : cases) {
    std::string shown;
    for (const char* word : words)
      shown += std::string(word) + " ";
    const ZRCommand command = Parse(words);
    EXPECT_EQ(command.verb, Verb::kNone) << shown;
    EXPECT_EQ(command.exitCode, kExitImpossible) << shown;
    EXPECT_EQ(out, "") << shown;
    EXPECT_NE(error, "") << shown;
  }
}

}  // namespace

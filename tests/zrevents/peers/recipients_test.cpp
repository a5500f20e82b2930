// What a recipient can do to the real shell: nothing.

#include <gtest/gtest.h>

#include <set>

#include "support/faketool.h"
#include "zrevents/actions/zrmsmtp.h"

namespace {

// A tool that writes down its arguments, each with a NUL behind it, and reads the mail.
class Recipients : public ::testing::Test {
 protected:
  Recipients() {
    std::ofstream(share.path / "msmtp")
        << "#!/bin/sh\nprintf '%s\\0' \"$@\" > '" << Noted().string() << "'\ncat > /dev/null\n";
    std::filesystem::permissions(share.path / "msmtp", std::filesystem::perms::owner_all);
    smtp.SetFrom("hall@example.org");
  }
  [[nodiscard]] std::filesystem::path Noted() const { return share.path / "noted"; }
  [[nodiscard]] std::filesystem::path Canary() const { return share.path / "canary"; }

  // The arguments behind those that are always there.
  [[nodiscard]] std::vector<std::string> Send(const std::string& to) {
    EXPECT_TRUE(smtp.Send(to.c_str(), "Subject", "body")) << smtp.ErrorCode();
    std::vector<std::string> words;
    std::string noted = FileText(Noted());
    std::filesystem::remove(Noted());
    for (std::size_t end = 0; (end = noted.find('\0')) != std::string::npos;) {
      words.push_back(noted.substr(0, end));
      noted.erase(0, end + 1);
    }
    EXPECT_EQ("", noted);
    EXPECT_EQ(std::vector<std::string>{"msmtp"}, share.Files()) << to;
    if (words.size() < 6) return {"too few"};
    EXPECT_EQ((std::vector<std::string>{"-d", "-a", "tz", "-C"}),
              std::vector<std::string>(words.begin(), words.begin() + 4));
    EXPECT_EQ("--", words[5]);
    return {words.begin() + 6, words.end()};
  }

  ShareFolder share;
  ZRMSmtp smtp{"mail.example.org", 25};
};

// "%" stands for the command that makes the canary.
TEST_F(Recipients, NoneIsACommandARedirectionOrAnOption) {
  const std::vector<std::string> hostile = {"$(%)",
                                            "`%`",
                                            ";%",
                                            "|%",
                                            "&%",
                                            "&&%",
                                            "||%",
                                            "\n%\n",
                                            "\r\n%",
                                            ">CANARY",
                                            ">>CANARY",
                                            "<CANARY",
                                            "2>CANARY",
                                            ">|CANARY",
                                            "&>CANARY",
                                            "<<EOF",
                                            "<(%)",
                                            ">(%)",
                                            "';%;'",
                                            "\";%;\"",
                                            "'$(%)'",
                                            "\"$(%)\"",
                                            "\\';%;\\'",
                                            "'\\'';%;'",
                                            "a'b",
                                            "a\"b",
                                            "a\\",
                                            "\\",
                                            "'",
                                            "\"",
                                            "''",
                                            "${IFS}%",
                                            "$HOME",
                                            "$0",
                                            "$@",
                                            "$$",
                                            "~",
                                            "~root",
                                            "*",
                                            "?",
                                            "[a-z]*",
                                            "{a,b}",
                                            "!!",
                                            "#x",
                                            "(%)",
                                            "{ %;}",
                                            "$((1+1))",
                                            "--",
                                            "-",
                                            "-t",
                                            "--help",
                                            "--version",
                                            "--file=CANARY",
                                            "-C/dev/null",
                                            "--logfile=CANARY",
                                            "-XCANARY",
                                            "--passwordeval=%",
                                            "-f root",
                                            "--read-envelope-from",
                                            "exec %",
                                            "if true; then %; fi",
                                            "\x01%",
                                            "\x7f",
                                            "a@b\x0b;%",
                                            "\x81%",
                                            "\x88",
                                            "\xff\xfe"};
  EXPECT_GE(hostile.size(), 60u);
  for (std::string to : hostile) {
    for (std::size_t at = 0; (at = to.find('%')) != std::string::npos;)
      to.replace(at, 1, "touch " + Canary().string());
    for (std::size_t at = 0; (at = to.find("CANARY")) != std::string::npos;)
      to.replace(at, 6, Canary().string());
    std::vector<std::string> words;
    std::string word;
    for (const char byte : to + " ") {
      const bool blank = byte == ' ' || byte == '\r' || byte == '\n';
      if (!blank) word += byte;
      if (blank && !word.empty()) words.push_back(std::exchange(word, ""));
    }
    EXPECT_EQ(words, Send(to)) << to;
    ASSERT_FALSE(std::filesystem::exists(Canary())) << to;
  }
}

TEST_F(Recipients, EachByteArrivesAsItIs) {
  for (int start = 1; start < 256; start += 16) {
    std::string to;
    for (int byte = start; byte < start + 16 && byte < 256; ++byte)
      if (std::string(" \t\r\n").find(static_cast<char>(byte)) == std::string::npos)
        to += static_cast<char>(byte);
    EXPECT_EQ(std::vector<std::string>{to}, Send(to)) << start;
  }
}

TEST_F(Recipients, BlanksDivide) {
  EXPECT_EQ((std::vector<std::string>{"a", "b", "c", "d", "e"}), Send("  a b\tc\nd\r\n e "));
  EXPECT_TRUE(Send("   ").empty());
}

}  // namespace

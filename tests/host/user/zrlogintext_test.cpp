#include "host/user/zrlogintext.h"

#include <gtest/gtest.h>

#include <string>

#include "support/text.h"

namespace {

const std::string kSha256(64, 'a');
const std::string kMd5(32, 'b');

// Reads texts, and keeps what is said of them.
class LoginText : public ::testing::Test {
 protected:
  // Empty if the text was taken, else the first problem with its line.
  std::string Read(const std::string& toml) {
    logins.users["left"];
    const bool isRead = ReadLogins(toml, logins, problems, warnings);
    EXPECT_EQ(isRead, problems.empty());
    if (isRead) return "";
    EXPECT_EQ(logins, ZRLogins());
    return std::to_string(problems.at(0).line) + ": " + Str(problems.at(0).text);
  }
  std::string ReadUser(const std::string& keys) {
    return Read("[[user]]\nname = \"ana\"\n" + keys);
  }

  ZRLogins logins;
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
};

TEST_F(LoginText, MayBeEmpty) {
  EXPECT_EQ(Read(""), "");
  EXPECT_EQ(logins, ZRLogins());
  EXPECT_EQ(logins.realm, "Tessaly");
}

TEST_F(LoginText, HasUsersRolesAndRights) {
  ASSERT_EQ(Read("realm = \"Hall 2\"\n"
                 "[[role]]\nname = \"operator\"\nactive = [\"*\"]\nacknowledge = [\"g1\", \"g2\"]\n"
                 "[[user]]\nname = \"José\"\nsha256 = \"" +
                 kSha256 + "\"\nmd5 = \"" + kMd5 +
                 "\"\nroles = [\"operator\"]\nremote-active = [\"d\"]\n"
                 "[[user]]\nname = \"root\"\nadministrator = true\n"),
            "");
  EXPECT_EQ(logins.realm, "Hall 2");
  ASSERT_EQ(logins.users.size(), 2u);
  ASSERT_EQ(logins.roles.size(), 1u);
  const ZRLogin& jose = logins.users["José"];
  EXPECT_EQ(jose.sha256, kSha256);
  EXPECT_EQ(jose.md5, kMd5);
  EXPECT_EQ(jose.roles, std::set<std::string>{"operator"});
  EXPECT_FALSE(jose.grants.administrator);
  EXPECT_EQ(jose.grants.rights, (std::map<int, std::set<std::string>>{{17, {"d"}}}));
  EXPECT_TRUE(logins.users["root"].grants.administrator);
  EXPECT_EQ(logins.roles["operator"].rights,
            (std::map<int, std::set<std::string>>{{7, {"*"}}, {6, {"g1", "g2"}}}));
  EXPECT_TRUE(warnings.empty());
}

TEST_F(LoginText, KnowsEachKindOfRight) {
  for (const ZRResourceKind& kind : kResourceKinds) {
    EXPECT_EQ(ReadUser(std::string(kind.word) + " = [\"x\"]\n"), "") << kind.word;
    EXPECT_EQ(logins.users["ana"].grants.rights,
              (std::map<int, std::set<std::string>>{{kind.type, {"x"}}}));
    EXPECT_TRUE(warnings.empty());
    EXPECT_EQ(ReadUser(std::string(kind.word) + " = []\n"), "");
    EXPECT_EQ(logins.users["ana"], ZRLogin());
  }
}

TEST_F(LoginText, IsRefusedWithTheLineToBlame) {
  EXPECT_EQ(Read("realm = \"a\\\"b\"\n").substr(0, 8), "1: realm");
  EXPECT_EQ(Read("[user]\nname = \"ana\"\n"), "1: user must be written as [[user]]");
  EXPECT_EQ(Read("role = 1\n"), "1: role must be written as [[role]]");
  const std::string rule(kLoginNameRule);
  EXPECT_EQ(Read("[[user]]\nmd5 = \"" + kMd5 + "\"\n"), "1: user.name " + rule);
  EXPECT_EQ(Read("[[user]]\nname = \"a:b\"\n"), "2: user.name " + rule);
  EXPECT_EQ(Read("[[role]]\nname = \"\"\n"), "2: role.name " + rule);
  EXPECT_EQ(Read("[[user]]\nname = \"a\"\n[[user]]\nname = \"a\"\n"),
            "4: user.name is that of an earlier user");
  EXPECT_EQ(Read("[[role]]\nname = \"a\"\n[[role]]\nname = \"a\"\n"),
            "4: role.name is that of an earlier role");
  EXPECT_EQ(ReadUser("active = \"*\"\n"), "3: user.active must be a list of texts");
  EXPECT_EQ(ReadUser("active = [\"\"]\n"), "3: user.active " + std::string(kResourceIdRule));
  EXPECT_EQ(ReadUser("roles = [\"a:b\"]\n"), "3: user.roles must hold names of roles");
  EXPECT_EQ(ReadUser("administrator = 1\n"), "3: user.administrator must be true or false");
  std::string roles;
  for (int i = 0; i < 33; ++i)
    roles += "\"r" + std::to_string(i) + "\",";
  EXPECT_EQ(ReadUser("roles = [" + roles + "]\n"), "3: user.roles must have at most 32 entries");
  EXPECT_EQ(Read(std::string(1024 * 1024 + 1, ' ')), "0: larger than 1 MiB");
}

TEST_F(LoginText, HasDigestsOfTheirExactForm) {
  const std::string upper = "A" + kSha256.substr(1);
  for (const std::string& bad : {kSha256 + "a", kSha256.substr(1), upper, kMd5, std::string()})
    EXPECT_EQ(ReadUser("sha256 = \"" + bad + "\"\n"),
              "3: user.sha256 must be 64 lower-case hexadecimal digits");
  EXPECT_EQ(ReadUser("md5 = \"" + kSha256 + "\"\n"),
            "3: user.md5 must be 32 lower-case hexadecimal digits");
}

// What is wrong with a digest says nothing of it, and neither does what is wrong with the form.
TEST_F(LoginText, IsNeverQuoted) {
  const std::string secret = "0123456789abcdef";
  for (const std::string& line :
       {"sha256 = \"" + secret + "\"\n", "sha256 = " + secret + "\n", "sha256 = \"" + secret + "\n",
        "sha256 = \"x\"\nsha256 = \"" + secret + "\"\n", "password = \"" + secret + "\"\n",
        secret + " = \"\x01\"\n", "active = [\"" + secret + "\\u0001\"]\n"}) {
    (void)ReadUser(line);
    std::string said;
    for (const auto* list : {&problems, &warnings})
      for (const ZRSettingProblem& problem : *list)
        said += Str(problem.text) + "\n";
    EXPECT_NE(said, "") << line;
    EXPECT_EQ(said.find(secret.substr(0, 8)), std::string::npos) << said;
  }
}

TEST_F(LoginText, WarnsOfKeysThatNobodyKnows) {
  EXPECT_EQ(Read("relm = \"x\"\n[[user]]\nname = \"a\"\nacive = [\"*\"]\n"), "");
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0].line + warnings[1].line, 5);
}

TEST_F(LoginText, IsWrittenInOneForm) {
  logins.realm = "Hall 2";
  logins.roles["guard"].Grant(8, "*");
  logins.users["zoe"].grants.administrator = true;
  ZRLogin& ana = logins.users["ana \"the\\boss\""];
  ana.sha256 = kSha256;
  ana.md5 = kMd5;
  ana.roles = {"guard", "cook"};
  ana.grants.Grant(18, "d2");
  ana.grants.Grant(18, "d1");
  ana.grants.Grant(7, "g");
  EXPECT_EQ(
      WriteLogins(logins),
      "# Who may log in. Written by `tessaly user`; it holds secrets, so it is its owner's alone.\n"
      "realm = \"Hall 2\"\n"
      "\n[[role]]\nname = \"guard\"\nnotified = [\"*\"]\n"
      "\n[[user]]\nname = \"ana \\\"the\\\\boss\\\"\"\nsha256 = \"" +
          kSha256 + "\"\nmd5 = \"" + kMd5 +
          "\"\nroles = [\"cook\", \"guard\"]\nactive = [\"g\"]\nremote-notified = [\"d1\", "
          "\"d2\"]\n"
          "\n[[user]]\nname = \"zoe\"\nadministrator = true\n");
}

TEST_F(LoginText, IsReadAsItWasWritten) {
  logins.realm = "~Hall~ {2}";
  logins.roles["empty"];
  logins.roles["ñ"].administrator = true;
  for (const ZRResourceKind& kind : kResourceKinds) {
    logins.roles["all"].Grant(kind.type, "*");
    logins.users["\xF0\x9F\x94\x91 \\u0041 ' \" # [x]"].grants.Grant(kind.type, "a'b\"c\\d = [*]");
  }
  logins.users["nobody"];
  const ZRLogins before = logins;
  EXPECT_EQ(Read(WriteLogins(before)), "");
  EXPECT_EQ(logins, before);
  EXPECT_TRUE(warnings.empty());
}

}  // namespace

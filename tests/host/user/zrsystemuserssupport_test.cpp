#include "host/user/zrsystemuserssupport.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "support/golden.h"
#include "support/text.h"

namespace {

class Users : public ::testing::Test {
 protected:
  // Empty if the text was taken over, else the first problem with its line.
  std::string Load(const std::string& toml) {
    const bool loaded = users.LoadText(toml, problems, warnings);
    EXPECT_EQ(loaded, problems.empty());
    return loaded ? "" : FirstProblem();
  }
  [[nodiscard]] std::string FirstProblem() const {
    return std::to_string(problems.at(0).line) + ": " + Str(problems.at(0).text);
  }
  [[nodiscard]] std::string Parameter(const std::string& name, const char* parameter, int index) {
    ZRSystemUser* user = nullptr;
    if (!users.getSystemUser(Wide(name), &user)) return "no user";
    ZRWString value;
    return user->getParameterValueInfo(parameter, index, value) ? Narrow(value) : "-";
  }
  static std::vector<std::string> Texts(const std::vector<ZRWString>& wide) {
    std::vector<std::string> all;
    for (const ZRWString& text : wide)
      all.push_back(Narrow(text));
    return all;
  }

  ZRSystemUsersSupport users;
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
};

TEST_F(Users, HaveMailsAndPhonesByTheirIndex) {
  ASSERT_EQ("",
            Load("[[user]]\nname = \"José\"\nmail = [\"a@b\", \"ñ@c\"]\nphone = [\"+34 600\"]\n"));
  EXPECT_EQ("a@b", Parameter("José", "MAIL", 0));
  EXPECT_EQ("ñ@c", Parameter("José", "MAIL", 1));
  EXPECT_EQ("-", Parameter("José", "MAIL", 2));
  EXPECT_EQ("-", Parameter("José", "MAIL", -1));
  EXPECT_EQ("+34 600", Parameter("José", "PHONEGSM", 0));
  EXPECT_EQ("-", Parameter("José", "PHONE", 0));
  EXPECT_EQ("-", Parameter("José", "mail", 0));
  EXPECT_EQ("no user", Parameter("jose", "MAIL", 0));
}

TEST_F(Users, IndexIsTheNumberThatATextBeginsWith) {
  const std::pair<const char*, int> cases[] = {
      {"0", 0},   {"7", 7},   {"1.9", 1},    {"-0.9", 0},    {" 2x", 2},  {"", 0},    {"x", 0},
      {"-1", -1}, {"-7", -1}, {"1e300", -1}, {"-1e300", -1}, {"nan", -1}, {"inf", -1}};
  for (const auto& [text, index] : cases)
    EXPECT_EQ(index, ZRSystemUser::IndexOf(Wide(text))) << text;
}

TEST_F(Users, ListsHaveMailsAndPhonesOfTheirOwn) {
  ASSERT_EQ("", Load("[[list]]\nname = \"night\"\nmail = [\"a@b\"]\nphone = [\"1\", \"2\"]\n"
                     "[[list]]\nname = \"day\"\n"));
  std::vector<ZRWString> texts{L"left"};
  ASSERT_TRUE(users.getMailListMails(L"night", texts));
  EXPECT_EQ(std::vector<std::string>{"a@b"}, Texts(texts));
  ASSERT_TRUE(users.getPhoneListPhones(L"night", texts));
  EXPECT_EQ((std::vector<std::string>{"1", "2"}), Texts(texts));
  ASSERT_TRUE(users.getMailListMails(L"day", texts));
  EXPECT_TRUE(texts.empty());
  EXPECT_FALSE(users.getMailListMails(L"Night", texts));
  EXPECT_FALSE(users.getPhoneListPhones(L"", texts));
}

TEST_F(Users, AreReplacedAsAWhole) {
  ASSERT_EQ("", Load("[[user]]\nname = \"a\"\n"));
  ASSERT_EQ("", Load("[[user]]\nname = \"b\"\n"));
  EXPECT_EQ("no user", Parameter("a", "MAIL", 0));
  EXPECT_EQ("-", Parameter("b", "MAIL", 0));
}

TEST_F(Users, StayIfTheNewTextIsRefused) {
  ASSERT_EQ("", Load("[[user]]\nname = \"a\"\n"));
  EXPECT_NE("", Load("[[user]]\nname = \"b\"\nmail = [1]\n"));
  EXPECT_EQ("-", Parameter("a", "MAIL", 0));
  EXPECT_EQ("no user", Parameter("b", "MAIL", 0));
}

TEST_F(Users, ProblemsNameTheirPlace) {
  EXPECT_EQ("1: user.name must be given", Load("[[user]]\nmail = [\"a@b\"]\n"));
  EXPECT_EQ("4: user.name is that of an earlier user",
            Load("[[user]]\nname = \"a\"\n[[user]]\nname = \"a\"\n"));
  EXPECT_EQ("4: list.name is that of an earlier list",
            Load("[[list]]\nname = \"a\"\n[[list]]\nname = \"a\"\n"));
  EXPECT_EQ("3: user.mail must be a list of texts",
            Load("[[user]]\nname = \"a\"\nmail = \"a@b\"\n"));
  EXPECT_EQ("3: user.mail must be a list of texts without control characters",
            Load("[[user]]\nname = \"a\"\nmail = [\"a@b\\nBcc: c@d\"]\n"));
  EXPECT_EQ("3: list.phone must not hold an empty text",
            Load("[[list]]\nname = \"a\"\nphone = [\"\"]\n"));
  EXPECT_EQ("1: user must be written as [[user]]", Load("[user]\nname = \"a\"\n"));
  EXPECT_NE("", Load("[[user"));
}

TEST_F(Users, UnknownKeysAreWarnings) {
  EXPECT_EQ("", Load("[[user]]\nname = \"a\"\nmails = [\"a@b\"]\n[[lists]]\nname = \"b\"\n"));
  ASSERT_EQ(2u, warnings.size());
}

TEST_F(Users, MissingFileHoldsNobody) {
  ASSERT_EQ("", Load("[[user]]\nname = \"a\"\n"));
  EXPECT_TRUE(users.Load(L"/nowhere/users.toml", problems, warnings));
  EXPECT_EQ("no user", Parameter("a", "MAIL", 0));
}

TEST_F(Users, FileThatCannotBeReadIsAProblem) {
  std::string folder = (std::filesystem::temp_directory_path() / "tessaly-users-XXXXXX").string();
  ASSERT_NE(nullptr, ::mkdtemp(folder.data()));
  const std::string file = folder + "/users.toml";
  std::ofstream(file) << "[[user]]\nname = \"a\"\n";
  EXPECT_TRUE(users.Load(Wide(file), problems, warnings));
  EXPECT_FALSE(users.Load(Wide(folder), problems, warnings));
  EXPECT_EQ("-", Parameter("a", "MAIL", 0));
  std::ofstream(file) << std::string(2 * 1024 * 1024, '#');
  EXPECT_FALSE(users.Load(Wide(file), problems, warnings));
  std::filesystem::remove_all(folder);
}

TEST_F(Users, ExampleOfTheirPageIsGood) {
  const std::string page = RepositoryFile("docs/users.md");
  const std::string opening = "```toml\n";
  const std::size_t from = page.find(opening) + opening.size();
  EXPECT_EQ("", Load(page.substr(from, page.find("```", from) - from)));
  EXPECT_TRUE(warnings.empty());
  EXPECT_EQ("ana@home.example", Parameter("ana", "MAIL", 1));
}

}  // namespace

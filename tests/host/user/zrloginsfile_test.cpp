#include "host/user/zrloginsfile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "host/platform/zrplatform.h"
#include "host/platform/zrthread.h"
#include "host/platform/zrvirtualtime.h"
#include "support/sitefolder.h"
#include "support/text.h"

namespace {

namespace fs = std::filesystem;

class LoginsFile : public ::testing::Test {
 protected:
  // The names of the users, or the first problem.
  std::string Load() {
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    ZRLogins logins;
    logins.users["left"];
    if (!file.Load(logins, problems, warnings)) return Str(problems.at(0).text);
    std::string names;
    for (const auto& [name, login] : logins.users)
      names += name + ";";
    return names;
  }
  bool Add(const std::string& name) {
    return file.Change([&](ZRLogins& logins) { return logins.users.try_emplace(name).second; },
                       reason);
  }

  SiteFolder site;
  const fs::path path = site.path / "config/logins.toml";
  ZRLoginsFile file{Wide((site.path / "config/").string())};
  std::string reason;
};

TEST_F(LoginsFile, HoldsNobodyWhileItIsMissing) {
  EXPECT_EQ(Load(), "");
}

TEST_F(LoginsFile, IsChangedByOneAfterTheOther) {
  EXPECT_TRUE(Add("ana")) << reason;
  EXPECT_TRUE(Add("leo")) << reason;
  EXPECT_EQ(Load(), "ana;leo;");
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_FALSE(fs::exists(path.string() + ".new"));
}

TEST_F(LoginsFile, IsLeftAloneWhenNothingChanges) {
  EXPECT_TRUE(file.Change([](ZRLogins&) { return false; }, reason));
  EXPECT_FALSE(fs::exists(path));
  ASSERT_TRUE(Add("ana"));
  const auto before = file.Stamp();
  EXPECT_TRUE(Add("ana"));
  EXPECT_EQ(file.Stamp(), before);
  EXPECT_TRUE(Add("leo"));
  EXPECT_NE(file.Stamp(), before);
}

TEST_F(LoginsFile, IsRefusedWhenOthersMayReadIt) {
  ASSERT_TRUE(Add("ana"));
  fs::permissions(path, fs::perms::group_read, fs::perm_options::add);
  EXPECT_EQ(Load(), "its mode must be 0600: others may read or change it");
  EXPECT_FALSE(Add("leo"));
  EXPECT_EQ(reason, "its mode must be 0600: others may read or change it");
}

TEST_F(LoginsFile, IsNeitherReadNorReplacedWhenItIsBroken) {
  site.Write("config/logins.toml", "\n[[user]]\nname = 1\n");
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(Load(), "user.name must be a text");
  EXPECT_FALSE(Add("leo"));
  EXPECT_EQ(reason, "line 3: user.name must be a text");
  site.Write("config/logins.toml", std::string(1024 * 1024 + 1, '\n'));
  EXPECT_EQ(Load(), "it is larger than 1048576 bytes");
}

TEST_F(LoginsFile, NeverOutgrowsWhatCanBeRead) {
  const auto addMany = [](ZRLogins& logins) {
    for (int i = 0; i < 1'000; ++i)
      logins.users[std::string(1'050, 'n') + std::to_string(i)];
    return true;
  };
  EXPECT_FALSE(file.Change(addMany, reason));
  EXPECT_EQ(reason, "it would be larger than 1 MiB");
  EXPECT_EQ(Load(), "");
}

TEST_F(LoginsFile, SaysWhyItCannotBeChanged) {
  EXPECT_FALSE(ZRLoginsFile(Wide((site.path / "none").string()))
                   .Change([](ZRLogins&) { return true; }, reason));
  EXPECT_EQ(reason, "logins.lock can't be made: No such file or directory");
}

// Each change reads, waits a moment, and writes: without a lock the later one would undo the
// earlier one.
TEST_F(LoginsFile, LosesNoChangeOfTwoAtOnce) {
  const ZRVirtualTime time;
  constexpr int kChanges = 3;
  const auto addSome = [this](const std::string& stem) {
    for (int i = 0; i < kChanges; ++i) {
      std::string why;
      EXPECT_TRUE(file.Change(
          [&](ZRLogins& logins) {
            ZRPlatform::Get().Sleep(0);
            return logins.users.try_emplace(stem + std::to_string(i)).second;
          },
          why))
          << why;
    }
  };
  {
    ZRThread first;
    ZRThread second;
    ASSERT_TRUE(first.Start([&] { addSome("a"); }) && second.Start([&] { addSome("b"); }));
  }
  EXPECT_EQ(Load(), "a0;a1;a2;b0;b1;b2;");
}

// Who holds the lock for ever doesn't hold up the others for ever.
TEST_F(LoginsFile, GivesUpAfterItsPatience) {
  ZRVirtualTime time;
  ZRThread slow;
  std::string ignored;
  ASSERT_TRUE(slow.Start([&] {
    EXPECT_TRUE(file.Change(
        [](ZRLogins&) {
          ZRPlatform::Get().Sleep(2 * ZRLoginsFile::kPatience);
          return false;
        },
        ignored));
  }));
  time.Advance(1);
  EXPECT_FALSE(Add("ana"));
  EXPECT_EQ(reason, "somebody else is changing it");
  slow.Join();
  EXPECT_TRUE(Add("ana")) << reason;
}

}  // namespace

// The words behind `tessaly user`.
#include <gtest/gtest.h>

#include <vector>

#include "host/user/zrrights.h"
#include "tessaly/zrcommandline.h"

namespace {

using Deed = ZRUserWords::tagDeed;

class UserLine : public ::testing::Test {
 protected:
  ZRCommand Parse(std::vector<const char*> words) {
    words.insert(words.begin(), {"tessaly", "user"});
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ZRCommand command = ParseCommandLine(static_cast<int>(words.size()), words.data());
    (void)testing::internal::GetCapturedStdout();
    error = testing::internal::GetCapturedStderr();
    return command;
  }
  std::string error;
};

TEST_F(UserLine, HasADeedASiteAndAName) {
  const std::pair<const char*, Deed> deeds[] = {
      {"add", Deed::kAdd}, {"passwd", Deed::kPassword}, {"remove", Deed::kRemove}};
  for (const auto& [word, deed] : deeds) {
    const ZRCommand command = Parse({word, "a site", "José N"});
    EXPECT_EQ(command.verb, ZRCommand::tagVerb::kUser) << error;
    EXPECT_EQ(command.user.deed, deed);
    EXPECT_EQ(command.site, "a site");
    EXPECT_EQ(command.user.name, "José N");
    EXPECT_FALSE(command.user.isRole || command.user.administrator);
  }
  const ZRCommand list = Parse({"list", "house"});
  EXPECT_EQ(list.verb, ZRCommand::tagVerb::kUser);
  EXPECT_EQ(list.user.deed, Deed::kList);
  EXPECT_TRUE(Parse({"add", "house", "ana", "--administrator"}).user.administrator);
  EXPECT_TRUE(Parse({"remove", "house", "guard", "--role"}).user.isRole);
}

TEST_F(UserLine, GrantsAndRevokesEachRight) {
  for (const auto& [word, deed] :
       {std::pair{"grant", Deed::kGrant}, std::pair{"revoke", Deed::kRevoke}}) {
    for (const ZRResourceKind& kind : kResourceKinds) {
      const std::string right(kind.word);
      const ZRCommand command = Parse({word, "house", "ana", right.c_str(), "North hall"});
      EXPECT_EQ(command.verb, ZRCommand::tagVerb::kUser) << error;
      EXPECT_EQ(command.user.deed, deed);
      EXPECT_EQ(command.user.name, "ana");
      EXPECT_EQ(command.user.right, right);
      EXPECT_EQ(command.user.resource, "North hall");
      EXPECT_FALSE(command.user.isRole);
    }
    EXPECT_TRUE(Parse({word, "house", "--role", "guard", "active", "*"}).user.isRole);
    const ZRCommand all = Parse({word, "house", "ana", "administrator"});
    EXPECT_EQ(all.user.right, "administrator");
    EXPECT_EQ(all.user.resource, "");
  }
}

TEST_F(UserLine, GivesRolesToUsers) {
  const ZRCommand join = Parse({"join", "house", "ana", "guard"});
  EXPECT_EQ(join.user.deed, Deed::kJoin);
  EXPECT_EQ(join.user.name, "ana");
  EXPECT_EQ(join.user.role, "guard");
  EXPECT_EQ(Parse({"leave", "house", "ana", "guard"}).user.deed, Deed::kLeave);
}

// A password is never a word: there is no place for it.
TEST_F(UserLine, RefusesWordsThatMakeNoSense) {
  const std::vector<const char*> cases[] = {{},
                                            {"add"},
                                            {"add", "house"},
                                            {"add", "house", "ana", "open sesame"},
                                            {"add", "house", "ana", "--password", "open sesame"},
                                            {"passwd", "house", "ana", "open sesame"},
                                            {"passwd", "house", "ana", "--role"},
                                            {"list", "house", "ana"},
                                            {"grant", "house", "ana"},
                                            {"grant", "house", "ana", "active"},
                                            {"grant", "house", "ana", "fly", "*"},
                                            {"grant", "house", "ana", "7", "*"},
                                            {"grant", "house", "ana", "administrator", "*"},
                                            {"revoke", "house", "ana", "active"},
                                            {"join", "house", "ana"},
                                            {"join", "house", "ana", "guard", "--role"},
                                            {"forgive", "house", "ana"}};
  for (const std::vector<const char*>& words : cases) {
    const ZRCommand command = Parse(words);
    EXPECT_EQ(command.verb, ZRCommand::tagVerb::kNone) << testing::PrintToString(words);
    EXPECT_EQ(command.exitCode, kExitImpossible) << testing::PrintToString(words);
    EXPECT_NE(error, "") << testing::PrintToString(words);
  }
}

}  // namespace

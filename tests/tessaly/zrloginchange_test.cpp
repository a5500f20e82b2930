#include "tessaly/zrloginchange.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Deed = ZRUserWords::tagDeed;

ZRUserWords Words(Deed deed, const std::string& name) {
  ZRUserWords words;
  words.deed = deed;
  words.name = name;
  return words;
}
ZRUserWords RoleWords(Deed deed, const std::string& name) {
  ZRUserWords words = Words(deed, name);
  words.isRole = true;
  return words;
}
ZRUserWords Right(ZRUserWords words, const std::string& right, const std::string& resource) {
  words.right = right;
  words.resource = resource;
  return words;
}
ZRUserWords Role(ZRUserWords words, const std::string& role) {
  words.role = role;
  return words;
}

class LoginChange : public ::testing::Test {
 protected:
  LoginChange() {
    logins.users["ana"].roles = {"guard"};
    logins.users["leo"];
    logins.roles["guard"];
  }
  // What is said; logins that aren't changed are as before.
  std::string Do(const ZRUserWords& words, bool withMd5 = false) {
    const ZRLogins before = logins;
    const ZRLoginAnswer answer = ChangeLogins(words, "open sesame", withMd5, logins);
    EXPECT_EQ(answer.isChanged, before != logins) << answer.text;
    EXPECT_TRUE(answer.isDone || !answer.isChanged) << answer.text;
    return (answer.isDone ? "" : "no: ") + answer.text;
  }

  ZRLogins logins;
};

TEST_F(LoginChange, AddsUsersWithTheirPasswords) {
  EXPECT_EQ(Do(Words(Deed::kAdd, "zoe")), "user 'zoe' is added");
  ZRLogins expected;
  expected.users["zoe"];
  SetPassword(expected, "zoe", "open sesame", false);
  EXPECT_EQ(logins.users["zoe"], expected.users["zoe"]);
  EXPECT_EQ(logins.users["zoe"].sha256.size(), 64u);
  EXPECT_EQ(logins.users["zoe"].md5, "");
  EXPECT_EQ(Do(Words(Deed::kAdd, "zoe")), "no: there is a user 'zoe' already");
  ZRUserWords chief = Words(Deed::kAdd, "chief");
  chief.administrator = true;
  EXPECT_EQ(Do(chief, true), "user 'chief' is added");
  EXPECT_TRUE(logins.users["chief"].grants.administrator);
  EXPECT_EQ(logins.users["chief"].md5.size(), 32u);
}

TEST_F(LoginChange, SaysWhatTheFirstAndTheLastUserMean) {
  logins = {};
  EXPECT_EQ(Do(Words(Deed::kAdd, "zoe")),
            "user 'zoe' is added; from now on everybody has to log in");
  EXPECT_EQ(Do(Words(Deed::kRemove, "zoe")),
            "user 'zoe' is removed; no user is left: after the next start of the site nobody needs "
            "to log in");
}

TEST_F(LoginChange, GivesNewPasswords) {
  logins.users["ana"].md5 = std::string(32, '0');
  logins.users["ana"].grants.Grant(7, "*");
  EXPECT_EQ(Do(Words(Deed::kPassword, "ana")), "user 'ana' has a new password");
  EXPECT_EQ(logins.users["ana"].md5, "");
  EXPECT_EQ(logins.users["ana"].grants.rights.size(), 1u);
  EXPECT_EQ(Do(Words(Deed::kPassword, "zoe")), "no: there is no user 'zoe'");
}

TEST_F(LoginChange, RemovesUsersAndRoles) {
  EXPECT_EQ(Do(RoleWords(Deed::kRemove, "ana")), "no: there is no role 'ana'");
  EXPECT_EQ(Do(Words(Deed::kRemove, "guard")), "no: there is no user 'guard'");
  EXPECT_EQ(Do(RoleWords(Deed::kRemove, "guard")), "role 'guard' is removed");
  EXPECT_TRUE(logins.roles.empty());
  EXPECT_TRUE(logins.users["ana"].roles.empty());
  EXPECT_EQ(Do(Words(Deed::kRemove, "ana")), "user 'ana' is removed");
  EXPECT_FALSE(logins.users.contains("ana"));
}

TEST_F(LoginChange, GrantsAndRevokesEachRight) {
  for (const ZRResourceKind& kind : kResourceKinds) {
    const std::string word(kind.word);
    for (const char* id : {"g1", "*"}) {
      const std::string right = word + " on '" + id + "'";
      const ZRUserWords grant = Right(Words(Deed::kGrant, "leo"), word, id);
      const ZRUserWords revoke = Right(Words(Deed::kRevoke, "leo"), word, id);
      EXPECT_EQ(Do(revoke), "no: user 'leo' wasn't given that right: " + right);
      EXPECT_EQ(Do(grant), "user 'leo' has the right " + right);
      EXPECT_TRUE(logins.users["leo"].grants.rights.at(kind.type).contains(id));
      EXPECT_EQ(Do(grant), "user 'leo' has that right already: " + right);
      EXPECT_EQ(Do(revoke), "user 'leo' no longer has the right " + right);
      EXPECT_TRUE(logins.users["leo"].grants.rights.empty());
    }
  }
  EXPECT_EQ(Do(Right(Words(Deed::kGrant, "zoe"), "active", "*")), "no: there is no user 'zoe'");
  EXPECT_EQ(Do(Right(Words(Deed::kRevoke, "zoe"), "active", "*")), "no: there is no user 'zoe'");
}

TEST_F(LoginChange, MakesARoleByItsFirstRight) {
  EXPECT_EQ(Do(Right(RoleWords(Deed::kRevoke, "cook"), "active", "*")),
            "no: there is no role 'cook'");
  EXPECT_EQ(Do(Right(RoleWords(Deed::kGrant, "cook"), "active", "*")),
            "new role 'cook' has the right active on '*'");
  EXPECT_EQ(Do(Right(RoleWords(Deed::kGrant, "cook"), "notified", "g")),
            "role 'cook' has the right notified on 'g'");
  EXPECT_EQ(logins.roles["cook"].rights.size(), 2u);
}

TEST_F(LoginChange, MakesAdministrators) {
  const ZRUserWords grant = Right(Words(Deed::kGrant, "leo"), "administrator", "");
  const ZRUserWords revoke = Right(Words(Deed::kRevoke, "leo"), "administrator", "");
  EXPECT_EQ(Do(revoke), "no: user 'leo' wasn't given that right: administrator");
  EXPECT_EQ(Do(grant), "user 'leo' has the right administrator");
  EXPECT_TRUE(logins.users["leo"].grants.administrator);
  EXPECT_EQ(Do(grant), "user 'leo' has that right already: administrator");
  EXPECT_EQ(Do(revoke), "user 'leo' no longer has the right administrator");
  EXPECT_EQ(logins.users["leo"], ZRLogin());
}

TEST_F(LoginChange, GivesRolesToUsers) {
  const ZRUserWords join = Role(Words(Deed::kJoin, "leo"), "guard");
  const ZRUserWords leave = Role(Words(Deed::kLeave, "leo"), "guard");
  EXPECT_EQ(Do(leave), "no: user 'leo' doesn't have the role 'guard'");
  EXPECT_EQ(Do(join), "user 'leo' has the role 'guard'");
  EXPECT_EQ(Do(join), "user 'leo' has the role 'guard' already");
  EXPECT_EQ(Do(leave), "user 'leo' no longer has the role 'guard'");
  EXPECT_EQ(Do(Role(Words(Deed::kJoin, "leo"), "cook")), "no: there is no role 'cook'");
  EXPECT_EQ(Do(Role(Words(Deed::kJoin, "zoe"), "guard")), "no: there is no user 'zoe'");
  EXPECT_EQ(Do(Role(Words(Deed::kLeave, "zoe"), "guard")), "no: there is no user 'zoe'");
  for (int i = 0; i < 32; ++i)
    logins.users["leo"].roles.insert(std::to_string(i));
  EXPECT_EQ(Do(join), "no: user 'leo' has 32 roles, and no more");
}

TEST_F(LoginChange, LooksAtNamesFirst) {
  const std::string rule(kLoginNameRule);
  EXPECT_EQ(WrongWithWords(Words(Deed::kList, "")), "");
  for (const Deed deed : {Deed::kAdd, Deed::kPassword, Deed::kRemove, Deed::kGrant, Deed::kRevoke,
                          Deed::kJoin, Deed::kLeave}) {
    EXPECT_EQ(WrongWithWords(Role(Words(deed, "ana"), "guard")), "");
    EXPECT_EQ(WrongWithWords(Role(Words(deed, "a:b"), "guard")), "the name " + rule);
  }
  EXPECT_EQ(WrongWithWords(Role(Words(Deed::kJoin, "ana"), "")), "the role " + rule);
  EXPECT_EQ(WrongWithWords(Role(Words(Deed::kLeave, "ana"), "a\n")), "the role " + rule);
}

}  // namespace

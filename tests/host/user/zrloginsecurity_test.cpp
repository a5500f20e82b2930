#include "host/user/zrloginsecurity.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "host/platform/zrthread.h"
#include "support/text.h"

namespace {

class LoginSecurity : public ::testing::Test {
 protected:
  void Take() { security.Take(logins); }
  // By the way of the lists. False for an unknown user.
  bool Asks(const std::string& user, int type, const std::string& id) {
    const ZRUser* const known = security.User(Wide(user), 0);
    const bool may = known != nullptr && security.CanAccessResource({type, Wide(id)}, *known);
    // The way of the services never says anything else.
    EXPECT_EQ(may, security.MayUse(user, type, Wide(id).View())) << user << type << id;
    return may;
  }

  ZRLogins logins;
  ZRLoginSecurity security;
};

TEST_F(LoginSecurity, IsOffWithoutUsers) {
  EXPECT_FALSE(security.Enabled());
  logins.roles["operator"].Grant(7, "*");
  Take();
  EXPECT_FALSE(security.Enabled());
  EXPECT_TRUE(security.MayUse("anybody", 7, L"g"));
  EXPECT_TRUE(security.MayUse("", 99, L""));
  logins.users["ana"];
  Take();
  EXPECT_TRUE(security.Enabled());
  EXPECT_FALSE(security.MayUse("anybody", 7, L"g"));
}

TEST_F(LoginSecurity, StaysOnWhenTheLastUserGoes) {
  logins.users["ana"].grants.administrator = true;
  Take();
  EXPECT_TRUE(Asks("ana", 7, "g"));
  logins.users.clear();
  Take();
  EXPECT_TRUE(security.Enabled());
  EXPECT_FALSE(Asks("ana", 7, "g"));
  EXPECT_FALSE(security.MayUse("", 7, L"g"));
}

TEST_F(LoginSecurity, KnowsUsersByTheirExactNames) {
  logins.users["José"].grants.administrator = true;
  logins.users["\xF0\x9F\x94\x91"].grants.administrator = true;
  Take();
  EXPECT_TRUE(Asks("José", 7, "g"));
  EXPECT_EQ(security.User(L"José", 0)->Name(), L"José");
  EXPECT_TRUE(Asks("\xF0\x9F\x94\x91", 7, "g"));
  for (const char* stranger : {"", "jose", "josé", "Jose\xCC\x81", "José ", "operator"})
    EXPECT_FALSE(Asks(stranger, 7, "g")) << stranger;
  // What isn't text is nobody's name.
  EXPECT_EQ(security.User(L"\xD83D", 0), nullptr);
  EXPECT_FALSE(security.MayUse("\xFF", 7, L"g"));
}

// Seven types, granted or not, to the user or to a role of his, on one resource or on all.
TEST_F(LoginSecurity, GivesExactlyWhatIsGranted) {
  for (const ZRResourceKind& granted : kResourceKinds) {
    for (const bool isByRole : {false, true}) {
      for (const char* resource : {"g1", "*"}) {
        logins = {};
        logins.users["ana"].roles = {"operator"};
        logins.users["leo"].roles = {"guest"};
        logins.roles["guest"];
        logins.roles["operator"];
        ZRGrants& grants = isByRole ? logins.roles["operator"] : logins.users["ana"].grants;
        grants.Grant(granted.type, resource);
        Take();
        const bool isOnAll = std::string(resource) == "*";
        for (const ZRResourceKind& asked : kResourceKinds) {
          const bool isSame = asked.type == granted.type;
          EXPECT_EQ(Asks("ana", asked.type, "g1"), isSame) << granted.word << " " << asked.word;
          EXPECT_EQ(Asks("ana", asked.type, "g2"), isSame && isOnAll) << asked.word;
          EXPECT_EQ(Asks("ana", asked.type, "G1"), isSame && isOnAll) << asked.word;
          EXPECT_EQ(Asks("ana", asked.type, "g"), isSame && isOnAll) << asked.word;
          EXPECT_FALSE(Asks("leo", asked.type, "g1")) << asked.word;
          EXPECT_FALSE(Asks("operator", asked.type, "g1")) << asked.word;
        }
        EXPECT_FALSE(Asks("ana", 0, "g1"));
        EXPECT_FALSE(Asks("ana", 9, "g1"));
      }
    }
  }
}

TEST_F(LoginSecurity, AddsUpTheUserAndHisRoles) {
  logins.roles["a"].Grant(7, "g1");
  logins.roles["b"].Grant(7, "g2");
  logins.roles["c"].Grant(7, "g4");
  logins.users["ana"].roles = {"a", "b", "undefined"};
  logins.users["ana"].grants.Grant(7, "g3");
  Take();
  for (const char* id : {"g1", "g2", "g3"})
    EXPECT_TRUE(Asks("ana", 7, id)) << id;
  EXPECT_FALSE(Asks("ana", 7, "g4"));
}

TEST_F(LoginSecurity, LetsAdministratorsDoEverything) {
  logins.roles["chief"].administrator = true;
  logins.users["ana"].grants.administrator = true;
  logins.users["leo"].roles = {"chief"};
  logins.users["zoe"];
  Take();
  for (const ZRResourceKind& kind : kResourceKinds) {
    EXPECT_TRUE(Asks("ana", kind.type, "g"));
    EXPECT_TRUE(Asks("leo", kind.type, "g"));
    EXPECT_FALSE(Asks("zoe", kind.type, "g"));
  }
  EXPECT_TRUE(Asks("ana", 99, ""));
}

// A service that has begun ends with the rights that it began with.
TEST_F(LoginSecurity, KeepsAUserWhoIsTakenAwayMeanwhile) {
  logins.users["ana"].grants.Grant(7, "g");
  Take();
  const ZRUser* const before = security.User(L"ana", 0);
  ASSERT_NE(before, nullptr);
  logins.users.clear();
  logins.users["leo"];
  Take();
  EXPECT_EQ(before->Name(), L"ana");
  EXPECT_TRUE(security.CanAccessResource({7, L"g"}, *before));
  EXPECT_FALSE(security.CanAccessResource({8, L"g"}, *before));
  EXPECT_EQ(security.User(L"ana", 0), nullptr);
}

TEST_F(LoginSecurity, TakesTheSameOnlyOnce) {
  logins.users["ana"];
  Take();
  const ZRUser* const before = security.User(L"ana", 0);
  Take();
  EXPECT_EQ(security.User(L"ana", 0), before);
  logins.users["ana"].sha256 = std::string(64, '0');
  Take();
  EXPECT_NE(security.User(L"ana", 0), before);
  EXPECT_EQ(security.Logins(), logins);
}

// For the sanitizers: questions while the logins change.
TEST_F(LoginSecurity, AnswersWhileItChanges) {
  logins.users["ana"].grants.Grant(7, "g");
  Take();
  std::atomic<bool> isOver{false};
  std::atomic<int> wrong{0};
  const auto ask = [&] {
    while (!isOver) {
      const ZRUser* const ana = security.User(L"ana", 0);
      if (ana == nullptr || !security.CanAccessResource({7, L"g"}, *ana)) ++wrong;
      if (!security.Enabled() || !security.MayUse("ana", 7, L"g")) ++wrong;
      if (security.Logins().users.count("ana") != 1) ++wrong;
    }
  };
  {
    ZRThread first;
    ZRThread second;
    ASSERT_TRUE(first.Start(ask) && second.Start(ask));
    for (int i = 0; i < 50; ++i) {
      logins.users["leo"].grants.Grant(8, std::to_string(i));
      Take();
    }
    isOver = true;
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace

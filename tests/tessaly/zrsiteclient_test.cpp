#include "tessaly/zrsiteclient.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "host/tools/xmldocument.h"
#include "support/golden.h"

namespace {

class SiteClient : public ::testing::Test {
 protected:
  // The question to a site of these settings, without users unless `hasUsers`.
  ZRHttpQuestion Question(const std::string& toml, int port = -1) {
    ZRTessalySetup setup;
    std::vector<ZRSettingProblem> problems;
    std::vector<ZRSettingProblem> warnings;
    EXPECT_TRUE(setup.LoadText(toml, L"/site", problems, warnings));
    const auto question = QuestionToSite(setup, words, hasUsers, port, reason);
    isPossible = question.has_value();
    return question.value_or(ZRHttpQuestion());
  }
  std::string Place(const std::string& toml, int port = -1) {
    return HttpPlace(Question(toml, port));
  }

  ZRClientWords words;
  bool hasUsers = true;
  bool isPossible = false;
  std::string reason;
};

TEST_F(SiteClient, AsksWhereTheSettingsSay) {
  EXPECT_EQ("http://127.0.0.1:8480", Place(""));
  EXPECT_EQ("http://127.0.0.1:9000", Place("http.port = 9000"));
  EXPECT_EQ("http://127.0.0.1:9001", Place("http.port = 9000", 9001));
  EXPECT_EQ("http://10.0.0.7:8480", Place("http.address = \"10.0.0.7\""));
  EXPECT_EQ("http://[::1]:8480", Place("http.address = \"::1\""));
}

TEST_F(SiteClient, AsksThisMachineForASiteThatListensEverywhere) {
  EXPECT_EQ("http://127.0.0.1:8480", Place("http.address = \"0.0.0.0\""));
  EXPECT_EQ("http://127.0.0.1:8480", Place("http.address = \"::\""));
}

// Such a site listens on its own machine's address only.
TEST_F(SiteClient, AsksThisMachineForASiteWithoutUsers) {
  hasUsers = false;
  EXPECT_EQ("http://127.0.0.1:8480", Place("http.address = \"10.0.0.7\""));
}

TEST_F(SiteClient, NeedsToKnowThePort) {
  (void)Question("http.port = 0");
  EXPECT_FALSE(isPossible);
  EXPECT_EQ("the site listens on any free port: say with --port which one its log tells", reason);
  EXPECT_EQ("http://127.0.0.1:9001", Place("http.port = 0", 9001));
  EXPECT_TRUE(isPossible);
}

TEST_F(SiteClient, TrustsTheCertificateOfTheSite) {
  const std::string toml = "[http]\ncertificate = \"c.pem\"\nkey = \"k.pem\"\n";
  ZRHttpQuestion question = Question(toml);
  EXPECT_EQ("https://127.0.0.1:8480", HttpPlace(question));
  EXPECT_EQ("/site/c.pem", question.authorities);
  EXPECT_EQ("", question.address);
  question = Question(toml + "names = [\"hall.example\", \"hall\"]");
  EXPECT_EQ("https://hall.example:8480", HttpPlace(question));
  EXPECT_EQ("127.0.0.1", question.address);
  words.authorities = "root.pem";
  EXPECT_EQ("root.pem", Question(toml).authorities);
}

TEST_F(SiteClient, TakesThePasswordOfTheEnvironment) {
  ASSERT_EQ(0, ::setenv(kPasswordVariable, "from outside", 1));
  std::string password;
  EXPECT_TRUE(AskForPassword("ana", password, reason));
  EXPECT_EQ("from outside", password);
  (void)::unsetenv(kPasswordVariable);
}

TEST(AckDocuments, HaveTheFormOfTheirPage) {
  const auto documents = AckDocuments(
      {"aaaaaaaa-0000-4000-8000-000000000001", "R.aaaaaaaa-0000-4000-8000-000000000009"});
  ASSERT_EQ(1u, documents.size());
  EXPECT_EQ(PageExample("docs/wire/ack.md"), documents[0]);
}

TEST(AckDocuments, EscapeWhatTheyAreTold) {
  const auto documents = AckDocuments({"<id>&\n"});
  ASSERT_EQ(1u, documents.size());
  XmlDocument document;
  ASSERT_TRUE(document.Parse(documents[0], documents[0].size(), nullptr));
  EXPECT_EQ(1, document.Root()->Size());
  EXPECT_EQ("<id>&\n", document.Root()->ValueUtf8("id"));
}

TEST(AckDocuments, AreSmallEnoughForTheService) {
  constexpr std::size_t kMostBytes = std::size_t{64} * 1024;
  const std::vector<std::string> ids(3000, std::string(36, '&'));
  std::size_t found = 0;
  for (const std::string& text : AckDocuments(ids)) {
    EXPECT_LE(text.size(), kMostBytes);
    XmlDocument document;
    ASSERT_TRUE(document.Parse(text, text.size(), nullptr));
    found += static_cast<std::size_t>(document.Root()->Size());
  }
  EXPECT_EQ(ids.size(), found);
  EXPECT_EQ(2u, AckDocuments({std::string(kMostBytes, 'x'), "y"}).size());
  EXPECT_TRUE(AckDocuments({}).empty());
}

class WrongAnswer : public ::testing::Test {
 protected:
  WrongAnswer() {
    question.host = "127.0.0.1";
    question.port = 8480;
  }
  std::string Of(int status, const std::string& body = "") {
    ZRHttpReply reply;
    reply.status = status;
    reply.body = body;
    reply.retrySeconds = 12;
    reply.problem = "nobody listens there";
    return WhatWentWrong(question, reply);
  }
  ZRHttpQuestion question;
};

TEST_F(WrongAnswer, IsASentence) {
  const std::string place = "http://127.0.0.1:8480";
  EXPECT_EQ("no site answers at " + place + ": nobody listens there", Of(0));
  EXPECT_EQ(place + " wants to know who asks: --user NAME", Of(401));
  EXPECT_EQ(place + " has had too many wrong passwords: try again in 12 s", Of(429));
  EXPECT_EQ(place + " is busy, or starts or stops: try again later", Of(503));
  EXPECT_EQ(place + " answered 404", Of(404));
  question.user = "ana";
  EXPECT_EQ(place + " doesn't know this user, or not with this password", Of(401));
}

TEST_F(WrongAnswer, HasTheSentenceOfTheServer) {
  const std::string place = "http://127.0.0.1:8480";
  EXPECT_EQ(place + " answered 400: The body isn't UTF-8.", Of(400, "The body isn't UTF-8.\n"));
  EXPECT_EQ(place + " answered 400: a\\x1bb", Of(400,
                                                 "a\x1b"
                                                 "b"));
  EXPECT_EQ(place + " answered 400", Of(400, "<html>"));
  EXPECT_EQ(place + " answered 400: " + std::string(500, 'x'), Of(400, std::string(9999, 'x')));
}

}  // namespace

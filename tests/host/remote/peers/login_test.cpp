// Logins, with clients that nobody here wrote.
#include "host/remote/fakepasswords.h"
#include "host/remote/peers/curlfixture.h"
#include "host/remote/zrdigestauthenticator.h"
#include "support/sourcedir.h"

namespace {

constexpr const char* kPython = "/usr/bin/python3";

// Offers /who, which answers with the user, and /take, which takes a body.
class CurlLogin : public Curl {
 protected:
  void SetUp() override {
    Curl::SetUp();
    passwords.Add("ana", "secret word");
    passwords.Add("leo", "another", false);
    server.Get("/who", [](ZRHttpRequest& request, ZRHttpResponse& response) {
      response.Begin(200, kContentText);
      response.Write(request.Authorization().User().Text(), -1);
      (void)response.End();
    });
    server.Put("/take", 1000,
               [this](ZRHttpRequest&, const std::string& body, ZRHttpResponse& response) {
                 taken += body + ";";
                 response.Begin(204, kContentNone);
                 (void)response.End();
               });
  }
  // Not each client undoes the quotes of a realm. Before the server starts.
  void SimplifyRealm() {
    passwords.realm = "plain";
    passwords.Add("ana", "secret word");
  }
  void StartWith(bool offersMd5) {
    ZRDigestSettings digest;
    digest.offersMd5 = offersMd5;
    authenticator = std::make_unique<ZRDigestAuthenticator>(passwords, digest);
    server.Authenticate(authenticator.get());
    Start();
  }

  FakePasswords passwords;
  std::unique_ptr<ZRDigestAuthenticator> authenticator;
  std::string taken;  // to be looked at behind Stop
};

TEST_F(CurlLogin, IsDoneWithDigest) {
  StartWith(false);
  ASSERT_EQ(0, Run({"--digest", "--user", "ana:secret word"}, "/who?a=%41&b=+"));
  EXPECT_EQ("HTTP/1.1 200", LastStatus());
  EXPECT_EQ("ana", Read("body"));
  EXPECT_NE(std::string::npos, Read("head").find("algorithm=SHA-256"));
}

TEST_F(CurlLogin, IsRefusedWithAWrongPassword) {
  StartWith(true);
  ASSERT_EQ(0, Run({"--digest", "--user", "ana:secret"}, "/who"));
  EXPECT_EQ("HTTP/1.1 401", LastStatus());
  ASSERT_EQ(0, Run({"--digest", "--user", "eva:secret word"}, "/who"));
  EXPECT_EQ("HTTP/1.1 401", LastStatus());
  ASSERT_EQ(0, Run({}, "/who"));
  EXPECT_EQ("HTTP/1.1 401", LastStatus());
}

// A client that can't sign with SHA-256 takes the second challenge.
TEST_F(CurlLogin, IsDoneWithMd5WhereThatIsOffered) {
  if (::access(kPython, X_OK) != 0) GTEST_SKIP() << kPython << " isn't installed";
  SimplifyRealm();
  StartWith(true);
  const std::string script = RepositoryPath("tests/host/remote/peers/md5login.py");
  const std::vector<std::string> words{script, std::to_string(server.Port()), "/who",
                                       "secret word"};
  ASSERT_EQ(0, RunProgram(kPython, words));
  EXPECT_EQ("ana", Read("body"));
  server.Stop();
  StartWith(false);
  EXPECT_NE(0, RunProgram(kPython, {script, std::to_string(server.Port()), "/who", "secret word"}));
}

TEST_F(CurlLogin, IsDoneForABody) {
  StartWith(false);
  ASSERT_EQ(0, Run({"--digest", "--user", "ana:secret word", "--data", "first"}, "/take"));
  EXPECT_EQ("HTTP/1.1 204", LastStatus());
  ASSERT_EQ(0,
            Run({"--digest", "--user", "ana:secret word", "--request", "PUT", "--data", "second"},
                "/take"));
  EXPECT_EQ("HTTP/1.1 204", LastStatus());
  ASSERT_EQ(0, Run({"--data", "third"}, "/take"));
  EXPECT_EQ("HTTP/1.1 401", LastStatus());
  server.Stop();
  EXPECT_EQ("first;second;", taken);
}

TEST_F(CurlLogin, IsNotDoneWithBasicInTheOpen) {
  StartWith(true);
  ASSERT_EQ(0, Run({"--basic", "--user", "ana:secret word"}, "/who"));
  EXPECT_EQ("HTTP/1.1 401", LastStatus());
  EXPECT_EQ(std::string::npos, Read("head").find("Basic"));
}

// Once as it was signed, once more, and with another body.
TEST_F(CurlLogin, OfASignedBodyIsGoodForThatBodyOnce) {
  if (::access(kPython, X_OK) != 0) GTEST_SKIP() << kPython << " isn't installed";
  SimplifyRealm();
  StartWith(false);
  const std::string script = RepositoryPath("tests/host/remote/peers/signedbody.py");
  ASSERT_EQ(0, RunProgram(kPython, {script, std::to_string(server.Port()), "ana", "secret word",
                                    "/take", "body"}));
  EXPECT_EQ("204 401 401", Read("statuses"));
  server.Stop();
  EXPECT_EQ("body;", taken);
}

}  // namespace

// TLS, with a client and a maker of certificates that nobody here wrote.
#include <sys/stat.h>

#include "host/remote/peers/curlfixture.h"
#include "support/fakeauthenticator.h"

namespace {

constexpr const char* kOpenSsl = "/usr/bin/openssl";
constexpr int kCertificateNotTrusted = 60;  // exit codes of curl
constexpr int kTlsFailed = 35;

class Tls : public Curl {
 protected:
  void SetUp() override {
    Curl::SetUp();
    if (IsSkipped()) return;
    if (::access(kOpenSsl, X_OK) != 0) GTEST_SKIP() << kOpenSsl << " isn't installed";
    ASSERT_TRUE(Make("hall"));
  }
  // A certificate and its key: NAME.pem, NAME.key.
  bool Make(const std::string& name) {
    const int code = RunProgram(
        kOpenSsl, {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                   "-nodes", "-days", "2", "-subj", "/CN=localhost", "-addext",
                   "subjectAltName=DNS:localhost,IP:127.0.0.1", "-keyout", folder / (name + ".key"),
                   "-out", folder / (name + ".pem")});
    return code == 0 && ::chmod((folder / (name + ".key")).c_str(), 0600) == 0;
  }
  bool Take(const std::string& certificate, const std::string& key) {
    return ReadTlsIdentity(folder / certificate, folder / key, settings.tls, reason);
  }
  int RunTls(std::vector<std::string> arguments, const std::string& trusted = "hall.pem") {
    arguments.insert(arguments.end(), {"--cacert", folder / trusted});
    return Run(std::move(arguments), "/plain", "https");
  }

  std::string reason;
};

TEST_F(Tls, CarriesAnAnswer) {
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  Start();
  for (const char* version : {"1.2", "1.3"}) {
    ASSERT_EQ(0, RunTls({"--tlsv1.2", "--tls-max", version})) << version;
    EXPECT_EQ(kText, Read("body"));
  }
}

TEST_F(Tls, IsNotSpokenInOldVersions) {
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  Start();
  for (const char* version : {"1.0", "1.1"})
    EXPECT_EQ(kTlsFailed,
              RunTls({"--tlsv1.0", "--tls-max", version, "--ciphers", "DEFAULT@SECLEVEL=0"}))
        << version;
}

TEST_F(Tls, ShowsItsOwnCertificate) {
  ASSERT_TRUE(Make("other"));
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  Start();
  EXPECT_EQ(kCertificateNotTrusted, RunTls({}, "other.pem"));
}

TEST_F(Tls, LeavesNoPlaceForPlainHttp) {
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  Start();
  EXPECT_EQ(0, Get("/plain").status);
  EXPECT_EQ(0, answered);
  EXPECT_NE(0, Run({}, "/plain"));
  EXPECT_EQ(0, RunTls({}));
}

TEST_F(Tls, IsToldToTheAuthenticator) {
  FakeAuthenticator authenticator;
  server.Authenticate(&authenticator);
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  Start();
  EXPECT_EQ(0, RunTls({"--header", "Authorization: ana"}));
  ASSERT_EQ(1u, authenticator.Claims().size());
  EXPECT_TRUE(authenticator.Claims()[0].isSecure);
  server.Stop();
}

TEST_F(Tls, CutsAClientThatNeverShakesHands) {
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  settings.pace.headMilliseconds = 20;
  Start();
  HttpClient silent(server.Port());
  EXPECT_EQ("", silent.ReceiveAll());
  EXPECT_TRUE(silent.IsClosed());
}

TEST_F(Tls, HasAnotherCertificateAfterANewStart) {
  ASSERT_TRUE(Make("other"));
  ASSERT_TRUE(Take("hall.pem", "hall.key")) << reason;
  Start();
  settings.port = server.Port();
  server.Stop();
  ASSERT_TRUE(Take("other.pem", "other.key")) << reason;
  Start();
  EXPECT_EQ(0, RunTls({}, "other.pem"));
  EXPECT_EQ(kCertificateNotTrusted, RunTls({}, "hall.pem"));
}

TEST_F(Tls, NeedsAKeyThatNobodyElseReads) {
  const std::string key = folder / "hall.key";
  for (const mode_t mode : {0644u, 0604u, 0620u, 0666u, 0601u}) {
    ASSERT_EQ(0, ::chmod(key.c_str(), mode));
    EXPECT_FALSE(Take("hall.pem", "hall.key"));
    EXPECT_EQ(key + " is open to other users: its owner alone should read it (mode 0600)", reason);
  }
  for (const mode_t mode : {0600u, 0400u, 0640u}) {
    ASSERT_EQ(0, ::chmod(key.c_str(), mode));
    EXPECT_TRUE(Take("hall.pem", "hall.key")) << reason;
  }
}

TEST_F(Tls, NeedsAKeyThatBelongsToItsCertificate) {
  ASSERT_TRUE(Make("other"));
  const ZRTlsIdentity before = settings.tls;
  EXPECT_FALSE(Take("hall.pem", "other.key"));
  const std::string both =
      (folder / "hall.pem").string() + " and " + (folder / "other.key").string();
  EXPECT_TRUE(reason.starts_with(both + " can't be used: ")) << reason;
  EXPECT_FALSE(Take("hall.key", "hall.key"));
  EXPECT_FALSE(Take("hall.pem", "missing.key"));
  EXPECT_EQ((folder / "missing.key").string() + " can't be opened: No such file or directory",
            reason);
  EXPECT_TRUE(settings.tls == before);
}

}  // namespace

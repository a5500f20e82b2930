// A site that speaks https.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tessaly/program/programfixture.h"

namespace {

constexpr const char* kCurl = "/usr/bin/curl";
constexpr const char* kOpenSsl = "/usr/bin/openssl";

class SecureProgram : public Program {
 protected:
  void SetUp() override {
    for (const char* needed : {kCurl, kOpenSsl})
      if (::access(needed, X_OK) != 0) GTEST_SKIP() << needed << " isn't installed";
    MakeCertificate("first");
    MakeCertificate("second");
    Use("first");
  }

  [[nodiscard]] std::string Path(const std::string& name) const {
    return (site.path / name).string();
  }
  void MakeCertificate(const std::string& name) const {
    RunningProgram openssl({kOpenSsl, "req", "-x509", "-newkey", "ec", "-pkeyopt",
                            "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj",
                            "/CN=localhost", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout",
                            Path(name + ".key"), "-out", Path(name + ".pem")});
    ASSERT_EQ(openssl.Wait(), 0) << openssl.Error();
    ASSERT_EQ(::chmod(Path(name + ".key").c_str(), 0600), 0);
  }
  // Makes a certificate that of the site.
  void Use(const std::string& name) const {
    const auto overwrite = std::filesystem::copy_options::overwrite_existing;
    for (const char* kind : {".pem", ".key"})
      std::filesystem::copy_file(Path(name + kind), Path(std::string("site") + kind), overwrite);
    Settings("[http]\nport = 0\ncertificate = \"site.pem\"\nkey = \"site.key\"\n");
  }
  // Its address, or nothing.
  std::string StartSecurely() {
    program = std::make_unique<RunningProgram>(Words({"run", site.path.string()}));
    if (!program->WaitFor(" shows what is active\n")) return "";
    const std::string said = program->Error();
    const std::size_t at = said.rfind("https://");
    return at == std::string::npos ? "" : said.substr(at, said.find("/services", at) - at);
  }
  // What a client gets that trusts this certificate alone.
  [[nodiscard]] std::string Get(const std::string& url, const std::string& trusted) const {
    RunningProgram curl({kCurl, "--disable", "--silent", "--noproxy", "*", "--max-time", "20",
                         "--cacert", Path(trusted + ".pem"), url});
    (void)curl.Wait();
    return curl.Out();
  }
};

TEST_F(SecureProgram, ShowsItsCertificateAndANewOneAfterAReload) {
  const std::string url = StartSecurely();
  ASSERT_NE(url, "") << program->Error();
  EXPECT_EQ(Get(url + "/readyz", "first"), "ok\n");
  EXPECT_EQ(Get(url + "/readyz", "second"), "");
  Use("second");
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("the web server has new settings: " + url + "\n"));
  EXPECT_TRUE(program->WaitFor("1 events of "));
  EXPECT_EQ(Get(url + "/readyz", "second"), "ok\n");
  EXPECT_EQ(Get(url + "/readyz", "first"), "");
  EXPECT_EQ(Stop(), kDone);
}

TEST_F(SecureProgram, StaysWithItsKeyWhereTheNewOneIsOpenToOthers) {
  const std::string url = StartSecurely();
  ASSERT_NE(url, "") << program->Error();
  Use("second");
  ASSERT_EQ(::chmod(Path("site.key").c_str(), 0644), 0);
  program->Signal(SIGHUP);
  EXPECT_TRUE(program->WaitFor("the web server stays as it is: " + Path("site.key") +
                               " is open to other users: its owner alone should read it (mode "
                               "0600)\n"));
  EXPECT_TRUE(program->WaitFor("1 events of "));
  EXPECT_EQ(Get(url + "/healthz", "first"), "ok\n");
  EXPECT_EQ(Stop(), kDone);
  EXPECT_EQ(Run({"check"}), kImpossible);
  EXPECT_EQ(Run({"run"}), kImpossible);
  EXPECT_NE(error.find("the web server can't start: " + Path("site.key") + " is open"),
            std::string::npos)
      << error;
}

}  // namespace

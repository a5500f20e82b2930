#include "host/remote/zrdigestclaim.h"

#include <gtest/gtest.h>

#include <map>

namespace {

// The parameters of a claim that is fine, to be changed one at a time.
class DigestClaim : public testing::Test {
 protected:
  [[nodiscard]] std::string Text() const {
    std::string text;
    for (const auto& [name, value] : parameters)
      text += (text.empty() ? "" : ", ") + name + "=" + value;
    return text;
  }
  // Whether it is fine with this parameter as well, or in place of the one of that name.
  bool Takes(const std::string& name, const std::string& value) {
    const std::map<std::string, std::string> before = parameters;
    parameters[name] = value;
    const bool isTaken = ParseDigestClaim(Text(), claim);
    parameters = before;
    return isTaken;
  }
  bool TakesWithout(const std::string& name) {
    const std::map<std::string, std::string> before = parameters;
    parameters.erase(name);
    const bool isTaken = ParseDigestClaim(Text(), claim);
    parameters = before;
    return isTaken;
  }
  bool TakesUser(const std::string& extended) {
    const std::map<std::string, std::string> before = parameters;
    parameters.erase("username");
    parameters["username*"] = extended;
    const bool isTaken = ParseDigestClaim(Text(), claim);
    parameters = before;
    return isTaken;
  }

  std::map<std::string, std::string> parameters = {
      {"username", "\"ana\""},
      {"realm", "\"plant\""},
      {"uri", "\"/a?b=c\""},
      {"algorithm", "SHA-256"},
      {"nonce", "\"n0nce\""},
      {"nc", "0000002a"},
      {"cnonce", "\"mine\""},
      {"qop", "auth"},
      {"response", "\"" + std::string(64, 'f') + "\""}};
  ZRDigestClaim claim;
};

TEST_F(DigestClaim, HasWhatTheParametersSay) {
  ASSERT_TRUE(ParseDigestClaim(Text(), claim));
  EXPECT_EQ(ZRPasswordDigest::kSha256, claim.algorithm);
  EXPECT_FALSE(claim.signsBody);
  EXPECT_EQ("ana", claim.user);
  EXPECT_EQ("plant", claim.realm);
  EXPECT_EQ("/a?b=c", claim.uri);
  EXPECT_EQ("n0nce", claim.nonce);
  EXPECT_EQ("mine", claim.clientNonce);
  EXPECT_EQ("0000002a", claim.countText);
  EXPECT_EQ(42u, claim.count);
  EXPECT_EQ(std::string(64, 'f'), claim.response);
}

TEST_F(DigestClaim, NeedsEveryParameterButTheAlgorithm) {
  for (const char* const name :
       {"username", "realm", "uri", "nonce", "nc", "cnonce", "qop", "response"})
    EXPECT_FALSE(TakesWithout(name)) << name;
}

TEST_F(DigestClaim, IsOfMd5WithoutAnAlgorithm) {
  parameters["response"] = "\"" + std::string(32, '0') + "\"";
  EXPECT_TRUE(TakesWithout("algorithm"));
  EXPECT_EQ(ZRPasswordDigest::kMd5, claim.algorithm);
  EXPECT_TRUE(Takes("algorithm", "MD5"));
  EXPECT_FALSE(Takes("algorithm", "SHA-256"));  // the response is too short
}

TEST_F(DigestClaim, HasNoOtherAlgorithm) {
  EXPECT_TRUE(Takes("algorithm", "sha-256"));
  EXPECT_FALSE(Takes("algorithm", "SHA-256-sess"));
  EXPECT_FALSE(Takes("algorithm", "MD5-sess"));
  EXPECT_FALSE(Takes("algorithm", "SHA-512-256"));
}

TEST_F(DigestClaim, SignsTheRequestOrTheBodyToo) {
  EXPECT_TRUE(Takes("qop", "auth-int"));
  EXPECT_TRUE(claim.signsBody);
  EXPECT_FALSE(Takes("qop", "\"auth,auth-int\""));
  EXPECT_FALSE(Takes("qop", "auth-conf"));
}

// Old clients put them into quotes; texts without quotes are nothing that a client sends.
TEST_F(DigestClaim, MayQuoteWordsAndMustQuoteTexts) {
  EXPECT_TRUE(Takes("qop", "\"auth\""));
  EXPECT_TRUE(Takes("algorithm", "\"SHA-256\""));
  EXPECT_TRUE(Takes("nc", "\"0000002a\""));
  EXPECT_FALSE(Takes("username", "ana"));
  EXPECT_FALSE(Takes("realm", "plant"));
  EXPECT_FALSE(Takes("nonce", "n0nce"));
  EXPECT_FALSE(Takes("cnonce", "mine"));
  EXPECT_FALSE(Takes("response", std::string(64, 'f')));
}

TEST_F(DigestClaim, NamesEachParameterOnce) {
  for (const auto& [name, value] : parameters) {
    EXPECT_FALSE(ParseDigestClaim(Text() + ", " + name + "=" + value, claim)) << name;
  }
  EXPECT_FALSE(ParseDigestClaim(Text() + ", NC=0000002a", claim));
  EXPECT_FALSE(ParseDigestClaim(Text() + ", x=1, x=1", claim));
}

TEST_F(DigestClaim, PassesOverOtherParameters) {
  EXPECT_TRUE(Takes("opaque", "\"o\""));
  EXPECT_TRUE(Takes("auth-param", "word"));
}

TEST_F(DigestClaim, MayHaveBlanksAndEmptyPlaces) {
  parameters.erase("nc");
  EXPECT_TRUE(ParseDigestClaim("  ,, nc =\t0000002a ,," + Text() + " , ", claim));
  EXPECT_FALSE(ParseDigestClaim("nc=0000002a " + Text(), claim));
  EXPECT_FALSE(ParseDigestClaim("nc=00 00002a, " + Text(), claim));
  EXPECT_FALSE(ParseDigestClaim("nc, " + Text(), claim));
  EXPECT_FALSE(ParseDigestClaim("nc=, " + Text(), claim));
  EXPECT_FALSE(ParseDigestClaim("=0000002a, " + Text(), claim));
}

TEST_F(DigestClaim, CountsInEightLowerCaseDigits) {
  EXPECT_TRUE(Takes("nc", "ffffffff"));
  EXPECT_EQ(0xFFFFFFFFu, claim.count);
  EXPECT_FALSE(Takes("nc", "FFFFFFFF"));
  EXPECT_FALSE(Takes("nc", "1"));
  EXPECT_FALSE(Takes("nc", "000000001"));
  EXPECT_FALSE(Takes("nc", "0000000g"));
  EXPECT_FALSE(Takes("nc", "+0000001"));
}

TEST_F(DigestClaim, HasAResponseOfLowerCaseDigits) {
  EXPECT_FALSE(Takes("response", "\"" + std::string(64, 'F') + "\""));
  EXPECT_FALSE(Takes("response", "\"" + std::string(63, 'f') + "\""));
  EXPECT_FALSE(Takes("response", "\"" + std::string(65, 'f') + "\""));
  EXPECT_FALSE(Takes("response", "\"" + std::string(63, 'f') + "g\""));
}

TEST_F(DigestClaim, UndoesTheEscapesOfTexts) {
  EXPECT_TRUE(Takes("username", R"("a\"n\\a")"));
  EXPECT_EQ("a\"n\\a", claim.user);
  EXPECT_FALSE(Takes("username", R"("ana\)"));
  EXPECT_FALSE(ParseDigestClaim(Text() + ", x=\"open", claim));
  EXPECT_FALSE(ParseDigestClaim(Text() + ", x=\"open\\", claim));
}

TEST_F(DigestClaim, HasAUserInUtf8WithoutControls) {
  EXPECT_TRUE(Takes("username", "\"J\xC3\xA4s\xC3\xB8n\""));
  EXPECT_EQ("J\xC3\xA4s\xC3\xB8n", claim.user);
  EXPECT_FALSE(Takes("username", "\"J\xE4s\""));
  EXPECT_FALSE(Takes("username", "\"a\tb\""));
  EXPECT_FALSE(Takes("username", "\"a\nb\""));
  EXPECT_FALSE(Takes("username", "\"a\x7F\""));
  EXPECT_FALSE(Takes("username", "\"\""));
}

// The name of RFC 7616, section 3.9.2.
TEST_F(DigestClaim, MayHaveAnExtendedName) {
  EXPECT_TRUE(TakesUser("UTF-8''J%C3%A4s%C3%B8n%20Doe"));
  EXPECT_EQ("J\xC3\xA4s\xC3\xB8n Doe", claim.user);
  EXPECT_TRUE(TakesUser("utf-8'de'a%c3%a4"));
  EXPECT_EQ("a\xC3\xA4", claim.user);
  EXPECT_FALSE(TakesUser("\"UTF-8''ana\""));
  EXPECT_FALSE(TakesUser("ISO-8859-1''ana"));
  EXPECT_FALSE(TakesUser("UTF-8'ana"));
  EXPECT_FALSE(TakesUser("ana"));
  EXPECT_FALSE(TakesUser("UTF-8''"));
  EXPECT_FALSE(TakesUser("UTF-8''a%C3"));
  EXPECT_FALSE(TakesUser("UTF-8''a%0a"));
  EXPECT_FALSE(TakesUser("UTF-8''a%4"));
  EXPECT_FALSE(TakesUser("UTF-8''a%g0"));
  EXPECT_FALSE(TakesUser("UTF-8''a'b"));
  EXPECT_FALSE(Takes("username*", "UTF-8''ana"));  // beside the other name
}

TEST_F(DigestClaim, DoesNotHashTheName) {
  EXPECT_TRUE(Takes("userhash", "false"));
  EXPECT_FALSE(Takes("userhash", "true"));
}

TEST_F(DigestClaim, HasBounds) {
  EXPECT_TRUE(Takes("username", "\"" + std::string(kMostUserNameBytes, 'a') + "\""));
  EXPECT_FALSE(Takes("username", "\"" + std::string(kMostUserNameBytes + 1, 'a') + "\""));
  EXPECT_TRUE(Takes("cnonce", "\"" + std::string(kMostClientNonceBytes, 'a') + "\""));
  EXPECT_FALSE(Takes("cnonce", "\"" + std::string(kMostClientNonceBytes + 1, 'a') + "\""));
  std::string many = Text();
  for (std::size_t number = parameters.size(); number < 32; ++number)
    many += ", x" + std::to_string(number) + "=1";
  EXPECT_TRUE(ParseDigestClaim(many, claim));
  EXPECT_FALSE(ParseDigestClaim(many + ", more=1", claim));
}

TEST(LoginScheme, IsInAnyCase) {
  std::string_view credentials;
  EXPECT_EQ(ZRLoginScheme::kDigest, LoginScheme("dIGEST  x=1", credentials));
  EXPECT_EQ("x=1", credentials);
  EXPECT_EQ(ZRLoginScheme::kBasic, LoginScheme("basic YQ==", credentials));
  EXPECT_EQ("YQ==", credentials);
  EXPECT_EQ(ZRLoginScheme::kDigest, LoginScheme("Digest ", credentials));
  EXPECT_EQ("", credentials);
  EXPECT_EQ(ZRLoginScheme::kNone, LoginScheme("Digest", credentials));
  EXPECT_EQ(ZRLoginScheme::kNone, LoginScheme("Digestx y", credentials));
  EXPECT_EQ(ZRLoginScheme::kNone, LoginScheme("Bearer abc", credentials));
  EXPECT_EQ(ZRLoginScheme::kNone, LoginScheme("", credentials));
}

TEST(LoginScheme, IsOfNoHeaderThatIsTooLarge) {
  std::string_view credentials;
  const std::string most = "Digest " + std::string(kMostAuthorizationBytes - 7, 'x');
  EXPECT_EQ(ZRLoginScheme::kDigest, LoginScheme(most, credentials));
  EXPECT_EQ(ZRLoginScheme::kNone, LoginScheme(most + "x", credentials));
}

class BasicClaim : public testing::Test {
 protected:
  bool Parse(std::string_view credentials) { return ParseBasicClaim(credentials, user, password); }
  std::string user;
  std::string password;
};

// The examples of RFC 7617.
TEST_F(BasicClaim, HasAUserAndAPassword) {
  EXPECT_TRUE(Parse("QWxhZGRpbjpvcGVuIHNlc2FtZQ=="));
  EXPECT_EQ("Aladdin", user);
  EXPECT_EQ("open sesame", password);
  EXPECT_TRUE(Parse("dGVzdDoxMjPCow=="));
  EXPECT_EQ("test", user);
  EXPECT_EQ("123\xC2\xA3", password);
  EXPECT_TRUE(Parse("YTpiOmM="));
  EXPECT_EQ("a", user);
  EXPECT_EQ("b:c", password);
  EXPECT_TRUE(Parse("YTo= "));
  EXPECT_EQ("", password);
}

TEST_F(BasicClaim, IsTheOnePaddedFormOfSomeBytes) {
  EXPECT_FALSE(Parse(""));
  EXPECT_FALSE(Parse("===="));
  EXPECT_FALSE(Parse("YTo"));
  EXPECT_FALSE(Parse("YTp="));  // bits behind the last byte
  EXPECT_FALSE(Parse("Y==="));
  EXPECT_FALSE(Parse("YT o="));
  EXPECT_FALSE(Parse("YTo=YTo="));
  EXPECT_FALSE(Parse("YTo_"));
}

TEST_F(BasicClaim, NeedsAColonAndAName) {
  EXPECT_FALSE(Parse("YWFh"));      // aaa
  EXPECT_FALSE(Parse("OmFh"));      // :aa
  EXPECT_FALSE(Parse("YQo6YQ=="));  // a line end in the name
  EXPECT_FALSE(Parse("5DphYQ=="));  // not UTF-8
}

}  // namespace

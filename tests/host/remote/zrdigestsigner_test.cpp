#include "host/remote/zrdigestsigner.h"

#include <gtest/gtest.h>

#include "host/remote/zrdigestclaim.h"
#include "host/remote/zrdigestresponse.h"

namespace {

constexpr const char* kBoth =
    "Digest realm=\"R\", qop=\"auth, auth-int\", algorithm=SHA-256, nonce=\"n1\", opaque=\"o\"";

// What a server reads in a signature.
ZRDigestClaim Claim(const std::string& header) {
  std::string_view credentials;
  EXPECT_EQ(LoginScheme(header, credentials), ZRLoginScheme::kDigest) << header;
  ZRDigestClaim claim;
  EXPECT_TRUE(ParseDigestClaim(credentials, claim)) << header;
  return claim;
}

std::string Expected(const ZRDigestClaim& claim, std::string_view body) {
  const ZRDigestSubject subject = {
      "PUT", "/a?b=c", claim.nonce, claim.countText, claim.clientNonce, claim.signsBody, body};
  return DigestResponse(claim.algorithm, PasswordDigest(claim.algorithm, "ana", "R", "secret"),
                        subject);
}

TEST(DigestSigner, SignsWhatAServerAccepts) {
  ZRDigestSigner signer;
  signer.Take(kBoth);
  ASSERT_TRUE(signer.CanSign());
  const std::string header = signer.Sign("PUT", "/a?b=c", "body", "ana", "secret");
  const ZRDigestClaim claim = Claim(header);
  EXPECT_EQ(claim.user, "ana");
  EXPECT_EQ(claim.realm, "R");
  EXPECT_EQ(claim.uri, "/a?b=c");
  EXPECT_EQ(claim.nonce, "n1");
  EXPECT_TRUE(claim.signsBody);
  EXPECT_EQ(claim.algorithm, ZRPasswordDigest::kSha256);
  EXPECT_EQ(claim.response, Expected(claim, "body"));
  EXPECT_NE(claim.response, Expected(claim, "other"));
  EXPECT_NE(header.find("opaque=\"o\""), std::string::npos);
  EXPECT_EQ(header.find("secret"), std::string::npos);
}

TEST(DigestSigner, CountsWithEachNonceAndHasANewOneOfItsOwn) {
  ZRDigestSigner signer;
  signer.Take(kBoth);
  const ZRDigestClaim first = Claim(signer.Sign("PUT", "/", "", "ana", "secret"));
  const ZRDigestClaim second = Claim(signer.Sign("PUT", "/", "", "ana", "secret"));
  EXPECT_EQ(first.count, 1u);
  EXPECT_EQ(second.count, 2u);
  EXPECT_NE(first.clientNonce, second.clientNonce);
}

TEST(DigestSigner, SignsTheRequestAloneWhereTheServerTakesNoMore) {
  ZRDigestSigner signer;
  signer.Take("Digest realm=\"R\", qop=\"auth\", nonce=\"n\"");
  const ZRDigestClaim claim = Claim(signer.Sign("PUT", "/a?b=c", "body", "ana", "secret"));
  EXPECT_FALSE(claim.signsBody);
  EXPECT_EQ(claim.algorithm, ZRPasswordDigest::kMd5);
  EXPECT_EQ(claim.response, Expected(claim, "another body"));
}

TEST(DigestSigner, TakesTheBetterChallenge) {
  ZRDigestSigner signer;
  signer.Take("Digest realm=\"R\", qop=\"auth\", nonce=\"md5\", algorithm=MD5");
  signer.Take(kBoth);
  signer.Take("Digest realm=\"R\", qop=\"auth\", nonce=\"later\", algorithm=SHA-256");
  signer.Take("Digest realm=\"R\", qop=\"auth\", nonce=\"md5\"");
  EXPECT_EQ(Claim(signer.Sign("PUT", "/", "", "ana", "secret")).nonce, "n1");
  signer.Forget();
  EXPECT_FALSE(signer.CanSign());
}

TEST(DigestSigner, PassesOverWhatItCannotAnswer) {
  ZRDigestSigner signer;
  for (const char* challenge :
       {"", "Basic realm=\"R\"", "Digest", "Digest realm=\"R\", nonce=\"n\"",
        "Digest realm=\"R\", qop=\"auth\"", "Digest realm=\"R\", qop=\"other\", nonce=\"n\"",
        "Digest realm=\"R\", qop=\"auth\", nonce=\"n\", algorithm=SHA-512-256",
        "Digest realm=\"R\", realm=\"R\", qop=\"auth\", nonce=\"n\"",
        "Digest realm=\"R, qop=\"auth\", nonce=\"n\""})
    signer.Take(challenge);
  signer.Take("Digest realm=\"R\", qop=\"auth\", nonce=\"" + std::string(1025, 'n') + "\"");
  EXPECT_FALSE(signer.CanSign());
}

TEST(DigestSigner, QuotesWhatStandsInQuotes) {
  ZRDigestSigner signer;
  signer.Take("Digest realm=\"a\\\"b\", qop=\"auth\", nonce=\"n\\\\n\"");
  const ZRDigestClaim claim = Claim(signer.Sign("PUT", "/", "", "an\"a", "secret"));
  EXPECT_EQ(claim.realm, "a\"b");
  EXPECT_EQ(claim.nonce, "n\\n");
  EXPECT_EQ(claim.user, "an\"a");
}

}  // namespace

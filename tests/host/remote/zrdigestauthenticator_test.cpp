#include "host/remote/zrdigestauthenticator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakepasswords.h"
#include "host/platform/zrvirtualtime.h"

namespace {

using tagKind = ZRLoginVerdict::tagKind;

constexpr const char* kPeer = "10.0.0.7";

class DigestAuthenticator : public testing::Test {
 protected:
  DigestAuthenticator() {
    settings.offersMd5 = true;
    users.Add("ana", "secret");
    users.Add("leo", "other");
    client.nonce = Nonce();
  }

  ZRLoginVerdict Judge(const std::string& authorization, bool isSecure = false) {
    return authenticator.Judge({client.method, target, authorization, peer, isSecure});
  }
  // What becomes of the client's next request.
  ZRLoginVerdict Send() {
    ZRLoginVerdict verdict = Judge(client.Header());
    ++client.count;
    return verdict;
  }
  tagKind Sent() { return Send().kind; }
  // The same with a body that arrives as `body`.
  tagKind SentWithBody(const std::string& body) {
    client.signsBody = true;
    const ZRLoginVerdict head = Send();
    EXPECT_EQ(tagKind::kNeedsBody, head.kind);
    return authenticator.JudgeBody(head, body).kind;
  }
  std::string Nonce() { return ChallengeValue(Judge("").challenges[0], "nonce"); }
  static bool IsStale(const ZRLoginVerdict& verdict) {
    return verdict.kind == tagKind::kRefused &&
           ChallengeValue(verdict.challenges[0], "stale") == "true";
  }
  // Refused, and not because something is merely old.
  static bool IsRefused(const ZRLoginVerdict& verdict) {
    return verdict.kind == tagKind::kRefused && !IsStale(verdict);
  }
  void GuessWrong(int times) {
    const std::string password = client.password;
    client.password = "guess";
    for (int guess = 0; guess < times; ++guess)
      (void)Sent();
    client.password = password;
  }

  ZRVirtualTime time;
  FakePasswords users;
  ZRDigestSettings settings;
  ZRDigestAuthenticator authenticator{users, [] {
                                        ZRDigestSettings withMd5;
                                        withMd5.offersMd5 = true;
                                        return withMd5;
                                      }()};
  DigestClient client;
  std::string target = client.uri;
  std::string peer = kPeer;
};

TEST_F(DigestAuthenticator, LetsEverybodyInWhileThereAreNoUsers) {
  const FakePasswords nobody;
  ZRDigestAuthenticator open(nobody);
  EXPECT_EQ(tagKind::kOpen, open.Judge({"GET", "/", "", kPeer, false}).kind);
  EXPECT_EQ(tagKind::kOpen, open.Judge({"GET", "/", client.Header(), kPeer, false}).kind);
}

TEST_F(DigestAuthenticator, SaysHowToLogIn) {
  const ZRLoginVerdict verdict = Judge("");
  EXPECT_EQ(tagKind::kRefused, verdict.kind);
  ASSERT_EQ(2u, verdict.challenges.size());
  const std::string nonce = ChallengeValue(verdict.challenges[0], "nonce");
  EXPECT_EQ("Digest realm=\"north \\\"plant\\\"\", nonce=\"" + nonce +
                "\", qop=\"auth, auth-int\", algorithm=SHA-256, charset=UTF-8, userhash=false",
            verdict.challenges[0]);
  EXPECT_EQ("MD5", ChallengeValue(verdict.challenges[1], "algorithm"));
  EXPECT_NE(nonce, ChallengeValue(verdict.challenges[1], "nonce"));
  EXPECT_EQ("", verdict.note);
}

TEST_F(DigestAuthenticator, TakesAGoodSignature) {
  const ZRLoginVerdict verdict = Send();
  EXPECT_EQ(tagKind::kAccepted, verdict.kind);
  EXPECT_EQ("ana", verdict.user);
  EXPECT_TRUE(verdict.challenges.empty());
  EXPECT_EQ(tagKind::kAccepted, Sent());
}

TEST_F(DigestAuthenticator, TakesMd5OnlyIfItOffersIt) {
  client.algorithm = ZRPasswordDigest::kMd5;
  EXPECT_EQ(tagKind::kAccepted, Sent());
  ZRDigestAuthenticator strict(users);
  const ZRLoginVerdict challenge = strict.Judge({"GET", target, "", kPeer, false});
  EXPECT_EQ(1u, challenge.challenges.size());
  client.nonce = ChallengeValue(challenge.challenges[0], "nonce");
  EXPECT_TRUE(IsRefused(strict.Judge({"GET", target, client.Header(), kPeer, false})));
  client.algorithm = ZRPasswordDigest::kSha256;
  EXPECT_EQ(tagKind::kAccepted, strict.Judge({"GET", target, client.Header(), kPeer, false}).kind);
}

TEST_F(DigestAuthenticator, RefusesMd5OfAUserWhoHasNone) {
  users.Add("eva", "word", false);
  client.user = "eva";
  client.password = "word";
  EXPECT_EQ(tagKind::kAccepted, Sent());
  client.algorithm = ZRPasswordDigest::kMd5;
  EXPECT_TRUE(IsRefused(Send()));
}

TEST_F(DigestAuthenticator, RefusesAWrongPasswordAndAnUnknownUserAlike) {
  client.password = "guess";
  const ZRLoginVerdict wrong = Send();
  client.user = "nobody";
  const ZRLoginVerdict unknown = Send();
  EXPECT_TRUE(IsRefused(wrong));
  EXPECT_TRUE(IsRefused(unknown));
  ASSERT_EQ(wrong.challenges.size(), unknown.challenges.size());
  EXPECT_EQ(wrong.challenges[0].size(), unknown.challenges[0].size());
  EXPECT_EQ("", wrong.user);
  EXPECT_EQ("", unknown.user);
  EXPECT_EQ("the name or password of 'ana' from 10.0.0.7 is wrong", wrong.note);
  EXPECT_EQ("the name or password of 'nobody' from 10.0.0.7 is wrong", unknown.note);
}

// What is signed with the digest that stands for nobody's is still nobody's.
TEST_F(DigestAuthenticator, RefusesTheDigestThatStandsForAnUnknownUser) {
  client.user = "nobody";
  const std::string header = client.Header();
  const std::string stand(64, '0');
  const std::string response = DigestResponse(
      ZRPasswordDigest::kSha256, stand,
      {client.method, client.uri, client.nonce, client.CountText(), client.clientNonce, false, ""});
  const std::string forged =
      header.substr(0, header.find("response=")) + "response=\"" + response + "\"";
  EXPECT_TRUE(IsRefused(Judge(forged)));
}

TEST_F(DigestAuthenticator, RefusesAUserWhoseDigestIsBroken) {
  users.Keep("eva", "");
  client.user = "eva";
  const std::string header = client.Header();
  const std::string response = DigestResponse(
      ZRPasswordDigest::kSha256, "",
      {client.method, client.uri, client.nonce, client.CountText(), client.clientNonce, false, ""});
  const std::string forged =
      header.substr(0, header.find("response=")) + "response=\"" + response + "\"";
  EXPECT_TRUE(IsRefused(Judge(forged)));
}

TEST_F(DigestAuthenticator, RefusesARequestThatComesTwice) {
  const std::string header = client.Header();
  EXPECT_EQ(tagKind::kAccepted, Judge(header).kind);
  const ZRLoginVerdict again = Judge(header);
  EXPECT_TRUE(IsStale(again));
  EXPECT_EQ("a request of 'ana' from 10.0.0.7 came twice", again.note);
}

TEST_F(DigestAuthenticator, TakesCountsThatOvertakeOneAnother) {
  client.count = 3;
  EXPECT_EQ(tagKind::kAccepted, Sent());
  client.count = 1;
  EXPECT_EQ(tagKind::kAccepted, Sent());
  EXPECT_EQ(tagKind::kAccepted, Sent());
  EXPECT_TRUE(IsStale(Send()));  // 3 again
}

TEST_F(DigestAuthenticator, TakesASignatureForItsOwnTargetOnly) {
  const std::string header = client.Header();
  target = "/services/events/active.xml?x=2";
  EXPECT_TRUE(IsRefused(Judge(header)));
  target = "/services/events/active.xml?x=%31";
  EXPECT_TRUE(IsRefused(Judge(header)));
  target = "/services/events/active.xml";
  EXPECT_TRUE(IsRefused(Judge(header)));
  target = client.uri;
  EXPECT_EQ(tagKind::kAccepted, Judge(header).kind);
}

// Its `uri` has to be the target too, even if the target itself is what was signed.
TEST_F(DigestAuthenticator, RefusesASignatureThatNamesAnotherTarget) {
  std::string header = client.Header();
  header.replace(header.find("?x=1\""), 4, "?x=2");
  EXPECT_TRUE(IsRefused(Judge(header)));
  EXPECT_EQ(tagKind::kAccepted, Sent());
}

TEST_F(DigestAuthenticator, CountsNoGoodSignatureOfAnotherTargetAsAWrongPassword) {
  const std::string header = client.Header();
  target = "/other";
  for (int again = 0; again < 10; ++again)
    EXPECT_EQ(tagKind::kRefused, Judge(header).kind);
  target = client.uri;
  EXPECT_EQ(tagKind::kAccepted, Judge(header).kind);
}

TEST_F(DigestAuthenticator, TakesASignatureForItsOwnMethodOnly) {
  const std::string header = client.Header();
  EXPECT_TRUE(IsRefused(authenticator.Judge({"PUT", target, header, kPeer, false})));
  EXPECT_EQ(tagKind::kAccepted, Judge(header).kind);
}

TEST_F(DigestAuthenticator, TakesASignatureForItsRealmOnly) {
  std::string header = client.Header();
  header.replace(header.find("north"), 5, "south");  // signed with the right one
  EXPECT_TRUE(IsRefused(Judge(header)));
  client.realm = "south";
  EXPECT_TRUE(IsRefused(Send()));
}

// The client is told to sign anew only if it knows the password.
TEST_F(DigestAuthenticator, CallsAGoodSignatureOfAnOldNonceStale) {
  time.Advance(300'000);
  EXPECT_TRUE(IsStale(Send()));
  client.password = "guess";
  EXPECT_TRUE(IsRefused(Send()));
  client.password = "secret";
  client.nonce = Nonce();
  time.Advance(299'999);
  EXPECT_EQ(tagKind::kAccepted, Sent());
}

TEST_F(DigestAuthenticator, CallsTheNonceOfAnEarlierRunStale) {
  ZRDigestAuthenticator another(users);
  client.nonce =
      ChallengeValue(another.Judge({"GET", target, "", kPeer, false}).challenges[0], "nonce");
  EXPECT_TRUE(IsStale(Send()));
}

TEST_F(DigestAuthenticator, KnowsAnOldNonceAfterTheTicksHaveWrapped) {
  time.SetTickCount(0xFFFFFFF0u);
  client.nonce = Nonce();
  time.Advance(1000);
  EXPECT_EQ(tagKind::kAccepted, Sent());
  time.Advance(300'000);
  EXPECT_TRUE(IsStale(Send()));
}

TEST_F(DigestAuthenticator, ReadsAnExtendedName) {
  users.Add("J\xC3\xA4s", "secret");
  client.user = "J\xC3\xA4s";
  client.nameParameter = "username*=UTF-8''J%C3%A4s";
  const ZRLoginVerdict verdict = Send();
  EXPECT_EQ(tagKind::kAccepted, verdict.kind);
  EXPECT_EQ("J\xC3\xA4s", verdict.user);
}

TEST_F(DigestAuthenticator, RefusesWhatItCannotRead) {
  EXPECT_TRUE(IsRefused(Judge("Digest")));
  EXPECT_TRUE(IsRefused(Judge("Digest username=\"ana\"")));
  EXPECT_TRUE(IsRefused(Judge("Bearer abc")));
  EXPECT_TRUE(IsRefused(Judge(client.Header() + ", nc=00000001")));
}

// --- with the body ---

TEST_F(DigestAuthenticator, AsksForTheBodyThatWasSigned) {
  client.method = "PUT";
  client.body = std::string("<a>\0</a>\n", 9);
  EXPECT_EQ(tagKind::kAccepted, SentWithBody(client.body));
}

TEST_F(DigestAuthenticator, RefusesAnotherBody) {
  client.method = "PUT";
  client.body = "<a/>";
  EXPECT_EQ(tagKind::kRefused, SentWithBody("<b/>"));
  EXPECT_EQ(tagKind::kRefused, SentWithBody(""));
  EXPECT_EQ(tagKind::kAccepted, SentWithBody("<a/>"));
}

TEST_F(DigestAuthenticator, RefusesABodyThatComesTwice) {
  client.signsBody = true;
  client.body = "<a/>";
  const ZRLoginVerdict head = Send();
  ASSERT_EQ(tagKind::kNeedsBody, head.kind);
  EXPECT_EQ("ana", authenticator.JudgeBody(head, client.body).user);
  EXPECT_TRUE(IsStale(authenticator.JudgeBody(head, client.body)));
}

TEST_F(DigestAuthenticator, RefusesABodyWithoutItsHead) {
  client.signsBody = true;
  ZRLoginVerdict head = Send();
  ASSERT_EQ(tagKind::kNeedsBody, head.kind);
  ZRLoginVerdict other = head;
  other.kind = tagKind::kAccepted;
  EXPECT_EQ(tagKind::kRefused, authenticator.JudgeBody(other, "").kind);
  other = head;
  other.bodyProof.pop_back();
  EXPECT_EQ(tagKind::kRefused, authenticator.JudgeBody(other, "").kind);
  EXPECT_EQ(tagKind::kRefused, authenticator.JudgeBody(ZRLoginVerdict(), "").kind);
  EXPECT_EQ(tagKind::kAccepted, authenticator.JudgeBody(head, "").kind);
}

TEST_F(DigestAuthenticator, CountsAWrongPasswordThatSignsABody) {
  client.password = "guess";
  for (int guess = 0; guess < 6; ++guess)
    EXPECT_EQ(tagKind::kRefused, SentWithBody(""));
  EXPECT_EQ(tagKind::kThrottled, Sent());
}

// --- guesses ---

TEST_F(DigestAuthenticator, HoldsUpWhoGuessesUntilTheMinuteHasPassed) {
  GuessWrong(5);
  EXPECT_EQ(tagKind::kAccepted, Sent());
  GuessWrong(1);
  const ZRLoginVerdict verdict = Send();  // with the right password
  EXPECT_EQ(tagKind::kThrottled, verdict.kind);
  EXPECT_EQ(60u, verdict.retrySeconds);
  EXPECT_TRUE(verdict.challenges.empty());
  time.Advance(59'999);
  EXPECT_EQ(1u, Send().retrySeconds);
  time.Advance(1);
  EXPECT_EQ(tagKind::kAccepted, Sent());
}

TEST_F(DigestAuthenticator, TellsTheLogOnceWhoIsHeldUp) {
  GuessWrong(5);
  client.password = "guess";
  const ZRLoginVerdict verdict = Send();
  EXPECT_EQ(tagKind::kThrottled, verdict.kind);
  EXPECT_EQ("the name or password of 'ana' from 10.0.0.7 is wrong: refused for 60 s", verdict.note);
  EXPECT_EQ("", Send().note);
}

TEST_F(DigestAuthenticator, HoldsUpUnknownUsersAlike) {
  client.user = "nobody";
  GuessWrong(6);
  EXPECT_EQ(tagKind::kThrottled, Sent());
}

TEST_F(DigestAuthenticator, HoldsUpNeitherOthersNorOtherAddresses) {
  GuessWrong(6);
  peer = "10.0.0.8";
  EXPECT_EQ(tagKind::kAccepted, Sent());
  peer = kPeer;
  client.user = "leo";
  client.password = "other";
  EXPECT_EQ(tagKind::kAccepted, Sent());
}

TEST_F(DigestAuthenticator, CountsNeitherOldNorRepeatedNorUnreadableOnes) {
  const std::string header = client.Header();
  EXPECT_EQ(tagKind::kAccepted, Judge(header).kind);
  for (int again = 0; again < 10; ++again) {
    (void)Judge(header);
    (void)Judge("Digest username=\"ana\"");
    (void)Judge("");
  }
  time.Advance(300'000);
  for (int again = 0; again < 10; ++again)
    (void)Judge(header);
  client.nonce = Nonce();
  EXPECT_EQ(tagKind::kAccepted, Sent());
}

// --- tables ---

TEST_F(DigestAuthenticator, KeepsANonceInUseWhateverStrangersDo) {
  ZRDigestSettings small;
  small.nonces = 2;
  ZRDigestAuthenticator tight(users, small);
  const ZRLoginVerdict challenge = tight.Judge({"GET", target, "", kPeer, false});
  client.nonce = ChallengeValue(challenge.challenges[0], "nonce");
  const auto send = [&](const DigestClient& sender) {
    return tight.Judge({"GET", target, sender.Header(), "10.9.9.9", false}).kind;
  };
  EXPECT_EQ(tagKind::kAccepted, send(client));
  DigestClient stranger;
  stranger.password = "guess";
  for (int number = 0; number < 100; ++number) {
    const ZRLoginVerdict answer = tight.Judge({"GET", target, stranger.Header(), kPeer, false});
    if (!answer.challenges.empty()) stranger.nonce = ChallengeValue(answer.challenges[0], "nonce");
    stranger.user = std::to_string(number);
  }
  client.count = 2;
  EXPECT_EQ(tagKind::kAccepted, send(client));
}

// --- Basic ---

constexpr const char* kBasicAna = "Basic YW5hOnNlY3JldA==";    // ana:secret
constexpr const char* kBasicWrong = "Basic YW5hOndyb25nISE=";  // ana:wrong!!

TEST_F(DigestAuthenticator, OffersAndTakesBasicOverTlsOnly) {
  const ZRLoginVerdict challenge = Judge("", true);
  ASSERT_EQ(3u, challenge.challenges.size());
  EXPECT_EQ("Basic realm=\"north \\\"plant\\\"\", charset=\"UTF-8\"", challenge.challenges[2]);
  const ZRLoginVerdict verdict = Judge(kBasicAna, true);
  EXPECT_EQ(tagKind::kAccepted, verdict.kind);
  EXPECT_EQ("ana", verdict.user);
  EXPECT_TRUE(IsRefused(Judge(kBasicWrong, true)));
  EXPECT_TRUE(IsRefused(Judge("Basic bm9ib2R5OnNlY3JldA==", true)));  // nobody:secret
}

TEST_F(DigestAuthenticator, SaysNothingOfABasicPasswordInThePlain) {
  for (int again = 0; again < 10; ++again) {
    const ZRLoginVerdict right = Judge(kBasicAna);
    const ZRLoginVerdict wrong = Judge(kBasicWrong);
    EXPECT_TRUE(IsRefused(right));
    EXPECT_TRUE(IsRefused(wrong));
    EXPECT_EQ(2u, right.challenges.size());
    EXPECT_EQ(right.note, wrong.note);
  }
  EXPECT_EQ(tagKind::kAccepted, Sent()) << "none of them was looked at";
}

TEST_F(DigestAuthenticator, HoldsUpWhoGuessesByBasic) {
  for (int guess = 0; guess < 6; ++guess)
    (void)Judge(kBasicWrong, true);
  EXPECT_EQ(tagKind::kThrottled, Judge(kBasicAna, true).kind);
}

TEST_F(DigestAuthenticator, TakesBasicOfAUserWhoHasOnlyMd5) {
  FakePasswords old;
  old.realm = users.realm;
  old.Add("ana", "secret");
  old.Keep("ana", "");
  ZRDigestAuthenticator strict(old);
  EXPECT_TRUE(IsRefused(strict.Judge({"GET", "/", kBasicAna, kPeer, true})));
  ZRDigestAuthenticator lenient(old, settings);
  EXPECT_EQ(tagKind::kAccepted, lenient.Judge({"GET", "/", kBasicAna, kPeer, true}).kind);
}

// --- the log ---

TEST_F(DigestAuthenticator, ShowsTheLogNoHeader) {
  client.user =
      "a'\xC2\x85"
      "b";
  client.password = "guess";
  const ZRLoginVerdict verdict = Send();
  EXPECT_EQ("the name or password of 'a'\\u0085b' from 10.0.0.7 is wrong", verdict.note);
  EXPECT_EQ(std::string::npos, verdict.note.find(client.nonce));
  EXPECT_EQ(std::string::npos, verdict.note.find(client.Response()));
}

}  // namespace

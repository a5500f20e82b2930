// The authenticator as the web server uses it: from several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "fakepasswords.h"
#include "host/platform/zrthread.h"
#include "host/remote/zrdigestauthenticator.h"

namespace {

using tagKind = ZRLoginVerdict::tagKind;

constexpr int kThreads = 4;
constexpr std::uint32_t kRequests = 50;
constexpr const char* kTarget = "/a";

class DigestAuthenticatorOnThreads : public testing::Test {
 protected:
  DigestAuthenticatorOnThreads() { users.Add("ana", "secret"); }

  std::string Nonce() {
    const ZRLoginVerdict verdict = authenticator.Judge({"GET", kTarget, "", "::1", false});
    return ChallengeValue(verdict.challenges[0], "nonce");
  }
  template <typename Body>
  static void OnAllThreads(const Body& body) {
    std::vector<ZRThread> threads(kThreads);
    int number = 0;
    for (ZRThread& thread : threads)
      ASSERT_TRUE(thread.Start([&body, own = number++] { body(own); }));
  }

  FakePasswords users;
  ZRDigestAuthenticator authenticator{users};
};

// All send the same requests: whoever comes first is answered, and nobody else.
TEST_F(DigestAuthenticatorOnThreads, TakesEachRequestOnce) {
  const std::string nonce = Nonce();
  std::atomic<std::uint32_t> accepted{0};
  OnAllThreads([&](int) {
    DigestClient client;
    client.uri = kTarget;
    client.nonce = nonce;
    for (client.count = 1; client.count <= kRequests; ++client.count) {
      const std::string header = client.Header();
      if (authenticator.Judge({"GET", kTarget, header, "::1", false}).kind == tagKind::kAccepted)
        ++accepted;
    }
  });
  EXPECT_EQ(kRequests, accepted);
}

TEST_F(DigestAuthenticatorOnThreads, ServesClientsSideBySide) {
  std::atomic<std::uint32_t> accepted{0};
  OnAllThreads([&](int number) {
    DigestClient client;
    client.uri = kTarget;
    client.signsBody = number % 2 == 1;
    client.body = "<a/>";
    client.nonce = Nonce();
    for (client.count = 1; client.count <= kRequests; ++client.count) {
      const std::string header = client.Header();
      ZRLoginVerdict verdict = authenticator.Judge({"GET", kTarget, header, "::1", false});
      if (client.signsBody) verdict = authenticator.JudgeBody(verdict, client.body);
      if (verdict.kind == tagKind::kAccepted) ++accepted;
    }
  });
  EXPECT_EQ(kThreads * kRequests, accepted);
}

}  // namespace

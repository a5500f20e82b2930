// An authenticator that says what a test wants and keeps what it was asked.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "host/platform/zrmutex.h"
#include "host/remote/zrauthenticator.h"

class FakeAuthenticator : public ZRAuthenticator {
 public:
  using tagKind = ZRLoginVerdict::tagKind;

  // What it was asked, kept.
  struct tagClaim {
    std::string method, target, authorization, peer;
    bool isSecure = false;
  };

  ZRLoginVerdict Judge(const ZRLoginClaim& claim) override {
    const ZRMutexLock lock(mutex);
    claims.push_back({std::string(claim.method), std::string(claim.target),
                      std::string(claim.authorization), std::string(claim.peer), claim.isSecure});
    ZRLoginVerdict verdict;
    if (claim.authorization == "ana") {
      verdict.kind = forAna;
      verdict.user = "ana";
      verdict.retrySeconds = 17;
      verdict.bodyProof = "proof";
    } else {
      verdict.note = "nobody knows '" + std::string(claim.authorization) + "'";
      verdict.challenges = {"Digest realm=\"first\"", "Basic realm=\"second\""};
    }
    return verdict;
  }

  ZRLoginVerdict JudgeBody(const ZRLoginVerdict& head, std::string_view body) override {
    const ZRMutexLock lock(mutex);
    ZRLoginVerdict verdict = head;
    proof = head.bodyProof;
    verdict.kind = body == signedBody ? tagKind::kAccepted : tagKind::kRefused;
    if (verdict.kind == tagKind::kRefused) verdict.challenges = {"Digest realm=\"body\""};
    return verdict;
  }

  std::vector<tagClaim> Claims() {
    const ZRMutexLock lock(mutex);
    return claims;
  }

  tagKind forAna = tagKind::kAccepted;  // before the server starts
  std::string signedBody;               // the same
  std::string proof;                    // after an answer

 private:
  ZRMutex mutex;
  std::vector<tagClaim> claims ZR_GUARDED_BY(mutex);
};

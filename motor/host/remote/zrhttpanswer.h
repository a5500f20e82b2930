// The answer of the web server to one request, while it is written.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/remote/zracceptencoding.h"
#include "host/remote/zranswerbody.h"
#include "host/remote/zrdeflater.h"
#include "host/remote/zrhttpresponse.h"

// Threads   one at a time.
// Promise   an operation out of order, an unknown kind of content, and a text for an answer
//           without body lose the answer: End says false, and IsComplete too.
class ZRHttpAnswer final : public ZRHttpResponse {
 public:
  // `accepted` is what the client prefers; a deflated kind for a client that accepts no
  // compression is written plain. `limits` outlives it.
  ZRHttpAnswer(const ZRAnswerLimits& limits, ZRContentCoding accepted)
      : preferred(accepted), body(limits) {}

  void Begin(int status, int contentKind) override;
  void Write(const ZRBasicString<char>& text) override { Take(text.View()); }
  void Write(const char* text, int length) override;
  [[nodiscard]] bool End() override;

  // Begun, written and ended, and nothing of it was lost.
  [[nodiscard]] bool IsComplete() const { return step == tagStep::kEnded; }
  // Of a complete answer.
  [[nodiscard]] int Status() const { return statusCode; }
  [[nodiscard]] bool HasBody() const { return kind != kContentNone; }
  [[nodiscard]] int Kind() const { return kind; }
  [[nodiscard]] ZRContentCoding Coding() const { return coding; }
  [[nodiscard]] ZRAnswerBody& Body() { return body; }

 private:
  enum class tagStep { kNotBegun, kBegun, kEnded, kLost };

  // Texts are collected up to here, so that each of them costs no more than being copied.
  static constexpr std::size_t kCollectBytes = std::size_t{16} * 1024;

  void Take(std::string_view text) {
    if (step != tagStep::kBegun || !HasBody()) {
      if (!text.empty()) Lose();
      return;
    }
    collected.append(text);
    if (collected.size() >= kCollectBytes) PassOn();
  }
  void PassOn();
  [[nodiscard]] bool Finish();
  void Lose();

  const ZRContentCoding preferred;
  tagStep step = tagStep::kNotBegun;
  int statusCode = 0;
  int kind = kContentNone;
  ZRContentCoding coding = ZRContentCoding::kIdentity;
  std::string collected;
  ZRAnswerBody body;
  std::unique_ptr<ZRDeflater> deflater;
};

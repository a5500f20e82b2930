#include "host/remote/zrhttpanswer.h"

namespace {

constexpr int kFirstStatus = 200;
constexpr int kLastStatus = 599;
constexpr int kNoContent = 204;
constexpr int kNotModified = 304;

bool IsKnownKind(int kind) {
  return kind == kContentNone || kind == kContentText || kind == kContentLoggerXml ||
         kind == kContentXml || kind == kContentLoggerXmlDeflated || kind == kContentXmlDeflated ||
         kind == kContentRss;
}

bool IsDeflatedKind(int kind) {
  return kind == kContentLoggerXmlDeflated || kind == kContentXmlDeflated;
}

bool CanBegin(int status, int kind) {
  if (status < kFirstStatus || status > kLastStatus || !IsKnownKind(kind)) return false;
  return kind == kContentNone || (status != kNoContent && status != kNotModified);
}

}  // namespace

void ZRHttpAnswer::Begin(int status, int contentKind) {
  if (step != tagStep::kNotBegun || !CanBegin(status, contentKind)) return Lose();
  step = tagStep::kBegun;
  statusCode = status;
  kind = contentKind;
  if (!IsDeflatedKind(kind) || preferred == ZRContentCoding::kIdentity) return;
  coding = preferred;
  deflater = std::make_unique<ZRDeflater>(coding, body);
}

void ZRHttpAnswer::Write(const char* text, int length) {
  if (text == nullptr) return;
  Take(length < 0 ? std::string_view(text)
                  : std::string_view(text, static_cast<std::size_t>(length)));
}

bool ZRHttpAnswer::End() {
  if (step == tagStep::kBegun) PassOn();
  if (step != tagStep::kBegun || !Finish()) {
    Lose();
    return false;
  }
  step = tagStep::kEnded;
  return true;
}

void ZRHttpAnswer::PassOn() {
  const bool taken = deflater != nullptr ? deflater->Append(collected) : body.Append(collected);
  collected.clear();
  if (!taken) Lose();
}

bool ZRHttpAnswer::Finish() {
  return (deflater == nullptr || deflater->Finish()) && body.Finish();
}

void ZRHttpAnswer::Lose() {
  step = tagStep::kLost;
  deflater.reset();
  collected = std::string();
}

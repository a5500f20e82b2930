#include "zrevents/services/zrlistenerround.h"

#include "host/platform/zrplatform.h"
#include "zrevents/services/zrlistenerboard.h"

namespace {

constexpr const wchar_t* kRoot = L"producer";
constexpr const char* kEnginePath = "/services/events/producer.xml";
constexpr const char* kUserPath = "/services/user/producer.xml";

constexpr int kTaken = 204;
constexpr int kAttempts = 5;
constexpr std::uint32_t kPause = 1000;  // ms between two of them

}  // namespace

void ZRListenerRound::Begin(const ZREventListener& listener, bool isComplete) {
  document.Create(kRoot);
  XmlDocument::XmlNode& root = *document.Root();
  root.SetValue(L"driverId", listener.driverId);
  if (!listener.isUser) root.SetValue(L"driverName", listener.driverName);
  root.SetValue(L"all", isComplete ? L"T" : L"F");
}

// A listener takes a document with 204 and nothing else, 200 included: required.
void ZRListenerRound::Send(const ZREventListener& listener) {
  text.Clear();
  document.CreateXmlCode(text, true);
  const char* const path = listener.isUser ? kUserPath : kEnginePath;
  for (int attempt = 1;; ++attempt) {
    const int status = client.Put(listener.host, listener.port, path, text.Text(),
                                  static_cast<int>(text.Length()), nullptr, nullptr);
    client.Cancel();
    board.Answered(listener.driverId, status);
    if (status == kTaken) return;
    if (attempt == kAttempts) break;
    ZRPlatform::Get().Sleep(kPause);
  }
  failed.push_back(&listener);
}

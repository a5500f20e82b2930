#include "tessaly/zrsiteclient.h"

#include <cstdlib>

#include "host/platform/zrterminal.h"
#include "host/tools/xmldocument.h"
#include "host/tools/zrtext.h"
#include "host/user/zrlogins.h"
#include "tessaly/zrshowntext.h"
#include "tessaly/zrsitelogins.h"

namespace {

constexpr std::size_t kMostAckBytes = std::size_t{60} * 1024;  // the service takes 64 KiB
constexpr std::size_t kAroundAnId = 9;                         // bytes of its element
constexpr std::size_t kLongestEscape = 6;                      // bytes for one of a text
constexpr int kUnauthorized = 401;
constexpr int kTooManyRequests = 429;
constexpr int kServiceUnavailable = 503;

std::string Utf8(const ZRWString& text) {
  return std::string(Utf16ToUtf8(text.View()).View());
}

// A site that listens on every address listens on that of this machine.
std::string AddressToAsk(const std::string& listensOn) {
  return listensOn == "0.0.0.0" || listensOn == "::" ? "127.0.0.1" : listensOn;
}

// The answer's own sentence, if it is one.
std::string Sentence(const ZRHttpReply& reply) {
  constexpr std::size_t kLongest = 500;  // bytes
  std::string text = reply.body.substr(0, kLongest);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
    text.pop_back();
  return text.empty() || text.front() == '<' ? "" : ": " + ShownText(text);
}

}  // namespace

std::optional<ZRHttpQuestion> QuestionToSite(const ZRTessalySetup& setup,
                                             const ZRClientWords& words, bool hasUsers, int port,
                                             std::string& reason) {
  ZRHttpQuestion question;
  const int asked = port >= 0 ? port : setup.HttpServerPort();
  if (asked == 0) {
    reason = "the site listens on any free port: say with --port which one its log tells";
    return std::nullopt;
  }
  question.port = static_cast<std::uint16_t>(asked);
  question.host = AddressToAsk(AddressToListenOn(setup, hasUsers));
  question.isSecure = !setup.HttpCertificate().IsEmpty();
  if (question.isSecure) {
    question.authorities =
        words.authorities.empty() ? Utf8(setup.HttpCertificate()) : words.authorities;
    if (!setup.HttpNames().empty()) {
      question.address = question.host;
      question.host = std::string(setup.HttpNames().front().View());
    }
  }
  question.user = words.user;
  return question;
}

bool AskForPassword(const std::string& user, std::string& password, std::string& reason) {
  using tagAnswer = ZRTerminal::tagAnswer;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): never set here
  if (const char* const given = std::getenv(kPasswordVariable); given != nullptr) {
    password = given;
    return true;
  }
  const ZRTerminal terminal;
  const tagAnswer answer =
      terminal.IsInteractive()
          ? terminal.AskSecret("Password of " + ShownText(user) + ": ", kMostPassword, password)
          : terminal.ReadLine(kMostPassword, password);
  if (answer == tagAnswer::kLine) return true;
  reason = answer == tagAnswer::kCancelled ? "given up"
           : answer == tagAnswer::kTooLong
               ? "the password is longer than any"
               : std::string("there is no password on standard input nor in ") + kPasswordVariable;
  return false;
}

std::vector<std::string> AckDocuments(const std::vector<std::string>& ids) {
  std::vector<std::string> documents;
  std::size_t next = 0;
  while (next < ids.size()) {
    XmlDocument document;
    document.Create(L"eventsAck");
    std::size_t size = 0;
    do {
      size += kAroundAnId + kLongestEscape * ids[next].size();
      document.Root()->NewChild(L"id", nullptr)->SetValue(Utf8ToUtf16(ids[next]));
      ++next;
    } while (next < ids.size() &&
             size + kAroundAnId + kLongestEscape * ids[next].size() <= kMostAckBytes);
    ZRString code;
    document.CreateXmlCode(code, true);
    documents.emplace_back(code.View());
  }
  return documents;
}

std::string WhatWentWrong(const ZRHttpQuestion& question, const ZRHttpReply& reply) {
  const std::string place = HttpPlace(question);
  if (reply.status == 0) return "no site answers at " + place + ": " + reply.problem;
  switch (reply.status) {
    case kUnauthorized:
      return question.user.empty() ? place + " wants to know who asks: --user NAME"
                                   : place + " doesn't know this user, or not with this password";
    case kTooManyRequests:
      return place + " has had too many wrong passwords: try again in " +
             std::to_string(reply.retrySeconds) + " s";
    case kServiceUnavailable:
      return place + " is busy, or starts or stops: try again later";
    default:
      return place + " answered " + std::to_string(reply.status) + Sentence(reply);
  }
}

#include "host/remote/zrwebresponse.h"

#include <microhttpd.h>
#include <unistd.h>

#include <new>
#include <utility>

namespace {

constexpr const char* kXmlType = "application/xml; charset=utf-8";
constexpr const char* kTextType = "text/plain; charset=utf-8";
constexpr const char* kRssType = "application/rss+xml";
// A feed holds texts of events as HTML: a browser that shows it runs and loads nothing.
constexpr const char* kRssPolicy = "default-src 'none'; sandbox";

const char* TypeOf(int kind) {
  switch (kind) {
    case kContentText:
      return kTextType;
    case kContentRss:
      return kRssType;
    default:
      return kXmlType;
  }
}

void FreeText(void* text) {
  const std::unique_ptr<std::string> owned(static_cast<std::string*>(text));
}

std::string WordsOf(int status) {
  const char* const phrase = MHD_get_reason_phrase_for(static_cast<unsigned int>(status));
  return std::to_string(status) + " " + phrase + "\n";
}

}  // namespace

void ZRWebResponse::CDestroy::operator()(MHD_Response* toDestroy) const {
  MHD_destroy_response(toDestroy);
}

ZRWebResponse::tagResponse ZRWebResponse::OfText(std::string text) {
  auto kept = std::make_unique<std::string>(std::move(text));
  tagResponse made(MHD_create_response_from_buffer_with_free_callback_cls(
      kept->size(), kept->data(), &FreeText, kept.get()));
  if (made == nullptr) throw std::bad_alloc();
  (void)kept.release();
  return made;
}

ZRWebResponse::tagResponse ZRWebResponse::OfFile(int file, std::uint64_t size) {
  tagResponse made(MHD_create_response_from_fd64(size, file));
  if (made != nullptr) return made;
  (void)::close(file);
  throw std::bad_alloc();
}

ZRWebResponse::tagResponse ZRWebResponse::OfBody(ZRAnswerBody& body) {
  return body.IsInFile() ? OfFile(body.TakeFile(), body.Size()) : OfText(body.TakeMemory());
}

ZRWebResponse::ZRWebResponse(int statusToSay)
    : status(statusToSay), response(OfText(WordsOf(statusToSay))) {
  Add(MHD_HTTP_HEADER_CONTENT_TYPE, kTextType);
}

ZRWebResponse::ZRWebResponse(ZRHttpAnswer& answer)
    : status(answer.Status()), response(OfBody(answer.Body())) {
  if (!answer.HasBody()) return;
  Add(MHD_HTTP_HEADER_CONTENT_TYPE, TypeOf(answer.Kind()));
  if (answer.Kind() == kContentRss) Add("Content-Security-Policy", kRssPolicy);
  Add(MHD_HTTP_HEADER_VARY, MHD_HTTP_HEADER_ACCEPT_ENCODING);
  const char* const coding = ContentCodingName(answer.Coding());
  if (coding != nullptr) Add(MHD_HTTP_HEADER_CONTENT_ENCODING, coding);
}

void ZRWebResponse::Add(const char* name, const std::string& content) {
  if (MHD_add_response_header(response.get(), name, content.c_str()) != MHD_YES) {
    throw std::bad_alloc();
  }
}

bool ZRWebResponse::Send(MHD_Connection* connection) const {
  return MHD_queue_response(connection, static_cast<unsigned int>(status), response.get()) ==
         MHD_YES;
}

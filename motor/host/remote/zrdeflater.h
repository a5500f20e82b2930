// Compression of an answer while it is written.
#pragma once

#include <memory>
#include <string_view>

#include "host/remote/zracceptencoding.h"
#include "host/remote/zranswerbody.h"

// Threads   one at a time.
class ZRDeflater {
 public:
  // `coding` is gzip or deflate; `target` outlives it.
  ZRDeflater(ZRContentCoding coding, ZRAnswerBody& target);
  ~ZRDeflater();
  ZRDeflater(const ZRDeflater&) = delete;
  ZRDeflater& operator=(const ZRDeflater&) = delete;

  // False if the target has given up, or there was no memory to begin with.
  [[nodiscard]] bool Append(std::string_view bytes);
  // Writes what is held back, and the end of the coding. Nothing is appended after it.
  [[nodiscard]] bool Finish();

 private:
  class CStream;

  bool Run(std::string_view bytes, int flush);

  ZRAnswerBody& body;
  std::unique_ptr<CStream> stream;
};

#include "host/remote/zrdeflater.h"

#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace {

// Who writes may hold a lock of the engine, and XML is easy to compress: speed goes first.
constexpr int kLevel = 1;
constexpr int kMemoryLevel = 8;
constexpr int kWindowBits = 15;
constexpr int kGzipFormat = 16;  // added to the window bits; without it, the zlib format
constexpr std::size_t kPieceBytes = std::size_t{16} * 1024;

}  // namespace

class ZRDeflater::CStream {
 public:
  explicit CStream(ZRContentCoding coding) {
    const int bits = kWindowBits + (coding == ZRContentCoding::kGzip ? kGzipFormat : 0);
    ready =
        deflateInit2(&state, kLevel, Z_DEFLATED, bits, kMemoryLevel, Z_DEFAULT_STRATEGY) == Z_OK;
  }
  ~CStream() {
    if (ready) (void)deflateEnd(&state);
  }
  CStream(const CStream&) = delete;
  CStream& operator=(const CStream&) = delete;

  z_stream state{};
  bool ready = false;
  std::array<Bytef, kPieceBytes> piece{};
};

ZRDeflater::ZRDeflater(ZRContentCoding coding, ZRAnswerBody& target)
    : body(target), stream(std::make_unique<CStream>(coding)) {}

ZRDeflater::~ZRDeflater() = default;

bool ZRDeflater::Append(std::string_view bytes) {
  constexpr std::size_t kMost = std::numeric_limits<uInt>::max();
  while (!bytes.empty()) {
    const std::string_view part = bytes.substr(0, kMost);
    if (!Run(part, Z_NO_FLUSH)) return false;
    bytes.remove_prefix(part.size());
  }
  return true;
}

bool ZRDeflater::Finish() {
  return Run({}, Z_FINISH);
}

bool ZRDeflater::Run(std::string_view bytes, int flush) {
  if (!stream->ready) return false;
  z_stream& state = stream->state;
  state.next_in = reinterpret_cast<const Bytef*>(bytes.data());
  state.avail_in = static_cast<uInt>(bytes.size());
  do {
    state.next_out = stream->piece.data();
    state.avail_out = static_cast<uInt>(stream->piece.size());
    if (deflate(&state, flush) == Z_STREAM_ERROR) return false;
    const std::size_t made = stream->piece.size() - state.avail_out;
    if (!body.Append({reinterpret_cast<const char*>(stream->piece.data()), made})) return false;
  } while (state.avail_out == 0);
  return true;
}

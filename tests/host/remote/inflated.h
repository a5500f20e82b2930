// Undoes the compression of an answer.
#pragma once

#include <zlib.h>

#include <string>

inline constexpr int kInflateZlib = 15;
inline constexpr int kInflateGzip = 15 + 16;

// The text in `bytes`; empty unless they are one whole stream of this form and nothing else.
inline std::string Inflated(std::string bytes, int form) {
  z_stream state{};
  if (inflateInit2(&state, form) != Z_OK) return "";
  state.next_in = reinterpret_cast<Bytef*>(bytes.data());
  state.avail_in = static_cast<uInt>(bytes.size());
  std::string text;
  int result = Z_OK;
  while (result == Z_OK) {
    char piece[4096];
    state.next_out = reinterpret_cast<Bytef*>(piece);
    state.avail_out = sizeof piece;
    result = inflate(&state, Z_NO_FLUSH);
    text.append(piece, sizeof piece - state.avail_out);
  }
  const bool isWhole = result == Z_STREAM_END && state.avail_in == 0;
  (void)inflateEnd(&state);
  return isWhole ? text : "";
}

#include "host/tools/zrmd5.h"

#include <openssl/evp.h>

#include <array>

std::string Md5Hex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::array<unsigned char, kMd5Bytes> digest{};
  const char* const data = bytes.empty() ? "" : bytes.data();
  if (EVP_Digest(data, bytes.size(), digest.data(), nullptr, EVP_md5(), nullptr) != 1) return {};
  std::string hexadecimal;
  hexadecimal.reserve(2 * kMd5Bytes);
  for (const unsigned char byte : digest) {
    hexadecimal += kDigits[byte >> 4];
    hexadecimal += kDigits[byte & 0xF];
  }
  return hexadecimal;
}

#include "host/remote/zrhttpauthorization.h"

#include "host/tools/zrsha256.h"

static_assert(ZRHttpAuthorization::kDigestSize == 2 * kSha256Bytes + 1);

void ZRHttpAuthorization::H(const void* data, unsigned int length, char* digest) {
  constexpr const char* kDigits = "0123456789abcdef";
  for (const std::uint8_t byte : Sha256(data, length)) {
    *digest++ = kDigits[byte >> 4];
    *digest++ = kDigits[byte & 0xF];
  }
  *digest = '\0';
}

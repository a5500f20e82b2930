// What the web server has to know of its users to check them.
#pragma once

#include <string>
#include <string_view>

// How a password is kept: the digest of "user:realm:password", in lower-case hexadecimal digits.
enum class ZRPasswordDigest { kSha256, kMd5 };

// Threads   any, several at a time.
class ZRPasswords {
 public:
  virtual ~ZRPasswords() = default;

  // False: nobody needs to log in.
  [[nodiscard]] virtual bool HasUsers() const = 0;
  // The realm that the digests were made with.
  [[nodiscard]] virtual std::string Realm() const = 0;
  // The digest of the user of that name (UTF-8). False if there is no such user, or none of that
  // kind is kept.
  [[nodiscard]] virtual bool DigestOf(std::string_view user, ZRPasswordDigest kind,
                                      std::string& digest) const = 0;
};

#include "host/remote/zrtlsidentity.h"

#include <gnutls/gnutls.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>

#include "host/platform/zrplatform.h"

namespace {

constexpr std::size_t kMostBytes = std::size_t{1024} * 1024;
// Writing by the group, and everything by others.
constexpr mode_t kOpenToOthers = S_IWGRP | S_IRWXO;

struct CCloseFile {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using tagFile = std::unique_ptr<std::FILE, CCloseFile>;

bool ReadAll(std::FILE* file, std::string& text) {
  std::array<char, 4096> piece{};
  while (text.size() <= kMostBytes) {
    const std::size_t size = std::fread(piece.data(), 1, piece.size(), file);
    text.append(piece.data(), size);
    if (size < piece.size()) break;
  }
  return std::ferror(file) == 0;
}

bool IsOpenToOthers(std::FILE* file) {
  struct stat facts {};
  return ::fstat(::fileno(file), &facts) != 0 || (facts.st_mode & kOpenToOthers) != 0;
}

// What is wrong with the file, in words; empty for nothing.
std::string ReadFile(const std::string& path, bool isSecret, std::string& text) {
  const tagFile file(ZRPlatform::Get().OpenFile(path, "rb"));
  if (file == nullptr) {
    return path + " can't be opened: " + std::generic_category().message(errno);
  }
  if (isSecret && IsOpenToOthers(file.get())) {
    return path + " is open to other users: its owner alone should read it (mode 0600)";
  }
  if (!ReadAll(file.get(), text)) {
    return path + " can't be read: " + std::generic_category().message(errno);
  }
  return text.size() > kMostBytes ? path + " is too large" : "";
}

gnutls_datum_t Borrowed(std::string& text) {
  return {reinterpret_cast<unsigned char*>(text.data()), static_cast<unsigned int>(text.size())};
}

// A code of the library, 0 if the two belong together.
int Try(ZRTlsIdentity& identity) {
  gnutls_certificate_credentials_t credentials = nullptr;
  int code = gnutls_certificate_allocate_credentials(&credentials);
  if (code < 0) return code;
  const gnutls_datum_t certificate = Borrowed(identity.certificate);
  const gnutls_datum_t key = Borrowed(identity.key);
  code = gnutls_certificate_set_x509_key_mem(credentials, &certificate, &key, GNUTLS_X509_FMT_PEM);
  gnutls_certificate_free_credentials(credentials);
  return code < 0 ? code : 0;
}

}  // namespace

bool ReadTlsIdentity(const std::string& certificateFile, const std::string& keyFile,
                     ZRTlsIdentity& identity, std::string& reason) {
  ZRTlsIdentity fresh;
  reason = ReadFile(certificateFile, false, fresh.certificate);
  if (reason.empty()) reason = ReadFile(keyFile, true, fresh.key);
  if (!reason.empty()) return false;
  const int code = Try(fresh);
  if (code != 0) {
    reason = certificateFile + " and " + keyFile + " can't be used: " + gnutls_strerror(code);
    return false;
  }
  identity = std::move(fresh);
  return true;
}

// With what the web server shows who it is.
#pragma once

#include <string>

// A certificate, with those that lead to its root behind it, and its key, in PEM. Both are empty
// for a server that speaks plain http.
struct ZRTlsIdentity {
  std::string certificate;
  std::string key;  // a secret

  bool operator==(const ZRTlsIdentity&) const = default;
};

// Reads both from their files. False with a reason, which quotes nothing of them, and nothing
// changed: a file can't be read or is larger than 1 MiB, that of the key is open to others than
// its owner and its group, they aren't PEM, or the key is another certificate's.
[[nodiscard]] bool ReadTlsIdentity(const std::string& certificateFile, const std::string& keyFile,
                                   ZRTlsIdentity& identity, std::string& reason);

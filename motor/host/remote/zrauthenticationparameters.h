// The parameters of a scheme of HTTP authentication (RFC 9110, section 11.2).
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct ZRAuthenticationParameter {
  std::string name;   // in lower case
  std::string value;  // without its quotes and escapes
  bool isQuoted = false;
};
using ZRAuthenticationParameters = std::vector<ZRAuthenticationParameter>;

// Appends what stands behind the name of a scheme. False if that isn't a list of at most 32
// parameters, or has one of them twice.
[[nodiscard]] bool ReadParameters(std::string_view text, ZRAuthenticationParameters& parameters);

// Null if there is none of that name, which is in lower case.
[[nodiscard]] const ZRAuthenticationParameter* FindParameter(
    const ZRAuthenticationParameters& parameters, std::string_view name);

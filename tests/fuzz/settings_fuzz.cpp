// Any text as the settings of a site: it is refused or read, and what is read keeps its promises.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "host/support/zrtessalysetup.h"

namespace {

void Require(bool promise) {
  if (!promise) std::abort();
}

void CheckRead(const ZRTessalySetup& setup) {
  Require(setup.CfgPath().View().ends_with(L'/') && setup.DataPath().View().ends_with(L'/'));
  Require(setup.HttpServerPort() >= 0 && setup.HttpServerPort() <= 65535);
  Require(setup.SmtpPort() >= 1 && setup.SmtpPort() <= 65535);
  Require(setup.Tree() != nullptr);
  Require(setup.Tree()->Node(L"smtp/password") == nullptr);
  for (const XmlDocument::XmlNode* const driver : setup.Drivers()) {
    Require(!driver->ValueUtf8("type").empty() && !driver->ValueUtf8("name").empty());
    Require(!driver->ValueUtf8("id").empty() && !driver->ValueUtf8("__line").empty());
  }
  ZRString code;
  setup.Tree()->CreateXmlCode(code);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view toml(reinterpret_cast<const char*>(data), size);
  std::vector<ZRSettingProblem> problems;
  std::vector<ZRSettingProblem> warnings;
  ZRTessalySetup setup;
  if (setup.LoadText(toml, L"/site", problems, warnings)) {
    Require(problems.empty());
    CheckRead(setup);
  } else {
    Require(!problems.empty());
    Require(setup.Tree() == nullptr);
  }
  Require(problems.size() <= ZRTessalySetup::kMaximumProblems);
  Require(warnings.size() <= ZRTessalySetup::kMaximumProblems);
  return 0;
}

#include "host/support/zrtessalysetup.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "host/support/zrsettingstext.h"
#include "host/tools/zrfiles.h"
#include "host/tools/zrtext.h"

namespace {

ZRWString FilePath(const ZRWString& siteFolder) {
  const bool isComplete = siteFolder.IsEmpty() || siteFolder.View().ends_with(L'/');
  return siteFolder + (isComplete ? L"" : L"/") + Utf8ToUtf16(ZRTessalySetup::kFileName);
}

// Why a file couldn't be read.
ZRString Reason(const ZRWString& path) {
  const ZRString shown = Utf16ToUtf8(path.View());
  if (std::FILE* const file = widefopen(path.Text(), L"rb")) {
    (void)std::fclose(file);
    return shown + " is no file of at most 1 MiB that can be read";
  }
  const std::string why = std::generic_category().message(errno);
  return shown + " can't be opened: " + why.c_str();
}

}  // namespace

ZRTessalySetup& ZRTessalySetup::Get() {
  static ZRTessalySetup setup;
  return setup;
}

bool ZRTessalySetup::Load(const ZRWString& siteFolder, std::vector<ZRSettingProblem>& problems,
                          std::vector<ZRSettingProblem>& warnings) {
  const ZRWString path = FilePath(siteFolder);
  ZRString content;
  if (!ReadWholeFile(path, kMaximumSettingsSize, content)) {
    warnings.clear();
    problems.assign(1, {Reason(path), 0, 0});
    return false;
  }
  return LoadText(content.View(), siteFolder, problems, warnings);
}

ZRString ZRTessalySetup::SmsDevice(unsigned int port) const {
  const auto found = smsDevices.find(port);
  if (found != smsDevices.end()) return found->second;
  // The serial ports of the machine are counted from 1, and its devices from 0.
  return port == 0 ? ZRString() : ZRString("/dev/ttyS") + std::to_string(port - 1).c_str();
}

std::vector<const XmlDocument::XmlNode*> ZRTessalySetup::Drivers() const {
  std::vector<const XmlDocument::XmlNode*> drivers;
  if (Tree() == nullptr) return drivers;
  for (auto child = Tree()->ChildsBegin(); child != Tree()->ChildsEnd(); ++child)
    if ((*child)->TagUtf8() == "driver") drivers.push_back(*child);
  return drivers;
}

const XmlDocument::XmlNode* DefaultZRFG() {
  return ZRTessalySetup::Get().Tree();
}

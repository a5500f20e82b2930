#include "host/support/zrtessalysetup.h"

#include <cerrno>
#include <cstdio>
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

#include "tessaly/zrengineid.h"

#include "host/platform/zrsecretfile.h"
#include "host/tools/zrtext.h"

uuid EngineIdOf(const std::string& siteFolder, std::string& reason) {
  constexpr std::size_t kMostBytes = 100;
  const ZRSecretFile file(siteFolder, kEngineIdFile);
  std::string content;
  uuid id;
  switch (file.Read(kMostBytes, content, reason)) {
    case ZRSecretFile::tagAnswer::kDone:
      id = wtouuid(Utf8ToUtf16(std::string_view(content).substr(0, content.find('\n'))));
      if (id == uuid::null) reason = "it holds no id";
      return id;
    case ZRSecretFile::tagAnswer::kRefused:
      return uuid::null;
    case ZRSecretFile::tagAnswer::kMissing:
      break;
  }
  NewGUID(&id);
  const std::string line = std::string(Utf16ToUtf8(id.toWString().View()).View()) + "\n";
  return file.Replace(line, reason) ? id : uuid::null;
}

#include "host/eventactions/zrprivatefile.h"

#include <cstdio>

#include "host/tools/zrfiles.h"
#include "host/tools/zruuid.h"

namespace {

ZRWString NewName() {
  uuid id;
  NewGUID(&id);
  return id.toWString();
}

}  // namespace

ZRPrivateFile::ZRPrivateFile(const ZRWString& folder, const ZRWString& front,
                             const ZRWString& extension)
    : stem(folder + front + NewName()), ending(extension) {}

bool ZRPrivateFile::Create(std::string_view content) {
  std::FILE* const file = widefcreate(Name().Text());
  if (file == nullptr) return false;
  exists = true;
  const bool isWritten = std::fwrite(content.data(), 1, content.size(), file) == content.size();
  return std::fclose(file) == 0 && isWritten;
}

bool ZRPrivateFile::Keep(const ZRWString& extension) {
  if (!exists || widerename(Name().Text(), (stem + extension).Text()) != 0) return false;
  exists = false;
  return true;
}

void ZRPrivateFile::Remove() {
  if (exists) (void)wideremove(Name().Text());
  exists = false;
}

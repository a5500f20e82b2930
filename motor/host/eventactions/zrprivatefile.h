#pragma once

#include <string_view>

#include "host/tools/zrbasicstring.h"

// A file of this user alone that goes with the object.
//
// Threads   one.
// Promise   only what this object has made is removed.
class ZRPrivateFile {
 public:
  // A new name in the folder, which has its separator at the end: a unique number between `front`
  // and `extension`. Nothing is made yet.
  ZRPrivateFile(const ZRWString& folder, const ZRWString& front, const ZRWString& extension);
  ~ZRPrivateFile() { Remove(); }
  ZRPrivateFile(const ZRPrivateFile&) = delete;
  ZRPrivateFile& operator=(const ZRPrivateFile&) = delete;

  // True if the file now holds all of it. False for a folder that isn't this user's alone.
  [[nodiscard]] bool Create(std::string_view content);
  // Gives it another extension, and it stays when the object goes. False if it couldn't.
  [[nodiscard]] bool Keep(const ZRWString& extension);
  void Remove();

  [[nodiscard]] ZRWString Name() const { return stem + ending; }

 private:
  const ZRWString stem;
  const ZRWString ending;
  bool exists = false;
};

// Wide paths: files, folders of the installation, file search.
#pragma once

#include <cstddef>
#include <cstdio>
#include <vector>

#include "host/tools/zrbasicstring.h"

// The application's folder and its share folder, each with its separator at the end. Set once by
// the host before anything reads them; until then the folder of the running program and "share/"
// in it.
[[nodiscard]] ZRWString GetAppPath();
[[nodiscard]] ZRWString GetSharePath();
void SetAppPath(const ZRWString& path);
void SetSharePath(const ZRWString& path);

// Divides a file title at its first ".": "1.hall" gives "1" and "hall"; without a point all of
// it is `first`, and `second` is empty.
void SplitFileName(const ZRWString& title, ZRWString& first, ZRWString& second);

// The usual calls on wide paths, through the platform. Null or non-zero on failure, with errno.
[[nodiscard]] std::FILE* widefopen(const wchar_t* path, const wchar_t* mode);
// A new file to write, as ZRPlatform::CreatePrivateFile.
[[nodiscard]] std::FILE* widefcreate(const wchar_t* path);
[[nodiscard]] int wideremove(const wchar_t* path);
[[nodiscard]] int widerename(const wchar_t* from, const wchar_t* to);

// Reads a whole file of at most `limit` bytes. False, with nothing in `content`, if it can't be
// read to its end or is larger.
[[nodiscard]] bool ReadWholeFile(const ZRWString& path, std::size_t limit, ZRString& content);

// Files that match a pattern, in ascending order of code units. In the last component of the
// pattern "*" stands for any text and "?" for one unit; nothing else is special, and case counts.
// Folders are left out, and so are names that aren't UTF-8.
//
// A last component of exactly "*.*" asks for everything in a folder, with or without a point:
// folders are found too, and "." if there is nothing else. So it finds something in every folder
// that exists.
class ZRFileFind {
 public:
  // 0 if nothing matches. A new search replaces the one before.
  [[nodiscard]] int FindFile(const ZRWString& pattern);
  // Moves to the next found file; 0 on the last one, whose name is still valid. So a search is
  // walked by: found = FindFile(p); while (found) { found = FindNextFileW(); use GetFileName(); }
  [[nodiscard]] int FindNextFileW();

  // Of the file moved to; empty before the first move.
  [[nodiscard]] ZRWString GetFileName() const;   // name with extension
  [[nodiscard]] ZRWString GetFilePath() const;   // whole path
  [[nodiscard]] ZRWString GetFileTitle() const;  // name without the last extension

 private:
  ZRWString folder;
  std::vector<ZRWString> names;
  std::size_t next = 0;  // index of the file that the next FindNextFileW moves to
};

// The files of the log.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

// A file that is appended to, and moved aside when it is full: "log" becomes "log.1", "log.1"
// becomes "log.2" and so on, up to a number of files.
//
// Threads   one at a time.
// Owns      the open file.
// Promise   no file that it makes or appends to can be read by others than owner and group. What
//           can't be written is lost and counted; as soon as writing works again, a line says how
//           many lines were. Nothing waits, nothing is thrown.
class ZRLogFile {
 public:
  ZRLogFile(std::string toWrite, std::uint64_t fileSize, unsigned int filesKept);
  ~ZRLogFile() { Close(); }
  ZRLogFile(const ZRLogFile&) = delete;
  ZRLogFile& operator=(const ZRLogFile&) = delete;

  // False with errno set if the file can't be opened. Write opens it anew after any failure.
  [[nodiscard]] bool Open();

  // Appends whole lines, each with its end.
  void Write(std::string_view lines);
  void Flush();

 private:
  [[nodiscard]] bool Append(std::string_view lines);
  void TellLost();
  void Rotate();
  void Close();
  // After a failed write: what was buffered is gone.
  void CloseFailed();
  [[nodiscard]] std::string Kept(unsigned int number) const;

  const std::string path;
  const std::uint64_t sizeLimit;  // bytes
  const unsigned int kept;
  std::FILE* file = nullptr;
  std::uint64_t size = 0;      // of the current file, bytes; from 0 after a failed rotation
  std::uint64_t buffered = 0;  // lines that would be lost if the buffer couldn't be written
  std::uint64_t lost = 0;      // lines that no line has told of
};

// A text file read line by line, however large it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// Threads   one.
// Owns      the open file.
// Promise   holds one line and one block of the file in memory, never more.
class ZRLineReader {
 public:
  static constexpr std::size_t kLongestLine = std::size_t{64} * 1024;  // bytes, without its end

  enum class tagNext {
    kLine,
    kTooLong,  // a line beyond kLongestLine; it has been passed over
    kEnd,
    kFailed,  // the file can't be read, with errno
  };

  // False with errno set if the file can't be opened. `path` in UTF-8.
  [[nodiscard]] bool Open(const std::string& path);

  // Reads the next line without its LF or CRLF. A byte order mark at the start isn't part of it.
  [[nodiscard]] tagNext Next(std::string& line);

  // The number of the line that Next gave last, from 1.
  [[nodiscard]] std::int64_t LineNumber() const { return number; }

  // Goes back to the first line. False if the file can't be read again.
  [[nodiscard]] bool Rewind();

 private:
  struct tagCloser {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
  };
  [[nodiscard]] bool Fill();

  std::unique_ptr<std::FILE, tagCloser> opened;
  std::vector<char> block;
  std::size_t at = 0;      // next byte of the block
  std::size_t filled = 0;  // bytes of the block
  std::int64_t number = 0;
};

// The bytes of one answer, kept until the client has taken them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct ZRAnswerLimits {
  std::size_t memoryBytes = 0;    // beyond, everything goes to a temporary file
  std::uint64_t answerBytes = 0;  // beyond, the answer is given up
  std::string temporaryFolder;    // of the file, which never has a name there
};

// Threads   one at a time.
// Owns      its file, until TakeFile.
// Promise   holds no more than `memoryBytes` in memory. Once Append or Finish has said false, the
//           bytes are gone and every later call says false.
class ZRAnswerBody {
 public:
  // `answerLimits` outlives it.
  explicit ZRAnswerBody(const ZRAnswerLimits& answerLimits) : limits(answerLimits) {}
  ~ZRAnswerBody() { CloseFile(); }
  ZRAnswerBody(const ZRAnswerBody&) = delete;
  ZRAnswerBody& operator=(const ZRAnswerBody&) = delete;

  [[nodiscard]] bool Append(std::string_view bytes);
  // All of it is there: in memory, or in the file.
  [[nodiscard]] bool Finish();

  [[nodiscard]] std::uint64_t Size() const { return size; }
  // After Finish: which of the two can be taken.
  [[nodiscard]] bool IsInFile() const { return file != kNoFile; }
  [[nodiscard]] std::string TakeMemory() { return std::move(memory); }
  [[nodiscard]] int TakeFile();  // a descriptor, for the caller to close

 private:
  static constexpr int kNoFile = -1;

  bool MoveToFile();
  bool WriteToFile(std::string_view bytes);
  bool GiveUp();
  void CloseFile();

  const ZRAnswerLimits& limits;
  std::string memory;
  std::uint64_t size = 0;
  int file = kNoFile;
  bool givenUp = false;
};

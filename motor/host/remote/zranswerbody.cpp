#include "host/remote/zranswerbody.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

namespace {

// A file of the owner alone that has no name and goes away with its descriptor; -1 if there is
// none to be had.
int OpenNamelessFile(const std::string& folder) {
  std::string path = folder + "/answer-XXXXXX";
  const int file = ::mkostemp(path.data(), O_CLOEXEC);
  if (file >= 0) (void)::unlink(path.c_str());
  return file;
}

}  // namespace

bool ZRAnswerBody::Append(std::string_view bytes) {
  if (givenUp) return false;
  if (bytes.size() > limits.answerBytes - size) return GiveUp();
  size += bytes.size();
  if (bytes.size() > limits.memoryBytes - memory.size()) {
    if (!MoveToFile()) return GiveUp();
    if (bytes.size() > limits.memoryBytes) return WriteToFile(bytes) || GiveUp();
  }
  memory.append(bytes);
  return true;
}

bool ZRAnswerBody::Finish() {
  if (givenUp) return false;
  return !IsInFile() || MoveToFile() || GiveUp();
}

int ZRAnswerBody::TakeFile() {
  return std::exchange(file, kNoFile);
}

bool ZRAnswerBody::MoveToFile() {
  if (file == kNoFile) file = OpenNamelessFile(limits.temporaryFolder);
  if (file == kNoFile || !WriteToFile(memory)) return false;
  memory.clear();
  return true;
}

bool ZRAnswerBody::WriteToFile(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool ZRAnswerBody::GiveUp() {
  givenUp = true;
  memory = std::string();
  CloseFile();
  return false;
}

void ZRAnswerBody::CloseFile() {
  if (file != kNoFile) (void)::close(std::exchange(file, kNoFile));
}

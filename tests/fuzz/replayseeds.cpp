// Runs a fuzz target once over each file of a folder: what it has learnt stays learnt.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** words) {
  int inputs = 0;
  for (int i = 1; i < count; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(words[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> content((std::istreambuf_iterator<char>(file)),
                                      std::istreambuf_iterator<char>());
      const std::vector<std::uint8_t> bytes(content.begin(), content.end());
      (void)LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
      ++inputs;
    }
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}

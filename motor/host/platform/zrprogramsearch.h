#pragma once

#include <string>
#include <string_view>

// Where programs are.
//
// Threads   any, as long as nobody changes the environment.
class ZRProgramSearch {
 public:
  // The path of the program called `name`: the name itself if it has a "/" in it, else the first
  // file of that name in the folders of PATH that can be executed. Entries of PATH that aren't
  // absolute are passed over: what is run never hangs on the current folder. Empty if there is
  // none. Whether the path can be started is told by ZRPlatform::StartProcess.
  [[nodiscard]] static std::string Find(const std::string& name);

  // The same in a list of folders of that form.
  [[nodiscard]] static std::string Find(const std::string& name, std::string_view folders);
};

#include "host/platform/zrprogramsearch.h"

#include <gtest/gtest.h>

#include "support/programfolder.h"

namespace {

TEST(ProgramSearch, FindsWhatCanBeExecutedInTheFirstFolder) {
  const ProgramFolder first;
  const ProgramFolder second;
  const std::string both = first.path.string() + ":" + second.path.string();
  const std::string tool = second.Add("tool");
  EXPECT_EQ(ZRProgramSearch::Find("tool", both), tool);
  (void)first.Add("tool", "", false);
  EXPECT_EQ(ZRProgramSearch::Find("tool", both), tool) << "not executable";
  std::filesystem::create_directory(first.path / "folder");
  (void)second.Add("folder");
  EXPECT_EQ(ZRProgramSearch::Find("folder", both), (second.path / "folder").string());
  EXPECT_EQ(ZRProgramSearch::Find("none", both), "");
  EXPECT_EQ(ZRProgramSearch::Find("", both), "");
  EXPECT_EQ(ZRProgramSearch::Find("tool"), tool) << "in PATH";
}

TEST(ProgramSearch, PathIsGivenBackAsItIs) {
  for (const char* path : {"/bin/none", "./tool", "a/b", "/"})
    EXPECT_EQ(ZRProgramSearch::Find(path, "/bin"), path);
}

TEST(ProgramSearch, FoldersThatAreNotAbsoluteAreNotSearched) {
  const ProgramFolder folder;
  const std::string tool = folder.Add("tool");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path);
  for (const char* folders : {"", ".", ":", "./", ":.:", "..:"})
    EXPECT_EQ(ZRProgramSearch::Find("tool", folders), "") << folders;
  std::filesystem::current_path(before);
  EXPECT_EQ(ZRProgramSearch::Find("tool", "::" + folder.path.string() + "::"), tool);
}

}  // namespace

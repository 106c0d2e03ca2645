#include "core/support/Directory.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace tarvinel {
namespace {

using test::TemporaryFolder;
using testing::UnorderedElementsAre;

class DirectoryTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  Directory directory = Directory::open(folder.path());
};

TEST_F(DirectoryTest, OpensAFolderInItWithoutMakingOne) {
  EXPECT_THROW(directory.subdirectory("Sam"), std::system_error);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  std::filesystem::create_directory(folder / "Sam");
  EXPECT_EQ(directory.subdirectory("Sam").path(), folder / "Sam");
}

TEST_F(DirectoryTest, MakesAFolderInItUnlessItIsThere) {
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(directory.madeSubdirectory("Sam").path(), folder / "Sam");
  folder.write("file", "");
  EXPECT_THROW(directory.madeSubdirectory("file"), std::system_error);
}

TEST_F(DirectoryTest, TellsWhatIsInIt) {
  folder.write("file", "");
  std::filesystem::create_directory(folder / "folder");
  std::filesystem::create_symlink(folder / "folder", folder / "link");
  std::vector<std::string> found;
  for (const Directory::Entry& entry : directory.entries()) {
    found.push_back(entry.name + (entry.isDirectory ? " is a folder" : "") +
                    (entry.isRegularFile ? " is a file" : ""));
  }
  EXPECT_THAT(found, UnorderedElementsAre("file is a file", "folder is a folder", "link"));
}

}  // namespace
}  // namespace tarvinel

#include "core/support/RegularFile.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <system_error>

namespace tarvinel {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;

TEST(ReplacedFileTest, MakesTheFileAndTheFoldersAboveIt) {
  const TemporaryFolder folder;
  replaceFile(folder / "a/b/file", "content");
  EXPECT_EQ(folder.read("a/b/file"), "content");
}

TEST(ReplacedFileTest, LeavesNothingButTheNewContent) {
  const TemporaryFolder folder;
  folder.write("file", "what was there before, and was longer");
  replaceFile(folder / "file", "new");
  EXPECT_EQ(folder.read("file"), "new");
  EXPECT_THAT(folder.files(), ElementsAre("file"));
}

TEST(ReplacedFileTest, CanBeReadByItsOwnerOnly) {
  const TemporaryFolder folder;
  replaceFile(folder / "file", "");
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(folder / "file").permissions(),
            perms::owner_read | perms::owner_write);
}

TEST(ReplacedFileTest, ThrowsAndKeepsTheOldContentWhenItCannotWrite) {
  const TemporaryFolder folder;
  folder.write("file", "old");
  folder.write("file.new/in the way", "");
  EXPECT_THROW(replaceFile(folder / "file", "new"), std::system_error);
  EXPECT_EQ(folder.read("file"), "old");
}

TEST(ReplacedFileTest, LeavesNoPartOfTheNewContentWhenItFails) {
  const TemporaryFolder folder;
  folder.write("file/in the way", "");
  EXPECT_THROW(replaceFile(folder / "file", "new"), std::system_error);
  EXPECT_FALSE(std::filesystem::exists(folder / "file.new"));
}

}  // namespace
}  // namespace tarvinel

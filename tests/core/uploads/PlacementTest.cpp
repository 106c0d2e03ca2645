#include "core/uploads/PartialFile.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tarvinel {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;
using Outcome = Placement::Outcome;

/// Every strategy must behave the same.
class PlacementTest : public testing::TestWithParam<Placement::Strategy> {
 protected:
  Outcome place() { return GetParam()(directory, ".a.partial", "a"); }

  TemporaryFolder folder;
  Directory directory = Directory::open(folder.path());
};

TEST_P(PlacementTest, GivesTheFileItsName) {
  folder.write(".a.partial", "new");
  EXPECT_EQ(place(), Outcome::placed);
  EXPECT_THAT(folder.files(), ElementsAre("a"));
  EXPECT_EQ(folder.read("a"), "new");
}

TEST_P(PlacementTest, NeverReplacesAFile) {
  folder.write(".a.partial", "new");
  folder.write("a", "old");
  EXPECT_EQ(place(), Outcome::nameTaken);
  EXPECT_THAT(folder.files(), ElementsAre(".a.partial", "a"));
  EXPECT_EQ(folder.read("a"), "old");
}

TEST_P(PlacementTest, NeverReplacesOrFollowsALink) {
  folder.write(".a.partial", "new");
  std::filesystem::create_symlink("elsewhere", folder / "a");
  EXPECT_EQ(place(), Outcome::nameTaken);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "a"));
  EXPECT_FALSE(std::filesystem::exists(folder / "elsewhere"));
}

TEST_P(PlacementTest, AFileThatIsNotThereFailsAndLeavesNothing) {
  EXPECT_THROW(place(), std::system_error);
  EXPECT_THAT(folder.files(), ElementsAre());
}

TEST(PlacementByLinkTest, AFirstNameThatCannotBeRemovedLeavesTheFilePlaced) {
  const TemporaryFolder folder;
  folder.write(".a.partial", "new");
  const Directory directory = Directory::open(folder.path());
  test::whileCallsFail({SYS_unlinkat}, EIO, [&] {
    EXPECT_EQ(Placement::byLink(directory, ".a.partial", "a"), Outcome::placed);
  });
  EXPECT_EQ(folder.read("a"), "new");
}

INSTANTIATE_TEST_SUITE_P(Strategies, PlacementTest,
                         testing::Values(Placement::byRename, Placement::byLink, Placement::byClaim,
                                         Placement::place));

}  // namespace
}  // namespace tarvinel

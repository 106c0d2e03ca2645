#include "core/uploads/PartialFile.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/syscall.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace tarvinel {
namespace {

using test::TemporaryFolder;
using test::whileCallsFail;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string partialName = ".a.jpg.partial";

class PartialFileTest : public testing::Test {
 protected:
  std::optional<PartialFile> create() const { return PartialFile::create(directory, partialName); }
  bool removeLeftOver() const { return PartialFile::removeLeftOver(*directory, partialName); }

  TemporaryFolder folder;
  std::shared_ptr<const Directory> directory =
      std::make_shared<const Directory>(Directory::open(folder.path()));
};

TEST_F(PartialFileTest, AFileThatIsHeldIsNeitherMadeAgainNorRemoved) {
  const auto held = create();
  ASSERT_TRUE(held);
  EXPECT_FALSE(create());
  EXPECT_FALSE(removeLeftOver());
  EXPECT_TRUE(held->hasName(partialName));
}

TEST_F(PartialFileTest, ALeftOverGivesWay) {
  folder.write(partialName, "half of an earlier upload");
  const auto file = create();
  ASSERT_TRUE(file);
  EXPECT_EQ(folder.read(partialName), "");
}

TEST_F(PartialFileTest, WhatIsNoOrdinaryFileStays) {
  std::filesystem::create_directory(folder / partialName);
  EXPECT_FALSE(create());
  EXPECT_FALSE(removeLeftOver());
  std::filesystem::remove(folder / partialName);
  std::filesystem::create_symlink("elsewhere", folder / partialName);
  EXPECT_FALSE(create());
  EXPECT_TRUE(std::filesystem::is_symlink(folder / partialName));
}

TEST_F(PartialFileTest, KnowsWhetherItsNameStandsForAnother) {
  const auto file = create();
  folder.write("elsewhere", "of another program");
  std::filesystem::rename(folder / "elsewhere", folder / partialName);
  EXPECT_FALSE(file->hasName(partialName));
  EXPECT_TRUE(file->removeName(partialName));
  EXPECT_EQ(folder.read(partialName), "of another program");
  std::filesystem::remove(folder / partialName);
  EXPECT_FALSE(file->hasName(partialName));
  EXPECT_TRUE(file->removeName(partialName));
}

TEST_F(PartialFileTest, RemovesAnyNameThatStandsForIt) {
  const auto file = create();
  std::filesystem::rename(folder / partialName, folder / "a.jpg");
  EXPECT_TRUE(file->removeName("a.jpg"));
  EXPECT_THAT(folder.files(), IsEmpty());
}

TEST_F(PartialFileTest, TellsThatItCouldNotBeRemoved) {
  const auto file = create();
  whileCallsFail({SYS_unlinkat}, EROFS, [&] { EXPECT_FALSE(file->removeName(partialName)); });
  EXPECT_TRUE(file->hasName(partialName));
}

// A concurrent search for left-overs examines every file as soon as it appears.
TEST_F(PartialFileTest, IsNeverFoundWithoutItsLock) {
  std::atomic<bool> over = false;
  std::thread search([&] {
    while (!over)
      removeLeftOver();
  });
  int taken = 0;
  for (int i = 0; i < 20'000; ++i) {
    const auto file = create();
    if (!file || !file->hasName(partialName)) ++taken;
    if (file) file->removeName(partialName);
  }
  over = true;
  search.join();
  EXPECT_EQ(taken, 0);
}

TEST_F(PartialFileTest, TheSameWhereAFileHasANameFromTheBeginning) {
  whileCallsFail({SYS_linkat}, EOPNOTSUPP, [&] {
    folder.write(partialName, "half of an earlier upload");
    const auto held = create();
    ASSERT_TRUE(held);
    EXPECT_EQ(folder.read(partialName), "");
    EXPECT_FALSE(create());
    EXPECT_FALSE(removeLeftOver());
    EXPECT_TRUE(held->hasName(partialName));
  });
}

TEST_F(PartialFileTest, WithoutLocksNothingIsTakenForALeftOver) {
  whileCallsFail({SYS_flock}, ENOLCK, [&] {
    const auto held = create();
    ASSERT_TRUE(held);
    EXPECT_FALSE(removeLeftOver());
    EXPECT_FALSE(create());
    EXPECT_TRUE(held->hasName(partialName));
  });
  EXPECT_THAT(folder.files(), ElementsAre(partialName));
}

}  // namespace
}  // namespace tarvinel

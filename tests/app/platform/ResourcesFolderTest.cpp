#include "app/platform/ResourcesFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace tarvinel {
namespace {

using test::TemporaryFolder;

TEST(ResourcesFolder, OfAnInstalledProgramIsBesideItsFolder) {
  const TemporaryFolder prefix;
  EXPECT_EQ(resourcesFolderOf(prefix / "bin/tarvinel"), std::nullopt);
  std::filesystem::create_directories(prefix / "share/tarvinel");
  EXPECT_EQ(resourcesFolderOf(prefix / "bin/tarvinel"), prefix / "share/tarvinel");
}

TEST(ResourcesFolder, OfABuildTreeIsTheSources) {
  const TemporaryFolder sources;
  std::filesystem::create_directories(sources / "resources");
  EXPECT_EQ(resourcesFolderOf(sources / "build/release/app/tarvinel"), sources / "resources");
  EXPECT_EQ(resourcesFolderOf(sources / "other/release/app/tarvinel"), std::nullopt);
}

TEST(ResourcesFolder, AProgramWithoutAPlaceHasNone) {
  EXPECT_EQ(resourcesFolderOf(""), std::nullopt);
}

}  // namespace
}  // namespace tarvinel

#include "core/support/ApplicationSupport.h"
#include "tests/support/HomeVariable.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace tarvinel {
namespace {

using test::HomeVariable;
using test::TemporaryFolder;

/// A home without any settings.
class ApplicationSupportTest : public testing::Test {
 protected:
  std::filesystem::path folder(const std::optional<std::filesystem::path>& configHome = {}) const {
    return applicationSupportFolder({home.path(), configHome});
  }

  TemporaryFolder home;
  const std::filesystem::path dotConfig = home / ".config";
  const std::filesystem::path library = home / "Library/Application Support";
};

TEST_F(ApplicationSupportTest, TheCacheIsInTheHomeUnlessSetElsewhere) {
  const HomeVariable here(home.path());
  ::unsetenv("XDG_CACHE_HOME");
  EXPECT_EQ(cacheFolder(), home / ".cache");
  ::setenv("XDG_CACHE_HOME", "relative", 1);
  EXPECT_EQ(cacheFolder(), home / ".cache");
  ::setenv("XDG_CACHE_HOME", "/elsewhere", 1);
  EXPECT_EQ(cacheFolder(), "/elsewhere");
  ::unsetenv("XDG_CACHE_HOME");
}

TEST_F(ApplicationSupportTest, WithoutAnySettingsItIsTheLibraryUnlessAConfigHomeIsSet) {
  EXPECT_EQ(folder(), library);
  EXPECT_EQ(folder(home / "xdg"), home / "xdg");
}

TEST_F(ApplicationSupportTest, TheFirstThatHasSettingsIsTaken) {
  home.write("Library/Application Support/Tarvinel/config.json", "{}");
  EXPECT_EQ(folder(), library);
  EXPECT_EQ(folder(home / "xdg"), library);
  home.write(".config/Tarvinel/config.json", "{}");
  EXPECT_EQ(folder(), dotConfig);
  EXPECT_EQ(folder(home / "xdg"), library);
  home.write("xdg/Tarvinel/config.json", "{}");
  EXPECT_EQ(folder(home / "xdg"), home / "xdg");
}

TEST_F(ApplicationSupportTest, SettingsThatCannotBeReadAreFoundAllTheSame) {
  std::filesystem::create_directories(dotConfig / "Tarvinel/config.json");
  EXPECT_EQ(folder(), dotConfig);
}

TEST_F(ApplicationSupportTest, PreferencesLieBesideTheSettingsElseInTheFirstPlace) {
  EXPECT_EQ(preferencesFolder({home.path(), {}}), dotConfig);
  EXPECT_EQ(preferencesFolder({home.path(), home / "xdg"}), home / "xdg");
  home.write("Library/Application Support/Tarvinel/config.json", "{}");
  EXPECT_EQ(preferencesFolder({home.path(), {}}), library);
  EXPECT_EQ(preferencesFolder({home.path(), home / "xdg"}), library);
  home.write(".config/Tarvinel/config.json", "{}");
  EXPECT_EQ(preferencesFolder({home.path(), {}}), dotConfig);
}

TEST_F(ApplicationSupportTest, NothingIsCreated) {
  folder();
  preferencesFolder({home.path(), {}});
  folder(home / "xdg");
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

}  // namespace
}  // namespace tarvinel

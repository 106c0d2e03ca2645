#include "core/config/BrandConfig.h"
#include "tests/support/HomeVariable.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <string>

namespace tarvinel {
namespace {

using test::HomeVariable;
using test::OrdinaryUser;
using test::TemporaryFolder;
using Assets = BrandConfig::Assets;
using File = Assets::File;

constexpr std::uintmax_t largest = 10485760;

TEST(BrandConfig, OnlySixHexadecimalDigitsAfterTheSignAreAColour) {
  EXPECT_TRUE(BrandConfig::isValidColor("#E2791B"));
  EXPECT_TRUE(BrandConfig::isValidColor("#e2791b"));
  EXPECT_TRUE(BrandConfig::isValidColor("#09afAF"));
  for (const char* color : {"", "#", "#E2791", "E2791BA", "#E2791G", "#FFF", "#E2791BFF", "red",
                            " #E2791B", "#E2791B ", "#E2791;", "#\xC3\xA4\xC3\xA4\xC3\xA4"}) {
    EXPECT_FALSE(BrandConfig::isValidColor(color)) << color;
  }
  EXPECT_FALSE(BrandConfig::isValidColor(std::string_view("#12345\0", 7)));
}

TEST(BrandConfig, ExpandsTheTildeInPathsOnly) {
  const HomeVariable home("/home/ann");
  const BrandConfig brand{"~", "~/w", "~/d", "~/logo.png", "~", "~"};
  EXPECT_EQ(brand.expandingPaths(),
            (BrandConfig{"~", "~/w", "~/d", "/home/ann/logo.png", "/home/ann", "~"}));
  EXPECT_EQ(BrandConfig().expandingPaths(), BrandConfig());
}

/// Loads a brand whose files are in a folder of the test.
class BrandAssetsTest : public testing::Test {
 protected:
  static Assets loaded(const std::filesystem::path& image) {
    return Assets::load(BrandConfig{.image = image.native()});
  }

  TemporaryFolder folder;
};

TEST_F(BrandAssetsTest, WithoutABrandOrWithoutFilesThereIsNone) {
  EXPECT_EQ(Assets::load(std::nullopt), Assets::none());
  EXPECT_EQ(Assets::load(BrandConfig{.name = "N"}), Assets::none());
  EXPECT_EQ(Assets::none().image, std::nullopt);
  EXPECT_EQ(Assets::none().font, std::nullopt);
}

TEST_F(BrandAssetsTest, ReadsBothFilesWithTheirTypes) {
  const BrandConfig brand{.image = folder.write("logo.svg", "<svg/>").native(),
                          .font = folder.write("brand.woff2", "wOF2").native()};
  EXPECT_EQ(Assets::load(brand), (Assets{File{bytesOf("<svg/>"), "image/svg+xml"},
                                         File{bytesOf("wOF2"), "font/woff2"}}));
}

TEST_F(BrandAssetsTest, TheExtensionDecidesWhateverTheCaseAndTheField) {
  EXPECT_EQ(loaded(folder.write("logo.PNG", "1")).image->contentType, "image/png");
  EXPECT_EQ(loaded(folder.write("a.b.JpEg", "1")).image->contentType, "image/jpeg");
  EXPECT_EQ(loaded(folder.write("brand.woff2", "1")).image->contentType, "font/woff2");
}

TEST_F(BrandAssetsTest, OtherExtensionsAreNotServed) {
  for (const char* name : {"logo.bmp", "logo", ".png", "logo.", "logo.png.txt"}) {
    EXPECT_EQ(loaded(folder.write(name, "1")), Assets::none()) << name;
  }
}

TEST_F(BrandAssetsTest, AFileOf10MiBIsServedAndALargerOneIsNot) {
  const auto logo = folder.write("logo.png", "");
  std::filesystem::resize_file(logo, largest);
  EXPECT_EQ(loaded(logo).image->bytes.size(), largest);
  std::filesystem::resize_file(logo, largest + 1);
  EXPECT_EQ(loaded(logo), Assets::none());
}

TEST_F(BrandAssetsTest, AnEmptyFileIsServed) {
  EXPECT_EQ(loaded(folder.write("logo.png", "")).image, (File{{}, "image/png"}));
}

TEST_F(BrandAssetsTest, ATildeIsExpandedHereToo) {
  const HomeVariable home(folder.path());
  folder.write("logo.png", "1");
  EXPECT_TRUE(loaded("~/logo.png").image);
  EXPECT_FALSE(loaded("~nobody-of-that-name/logo.png").image);
}

TEST_F(BrandAssetsTest, ARelativePathIsRelativeToTheCurrentFolder) {
  const auto logo = folder.write("logo.png", "1");
  EXPECT_TRUE(loaded(std::filesystem::relative(logo)).image);
}

TEST_F(BrandAssetsTest, LinksAreFollowedAndLoopsAreNot) {
  folder.write("real.txt", "1");
  std::filesystem::create_symlink(folder / "real.txt", folder / "logo.png");
  EXPECT_EQ(loaded(folder / "logo.png").image, (File{bytesOf("1"), "image/png"}));
  std::filesystem::create_symlink(folder / "loop.png", folder / "loop.png");
  EXPECT_EQ(loaded(folder / "loop.png"), Assets::none());
  std::filesystem::create_symlink(folder / "nowhere", folder / "lost.png");
  EXPECT_EQ(loaded(folder / "lost.png"), Assets::none());
}

TEST_F(BrandAssetsTest, FoldersPipesAndDevicesAreLeftOut) {
  std::filesystem::create_directory(folder / "folder.png");
  EXPECT_EQ(loaded(folder / "folder.png"), Assets::none());
  ASSERT_EQ(::mkfifo((folder / "pipe.png").c_str(), 0600), 0);
  EXPECT_EQ(loaded(folder / "pipe.png"), Assets::none());
  std::filesystem::create_symlink("/dev/zero", folder / "device.png");
  EXPECT_EQ(loaded(folder / "device.png"), Assets::none());
}

TEST_F(BrandAssetsTest, AFileThatMayNotBeReadIsLeftOut) {
  const auto logo = folder.write("logo.png", "1");
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  {
    const OrdinaryUser ordinary;
    EXPECT_TRUE(loaded(logo).image);
  }
  ASSERT_EQ(::chmod(logo.c_str(), 0), 0);
  const OrdinaryUser ordinary;
  EXPECT_EQ(loaded(logo), Assets::none());
}

TEST_F(BrandAssetsTest, WhatIsNoPathIsLeftOut) {
  folder.write("logo.png", "1");
  EXPECT_EQ(loaded(""), Assets::none());
  EXPECT_EQ(loaded((folder / "logo.png").native() + std::string("\0.svg", 5)), Assets::none());
  EXPECT_EQ(loaded("/" + std::string(100000, 'a') + ".png"), Assets::none());
}

}  // namespace
}  // namespace tarvinel

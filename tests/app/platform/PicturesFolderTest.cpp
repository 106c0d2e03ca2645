#include "app/platform/PicturesFolder.h"

#include <gtest/gtest.h>

#include <ctime>
#include <optional>
#include <string>

namespace tarvinel {
namespace {

TEST(PicturesFolder, IsTheOneThatTheDesktopNames) {
  EXPECT_EQ(picturesFolderIn("# a comment\nXDG_MUSIC_DIR=\"$HOME/Musik\"\n"
                             "XDG_PICTURES_DIR=\"$HOME/Bilder\"\n",
                             "/home/sam"),
            "/home/sam/Bilder");
  EXPECT_EQ(picturesFolderIn("XDG_PICTURES_DIR=\"/data/My \\\"Pictures\\\"\"", "/home/sam"),
            "/data/My \"Pictures\"");
  EXPECT_EQ(picturesFolderIn("XDG_PICTURES_DIR=\"/a\"\nXDG_PICTURES_DIR=\"/b\"\n", "/home/sam"),
            "/b");
}

TEST(PicturesFolder, NoneIsNamedByAnythingElse) {
  for (const char* content : {"", "XDG_MUSIC_DIR=\"$HOME/Musik\"", "XDG_PICTURES_DIR=\"$HOME/\"",
                              "XDG_PICTURES_DIR=\"$HOME\"", "XDG_PICTURES_DIR=\"relative\"",
                              "XDG_PICTURES_DIR=\"", "XDG_PICTURES_DIR=\"\"", "XDG_PICTURES_DIR=/a",
                              "#XDG_PICTURES_DIR=\"/a\"", "XDG_PICTURES_DIR=\"$HOMER/a\""}) {
    EXPECT_EQ(picturesFolderIn(content, "/home/sam"), std::nullopt) << content;
  }
}

TEST(PicturesFolder, EachDayHasAFolderForUploads) {
  std::tm noon{};
  noon.tm_year = 126;
  noon.tm_mon = 10;
  noon.tm_mday = 5;
  noon.tm_hour = 12;
  noon.tm_isdst = -1;
  const auto folder = defaultUploadFolder(std::mktime(&noon));
  EXPECT_EQ(folder, picturesFolder() / "Tarvinel Uploads" / "2026-11-05");
}

}  // namespace
}  // namespace tarvinel

#include "app/platform/Autostart.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* entryName = "autostart/org.tarvinel.Tarvinel.desktop";

class AutostartTest : public testing::Test {
 protected:
  Autostart autostart(const std::filesystem::path& program = "/usr/bin/tarvinel") const {
    return {folder.path(), program};
  }

  void expectRefusal(bool on) {
    try {
      autostart().set(on);
      FAIL() << "somebody else's entry was touched";
    } catch (const AutostartError& error) {
      EXPECT_EQ(error.what(), (folder / entryName).string() +
                                  " was not written by tarvinel and is left as it is: move it "
                                  "away first");
    }
  }

  test::TemporaryFolder folder;
};

TEST_F(AutostartTest, WritesAnEntryForTheInstalledProgram) {
  EXPECT_EQ(autostart().set(true),
            "Tarvinel starts when you log in, by " + (folder / entryName).string());
  EXPECT_EQ(folder.read(entryName),
            "[Desktop Entry]\n"
            "Type=Application\n"
            "Name=Tarvinel\n"
            "Comment=Shares a screen with every browser in the room\n"
            "Exec=tarvinel\n"
            "TryExec=tarvinel\n"
            "Icon=org.tarvinel.Tarvinel\n"
            "X-Tarvinel-Autostart=true\n");
}

TEST_F(AutostartTest, TellsWhichFileTheDiskRefuses) {
  folder.write("autostart", "not a folder");
  for (const bool on : {true, false}) {
    try {
      autostart().set(on);
      EXPECT_FALSE(on);
    } catch (const AutostartError& error) {
      EXPECT_EQ(error.what(),
                "cannot change " + (folder / entryName).string() + ": Not a directory");
    }
  }
}

TEST_F(AutostartTest, NamesAProgramThatSessionsDoNotFindByItsPath) {
  autostart("/home/sam/my tools/tarvinel").set(true);
  EXPECT_THAT(folder.read(entryName), HasSubstr("\nExec=\"/home/sam/my tools/tarvinel\"\n"
                                                "TryExec=/home/sam/my tools/tarvinel\n"));
}

TEST_F(AutostartTest, QuotesWhateverAPathMayHold) {
  EXPECT_EQ(autostartCommand("/usr/local/bin/tarvinel"), "tarvinel");
  EXPECT_EQ(autostartCommand("/opt/100%/tarvinel"), R"("/opt/100%%/tarvinel")");
  EXPECT_EQ(autostartCommand("/opt/$a`b\"c/tarvinel"), R"("/opt/\\$a\\`b\\"c/tarvinel")");
  EXPECT_EQ(autostartCommand("/opt/a\\b/tarvinel"), R"("/opt/a\\\\b/tarvinel")");
  EXPECT_EQ(autostartCommand("/opt/a\nExec=b/tarvinel"), R"("/opt/a\nExec=b/tarvinel")");
}

TEST_F(AutostartTest, ReplacesItsOwnEntryWhenTheProgramHasMoved) {
  autostart("/opt/old/tarvinel").set(true);
  autostart().set(true);
  EXPECT_THAT(folder.read(entryName), HasSubstr("\nExec=tarvinel\n"));
  EXPECT_THAT(folder.files(), ElementsAre(entryName));
}

TEST_F(AutostartTest, RemovesItsEntry) {
  autostart().set(true);
  EXPECT_EQ(autostart().set(false), "Tarvinel does not start when you log in");
  EXPECT_THAT(folder.files(), IsEmpty());
}

TEST_F(AutostartTest, HasNothingToRemoveWhereThereIsNoEntry) {
  EXPECT_EQ(autostart().set(false), "Tarvinel does not start when you log in");
  EXPECT_THAT(folder.files(), IsEmpty());
}

TEST_F(AutostartTest, LeavesAnotherEntryOfThatName) {
  folder.write(entryName, "[Desktop Entry]\nExec=mine\n");
  expectRefusal(true);
  expectRefusal(false);
  EXPECT_EQ(folder.read(entryName), "[Desktop Entry]\nExec=mine\n");
}

TEST_F(AutostartTest, LeavesALinkAlsoOneThatLeadsNowhere) {
  std::filesystem::create_directories(folder / "autostart");
  std::filesystem::create_symlink("nowhere", folder / entryName);
  expectRefusal(true);
  expectRefusal(false);
  EXPECT_TRUE(std::filesystem::is_symlink(folder / entryName));
}

TEST_F(AutostartTest, LeavesAnythingElseInItsPlace) {
  std::filesystem::create_directories(folder / entryName);
  expectRefusal(true);
  expectRefusal(false);
}

}  // namespace
}  // namespace tarvinel

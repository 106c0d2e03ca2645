#include "app/menu/MenuView.h"
#include "core/mdns/NameRegistrar.h"
#include "tests/app/model/ModelFixture.h"
#include "tests/support/FakeNameRegistrar.h"
#include "tests/support/TestClient.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace tarvinel {
namespace {

using Action = MenuCommand::Action;
using Kind = MenuItem::Kind;
using test::TestClient;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;

/// Describes an item on a line: its kind and label, whether it is on or disabled, its shortcut.
std::string lineOf(const MenuItem& item) {
  static constexpr const char* kinds[] = {"text", "title", "button", "toggle", "choice", "submenu"};
  if (item.kind == Kind::divider) return "-";
  std::string line = std::string(kinds[static_cast<int>(item.kind)]) + " " + item.label;
  if (item.isOn) line += " ✓";
  if (!item.isEnabled && item.kind != Kind::text && item.kind != Kind::title) line += " (disabled)";
  if (item.shortcut != MenuItem::noShortcut) line += std::string(" Ctrl+") + item.shortcut;
  return line;
}

std::vector<std::string> linesOf(const std::vector<MenuItem>& items) {
  std::vector<std::string> lines;
  for (const MenuItem& item : items)
    lines.push_back(lineOf(item));
  return lines;
}

class MenuViewTest : public ModelFixture {
 protected:
  MenuViewTest() {
    screen.content.displays.push_back({8, {1280, 0, 640, 480}, false});
    const ShareableApplication editor{400, "Editor", "org.example.Editor"};
    screen.content.windows = {{21, "Notes", editor, 0, {10, 10, 600, 400}}};
  }

  ~MenuViewTest() override { model.reset(); }  // before its dependencies

  void launch() override {
    AppModel::Dependencies withNames = platform(mainQueue);
    withNames.nameRegistrar = names.factory();
    withNames.preferredHost = [] { return "10.0.0.1"; };
    model = AppModel::create(config, withNames, uploads);
  }

  MenuView menu() { return {*model, desktop}; }

  std::vector<std::string> lines() { return linesOf(menu().items()); }

  MenuItem item(const std::string& label) {
    const auto items = menu().items();
    const auto found = std::ranges::find(items, label, &MenuItem::label);
    return found == items.end() ? MenuItem::text("no item " + label) : *found;
  }

  void choose(const std::string& label) { menu().perform(item(label).command); }

  void chooseIn(const std::string& submenu, const std::string& label) {
    const auto items = item(submenu).items;
    const auto found = std::ranges::find(items, label, &MenuItem::label);
    ASSERT_NE(found, items.end()) << label;
    menu().perform(found->command);
  }

  void chooseSource(const std::string& title) { chooseIn("Source", title); }

  std::string url() const { return *model->serverURL(); }

  test::FakeNames names;
};

TEST_F(MenuViewTest, WhileTheServerStartsThereIsNoAddressAndLittleToDo) {
  launch();
  EXPECT_THAT(lines(),
              ElementsAre("text Not sharing", "text Starting server…", "-",
                          "submenu Source (disabled)", "button Start Sharing (disabled) Ctrl+S",
                          "-", "toggle Uploads (disabled)", "button Copy Upload Address (disabled)",
                          "submenu Upload Folder", "-", "button Check for Updates… (disabled)",
                          "button Tarvinel Help", "button Quit Tarvinel Ctrl+Q"));
}

TEST_F(MenuViewTest, WithoutASelectionSharingCannotStart) {
  launchAndWait();
  EXPECT_THAT(lines(),
              ElementsAre("text Not sharing", "text " + url(), "button Copy Address", "-",
                          "submenu Source", "button Start Sharing (disabled) Ctrl+S", "-",
                          "toggle Uploads", "button Copy " + url() + "upload",
                          "submenu Upload Folder", "-", "button Check for Updates… (disabled)",
                          "button Tarvinel Help", "button Quit Tarvinel Ctrl+Q"));
}

TEST_F(MenuViewTest, SourcesAreInThreeSections) {
  launchAndWait();
  EXPECT_THAT(
      linesOf(item("Source").items),
      ElementsAre("title Displays", "choice Display 1 (main) 1280×720", "choice Display 2 640×480",
                  "title Apps", "choice Editor (app)", "title Windows", "choice Editor: Notes"));
  chooseSource("Display 2 640×480");
  EXPECT_THAT(linesOf(item("Source").items), Contains("choice Display 2 640×480 ✓"));
  EXPECT_THAT(lines(), Contains("button Start Sharing Ctrl+S"));
}

TEST_F(MenuViewTest, ASectionWithoutSourcesHasNoTitle) {
  screen.content.windows.clear();
  launchAndWait();
  EXPECT_THAT(linesOf(item("Source").items),
              ElementsAre("title Displays", "choice Display 1 (main) 1280×720",
                          "choice Display 2 640×480"));
}

TEST_F(MenuViewTest, SharingIsStartedAndStopped) {
  launchAndWait();
  chooseSource("Display 1 (main) 1280×720");
  choose("Start Sharing");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->isSharing(); }));
  const auto sharing = lines();
  EXPECT_EQ(sharing[0], "text Sharing Display 1 (main) 1280×720 · 0 viewers");
  EXPECT_EQ(sharing[1], "text Wi-Fi · 8 fps · 0 viewers · 0 Mbps");
  EXPECT_THAT(sharing, Contains("button Stop Sharing Ctrl+S"));
  EXPECT_THAT(sharing, Not(Contains("button Start Sharing Ctrl+S")));
  choose("Stop Sharing");
  EXPECT_FALSE(model->isSharing());
  EXPECT_EQ(lines()[0], "text Not sharing");
}

TEST_F(MenuViewTest, OneViewerIsCountedInTheSingular) {
  launchAndWait();
  startSharing();
  const TestClient one = viewer();
  ASSERT_TRUE(awaitViewers(1));
  EXPECT_EQ(lines()[0], "text Sharing Display 1 (main) 1280×720 · 1 viewer");
  EXPECT_THAT(lines()[1], testing::HasSubstr(" · 1 viewer · 0 Mbps"));
}

TEST_F(MenuViewTest, TheStreamLineShowsWhatIsSent) {
  config.motionFps = 12;
  launchAndWait();
  startSharing();
  TestClient one = viewer();
  ASSERT_TRUE(awaitViewers(1));
  deliver(noise());
  const std::size_t bytes = one.readPart().size() + one.readPart().size();  // moving, then settled
  mainQueue.tick();
  const auto megabits = std::lround(static_cast<double>(bytes) * 8 / 1e6);
  ASSERT_GT(megabits, 1);
  EXPECT_EQ(lines()[1], "text Wi-Fi · 12 fps · 1 viewer · " + std::to_string(megabits) + " Mbps");
}

TEST_F(MenuViewTest, WhatWentWrongWithTheShareIsAText) {
  launchAndWait();
  startSharing();
  onScreen([&] { screen.streams.back()->handlers.onStop(failure("the window was closed")); });
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->captureError().has_value(); }));
  EXPECT_EQ(lines()[3], "text Sharing stopped: the window was closed");
}

TEST_F(MenuViewTest, ThePermissionHintComesWithAButton) {
  screen.listFailure = failure("no server");
  launch();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->permissionHint() && model->serverURL(); }));
  EXPECT_EQ(lines()[3], "text " + *model->permissionHint());
  EXPECT_EQ(lines()[4], "button Open Privacy Settings");
  choose("Open Privacy Settings");
  EXPECT_THAT(desktop.done, ElementsAre("privacy settings"));
}

TEST_F(MenuViewTest, AServerThatCannotListenLeavesNothingToOpen) {
  launchAndWait();
  const std::uint16_t taken = model->boundPort();
  const auto first = model;
  config.port = taken;
  launch();
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->serverError().has_value(); }));
  const auto shown = lines();
  EXPECT_EQ(shown[1],
            "text Can't listen on port " + std::to_string(taken) + ": Address already in use");
  EXPECT_THAT(shown, Not(Contains("text Starting server…")));
  EXPECT_THAT(shown, IsSupersetOf({"toggle Uploads (disabled)", "button Tarvinel Help",
                                   "button Copy Upload Address (disabled)",
                                   "button Quit Tarvinel Ctrl+Q"}));
}

TEST_F(MenuViewTest, ARegisteredNameComesBeforeTheNumericAddress) {
  config.hostname = "studio";
  launchAndWait();
  names.reply(DNSServiceCode::noError);
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->nameURL().has_value(); }));
  const std::string name = "http://studio.local:" + std::to_string(model->boundPort()) + "/";
  const auto shown = lines();
  EXPECT_THAT(std::vector<std::string>(shown.begin() + 1, shown.begin() + 6),
              ElementsAre("text " + name, "button Copy Address", "text " + url(),
                          "button Copy Numeric Address", "-"));
  choose("Copy Address");
  choose("Copy Numeric Address");
  EXPECT_THAT(desktop.done, ElementsAre("copy " + name, "copy " + url()));
}

TEST_F(MenuViewTest, ANameThatIsTakenIsSaidBesideTheNumericAddress) {
  config.hostname = "studio";
  launchAndWait();
  names.reply(DNSServiceCode::nameConflict);
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->nameError().has_value(); }));
  const auto shown = lines();
  EXPECT_EQ(shown[1], "text " + url());
  EXPECT_EQ(shown[2], "button Copy Address");
  EXPECT_EQ(shown[3],
            "text studio.local is taken on this network; set \"hostname\" in config.json to use "
            "another name");
}

TEST_F(MenuViewTest, UploadsAreTurnedOnAndShowWhatArrived) {
  uploads.defaultFolder = folderOfToday;
  launchAndWait();
  choose("Uploads");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->uploadStatus()->enabled; }));
  EXPECT_THAT(lines(),
              IsSupersetOf({"toggle Uploads ✓", "text Uploads: 0 files, 0 MB, 0 participants"}));
  TestClient client(model->boundPort());
  client.send("PUT /upload/Sam/a.jpg HTTP/1.1\r\nContent-Length: 5\r\n\r\nphoto");
  client.readToEnd();
  mainQueue.tick();
  EXPECT_THAT(lines(), IsSupersetOf({"text Uploads: 1 file, 0 MB, 1 participant",
                                     "text Last: Sam (1 file)"}));
  thenOpensFolder([this] { choose("Uploads"); });
  mainQueue.tick();
  EXPECT_THAT(lines(), IsSupersetOf({"toggle Uploads", "text Uploads: 1 file, 0 MB, 1 participant",
                                     "text Last: Sam (1 file)"}));
}

TEST_F(MenuViewTest, AnUploadFolderThatCannotBeUsedIsSaid) {
  folder.write("file", "");
  uploads.folder = folder / "file";
  launchAndWait();
  EXPECT_THAT(lines(), Contains("text " + *model->uploadError()));
}

TEST_F(MenuViewTest, TheUploadFolderIsChosenRevealedAndDivided) {
  launchAndWait();
  EXPECT_THAT(linesOf(item("Upload Folder").items),
              ElementsAre("button Choose Folder…", "button Reveal in Finder",
                          "toggle One Folder per Participant"));
  chooseIn("Upload Folder", "Choose Folder…");
  ASSERT_TRUE(desktop.chosen);
  desktop.chosen(folder / "other");
  ASSERT_TRUE(mainQueue.runUntil([&] { return model->uploadFolder() == folder / "other"; }));
  chooseIn("Upload Folder", "Reveal in Finder");
  EXPECT_THAT(desktop.done, ElementsAre("choose from " + (folder / "uploads").string(),
                                        "reveal " + (folder / "other").string()));
  chooseIn("Upload Folder", "One Folder per Participant");
  EXPECT_THAT(linesOf(item("Upload Folder").items),
              Contains("toggle One Folder per Participant ✓"));
}

TEST_F(MenuViewTest, AddressesAreCopiedAndHelpIsOpened) {
  launchAndWait();
  choose("Copy Address");
  choose("Copy " + url() + "upload");
  choose("Tarvinel Help");
  choose("Quit Tarvinel");
  EXPECT_THAT(desktop.done, ElementsAre("copy " + url(), "copy " + url() + "upload",
                                        "open " + url() + "help", "quit"));
}

TEST_F(MenuViewTest, AChosenFolderIsForgottenWithTheModel) {
  launchAndWait();
  chooseIn("Upload Folder", "Choose Folder…");
  model.reset();
  desktop.chosen(folder / "other");
}

}  // namespace
}  // namespace tarvinel

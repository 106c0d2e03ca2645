#include "app/capture/x11/windows/WindowList.h"
#include "core/support/ApplicationIdentifier.h"
#include "tests/support/X11Capture.h"
#include "tests/support/XWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <thread>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const XWindow::Look greyLook{.background = 0x808080};

std::vector<std::uint32_t> idsOf(const std::vector<ShareableWindow>& windows) {
  std::vector<std::uint32_t> ids;
  for (const ShareableWindow& window : windows)
    ids.push_back(window.windowID);
  return ids;
}

std::vector<std::uint32_t> idsOf(const ShareableContent& content) {
  return idsOf(content.windows);
}

/// A screen without a window manager.
struct X11WindowList : testing::Test {
  ShareableWindow onlyWindow() { return x11.run.content().windows.at(0); }
  X11Capture x11{"800x600x24"};
};

TEST_F(X11WindowList, HasWhatIsKnownOfAWindow) {
  XWindow window(x11.client, {30, 40, 300, 200}, greyLook);
  window.setText("_NET_WM_NAME", "UTF8_STRING", "Übersicht");
  window.setText("WM_NAME", "STRING", "overview");
  window.setText("WM_CLASS", "STRING", std::string("editor\0Editor\0", 14));
  const ShareableWindow listed = onlyWindow();
  EXPECT_EQ(listed.windowID, window.id());
  EXPECT_EQ(listed.title, "Übersicht");
  EXPECT_EQ(listed.layer, 0);
  EXPECT_EQ(listed.frame, (Rect{30, 40, 300, 200}));
  ASSERT_TRUE(listed.application.has_value());
  EXPECT_EQ(listed.application->name, "Editor");
  EXPECT_EQ(listed.application->processID, getpid());
  // the window is this very program's
  EXPECT_EQ(listed.application->bundleID, applicationIdentifier);
}

TEST_F(X11WindowList, FallsBackToTheOldName) {
  XWindow window(x11.client, {0, 0, 300, 200}, greyLook);
  EXPECT_EQ(onlyWindow().title, std::nullopt);
  window.setText("WM_NAME", "STRING", "caf\xE9");
  EXPECT_EQ(onlyWindow().title, "café");
  window.setText("WM_NAME", "COMPOUND_TEXT", "\x1B%G\xC3\xA9\x1B%@");
  EXPECT_EQ(onlyWindow().title, "é");
  window.setText("_NET_WM_NAME", "UTF8_STRING", "");
  EXPECT_EQ(onlyWindow().title, "é");
  window.setNumbers("_NET_WM_NAME", "UTF8_STRING", {1, 2});
  EXPECT_EQ(onlyWindow().title, "é");
}

TEST_F(X11WindowList, HostileTitlesAreMadeFitToBeShown) {
  XWindow window(x11.client, {0, 0, 300, 200}, greyLook);
  window.setText("_NET_WM_NAME", "UTF8_STRING", "a\xFF\n\x1B[31mb");
  EXPECT_EQ(onlyWindow().title, "a\uFFFD [31mb");
  window.setText("_NET_WM_NAME", "UTF8_STRING", std::string(10240, 'x'));
  EXPECT_EQ(onlyWindow().title, std::string(200, 'x') + "…");
}

TEST_F(X11WindowList, ANamelessProgramHasNoName) {
  XWindow window(x11.client, {0, 0, 300, 200}, greyLook);
  EXPECT_EQ(onlyWindow().application->name, std::nullopt);
  window.setText("WM_CLASS", "STRING", "instance");
  EXPECT_EQ(onlyWindow().application->name, "instance");
}

TEST_F(X11WindowList, LeavesOutWhatIsNotOnTheScreen) {
  const XWindow hidden(x11.client, {0, 0, 300, 200}, {.background = 0, .isMapped = false});
  const XWindow outside(x11.client, {800, 0, 300, 200}, greyLook);
  const XWindow partly(x11.client, {799, 0, 300, 200}, greyLook);
  XWindow minimised(x11.client, {0, 0, 300, 200}, greyLook);
  minimised.setNumbers("_NET_WM_STATE", "ATOM", {x11.client.atom("_NET_WM_STATE_HIDDEN")});
  XWindow onAnotherWorkspace(x11.client, {0, 0, 300, 200}, greyLook);
  onAnotherWorkspace.setNumbers("WM_STATE", "WM_STATE", {3, 0});
  XWindow desktop(x11.client, {0, 0, 800, 600}, greyLook);
  desktop.setNumbers("_NET_WM_WINDOW_TYPE", "ATOM",
                     {x11.client.atom("_NET_WM_WINDOW_TYPE_DESKTOP")});
  const auto content = x11.run.content();
  EXPECT_THAT(idsOf(content), ElementsAre(partly.id()));
  EXPECT_THAT(idsOf(content.windowsOutOfSight),
              ElementsAre(hidden.id(), outside.id(), minimised.id(), onAnotherWorkspace.id()));
}

TEST_F(X11WindowList, LeavesOutWhatIsTooLargeToBeCaptured) {
  const XWindow::Look withBorder{.background = 0x808080, .border = 1};
  const XWindow wide(x11.client, {0, 0, 32766, 200}, withBorder);
  const XWindow high(x11.client, {0, 0, 200, 32766}, withBorder);
  const XWindow beyondAll(x11.client, {0, 0, 65535, 200}, greyLook);
  const XWindow fits(x11.client, {0, 0, 32765, 200}, withBorder);
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(fits.id()));
}

TEST(ShareableWindow, OfAnotherRunOfThisProgramIsKnownByItsClass) {
  constexpr std::int32_t ownProcess = 100;
  WindowMetadata metadata;
  metadata.processID = 200;
  metadata.className = "Editor";
  EXPECT_EQ(shareableWindow(metadata, 1, ownProcess).application->bundleID, "Editor");
  metadata.className = "Tarvinel";
  EXPECT_EQ(shareableWindow(metadata, 1, ownProcess).application->bundleID, applicationIdentifier);
}

TEST_F(X11WindowList, LeavesOutWhatIsOnAnotherWorkspaceThanTheOnlyOneShown) {
  XWindow here(x11.client, {0, 0, 300, 200}, greyLook);
  XWindow elsewhere(x11.client, {0, 0, 300, 200}, greyLook);
  XWindow everywhere(x11.client, {0, 0, 300, 200}, greyLook);
  const XWindow nowhere(x11.client, {0, 0, 300, 200}, greyLook);
  here.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {1});
  elsewhere.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {0});
  everywhere.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {0xFFFFFFFF});
  x11.client.writeOnRoot("_NET_CURRENT_DESKTOP", {1});
  x11.client.manageAndCompose(here.id());
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(here.id(), everywhere.id(), nowhere.id()));
}

TEST_F(X11WindowList, LeavesTheWorkspaceOfAnotherMonitorToWhoUnmapsAndDoesNotCompose) {
  XClient manager(x11.server.display());
  const XWindow ofManager(manager, {0, 0, 1, 1}, {.background = 0, .isMapped = false});
  XWindow window(x11.client, {0, 0, 300, 200}, greyLook);
  window.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {0});
  x11.client.writeOnRoot("_NET_CURRENT_DESKTOP", {1});
  x11.client.writeOnRoot("_NET_SUPPORTING_WM_CHECK", {ofManager.id()});
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(window.id()));
  x11.client.compose(window.id());
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(window.id()));
  x11.client.writeOnRoot("_NET_SUPPORTING_WM_CHECK", {window.id()});
  EXPECT_THAT(idsOf(x11.run.content()), IsEmpty());
}

TEST_F(X11WindowList, MenusAndPanelsAreAboveTheLayerOfApplications) {
  const XWindow menu(x11.client, {0, 0, 300, 200}, {.background = 0, .isUnmanaged = true});
  EXPECT_NE(onlyWindow().layer, 0);
  XWindow panel(x11.client, {0, 0, 300, 200}, greyLook);
  panel.setNumbers("_NET_WM_WINDOW_TYPE", "ATOM", {x11.client.atom("_NET_WM_WINDOW_TYPE_DOCK")});
  EXPECT_NE(x11.run.content().windows.at(1).layer, 0);
  panel.setNumbers(
      "_NET_WM_WINDOW_TYPE", "ATOM",
      {x11.client.atom("_EXAMPLE_TYPE"), x11.client.atom("_NET_WM_WINDOW_TYPE_DIALOG")});
  EXPECT_EQ(x11.run.content().windows.at(1).layer, 0);
}

TEST_F(X11WindowList, IsInPointsAndWithoutTheShadowsThatProgramsDraw) {
  x11.client.setResources("Xft.dpi:\t192\n");
  XWindow window(x11.client, {30, 40, 640, 480}, greyLook);
  window.setNumbers("_GTK_FRAME_EXTENTS", "CARDINAL", {20, 20, 10, 30});
  EXPECT_EQ(onlyWindow().frame, (Rect{25, 25, 300, 220}));
}

TEST_F(X11WindowList, FindsTheProgramsWindowInAFrame) {
  const XWindow frame(x11.client, {100, 100, 320, 240}, greyLook);
  XWindow inside(x11.client, {5, 20, 310, 200}, {.background = 0, .parent = frame.id()});
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(frame.id()));
  const XWindow other(x11.client, {100, 100, 320, 240}, greyLook);
  XWindow deeper(x11.client, {5, 5, 100, 100}, {.background = 0, .parent = inside.id()});
  deeper.setNumbers("WM_STATE", "WM_STATE", {1, 0});
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(deeper.id(), other.id()));
  inside.setNumbers("WM_STATE", "WM_STATE", {1, 0});
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(inside.id(), other.id()));
  EXPECT_EQ(x11.run.content().windows.at(0).frame, (Rect{105, 120, 310, 200}));
}

TEST_F(X11WindowList, BelievesAWindowManagerThatLives) {
  const XWindow first(x11.client, {0, 0, 300, 200}, greyLook);
  const XWindow second(x11.client, {0, 0, 300, 200}, greyLook);
  XWindow check(x11.client, {0, 0, 1, 1}, {.background = 0, .isMapped = false});
  x11.client.writeOnRoot("_NET_SUPPORTING_WM_CHECK", {check.id()});
  x11.client.writeOnRoot("_NET_CLIENT_LIST_STACKING", {second.id(), 0xDEAD});
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(first.id(), second.id()));
  check.setNumbers("_NET_SUPPORTING_WM_CHECK", "WINDOW", {check.id()});
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(second.id()));
  check.close();
  EXPECT_THAT(idsOf(x11.run.content()), ElementsAre(first.id(), second.id()));
}

TEST_F(X11WindowList, HasTwoHundredWindows) {
  std::deque<XWindow> windows;
  for (int i = 0; i < 200; ++i)
    windows.emplace_back(x11.client, PixelRect{i, i, 300, 200}, greyLook);
  EXPECT_THAT(x11.run.content().windows, SizeIs(200));
}

TEST_F(X11WindowList, WindowsThatComeAndGoMeanwhileDoNoHarm) {
  const XWindow stays(x11.client, {0, 0, 300, 200}, greyLook);
  std::atomic<bool> isOver = false;
  XClient client(x11.server.display());
  std::thread coming([&] {
    while (!isOver) {
      std::deque<XWindow> windows;
      for (int i = 0; i < 5; ++i)
        windows.emplace_back(client, PixelRect{i, i, 300, 200}, greyLook);
      for (XWindow& window : windows)
        window.close();
    }
  });
  for (int i = 0; i < 100; ++i) {
    const auto ids = idsOf(x11.run.content());
    EXPECT_EQ(std::count(ids.begin(), ids.end(), stays.id()), 1);
  }
  isOver = true;
  coming.join();
}

TEST(X11WindowListWithoutXRes, BelievesWhatTheWindowSays) {
  X11Capture x11("800x600x24", {"-extension", "X-Resource"});
  XWindow window(x11.client, {0, 0, 300, 200}, greyLook);
  EXPECT_EQ(x11.run.content().windows.at(0).application, std::nullopt);
  window.setNumbers("_NET_WM_PID", "CARDINAL", {4321});
  EXPECT_EQ(x11.run.content().windows.at(0).application->processID, 4321);
  window.setNumbers("_NET_WM_PID", "CARDINAL", {0xFFFFFFFF});
  EXPECT_EQ(x11.run.content().windows.at(0).application, std::nullopt);
}

}  // namespace
}  // namespace tarvinel::x11

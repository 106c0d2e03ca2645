#include "app/capture/CaptureError.h"
#include "app/x11/Error.h"
#include "core/support/Result.h"
#include "tests/support/Colours.h"
#include "tests/support/Eventually.h"
#include "tests/support/X11Capture.h"
#include "tests/support/XWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace tarvinel::x11 {
namespace {

const XWindow::Look ordinaryLook{.background = blue};
const XWindow::Look menuLook{.background = green, .isUnmanaged = true};

/// The test's own process is the application; its windows are seen on the server's one display.
struct X11AppSourceTest : testing::Test {
  void start(bool showsCursor = false) {
    x11.run.startApplication(getpid(), x11.onlyDisplay(), showsCursor);
  }

  SeenFrame frameWith(std::uint32_t colour, std::size_t x, std::size_t y, std::size_t from = 0) {
    return log.frameWhere(from, [=](const SeenFrame& seen) { return seen.at(x, y) == colour; });
  }

  /// Paints a part until it is seen, as an owner does that receives repeated repaint requests.
  void paint(XWindow& window, const PixelRect& part, std::uint32_t colour) {
    EXPECT_TRUE(test::eventually([&] {
      window.fill(part, colour);
      return log.last().has(colour);
    }));
  }

  X11Capture x11;
  FrameLog& log = x11.run.log();
};

TEST_F(X11AppSourceTest, ItsWindowsAreSeenInTheirOrderAndBlackElsewhere) {
  x11.client.fill({0, 0, 320, 240}, 0xFF00FF);
  XWindow lower(x11.client, {20, 20, 100, 100}, ordinaryLook);
  XWindow upper(x11.client, {60, 60, 100, 100}, {.background = red});
  start();
  const SeenFrame seen = log.frameWhere(0, [](const SeenFrame& frame) {
    return frame.at(20, 20) == blue && frame.at(60, 60) == red;
  });
  EXPECT_EQ(seen.width, 320U);
  EXPECT_EQ(seen.height, 240U);
  EXPECT_EQ(seen.at(119, 119), red);
  EXPECT_EQ(seen.at(19, 20), 0U);
  EXPECT_EQ(seen.at(319, 239), 0U);
  lower.raise();
  const SeenFrame raised = frameWith(blue, 119, 119);
  EXPECT_EQ(raised.at(120, 120), red);
  EXPECT_FALSE(log.hasShown(0xFF00FF));
}

TEST_F(X11AppSourceTest, AWindowThatIsTooLargeToBeCapturedIsLeftOut) {
  const XWindow huge(x11.client, {0, 0, 40000, 200}, {.background = red});
  const XWindow window(x11.client, {20, 20, 100, 100}, ordinaryLook);
  start();
  EXPECT_EQ(frameWith(blue, 20, 20).at(0, 0), 0U);
}

TEST_F(X11AppSourceTest, MenusComeAndGo) {
  XWindow window(x11.client, {20, 20, 200, 150}, ordinaryLook);
  start();
  frameWith(blue, 30, 30);
  XWindow menu(x11.client, {25, 25, 50, 60}, menuLook);
  EXPECT_EQ(frameWith(green, 30, 30).at(75, 85), blue);
  const std::size_t shown = log.frameCount();
  menu.close();
  frameWith(blue, 30, 30, shown);
}

TEST_F(X11AppSourceTest, AMenuThatIsNotYetPaintedShowsNothingOfTheScreen) {
  x11.client.fill({0, 0, 320, 240}, 0xFF00FF);
  const XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  start();
  frameWith(blue, 30, 30);
  XWindow menu(x11.client, {100, 100, 100, 100}, {.isUnmanaged = true});
  paint(menu, {0, 0, 10, 10}, red);
  menu.place({100, 100, 150, 120});
  paint(menu, {140, 110, 10, 10}, green);
  EXPECT_EQ(log.last().at(249, 219), green);
  EXPECT_FALSE(log.hasShown(0xFF00FF));
}

TEST_F(X11AppSourceTest, OnlyWhatWasDrawnIsDirty) {
  XWindow window(x11.client, {20, 30, 200, 150}, ordinaryLook);
  start();
  frameWith(blue, 30, 40);
  window.fill({5, 6, 7, 8}, red);
  const SeenFrame seen = frameWith(red, 25, 36);
  EXPECT_THAT(seen.dirty(), testing::ElementsAre(Rect{25, 36, 7, 8}));
  EXPECT_EQ(seen.at(31, 43), red);
  EXPECT_EQ(seen.at(32, 44), blue);
}

TEST_F(X11AppSourceTest, AWindowMovesWithoutATrace) {
  XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  start();
  frameWith(blue, 20, 20);
  window.place({200, 150, 50, 50});
  const SeenFrame moved = frameWith(blue, 249, 199);
  EXPECT_EQ(moved.at(20, 20), 0U);
  window.unmap();
  frameWith(0, 249, 199, log.frameCount() - 1);
  window.map();
  frameWith(blue, 249, 199, log.frameCount());
}

/// Window managers that need its picture for their previews keep it mapped.
TEST_F(X11AppSourceTest, AWindowThatIsPutAwayIsNotSeenThoughItIsMapped) {
  const std::vector<std::uint32_t> normal{1, 0};
  const std::vector<std::uint32_t> iconic{3, 0};
  const XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  XWindow other(x11.client, {100, 20, 50, 50}, {.background = red});
  other.setNumbers("WM_STATE", "WM_STATE", iconic);
  start();
  EXPECT_FALSE(frameWith(blue, 20, 20).has(red));
  other.setNumbers("WM_STATE", "WM_STATE", normal);
  EXPECT_EQ(frameWith(red, 100, 20).at(20, 20), blue);
  const std::size_t shown = log.frameCount();
  other.setNumbers("WM_STATE", "WM_STATE", iconic);
  EXPECT_EQ(frameWith(0, 100, 20, shown).at(20, 20), blue);
}

TEST_F(X11AppSourceTest, WhatIsOnAnotherWorkspaceIsNotSeen) {
  const XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  x11.client.manageAndCompose(window.id());
  XWindow other(x11.client, {100, 20, 50, 50}, {.background = red});
  x11.client.writeOnRoot("_NET_CURRENT_DESKTOP", {1});
  other.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {0});
  start();
  EXPECT_FALSE(frameWith(blue, 20, 20).has(red));
  x11.client.writeOnRoot("_NET_CURRENT_DESKTOP", {0});
  EXPECT_EQ(frameWith(red, 100, 20).at(20, 20), blue);
  std::size_t shown = log.frameCount();
  x11.client.writeOnRoot("_NET_CURRENT_DESKTOP", {1});
  EXPECT_EQ(frameWith(0, 100, 20, shown).at(20, 20), blue);
  other.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {0xFFFFFFFF});
  frameWith(red, 100, 20, shown);
  shown = log.frameCount();
  other.setNumbers("_NET_WM_DESKTOP", "CARDINAL", {2});
  frameWith(0, 100, 20, shown);
}

TEST_F(X11AppSourceTest, OnlyItsDisplayIsSeen) {
  const auto right = x11.client.setMonitor("right", {160, 40, 160, 200}, false, false);
  const XWindow window(x11.client, {100, 20, 100, 100}, ordinaryLook);
  x11.run.startApplication(getpid(), right);
  const SeenFrame seen = frameWith(blue, 0, 0);
  EXPECT_EQ(seen.width, 160U);
  EXPECT_EQ(seen.at(39, 79), blue);
  EXPECT_EQ(seen.at(40, 80), 0U);
  x11.client.moveMonitor("right", {150, 40, 170, 200});
  log.frameWhere(1, [](const SeenFrame& frame) { return frame.width == 170; });
  x11.client.removeMonitor("right");
  EXPECT_EQ(describe(log.stopReason()), "the display was disconnected");
}

TEST_F(X11AppSourceTest, WhatIsBelowShowsThroughAlpha) {
  const XWindow below(x11.client, {20, 20, 100, 100}, ordinaryLook);
  XWindow menu(x11.client, {40, 40, 100, 100},
               {.background = 0, .isUnmanaged = true, .hasAlpha = true});
  start();
  menu.fill({0, 0, 100, 100}, 0x80800000);  // half of red, premultiplied
  const SeenFrame seen = log.frameWhere(0, [](const SeenFrame& frame) {
    return frame.at(40, 40) >> 16U == 0x80 && (frame.at(40, 40) & 0xFFU) != 0;
  });
  EXPECT_NEAR(seen.at(40, 40) & 0xFFU, 0x7F, 1);
  EXPECT_EQ(seen.at(130, 130), 0x800000U);
}

TEST_F(X11AppSourceTest, AWindowInAFrameIsSeenWithoutTheFrame) {
  XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  start();
  frameWith(blue, 20, 20);
  // a real frame is another program's; here it covers part of the window's own place
  XWindow frame(x11.client, {100, 100, 80, 80}, {.background = red, .isUnmanaged = true});
  window.reparent(frame.id());
  // the frame may appear one picture after the window in it
  const SeenFrame seen = log.frameWhere(0, [](const SeenFrame& candidate) {
    return candidate.at(149, 149) == blue && candidate.at(150, 150) == red;
  });
  EXPECT_NE(seen.at(20, 20), blue);
}

TEST_F(X11AppSourceTest, ItsLastWindowsEndEndsTheStream) {
  XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  XWindow hidden(x11.client, {20, 20, 50, 50}, {.background = red, .isMapped = false});
  start();
  frameWith(blue, 20, 20);
  window.close();
  frameWith(0, 20, 20, 1);
  EXPECT_EQ(log.stopCount(), 0U);
  hidden.map();
  frameWith(red, 20, 20);
  hidden.close();
  const auto error = errorAs<Error>(log.stopReason());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), Error::Case::applicationGone);
  EXPECT_STREQ(error->what(), "the application was closed");
}

TEST_F(X11AppSourceTest, AProcessWithoutWindowsDoesNotStart) {
  const XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  EXPECT_THROW(x11.run.startApplication(getpid() + 1, x11.onlyDisplay()), CaptureError);
  EXPECT_EQ(log.stopCount(), 0U);
}

TEST_F(X11AppSourceTest, TheCursorIsSeenOverItsWindowsOnly) {
  x11.client.setSquareCursor(8, red);
  x11.client.movePointer(300, 200);
  const XWindow window(x11.client, {20, 20, 100, 100}, ordinaryLook);
  start(true);
  EXPECT_FALSE(frameWith(blue, 20, 20).has(red));
  x11.client.movePointer(50, 60);
  EXPECT_EQ(frameWith(red, 50, 60).at(58, 68), blue);
  x11.client.movePointer(200, 200);
  log.frameWhere(log.frameCount() - 1, [](const SeenFrame& seen) { return !seen.has(red); });
}

TEST_F(X11AppSourceTest, WindowsThatComeAndGoQuicklyDoNoHarm) {
  XWindow window(x11.client, {20, 20, 50, 50}, ordinaryLook);
  start();
  for (int i = 0; i < 200; ++i) {
    XWindow menu(x11.client, {100, 100, 60 + i % 7, 60}, menuLook);
    if (i % 3 == 0) menu.place({90, 90, 80, 80});
    menu.close();
  }
  window.fill({0, 0, 50, 50}, red);
  const SeenFrame last = frameWith(red, 20, 20);
  EXPECT_EQ(log.stopCount(), 0U);
  EXPECT_EQ(last.width, 320U);
}

}  // namespace
}  // namespace tarvinel::x11

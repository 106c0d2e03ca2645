#include "app/capture/CaptureError.h"
#include "app/capture/x11/WindowSource.h"
#include "app/x11/Error.h"
#include "core/support/Result.h"
#include "tests/support/Colours.h"
#include "tests/support/Eventually.h"
#include "tests/support/X11Capture.h"
#include "tests/support/XWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <cstring>
#include <thread>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t secret = 0xFF00FF;
const XWindow::Look onBlue{.background = blue};
const XWindow::Look unpainted{};
const XWindow::Look covering{.background = secret, .isUnmanaged = true};

struct X11WindowSourceTest : testing::Test {
  /// Returns the first frame from `from` on in which a pixel has that colour.
  SeenFrame frameWith(std::uint32_t colour, std::size_t x, std::size_t y, std::size_t from = 0) {
    return x11.run.log().frameWhere(from, [=](const SeenFrame& seen) {
      return x < seen.width && y < seen.height && seen.at(x, y) == colour;
    });
  }

  /// Paints a part until it is seen, as an owner does that receives repeated repaint requests.
  SeenFrame paint(XWindow& window, const PixelRect& part, std::uint32_t colour) {
    const auto x = static_cast<std::size_t>(part.x);
    const auto y = static_cast<std::size_t>(part.y);
    EXPECT_TRUE(test::eventually([&] {
      window.fill(part, colour);
      return log.last().has(colour);
    }));
    return frameWith(colour, x, y);
  }

  X11Capture x11;
  FrameLog& log = x11.run.log();
};

TEST_F(X11WindowSourceTest, ACoveredWindowIsSeenAndNothingElse) {
  XWindow window(x11.client, {50, 40, 120, 100}, onBlue);
  const XWindow cover(x11.client, {0, 0, 320, 240}, covering);
  x11.run.startWindow(window.id());
  const SeenFrame first = log.frame(0);
  EXPECT_EQ(first.width, 120U);
  EXPECT_EQ(first.height, 100U);
  EXPECT_EQ(first.frame.status, FrameStatus::complete);
  EXPECT_THAT(first.dirty(), ElementsAre(Rect{0, 0, 120, 100}));
  window.fill({10, 20, 30, 5}, red);
  const SeenFrame next = frameWith(red, 10, 20);
  EXPECT_EQ(next.frame.buffer, first.frame.buffer);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{10, 20, 30, 5}));
  EXPECT_EQ(next.at(39, 24), red);
  EXPECT_EQ(next.at(40, 24), blue);
  EXPECT_FALSE(log.hasShown(secret));
}

TEST_F(X11WindowSourceTest, AWindowThatIsTooLargeIsRejectedAndTheServerLives) {
  for (const PixelRect& area : {PixelRect{0, 0, 32767, 50}, PixelRect{0, 0, 50, 32766}}) {
    const XWindow huge(x11.client, area, {.background = red, .border = 1});
    try {
      x11.run.startWindow(huge.id());
      ADD_FAILURE() << "it was taken";
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), Error::Case::windowTooLarge);
      EXPECT_STREQ(error.what(), "the window is too large to be shared");
    }
    x11.client.sync();
  }
}

TEST_F(X11WindowSourceTest, WhatLiesBeyondTheScreenIsSeen) {
  XWindow window(x11.client, {280, 200, 120, 100}, onBlue);
  x11.run.startWindow(window.id());
  window.fill({119, 99, 1, 1}, red);
  EXPECT_EQ(frameWith(red, 119, 99).at(118, 99), blue);
  window.place({-110, -90, 120, 100});
  window.fill({0, 0, 1, 1}, green);
  EXPECT_EQ(frameWith(green, 0, 0).at(119, 99), red);
}

TEST_F(X11WindowSourceTest, NothingOfAWindowThatItsOwnerDoesNotPaintIsSeen) {
  const XWindow below(x11.client, {0, 0, 320, 240}, covering);
  XWindow window(x11.client, {50, 40, 100, 80}, unpainted);
  XWindow above(x11.client, {60, 50, 40, 40}, covering);
  x11.run.startWindow(window.id());
  paint(window, {0, 0, 10, 10}, red);
  window.place({50, 40, 160, 120});
  const SeenFrame larger =
      log.frameWhere(0, [](const SeenFrame& seen) { return seen.width == 160; });
  EXPECT_EQ(larger.at(0, 0), red);  // what is known of it stays
  above.place({100, 60, 200, 150});
  window.place({20, 20, 160, 120});
  window.raise();
  window.unmap();
  window.map();
  above.raise();
  paint(window, {150, 110, 10, 10}, green);
  EXPECT_FALSE(log.hasShown(secret));
}

TEST_F(X11WindowSourceTest, AnotherSizeGivesANewBufferAndAWholeFrame) {
  XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
  x11.run.startWindow(window.id());
  const SeenFrame first = log.frame(0);
  window.place({10, 10, 150, 60});
  const SeenFrame next = log.frameWhere(1, [](const SeenFrame& seen) { return seen.width == 150; });
  EXPECT_EQ(next.height, 60U);
  EXPECT_NE(next.frame.buffer, first.frame.buffer);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{0, 0, 150, 60}));
  EXPECT_EQ(paint(window, {149, 59, 1, 1}, red).at(148, 59), blue);
}

TEST_F(X11WindowSourceTest, AHiddenWindowKeepsItsPictureAndGoesOnWhenItReturns) {
  XWindow window(x11.client, {10, 10, 100, 80}, unpainted);
  x11.run.startWindow(window.id());
  window.fill({0, 0, 100, 80}, red);
  const SeenFrame painted = frameWith(red, 99, 79);
  window.unmap();
  const XWindow cover(x11.client, {0, 0, 320, 240}, covering);
  window.map();
  const SeenFrame returned = paint(window, {0, 0, 1, 1}, green);
  EXPECT_EQ(returned.frame.buffer, painted.frame.buffer);
  EXPECT_EQ(returned.at(99, 79), red);
  EXPECT_FALSE(log.hasShown(secret));
  EXPECT_EQ(log.stopCount(), 0U);
}

TEST_F(X11WindowSourceTest, AWindowThatIsHiddenWithItsFrameGoesOnToo) {
  XWindow frame(x11.client, {0, 0, 200, 200}, onBlue);
  XWindow window(x11.client, {10, 10, 100, 80}, {.parent = frame.id()});
  x11.run.startWindow(window.id());
  window.fill({0, 0, 100, 80}, red);
  frameWith(red, 0, 0);
  frame.unmap();
  frame.map();
  EXPECT_EQ(paint(window, {0, 0, 100, 80}, green).at(99, 79), green);
}

TEST_F(X11WindowSourceTest, AWindowThatIsPutIntoAFrameGoesOn) {
  XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
  x11.run.startWindow(window.id());
  const XWindow frame(x11.client, {0, 0, 200, 200}, covering);
  window.reparent(frame.id());
  EXPECT_EQ(paint(window, {5, 5, 1, 1}, red).width, 100U);
  window.reparent(x11.client.root());
  paint(window, {6, 6, 1, 1}, green);
  EXPECT_FALSE(log.hasShown(secret));
}

TEST_F(X11WindowSourceTest, WindowsInsideBelongToIt) {
  XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
  XWindow inside(x11.client, {20, 20, 30, 30}, {.background = green, .parent = window.id()});
  XWindow deeper(x11.client, {5, 5, 5, 5}, {.background = red, .parent = inside.id()});
  x11.run.startWindow(window.id());
  const SeenFrame seen = log.frameWhere(0, [](const SeenFrame& frame) {
    return frame.at(20, 20) == green && frame.at(25, 25) == red && frame.at(0, 0) == blue;
  });
  EXPECT_EQ(seen.at(49, 49), green);
  EXPECT_EQ(seen.at(50, 50), blue);
}

TEST_F(X11WindowSourceTest, TheBorderIsLeftOut) {
  XWindow window(x11.client, {10, 10, 100, 80}, {.background = blue, .border = 7});
  x11.run.startWindow(window.id());
  window.fill({0, 0, 1, 1}, red);
  EXPECT_EQ(frameWith(red, 0, 0).width, 100U);
  window.fill({99, 79, 1, 1}, green);
  EXPECT_THAT(frameWith(green, 99, 79).dirty(), ElementsAre(Rect{99, 79, 1, 1}));
}

TEST_F(X11WindowSourceTest, TheShadowsThatProgramsDrawAreLeftOut) {
  XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
  window.setNumbers("_GTK_FRAME_EXTENTS", "CARDINAL", {10, 20, 5, 15});
  x11.run.startWindow(window.id());
  window.fill({10, 5, 1, 1}, red);
  const SeenFrame seen = frameWith(red, 0, 0);
  EXPECT_EQ(seen.width, 70U);
  EXPECT_EQ(seen.height, 60U);
  window.setNumbers("_GTK_FRAME_EXTENTS", "CARDINAL", {0, 0, 0, 0});
  EXPECT_EQ(frameWith(red, 10, 5).width, 100U);
}

TEST_F(X11WindowSourceTest, AlphaIsSeenOnBlack) {
  XWindow window(x11.client, {10, 10, 100, 80}, {.background = 0, .hasAlpha = true});
  x11.run.startWindow(window.id());
  window.fill({0, 0, 10, 10}, 0x80000080);  // half of blue, premultiplied
  window.fill({10, 0, 10, 10}, 0xFFFF0000);
  const SeenFrame seen = frameWith(red, 10, 0);
  EXPECT_EQ(seen.at(0, 0), 0x80U);
  EXPECT_EQ(seen.at(50, 50), 0U);
}

TEST_F(X11WindowSourceTest, ItsEndEndsTheStreamOnce) {
  XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
  x11.run.startWindow(window.id());
  log.frame(0);
  window.close();
  const auto error = errorAs<Error>(log.stopReason());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), Error::Case::windowGone);
  EXPECT_STREQ(error->what(), "the window was closed");
  x11.run.stop();
  EXPECT_EQ(log.stopCount(), 1U);
}

TEST_F(X11WindowSourceTest, AnEndThatAnotherClientMakesUpIsNone) {
  XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
  x11.run.startWindow(window.id());
  log.frame(0);
  xcb_destroy_notify_event_t event{};
  event.response_type = XCB_DESTROY_NOTIFY;
  event.event = event.window = window.id();
  std::array<char, 32> bytes{};
  std::memcpy(bytes.data(), &event, sizeof event);
  xcb_send_event(x11.client.get(), 0, window.id(), XCB_EVENT_MASK_STRUCTURE_NOTIFY, bytes.data());
  window.fill({0, 0, 1, 1}, red);
  frameWith(red, 0, 0);
  EXPECT_EQ(log.stopCount(), 0U);
}

TEST_F(X11WindowSourceTest, AWindowThatIsGoneOrSomebodyElsesDoesNotStart) {
  XWindow window(x11.client, {10, 10, 200, 150}, onBlue);
  const auto refusalOf = [&](std::uint32_t id, std::int32_t process) -> std::string {
    try {
      const WindowSource source(x11.server.display(), {}, id, process, true);
    } catch (const CaptureError& error) {
      return error.what();
    }
    return {};
  };
  const std::string gone = "That source is no longer available. Pick another.";
  EXPECT_EQ(refusalOf(window.id(), getpid()), "");
  EXPECT_EQ(refusalOf(window.id(), getpid() + 1), gone);
  EXPECT_EQ(refusalOf(0xDEAD, 0), gone);
  EXPECT_EQ(refusalOf(x11.client.root(), 0), gone);
  const auto listed = x11.run.content().windows.at(0).windowID;
  window.close();
  EXPECT_THROW(x11.run.startWindow(listed), CaptureError);
  EXPECT_EQ(log.stopCount(), 0U);
}

TEST_F(X11WindowSourceTest, EndsInOrderWhereverTheWindowGoes) {
  const auto source = [&](std::uint32_t id) {
    return WindowSource(x11.server.display(), {}, id, 0, true);
  };
  for (int looks = 0; looks < 3; ++looks) {
    XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
    WindowSource watching = source(window.id());
    for (int i = 0; i < looks; ++i) {
      while (const auto event = watching.connection().pollEvent())
        watching.handle(*event);
      watching.capture();
    }
    window.place({0, 0, 120, 90});
    window.close();
    watching.capture();  // its end is not known yet
    while (const auto event = watching.connection().pollEvent())
      watching.handle(*event);
    EXPECT_TRUE(watching.wantsCapture());
    EXPECT_THROW(watching.capture(), Error);
  }
}

TEST_F(X11WindowSourceTest, AWindowMayVanishBetweenAnyTwoRequests) {
  for (int delay = 0; delay < 100; ++delay) {
    XWindow window(x11.client, {10, 10, 100, 80}, onBlue);
    std::thread closing([&] {
      for (int i = 0; i < delay; ++i)
        x11.client.sync();
      window.close();
    });
    try {
      WindowSource source(x11.server.display(), {}, window.id(), getpid(), true);
      while (true) {
        while (const auto event = source.connection().pollEvent())
          source.handle(*event);
        source.capture();
      }
    } catch (const CaptureError& error) {
      EXPECT_EQ(error.kind(), CaptureError::Case::unknownSource);
    } catch (const Error& error) {
      EXPECT_EQ(error.kind(), Error::Case::windowGone) << error.what();
    }
    closing.join();
  }
}

struct X11WindowCursorTest : X11WindowSourceTest {
  X11WindowCursorTest() {
    x11.client.setSquareCursor(8, red);
    x11.client.movePointer(300, 200);
  }
};

TEST_F(X11WindowCursorTest, IsSeenWhereItIsOverTheWindow) {
  XWindow window(x11.client, {50, 40, 120, 100}, onBlue);
  x11.run.startWindow(window.id(), true);
  EXPECT_FALSE(log.frame(0).has(red));
  x11.client.movePointer(60, 60);
  const SeenFrame over = frameWith(red, 10, 20);
  EXPECT_EQ(over.at(17, 27), red);
  EXPECT_EQ(over.at(18, 28), blue);
  window.place({40, 30, 120, 100});
  x11.client.movePointer(61, 61);
  frameWith(red, 28, 38);
  x11.client.movePointer(300, 200);
  log.frameWhere(log.frameCount() - 1, [](const SeenFrame& seen) { return !seen.has(red); });
}

TEST_F(X11WindowCursorTest, IsNotSeenWhereAnotherWindowIsUnderIt) {
  XWindow window(x11.client, {50, 40, 120, 100}, onBlue);
  const XWindow cover(x11.client, {50, 40, 60, 100}, covering);
  x11.run.startWindow(window.id(), true);
  log.frame(0);
  x11.client.movePointer(70, 70);
  window.fill({0, 0, 1, 1}, green);
  EXPECT_FALSE(frameWith(green, 0, 0).has(red));
  x11.client.movePointer(120, 70);
  frameWith(red, 70, 30);
}

TEST_F(X11WindowCursorTest, GoesWhenAWindowCoversItThatAppears) {
  XWindow window(x11.client, {50, 40, 120, 100}, onBlue);
  x11.client.movePointer(70, 70);
  x11.run.startWindow(window.id(), true);
  frameWith(red, 20, 30);
  const std::size_t seenBefore = log.frameCount();
  const XWindow cover(x11.client, {0, 0, 320, 240}, covering);
  log.frameWhere(seenBefore, [](const SeenFrame& seen) { return !seen.has(red); });
}

}  // namespace
}  // namespace tarvinel::x11

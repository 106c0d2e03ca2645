#include "app/capture/x11/DisplaySource.h"
#include "app/capture/x11/pixels/Cursor.h"
#include "tests/support/Colours.h"
#include "tests/support/X11Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;

/// A blue screen with a red square of 8 × 8 pixels as its cursor at (100, 100).
struct X11CursorTest : testing::Test {
  X11CursorTest() {
    x11.client.fill({0, 0, 320, 240}, blue);
    x11.client.setSquareCursor(8, red);
    x11.client.movePointer(100, 100);
  }
  X11Capture x11;
};

TEST_F(X11CursorTest, IsInTheFirstFrame) {
  const SeenFrame first = x11.startOnlyDisplay(true);
  EXPECT_EQ(first.at(100, 100), red);
  EXPECT_EQ(first.at(107, 107), red);
  EXPECT_EQ(first.at(99, 100), blue);
  EXPECT_EQ(first.at(108, 107), blue);
}

TEST_F(X11CursorTest, IsLeftOutWhenNotWanted) {
  const SeenFrame first = x11.startOnlyDisplay(false);
  EXPECT_EQ(first.at(100, 100), blue);
  x11.client.movePointer(50, 50);
  x11.client.fill({0, 200, 10, 10}, green);
  EXPECT_THAT(x11.run.log().frame(1).dirty(), ElementsAre(Rect{0, 200, 10, 10}));
}

TEST_F(X11CursorTest, MovesAndLeavesNoTrace) {
  x11.startOnlyDisplay(true);
  x11.client.movePointer(200, 50);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{100, 100, 8, 8}, Rect{200, 50, 8, 8}));
  EXPECT_EQ(next.at(100, 100), blue);
  EXPECT_EQ(next.at(107, 107), blue);
  EXPECT_EQ(next.at(200, 50), red);
  EXPECT_EQ(next.at(207, 57), red);
}

TEST_F(X11CursorTest, ChangesItsShapeWithoutMoving) {
  x11.startOnlyDisplay(true);
  x11.client.setSquareCursor(4, green);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_EQ(next.at(100, 100), green);
  EXPECT_EQ(next.at(103, 103), green);
  EXPECT_EQ(next.at(104, 104), blue);
}

TEST_F(X11CursorTest, IsCutAtTheEdge) {
  x11.startOnlyDisplay(true);
  x11.client.movePointer(316, 237);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{100, 100, 8, 8}, Rect{316, 237, 4, 3}));
  EXPECT_EQ(next.at(316, 237), red);
  EXPECT_EQ(next.at(319, 239), red);
}

TEST_F(X11CursorTest, StaysWhereItIsWhenItsSurroundingsChange) {
  x11.startOnlyDisplay(true);
  x11.client.fill({90, 90, 14, 14}, green);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{90, 90, 14, 14}));
  EXPECT_EQ(next.at(99, 99), green);
  EXPECT_EQ(next.at(100, 100), red);
  EXPECT_EQ(next.at(107, 107), red);
  EXPECT_EQ(next.at(103, 99), green);
}

TEST_F(X11CursorTest, ItsRowsAreReadWholeWhenOneOfThemIsDamaged) {
  const SeenFrame first = x11.startOnlyDisplay(true);
  x11.run.queue().sync([&] {
    const auto* row107 = first.frame.buffer->baseAddress() + 107 * first.width * 4;
    *const_cast<std::uint8_t*>(row107) = 0x77;
  });
  x11.client.fill({10, 95, 10, 6}, green);
  EXPECT_EQ(x11.run.log().frame(1).at(0, 107), blue);
}

TEST_F(X11CursorTest, IsNotDrawnWhileOnAnotherMonitor) {
  const auto right = x11.client.setMonitor("right", {160, 0, 160, 240}, false, false);
  x11.run.startDisplay(right, true);
  const SeenFrame first = x11.run.log().frame(0);
  EXPECT_EQ(first.at(0, 100), blue);
  x11.client.movePointer(20, 20);
  x11.client.movePointer(40, 40);
  x11.client.fill({200, 200, 10, 10}, green);
  EXPECT_THAT(x11.run.log().frame(1).dirty(), ElementsAre(Rect{40, 200, 10, 10}));
  x11.client.movePointer(156, 10);
  const SeenFrame next = x11.run.log().frame(2);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{0, 10, 4, 8}));
  EXPECT_EQ(next.at(3, 17), red);
  EXPECT_EQ(next.at(4, 17), blue);
}

// This test opens one connection only: Xvfb without this extension crashes when a client leaves it.
TEST(X11WithoutXFixes, FramesAreWholeAndWithoutACursor) {
  const XServer server("320x240x24", {"-extension", "XFIXES"});
  XClient client(server.display());
  client.fill({0, 0, 320, 240}, blue);
  client.setSquareCursor(8, red);
  client.movePointer(100, 100);
  DisplaySource source(server.display(), {}, client.root(), true);
  const auto bluePart = [](const CapturedFrame& frame, std::size_t x, std::size_t y) {
    return frame.buffer->baseAddress()[(y * 320 + x) * 4];
  };
  const auto first = source.capture();
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(bluePart(*first, 100, 100), 0xFF);
  client.fill({0, 0, 10, 10}, red);
  while (const auto event = source.connection().pollEvent())
    source.handle(*event);
  ASSERT_TRUE(source.wantsCapture());
  const auto next = source.capture();
  ASSERT_TRUE(next.has_value());
  EXPECT_THAT(next->dirtyRects.value(), ElementsAre(Rect{0, 0, 320, 240}));
  EXPECT_EQ(bluePart(*next, 9, 9), 0);
  EXPECT_EQ(bluePart(*next, 10, 9), 0xFF);
}

}  // namespace
}  // namespace tarvinel::x11

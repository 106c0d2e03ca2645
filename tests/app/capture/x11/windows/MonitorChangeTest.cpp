#include "app/capture/x11/DisplaySource.h"
#include "app/x11/Error.h"
#include "core/support/Result.h"
#include "tests/support/Colours.h"
#include "tests/support/X11Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;

/// Passes all pending events to a source.
void takeEvents(FrameSource& source) {
  while (const auto event = source.connection().pollEvent())
    source.handle(*event);
}

TEST(X11MonitorChange, AnotherSizeGivesANewBufferAndAWholeFrame) {
  X11Capture x11;
  const auto left = x11.client.setMonitor("left", {0, 0, 160, 240}, false, false);
  x11.run.startDisplay(left);
  const SeenFrame first = x11.run.log().frame(0);
  EXPECT_EQ(first.width, 160U);
  x11.client.fill({199, 99, 1, 1}, red);
  x11.client.moveMonitor("left", {0, 0, 200, 100});
  const SeenFrame next =
      x11.run.log().frameWhere(1, [](const SeenFrame& seen) { return seen.width == 200; });
  EXPECT_EQ(next.height, 100U);
  EXPECT_NE(next.frame.buffer, first.frame.buffer);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{0, 0, 200, 100}));
  EXPECT_EQ(next.at(199, 99), red);
}

TEST(X11MonitorChange, AnotherPlaceGivesAWholeFrame) {
  X11Capture x11;
  x11.client.fill({100, 100, 1, 1}, red);
  const auto left = x11.client.setMonitor("left", {0, 0, 160, 120}, false, false);
  x11.run.startDisplay(left);
  x11.run.log().frame(0);
  x11.client.moveMonitor("left", {100, 100, 160, 120});
  const SeenFrame next =
      x11.run.log().frameWhere(1, [](const SeenFrame& seen) { return seen.at(0, 0) == red; });
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{0, 0, 160, 120}));
}

TEST(X11MonitorChange, AnotherMonitorsChangeDeliversNothing) {
  X11Capture x11;
  const auto left = x11.client.setMonitor("left", {0, 0, 160, 240}, false, true);
  x11.run.startDisplay(left);
  x11.run.log().frame(0);
  x11.client.setMonitor("right", {160, 0, 160, 240}, false, false);
  x11.client.removeMonitor("right");
  x11.client.fill({0, 0, 10, 10}, red);
  EXPECT_THAT(x11.run.log().frame(1).dirty(), ElementsAre(Rect{0, 0, 10, 10}));
}

TEST(X11MonitorChange, AMonitorThatGoesEndsTheStreamOnce) {
  X11Capture x11;
  const auto right = x11.client.setMonitor("right", {160, 0, 160, 240}, false, false);
  x11.run.startDisplay(right);
  x11.run.log().frame(0);
  x11.client.removeMonitor("right");
  const auto error = errorAs<Error>(x11.run.log().stopReason());
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), Error::Case::displayGone);
  EXPECT_STREQ(error->what(), "the display was disconnected");
  x11.run.stop();
  EXPECT_EQ(x11.run.log().stopCount(), 1U);
}

TEST(X11MonitorChange, AnUnknownDisplayDoesNotStart) {
  X11Capture x11;
  EXPECT_THROW(x11.run.startDisplay(99999), Error);
  EXPECT_EQ(x11.run.log().stopCount(), 0U);
}

TEST(X11MonitorChange, TheRootWindowIsFollowedWhereThereAreNoMonitors) {
  X11Capture x11;
  x11.client.switchOutputOff();
  EXPECT_EQ(x11.startOnlyDisplay().width, 320U);
  x11.client.resizeScreen(200, 100);
  const SeenFrame next =
      x11.run.log().frameWhere(1, [](const SeenFrame& seen) { return seen.width == 200; });
  EXPECT_EQ(next.height, 100U);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{0, 0, 200, 100}));
}

TEST(X11MonitorChange, AReadDuringTheChangeIsRepeatedAfterIt) {
  XServer server;
  XClient client(server.display());
  client.switchOutputOff();
  DisplaySource source(server.display(), {}, client.root(), false);
  ASSERT_TRUE(source.capture().has_value());
  takeEvents(source);
  source.capture();
  // the screen shrinks before its events are read: the rows that the source requests are not there
  client.resizeScreen(200, 100);
  client.fill({0, 0, 200, 100}, green);
  EXPECT_FALSE(source.capture().has_value());
  takeEvents(source);
  ASSERT_TRUE(source.wantsCapture());
  const auto frame = source.capture();
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->buffer->width(), 200U);
  EXPECT_EQ(frame->buffer->height(), 100U);
  EXPECT_EQ(frame->buffer->baseAddress()[1], 0xFF);
}

}  // namespace
}  // namespace tarvinel::x11

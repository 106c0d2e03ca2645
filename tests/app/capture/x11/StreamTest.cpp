#include "app/capture/x11/Service.h"
#include "tests/support/Colours.h"
#include "tests/support/X11Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

namespace tarvinel::x11 {
namespace {

using testing::ElementsAre;

struct RoadOfPixels {
  const char* name;
  std::vector<std::string> serverArguments;
  bool sharedMemory;
};

class X11Pixels : public testing::TestWithParam<RoadOfPixels> {
 protected:
  // the screen is larger than what is copied in one reply
  X11Capture x11{"640x480x24", GetParam().serverArguments, {GetParam().sharedMemory}};
};

TEST_P(X11Pixels, TheFirstFrameIsTheWholeDisplayAlsoWhenNothingMoves) {
  x11.client.fill({0, 0, 640, 480}, blue);
  x11.client.fill({639, 479, 1, 1}, red);
  const SeenFrame first = x11.startOnlyDisplay();
  EXPECT_EQ(first.width, 640U);
  EXPECT_EQ(first.height, 480U);
  EXPECT_EQ(first.frame.status, FrameStatus::complete);
  EXPECT_EQ(first.frame.contentRect, std::nullopt);
  EXPECT_EQ(first.frame.scaleFactor, std::nullopt);
  EXPECT_EQ(first.frame.buffer->pixelFormat(), pixelFormatBGRA);
  EXPECT_THAT(first.dirty(), ElementsAre(Rect{0, 0, 640, 480}));
  EXPECT_EQ(first.at(0, 0), blue);
  EXPECT_EQ(first.at(638, 479), blue);
  EXPECT_EQ(first.at(639, 479), red);
}

TEST_P(X11Pixels, ASmallChangeIsASmallRectangleInTheSameBuffer) {
  const SeenFrame first = x11.startOnlyDisplay();
  x11.client.fill({10, 400, 30, 5}, green);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_EQ(next.frame.buffer, first.frame.buffer);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{10, 400, 30, 5}));
  EXPECT_EQ(next.at(10, 400), green);
  EXPECT_EQ(next.at(39, 404), green);
  EXPECT_EQ(next.at(9, 400), first.at(9, 400));
  EXPECT_EQ(next.at(40, 404), first.at(40, 404));
  EXPECT_EQ(next.at(10, 405), first.at(10, 405));
}

TEST_P(X11Pixels, AMonitorAwayFromTheOriginShowsItsOwnPart) {
  const auto right = x11.client.setMonitor("right", {320, 100, 320, 300}, false, false);
  x11.client.fill({320, 100, 1, 1}, red);
  x11.client.fill({639, 399, 1, 1}, green);
  x11.run.startDisplay(right);
  const SeenFrame first = x11.run.log().frame(0);
  EXPECT_EQ(first.width, 320U);
  EXPECT_EQ(first.height, 300U);
  EXPECT_EQ(first.at(0, 0), red);
  EXPECT_EQ(first.at(319, 299), green);
  x11.client.fill({310, 90, 20, 20}, blue);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{0, 0, 10, 10}));
  EXPECT_EQ(next.at(9, 9), blue);
  EXPECT_EQ(next.at(10, 10), first.at(10, 10));
}

INSTANTIATE_TEST_SUITE_P(
    All, X11Pixels,
    testing::Values(RoadOfPixels{"Shared", {}, true}, RoadOfPixels{"Copied", {}, false},
                    RoadOfPixels{"NoExtension", {"-extension", "MIT-SHM"}, true}),
    [](const auto& backend) { return std::string(backend.param.name); });

TEST(X11CaptureStream, AWindowThatOpensIsSeen) {
  X11Capture x11;
  x11.startOnlyDisplay();
  x11.client.openWindow({50, 60, 70, 80}, red);
  const SeenFrame next =
      x11.run.log().frameWhere(1, [](const SeenFrame& seen) { return seen.at(50, 60) == red; });
  EXPECT_EQ(next.at(119, 139), red);
  EXPECT_NE(next.at(120, 139), red);
}

TEST(X11CaptureStream, OnlyTheRowsOfTheDamageAreReadAnew) {
  X11Capture x11;
  const SeenFrame first = x11.startOnlyDisplay();
  const auto mark = [&](std::size_t row) {
    x11.run.queue().sync([&] {
      const auto* pixel = first.frame.buffer->baseAddress() + row * first.width * 4;
      *const_cast<std::uint8_t*>(pixel) = 0x77;
    });
  };
  for (const std::size_t row : {9U, 10U, 14U, 15U})
    mark(row);
  x11.client.fill({100, 10, 1, 5}, red);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_EQ(next.at(0, 9), 0x77U);
  EXPECT_NE(next.at(0, 10), 0x77U);
  EXPECT_NE(next.at(0, 14), 0x77U);
  EXPECT_EQ(next.at(0, 15), 0x77U);
}

TEST(X11CaptureStream, DamageOnAnotherMonitorDeliversNothing) {
  X11Capture x11;
  const auto left = x11.client.setMonitor("left", {0, 0, 160, 240}, false, true);
  x11.client.setMonitor("right", {160, 0, 160, 240}, false, false);
  x11.run.startDisplay(left);
  x11.run.log().frame(0);
  for (int i = 0; i < 20; ++i)
    x11.client.fill({170, 100 + i * 5, 20, 5}, green);
  x11.client.fill({20, 20, 10, 10}, red);
  const SeenFrame next = x11.run.log().frame(1);
  EXPECT_THAT(next.dirty(), ElementsAre(Rect{20, 20, 10, 10}));
}

TEST(X11CaptureStream, ContinuousDamageIsNotFasterThanTheRateAndItsEndIsSeen) {
  X11Capture x11;
  ContentFilter filter;
  filter.displayID = x11.onlyDisplay();
  const auto begin = std::chrono::steady_clock::now();
  x11.run.start(filter, {320, 240, 10, false});
  for (std::uint32_t i = 1; i <= 500; ++i)
    x11.client.fill({0, 0, 20, 20}, i);
  x11.run.log().frameWhere(0, [](const SeenFrame& seen) { return seen.at(0, 0) == 500; });
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  EXPECT_LE(static_cast<double>(x11.run.log().frameCount()), took.count() * 10 + 1);
}

TEST(X11CaptureStream, AfterStopNoHandlerIsCalledAlsoWithDamagePending) {
  X11Capture x11;
  ContentFilter filter;
  filter.displayID = x11.onlyDisplay();
  x11.run.start(filter, {320, 240, 1, false});
  x11.run.log().frame(0);
  x11.client.fill({0, 0, 20, 20}, red);
  x11.run.stop();
  CaptureRun other(x11Service(x11.server.display()));
  other.startDisplay(filter.displayID);
  other.log().frame(0);
  x11.client.fill({0, 0, 20, 20}, green);
  other.log().frameWhere(1, [](const SeenFrame& seen) { return seen.at(0, 0) == green; });
  EXPECT_EQ(x11.run.log().frameCount(), 1U);
  EXPECT_EQ(x11.run.log().stopCount(), 0U);
}

TEST(X11CaptureStream, MayBeStoppedAndDroppedByItsOwnFrameHandler) {
  X11Capture x11;
  CaptureRun other(x11Service(x11.server.display()));
  ContentFilter filter;
  filter.displayID = x11.onlyDisplay();
  std::shared_ptr<CaptureStream> stream;
  std::promise<void> stopped;
  StreamHandlers handlers;
  handlers.onFrame = [&](const CapturedFrame&) {
    stream->stop([&](const Result<void>&) { stopped.set_value(); });
    stream.reset();
  };
  const auto makeService = x11Service(x11.server.display());
  std::unique_ptr<ScreenCaptureService> service;
  other.queue().sync([&] {
    service = makeService(other.queue());
    stream = service->makeStream(filter, {320, 240, 60, false}, handlers);
    stream->start([](const Result<void>&) {});
  });
  stopped.get_future().get();
  EXPECT_EQ(stream, nullptr);
}

TEST(X11CaptureStream, TheBufferOutlivesTheStream) {
  X11Capture x11;
  x11.client.fill({0, 0, 320, 240}, red);
  const SeenFrame first = x11.startOnlyDisplay();
  x11.run.drop();
  x11.client.fill({0, 0, 320, 240}, green);
  ASSERT_EQ(first.frame.buffer->lockReadOnly(), 0);
  EXPECT_EQ(first.frame.buffer->baseAddress()[2], 0xFF);
  first.frame.buffer->unlockReadOnly();
}

}  // namespace
}  // namespace tarvinel::x11
